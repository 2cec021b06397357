// Modules and the automation server on a bus of the test's own: the calls of runs through the main
// window as test modules record them (tests/data/modules/NAME.log), creation, a module that
// answers late, Form21, and the 24 server methods through busctl.
#include "modules/form21.h"
#include "modules/modulehost.h"
#include "modules/modules.h"
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/settings.h"

#include <QAction>
#include <QFile>
#include <QInputDialog>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>

#include "tests/common/dialogdriver.h"
#include "tests/common/shot.h"
#include "tests/common/tempfolder.h"

#include <gtest/gtest.h>

using namespace kelvane;

namespace {

MachineState& st() { return machinestate(); }
using test::slurp;
const std::string data = KELVANE_MODULEDATA;

// busctl's output for its arguments, the window's events served while it runs.
QString busctl(const QString& args)
{
    QProcess p;
    p.start(QStringLiteral("busctl"), QStringLiteral("--user %1").arg(args).split(' '));
    while (!p.waitForFinished(5))
        QCoreApplication::processEvents();
    return QString::fromUtf8(p.readAllStandardOutput()).trimmed();
}

class Modules : public ::testing::Test {
protected:
    static void SetUpTestSuite() { registermodules(toolrouter()); }
    void SetUp() override
    {
        QSettings(QSettings::NativeFormat, QSettings::UserScope, settingsname).clear();
        regwrite("Simulation Rate", "1");
        regwrite("Prompt Before IN", "OFF");
        st().~MachineState();
        new (&st()) MachineState();
        initialisestate(st());
    }
    void TearDown() override
    {
        for (auto& p : modules) {
            p->kill();
            p->waitForFinished();
        }
    }
    // Starts the recording module as `name` and puts it in a slot (1-5).
    void module(int slot, const std::string& name, const QStringList& args = {})
    {
        auto& p = modules.emplace_back(std::make_unique<QProcess>());
        p->start(QStringLiteral("/usr/bin/python3"),
                 QStringList{KELVANE_RECORDER, QString::fromStdString(name), log} + args);
        ASSERT_TRUE(p->waitForReadyRead(10000)) << name;
        regwrite("External Module " + std::to_string(slot), name);
    }
    QTemporaryDir folder;
    QString log = folder.filePath(QStringLiteral("calls.log"));
    std::vector<std::unique_ptr<QProcess>> modules;
};

// IN 10H (10H holds 5AH), OUT 20H, HLT stepped through the main window, with the modules' options.
struct RunCase {
    const char* name; // of its expected log
    std::vector<QStringList> modules;
    int32_t a;
    bool refresh; // some module answers objectrefresh
};

const RunCase runcases[] = {
    {"order", {{}, {}}, 0x5A, true},
    {"secondwins", {{"answer=-2,17"}, {"answer=-2,34"}}, 34, true},
    {"swapped", {{"answer=-2,34"}, {"answer=-2,17"}}, 17, true},
    {"norefresh", {{"methods=readio,writeio"}}, 0x5A, false},
    {"callback", {{"callback=1"}}, 0x5A, true},
    {"exits", {{"exit=2"}, {}}, 0x5A, true},
};

class RunThroughForm : public Modules, public ::testing::WithParamInterface<RunCase> {};

TEST_P(RunThroughForm, CallsInOrder)
{
    const RunCase& c = GetParam();
    for (size_t i = 0; i < c.modules.size(); ++i)
        module(static_cast<int>(i) + 1, i == 0 ? "rec.one" : "rec.two", c.modules[i]);
    Form1 form;
    EXPECT_EQ(machinehooks().modulesactive, c.refresh);
    const int32_t program[] = {0xDB, 0x10, 0xD3, 0x20, 0x76};
    std::copy(std::begin(program), std::end(program), st().mem.begin());
    st().ports[0x10] = 0x5A;
    form.action("menustart")->trigger();
    for (int i = 0; i < 3; ++i)
        form.action("menustep")->trigger();
    EXPECT_EQ(st().a, c.a);
    form.close();
    EXPECT_EQ(slurp(log.toStdString()), slurp(data + c.name + ".log"));
    EXPECT_NE(st().moduleobject[0], nullptr); // a module that ended keeps its slot
}

INSTANTIATE_TEST_SUITE_P(Modules, RunThroughForm, ::testing::ValuesIn(runcases),
                         [](const auto& info) { return std::string(info.param.name); });

// References at apply: the message for each that no module answers, the text kept either way.
TEST_F(Modules, Creation)
{
    const std::tuple<std::string, std::string, bool> cases[] = {
        {"nobody.here", "nobody.here", false}, {"a.b c", "a.b c", false}, {"1x.y", "1x.y", false},
        {std::string(300, 'x') + ".y", "OFF", false}, // too long for the settings store: reads as unused
        {"test.activated", "test.activated", true},    // started by the bus from its .service file
    };
    QFile::remove(KELVANE_ACTIVATEDLOG);
    for (const auto& [reference, kept, made] : cases) {
        test::DialogDriver driver;
        regwrite("External Module 3", reference);
        kreirajobjekte(nullptr);
        const bool told = !made && kept != "OFF";
        EXPECT_EQ(driver.texts, told ? std::vector<QString>{"Could not establish connection with External Module 3."}
                                     : std::vector<QString>{});
        EXPECT_EQ(st().moduletext[2], kept);
        EXPECT_EQ(st().moduleobject[2] != nullptr, made) << reference.substr(0, 20);
    }
    st().moduleobject[2]->objectinit();
    EXPECT_EQ(slurp(KELVANE_ACTIVATEDLOG), "test.activated objectinit\n");
}

// A module that answers after 5 s: the call gives up first, and the window's events run meanwhile.
TEST_F(Modules, LateAnswer)
{
    module(1, "rec.sleepy", {"sleep=5"});
    kreirajobjekte(nullptr);
    bool live = false;
    QTimer::singleShot(20, [&] { live = true; });
    st().moduleobject[0]->objectrefresh();
    EXPECT_TRUE(live);
    EXPECT_EQ(slurp(log.toStdString()), "rec.sleepy objectrefresh\n");
}

// Form21: SET refused without a dot, SET, DEL; Close applies, with a message for each slot that
// no module answers; closed any other way, it applies nothing.
TEST_F(Modules, Form21Slots)
{
    st().optconfirm = "ON";
    kreirajobjekte(nullptr); // as at start: every slot "OFF"
    test::DialogDriver driver;
    auto* form = new Form21;
    form->show();
    auto click = [&](const char* name, const char* answer = nullptr) {
        if (answer)
            driver.on<QInputDialog>([answer](QInputDialog* box) {
                box->setTextValue(answer);
                box->accept();
            });
        form->findChild<QPushButton*>(name)->click();
    };
    for (auto [name, answer] : {std::pair{"set1", "keypad.display"}, {"set2", "nodot"}, {"set3", "a.b"},
                                {"set4", "x.y"}, {"del3", nullptr}, {"set5", ""}})
        click(name, answer);
    EXPECT_EQ(driver.texts, std::vector<QString>{"Dot character '.' is required."});
    const QString shown[] = {"keypad.display", "", "", "x.y", ""};
    for (int n = 1; n <= 5; ++n) {
        EXPECT_EQ(form->findChild<QLabel*>(QStringLiteral("obj%1").arg(n))->text(), shown[n - 1]);
        EXPECT_EQ(form->findChild<QPushButton*>(QStringLiteral("set%1").arg(n))->isEnabled(), shown[n - 1].isEmpty());
    }
    test::saveshot(form, QStringLiteral("form21"));
    driver.texts.clear();
    click("Command1");
    EXPECT_EQ(driver.texts, (std::vector<QString>{"Could not establish connection with External Module 1.",
                                                  "Could not establish connection with External Module 4."}));
    EXPECT_EQ(regread("External Module 4"), "x.y");
    form = new Form21;
    click("del4");
    form->close();
    EXPECT_EQ(regread("External Module 4"), "x.y");
    EXPECT_EQ(st().moduletext[3], "OFF");
}

// The server through busctl on a prepared machine: the calls of servercalls.txt in order, each
// with its answer after a tab.
TEST_F(Modules, ServerMethods)
{
    MachineState& s = st();
    s.mem[0x1234] = 0xAB;
    s.ports[0x10] = s.ports[0x11] = 0x33;
    s.devenabled = {false, true, false, true, false}; // device 1 puts out on 10H, device 3 takes in on 11H
    s.devinput = {false, false, false, true, false};
    s.devport = {0, 0x10, 0, 0x11, 0};
    s.devvalue = {0, 0x44, 0, 0, 0};
    s.commandenabled[2] = s.commandenabled[1] = true; // TRAP and RESET; RST 7.5 and INTR are not
    std::vector<int> pressed;
    toolrouter().maincommands.interruptbutton = [&](int n) { pressed.push_back(n); };
    toolrouter().maincommands.clickreset = [&] { pressed.push_back(1); };
    s.halted = 1, s.clockmhz = 2.5f, s.cyclecount = 1234;
    s.lastinstruction.setexecuted(0x76, 0, 0);
    s.a = 1, s.b = 2, s.c = 3, s.d = 4, s.e = 5, s.h = 0x12, s.l = 0x34, s.sp = 0xFFFE, s.pc = 0x1000;
    s.fs = s.fz = s.fp = s.fcy = 1;
    s.panelstale = true; // f is composed when asked for
    const QString call = QStringLiteral("call -- ikelvane.server /server ikelvane._server ");
    for (const QString& row : QString::fromStdString(slurp(data + "servercalls.txt")).split('\n', Qt::SkipEmptyParts)) {
        const QStringList fields = row.split('\t');
        EXPECT_EQ(busctl(call + fields[0]).toStdString(), fields.value(1).toStdString()) << fields[0].toStdString();
    }
    EXPECT_EQ(s.devvalue[3], 9);
    EXPECT_EQ(pressed, (std::vector<int>{2, 1}));
    s.clockmhz = 3.5f;
    EXPECT_EQ(busctl(call + "getcrystal"), "i 4");
    toolrouter().maincommands = MainCommands{};
    // The interface as a client reads it: the 24 methods in their order.
    const QString xml = busctl(QStringLiteral("introspect --xml-interface ikelvane.server /server"));
    std::string names;
    const QString methods = xml.mid(xml.indexOf(QStringLiteral("\"ikelvane._server\"")));
    for (const auto& m : QRegularExpression(QStringLiteral("<method name=\"(\\w+)\"")).globalMatch(methods))
        names += m.captured(1).toStdString() + '\n';
    EXPECT_EQ(names.substr(0, slurp(data + "servermethods.txt").size()), slurp(data + "servermethods.txt"));
}

} // namespace
