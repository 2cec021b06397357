// The Interactive Assembler Editor, offscreen with a real QApplication: every instruction form
// built by clicks and checked by the assembler and the disassembler; walks of clicks and keys
// from tests/data/form17/scenarios.txt with the files they save; a seeded random walk that
// checks the window's states after every step.
#include "assembler/assembler.h"
#include "assembler/ui/form17.h"
#include "assembler/ui/form6.h"
#include "core/hexutil.h"
#include "disassembler/disassembler.h"
#include "sim/machinestate.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QProcess>
#include <QPushButton>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>

#include "tests/common/dialogdriver.h"
#include "tests/common/shot.h"
#include "tests/common/tempfolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <random>
#include <set>
#include <sstream>

using namespace kelvane;

namespace {

std::vector<std::string> datalines(const std::string& name)
{
    std::vector<std::string> lines;
    std::ifstream in(std::string(KELVANE_TEST_DATA) + "/form17/" + name);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

std::string trim(const std::string& s)
{
    return QString::fromStdString(s).trimmed().toStdString();
}

// The first word and the rest of a line.
std::pair<std::string, std::string> split(const std::string& s)
{
    const size_t blank = s.find(' ');
    return blank == std::string::npos ? std::pair{s, std::string()} : std::pair{s.substr(0, blank), s.substr(blank + 1)};
}

struct Scenario {
    std::string name;
    std::vector<std::pair<int, std::string>> lines; // line number, text
};

std::vector<Scenario> scenarios()
{
    std::vector<Scenario> all;
    int number = 0;
    for (const std::string& line : datalines("scenarios.txt")) {
        ++number;
        if (line.rfind("== ", 0) == 0)
            all.push_back({line.substr(3), {}});
        else if (!all.empty() && !trim(line).empty() && line[0] != '#')
            all.back().lines.emplace_back(number, line);
    }
    return all;
}

struct Form17Test : ::testing::Test {
    void SetUp() override
    {
        machinestate().optconfirm = "ON";
        machinestate().lastpath = dir.path().toStdString() + "/";
        driver = std::make_unique<test::DialogDriver>();
        w = new Form17;
        w->show();
        w->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(w));
    }
    void TearDown() override
    {
        if (w)
            w->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    QString path(const std::string& name) const { return dir.filePath(QString::fromStdString(name)); }
    QWidget* named(const std::string& name) const { return w->findChild<QWidget*>(QString::fromStdString(name)); }
    QWidget* focus() const { return w->focusWidget() ? w->focusWidget() : w.data(); }
    // The button whose object name starts with `kind` ("polje", "sel", "but") and whose caption is `caption`.
    QAbstractButton* button(const char* kind, const std::string& caption) const
    {
        for (QAbstractButton* b : w->findChildren<QAbstractButton*>())
            if (b->objectName().startsWith(kind) && b->text().toStdString() == caption)
                return b;
        ADD_FAILURE() << "no " << kind << " " << caption;
        return w->command_cancel();
    }
    void click(QAbstractButton* b)
    {
        ASSERT_TRUE(b->isVisible() && b->isEnabled()) << b->objectName().toStdString() << " can't be clicked";
        b->click();
    }
    // The way a user picks a form: its group in Combo1, then its option button.
    void pickform(const std::string& caption)
    {
        QAbstractButton* option = button("polje", caption);
        ASSERT_TRUE(w->Combo1()->isEnabled()) << caption;
        w->Combo1()->setCurrentIndex(option->parentWidget()->objectName().mid(5).toInt() + 1);
        click(option);
    }
    void run(const Scenario& s);
    void step(const std::string& line);
    std::string actual(const std::string& what, std::string& expected);

    QTemporaryDir dir;
    QPointer<Form17> w;
    std::unique_ptr<test::DialogDriver> driver;
    int exitcode = -1;
    QByteArray output;
};

// ---- The scenarios' language. ----

void Form17Test::run(const Scenario& s)
{
    for (size_t i = 0; i < s.lines.size() && !HasFatalFailure(); ++i) {
        const auto& [number, line] = s.lines[i];
        SCOPED_TRACE("scenarios.txt:" + std::to_string(number) + ": " + line);
        if (line.rfind("expect file ", 0) == 0) {
            std::string want;
            for (++i; i < s.lines.size() && s.lines[i].second != "end"; ++i)
                want += QString::fromStdString(s.lines[i].second.substr(2)).replace("\\t", "\t").toStdString() + "\n";
            EXPECT_EQ(test::slurp(path(line.substr(12)).toStdString()), want);
        } else if (line.rfind("repeat ", 0) == 0) {
            const size_t colon = line.find(':');
            for (int k = std::stoi(line.substr(7, colon - 7)); k > 0; --k)
                for (const QString& part : QString::fromStdString(line.substr(colon + 1)).split(';'))
                    step(part.trimmed().toStdString());
        } else {
            step(line);
        }
    }
}

void Form17Test::step(const std::string& line)
{
    const auto [word, rest] = split(line);
    static const std::map<std::string, Qt::Key> keys = {
        {"Return", Qt::Key_Return}, {"Escape", Qt::Key_Escape}, {"Up", Qt::Key_Up},       {"Down", Qt::Key_Down},
        {"Left", Qt::Key_Left},     {"Right", Qt::Key_Right},   {"Space", Qt::Key_Space}, {"PageDown", Qt::Key_PageDown},
        {"Backspace", Qt::Key_Backspace}};
    if (word == "group") {
        w->Combo1()->setCurrentIndex(std::stoi(rest));
    } else if (word == "form") {
        pickform(rest);
    } else if (word == "sel" || word == "key") {
        click(button(word == "sel" ? "sel" : "but", rest));
    } else if (word == "keys") {
        for (const char c : rest)
            click(button("but", std::string(1, c)));
    } else if (word == "click") {
        click(qobject_cast<QAbstractButton*>(named(rest)));
    } else if (word == "row") {
        QTest::mouseClick(w->inst(std::stoi(rest)), Qt::LeftButton);
    } else if (word == "scroll") {
        w->pozicijav()->setValue(std::stoi(rest));
    } else if (word == "wheel") { // as the window gets it from any child that lets it through
        const QPointF at(w->width() / 2.0, w->height() / 2.0);
        QWheelEvent e(at, w->mapToGlobal(at), {}, {0, std::stoi(rest)}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                      false);
        QApplication::sendEvent(w, &e);
    } else if (word == "type") {
        QTest::keyClicks(focus(), QString::fromStdString(rest));
    } else if (word == "press") {
        QTest::keyClick(focus(), keys.at(rest));
    } else if (word == "save") {
        const QString file = path(rest);
        driver->on<QFileDialog>([file](QFileDialog* f) {
            f->selectFile(file);
            static_cast<QDialog*>(f)->accept();
        });
        click(w->command_save());
    } else if (word == "shot") {
        test::saveshot(w, QString::fromStdString(rest));
    } else if (word == "assemble") {
        auto* form6 = new Form6;
        ASSERT_TRUE(form6->openpath(path(rest)));
        form6->menuassemble_Click();
        form6->close();
    } else if (word == "cli") {
        QProcess cli;
        cli.setWorkingDirectory(dir.path());
        cli.start(QStringLiteral(KELVANE_CLI_PATH), QString::fromStdString(rest).split(' '));
        ASSERT_TRUE(cli.waitForFinished(30000));
        exitcode = cli.exitCode();
        output = cli.readAllStandardOutput();
    } else if (word == "expect") {
        auto [what, expected] = split(rest);
        if (what == "shown" || what == "hidden" || what == "enabled" || what == "disabled") {
            for (const QString& n : QString::fromStdString(expected).split(' ')) {
                const QWidget* c = named(n.toStdString());
                EXPECT_EQ(what[0] == 's' || what[0] == 'h' ? c->isVisibleTo(w) : c->isEnabled(),
                          what == "shown" || what == "enabled")
                    << n.toStdString();
            }
        } else {
            const std::string got = actual(what, expected);
            EXPECT_EQ(got, expected);
        }
    } else {
        ADD_FAILURE() << "unknown step " << line;
    }
}

// What the window shows of `what`, as the scenario writes it (a cell's index is taken from `expected`).
std::string Form17Test::actual(const std::string& what, std::string& expected)
{
    const Form17Listing& l = w->listing();
    if (what == "lininst")
        return w->lininsttext().toStdString();
    if (what == "arg3") {
        const std::string shown = w->arg3()->text().toStdString();
        return shown == w->entry().arg3 ? shown : "shown " + shown + ", held " + w->entry().arg3;
    }
    if (what == "mode") { // the mode shows as a pressed button too
        std::string pressed;
        for (int k = keyhex; k <= keylab; ++k)
            pressed += w->but(k)->isChecked() ? std::to_string(k - keyhex) : "";
        return pressed == std::to_string(w->entry().numbermode) ? pressed : "pressed " + pressed;
    }
    if (what == "cell") {
        auto [index, texts] = split(expected);
        expected = texts;
        const int i = std::stoi(index);
        return trim(w->adr(i)->text().toStdString() + " | " + w->inst(i)->text().toStdString());
    }
    if (what == "rows")
        return std::to_string(l.rowcount);
    if (what == "serial")
        return std::to_string(l.labelserial);
    if (what == "bar")
        return std::to_string(w->pozicijav()->value()) + " " + std::to_string(w->pozicijav()->maximum());
    if (what == "focus")
        return focus()->objectName().toStdString();
    if (what == "box")
        return driver->texts.empty() ? std::string() : driver->texts.back().toStdString();
    if (what == "boxes")
        return std::to_string(driver->texts.size());
    if (what == "exit")
        return std::to_string(exitcode);
    if (what == "stdout")
        return output.toHex(' ').toUpper().toStdString();
    ADD_FAILURE() << "unknown check " << what;
    return {};
}

struct Walk : Form17Test, ::testing::WithParamInterface<Scenario> {};

TEST_P(Walk, AsWritten)
{
    run(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Form17, Walk, ::testing::ValuesIn(scenarios()), [](const auto& info) {
    std::string name;
    for (const char c : info.param.name)
        name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return name;
});

// ---- Every form with every choice. ----

TEST_F(Form17Test, EveryFormAssemblesAndReadsBackAsBuilt)
{
    int count = 0;
    for (const std::string& line : datalines("forms.txt")) {
        if (line.empty() || line[0] == '#')
            continue;
        const size_t a = line.find(" | "), b = line.rfind(" | ");
        const std::string form = line.substr(0, a), choices = line.substr(a + 3, b - a - 3), want = line.substr(b + 3);
        SCOPED_TRACE(line);
        ++count;
        pickform(form);
        std::stringstream in(choices);
        for (std::string c; in >> c;)
            for (const std::string& s : c[0] == '#' ? std::vector{"keys " + c.substr(1), std::string("key ACCEPT")}
                                                    : std::vector{"sel " + c})
                step(s);
        EXPECT_EQ(w->lininsttext().toStdString(), want);
        EXPECT_TRUE(w->command_append()->isVisible());
        w->command_cancel()->click();

        Assembler as;
        if (want.rfind(".ORG ", 0) == 0 || want == ".END") {
            // The directives by their effect: .ORG moves the next instruction, .END takes no room.
            EXPECT_EQ(as.assembletext("\t" + want + "\n\tHLT\n", 1000), 0);
            const int32_t at = want == ".END" ? 0 : parsehexword(want.substr(5, 4));
            EXPECT_EQ(as.objimage[static_cast<size_t>(at)], 0x76);
            continue;
        }
        const int32_t errors = as.assembletext("\t" + want + "\n", 1000);
        if (want == "MOV M, M") {
            ASSERT_EQ(errors, 1);
            EXPECT_EQ(as.errors().at(0).message, "Unrecognized instruction.");
            continue;
        }
        ASSERT_EQ(errors, 0);
        Disassembler d;
        d.loadmemory(as.objimage.data(), 3);
        d.dasmaddress = 0;
        d.decodeinstruction(false);
        std::string back = d.dasmtext;
        if (d.dasmlabelcount > 0) // a target reads back as a label; put its address in
            back.replace(back.rfind(' ') + 1, 5, hexword(d.dasmlabels[1]) + "H");
        std::string built = want;
        built.erase(std::remove(built.begin(), built.end(), ' '), built.end());
        back.erase(std::remove(back.begin(), back.end(), ' '), back.end());
        EXPECT_EQ(back, built);
    }
    EXPECT_EQ(count, 249);
}

// ---- A seeded random walk. ----

// The five states by what shows: a group's frame, a parameter's frame, Append, the prompt, Cancel.
struct StateView {
    const char* name;
    int shows[5]; // group, parameter, complete, waiting, cancel; -1: either
};
constexpr StateView states[] = {
    {"idle", {0, 0, 0, 0, 0}},
    {"group chosen", {-1, 0, 0, 0, 1}},
    {"parameters asked", {0, 1, 0, 0, 1}},
    {"instruction complete", {0, 0, 1, 0, 1}},
    {"waiting for a row", {0, 0, 0, 1, 0}},
};

TEST_F(Form17Test, RandomClicksAndKeysKeepOneStateAndAWayOn)
{
    std::mt19937 rng(1785);
    auto pick = [&rng](size_t n) { return static_cast<size_t>(std::uniform_int_distribution<size_t>(0, n - 1)(rng)); };
    const std::vector<Qt::Key> keys = {Qt::Key_0, Qt::Key_5, Qt::Key_C, Qt::Key_L,     Qt::Key_Return, Qt::Key_Escape,
                                       Qt::Key_Up, Qt::Key_Down, Qt::Key_Left, Qt::Key_Space, Qt::Key_Tab, Qt::Key_PageDown};
    std::array<int, 5> visits{};
    for (int stepno = 0; stepno < 4000; ++stepno) {
        std::vector<QAbstractButton*> buttons;
        for (QAbstractButton* b : w->findChildren<QAbstractButton*>())
            if (b->isVisible() && b->isEnabled() && b != w->command_save() && b != w->Check1())
                buttons.push_back(b);
        const size_t action = pick(10);
        if (action < 5 && !buttons.empty()) {
            buttons[pick(buttons.size())]->click();
        } else if (action == 5 && w->Combo1()->isEnabled()) {
            w->Combo1()->setCurrentIndex(static_cast<int>(pick(8)));
        } else if (action == 6) {
            QTest::mouseClick(pick(2) ? w->inst(static_cast<int>(pick(20))) : w->adr(static_cast<int>(pick(20))),
                              Qt::LeftButton);
        } else if (action == 7) {
            w->wheel(static_cast<int>(pick(241)) - 120);
        } else if (focus() != w->command_save() && focus() != w->Check1()) {
            QTest::keyClick(focus(), keys[pick(keys.size())]);
        }

        SCOPED_TRACE("step " + std::to_string(stepno));
        int shown[5] = {0, w->Frame(7)->isVisible() + w->Frame(8)->isVisible(), w->command_append()->isVisible(),
                        w->Text1()->isVisible(), w->command_cancel()->isVisible()};
        for (int g = 0; g < 7; ++g)
            shown[0] += w->Frame(g)->isVisible();
        std::vector<int> matching;
        for (int i = 0; i < 5; ++i)
            if (std::equal(states[i].shows, states[i].shows + 5, shown, [](int a, int b) { return a < 0 ? b <= 1 : a == b; }))
                matching.push_back(i);
        ASSERT_EQ(matching.size(), 1u) << shown[0] << shown[1] << shown[2] << shown[3] << shown[4];
        ++visits[static_cast<size_t>(matching[0])];
        const int flags = (w->pendingdelete() != 0) + (w->pendinginsert() != 0) + (w->pendingupdate() != 0);
        ASSERT_EQ(flags, shown[3]);
        // Always a way on: Cancel, Append or a row to click.
        ASSERT_TRUE(w->Combo1()->isEnabled() || w->command_cancel()->isVisible() || w->Text1()->isVisible());
        const Form17Listing& l = w->listing();
        if (l.labelserial < 10000) {
            const std::set<std::string> labels(l.rowlabel.begin() + 1, l.rowlabel.end());
            ASSERT_EQ(static_cast<int>(labels.size()), l.rowcount);
        }
    }
    for (int i = 0; i < 5; ++i) // the walk went everywhere
        EXPECT_GT(visits[static_cast<size_t>(i)], 40) << states[i].name;
}

} // namespace
