// The Interactive Assembler Editor with 20,000 rows: Insert Line, Delete Line, Update, a scroll and
// an Append, each from the click to the end of a repaint of the whole window (more than the event
// loop paints, which is only the cells that changed); the repaint alone for comparison; Save
// Listing of 20,000 rows from the answer of the save dialog to the end of the command.
// usage: kelvane_bench_form17 OUTFOLDER [SAMPLES]
#include "assembler/ui/form17.h"
#include "sim/machinestate.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileDialog>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QTimer>

#include "bench/gui/measure.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <vector>

using namespace kelvane;
using bench::ms;

namespace {

constexpr int targetrows = 20000;

int formindex(Form17& w, const char* caption)
{
    for (int i = 0; i < formcount; ++i)
        if (w.polje(i)->text() == QLatin1String(caption))
            return i;
    std::fprintf(stderr, "no form %s\n", caption);
    std::exit(2);
}

// An instruction complete in lininst: a form, its register choices, a number typed in hexadecimal.
void build(Form17& w, const char* caption, std::initializer_list<int> choices, const char* number = nullptr)
{
    w.polje_Click(formindex(w, caption));
    for (const int c : choices)
        w.sel_Click(c);
    if (number == nullptr)
        return;
    for (const char* k = number; *k != '\0'; ++k)
        w.but_Click(*k == 'L' ? keyL : *k <= '9' ? *k - '0' : keyletterA + *k - 'A');
    w.but_Click(keyaccept);
}

struct Samples {
    std::vector<double> wall, processor; // ms
};

// p50, p99 and the worst of a list of times.
std::string quantiles(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    auto at = [&v](double q) { return v[static_cast<size_t>(std::ceil(q * static_cast<double>(v.size()))) - 1]; };
    char text[96];
    std::snprintf(text, sizeof text, "p50 %6.2f  p99 %6.2f  worst %6.2f", at(0.5), at(0.99), v.back());
    return text;
}

// One operation handled and painted: the wall clock, and the processor time, which stays
// comparable while the machine is busy with other work.
void report(const char* what, const Samples& s)
{
    std::printf("%-28s wall ms %s | processor ms %s  (%zu)\n", what, quantiles(s.wall).c_str(),
                quantiles(s.processor).c_str(), s.wall.size());
}

Samples sample(Form17& w, int count, const std::function<void(int)>& operation)
{
    Samples s;
    for (int i = 0; i < count; ++i) {
        QElapsedTimer t;
        t.start();
        const double cpu = bench::processorseconds();
        operation(i);
        w.repaint();
        s.processor.push_back((bench::processorseconds() - cpu) * 1000.0);
        s.wall.push_back(ms(t));
    }
    return s;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: kelvane_bench_form17 OUTFOLDER [SAMPLES]\n");
        return 2;
    }
    const QString out = QString::fromLocal8Bit(argv[1]);
    const int samples = argc > 2 ? std::max(1, std::atoi(argv[2])) : 200;
    MachineState& st = machinestate();
    st.lastpath = out.toStdString() + "/";
    st.optconfirm = "ON";

    auto* w = new Form17;
    w->show();
    QCoreApplication::processEvents();
    std::mt19937 rng(17);

    // Add Lines up to 20,000 rows, a program in every row: a loop label every tenth row.
    QElapsedTimer t;
    t.start();
    const double cpu0 = bench::processorseconds();
    while (w->listing().rowcount < targetrows)
        w->command_add_Click();
    w->repaint();
    std::printf("%-30s %8.1f ms  (%d rows)\n", "Add Lines to 20,000 rows", ms(t), w->listing().rowcount);
    t.start();
    for (int row = 1; row <= targetrows; ++row) {
        if (row % 10 == 0)
            build(*w, "JNZ nn", {}, w->listing().rowlabel[static_cast<size_t>(row - 9)].c_str());
        else if (row % 10 == 1)
            build(*w, "MVI r, n", {1}, "C5");
        else
            build(*w, "MOV r, p", {7, static_cast<int>(row % 8)});
        w->command_append_Click();
    }
    w->repaint();
    std::printf("%-30s %8.1f ms  (%d rows, processor %.1f s)\n", "20,000 instructions appended", ms(t),
                w->listing().rowcount, bench::processorseconds() - cpu0);

    auto middle = [&rng] { return static_cast<int>(std::uniform_int_distribution<int>(0, Form17::rows - 1)(rng)); };
    auto scrollanywhere = [&rng, w] {
        w->pozicijav()->setValue(std::uniform_int_distribution<int>(1, w->pozicijav()->maximum())(rng));
    };
    scrollanywhere();
    report("the window's repaint alone", sample(*w, samples, [](int) {}));
    report("Insert Line", sample(*w, samples, [&](int) {
               w->command_insert_Click();
               w->applytorow(middle());
           }));
    report("Delete Line", sample(*w, samples, [&](int) {
               w->command_delete_Click();
               w->applytorow(middle());
           }));
    report("Update", sample(*w, samples, [&](int) {
               build(*w, "MOV r, p", {0, 7});
               w->command_update_Click();
               w->applytorow(middle());
           }));
    report("scroll to anywhere", sample(*w, samples, [&](int) { scrollanywhere(); }));
    report("wheel notch", sample(*w, samples, [&](int i) { w->wheel(i % 40 < 20 ? -120 : 120); }));
    report("Append (a row added)", sample(*w, samples, [&](int) {
               build(*w, "NOP", {});
               w->command_append_Click();
           }));

    // Save Listing: from the dialog's answer to the end of the command.
    const QString file = out + QStringLiteral("/big.asm");
    QElapsedTimer fromanswer;
    double answeredcpu = 0;
    QTimer answer;
    QObject::connect(&answer, &QTimer::timeout, [&] {
        if (auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
            dialog->selectFile(file);
            fromanswer.start();
            answeredcpu = bench::processorseconds();
            static_cast<QDialog*>(dialog)->accept();
        }
    });
    answer.start(5);
    Samples saves;
    for (int i = 0; i < 5; ++i) {
        QFile::remove(file);
        w->command_save_Click();
        saves.processor.push_back((bench::processorseconds() - answeredcpu) * 1000.0);
        saves.wall.push_back(ms(fromanswer));
    }
    answer.stop();
    report("Save Listing (20,000 rows)", saves);
    std::printf("%-30s %lld bytes\n", "", static_cast<long long>(QFile(file).size()));
    w->close();
    return 0;
}
