// Breakpoints Manager benchmark, in the real windows (offscreen unless told otherwise):
//  1. a 20,000-line listing on view: time from the Tools menu item to the first paint of its lines,
//     with the machine idle and during a run at rate 5;
//  2. a 64K program without a listing: time from the message's OK to the first paint of the lines;
//  3. following a program through that listing at rates 5 and 6 (Hold PC and refresh on): speed
//     with and without the window, repaints of the lines per second, worst lateness of a 20 ms timer;
//  4. rate 6 with ten breakpoints until one matches: speed, and the state at the stop printed for
//     the comparison with `kelvane-cli run --trace` that run-bench-breakpoints.sh makes.
// usage: kelvane_bench_breakpoints WORKDIR [SECONDS] [OUTER]
#include "bench/gui/measure.h"
#include "core/execute.h"
#include "core/hexutil.h"
#include "core/machine.h"
#include "disassembler/disassembler.h"
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/settings.h"
#include "sim/toolrouter.h"
#include "tools/form8.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QMessageBox>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

using namespace kelvane;

namespace {

QElapsedTimer benchclock;

// Seconds of processor time of the process (steadier than the wall clock on a busy machine).
void writeobj(const std::string& path, const std::vector<uint8_t>& bytes)
{
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                static_cast<std::streamsize>(bytes.size()));
}

// 20,000 instructions of one to three bytes run straight through, then JMP 0000.
std::vector<uint8_t> followprogram()
{
    const std::vector<std::vector<uint8_t>> pattern = {
        {0x3C}, {0x05}, {0x4F}, {0x80}, {0x06, 0x12}, {0x21, 0x34, 0x12}, {0x23}, {0xA9}, {0x00}, {0x1B}};
    std::vector<uint8_t> p;
    for (int i = 0; i < 20000; ++i)
        for (uint8_t b : pattern[static_cast<size_t>(i) % pattern.size()])
            p.push_back(b);
    p.insert(p.end(), {0xC3, 0x00, 0x00});
    return p;
}

// MVI B,outer / again: LXI D,FFFF / loop: DCX D / MOV A,D / ORA E / JNZ loop / DCR B / JNZ again /
// 000F: HLT, and nine NOPs behind it for the other breakpoints.
std::vector<uint8_t> breakpointprogram(int outer)
{
    std::vector<uint8_t> p = {0x06, static_cast<uint8_t>(outer), 0x11, 0xFF, 0xFF, 0x1B, 0x7A, 0xB3,
                              0xC2, 0x05, 0x00, 0x05, 0xC2, 0x02, 0x00, 0x76};
    p.insert(p.end(), 9, 0x00);
    return p;
}

// Makes PROGRAM's listing with the disassembler as the window would, so that opening finds it.
void makelisting(const std::string& folder, const std::vector<uint8_t>& bytes, const std::string& name)
{
    Disassembler d;
    d.workfolder = folder;
    d.loadimage(bytes.data(), bytes.size());
    if (d.disassemble(true, false))
        std::filesystem::rename(d.resultpath(), std::filesystem::path(folder) / name);
}

// Times of paints of the listing's lines, and a count of them.
class PaintWatch : public QObject {
public:
    qint64 firstlines = -1; // first paint with the listing in place
    long paints = 0;
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint && watched->objectName() == QLatin1String("linija")) {
            auto* w = qobject_cast<Form8*>(static_cast<QWidget*>(watched)->window());
            if (w && w->listingready() && w->listingcount() > 0) {
                ++paints;
                if (firstlines < 0)
                    firstlines = benchclock.elapsed();
            }
        }
        return false;
    }
};

// Closes the message box that comes up and notes when.
class BoxCloser : public QObject {
public:
    qint64 closedat = -1;
    BoxCloser()
    {
        connect(&timer_, &QTimer::timeout, this, [this] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                closedat = benchclock.elapsed();
                box->accept();
            }
        });
        timer_.start(5);
    }

private:
    QTimer timer_;
};

