// A click in Change Color Theme while every window is open and a program runs at Ultimate rate:
// how long the click takes (loadtheme, the form's own colours and every open window's settheme),
// how long until every window has repainted in the new colours, and whether the run keeps going.
// usage: kelvane_bench_themes PROGRAM [CLICKS]
#include "app/windows.h"
#include "bench/gui/measure.h"
#include "core/machine.h"
#include "shell/about.h"
#include "shell/help.h"
#include "shell/theme.h"
#include "shell/ui/form15.h"
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/settings.h"
#include "sim/toolrouter.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QRadioButton>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

int main(int argc, char** argv)
{
    using namespace kelvane;
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: kelvane_bench_themes PROGRAM [CLICKS]\n");
        return 2;
    }
    const int clicks = argc > 2 ? std::max(1, std::atoi(argv[2])) : 20;
    auto& st = machinestate();
    initialisestate(st);
    st.apppath = apppath();
    st.lastpath = st.apppath;
    st.optlogging = "OFF";
    registerwindows();
    // The Breakpoints Manager tells how it makes its listing: the box is answered.
    QTimer boxes;
    QObject::connect(&boxes, &QTimer::timeout, [] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget()))
            box->accept();
    });
    boxes.start(20);

    Form1 form;
    form.show();
    if (const std::string error = form.loadprogramfile(QString::fromLocal8Bit(argv[1])); !error.empty()) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    for (Tool t : {Tool::Form2, Tool::Form5, Tool::Form6, Tool::Form8, Tool::Form9, Tool::Form12, Tool::Form16,
                   Tool::Form17, Tool::Form20, Tool::Form21, Tool::Form04})
        toolrouter().show(t);
    showhelp(&form);
    auto* form15 = static_cast<Form15*>(toolrouter().show(Tool::Form15));
    int windows = 0;
    for (QWidget* w : QApplication::topLevelWidgets())
        windows += w->isVisible() ? 1 : 0;
    QCoreApplication::processEvents();

    std::vector<double> handler, repainted;
    std::vector<int> steps; // instructions run between two clicks
    double cpuclicks = 0;
    int done = 0;
    int32_t lastcount = 0;
    QTimer clicker;
    QObject::connect(&clicker, &QTimer::timeout, [&] {
        if (done == clicks) {
            clicker.stop();
            form.action("menustop")->trigger();
            return;
        }
        steps.push_back(st.instructioncount - lastcount);
        // Every theme in turn, away from the one shown.
        QRadioButton* option = form15->opcija((done * 7 + 3) % static_cast<int>(themecount));
        const double cpu = bench::processorseconds();
        QElapsedTimer clock;
        clock.start();
        option->click();
        handler.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
        for (QWidget* w : QApplication::topLevelWidgets())
            if (w->isVisible())
                w->repaint();
        repainted.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
        cpuclicks += bench::processorseconds() - cpu;
        lastcount = st.instructioncount;
        ++done;
    });
    std::string stats;
    form.messagesink = [&](const std::string& t) { stats = t; };
    form.menuspeed_Click(6);
    QTimer::singleShot(0, [&] {
        QTimer::singleShot(500, [&] {
            lastcount = st.instructioncount;
            clicker.start(200);
        });
        form.action("menustart")->trigger(); // returns when the run stops
        QCoreApplication::quit();
    });
    app.exec();

    const auto report = [](const char* what, std::vector<double> v) {
        std::sort(v.begin(), v.end());
        std::printf("%s: median %.1f ms, slowest %.1f ms\n", what, v[v.size() / 2], v.back());
    };
    std::printf("%d windows open, %d clicks during an Ultimate run\n", windows, done);
    report("click (loadtheme, Form15, every window's settheme)", handler);
    report("click and every window repainted", repainted);
    std::printf("processor time of a click with its repaints: %.1f ms on average\n", 1000 * cpuclicks / done);
    const int stalled = static_cast<int>(std::count(steps.begin(), steps.end(), 0));
    std::printf("instructions run between two clicks: least %d, most %d; %d pauses with none\n",
                *std::min_element(steps.begin(), steps.end()), *std::max_element(steps.begin(), steps.end()),
                stalled);
    std::printf("run went on to %d instructions\n", st.instructioncount);
    return 0;
}
