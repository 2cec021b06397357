// Rate-6 benchmark of the main window: loads a program, starts it at Ultimate rate (or the rate given), stops it
// from a timer after the given seconds, and prints the speed from the statistics message and
// the worst delay with which the window served a timer event during the run.
#include "app/windows.h"
#include "core/machine.h"
#include "sim/form1.h"
#include "sim/machinestate.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: kelvane_bench_gui PROGRAM [SECONDS [RATE]]\n");
        return 2;
    }
    const double seconds = argc > 2 ? std::atof(argv[2]) : 5.0;
    const int rate = argc > 3 ? std::atoi(argv[3]) : 6;
    auto& st = kelvane::machinestate();
    kelvane::initialisestate(st);
    st.apppath = "/tmp/";
    st.optlogging = "OFF";
    st.opthalt = "ON";
    kelvane::registerwindows();

    kelvane::Form1 form;
    form.show();
    if (auto err = form.loadprogramfile(argv[1]); !err.empty()) {
        std::fprintf(stderr, "%s\n", err.c_str());
        return 1;
    }
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
    QTimer::singleShot(0, [&] {
        clock.start();
        probe.start(20);
        QTimer::singleShot(static_cast<int>(seconds * 1000), [&] {
            stopdue = clock.elapsed();
            form.action("menustop")->trigger();
        });
        form.action("menustart")->trigger();
        stopdone = clock.elapsed();
        probe.stop();
        QCoreApplication::quit();
    });
    app.exec();

    const double elapsed = static_cast<double>(stopdone) / 1000.0;
    std::printf("rate %d: %d instructions in %.2f s: %.0f instructions/s (%.1f million)\n", rate, st.instructioncount,
                elapsed, st.instructioncount / elapsed, st.instructioncount / elapsed / 1e6);
    std::printf("window events: %lld timer probes, worst lateness %lld ms; Stop served in %lld ms\n", probes, worst,
                stopdone - stopdue);
    std::string oneline = stats;
    for (auto& ch : oneline)
        if (ch == '\r' || ch == '\n')
            ch = ' ';
    std::printf("statistics: %s\n", oneline.c_str());
    return 0;
}
