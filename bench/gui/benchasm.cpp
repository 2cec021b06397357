// The Assembler window with a large source: opening it, a keystroke painted at its start, middle
// and end (also during a run at Ultimate rate), a wheel notch and Page Down, an assembly with many
// errors (time to the message, the longest stretch without serving a timer), Go To Next Error,
// Replace All, and printing the source to a PDF file.
// usage: kelvane_bench_asm GOOD.asm ERRORS.asm WORD COUNT OUTFOLDER
//   GOOD.asm assembles without errors, ERRORS.asm has errors, WORD occurs COUNT times in ERRORS.asm.
#include "assembler/ui/form6.h"
#include "bench/gui/measure.h"
#include "core/machine.h"
#include "shell/printing.h"
#include "shell/sourceeditor.h"
#include "sim/form1.h"
#include "sim/machinestate.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QKeyEvent>
#include <QMessageBox>
#include <QPrinter>
#include <QTimer>
#include <QWheelEvent>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <random>
#include <thread>
#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

using namespace kelvane;
using bench::ms;

namespace {

struct Stats {
    double p50 = 0, p99 = 0, worst = 0;
};

Stats stats(std::vector<double> v)
{
    Stats s;
    if (v.empty())
        return s;
    std::sort(v.begin(), v.end());
    auto at = [&v](double q) { return v[static_cast<size_t>(std::ceil(q * static_cast<double>(v.size()))) - 1]; };
    s.p50 = at(0.5);
    s.p99 = at(0.99);
    s.worst = v.back();
    return s;
}

// The worst lateness of a 10 ms timer while it runs: how long the window went without serving one.
class Probe {
public:
    Probe()
    {
        timer_.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer_, &QTimer::timeout, [this] {
            const double now = ms(clock_);
            worst = std::max(worst, now - last_ - 10);
            last_ = now;
        });
    }
    void start()
    {
        worst = 0;
        clock_.start();
        last_ = 0;
        timer_.start(10);
    }
    void stop()
    {
        worst = std::max(worst, ms(clock_) - last_ - 10);
        timer_.stop();
    }
    double worst = 0;

private:
    QTimer timer_;
    QElapsedTimer clock_;
    double last_ = 0;
};

// One input event at a line, then the paint it causes. A thread posts the event at a random
// moment, as the window system would deliver it, and the time runs from there to the end of the
// first paint of the editor after the event was handled (as Qt schedules it), however the event
// loop (or the run's pump) serves them.
class Sampler : public QObject {
public:
    using MakeEvent = std::function<QEvent*()>;
    Sampler(SourceEditor* ed, QWidget* target, MakeEvent make, std::vector<int> lines, int perline)
        : ed_(ed), target_(target), make_(std::move(make)), lines_(std::move(lines)), perline_(perline)
    {
        target_->installEventFilter(this);
        QObject::connect(ed_, &QsciScintillaBase::SCN_PAINTED, this, [this] {
            if (handled_) {
                handled_ = false;
                finish();
            }
        });
    }
    ~Sampler() override
    {
        if (thread_.joinable())
            thread_.join();
    }
    void start(std::function<void()> done)
    {
        done_ = std::move(done);
        thread_ = std::thread([this] { run(); });
    }
    std::vector<std::vector<double>> times; // per line

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched == target_ && event == pending_.load()) {
            pending_ = nullptr;
            handled_ = true;
        }
        return false;
    }

