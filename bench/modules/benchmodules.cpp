// Modules and the automation server at Ultimate rate in the main window, on the session bus the
// caller gives (bench/modules/run-bench-modules.sh makes one and starts the example counter
// module on it as "bench.counter" and, with --io-only, as "bench.io"). Modes:
//   none     no server, no module: the plain rate;
//   server   the automation server up, no module;
//   ioonly   bench.io in slot 1 (readio and writeio only), a program without IN or OUT;
//   refresh  bench.counter in slot 1: one objectrefresh round trip per instruction, in half-second
//            runs that alternate with half-second loops of a bare sd-bus client calling the same
//            objectrefresh, so that both meet the same load of the machine;
//   getmem   the server up and a client thread calling getmem 10,000 times during the run.
// usage: kelvane_bench_modules MODE [SECONDS]
#include "modules/ikelvane.h"
#include "modules/modules.h"
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/settings.h"
#include "sim/toolrouter.h"

#include <systemd/sd-bus.h>

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

using clock_type = std::chrono::steady_clock;

// loop: INR C / MOV A,C / ANI 3FH / JNZ loop / INR B / JMP loop -- no port I/O.
const std::vector<int32_t> program = {0x0C, 0x79, 0xE6, 0x3F, 0xC2, 0x00, 0x00, 0x04, 0xC3, 0x00, 0x00};

double seconds(clock_type::duration d)
{
    return std::chrono::duration<double>(d).count();
}

// Calls `member` of a destination as the host calls a module: a new message, no auto start, a
// waited reply. Returns the calls made in `limit` seconds, or the time of `count` calls.
struct BareClient {
    sd_bus* bus = nullptr;
    BareClient() { sd_bus_open_user(&bus); }
    ~BareClient() { sd_bus_flush_close_unref(bus); }
    bool call(const char* destination, const char* path, const char* interface, const char* member, bool address)
    {
        sd_bus_message* m = nullptr;
        sd_bus_message* reply = nullptr;
        if (sd_bus_message_new_method_call(bus, &m, destination, path, interface, member) < 0)
            return false;
        sd_bus_message_set_auto_start(m, 0);
        if (address)
            sd_bus_message_append(m, "i", 0x0005);
        const int r = sd_bus_call(bus, m, IKELVANE_CALL_TIMEOUT_USEC, nullptr, &reply);
        sd_bus_message_unref(m);
        sd_bus_message_unref(reply);
        return r >= 0;
    }
};

// objectrefresh round trips per second of the bare client over `limit` seconds (0 on failure).
double barerate(BareClient& client, double limit)
{
    long calls = 0;
    const auto start = clock_type::now();
    while (seconds(clock_type::now() - start) < limit) {
        if (!client.call("bench.counter", IKELVANE_MODULE_PATH, IKELVANE_MODULE_INTERFACE,
                         IKELVANE_METHOD_OBJECTREFRESH, false))
            return 0;
        ++calls;
    }
    return calls / seconds(clock_type::now() - start);
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[v.size() / 2];
}

} // namespace

int main(int argc, char** argv)
{
    const std::string mode = argc > 1 ? argv[1] : "";
    const double limit = argc > 2 ? std::atof(argv[2]) : 3.0;
    const std::vector<std::string> modes = {"none", "server", "ioonly", "refresh", "getmem"};
    if (std::find(modes.begin(), modes.end(), mode) == modes.end()) {
        std::fprintf(stderr, "usage: kelvane_bench_modules none|server|ioonly|refresh|getmem [SECONDS]\n");
        return 2;
    }
    if (qgetenv("QT_QPA_PLATFORM").isEmpty())
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    using namespace kelvane;
    auto& st = machinestate();
    initialisestate(st);
    st.apppath = "/tmp/";
    if (mode != "none")
        registermodules(toolrouter());
    regwrite("External Module 1", mode == "refresh" ? "bench.counter" : mode == "ioonly" ? "bench.io" : "OFF");
    for (int n = 2; n <= 5; ++n)
        regwrite("External Module " + std::to_string(n), "OFF");
    regwrite("Prompt Before IN", "OFF");
    Form1 form;
    form.show();
    if ((mode == "refresh" || mode == "ioonly") && !st.moduleobject[0])
        return std::fprintf(stderr, "%s: the module is not on the bus\n", mode.c_str()), 1;
    st.optlogging = "OFF";
    st.opthalt = "ON";
    st.startaddress = 0;
    form.messagesink = [](const std::string&) {};
    std::copy(program.begin(), program.end(), st.mem.begin());
    st.programsize = static_cast<int32_t>(program.size());
    form.menuspeed_Click(6);
    QCoreApplication::processEvents();

    // getmem: the client starts half a second into the run; the run stops when it is done.
    std::atomic<bool> clientdone{false};
    double clienttime = 0;
    int32_t countatclient = 0;
    std::thread client;
    QTimer watch;
    if (mode == "getmem") {
        QTimer::singleShot(500, [&] {
            countatclient = st.instructioncount;
            client = std::thread([&] {
                BareClient c;
                const auto start = clock_type::now();
                for (int i = 0; i < 10000; ++i)
                    c.call(IKELVANE_SERVER_NAME, IKELVANE_SERVER_PATH, IKELVANE_SERVER_INTERFACE, "getmem", true);
                clienttime = seconds(clock_type::now() - start);
                clientdone = true;
            });
        });
        QObject::connect(&watch, &QTimer::timeout, [&] {
            if (clientdone)
                form.action("menustop")->trigger();
        });
        watch.start(5);
    } else if (mode == "refresh") {
        BareClient bare;
        std::vector<double> hostrates, barerates, ratios;
        for (int i = 0; i < std::max(1, static_cast<int>(limit * 2)); ++i) {
            barerates.push_back(barerate(bare, 0.5));
            QTimer::singleShot(500, [&] { form.action("menustop")->trigger(); });
            const auto start = clock_type::now();
            form.action("menustart")->trigger();
            hostrates.push_back(st.instructioncount / seconds(clock_type::now() - start));
            ratios.push_back(hostrates.back() / barerates.back());
        }
        std::printf("refresh: %.0f instructions/s with one module answering objectrefresh; a bare sd-bus client: "
                    "%.0f round trips/s (medians of %zu alternating half seconds); host/bare %.2f\n",
                    median(hostrates), median(barerates), ratios.size(), median(ratios));
        return 0;
    } else {
        QTimer::singleShot(static_cast<int>(limit * 1000), [&] { form.action("menustop")->trigger(); });
    }
    const auto start = clock_type::now();
    form.action("menustart")->trigger(); // returns when the run has stopped
    const double t = seconds(clock_type::now() - start);
    if (client.joinable())
        client.join();
    std::printf("%s: %.3f million instructions/s over %.2f s\n", mode.c_str(), st.instructioncount / t / 1e6, t);
    if (mode == "getmem") {
        const double during = st.instructioncount - countatclient;
        std::printf("getmem: 10000 calls answered in %.2f s (%.0f us each); %.0f instructions ran meanwhile "
                    "(%.3f million/s)\n",
                    clienttime, clienttime / 10000 * 1e6, during, during / clienttime / 1e6);
    }
    return 0;
}
