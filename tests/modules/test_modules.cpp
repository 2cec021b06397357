// Modules and the automation server on a private session bus: the calls a run makes, in order and
// with their cells (recorded by test modules, compared with tests/data/modules/*.log), modules
// that fail in every way, creation, and the 24 server methods through busctl.
#include "core/machine.h"
#include "modules/form21.h"
#include "modules/modulehost.h"
#include "modules/modules.h"
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/settings.h"
#include "sim/toolrouter.h"

#include <QAction>
#include <QFile>
#include <QInputDialog>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>

#include "tests/common/dialogdriver.h"
#include "tests/common/shot.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>

using namespace kelvane;

namespace {

MachineState& st() { return machinestate(); }

std::vector<std::string> lines(const std::string& path)
{
    std::ifstream in(path);
    std::vector<std::string> v;
    for (std::string line; std::getline(in, line);)
        v.push_back(line);
    return v;
}

// A program started with its arguments; its standard output, the events served meanwhile.
QString run(const QString& program, const QStringList& args)
{
    QProcess p;
    p.start(program, args);
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
        form.reset();
        for (auto& p : modules) {
            p->kill();
            p->waitForFinished();
        }
    }
    // Starts the recorder as module `name` and puts it in a slot (1-5).
    void module(int slot, const std::string& name, const QStringList& args = {})
    {
        auto& p = modules.emplace_back(std::make_unique<QProcess>());
        p->start(QStringLiteral("/usr/bin/python3"),
                 QStringList{KELVANE_RECORDER, QString::fromStdString(name), log} + args);
        ASSERT_TRUE(p->waitForReadyRead(10000)) << name;
        regwrite("External Module " + std::to_string(slot), name);
    }
    std::vector<std::string> calls() { return lines(log.toStdString()); }

    QTemporaryDir folder;
    QString log = folder.filePath(QStringLiteral("calls.log"));
    std::vector<std::unique_ptr<QProcess>> modules;
    std::unique_ptr<Form1> form;
};

// A run through the main window: IN 10H (10H holds 5AH), OUT 20H, HLT, with the modules' answers.
struct RunCase {
    const char* name; // of tests/data/modules/NAME.log
    std::vector<QStringList> modules;
    int32_t a;
    bool refresh; // some module answers objectrefresh
};

const RunCase runcases[] = {
    {"order", {{}, {}}, 0x5A, true},
    {"secondwins", {{"--answer", "-2", "17"}, {"--answer", "-2", "34"}}, 34, true},
    {"swapped", {{"--answer", "-2", "34"}, {"--answer", "-2", "17"}}, 17, true},
    {"minusonegoeson", {{"--answer", "-2", "17"}, {"--answer", "-2", "-1"}}, 0x5A, true},
    {"threehundred", {{"--answer", "-2", "300"}, {}}, 300, true},
    {"portcell", {{"--answer", "153", "-2"}, {}}, 0x5A, true},
    {"norefresh", {{"--methods", "readio,writeio"}}, 0x5A, false},
    {"callback", {{"--callback"}}, 0x5A, true},
    {"exits", {{"--exit-after", "2"}, {}}, 0x5A, true},
};

class RunThroughForm : public Modules, public ::testing::WithParamInterface<RunCase> {};

TEST_P(RunThroughForm, CallsInOrder)
{
    const RunCase& c = GetParam();
    for (size_t i = 0; i < c.modules.size(); ++i)
        module(static_cast<int>(i) + 1, i == 0 ? "rec.one" : "rec.two", c.modules[i]);
    form = std::make_unique<Form1>();
    EXPECT_EQ(machinehooks().modulesactive, c.refresh);
    const int32_t program[] = {0xDB, 0x10, 0xD3, 0x20, 0x76};
    std::copy(std::begin(program), std::end(program), st().mem.begin());
    st().ports[0x10] = 0x5A;
    form->action("menustart")->trigger();
    for (int i = 0; i < 3; ++i)
        form->action("menustep")->trigger();
    EXPECT_EQ(st().a, c.a);
    form->close();
    EXPECT_EQ(calls(), lines(std::string(KELVANE_MODULEDATA) + c.name + ".log"));
    EXPECT_NE(st().moduleobject[0], nullptr); // a module that failed keeps its slot
}

INSTANTIATE_TEST_SUITE_P(Modules, RunThroughForm, ::testing::ValuesIn(runcases),
                         [](const auto& info) { return std::string(info.param.name); });

