// Peripheral Devices at Ultimate rate in the main window. Modes:
//   none    a counter to port 10H and text to port 11H with no device on either (the plain port path);
//   closed  the same with an output device on 10H and the terminal on 11H, their window opened once and closed;
//   open    the same with the window open;
//   flood   random bytes to the terminal with the window open until the text holds MEGABYTES.
// Prints instructions per second, the worst lateness of a 20 ms timer, how long Stop took, how long
// after the stop the window showed the last value and the whole text, and the memory the run took.
#include "bench/gui/measure.h"
#include "core/hexutil.h"
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/settings.h"
#include "sim/toolrouter.h"
#include "tools/form5.h"
#include "tools/form5terminal.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QScreen>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace {

// loop: INR C / MOV A,C / OUT 10H / ANI 3FH / JNZ text / MVI A,0DH / OUT 11H /
// text: ADI 30H / OUT 11H / JMP loop  -- a counter, and a line of characters ended by CR every 64.
const std::vector<int32_t> counter = {0x0C, 0x79, 0xD3, 0x10, 0xE6, 0x3F, 0xC2, 0x0D, 0x00, 0x3E,
                                      0x0D, 0xD3, 0x11, 0xC6, 0x30, 0xD3, 0x11, 0xC3, 0x00, 0x00};
// loop: MOV A,M / OUT 11H / INX H / JMP loop  -- HL walks round memory, random bytes from 0100H.
const std::vector<int32_t> flood = {0x7E, 0xD3, 0x11, 0x23, 0xC3, 0x00, 0x00};

