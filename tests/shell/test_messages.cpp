// The message services: the choice between a box and the timed window, the boxes' width for
// their title, the timed window's geometry, ticks and duration answers, and Always On Top.
#include "shell/messages.h"
#include "sim/machinestate.h"
#include "sim/settings.h"

#include <QCheckBox>
#include <QInputDialog>
#include <QPlainTextEdit>
#include <QScreen>
#include <QTest>

#include "tests/common/dialogdriver.h"

#include <gtest/gtest.h>

using namespace kelvane;

namespace {

struct MessageFixture : ::testing::Test {
    void SetUp() override
    {
        TearDown();
        machinestate().optconfirm = "OFF";
        regwrite("Message Duration", "4");
        caller.setGeometry(100, 120, 300, 200);
        caller.show();
        QApplication::processEvents();
    }
    void TearDown() override
    {
        if (MessageWindow* w = MessageWindow::current())
            w->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    MessageWindow* show(const QString& text)
    {
        showmessage(&caller, text);
        return MessageWindow::current();
    }
    QWidget caller;
};

} // namespace

TEST_F(MessageFixture, StandsUnderItsCallerAndGrowsWithItsLines)
{
    MessageWindow* w = show(QStringLiteral("Operation completed."));
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(w->windowTitle(), QStringLiteral("Confirmation"));
    const QRect c = caller.frameGeometry();
    EXPECT_EQ(w->frameGeometry().topLeft(), QPoint(c.left(), c.top() + c.height()));
    EXPECT_EQ(QSize(w->width(), w->textbox()->width()), QSize(c.width(), c.width() - 8));
    EXPECT_EQ(w->height(), w->textbox()->height() + 8);
    const int one = w->textbox()->height();
    EXPECT_GE(one, 17); // 255 twips, or what the font needs
    EXPECT_EQ(show(QStringLiteral("a\r\nb\r\nc")), w); // a new message replaces the text
    const int three = w->textbox()->height();
    EXPECT_GT(three, one);
    show(QStringLiteral("1\r\n2\r\n3\r\n4\r\n5\r\n6\r\n7\r\n8\r\n9"));
    EXPECT_EQ(w->textbox()->height(), three); // more than seven lines keep the height
    // A wide line widens the window from the same left edge; below the screen it stays there.
    const QString wide(120, QLatin1Char('W'));
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    caller.setGeometry(50, screen.bottom() - 20, 300, 30);
    QApplication::processEvents();
    show(wide + QStringLiteral("\r\nshort"));
    EXPECT_EQ(w->width(), QFontMetrics(w->textbox()->font()).horizontalAdvance(wide) + 20);
    EXPECT_EQ(w->frameGeometry().left(), caller.frameGeometry().left());
    EXPECT_GT(w->frameGeometry().top(), screen.bottom());
    EXPECT_EQ(w->text(), wide + QStringLiteral("\r\nshort"));
}

TEST_F(MessageFixture, GoesAwayAfterTheDurationInTicksAndRestartsOnANewMessage)
{
    regwrite("Message Duration", "3");
    QPointer<MessageWindow> w = show(QStringLiteral("first"));
    ASSERT_TRUE(w);
    EXPECT_EQ(w->messagelimit(), 3);
    w->tick();
    w->tick();
    show(QStringLiteral("second"));
    EXPECT_EQ(w->messageticks(), 0);
    w->tick();
    w->tick();
    EXPECT_TRUE(w->isVisible());
    w->tick();
    EXPECT_EQ(MessageWindow::current(), nullptr);
    // A new window reads the duration again; the real timer ticks every 500 ms.
    regwrite("Message Duration", "2");
    w = show(QStringLiteral("x"));
    EXPECT_EQ(w->messagelimit(), 2);
    EXPECT_TRUE(QTest::qWaitFor([&] { return w.isNull(); }, 3000));
}

TEST_F(MessageFixture, ConfirmChoosesByShowConfirmationsAndBoxesFitTheirTitle)
{
    test::DialogDriver driver;
    QSize boxsize;
    QTimer::singleShot(0, [&] {
        if (QWidget* box = QApplication::activeModalWidget())
            boxsize = box->size();
    });
    machinestate().optconfirm = "ON";
    confirm(&caller, QStringLiteral("OK\r\nDone."));
    EXPECT_EQ(MessageWindow::current(), nullptr);
    EXPECT_EQ(driver.texts, std::vector<QString>{QStringLiteral("OK\nDone.")});
    EXPECT_EQ(driver.titles, std::vector<QString>{titletext()});
    // Wider than the box would make itself for the title (its own measure adds 50 pixels).
    EXPECT_GE(boxsize.width(), titlebarwidth(titletext()));
    EXPECT_GT(boxsize.width(), QFontMetrics(QApplication::font()).horizontalAdvance(titletext()) + 50);
    machinestate().optconfirm = "OFF";
    confirm(&caller, QStringLiteral("Please load program file first."));
    ASSERT_NE(MessageWindow::current(), nullptr);
    EXPECT_EQ(MessageWindow::current()->text(), QStringLiteral("Please load program file first."));
    EXPECT_EQ(driver.texts.size(), 1u);
}

// A click on the text asks for the duration: each answer read, stored and used (4 stays where it is
// refused). In the last the time runs out while the box is open: the window goes after the answer.
TEST_F(MessageFixture, AClickOnTheTextAsksForTheDurationAndStoresIt)
{
    const struct {
        bool accept;
        const char* answer;
        std::optional<int> result;
    } cases[] = {{false, "5", std::nullopt}, {true, "", std::nullopt}, {true, "0", std::nullopt},
                 {true, "abc", std::nullopt}, {true, "1", 2},          {true, "50", 10},
                 {true, " 7 s", 7},           {true, "-3", 2},         {true, "2.5", 2},
                 {true, "3", 3}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.answer);
        EXPECT_EQ(messageduration(c.accept, QString::fromLatin1(c.answer)), c.result);
        const bool timeout = &c == std::end(cases) - 1;
        const int limit = c.result.value_or(4);
        SetUp();
        QPointer<MessageWindow> w = show(QStringLiteral("x"));
        test::DialogDriver driver;
        QString prompt, offered;
        driver.on<QInputDialog>([&](QInputDialog* box) {
            prompt = box->labelText();
            offered = box->textValue();
            for (int i = 0; timeout && i < 4; ++i)
                w->tick();
            EXPECT_TRUE(w);
            box->setTextValue(QString::fromLatin1(c.answer));
            c.accept ? box->accept() : box->reject();
        });
        QTest::mouseClick(w->textbox()->viewport(), Qt::LeftButton);
        ASSERT_TRUE(QTest::qWaitFor([&] { return driver.answered == 1; }, 2000));
        QApplication::processEvents();
        EXPECT_EQ(prompt + offered, QStringLiteral("Enter new info message display duration [2-10 seconds].4"));
        EXPECT_EQ(regread("Message Duration"), std::to_string(limit));
        if (timeout)
            EXPECT_TRUE(QTest::qWaitFor([&] { return w.isNull(); }, 2000));
        else
            EXPECT_EQ(w->messagelimit(), limit);
    }
}