// References that no module answers: the message at apply, the text kept, no object.
TEST_F(Modules, CreationFailures)
{
    const std::pair<std::string, std::string> cases[] = {
        {"nobody.here", "nobody.here"}, {"a.b c", "a.b c"}, {"1x.y", "1x.y"},
        {std::string(300, 'x') + ".y", "OFF"}, // too long for the settings store: reads as unused
    };
    for (const auto& [reference, kept] : cases) {
        test::DialogDriver driver;
        regwrite("External Module 3", reference);
        kreirajobjekte(nullptr);
        const std::vector<QString> expected =
            kept == "OFF" ? std::vector<QString>{} : std::vector<QString>{"Could not establish connection with External Module 3."};
        EXPECT_EQ(driver.texts, expected) << reference.substr(0, 20);
        EXPECT_EQ(st().moduletext[2], kept);
        EXPECT_EQ(st().moduleobject[2], nullptr);
    }
}

// A module the bus starts from its .service file, and one that answers late: the call gives up,
// and the window's events run while it waits.
TEST_F(Modules, ActivationAndLateAnswer)
{
    QFile::remove(KELVANE_ACTIVATEDLOG);
    regwrite("External Module 1", "test.activated");
    module(2, "rec.sleepy", {"--sleep", "5"});
    test::DialogDriver driver;
    kreirajobjekte(nullptr);
    EXPECT_TRUE(driver.texts.empty());
    st().moduleobject[0]->objectinit();
    bool live = false;
    QTimer::singleShot(20, [&] { live = true; });
    st().moduleobject[1]->objectrefresh();
    EXPECT_TRUE(live);
    EXPECT_EQ(calls(), (std::vector<std::string>{"rec.sleepy objectrefresh"}));
    EXPECT_EQ(lines(KELVANE_ACTIVATEDLOG), std::vector<std::string>{"test.activated objectinit"});
}

// The server through a real client: each call's answer, in order, on a prepared machine.
struct ServerCase {
    const char* call;     // busctl's arguments after the interface
    const char* expected; // its output
};

const ServerCase servercases[] = {
    {"getmem i 4660", "i 171"}, {"getmem i 65536", "i -1"}, {"getmem i -1", "i -1"},
    {"setmem ii 4660 256", ""}, {"getmem i 4660", "i 171"}, {"setmem ii 4660 7", ""}, {"getmem i 4660", "i 7"},
    {"setmem ii 65536 7", ""}, {"getio i 16", "i 68"}, {"getio i 17", "i 51"}, {"getio i 256", "i -1"},
    {"setio ii 17 9", ""}, {"getio i 17", "i 9"}, {"setio ii 17 256", ""}, {"getio i 17", "i 9"},
    {"i8085intr", ""}, {"i8085rst75", ""}, {"i8085trap", ""}, {"i8085reset", ""},
    {"gethalt", "i 1"}, {"getcrystal", "i 2"}, {"getclockcycles", "i 1234"}, {"getinst", "s \"HLT\""},
    {"geta", "i 1"}, {"getf", "i 197"}, {"getb", "i 2"}, {"getc", "i 3"}, {"getd", "i 4"}, {"gete", "i 5"},
    {"geth", "i 18"}, {"getl", "i 52"}, {"getsp", "i 65534"}, {"getpc", "i 4096"},
};

