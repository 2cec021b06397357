// The Interactive Assembler Editor: every form built by clicks as recorded (tests/data/form17), the
// recorded walks of clicks and keys, a seeded random walk that checks the states after every step.
#include "assembler/assembler.h"
#include "assembler/ui/form17.h"
#include "assembler/ui/form6.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollBar>
#include <QTest>

#include "tests/common/datatable.h"
#include "tests/common/shot.h"
#include "tests/common/windowtest.h"

#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <set>

using namespace kelvane;

namespace {

// The first word and the rest of a line.
std::pair<std::string, std::string> split(const std::string& s)
{
    const size_t blank = s.find(' ');
    return blank == std::string::npos ? std::pair{s, std::string()} : std::pair{s.substr(0, blank), s.substr(blank + 1)};
}

// A walk's name and its lines (number in the file, text).
using Scenario = std::pair<std::string, std::vector<std::pair<int, std::string>>>;

std::vector<Scenario> scenarios()
{
    std::vector<Scenario> all;
    std::ifstream in(std::string(KELVANE_TEST_DATA) + "/form17/scenarios.txt");
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (line.rfind("== ", 0) == 0)
            all.push_back({line.substr(3), {}});
        else if (!all.empty() && !QString::fromStdString(line).trimmed().isEmpty() && line[0] != '#')
            all.back().second.emplace_back(number, line);
    }
    return all;
}

struct Form17Test : test::WindowTest {
    Form17Test()
    {
        (w = new Form17)->show();
        w->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(w));
    }
    ~Form17Test() override { closewindow(w); }
    using WindowTest::path;
    QString path(const std::string& name) const { return path(QString::fromStdString(name)); }
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
    void step(const std::string& line);
    std::string actual(const std::string& what, std::string& expected);

    QPointer<Form17> w;
    int exitcode = -1;
    QByteArray output;
};

// ---- The scenarios' language. ----

void Form17Test::step(const std::string& line)
{
    const auto parts = split(line);
    const std::string &word = parts.first, &rest = parts.second;
    const QString text = QString::fromStdString(rest);
    const std::map<std::string, std::function<void()>> doings = {
        {"group", [&] { w->Combo1()->setCurrentIndex(text.toInt()); }},
        {"form", [&] { pickform(rest); }},
        {"sel", [&] { click(button("sel", rest)); }},
        {"key", [&] { click(button("but", rest)); }},
        {"keys", [&] { for (const char c : rest) click(button("but", std::string(1, c))); }},
        {"click", [&] { click(qobject_cast<QAbstractButton*>(named(rest))); }},
        {"row", [&] { QTest::mouseClick(w->inst(text.toInt()), Qt::LeftButton); }},
        {"scroll", [&] { w->pozicijav()->setValue(text.toInt()); }},
        {"type", [&] { QTest::keyClicks(focus(), text); }},
        {"press", [&] { QTest::keyClick(focus(), QKeySequence(text)[0].key()); }},
        {"shot", [&] { test::saveshot(w, text); }},
        {"save", [&] { // the path as it is written, its folder there or not
             driver->on<QFileDialog>([file = path(text)](QFileDialog* f) {
                 f->selectFile(file);
                 static_cast<QDialog*>(f)->accept();
             });
             click(w->command_save());
         }},
        {"wheel", [&] { // as the window gets it from any child that lets it through
             const QPointF at(w->width() / 2.0, w->height() / 2.0);
             QWheelEvent e(at, w->mapToGlobal(at), {}, {0, text.toInt()}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
             QApplication::sendEvent(w, &e);
         }},
        {"assemble", [&] { // opened and assembled in the Assembler window
             auto* form6 = new Form6;
             EXPECT_TRUE(form6->openpath(path(text)));
             form6->menuassemble_Click();
             form6->close();
         }},
        {"cli", [&] {
             QProcess cli;
             cli.setWorkingDirectory(dir.path());
             cli.start(QStringLiteral(KELVANE_CLI_PATH), text.split(' '));
             EXPECT_TRUE(cli.waitForFinished(30000));
             exitcode = cli.exitCode();
             output = cli.readAllStandardOutput();
         }},
    };
    if (doings.count(word) != 0) {
        doings.at(word)();
    } else if (word != "expect") {
        ADD_FAILURE() << "unknown step " << line;
    } else if (auto [what, expected] = split(rest); what == "shown" || what == "hidden" || what == "enabled" || what == "disabled") {
        for (const QString& n : QString::fromStdString(expected).split(' '))
            EXPECT_EQ(what[0] == 's' || what[0] == 'h' ? named(n.toStdString())->isVisibleTo(w) : named(n.toStdString())->isEnabled(),
                      what == "shown" || what == "enabled")
                << n.toStdString();
    } else {
        const std::string got = actual(what, expected);
        EXPECT_EQ(got, expected);
    }
}

// What the window shows of `what`, as the scenario writes it (a cell's index is taken from `expected`).
std::string Form17Test::actual(const std::string& what, std::string& expected)
{
    const Form17Listing& l = w->listing();
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
        return (w->adr(i)->text() + " | " + w->inst(i)->text()).trimmed().toStdString();
    }
    const std::map<std::string, std::function<std::string()>> shown = {
        {"lininst", [&] { return w->lininsttext().toStdString(); }},
        {"rows", [&] { return std::to_string(l.rowcount); }},
        {"serial", [&] { return std::to_string(l.labelserial); }},
        {"bar", [&] { return std::to_string(w->pozicijav()->value()) + " " + std::to_string(w->pozicijav()->maximum()); }},
        {"focus", [&] { return focus()->objectName().toStdString(); }},
        {"box", [&] { return lastbox().toStdString(); }},
        {"boxes", [&] { return std::to_string(driver->texts.size()); }},
        {"exit", [&] { return std::to_string(exitcode); }},
        {"stdout", [&] { return output.toHex(' ').toUpper().toStdString(); }},
    };
    if (shown.count(what) != 0)
        return shown.at(what)();
    ADD_FAILURE() << "unknown check " << what;
    return {};
}

