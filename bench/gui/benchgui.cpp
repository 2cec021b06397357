// Rate-6 benchmark of the main window: loads a program, starts it at Ultimate rate (or the rate given), stops it
// from a timer after the given seconds, and prints the speed from the statistics message and
// the worst delay with which the window served a timer event during the run. `--open Form2,Form20`
// opens tool windows first and adds how often each one repainted during the run.
#include "bench/gui/measure.h"
#include "app/windows.h"
#include "core/machine.h"
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/toolrouter.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <QScreen>

#include <ctime>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

// The tool windows --open knows: the name on the command line, the window, and the child whose
// paint events count as the window's repaints.
struct OpenableWindow {
    const char* name;
    kelvane::Tool tool;
    const char* painted;
};
constexpr OpenableWindow openable[] = {
    {"Form2", kelvane::Tool::Form2, "tabla"},
    {"Form20", kelvane::Tool::Form20, "tabla"},
    {"Form5", kelvane::Tool::Form5, "terminalscreen"},
};

struct OpenedWindow {
    const OpenableWindow* kind;
    kelvane::bench::PaintCounter* counter;
};

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    std::vector<const char*> args;
    std::string openlist;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--open") == 0 && i + 1 < argc)
            openlist = argv[++i];
        else
            args.push_back(argv[i]);
    }
    if (args.empty()) {
        std::fprintf(stderr, "usage: kelvane_bench_gui PROGRAM [SECONDS [RATE]] [--open Form2,Form20]\n");
        return 2;
    }
    const double seconds = args.size() > 1 ? std::atof(args[1]) : 5.0;
    const int rate = args.size() > 2 ? std::atoi(args[2]) : 6;
    auto& st = kelvane::machinestate();
    kelvane::initialisestate(st);
    st.apppath = "/tmp/";
    st.optlogging = "OFF";
    st.opthalt = "ON";
    kelvane::registerwindows();

    kelvane::Form1 form;
    form.show();
    if (auto err = form.loadprogramfile(args[0]); !err.empty()) {
        std::fprintf(stderr, "%s\n", err.c_str());
        return 1;
    }
    std::vector<OpenedWindow> opened;
    for (size_t at = 0; at < openlist.size();) {
        size_t comma = openlist.find(',', at);
        if (comma == std::string::npos)
            comma = openlist.size();
        const std::string name = openlist.substr(at, comma - at);
        at = comma + 1;
        const OpenableWindow* kind = nullptr;
        for (const OpenableWindow& w : openable)
            if (name == w.name)
                kind = &w;
        QWidget* window = kind ? kelvane::toolrouter().show(kind->tool) : nullptr;
        QWidget* painted = window ? window->findChild<QWidget*>(kind->painted) : nullptr;
        if (painted == nullptr) {
            std::fprintf(stderr, "no window %s to open\n", name.c_str());
            return 2;
        }
        auto* counter = new kelvane::bench::PaintCounter;
        painted->installEventFilter(counter);
        opened.push_back({kind, counter});
    }
    QCoreApplication::processEvents();
    for (OpenedWindow& w : opened)
        w.counter->paints = 0;

    std::string stats;
    form.messagesink = [&](const std::string& t) { stats = t; };
    form.menuspeed_Click(rate >= 1 && rate <= 6 ? rate : 6);

    // Probes: a 20 ms timer whose lateness is the window's response time during the run.
    QElapsedTimer clock;
    qint64 last = -1, worst = 0, probes = 0;
    QTimer probe;
    probe.setTimerType(Qt::PreciseTimer);
    QObject::connect(&probe, &QTimer::timeout, [&] {
        const qint64 now = clock.elapsed();
        if (last >= 0) {
            worst = std::max(worst, now - last - 20);
            ++probes;
        }
        last = now;
    });
    qint64 stopdue = 0, stopdone = 0;
    double cpustart = 0, cpuend = 0;
    QTimer::singleShot(0, [&] {
        clock.start();
        cpustart = kelvane::bench::processorseconds();
        probe.start(20);
        QTimer::singleShot(static_cast<int>(seconds * 1000), [&] {
            stopdue = clock.elapsed();
            form.action("menustop")->trigger();
        });
        form.action("menustart")->trigger();
        stopdone = clock.elapsed();
        cpuend = kelvane::bench::processorseconds();
        probe.stop();
        QCoreApplication::quit();
    });
    app.exec();

    const double elapsed = static_cast<double>(stopdone) / 1000.0;
    std::printf("rate %d: %d instructions in %.2f s: %.0f instructions/s (%.1f million)\n", rate, st.instructioncount,
                elapsed, st.instructioncount / elapsed, st.instructioncount / elapsed / 1e6);
    const double cpu = cpuend - cpustart;
    std::printf("processor time %.2f s: %.0f instructions per processor second (%.1f million)\n", cpu,
                st.instructioncount / cpu, st.instructioncount / cpu / 1e6);
    std::printf("window events: %lld timer probes, worst lateness %lld ms; Stop served in %lld ms\n", probes, worst,
                stopdone - stopdue);
    for (const OpenedWindow& w : opened)
        std::printf("%s repainted %ld times: %.1f per second (display: %.0f Hz)\n", w.kind->name, w.counter->paints,
                    static_cast<double>(w.counter->paints) / elapsed, form.screen()->refreshRate());
    std::string oneline = stats;
    for (auto& ch : oneline)
        if (ch == '\r' || ch == '\n')
            ch = ' ';
    std::printf("statistics: %s\n", oneline.c_str());
    return 0;
}