TEST_F(Modules, ServerMethods)
{
    MachineState& s = st();
    s.mem[0x1234] = 0xAB;
    s.ports[0x10] = 0x33;
    s.ports[0x11] = 0x33;
    s.devenabled = {false, true, false, true, false};
    s.devinput = {false, false, false, true, false};
    s.devport = {0, 0x10, 0, 0x11, 0};
    s.devvalue = {0, 0x44, 0, 0, 0};
    s.commandenabled[2] = s.commandenabled[1] = true; // TRAP and RESET; RST 7.5 and INTR are not
    std::vector<int> pressed;
    toolrouter().maincommands.interruptbutton = [&](int n) { pressed.push_back(n); };
    toolrouter().maincommands.clickreset = [&] { pressed.push_back(1); };
    s.halted = 1;
    s.clockmhz = 2.5f;
    s.cyclecount = 1234;
    s.lastinstruction.setexecuted(0x76, 0, 0);
    s.a = 1, s.b = 2, s.c = 3, s.d = 4, s.e = 5, s.h = 0x12, s.l = 0x34, s.sp = 0xFFFE, s.pc = 0x1000;
    s.fs = s.fz = s.fp = s.fcy = 1;
    s.panelstale = true; // f is composed when asked for
    for (const ServerCase& c : servercases) {
        const QStringList call = QStringLiteral("--user call -- ikelvane.server /server ikelvane._server %1").arg(c.call).split(' ');
        EXPECT_EQ(run(QStringLiteral("busctl"), call), QString::fromLatin1(c.expected)) << c.call;
    }
    EXPECT_EQ(s.devvalue[3], 9); // the input device on 11H took setio's value
    EXPECT_EQ(pressed, (std::vector<int>{2, 1}));
    s.clockmhz = 3.5f;
    EXPECT_EQ(run(QStringLiteral("busctl"), QStringLiteral("--user call -- ikelvane.server /server ikelvane._server getcrystal").split(' ')), "i 4");
    toolrouter().maincommands = MainCommands{};
    // The interface as a client reads it: the 24 methods in their order.
    const QString xml = run(QStringLiteral("busctl"), {"--user", "introspect", "--xml-interface", "ikelvane.server", "/server"});
    std::vector<std::string> names;
    for (qsizetype at = xml.indexOf("<interface name=\"ikelvane._server\">"); (at = xml.indexOf("<method name=\"", at)) >= 0;) {
        at += 14;
        names.push_back(xml.mid(at, xml.indexOf('"', at) - at).toStdString());
        if (names.size() == 24)
            break;
    }
    EXPECT_EQ(names, lines(std::string(KELVANE_MODULEDATA) + "servermethods.txt"));
}

} // namespace

namespace {

// Form21: SET with an answer (or DEL when none), what the slot then shows, and the message.
struct SlotCase {
    int slot;
    const char* answer;
    const char* text; // moduletext afterwards
    const char* message;
};

const SlotCase slotcases[] = {
    {1, "rec.one", "rec.one", ""},
    {2, "nodot", "OFF", "Dot character '.' is required."},
    {2, "", "OFF", ""},
    {3, "a.b", "a.b", ""},
    {3, nullptr, "OFF", ""},
    {4, "x.y", "x.y", ""},
};

TEST_F(Modules, Form21Slots)
{
    module(5, "rec.one");
    st().optconfirm = "ON";
    test::DialogDriver driver;
    kreirajobjekte(nullptr);
    auto* form = new Form21;
    form->show();
    for (const SlotCase& c : slotcases) {
        driver.texts.clear();
        if (c.answer) {
            driver.on<QInputDialog>([&](QInputDialog* box) {
                box->setTextValue(QString::fromLatin1(c.answer));
                box->accept();
            });
            form->findChild<QPushButton*>(QStringLiteral("set%1").arg(c.slot))->click();
        } else {
            form->findChild<QPushButton*>(QStringLiteral("del%1").arg(c.slot))->click();
        }
        const bool used = std::string(c.text) != "OFF";
        EXPECT_EQ(st().moduletext[static_cast<size_t>(c.slot - 1)], c.text);
        EXPECT_EQ(form->findChild<QLabel*>(QStringLiteral("obj%1").arg(c.slot))->text(), used ? c.text : "");
        EXPECT_EQ(form->findChild<QPushButton*>(QStringLiteral("set%1").arg(c.slot))->isEnabled(), !used);
        EXPECT_EQ(driver.texts, *c.message ? std::vector<QString>{c.message} : std::vector<QString>{});
    }
    test::saveshot(form, QStringLiteral("form21"));
    form->findChild<QPushButton*>(QStringLiteral("Command1"))->click(); // applies
    EXPECT_EQ(driver.texts, (std::vector<QString>{"Could not establish connection with External Module 4."}));
    EXPECT_EQ(toolrouter().window(Tool::Form21), nullptr);
    const std::vector<std::string> stored = {"rec.one", "OFF", "OFF", "x.y", "rec.one"};
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(regread("External Module " + std::to_string(i + 1)), stored[i]);
        EXPECT_EQ(st().moduleobject[i] != nullptr, i == 0 || i == 4) << i;
    }
    // Closed any other way, the window applies nothing; the text it set stays for this run.
    form = new Form21;
    driver.on<QInputDialog>([](QInputDialog* box) {
        box->setTextValue(QStringLiteral("p.q"));
        box->accept();
    });
    form->findChild<QPushButton*>(QStringLiteral("set2"))->click();
    form->close();
    EXPECT_EQ(regread("External Module 2"), "OFF");
    EXPECT_EQ(st().moduletext[1], "p.q");
}

} // namespace
