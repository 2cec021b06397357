#include "modules/server.h"

#include "modules/ikelvane.h"
#include "modules/modulehost.h"
#include "sim/machinestate.h"
#include "sim/toolrouter.h"

#include <QCoreApplication>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

namespace {

using namespace std::string_view_literals;

bool inrange(int32_t v, int32_t top)
{
    return v >= 0 && v <= top;
}

int32_t getio(const MachineState& st, int32_t port)
{
    if (!inrange(port, 255))
        return -1;
    // A byte an output device took never reached the port: it is read back from the device.
    int32_t v = st.ports[static_cast<size_t>(port)];
    for (size_t n = 1; n <= 4; ++n)
        if (st.devenabled[n] && !st.devinput[n] && st.devport[n] == port)
            v = st.devvalue[n];
    return v;
}

void setmem(MachineState& st, int32_t address, int32_t vl)
{
    if (!inrange(address, 65535) || !inrange(vl, 255))
        return;
    st.mem[static_cast<size_t>(address)] = vl;
    if (st.optrefreshmemory == "ON" && st.Form2)
        toolrouter().memorijaprint();
}

void setio(MachineState& st, int32_t port, int32_t vl)
{
    if (!inrange(port, 255) || !inrange(vl, 255))
        return;
    st.ports[static_cast<size_t>(port)] = vl;
    for (size_t n = 1; n <= 4; ++n) {
        if (st.devenabled[n] && st.devinput[n] && st.devport[n] == port) {
            st.devvalue[n] = vl;
            if (st.Form5)
                toolrouter().devicerefresh(static_cast<int>(n), vl);
        }
    }
    if (st.optrefreshmemory == "ON" && st.Form20)
        toolrouter().ioprint();
}

// A panel button (1 RESET, 2 TRAP ... 6 INTR) pressed only while it is enabled: an interrupt the
// processor would not take now is dropped, not held.
void press(int command)
{
    const MachineState& st = machinestate();
    const MainCommands& main = toolrouter().maincommands;
    if (!st.commandenabled[static_cast<size_t>(command)])
        return;
    if (command == 1 && main.clickreset)
        main.clickreset();
    else if (command != 1 && main.interruptbutton)
        main.interruptbutton(command);
}

int32_t crystal(const MachineState& st)
{
    // The nearest integer, an exact half to the even one (the default rounding mode).
    const float mhz = st.clockmhz;
    if (!std::isfinite(mhz) || std::fabs(mhz) >= 2147483520.0f)
        return 0;
    return static_cast<int32_t>(std::nearbyint(mhz));
}

enum class Kind { value, addressed, text, setter, press };

// The interface's methods in their order. A value getter reads the state; an addressed one takes
// the address too; a setter takes address and vl; a press names its panel button.
struct ServerMethod {
    const char* name;
    Kind kind;
    int32_t (*get)(MachineState& st, int32_t address);
    void (*set)(MachineState& st, int32_t address, int32_t vl);
    int command;
};

#define VALUE(name, expr) {name, Kind::value, [](MachineState& st, int32_t) -> int32_t { return expr; }, nullptr, 0}
const std::array<ServerMethod, 24> servermethods = {{
    {"getmem", Kind::addressed,
     [](MachineState& st, int32_t a) { return inrange(a, 65535) ? st.mem[static_cast<size_t>(a)] : -1; }, nullptr, 0},
    {"setmem", Kind::setter, nullptr, setmem, 0},
    {"getio", Kind::addressed, [](MachineState& st, int32_t a) { return getio(st, a); }, nullptr, 0},
    {"setio", Kind::setter, nullptr, setio, 0},
    {"i8085trap", Kind::press, nullptr, nullptr, 2},
    {"i8085rst75", Kind::press, nullptr, nullptr, 3},
    {"i8085rst65", Kind::press, nullptr, nullptr, 4},
    {"i8085rst55", Kind::press, nullptr, nullptr, 5},
    {"i8085intr", Kind::press, nullptr, nullptr, 6},
    {"i8085reset", Kind::press, nullptr, nullptr, 1},
    VALUE("gethalt", st.halted),
    VALUE("getcrystal", crystal(st)),
    VALUE("getclockcycles", st.cyclecount),
    {"getinst", Kind::text, nullptr, nullptr, 0},
    VALUE("geta", st.a),
    VALUE("getf", (freshenpanelvalues(st), st.f)),
    VALUE("getb", st.b),
    VALUE("getc", st.c),
    VALUE("getd", st.d),
    VALUE("gete", st.e),
    VALUE("geth", st.h),
    VALUE("getl", st.l),
    VALUE("getsp", st.sp),
    VALUE("getpc", st.pc),
}};
#undef VALUE

// Signatures and argument names of each kind: in, out, and the names of the arguments and then
// of the results, each ended by NUL.
struct KindSignature {
    const char *in, *out;
    std::string_view names;
};
const std::array<KindSignature, 5> kindsignatures = {{
    {"", "i", "result\0"sv},
    {"i", "i", "address\0result\0"sv},
    {"", "s", "result\0"sv},
    {"ii", "", "address\0vl\0"sv},
    {"", "", ""sv},
}};

int handle(sd_bus_message* m, void* userdata, sd_bus_error*)
{
    const auto& method = *static_cast<const ServerMethod*>(userdata);
    MachineState& st = machinestate();
    int32_t address = 0;
    int32_t vl = 0;
    switch (method.kind) {
    case Kind::value:
        return sd_bus_reply_method_return(m, "i", method.get(st, 0));
    case Kind::addressed:
        if (sd_bus_message_read(m, "i", &address) < 0)
            return sd_bus_reply_method_return(m, "i", -1);
        return sd_bus_reply_method_return(m, "i", method.get(st, address));
    case Kind::text:
        return sd_bus_reply_method_return(m, "s", st.lastinstruction.str().c_str());
    case Kind::setter:
        if (sd_bus_message_read(m, "ii", &address, &vl) >= 0)
            method.set(st, address, vl);
        return sd_bus_reply_method_return(m, "");
    case Kind::press:
        automationserver().defer(m, [command = method.command] { press(command); });
        return 1;
    }
    return 0;
}

} // namespace

