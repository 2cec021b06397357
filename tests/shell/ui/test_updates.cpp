// Check For Updates. tests/data/updates holds answers (NAME.http) with the log text each gives
// (NAME.txt, one byte a character), each played to the window by a server of the test on
// loopback that records the request; then the window's other endings and long runs in the parser.
#include "shell/ui/form60.h"
#include "shell/ui/versionlog.h"
#include "shell/website.h"

#include <QDir>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include "tests/common/shot.h"
#include "tests/common/windowtest.h"

namespace kelvane {
namespace {

const QString site = QString::fromLatin1(websitename);
const QString title = QStringLiteral("Kelvane Version Log File\r\n\r\n");

QByteArray datafile(const QString& name)
{
    QFile file(QStringLiteral(KELVANE_TEST_DATA "/updates/") + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    return file.readAll();
}

std::string parsed(const std::string& raw)
{
    return parseversionlog(responsebody(raw), "Kelvane", "2.55").text;
}

TEST(VersionLog, LongRunsAndTheTargetFromTheSetting)
{
    const std::string news = "H\r\n\r\nNews in", head = title.toStdString();
    EXPECT_EQ(parsed(news + std::string(100000, ' ') + "2.55"), head + "News in 2.55");
    EXPECT_EQ(parsed(news + " 2.55" + std::string(100000, '\n') + "x"), head + "News in 2.55\r\n\r\nx");
    EXPECT_EQ(parsed(news + " 2.55" + std::string(100000, '<') + "x"), head + "News in 2.55");
    const std::tuple<QString, QString, uint16_t> cases[] = {
        {"", site, 80},     {"127.0.0.1:8123", "127.0.0.1", 8123}, {"[::1]:8123", "::1", 8123},
        {"::1", "::1", 80}, {"host:notaport", "host", 80},
    };
    for (const auto& [setting, host, port] : cases) {
        const UpdateTarget t = updatetarget(setting);
        EXPECT_EQ(t.host + ":" + QString::number(t.port) + " " + t.hostline,
                  host + ":" + QString::number(port) + " " + (setting.isEmpty() ? site : setting));
    }
}

// Listens on loopback at a port the system picks, takes one connection, records its request.
struct PlayServer {
    PlayServer()
    {
        EXPECT_TRUE(server.listen(QHostAddress::LocalHost, 0));
        QObject::connect(&server, &QTcpServer::newConnection, [this] {
            peer = server.nextPendingConnection();
            QObject::connect(peer, &QTcpSocket::readyRead, [this] { request += peer->readAll(); });
        });
        hostline = "127.0.0.1:" + QByteArray::number(server.serverPort());
        qputenv("KELVANE_UPDATE_HOST", hostline);
    }
    bool waitrequest()
    {
        return QTest::qWaitFor([this] { return request.endsWith("\r\n\r\n"); }, 5000) &&
               request == "GET /kelvanelog.html HTTP/1.1\r\nHost: " + hostline +
                              "\r\nAccept: */*\r\nConnection: close\r\n\r\n";
    }
    QTcpServer server;
    QPointer<QTcpSocket> peer;
    QByteArray request, hostline;
};

enum class Play { Answer, Pieces, Nothing, Silent };

class UpdateWindow : public ::testing::Test {
protected:
    void SetUp() override
    {
        qputenv("KELVANE_UPDATE_TIMEOUT_MS", "1000");
        (form = new Form60)->show();
    }
    void TearDown() override
    {
        if (form)
            form->close();
        QTest::qWait(0);
    }
    // "Go Online!" against a server that plays `answer`; `log` empty means the error.
    void check(Play play, const QByteArray& answer, const QString& log)
    {
        PlayServer server;
        if (play == Play::Nothing)
            server.server.close();
        form->command1()->click();
        EXPECT_FALSE(form->command1()->isEnabled() || form->mystatus2()->isVisible() || form->mystatus3()->isVisible());
        EXPECT_TRUE(form->tabla()->toPlainText().isEmpty());
        EXPECT_EQ(form->mystatus()->text(), "Connecting to " + site + "...");
        if (play != Play::Nothing) {
            ASSERT_TRUE(server.waitrequest());
            EXPECT_EQ(form->mystatus()->text(), "Sending request to " + site + "...");
        }
        for (qsizetype n = 1; play == Play::Pieces && n <= answer.size(); ++n) {
            server.peer->write(answer.mid(n - 1, 1));
            const QString count = "Receiving response from " + site + " (" + QString::number(n) + " bytes received).";
            EXPECT_TRUE(QTest::qWaitFor([&] { return form->mystatus()->text() == count; }, 5000)) << n;
        }
        if (play == Play::Answer)
            server.peer->write(answer);
        if (play == Play::Answer || play == Play::Pieces)
            server.peer->disconnectFromHost();
        ASSERT_TRUE(QTest::qWaitFor([&] { return form->command1()->isEnabled(); }, 10000));
        const bool newer = log.startsWith("The version currently installed: 2.55\r\n");
        EXPECT_EQ(form->mystatus()->text(),
                  log.isEmpty() ? QStringLiteral("An error occured. Your Internet connection might be down.")
                                : "Response from " + site + " completed (" + QString::number(answer.size()) +
                                      " bytes received total).");
        EXPECT_EQ(form->mystatus2()->isVisible(), !log.isEmpty() && newer);
        EXPECT_EQ(form->mystatus3()->isVisible(), !log.isEmpty() && !newer);
        EXPECT_EQ(form->tabla()->toPlainText(), QString(log).replace("\r\n", "\n"));
    }
    QPointer<Form60> form;
};

TEST_F(UpdateWindow, ShowsEveryAnswer)
{
    const QStringList names = QDir(QStringLiteral(KELVANE_TEST_DATA "/updates")).entryList({"*.http"});
    ASSERT_GE(names.size(), 19);
    for (QString name : names) {
        name.chop(5);
        SCOPED_TRACE(name.toStdString());
        const QByteArray answer = datafile(name + ".http"), log = datafile(name + ".txt");
        EXPECT_EQ(parsed(answer.toStdString()), log.toStdString()); // its line ends too
        check(Play::Answer, answer, QString::fromLatin1(log));
        if (name == "newer" || name == "same")
            test::saveshot(form, "form60-" + name);
    }
}

TEST_F(UpdateWindow, EndsEveryWay)
{
    const QString newer =
        "The version currently installed: 2.55\r\nThe version of the latest release: 2.56\r\n\r\n" + title;
    check(Play::Pieces, "HTTP/1.1 200 OK\r\n\r\nNews in 2.55", title + "News in 2.55");
    check(Play::Nothing, {}, {});
    test::saveshot(form, "form60-error");
    check(Play::Answer, "HTTP/1.1 200 OK\r\n\r\nNews in 2.56\r\nZa\xc3\xbc",
          newer + QStringLiteral("News in 2.56\r\nZa\u00fc"));
    check(Play::Silent, {}, {});
    check(Play::Answer, QByteArray(updatelimit + 1, 'x'), {});
    // A line of 5000 characters is shown broken after its 4096th.
    check(Play::Answer, "HTTP/1.1 200 OK\r\n\r\nNews in 2.56\r\n" + QByteArray(5000, 'v'),
          newer + "News in 2.56\r\n" + QString(4096, 'v') + "\r\n" + QString(904, 'v'));
}

TEST_F(UpdateWindow, ClosedMidCheckEndsQuietly)
{
    PlayServer server;
    form->command1()->click();
    ASSERT_TRUE(server.waitrequest());
    form->close();
    EXPECT_TRUE(QTest::qWaitFor([&] { return form.isNull(); }, 2000));
    EXPECT_EQ(toolrouter().window(Tool::Form60), nullptr);
    // The server writes to a client that has gone: nothing is left to answer it.
    server.peer->write(datafile("newer.http"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return server.peer->state() == QAbstractSocket::UnconnectedState; }, 2000));
}

} // namespace
} // namespace kelvane