private:
    void finish()
    {
        const auto took = std::chrono::steady_clock::now().time_since_epoch().count() - t0_.load();
        times.back().push_back(static_cast<double>(took) / 1e6);
        painted_ = true;
    }
    // Runs `fn` on the window's thread and waits for it.
    void onwindow(const std::function<void()>& fn)
    {
        std::atomic<bool> finished{false};
        QMetaObject::invokeMethod(
            ed_,
            [&] {
                fn();
                finished = true;
            },
            Qt::QueuedConnection);
        while (!finished)
            std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    void run()
    {
        std::mt19937 random(8085);
        std::uniform_int_distribution<int> pause(3000, 20000);
        for (int line : lines_) {
            onwindow([this, line] {
                ed_->gotoline(line);
                ed_->viewport()->repaint();
                times.emplace_back();
            });
            for (int i = 0; i < perline_; ++i) {
                QEvent* event = nullptr;
                onwindow([&] { event = make_(); });
                std::this_thread::sleep_for(std::chrono::microseconds(pause(random)));
                painted_ = false;
                pending_ = event;
                t0_ = std::chrono::steady_clock::now().time_since_epoch().count();
                QCoreApplication::postEvent(target_, event);
                while (!painted_)
                    std::this_thread::sleep_for(std::chrono::microseconds(100));
            }
        }
        QMetaObject::invokeMethod(ed_, [this] { done_(); }, Qt::QueuedConnection);
    }
    SourceEditor* ed_;
    QWidget* target_;
    MakeEvent make_;
    std::vector<int> lines_;
    int perline_;
    std::thread thread_;
    std::function<void()> done_;
    std::atomic<QEvent*> pending_{nullptr};
    std::atomic<bool> handled_{false}, painted_{false};
    std::atomic<std::chrono::steady_clock::rep> t0_{0}; // nanoseconds
};

void rununtil(const std::function<void(std::function<void()>)>& work)
{
    QEventLoop loop;
    work([&loop] { loop.quit(); });
    loop.exec();
}

QEvent* keypress(int key, const QString& text)
{
    return new QKeyEvent(QEvent::KeyPress, key, Qt::NoModifier, text);
}

QEvent* wheelnotch(QWidget* target)
{
    const QPointF at(target->width() / 2.0, target->height() / 2.0);
    return new QWheelEvent(at, target->mapToGlobal(at), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
                           Qt::NoScrollPhase, false);
}

