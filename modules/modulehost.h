// The module host: the five slots' objects as proxies of programs on the session bus. Creation
// finds a module by its name (D-Bus activation starts it when a .service file names it) and reads
// once, by introspection, which of the five methods it offers; each call waits at most a second
// and serves the automation server, and the window every 16 ms, while it waits.
#pragma once
#include "core/machine.h"
#include "modules/sdbus.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

class QWidget;

namespace kelvane {

class AutomationServer;

// The five methods, as bits of what a module offers.
enum class ModuleMethod : unsigned { objectinit, objectrefresh, objectterm, readio, writeio };
constexpr unsigned methodbit(ModuleMethod m) { return 1u << static_cast<unsigned>(m); }
constexpr unsigned allmethods = 0x1Fu;

// A reference that can stand as a module's bus name: two or more elements of letters, digits,
// "_" and "-" divided by ".", none beginning with a digit, at most 255 characters.
bool validbusname(std::string_view name);
// The methods of the module interface that an introspection text declares; all five when the text
// cannot be read or does not describe the interface.
unsigned offeredmethods(std::string_view introspection);

class ModuleHost {
public:
    ModuleHost();
    ~ModuleHost();
    ModuleHost(const ModuleHost&) = delete;
    ModuleHost& operator=(const ModuleHost&) = delete;

    // The session bus, opened at the first use; false when there is none.
    bool connected();
    // The object for a reference, or nullptr when it cannot be reached.
    std::shared_ptr<ModuleObject> create(const std::string& reference);
    // Sends a method call and waits for its reply at most timeoutusec: the reply (an error reply
    // too), or nothing when none came, the bus failed or the wait ran out.
    MessagePtr call(sd_bus_message* m, uint64_t timeoutusec);
    sd_bus* bus() const { return bus_.get(); }
    // Served while a call waits.
    void setserver(AutomationServer* server) { server_ = server; }

private:
    using clock = std::chrono::steady_clock;
    // A call of the bus itself about a name (GetNameOwner, StartServiceByName): the reply, or
    // nothing for an error.
    MessagePtr callbus(const char* member, const char* name);
    void pump();

    BusPtr bus_;
    bool tried_ = false;
    AutomationServer* server_ = nullptr;
    clock::time_point lastevents_; // the window's events were last processed then
};

ModuleHost& modulehost();

// Reads "External Module 1" to "5" into moduletext and makes every slot's object anew; a slot that
// cannot be reached keeps its object and tells so in a message box under `form`. Sets which calls
// the machine makes (modulesactive, modulesio) from what the objects offer.
void kreirajobjekte(QWidget* form);

} // namespace kelvane