struct Walk : Form17Test, ::testing::WithParamInterface<Scenario> {};

TEST_P(Walk, AsWritten)
{
    const auto& lines = GetParam().second;
    for (size_t i = 0; i < lines.size() && !HasFatalFailure(); ++i) {
        const auto& [number, line] = lines[i];
        SCOPED_TRACE("scenarios.txt:" + std::to_string(number) + ": " + line);
        if (line.rfind("expect file ", 0) == 0) {
            std::string want;
            for (++i; i < lines.size() && lines[i].second != "end"; ++i)
                want += QString::fromStdString(lines[i].second.substr(2)).replace("\\t", "\t").toStdString() + "\n";
            EXPECT_EQ(read(QString::fromStdString(line.substr(12))).toStdString(), want);
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

INSTANTIATE_TEST_SUITE_P(Form17, Walk, ::testing::ValuesIn(scenarios()), [](const auto& info) {
    return QString::fromStdString(info.param.first).replace(QRegularExpression("[^A-Za-z0-9]"), "_").toStdString();
});

// ---- Every form with every choice: the text built as recorded, and one the assembler takes. ----

TEST_F(Form17Test, EveryFormBuildsTheRecordedTextAndTheAssemblerTakesIt)
{
    const std::vector<QStringList> rows = test::datatable("form17/forms.txt");
    for (const QStringList& row : rows) {
        const std::string want = row.value(2).toStdString();
        SCOPED_TRACE(row.join(" | ").toStdString());
        pickform(row.value(0).toStdString());
        for (const QString& c : row.value(1).split(' ', Qt::SkipEmptyParts)) // "#" a number typed, then ACCEPT
            c.startsWith('#') ? (step("keys " + c.mid(1).toStdString()), step("key ACCEPT")) : step("sel " + c.toStdString());
        EXPECT_EQ(w->lininsttext().toStdString(), want);
        EXPECT_TRUE(w->command_append()->isVisible());
        w->command_cancel()->click();

        // The form can build MOV M, M, which the assembler refuses.
        EXPECT_EQ(Assembler().assembletext("\t" + want + "\n", 1000), want == "MOV M, M" ? 1 : 0);
    }
    EXPECT_EQ(rows.size(), 249u);
}

// ---- A seeded random walk. ----

// The five states by what shows: a group's frame, a parameter's frame, Append, the prompt, Cancel
// ("?": none or one).
const std::pair<const char*, std::string> states[] = {{"idle", "00000"}, {"group chosen", "?0001"}, {"parameters asked", "01001"},
                                                      {"instruction complete", "00101"}, {"waiting for a row", "00010"}};

TEST_F(Form17Test, RandomClicksAndKeysKeepOneStateAndAWayOn)
{
    std::mt19937 rng(1785);
    auto pick = [&rng](size_t n) { return static_cast<int>(std::uniform_int_distribution<size_t>(0, n - 1)(rng)); };
    const std::vector<Qt::Key> keys = {Qt::Key_0, Qt::Key_5, Qt::Key_C, Qt::Key_L,     Qt::Key_Return, Qt::Key_Escape,
                                       Qt::Key_Up, Qt::Key_Down, Qt::Key_Left, Qt::Key_Space, Qt::Key_Tab, Qt::Key_PageDown};
    std::array<int, 5> visits{};
    for (int stepno = 0; stepno < 4000; ++stepno) {
        std::vector<QAbstractButton*> buttons;
        for (QAbstractButton* b : w->findChildren<QAbstractButton*>())
            if (b->isVisible() && b->isEnabled() && b != w->command_save() && b != w->Check1())
                buttons.push_back(b);
        const int action = pick(10);
        if (action < 5 && !buttons.empty())
            buttons[static_cast<size_t>(pick(buttons.size()))]->click();
        else if (action == 5 && w->Combo1()->isEnabled())
            w->Combo1()->setCurrentIndex(pick(8));
        else if (action == 6)
            QTest::mouseClick(pick(2) ? w->inst(pick(20)) : w->adr(pick(20)), Qt::LeftButton);
        else if (action == 7)
            w->wheel(pick(241) - 120);
        else if (focus() != w->command_save() && focus() != w->Check1())
            QTest::keyClick(focus(), keys[static_cast<size_t>(pick(keys.size()))]);

        SCOPED_TRACE("step " + std::to_string(stepno));
        int groups = 0;
        for (int g = 0; g < 7; ++g)
            groups += w->Frame(g)->isVisible();
        const std::string shown = std::to_string(groups) + std::to_string(w->Frame(7)->isVisible() + w->Frame(8)->isVisible()) +
                                  std::to_string(w->command_append()->isVisible()) + std::to_string(w->Text1()->isVisible()) +
                                  std::to_string(w->command_cancel()->isVisible());
        const auto matches = [&shown](const auto& state) {
            return std::equal(shown.begin(), shown.end(), state.second.begin(),
                              [](char s, char p) { return p == '?' ? s <= '1' : s == p; });
        };
        ASSERT_EQ(std::count_if(std::begin(states), std::end(states), matches), 1) << shown;
        ++visits[static_cast<size_t>(std::find_if(std::begin(states), std::end(states), matches) - std::begin(states))];
        const int flags = (w->pendingdelete() != 0) + (w->pendinginsert() != 0) + (w->pendingupdate() != 0);
        ASSERT_EQ(flags, shown[3] - '0');
        // Always a way on: Cancel, Append or a row to click.
        ASSERT_TRUE(w->Combo1()->isEnabled() || w->command_cancel()->isVisible() || w->Text1()->isVisible());
        const Form17Listing& l = w->listing();
        if (l.labelserial < 10000) {
            const std::set<std::string> labels(l.rowlabel.begin() + 1, l.rowlabel.end());
            ASSERT_EQ(static_cast<int>(labels.size()), l.rowcount);
        }
    }
    for (int i = 0; i < 5; ++i) // the walk went everywhere
        EXPECT_GT(visits[static_cast<size_t>(i)], 40) << states[i].first;
}

} // namespace