void report(const char* what, const Sampler& s, const std::vector<const char*>& names)
{
    for (size_t i = 0; i < s.times.size(); ++i) {
        const Stats st = stats(s.times[i]);
        std::printf("%-34s %-7s p50 %6.2f ms  p99 %6.2f ms  worst %6.2f ms  (%zu samples)\n", what,
                    i < names.size() ? names[i] : "", st.p50, st.p99, st.worst, s.times[i].size());
    }
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc < 6) {
        std::fprintf(stderr, "usage: kelvane_bench_asm GOOD.asm ERRORS.asm WORD COUNT OUTFOLDER\n");
        return 2;
    }
    const QString good = QString::fromLocal8Bit(argv[1]);
    const QString errors = QString::fromLocal8Bit(argv[2]);
    const QString word = QString::fromLocal8Bit(argv[3]);
    const QString out = QString::fromLocal8Bit(argv[5]);
    MachineState& st = machinestate();
    initialisestate(st);
    st.apppath = out.toStdString() + "/";
    st.lastpath = st.apppath;
    st.optconfirm = "ON";
    st.opthalt = "ON";
    st.optlogging = "OFF";

    Form1 main;
    main.show();
    auto* w = new Form6;
    w->resize(1200, 800);
    w->show();
    QCoreApplication::processEvents();
    SourceEditor* ed = w->edittextboxpro1();

    // Opening.
    QElapsedTimer t;
    t.start();
    w->openpath(good);
    w->repaint();
    std::printf("%-34s %8.1f ms  (%d lines)\n", "open and paint", ms(t), ed->linecount());

    const int lines = ed->linecount();
    const std::vector<int> where = {1, lines / 2, lines - 40};
    const std::vector<const char*> names = {"start", "middle", "end"};
    auto keys = [&](const char* what) {
        Sampler s(ed, ed, [] { return keypress(Qt::Key_X, QStringLiteral("x")); }, where, 100);
        rununtil([&s](auto done) { s.start(done); });
        report(what, s, names);
    };
    keys("keystroke to paint");
    {
        Sampler wheel(ed, ed->viewport(), [ed] { return wheelnotch(ed->viewport()); }, {1, lines / 2}, 100);
        rununtil([&wheel](auto done) { wheel.start(done); });
        report("wheel notch to paint", wheel, names);
        Sampler page(ed, ed, [] { return keypress(Qt::Key_PageDown, QString()); }, {1, lines / 2}, 100);
        rununtil([&page](auto done) { page.start(done); });
        report("Page Down to paint", page, names);
    }

    // The same while a delay loop runs at Ultimate rate.
    {
        const QString program = out + QStringLiteral("/delay.obj");
        QFile f(program);
        f.open(QIODevice::WriteOnly);
        f.write(QByteArray("\x0b\x78\xb1\xc2\x00\x00\xc3\x00\x00", 9));
        f.close();
        main.loadprogramfile(program);
        main.messagesink = [](const std::string&) {};
        main.menuspeed_Click(6);
        Sampler keys(ed, ed, [] { return keypress(Qt::Key_X, QStringLiteral("x")); }, where, 100);
        Sampler wheel(ed, ed->viewport(), [ed] { return wheelnotch(ed->viewport()); }, {1, lines / 2}, 100);
        Sampler page(ed, ed, [] { return keypress(Qt::Key_PageDown, QString()); }, {1, lines / 2}, 100);
        bool wenton = false;
        QTimer::singleShot(0, [&] {
            keys.start([&] {
                wheel.start([&] {
                    page.start([&] {
                        wenton = st.running;
                        main.action("menustop")->trigger();
                    });
                });
            });
            main.action("menustart")->trigger();
            QCoreApplication::exit(0); // quit() would close every window
        });
        app.exec();
        report("keystroke to paint, Ultimate run", keys, names);
        report("wheel notch to paint, Ultimate run", wheel, names);
        report("Page Down to paint, Ultimate run", page, names);
        std::printf("%-34s the run %s to the end of these\n", "", wenton ? "went on" : "had stopped");
    }

    // Assembly with errors: time to the message box, the longest stretch without a timer served.
    w->openpath(errors);
    w->repaint();
    Probe probe;
    double boxat = -1;
    QTimer boxes;
    QObject::connect(&boxes, &QTimer::timeout, [&] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            if (boxat < 0)
                boxat = ms(t);
            box->accept();
        }
    });
    boxes.start(1);
    probe.start();
    t.start();
    w->menuassemble_Click();
    probe.stop();
    std::printf("%-34s %8.1f ms to the message, %.1f ms to the end; longest stall %.1f ms; %zu marks\n",
                "assemble with errors", boxat, ms(t), probe.worst, ed->markedlines().size());

    std::vector<double> walk;
    for (int i = 0; i < 200; ++i) {
        t.start();
        w->menu5_Click();
        w->repaint();
        walk.push_back(ms(t));
    }
    const Stats ws = stats(walk);
    std::printf("%-34s p50 %6.2f ms  p99 %6.2f ms  worst %6.2f ms\n", "Go To Next Error (with paint)", ws.p50, ws.p99,
                ws.worst);

    t.start();
    const int replaced = ed->replaceall(word, QStringLiteral("R"));
    w->repaint();
    std::printf("%-34s %8.1f ms  (%d words)\n", "Replace All", ms(t), replaced);

    // Printing the source to a PDF file.
    const QString pdf = out + QStringLiteral("/source.pdf");
    setprintdialog([pdf](QWidget*, QPrinter& p) {
        p.setOutputFormat(QPrinter::PdfFormat);
        p.setOutputFileName(pdf);
        return true;
    });
    probe.start();
    t.start();
    w->menuprint_Click();
    probe.stop();
    std::printf("%-34s %8.1f ms; longest stall %.1f ms; %lld bytes of PDF\n", "print source to PDF", ms(t), probe.worst,
                static_cast<long long>(QFile(pdf).size()));
    boxes.stop();
    w->close();
    main.close();
    return 0;
}
