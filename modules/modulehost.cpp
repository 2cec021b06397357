#include "modules/modulehost.h"

#include "modules/ikelvane.h"
#include "modules/server.h"
#include "shell/messages.h"
#include "sim/machinestate.h"
#include "sim/settings.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QXmlStreamReader>

#include <poll.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <ctime>

namespace kelvane {

namespace {

// The five methods by name, in the order of ModuleMethod.
constexpr std::array<const char*, 5> methodnames = {IKELVANE_METHOD_OBJECTINIT, IKELVANE_METHOD_OBJECTREFRESH,
                                                    IKELVANE_METHOD_OBJECTTERM, IKELVANE_METHOD_READIO,
                                                    IKELVANE_METHOD_WRITEIO};
constexpr auto pumpinterval = std::chrono::milliseconds(16);
// Creation may wait for the bus to start a module (the bus's own activation limit).
constexpr uint64_t createtimeoutusec = 25'000'000;

// A module reached through the bus: its owner's unique name, fixed at creation, so that calls
// cost no name lookup and never reach a program that took the name after this one ended.
class BusModule final : public ModuleObject, public std::enable_shared_from_this<BusModule> {
public:
    BusModule(ModuleHost& host, std::string owner, unsigned offered)
        : host_(host), owner_(std::move(owner)), offered_(offered)
    {
    }
    void objectinit() override { invoke(ModuleMethod::objectinit, nullptr, nullptr); }
    void objectrefresh() override { invoke(ModuleMethod::objectrefresh, nullptr, nullptr); }
    void objectterm() override { invoke(ModuleMethod::objectterm, nullptr, nullptr); }
    void readio(int32_t& port, int32_t& value) override { invoke(ModuleMethod::readio, &port, &value); }
    void writeio(int32_t& port, int32_t& value) override { invoke(ModuleMethod::writeio, &port, &value); }
    unsigned offered() const { return gone_ ? 0 : offered_; }

private:
    void invoke(ModuleMethod method, int32_t* port, int32_t* value);

    ModuleHost& host_;
    std::string owner_;
    unsigned offered_;
    bool gone_ = false; // the owner left the bus: its unique name never comes back
};

void BusModule::invoke(ModuleMethod method, int32_t* port, int32_t* value)
{
    if (gone_ || (offered_ & methodbit(method)) == 0)
        return;
    const auto keep = shared_from_this(); // the slot may be given a new object while this one waits
    sd_bus_message* raw = nullptr;
    if (sd_bus_message_new_method_call(host_.bus(), &raw, owner_.c_str(), IKELVANE_MODULE_PATH,
                                       IKELVANE_MODULE_INTERFACE, methodnames[static_cast<size_t>(method)]) < 0)
        return;
    const MessagePtr m(raw);
    sd_bus_message_set_auto_start(raw, 0);
    if (port && sd_bus_message_append(raw, IKELVANE_IO_SIGNATURE, *port, *value) < 0)
        return;
    const MessagePtr reply = host_.call(raw, IKELVANE_CALL_TIMEOUT_USEC);
    if (!reply)
        return;
    if (sd_bus_message_is_method_error(reply.get(), nullptr)) {
        gone_ = sd_bus_message_is_method_error(reply.get(), SD_BUS_ERROR_SERVICE_UNKNOWN) ||
                sd_bus_message_is_method_error(reply.get(), SD_BUS_ERROR_NAME_HAS_NO_OWNER);
        return;
    }
    int32_t p = 0;
    int32_t v = 0;
    if (port && sd_bus_message_read(reply.get(), IKELVANE_IO_SIGNATURE, &p, &v) > 0) {
        *port = p;
        *value = v;
    }
}

bool elementchar(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-';
}

} // namespace

bool validbusname(std::string_view name)
{
    if (name.empty() || name.size() > 255)
        return false;
    int elements = 0;
    for (size_t start = 0; start <= name.size();) {
        size_t end = name.find('.', start);
        if (end == std::string_view::npos)
            end = name.size();
        const std::string_view element = name.substr(start, end - start);
        if (element.empty() || std::isdigit(static_cast<unsigned char>(element.front())) ||
            !std::all_of(element.begin(), element.end(), elementchar))
            return false;
        ++elements;
        start = end + 1;
    }
    return elements >= 2;
}

unsigned offeredmethods(std::string_view introspection)
{
    QXmlStreamReader xml(QByteArray(introspection.data(), static_cast<qsizetype>(introspection.size())));
    bool inside = false;
    bool described = false;
    unsigned offered = 0;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.name() == QLatin1String("interface")) {
            inside = xml.attributes().value(QLatin1String("name")) == QLatin1String(IKELVANE_MODULE_INTERFACE);
            described = described || inside;
        } else if (xml.isEndElement() && xml.name() == QLatin1String("interface")) {
            inside = false;
        } else if (inside && xml.isStartElement() && xml.name() == QLatin1String("method")) {
            const auto name = xml.attributes().value(QLatin1String("name"));
            for (size_t i = 0; i < methodnames.size(); ++i)
                if (name == QLatin1String(methodnames[i]))
                    offered |= 1u << i;
        }
    }
    return described && !xml.hasError() ? offered : allmethods;
}

ModuleHost::ModuleHost() = default;
ModuleHost::~ModuleHost() = default;

bool ModuleHost::connected()
{
    if (!tried_) {
        tried_ = true;
        sd_bus* bus = nullptr;
        if (sd_bus_open_user(&bus) >= 0)
            bus_.reset(bus);
        if (auto* dispatcher = QAbstractEventDispatcher::instance())
            QObject::connect(dispatcher, &QAbstractEventDispatcher::awake, [this] { lastevents_ = clock::now(); });
        lastevents_ = clock::now();
    }
    return bus_ != nullptr;
}