// Releasing one window's Always On Top puts back on top the others whose box is set and whose
// open flag is set, and leaves the rest alone.
TEST(AlwaysOnTop, ReleasingOneKeepsTheOthersThatAskedOnTop)
{
    MachineState& st = machinestate();
    QWidget w[3]; // the memory editor, the devices, the ports editor
    QCheckBox* checks[3];
    for (int i = 0; i < 3; ++i) {
        checks[i] = new QCheckBox(QStringLiteral("Always On Top"), &w[i]);
        connectalwaysontop(std::array{2, 5, 20}[i], &w[i], checks[i]);
        w[i].show();
    }
    const auto tops = [&] { return istopmost(&w[0]) * 100 + istopmost(&w[1]) * 10 + istopmost(&w[2]); };
    st.Form2 = st.Form5 = st.Form20 = true;
    checks[0]->setChecked(true);
    checks[1]->setChecked(true);
    EXPECT_EQ(tops(), 110);
    w[0].setWindowFlag(Qt::WindowStaysOnTopHint, false);
    checks[1]->setChecked(false);
    EXPECT_EQ(tops(), 100);
    EXPECT_TRUE(w[1].isVisible());
    w[0].setWindowFlag(Qt::WindowStaysOnTopHint, false);
    st.Form2 = false;
    checks[2]->setChecked(true);
    checks[2]->setChecked(false);
    EXPECT_EQ(tops(), 0);
    st.Form2 = st.Form5 = st.Form20 = false;
}