// Kilobytes of a line of /proc/self/status ("VmRSS", "VmHWM").
long statuskb(const char* key)
{
    std::ifstream in("/proc/self/status");
    std::string line;
    const size_t n = std::strlen(key);
    while (std::getline(in, line))
        if (line.compare(0, n, key) == 0 && line.size() > n && line[n] == ':')
            return std::atol(line.c_str() + n + 1);
    return -1;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    const std::string mode = argc > 1 ? argv[1] : "open";
    const double amount = argc > 2 ? std::atof(argv[2]) : (mode == "flood" ? 100.0 : 5.0);
    if (mode != "none" && mode != "closed" && mode != "open" && mode != "flood") {
        std::fprintf(stderr, "usage: kelvane_bench_devices none|closed|open|flood [SECONDS|MEGABYTES]\n");
        return 2;
    }
    using namespace kelvane;
    auto& st = machinestate();
    initialisestate(st);
    st.apppath = "/tmp/";
    toolrouter().setfactory(Tool::Form5, [] { return new Form5; });
    const bool devices = mode != "none";
    regwrite("Device 1", devices && mode != "flood" ? "ON" : "OFF");
    regwrite("Device 1 Input", "OFF");
    regwrite("Device 1 Port Number", 16);
    regwrite("Device 5", devices ? "ON" : "OFF");
    regwrite("Device 5 Port Number", 17);

    Form1 form;
    form.show();
    st.optlogging = "OFF";
    st.optinprompt = "OFF";
    st.optinlog = "OFF";
    st.opthalt = "ON";
    st.startaddress = 0;
    std::string stats;
    form.messagesink = [&](const std::string& t) { stats = t; };

    QWidget* window = devices ? toolrouter().show(Tool::Form5) : nullptr;
    if (mode == "closed") {
        window->close();
        QCoreApplication::processEvents();
        window = nullptr;
    }
    auto* form5 = qobject_cast<Form5*>(window);
    kelvane::bench::PaintCounter screenpaints, valuepaints;
    if (form5) {
        form5->findChild<QWidget*>("terminalscreen")->installEventFilter(&screenpaints);
        form5->label(1)->installEventFilter(&valuepaints);
    }

    const std::vector<int32_t>& program = mode == "flood" ? flood : counter;
    std::copy(program.begin(), program.end(), st.mem.begin());
    if (mode == "flood") {
        std::mt19937 random(8085);
        for (size_t i = 0x100; i < 0x10000; ++i)
            st.mem[i] = static_cast<int32_t>(random() & 0xFF);
    }
    st.programsize = static_cast<int32_t>(program.size());
    form.menuspeed_Click(6);
    QCoreApplication::processEvents();

    const long rssbefore = statuskb("VmRSS");
    screenpaints.paints = valuepaints.paints = 0;
    const auto floodbytes = static_cast<size_t>(amount * 1024 * 1024);
    QElapsedTimer clock;
    qint64 last = -1, worst = 0, stopdue = 0, stopdone = 0;
    QTimer probe;
    probe.setTimerType(Qt::PreciseTimer);
    QObject::connect(&probe, &QTimer::timeout, [&] {
        const qint64 now = clock.elapsed();
        if (last >= 0)
            worst = std::max(worst, now - last - 20);
        last = now;
        if (mode == "flood" && stopdue == 0 && st.termtext.size() >= floodbytes) {
            stopdue = now;
            form.action("menustop")->trigger();
        }
    });
    // The run loop serves the timers from inside Start until the stop.
    const double cpustart = kelvane::bench::processorseconds();
    clock.start();
    probe.start(20);
    if (mode != "flood")
        QTimer::singleShot(static_cast<int>(amount * 1000), [&] {
            stopdue = clock.elapsed();
            form.action("menustop")->trigger();
        });
    form.action("menustart")->trigger();
    stopdone = clock.elapsed();
    const double cpu = kelvane::bench::processorseconds() - cpustart;
    probe.stop();

    // How long the window takes to show the last value and the whole text after the stop.
    qint64 shownafter = -1;
    if (form5) {
        QElapsedTimer wait;
        wait.start();
        for (;;) {
            const bool value = mode == "flood" ||
                               form5->label(1)->text().toStdString() == hexbyte(st.devvalue[1]) + "H";
            const bool text = form5->terminal()->lines().indexed() == st.termtext.size() && form5->terminal()->atend();
            if (value && text) {
                shownafter = wait.elapsed();
                break;
            }
            if (wait.elapsed() > 5000) {
                std::fprintf(stderr, "not shown: label %s value %s, indexed %zu of %zu, at end %d\n",
                             form5->label(1)->text().toStdString().c_str(), hexbyte(st.devvalue[1]).c_str(),
                             form5->terminal()->lines().indexed(), st.termtext.size(), form5->terminal()->atend());
                break;
            }
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        }
    }

    const double elapsed = static_cast<double>(stopdone) / 1000.0;
    std::printf("%s: %.1f million instructions/s over %.2f s (%.1f million per second of CPU time)\n", mode.c_str(),
                st.instructioncount / elapsed / 1e6, elapsed, st.instructioncount / cpu / 1e6);
    std::printf("%s: worst timer lateness %lld ms; Stop served in %lld ms", mode.c_str(), worst, stopdone - stopdue);
    if (form5)
        std::printf("; lamps and text shown %lld ms after the stop", shownafter);
    std::printf("\n");
    if (form5)
        std::printf("%s: repaints a second: terminal %.0f, device 1's value %.0f (display: %.0f Hz)\n", mode.c_str(),
                    screenpaints.paints / elapsed, valuepaints.paints / elapsed, form5->screen()->refreshRate());
    if (devices)
        std::printf("%s: device 1 %sH, terminal text %.1f MB\n", mode.c_str(), hexbyte(st.devvalue[1]).c_str(),
                    static_cast<double>(st.termtext.size()) / (1024.0 * 1024.0));
    if (mode == "flood") {
        const long peak = statuskb("VmHWM");
        std::printf("flood: memory before the run %ld MB, peak %ld MB, growth %.2f times the text\n", rssbefore / 1024,
                    peak / 1024, static_cast<double>(peak - rssbefore) * 1024.0 / static_cast<double>(st.termtext.size()));
    }
    return 0;
}
