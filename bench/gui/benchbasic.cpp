// The BASIC editor window with a large source: opening it, keystrokes (a letter, a blank that
// ends a keyword, Enter that formats its line) at its start, middle and end with their paint, a
// wheel notch, Page Down and Ctrl+End, Compile with its save (time until the window is back and
// the longest stretch without a timer served), and keystrokes while a program runs at Ultimate
// rate with the Disassembler window open too.
// usage: kelvane_bench_basic SOURCE.bas OUTFOLDER
#include "basic/ui/form12.h"
#include "bench/gui/measure.h"
#include "core/machine.h"
#include "disassembler/ui/form9.h"
#include "shell/sourceeditor.h"
#include "sim/form1.h"
#include "sim/machinestate.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QKeyEvent>
#include <QTimer>
#include <QWheelEvent>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

using namespace kelvane;
using bench::ms;

namespace {

// Times `action` followed by a synchronous paint of the editor, `count` times.
std::vector<double> timed(SourceEditor* ed, int count, const std::function<void()>& action)
{
    std::vector<double> v;
    for (int i = 0; i < count; ++i) {
        QElapsedTimer t;
        t.start();
        action();
        ed->viewport()->repaint();
        v.push_back(ms(t));
    }
    return v;
}

void print(const char* what, std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    const auto at = [&v](double q) { return v[static_cast<size_t>(q * static_cast<double>(v.size() - 1))]; };
    std::printf("%-40s p50 %6.2f ms  p99 %6.2f ms  worst %6.2f ms  (%zu)\n", what, at(0.5), at(0.99), v.back(),
                v.size());
}

void key(QWidget* w, int k, const QString& text, Qt::KeyboardModifiers mods = Qt::NoModifier)
{
    QKeyEvent press(QEvent::KeyPress, k, mods, text);
    QCoreApplication::sendEvent(w, &press);
}

// Types a line: letters, blanks that end keywords, and Enter.
void typeline(SourceEditor* ed)
{
    for (const QChar c : QStringLiteral("while b "))
        key(ed, c == QLatin1Char(' ') ? Qt::Key_Space : Qt::Key_A, QString(c));
    key(ed, Qt::Key_Return, QStringLiteral("\r"));
}

// The longest time between two ticks of a 10 ms timer, less the 10 ms.
struct Stall {
    QTimer timer;
    QElapsedTimer clock;
    double last = 0, worst = 0;
    Stall()
    {
        QObject::connect(&timer, &QTimer::timeout, [this] {
            worst = std::max(worst, ms(clock) - last - 10);
            last = ms(clock);
        });
        clock.start();
        timer.start(10);
    }
};

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc < 3) {
        std::fprintf(stderr, "usage: kelvane_bench_basic SOURCE.bas OUTFOLDER\n");
        return 2;
    }
    const QString source = QString::fromLocal8Bit(argv[1]);
    const QString out = QString::fromLocal8Bit(argv[2]);
    MachineState& st = machinestate();
    initialisestate(st);
    st.apppath = out.toStdString() + "/";
    st.lastpath = st.apppath;
    st.optconfirm = "OFF"; // results go to the timed message window: nothing waits for a click
    st.optlogging = "OFF";

    Form1 main;
    main.show();
    auto* w = new Form12;
    w->resize(1000, 800);
    w->show();
    QCoreApplication::processEvents();
    SourceEditor* ed = w->edittextboxpro1();

    QElapsedTimer t;
    t.start();
    w->openpath(source);
    w->repaint();
    std::printf("%-40s %8.1f ms  (%d lines)\n", "open and paint", ms(t), ed->linecount());

    const int lines = ed->linecount();
    const std::vector<std::pair<const char*, int>> places = {{"start", 1}, {"middle", lines / 2}, {"end", lines}};
    for (const auto& [where, line] : places) {
        ed->gotoline(line);
        print((std::string("letter to paint, ") + where).c_str(),
              timed(ed, 100, [ed] { key(ed, Qt::Key_X, QStringLiteral("x")); }));
        print((std::string("typed line with Enter, ") + where).c_str(), timed(ed, 50, [ed] { typeline(ed); }));
    }
    ed->gotoline(1);
    print("wheel notch to paint", timed(ed, 100, [ed] { ed->wheelturn(-120); }));
    print("Page Down to paint", timed(ed, 100, [ed] { key(ed, Qt::Key_PageDown, QString()); }));
    print("Ctrl+End and Ctrl+Home to paint", timed(ed, 20, [ed] {
              key(ed, Qt::Key_End, QString(), Qt::ControlModifier);
              key(ed, Qt::Key_Home, QString(), Qt::ControlModifier);
          }));

    // Compile (with its save): the typed lines are While blocks without Wend, so the source is
    // taken back to the file's text first; the file compiles without an error.
    w->openpath(source);
    {
        Stall stall;
        t.start();
        w->menucompile_Click();
        std::printf("%-40s %8.1f ms until the window is back; longest stall %.1f ms; %lld bytes of .asm\n",
                    "compile", ms(t), stall.worst,
                    static_cast<long long>(QFile(out + QStringLiteral("/bench.asm")).size()));
    }

    // Keystrokes while a delay loop runs at Ultimate rate, the Disassembler window open too.
    auto* dis = new Form9;
    dis->show();
    {
        const QString program = out + QStringLiteral("/delay.obj");
        QFile f(program);
        f.open(QIODevice::WriteOnly);
        f.write(QByteArray("\x0b\x78\xb1\xc2\x00\x00\xc3\x00\x00", 9));
        f.close();
        main.loadprogramfile(program);
        main.messagesink = [](const std::string&) {};
        main.menuspeed_Click(6);
        std::vector<double> keys;
        double stalled = 0;
        bool running = false;
        std::unique_ptr<Stall> stall;
        QTimer::singleShot(0, [&] {
            QTimer::singleShot(300, [&] {
                ed->gotoline(lines / 2);
                keys = timed(ed, 100, [ed] { key(ed, Qt::Key_X, QStringLiteral("x")); });
                stall = std::make_unique<Stall>();
                QTimer::singleShot(1000, [&] {
                    stalled = stall->worst;
                    running = st.running;
                    main.action("menustop")->trigger();
                });
            });
            main.action("menustart")->trigger();
            QCoreApplication::exit(0); // quit() would close every window
        });
        app.exec();
        print("letter to paint, Ultimate run", keys);
        std::printf("%-40s %.1f ms longest stall in 1 s; the run %s\n", "Ultimate run, both windows open", stalled,
                    running ? "went on" : "had stopped");
    }
    dis->close();
    w->close();
    main.close();
    return 0;
}