void ModuleHost::pump()
{
    lastevents_ = clock::now();
    if (QCoreApplication::instance())
        QCoreApplication::processEvents(QEventLoop::AllEvents);
}

MessagePtr ModuleHost::call(sd_bus_message* m, uint64_t timeoutusec)
{
    struct Waiter {
        MessagePtr reply;
        bool done = false;
    } w;
    auto answered = [](sd_bus_message* reply, void* data, sd_bus_error*) -> int {
        auto* waiter = static_cast<Waiter*>(data);
        waiter->reply.reset(sd_bus_message_ref(reply));
        waiter->done = true;
        return 1;
    };
    sd_bus_slot* slot = nullptr;
    if (!bus_ || sd_bus_call_async(bus_.get(), &slot, m, answered, &w, timeoutusec) < 0)
        return {};
    const auto deadline = clock::now() + std::chrono::microseconds(timeoutusec);
    // Calls may nest (a pump or a served automation call may make one): each waits for its own
    // reply, whichever loop reads it.
    while (!w.done) {
        const int r = sd_bus_process(bus_.get(), nullptr);
        if (r < 0)
            break;
        if (r > 0)
            continue;
        auto now = clock::now();
        if (now >= deadline)
            break;
        const auto wake = std::min(deadline, lastevents_ + pumpinterval);
        const auto wait = std::max<clock::duration>(wake - now, clock::duration::zero());
        const timespec ts{static_cast<time_t>(std::chrono::duration_cast<std::chrono::seconds>(wait).count()),
                          static_cast<long>((wait % std::chrono::seconds(1)) / std::chrono::nanoseconds(1))};
        const int serverfd = server_ ? server_->fd() : -1;
        pollfd fds[2] = {{sd_bus_get_fd(bus_.get()), static_cast<short>(sd_bus_get_events(bus_.get())), 0},
                         {serverfd, POLLIN, 0}};
        ppoll(fds, serverfd >= 0 ? 2 : 1, &ts, nullptr);
        if (serverfd >= 0 && fds[1].revents != 0)
            server_->serve();
        if (clock::now() >= lastevents_ + pumpinterval)
            pump();
    }
    sd_bus_slot_unref(slot);
    return std::move(w.reply);
}

MessagePtr ModuleHost::callbus(const char* member, const char* name)
{
    sd_bus_message* raw = nullptr;
    if (sd_bus_message_new_method_call(bus_.get(), &raw, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                       "org.freedesktop.DBus", member) < 0)
        return {};
    const MessagePtr m(raw);
    const bool start = std::string_view(member) == "StartServiceByName"; // (name, flags)
    if ((start ? sd_bus_message_append(raw, "su", name, 0u) : sd_bus_message_append(raw, "s", name)) < 0)
        return {};
    MessagePtr reply = call(raw, createtimeoutusec);
    if (!reply || sd_bus_message_is_method_error(reply.get(), nullptr))
        return {};
    return reply;
}

std::shared_ptr<ModuleObject> ModuleHost::create(const std::string& reference)
{
    if (!validbusname(reference) || !connected())
        return nullptr;
    // The name's owner now, or after the bus has started the module its .service file names.
    MessagePtr owner = callbus("GetNameOwner", reference.c_str());
    if (!owner && callbus("StartServiceByName", reference.c_str()))
        owner = callbus("GetNameOwner", reference.c_str());
    const char* unique = nullptr;
    if (!owner || sd_bus_message_read(owner.get(), "s", &unique) <= 0)
        return nullptr;
    unsigned offered = allmethods;
    sd_bus_message* raw = nullptr;
    if (sd_bus_message_new_method_call(bus_.get(), &raw, unique, IKELVANE_MODULE_PATH,
                                       "org.freedesktop.DBus.Introspectable", "Introspect") >= 0) {
        const MessagePtr m(raw);
        sd_bus_message_set_auto_start(raw, 0);
        const MessagePtr xml = call(raw, IKELVANE_CALL_TIMEOUT_USEC);
        const char* text = nullptr;
        if (xml && !sd_bus_message_is_method_error(xml.get(), nullptr) &&
            sd_bus_message_read(xml.get(), "s", &text) > 0)
            offered = offeredmethods(text);
    }
    return std::make_shared<BusModule>(*this, unique, offered);
}

ModuleHost& modulehost()
{
    static ModuleHost host;
    return host;
}

void kreirajobjekte(QWidget* form)
{
    auto& st = machinestate();
    for (size_t i = 0; i < 5; ++i)
        st.moduletext[i] = regread("External Module " + std::to_string(i + 1));
    for (size_t i = 0; i < 5; ++i) {
        if (st.moduletext[i] == "OFF") {
            st.moduleobject[i].reset();
            continue;
        }
        if (auto object = modulehost().create(st.moduletext[i]))
            st.moduleobject[i] = std::move(object);
        else
            messagebox(form, QStringLiteral("Could not establish connection with External Module %1.").arg(i + 1));
    }
    // What the machine calls: only what some object offers (every object counts, whatever its
    // slot's text says now, since the text may change before the next apply).
    unsigned offered = 0;
    for (const auto& object : st.moduleobject)
        if (const auto* m = dynamic_cast<const BusModule*>(object.get()))
            offered |= m->offered();
        else if (object)
            offered = allmethods;
    MachineHooks& hooks = machinehooks();
    hooks.modulesactive = (offered & methodbit(ModuleMethod::objectrefresh)) != 0;
    hooks.modulesio = (offered & (methodbit(ModuleMethod::readio) | methodbit(ModuleMethod::writeio))) != 0;
}

} // namespace kelvane
