// The message services: the choice between a box and the timed window, the timed window's
// geometry, ticks and duration answers, and Always On Top among the tool windows.
#include "shell/messages.h"
#include "sim/machinestate.h"
#include "sim/settings.h"

#include <QApplication>
#include <QCheckBox>
#include <QFontMetrics>
#include <QInputDialog>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QScreen>
#include <QSettings>
#include <QTest>
#include <QTimer>

#include "tests/common/dialogdriver.h"

#include <gtest/gtest.h>

#include <memory>

using namespace kelvane;

namespace {

using test::BoxCloser;

void closemessagewindow()
{
    if (MessageWindow* w = MessageWindow::current()) {
        w->close();
        QApplication::processEvents();
    }
}

struct MessageFixture : ::testing::Test {
    void SetUp() override
    {
        closemessagewindow();
        machinestate().optconfirm = "OFF";
        regwrite("Message Duration", "4");
        caller = std::make_unique<QWidget>();
        caller->setGeometry(100, 120, 300, 200);
        caller->show();
        QApplication::processEvents();
    }
    void TearDown() override { closemessagewindow(); }
    std::unique_ptr<QWidget> caller;
};

} // namespace

TEST(MessageHeights, TableByLineCount)
{
    const int expected[] = {0, 255, 435, 675, 855, 1035, 1215, 1395, 0};
    for (int lines = 0; lines <= 8; ++lines)
        EXPECT_EQ(messageheighttwips(lines), expected[lines]) << lines;
}

TEST(MessageDuration, AnswersOfTheDurationBox)
{
    struct Case {
        bool accepted;
        const char* answer;
        std::optional<int> result;
    } cases[] = {
        {false, "5", std::nullopt}, {true, "", std::nullopt},  {true, "0", std::nullopt}, {true, "abc", std::nullopt},
        {true, "1", 2},             {true, "50", 10},          {true, "5", 5},            {true, " 7 s", 7},
        {true, "-3", 2},            {true, "2.5", 2},          {true, "10", 10},
    };
    for (const Case& c : cases)
        EXPECT_EQ(messageduration(c.accepted, QString::fromLatin1(c.answer)), c.result) << c.answer;
}

TEST_F(MessageFixture, StandsUnderItsCallerWithTheCallersWidth)
{
    showmessage(caller.get(), QStringLiteral("Operation completed."));
    MessageWindow* w = MessageWindow::current();
    ASSERT_NE(w, nullptr);
    EXPECT_TRUE(w->isVisible());
    EXPECT_EQ(w->windowTitle(), QStringLiteral("Confirmation"));
    const QRect c = caller->frameGeometry();
    EXPECT_EQ(w->frameGeometry().left(), c.left());
    EXPECT_EQ(w->frameGeometry().top(), c.top() + c.height());
    EXPECT_EQ(w->width(), c.width());
    EXPECT_EQ(w->textbox()->width(), c.width() - 8);
    EXPECT_EQ(w->text(), QStringLiteral("Operation completed."));
    // One line: 255 twips unless the font needs more, and the window 120 twips higher.
    EXPECT_GE(w->textbox()->height(), 17);
    EXPECT_EQ(w->height(), w->textbox()->height() + 8);
}

TEST_F(MessageFixture, AWideLineWidensTheWindowFromTheSameLeftEdge)
{
    const QString wide(120, QLatin1Char('W'));
    showmessage(caller.get(), wide + QStringLiteral("\r\nshort"));
    MessageWindow* w = MessageWindow::current();
    ASSERT_NE(w, nullptr);
    const int measure = QFontMetrics(w->textbox()->font()).horizontalAdvance(wide) + 20;
    EXPECT_EQ(w->width(), measure);
    EXPECT_GT(w->width(), caller->frameGeometry().width());
    EXPECT_EQ(w->frameGeometry().left(), caller->frameGeometry().left());
    EXPECT_EQ(w->text(), wide + QStringLiteral("\r\nshort"));
}

TEST_F(MessageFixture, HeightGrowsWithTheLinesAndStaysBeyondSeven)
{
    showmessage(caller.get(), QStringLiteral("a"));
    const int one = MessageWindow::current()->textbox()->height();
    showmessage(caller.get(), QStringLiteral("a\r\nb\r\nc"));
    const int three = MessageWindow::current()->textbox()->height();
    EXPECT_GE(three, 45);
    EXPECT_GT(three, one);
    showmessage(caller.get(), QStringLiteral("1\r\n2\r\n3\r\n4\r\n5\r\n6\r\n7\r\n8\r\n9"));
    // More than seven lines: the text box keeps the height it had.
    EXPECT_EQ(MessageWindow::current()->textbox()->height(), three);
}