AutomationServer::AutomationServer()
{
    modulehost(); // made first, so that it outlives the server, which tells it when it stops
}

AutomationServer::~AutomationServer()
{
    stop();
}

// The object's table, built from servermethods: each entry's offset leads its handler to the
// method's row of servermethods (the object's user data is the table's start).
void AutomationServer::buildvtable()
{
    for (size_t k = 0; k < names_.size(); ++k)
        names_[k] = std::string(kindsignatures[k].names); // NUL-ended as sd-bus reads them
    vtable_.clear();
    sd_bus_vtable start{};
    start.type = _SD_BUS_VTABLE_START;
    start.x.start.element_size = sizeof(sd_bus_vtable);
    start.x.start.features = _SD_BUS_VTABLE_PARAM_NAMES;
    start.x.start.vtable_format_reference = &sd_bus_object_vtable_format;
    vtable_.push_back(start);
    for (size_t i = 0; i < servermethods.size(); ++i) {
        const ServerMethod& method = servermethods[i];
        const KindSignature& k = kindsignatures[static_cast<size_t>(method.kind)];
        sd_bus_vtable entry{};
        entry.type = _SD_BUS_VTABLE_METHOD;
        entry.x.method.member = method.name;
        entry.x.method.signature = k.in;
        entry.x.method.result = k.out;
        entry.x.method.handler = handle;
        entry.x.method.offset = i * sizeof(ServerMethod);
        entry.x.method.names = names_[static_cast<size_t>(method.kind)].c_str();
        vtable_.push_back(entry);
    }
    sd_bus_vtable end{};
    end.type = _SD_BUS_VTABLE_END;
    vtable_.push_back(end);
}

bool AutomationServer::start()
{
    if (bus_)
        return true;
    sd_bus* raw = nullptr;
    if (sd_bus_open_user(&raw) < 0)
        return false;
    BusPtr bus(raw);
    buildvtable();
    void* table = const_cast<ServerMethod*>(servermethods.data());
    if (sd_bus_add_object_vtable(raw, &object_, IKELVANE_SERVER_PATH, IKELVANE_SERVER_INTERFACE, vtable_.data(),
                                 table) < 0 ||
        sd_bus_request_name(raw, IKELVANE_SERVER_NAME, 0) < 0) {
        object_ = sd_bus_slot_unref(object_);
        return false;
    }
    bus_ = std::move(bus);
    stopfd_ = eventfd(0, EFD_CLOEXEC);
    armed_ = true;
    watcher_ = std::thread([this, busfd = fd()] { watch(busfd); });
    modulehost().setserver(this);
    return true;
}

void AutomationServer::stop()
{
    if (!bus_)
        return;
    modulehost().setserver(nullptr);
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t n = write(stopfd_, &one, sizeof one);
    armed_ = true;
    armed_.notify_one();
    watcher_.join();
    close(stopfd_);
    stopfd_ = -1;
    object_ = sd_bus_slot_unref(object_);
    bus_.reset();
    toolrouter().callwaiting = false;
}

int AutomationServer::fd() const
{
    return bus_ ? sd_bus_get_fd(bus_.get()) : -1;
}

void AutomationServer::watch(int busfd)
{
    // Only the descriptor and the flags: the bus itself belongs to the window thread.
    pollfd fds[2] = {{busfd, POLLIN, 0}, {stopfd_, POLLIN, 0}};
    for (;;) {
        armed_.wait(false);
        fds[0].revents = fds[1].revents = 0;
        if (poll(fds, 2, -1) < 0 && errno != EINTR)
            return;
        if (fds[1].revents != 0)
            return;
        if (fds[0].revents == 0)
            continue;
        armed_ = false;
        toolrouter().callwaiting.store(true, std::memory_order_relaxed);
        QMetaObject::invokeMethod(&context_, [this] { serve(); }, Qt::QueuedConnection);
    }
}

void AutomationServer::rearm()
{
    toolrouter().callwaiting.store(false, std::memory_order_relaxed);
    armed_ = true;
    armed_.notify_one();
}

void AutomationServer::serve()
{
    if (!bus_ || processing_)
        return;
    int r = 0;
    do {
        processing_ = true;
        r = sd_bus_process(bus_.get(), nullptr);
        processing_ = false;
        while (!deferred_.empty()) {
            Deferred d = std::move(deferred_.front());
            deferred_.pop_front();
            d.action();
            sd_bus_reply_method_return(d.call.get(), "");
        }
    } while (r > 0);
    if (r < 0) {
        stop(); // the bus has gone: nothing more to serve
        return;
    }
    if (sd_bus_get_events(bus_.get()) & POLLOUT)
        sd_bus_flush(bus_.get());
    rearm();
}

void AutomationServer::defer(sd_bus_message* call, std::function<void()> action)
{
    deferred_.push_back({MessagePtr(sd_bus_message_ref(call)), std::move(action)});
}

AutomationServer& automationserver()
{
    static AutomationServer server;
    return server;
}

} // namespace kelvane
