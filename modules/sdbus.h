// Owning handles of sd-bus objects for the module host and the automation server.
#pragma once
#include <systemd/sd-bus.h>

#include <memory>

namespace kelvane {

struct BusClose {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};
struct MessageUnref {
    void operator()(sd_bus_message* m) const { sd_bus_message_unref(m); }
};
using BusPtr = std::unique_ptr<sd_bus, BusClose>;
using MessagePtr = std::unique_ptr<sd_bus_message, MessageUnref>;

} // namespace kelvane