TEST_F(MessageFixture, TheWindowSitsBelowTheCallerEvenOffTheScreen)
{
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    caller->setGeometry(50, screen.bottom() - 20, 300, 30);
    QApplication::processEvents();
    showmessage(caller.get(), QStringLiteral("x"));
    MessageWindow* w = MessageWindow::current();
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(w->frameGeometry().top(), caller->frameGeometry().top() + caller->frameGeometry().height());
    EXPECT_GT(w->frameGeometry().top(), screen.bottom()); // not pulled back onto the screen
}

TEST_F(MessageFixture, GoesAwayAfterTheDurationInTicksAndRestartsOnANewMessage)
{
    regwrite("Message Duration", "3");
    showmessage(caller.get(), QStringLiteral("first"));
    QPointer<MessageWindow> w = MessageWindow::current();
    ASSERT_TRUE(w);
    EXPECT_EQ(w->messagelimit(), 3);
    w->tick();
    w->tick();
    EXPECT_EQ(w->messageticks(), 2);
    // A new message during the first one restarts the count and replaces the text.
    showmessage(caller.get(), QStringLiteral("second"));
    EXPECT_EQ(MessageWindow::current(), w.data());
    EXPECT_EQ(w->messageticks(), 0);
    EXPECT_EQ(w->text(), QStringLiteral("second"));
    w->tick();
    w->tick();
    EXPECT_TRUE(w->isVisible());
    w->tick();
    EXPECT_EQ(MessageWindow::current(), nullptr);
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(w);
}

TEST_F(MessageFixture, ANewWindowReadsTheDurationAgain)
{
    regwrite("Message Duration", "7");
    showmessage(caller.get(), QStringLiteral("x"));
    EXPECT_EQ(MessageWindow::current()->messagelimit(), 7);
    closemessagewindow();
    regwrite("Message Duration", "2");
    showmessage(caller.get(), QStringLiteral("y"));
    EXPECT_EQ(MessageWindow::current()->messagelimit(), 2);
}

TEST_F(MessageFixture, TheRealTimerClosesTheWindow)
{
    regwrite("Message Duration", "2");
    showmessage(caller.get(), QStringLiteral("x"));
    QPointer<MessageWindow> w = MessageWindow::current();
    // Two ticks of 500 ms.
    EXPECT_TRUE(QTest::qWaitFor([&] { return MessageWindow::current() == nullptr; }, 3000));
    EXPECT_TRUE(QTest::qWaitFor([&] { return w.isNull(); }, 1000));
}

TEST_F(MessageFixture, ConfirmChoosesByShowConfirmations)
{
    BoxCloser closer;
    machinestate().optconfirm = "ON";
    confirm(caller.get(), QStringLiteral("Operation completed.\r\nTotal 1 (0) bytes saved."));
    EXPECT_EQ(MessageWindow::current(), nullptr);
    ASSERT_EQ(closer.texts.size(), 1u);
    EXPECT_EQ(closer.texts[0], QStringLiteral("Operation completed.\nTotal 1 (0) bytes saved."));
    EXPECT_EQ(closer.titles[0], QString::fromLatin1(programtitle));

    machinestate().optconfirm = "OFF";
    confirm(caller.get(), QStringLiteral("Please load program file first."));
    ASSERT_NE(MessageWindow::current(), nullptr);
    EXPECT_EQ(MessageWindow::current()->text(), QStringLiteral("Please load program file first."));
    EXPECT_EQ(closer.texts.size(), 1u);
}