// The worst lateness of a 20 ms timer while it runs.
class Probe {
public:
    Probe()
    {
        timer_.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer_, &QTimer::timeout, [this] {
            const qint64 now = benchclock.elapsed();
            if (last_ >= 0)
                worst = std::max(worst, now - last_ - 20);
            last_ = now;
        });
        timer_.start(20);
    }
    qint64 worst = 0;

private:
    QTimer timer_;
    qint64 last_ = -1;
};

Form8* breakpointsmanager()
{
    return qobject_cast<Form8*>(toolrouter().window(Tool::Form8));
}

// Runs `fn` from the event loop and returns when it has.
void inloop(const std::function<void()>& fn)
{
    QEventLoop loop; // not the application's: its quit would close every window
    QTimer::singleShot(0, &loop, [&] {
        fn();
        loop.quit();
    });
    loop.exec();
}

// Opens the manager and returns the ms from the menu item to the first paint of its lines.
qint64 openmanager(Form1& form, PaintWatch& watch, qint64* fromok = nullptr)
{
    BoxCloser closer;
    watch.firstlines = -1;
    const qint64 t0 = benchclock.elapsed();
    form.action("menubreak")->trigger();
    while (watch.firstlines < 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    if (fromok)
        *fromok = closer.closedat < 0 ? -1 : watch.firstlines - closer.closedat;
    return watch.firstlines - t0;
}

struct RunFigures {
    double rate = 0, cpurate = 0;
    qint64 worst = 0;
    double paints = 0;
};

// Runs the loaded program at `rate` for `seconds` and stops it from a timer.
RunFigures runfor(Form1& form, int rate, double seconds, PaintWatch& watch)
{
    MachineState& st = machinestate();
    RunFigures f;
    form.menuspeed_Click(rate);
    const long paints0 = watch.paints;
    qint64 begin = 0, end = 0;
    double cpubegin = 0, cpuend = 0;
    std::unique_ptr<Probe> probe;
    inloop([&] {
        probe = std::make_unique<Probe>();
        if (seconds > 0)
            QTimer::singleShot(static_cast<int>(seconds * 1000), [&] { form.action("menustop")->trigger(); });
        begin = benchclock.elapsed();
        cpubegin = bench::processorseconds();
        form.action("menustart")->trigger();
        end = benchclock.elapsed();
        cpuend = bench::processorseconds();
    });
    const double elapsed = static_cast<double>(end - begin) / 1000.0;
    f.rate = st.instructioncount / elapsed;
    f.cpurate = st.instructioncount / (cpuend - cpubegin);
    f.worst = probe->worst;
    f.paints = static_cast<double>(watch.paints - paints0) / elapsed;
    return f;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: kelvane_bench_breakpoints WORKDIR [SECONDS] [OUTER]\n");
        return 2;
    }
    const std::string work = std::string(argv[1]) + "/";
    const double seconds = argc > 2 ? std::atof(argv[2]) : 3.0;
    const int outer = argc > 3 ? std::atoi(argv[3]) : 200;
    benchclock.start();

    MachineState& st = machinestate();
    initialisestate(st);
    st.apppath = work;
    toolrouter().setfactory(Tool::Form8, [] { return new Form8; });
    regwrite("Hold PC In Focus", "1");
    Form1 form;
    form.show();
    st.optlogging = "OFF";
    st.opthalt = "ON";
    st.optrefreshbreakpoints = "ON";
    st.optrefreshmemory = "ON";
    st.lastpath = work;
    std::string stats;
    form.messagesink = [&](const std::string& t) { stats = t; };
    PaintWatch watch;
    app.installEventFilter(&watch);

    const std::vector<uint8_t> follow = followprogram();
    writeobj(work + "follow.obj", follow);
    makelisting(work, follow, "follow.lst");
    form.loadprogramfile(QString::fromStdString(work + "follow.obj"));

    // 1. The 20,000-line listing on view, idle and during a run at rate 5.
    const qint64 idle = openmanager(form, watch);
    const int lines = breakpointsmanager()->listingcount();
    breakpointsmanager()->close();
    qint64 duringrun = -1;
    form.menuspeed_Click(5);
    inloop([&] {
        QTimer::singleShot(300, [&] {
            duringrun = openmanager(form, watch);
            form.action("menustop")->trigger();
        });
        form.action("menustart")->trigger();
    });
    breakpointsmanager()->close();
    std::printf("listing of %d lines on view: %lld ms idle, %lld ms during a run at rate 5\n", lines,
                static_cast<long long>(idle), static_cast<long long>(duringrun));

    // 2. A 64K program without a listing.
    std::vector<uint8_t> big(65536);
    uint32_t seed = 12345;
    for (auto& b : big) {
        seed = seed * 1103515245u + 12345u;
        b = static_cast<uint8_t>(seed >> 16);
    }
    writeobj(work + "big.obj", big);
    std::filesystem::remove(work + "big.lst");
    form.loadprogramfile(QString::fromStdString(work + "big.obj"));
    qint64 fromok = -1;
    openmanager(form, watch, &fromok);
    const int biglines = breakpointsmanager()->listingcount();
    breakpointsmanager()->close();
    std::printf("64K program without a listing: %d lines on view %lld ms after the message's OK\n", biglines,
                static_cast<long long>(fromok));

    // 3. Following the program through its listing.
    form.loadprogramfile(QString::fromStdString(work + "follow.obj"));
    for (int rate : {5, 6}) {
        const RunFigures without = runfor(form, rate, seconds, watch);
        openmanager(form, watch);
        const RunFigures with = runfor(form, rate, seconds, watch);
        breakpointsmanager()->close();
        std::printf("rate %d following %d lines: %.0f instructions/s without the window, %.0f with it (%.0f %%); "
                    "by processor time %.0f and %.0f (%.0f %%); %.0f repaints/s of the lines; "
                    "worst timer lateness %lld ms without, %lld ms with\n",
                    rate, lines, without.rate, with.rate, 100.0 * with.rate / without.rate, without.cpurate,
                    with.cpurate, 100.0 * with.cpurate / without.cpurate, with.paints,
                    static_cast<long long>(without.worst), static_cast<long long>(with.worst));
    }

    // 4. Rate 6 with ten breakpoints until one matches.
    const std::vector<uint8_t> bp = breakpointprogram(outer);
    writeobj(work + "bp.obj", bp);
    std::filesystem::remove(work + "bp.lst");
    form.loadprogramfile(QString::fromStdString(work + "bp.obj"));
    openmanager(form, watch);
    Form8* w = breakpointsmanager();
    for (int top : {1, w->barmaximum()}) {
        w->setbarvalue(top);
        for (int i = 0; i < Form8::rows; ++i) {
            const int32_t a = parsehexword(w->linija(i).mid(7, 4).toStdString());
            if (a >= 0x0F && a <= 0x18 && st.breakpointaddress[9].empty() &&
                !w->prekidsimbol(i))
                w->linija_Click(i);
        }
    }
    int set = 0;
    for (int i = 0; i < 10; ++i)
        set += st.breakpointaddress[i].empty() ? 0 : 1;
    w->close();
    const RunFigures without = runfor(form, 6, 0, watch);
    form.action("menustop")->trigger();
    openmanager(form, watch);
    w = breakpointsmanager();
    const RunFigures with = runfor(form, 6, 0, watch);
    std::printf("rate 6 until one of %d breakpoints matches: %d instructions; %.0f instructions/s without the window, "
                "%.0f with it, Hold PC and refresh on (by processor time %.0f and %.0f); stopped at rate %d with pc %s\n",
                set, st.instructioncount, without.rate, with.rate, without.cpurate, with.cpurate, st.simrate,
                hexword(st.pc).c_str());
    // The row of the last instruction without its address, for the comparison with the trace.
    const std::string row = formatlogrow(st, 0);
    const size_t countfield = std::max<size_t>(7, std::to_string(st.instructioncount).size());
    std::printf("breakpoint-state count=%d cycles=%d pc=%s row=%s\n", st.instructioncount, st.cyclecount,
                hexword(st.pc).c_str(), row.substr(countfield + 4).c_str());
    form.action("menustop")->trigger();
    w->close();
    return 0;
}
