// Check For Updates: the answers of tests/data/updates (NAME.http, with the log text NAME.txt) played
// to the window by a loopback server of the test that records the request; the other endings.
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
#include "tests/common/tempfolder.h"
#include "tests/common/windowtest.h"

namespace kelvane {
namespace {

const QString site = QString::fromLatin1(websitename);
const QString title = QStringLiteral("Kelvane Version Log File\r\n\r\n");

QByteArray datafile(const QString& name)
{
    return QByteArray::fromStdString(test::slurp(KELVANE_TEST_DATA "/updates/" + name.toStdString()));
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
    // The setting gives the host, the port and the Host line.
    const std::pair<QString, QString> cases[] = {
        {"", site + " 80 " + site}, {"127.0.0.1:8123", "127.0.0.1 8123 127.0.0.1:8123"}, {"::1", "::1 80 ::1"},
        {"[::1]:8123", "::1 8123 [::1]:8123"}, {"host:notaport", "host 80 host:notaport"}};
    for (const auto& [setting, expected] : cases) {
        const UpdateTarget t = updatetarget(setting);
        EXPECT_EQ(t.host + " " + QString::number(t.port) + " " + t.hostline, expected);
    }
}

enum class Play { Answer, Pieces, Nothing, Silent };

// The window, and a server on loopback at a port the system picks that records each request.
class UpdateWindow : public ::testing::Test {
protected:
    void SetUp() override
    {
        qputenv("KELVANE_UPDATE_TIMEOUT_MS", "1000");
        ASSERT_TRUE(server.listen(QHostAddress::LocalHost, 0));
        QObject::connect(&server, &QTcpServer::newConnection, [this] {
            peer = server.nextPendingConnection();
            QObject::connect(peer, &QTcpSocket::readyRead, [this] { request += peer->readAll(); });
        });
        hostline = "127.0.0.1:" + QByteArray::number(server.serverPort());
        (form = new Form60)->show();
    }
    void TearDown() override { delete form.data(); }
    bool waitrequest()
    {
        return QTest::qWaitFor([this] { return request.endsWith("\r\n\r\n"); }, 5000) &&
               request == "GET /kelvanelog.html HTTP/1.1\r\nHost: " + hostline +
                              "\r\nAccept: */*\r\nConnection: close\r\n\r\n";
    }
    // "Go Online!" against a server that plays `answer`; `log` empty means the error.
    void check(Play play, const QByteArray& answer, const QString& log)
    {
        qputenv("KELVANE_UPDATE_HOST", play == Play::Nothing ? "127.0.0.1:9" : hostline); // where nothing listens
        request.clear();
        form->command1()->click();
        EXPECT_FALSE(form->command1()->isEnabled() || form->mystatus2()->isVisible() || form->mystatus3()->isVisible());
        EXPECT_TRUE(form->tabla()->toPlainText().isEmpty());
        EXPECT_EQ(form->mystatus()->text(), "Connecting to " + site + "...");
        if (play != Play::Nothing) {
            ASSERT_TRUE(waitrequest());
            EXPECT_EQ(form->mystatus()->text(), "Sending request to " + site + "...");
        }
        for (qsizetype n = 1; play == Play::Pieces && n <= answer.size(); ++n) {
            peer->write(answer.mid(n - 1, 1));
            const QString count = "Receiving response from " + site + " (" + QString::number(n) + " bytes received).";
            EXPECT_TRUE(QTest::qWaitFor([&] { return form->mystatus()->text() == count; }, 5000)) << n;
        }
        if (play == Play::Answer)
            peer->write(answer);
        if (play == Play::Answer || play == Play::Pieces)
            peer->disconnectFromHost();
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
    QTcpServer server;
    QPointer<QTcpSocket> peer;
    QByteArray request, hostline;
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

TEST_F(UpdateWindow, EndsEveryWayAndClosedMidCheckGoesQuietly)
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
    // Closed in the middle of a check, it goes quietly.
    form->command1()->click();
    ASSERT_TRUE(waitrequest());
    form->close();
    EXPECT_TRUE(QTest::qWaitFor([&] { return form.isNull(); }, 2000));
    EXPECT_EQ(toolrouter().window(Tool::Form60), nullptr);
    // The server writes to a client that has gone: nothing is left to answer it.
    peer->write(datafile("newer.http"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return peer->state() == QAbstractSocket::UnconnectedState; }, 2000));
}

} // namespace
} // namespace kelvane