TEST_F(MessageFixture, AClickOnTheTextAsksForTheDurationAndStoresIt)
{
    struct Case {
        const char* answer;
        bool accept;
        int limit;
    } cases[] = {{"1", true, 2}, {"50", true, 10}, {"", true, 4}, {"6", false, 4}, {"6", true, 6}};
    for (const Case& c : cases) {
        regwrite("Message Duration", "4");
        closemessagewindow();
        showmessage(caller.get(), QStringLiteral("x"));
        QPointer<MessageWindow> w = MessageWindow::current();
        ASSERT_TRUE(w);
        QString prompt, offered;
        QTimer driver;
        QObject::connect(&driver, &QTimer::timeout, [&] {
            if (auto* box = qobject_cast<QInputDialog*>(QApplication::activeModalWidget())) {
                prompt = box->labelText();
                offered = box->textValue();
                box->setTextValue(QString::fromLatin1(c.answer));
                c.accept ? box->accept() : box->reject();
            }
        });
        driver.start(10);
        QTest::mouseClick(w->textbox()->viewport(), Qt::LeftButton);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !prompt.isEmpty(); }, 2000)) << c.answer;
        QApplication::processEvents();
        EXPECT_EQ(prompt, QStringLiteral("Enter new info message display duration [2-10 seconds]."));
        EXPECT_EQ(offered, QStringLiteral("4"));
        ASSERT_TRUE(w) << c.answer;
        EXPECT_EQ(w->messagelimit(), c.limit) << c.answer;
        EXPECT_EQ(regread("Message Duration"), std::to_string(c.limit)) << c.answer;
    }
}

TEST_F(MessageFixture, TheTimeRunningOutDuringTheDurationBoxClosesAfterTheAnswer)
{
    regwrite("Message Duration", "2");
    showmessage(caller.get(), QStringLiteral("x"));
    QPointer<MessageWindow> w = MessageWindow::current();
    ASSERT_TRUE(w);
    bool answered = false;
    QTimer driver;
    QObject::connect(&driver, &QTimer::timeout, [&] {
        if (auto* box = qobject_cast<QInputDialog*>(QApplication::activeModalWidget())) {
            w->tick();
            w->tick(); // the limit is reached while the box is open
            EXPECT_TRUE(w);
            box->setTextValue(QStringLiteral("3"));
            box->accept();
            answered = true;
        }
    });
    driver.start(10);
    QTest::mouseClick(w->textbox()->viewport(), Qt::LeftButton);
    EXPECT_TRUE(QTest::qWaitFor([&] { return answered; }, 2000));
    EXPECT_TRUE(QTest::qWaitFor([&] { return w.isNull(); }, 2000));
    EXPECT_EQ(MessageWindow::current(), nullptr);
    EXPECT_EQ(regread("Message Duration"), "3");
}

TEST(Title, EighteenBlanksBehindTheName)
{
    EXPECT_EQ(std::string(programtitle), "Kelvane" + std::string(18, ' '));
    EXPECT_EQ(titletext().size(), 25);
}

// ---------------------------------------------------------------------------------------------
// Always On Top

namespace {
struct ToolWindow {
    std::unique_ptr<QWidget> window = std::make_unique<QWidget>();
    QCheckBox* check = new QCheckBox(QStringLiteral("Always On Top"), window.get());
};
} // namespace

TEST(AlwaysOnTop, ReleasingOneKeepsTheOthersThatAskedOnTop)
{
    MachineState& st = machinestate();
    ToolWindow memory, devices, ports;
    connectalwaysontop(2, memory.window.get(), memory.check);
    connectalwaysontop(5, devices.window.get(), devices.check);
    connectalwaysontop(20, ports.window.get(), ports.check);
    st.Form2 = st.Form5 = st.Form20 = true;
    for (ToolWindow* t : {&memory, &devices, &ports})
        t->window->show();

    memory.check->setChecked(true);
    devices.check->setChecked(true);
    EXPECT_TRUE(istopmost(memory.window.get()));
    EXPECT_TRUE(istopmost(devices.window.get()));
    EXPECT_FALSE(istopmost(ports.window.get()));
    EXPECT_TRUE(memory.window->isVisible());

    // Something took the memory editor out of the top layer; releasing the devices puts it back
    // because its box is set, and leaves the ports editor (box clear) alone.
    memory.window->setWindowFlag(Qt::WindowStaysOnTopHint, false);
    devices.check->setChecked(false);
    EXPECT_FALSE(istopmost(devices.window.get()));
    EXPECT_TRUE(istopmost(memory.window.get()));
    EXPECT_FALSE(istopmost(ports.window.get()));
    EXPECT_TRUE(devices.window->isVisible());

    // A window whose open flag is clear is not touched.
    memory.window->setWindowFlag(Qt::WindowStaysOnTopHint, false);
    st.Form2 = false;
    ports.check->setChecked(true);
    ports.check->setChecked(false);
    EXPECT_FALSE(istopmost(memory.window.get()));

    st.Form2 = st.Form5 = st.Form20 = false;
}
