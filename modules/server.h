// The automation server: the bus name ikelvane.server, object /server, interface ikelvane._server
// with its 24 methods on the one MachineState. Its bus connection is its own; a thread only
// watches it and tells the window thread that a call waits, which then answers it between two
// instructions (or inside a module call that waits).
#pragma once
#include "modules/sdbus.h"

#include <QObject>

#include <array>
#include <atomic>
#include <deque>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace kelvane {

class AutomationServer {
public:
    AutomationServer();
    ~AutomationServer();
    AutomationServer(const AutomationServer&) = delete;
    AutomationServer& operator=(const AutomationServer&) = delete;

    // Connects, publishes the object and takes the name: true when the name is ours.
    bool start();
    void stop();
    // The connection's descriptor (-1 without one), for waits that serve the server meanwhile.
    int fd() const;
    // Answers every call that waits.
    void serve();

    // A method that acts on the machine through the window's handlers (which may pump events)
    // answers after the bus has handed over the call: the action runs, then the reply goes.
    void defer(sd_bus_message* call, std::function<void()> action);

private:
    void buildvtable();
    void watch(int busfd);
    void rearm();

    std::vector<sd_bus_vtable> vtable_;       // the object's methods, alive while it is published
    std::array<std::string, 5> names_;        // their argument names
    BusPtr bus_;
    sd_bus_slot* object_ = nullptr;
    bool processing_ = false;
    struct Deferred {
        MessagePtr call;
        std::function<void()> action;
    };
    std::deque<Deferred> deferred_;
    QObject context_; // posted serve() calls end with the server
    std::thread watcher_;
    std::atomic<bool> armed_{false};
    int stopfd_ = -1;
};

AutomationServer& automationserver();

} // namespace kelvane
