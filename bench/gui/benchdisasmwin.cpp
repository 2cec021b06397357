// The Disassembler window with a 64K program: Disassemble in both forms until the listing is on
// view (the pane painted), the progress texts' repaints and the shortest time between two, the
// scroll to the end and back, and Disassemble while a program runs at Ultimate rate.
// usage: kelvane_bench_disasmwin OUTFOLDER
#include "bench/gui/measure.h"
#include "core/machine.h"
#include "disassembler/ui/form9.h"
#include "sim/form1.h"
#include "sim/machinestate.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <random>
#include <vector>

using namespace kelvane;
using bench::ms;

namespace {

// The moments a widget was painted.
class PaintTimes : public QObject {
public:
    explicit PaintTimes(QWidget* w) { w->installEventFilter(this); }
    std::vector<double> at;
    QElapsedTimer clock;
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint && clock.isValid())
            at.push_back(ms(clock));
        return QObject::eventFilter(watched, event);
    }
    double shortestgap() const
    {
        double gap = 1e9;
        for (size_t i = 1; i < at.size(); ++i)
            gap = std::min(gap, at[i] - at[i - 1]);
        return gap;
    }
};

// Disassemble, then the pane painted: the time until the listing is on view, and the progress
// text's paints.
void disassemble(Form9* w, const char* what)
{
    PaintTimes progress(w->poruka2());
    QElapsedTimer t;
    progress.clock.start();
    t.start();
    const double cpu = bench::processorseconds();
    w->menudisassemble_Click();
    w->richtextbox1()->viewport()->repaint();
    std::printf("%-36s %7.1f ms on view (%.1f ms processor), %d lines; progress painted %zu times, "
                "shortest gap %.1f ms\n",
                what, ms(t), (bench::processorseconds() - cpu) * 1000, w->richtextbox1()->blockCount(),
                progress.at.size(), progress.at.size() > 1 ? progress.shortestgap() : 0.0);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: kelvane_bench_disasmwin OUTFOLDER\n");
        return 2;
    }
    const QString out = QString::fromLocal8Bit(argv[1]);
    MachineState& st = machinestate();
    initialisestate(st);
    st.apppath = out.toStdString() + "/";
    st.lastpath = st.apppath;
    st.optconfirm = "OFF";
    st.optlogging = "OFF";

    // 64K of random bytes: every kind of instruction and thousands of labels.
    QByteArray image(65536, '\0');
    std::mt19937 random(8085);
    for (char& b : image)
        b = static_cast<char>(random() & 0xFF);
    const QString program = out + QStringLiteral("/random.obj");
    QFile f(program);
    f.open(QIODevice::WriteOnly);
    f.write(image);
    f.close();

    Form1 main;
    main.show();
    auto* w = new Form9;
    w->resize(900, 700);
    w->show();
    QCoreApplication::processEvents();
    QElapsedTimer t;
    t.start();
    w->loadprogram(program, 1);
    std::printf("%-36s %7.1f ms\n", "load 64K", ms(t));

    for (const bool source : {false, true}) {
        if (w->action("menunoopcodes")->isChecked() != source)
            w->action("menunoopcodes")->trigger();
        disassemble(w, source ? "disassemble 64K, source form" : "disassemble 64K, listing");
        QPlainTextEdit* pane = w->richtextbox1();
        t.start();
        pane->verticalScrollBar()->setValue(pane->verticalScrollBar()->maximum());
        pane->viewport()->repaint();
        const double down = ms(t);
        t.start();
        pane->moveCursor(QTextCursor::End);
        pane->ensureCursorVisible();
        pane->viewport()->repaint();
        const double end = ms(t);
        t.start();
        pane->verticalScrollBar()->setValue(0);
        pane->viewport()->repaint();
        std::printf("%-36s %7.1f ms bar to the end, %.1f ms caret to the end, %.1f ms back to the top\n",
                    "scroll, painted", down, end, ms(t));
    }

    // Disassemble while a delay loop runs at Ultimate rate.
    {
        const QString delay = out + QStringLiteral("/delay.obj");
        QFile d(delay);
        d.open(QIODevice::WriteOnly);
        d.write(QByteArray("\x0b\x78\xb1\xc2\x00\x00\xc3\x00\x00", 9));
        d.close();
        main.loadprogramfile(delay);
        main.messagesink = [](const std::string&) {};
        main.menuspeed_Click(6);
        bool running = false;
        QTimer::singleShot(0, [&] {
            QTimer::singleShot(300, [&] {
                disassemble(w, "disassemble 64K, Ultimate run");
                running = st.running;
                main.action("menustop")->trigger();
            });
            main.action("menustart")->trigger();
            QCoreApplication::exit(0); // quit() would close every window
        });
        app.exec();
        std::printf("%-36s the run %s\n", "", running ? "went on around it" : "had stopped");
    }
    w->close();
    main.close();
    return 0;
}
