#include "shell/ui/form60.h"

#include "shell/messages.h"
#include "shell/theme.h"
#include "shell/ui/versionlog.h"
#include "shell/website.h"
#include "sim/settings.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QStringDecoder>
#include <QTcpSocket>
#include <QTimer>
#include <QVBoxLayout>

namespace kelvane {

namespace {

// Without a byte for this long (or without a connection) the check ends as an error; the
// environment's KELVANE_UPDATE_TIMEOUT_MS shortens it.
constexpr int defaulttimeout = 15000;

int timeoutms()
{
    bool ok = false;
    const int ms = qEnvironmentVariableIntValue("KELVANE_UPDATE_TIMEOUT_MS", &ok);
    return ok && ms > 0 ? ms : defaulttimeout;
}

QString sitename()
{
    return QString::fromLatin1(websitename);
}

// The program's display name, "Kelvane".
QString productname()
{
    return titletext().trimmed();
}

// UTF-8, or Latin-1 where the bytes are not UTF-8.
QString decodetext(const std::string& bytes)
{
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8.decode(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
    if (utf8.hasError())
        text = QString::fromLatin1(bytes.data(), static_cast<qsizetype>(bytes.size()));
    return text;
}

// The log as the text box takes it quickly whatever its size: the box lays out a paragraph at a
// time, and a paragraph of millions of characters or millions of short paragraphs would hold the
// window for seconds. So lines go to the box in paragraphs of at most 64 lines or 4096
// characters, joined inside a paragraph by line separators; and a line longer than 4096
// characters is shown broken at every 4096th. The box reads each line end as it would read the
// plain text's (CR LF, CR, LF and the line and paragraph separators each end a line).
QString shownlog(const QString& text)
{
    constexpr qsizetype longestline = 4096;
    constexpr int paragraphlines = 64;
    QString out;
    out.reserve(text.size() + text.size() / 64);
    int lines = 0;          // lines in the current paragraph
    qsizetype paragraph = 0; // where it starts in `out`
    qsizetype linestart = 0; // where the current line starts in `out`
    auto endline = [&] {
        ++lines;
        if (lines >= paragraphlines || out.size() - paragraph >= longestline) {
            out += QLatin1Char('\n');
            paragraph = out.size();
            lines = 0;
        } else {
            out += QChar(QChar::LineSeparator);
        }
        linestart = out.size();
    };
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == QLatin1Char('\r') || c == QLatin1Char('\n') || c == QChar::LineSeparator ||
            c == QChar::ParagraphSeparator) {
            if (c == QLatin1Char('\r') && i + 1 < text.size() && text[i + 1] == QLatin1Char('\n'))
                ++i;
            endline();
            continue;
        }
        if (out.size() - linestart >= longestline && !c.isLowSurrogate())
            endline();
        out += c;
    }
    return out;
}

} // namespace

UpdateTarget updatetarget(const QString& setting)
{
    UpdateTarget t;
    t.hostline = setting.isEmpty() ? sitename() : setting;
    t.host = t.hostline;
    QString port;
    if (t.hostline.startsWith(QLatin1Char('['))) { // [v6 address] or [v6 address]:port
        const qsizetype close = t.hostline.indexOf(QLatin1Char(']'));
        if (close > 0) {
            t.host = t.hostline.mid(1, close - 1);
            if (t.hostline.mid(close + 1).startsWith(QLatin1Char(':')))
                port = t.hostline.mid(close + 2);
        }
    } else if (t.hostline.count(QLatin1Char(':')) == 1) {
        const qsizetype colon = t.hostline.indexOf(QLatin1Char(':'));
        t.host = t.hostline.left(colon);
        port = t.hostline.mid(colon + 1);
    }
    bool ok = false;
    const uint16_t number = port.toUShort(&ok);
    if (ok && number > 0)
        t.port = number;
    return t;
}

UpdateTarget updatetarget()
{
    return updatetarget(qEnvironmentVariable("KELVANE_UPDATE_HOST"));
}

