// Check For Updates with a large answer: a version log page of MEGABYTES, as a server on loopback
// would send it. `pieces` hands the window's DataArrival one byte at a time, letting events through
// after each as the socket would; `socket` sends the page from a thread over loopback in pieces of
// PIECE bytes. Prints how often the status line repainted and its longest pause while the answer
// came, its final text, and how long the end (header cut, parse, the log shown) took.
// usage: kelvane_bench_updates pieces|socket [MEGABYTES] [PIECE] [log|lines|line]
#include "bench/gui/measure.h"
#include "shell/ui/form60.h"
#include "shell/ui/versionlog.h"
#include "shell/website.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <thread>

using namespace kelvane;

namespace {

// The answer: headers, then log entries with tags, "&nbsp;", runs of blanks and of line ends;
// or ("lines") one-character lines; or ("line") one line without a blank.
QByteArray logpage(qsizetype size, const std::string& kind)
{
    QByteArray page = "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nConnection: close\r\n\r\n<html><body>\r\n";
    if (kind == "lines" || kind == "line") {
        page += "News in 2.56\r\n";
        page += QByteArray(kind == "lines" ? "a\r\n" : "x").repeated((size - page.size()) / (kind == "lines" ? 3 : 1) + 1);
    }
    for (int n = 0; page.size() < size; ++n)
        page += "<p><b>News in 2." + QByteArray::number(99 - n % 50) + "</b>   </p>\r\n<ul>\r\n   <li>Fixed&nbsp;the   fault number " +
                QByteArray::number(n) + " in the   assembler.</li>  \r\n</ul>\r\n\r\n\r\n";
    page.resize(size);
    return page;
}

// The paint times of the status line.
class PaintClock : public QObject {
public:
    explicit PaintClock(const QElapsedTimer& clock) : clock_(clock) {}
    long long paints = 0;
    qint64 last = -1, longest = 0;
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint) {
            const qint64 now = clock_.elapsed();
            if (last >= 0)
                longest = std::max(longest, now - last);
            last = now;
            ++paints;
        }
        return QObject::eventFilter(watched, event);
    }

private:
    const QElapsedTimer& clock_;
};

// Sends `page` to the first client of a listening socket in pieces of `piece` bytes, then closes.
void sendpage(int listener, const QByteArray& page, qsizetype piece)
{
    const int client = accept(listener, nullptr, nullptr);
    if (client < 0)
        return;
    const int one = 1;
    setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    char request[4096];
    std::string got;
    while (got.find("\r\n\r\n") == std::string::npos) {
        const ssize_t n = recv(client, request, sizeof request, 0);
        if (n <= 0)
            break;
        got.append(request, static_cast<size_t>(n));
    }
    for (qsizetype at = 0; at < page.size(); at += piece)
        if (send(client, page.constData() + at, static_cast<size_t>(std::min(piece, page.size() - at)), MSG_NOSIGNAL) < 0)
            break;
    close(client);
}

} // namespace

int main(int argc, char** argv)
{
    if (qgetenv("QT_QPA_PLATFORM").isEmpty())
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const std::string mode = argc > 1 ? argv[1] : "pieces";
    const double megabytes = argc > 2 ? std::atof(argv[2]) : 5.0;
    const qsizetype piece = argc > 3 ? std::max(1, std::atoi(argv[3])) : 1;
    const QByteArray page = logpage(static_cast<qsizetype>(megabytes * 1024 * 1024), argc > 4 ? argv[4] : "log");

    // Either a server of Qt's that only takes the request (pieces) or the sending thread (socket).
    QTcpServer holder;
    int listener = -1;
    std::thread sender;
    quint16 port = 0;
    if (mode == "socket") {
        listener = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in at{};
        at.sin_family = AF_INET;
        at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof at;
        if (bind(listener, reinterpret_cast<sockaddr*>(&at), length) != 0 || listen(listener, 1) != 0 ||
            getsockname(listener, reinterpret_cast<sockaddr*>(&at), &length) != 0)
            return 1;
        port = ntohs(at.sin_port);
        sender = std::thread(sendpage, listener, page, piece);
    } else {
        holder.listen(QHostAddress::LocalHost, 0);
        port = holder.serverPort();
    }
    qputenv("KELVANE_UPDATE_HOST", "127.0.0.1:" + QByteArray::number(port));

    auto* form = new Form60;
    form->show();
    QTest::qWait(100);
    QElapsedTimer clock;
    PaintClock status(clock);
    form->mystatus()->installEventFilter(&status);
    clock.start();
    const double cpu0 = bench::processorseconds();
    form->Command1_Click();

    qint64 received = 0, ended = 0;
    if (mode == "socket") {
        if (!QTest::qWaitFor([&] { return form->command1()->isEnabled(); }, 600000))
            std::printf("the check did not end\n");
        ended = clock.elapsed();
        received = ended;
    } else {
        if (!QTest::qWaitFor([&] { return holder.hasPendingConnections(); }, 5000))
            return 1;
        QTest::qWait(50); // the request goes out
        for (qsizetype i = 0; i < page.size(); ++i) {
            form->Winsock1_DataArrival(page.mid(i, 1));
            QCoreApplication::processEvents();
        }
        received = clock.elapsed();
        QElapsedTimer end;
        end.start();
        form->Winsock1_Close();
        ended = received + end.elapsed();
    }
    const double cpu = bench::processorseconds() - cpu0;
    const long long paintsduring = status.paints;
    const qint64 longest = status.longest;
    QTest::qWait(100);

    const QString expected = QStringLiteral("Response from ") + QString::fromLatin1(websitename) + " completed (" +
                             QString::number(page.size()) + " bytes received total).";
    std::printf("%s: %.2f MiB in pieces of %lld byte(s): received in %lld ms (%.2f s of processor time)\n", mode.c_str(),
                double(page.size()) / 1048576.0, static_cast<long long>(piece), static_cast<long long>(received), cpu);
    std::printf("status line: %lld repaints while receiving, longest pause between two %lld ms; final text %s\n",
                paintsduring, static_cast<long long>(longest), form->mystatus()->text() == expected ? "exact" : "WRONG");
    if (mode != "socket")
        std::printf("end of the answer (header cut, parse, log shown): %lld ms\n",
                    static_cast<long long>(ended - received));

    QElapsedTimer parse;
    parse.start();
    const VersionLog log = parseversionlog(responsebody(std::string_view(page.constData(), page.size())), "Kelvane", "2.55");
    std::printf("header cut and parse alone: %lld ms (%zu bytes of log, latest %s); log box holds %d paragraphs\n",
                static_cast<long long>(parse.elapsed()), log.text.size(), log.latest.c_str(),
                form->tabla()->blockCount());
    form->close();
    if (sender.joinable())
        sender.join();
    if (listener >= 0)
        close(listener);
    return 0;
}