Form60::Form60()
{
    setObjectName(QStringLiteral("Form60"));
    setWindowTitle(QStringLiteral("Check For Updates"));
    setAttribute(Qt::WA_DeleteOnClose);
    build();
    deadline_ = new QTimer(this);
    deadline_->setSingleShot(true);
    connect(deadline_, &QTimer::timeout, this, [this] {
        // The limit counts from the last event; bytes that came meanwhile move it on.
        const qint64 left = timeout_ - sincelast_.elapsed();
        if (left > 0)
            deadline_->start(static_cast<int>(left));
        else
            Winsock1_Error();
    });
    statustimer_ = new QTimer(this);
    statustimer_->setSingleShot(true);
    connect(statustimer_, &QTimer::timeout, this, &Form60::paintreceiving);

    mystatus2_->hide();
    mystatus3_->hide();
    tabla_->clear();
    toolrouter().opened(Tool::Form60, this, this); // which gives the window the theme
}

Form60::~Form60()
{
    if (toolrouter().window(Tool::Form60) == this)
        toolrouter().closed(Tool::Form60);
}

void Form60::build()
{
    tabla_ = new QPlainTextEdit(this);
    tabla_->setObjectName(QStringLiteral("tabla"));
    tabla_->setReadOnly(true);
    tabla_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    mystatus_ = new QLabel(this);
    mystatus_->setObjectName(QStringLiteral("mystatus"));
    mystatus_->setFrameStyle(QFrame::Panel | QFrame::Sunken);
    mystatus_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    mystatus_->setMargin(3);
    mystatus2_ = new QLabel(QStringLiteral("There is a new release available for download!"), this);
    mystatus2_->setObjectName(QStringLiteral("mystatus2"));
    mystatus3_ = new QLabel(QStringLiteral("There are no new releases of the software"), this);
    mystatus3_->setObjectName(QStringLiteral("mystatus3"));
    for (QLabel* verdict : {mystatus2_, mystatus3_}) {
        QFont bold = verdict->font();
        bold.setBold(true);
        verdict->setFont(bold);
    }
    command1_ = new QPushButton(QStringLiteral("Go Online!"), this);
    command1_->setObjectName(QStringLiteral("Command1"));
    connect(command1_, &QPushButton::clicked, this, &Form60::Command1_Click);

    auto* bottom = new QHBoxLayout;
    bottom->addWidget(mystatus2_);
    bottom->addWidget(mystatus3_);
    bottom->addStretch(1);
    bottom->addWidget(command1_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(10, 10, 10, 10);
    layout->setSpacing(8);
    layout->addWidget(tabla_, 1);
    layout->addWidget(mystatus_);
    layout->addLayout(bottom);

    const QFontMetrics fm(font());
    resize(fm.averageCharWidth() * 84, fm.lineSpacing() * 26);
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        const QRect area = screen->availableGeometry();
        move(area.x() + (area.width() - width()) / 2, area.y() + (area.height() - height()) / 2);
    }
}

void Form60::settheme()
{
    themewindow(this);
    setpair(tabla_, theme().frameback, theme().frametext);
    setpair(mystatus_, theme().valueback, theme().valuetext);
}

void Form60::Command1_Click()
{
    command1_->setEnabled(false);
    mystatus2_->hide();
    mystatus3_->hide();
    tabla_->clear();
    state_ = 1;
    startcheck();
}

void Form60::startcheck()
{
    showstatus(QStringLiteral("Connecting to ") + sitename() + QStringLiteral("..."));
    target_ = updatetarget();
    path_ = QStringLiteral("/") + productname().section(QLatin1Char(' '), 0, 0).toLower() + QStringLiteral("log.html");
    response_.clear();
    bytes_ = 0;
    dropsocket();
    winsock1_ = new QTcpSocket(this);
    connect(winsock1_, &QTcpSocket::connected, this, &Form60::Winsock1_Connect);
    connect(winsock1_, &QTcpSocket::readyRead, this, [this] { Winsock1_DataArrival(winsock1_->readAll()); });
    // The site's close comes as RemoteHostClosedError and then disconnected: that is the close.
    connect(winsock1_, &QTcpSocket::disconnected, this, &Form60::Winsock1_Close);
    connect(winsock1_, &QTcpSocket::errorOccurred, this, [this](QAbstractSocket::SocketError error) {
        if (error != QAbstractSocket::RemoteHostClosedError)
            Winsock1_Error();
    });
    timeout_ = timeoutms();
    watch();
    winsock1_->connectToHost(target_.host, target_.port);
}

void Form60::Winsock1_Connect()
{
    showstatus(QStringLiteral("Sending request to ") + sitename() + QStringLiteral("..."));
    const QString request = QStringLiteral("GET ") + path_ + QStringLiteral(" HTTP/1.1\r\n") + QStringLiteral("Host: ") +
                            target_.hostline + QStringLiteral("\r\nAccept: */*\r\nConnection: close\r\n\r\n");
    if (winsock1_)
        winsock1_->write(request.toUtf8());
    connected_ = true;
    watch();
}

void Form60::Winsock1_DataArrival(const QByteArray& data)
{
    if (data.isEmpty())
        return;
    response_.append(data);
    bytes_ += data.size();
    if (bytes_ > updatelimit) {
        Winsock1_Error();
        return;
    }
    sincelast_.start();
    showreceiving();
}

void Form60::Winsock1_Close()
{
    // Bytes still unread when the site closed are the last DataArrival.
    if (winsock1_ && winsock1_->bytesAvailable() > 0) {
        Winsock1_DataArrival(winsock1_->readAll());
        if (!winsock1_)
            return; // that was an error
    }
    dropsocket();
    if (!connected_)
        return;
    connected_ = false;
    showstatus(QStringLiteral("Response from ") + sitename() + QStringLiteral(" completed (") + QString::number(bytes_) +
               QStringLiteral(" bytes received total)."));
    if (state_ != 1)
        return;
    const std::string body = responsebody(std::string_view(response_.constData(), response_.size()));
    const VersionLog log = parseversionlog(body, productname().toStdString(), versiontext);
    (log.newer ? mystatus2_ : mystatus3_)->show();
    tabla_->setPlainText(shownlog(decodetext(log.text)));
    command1_->setEnabled(true);
}

void Form60::Winsock1_Error()
{
    dropsocket();
    command1_->setEnabled(true);
    mystatus2_->hide();
    mystatus3_->hide();
    tabla_->clear();
    showstatus(QStringLiteral("An error occured. Your Internet connection might be down."));
}

void Form60::closeEvent(QCloseEvent* event)
{
    dropsocket();
    statustimer_->stop();
    toolrouter().closed(Tool::Form60);
    event->accept();
}

// Closes the client without running any handler: a close made by the program is no event.
void Form60::dropsocket()
{
    deadline_->stop();
    if (!winsock1_)
        return;
    winsock1_->disconnect(this);
    winsock1_->abort();
    winsock1_->deleteLater();
    winsock1_ = nullptr;
}

void Form60::watch()
{
    sincelast_.start();
    deadline_->start(timeout_);
}

void Form60::showstatus(const QString& text)
{
    statustimer_->stop();
    mystatus_->setText(text);
    statusshown_.start();
}

// The count moves with every piece; the line shows it at most every statusinterval ms.
void Form60::showreceiving()
{
    if (statustimer_->isActive())
        return;
    const qint64 since = statusshown_.isValid() ? statusshown_.elapsed() : statusinterval;
    if (since >= statusinterval)
        paintreceiving();
    else
        statustimer_->start(static_cast<int>(statusinterval - since));
}

void Form60::paintreceiving()
{
    showstatus(QStringLiteral("Receiving response from ") + sitename() + QStringLiteral(" (") + QString::number(bytes_) +
               QStringLiteral(" bytes received)."));
}

} // namespace kelvane
