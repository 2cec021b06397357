#include "app/appbus.h"

#include "app/handedfiles.h"
#include "sim/instancelock.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDir>
#include <QElapsedTimer>
#include <QThread>
#include <QVariantList>

#include <cstdio>

namespace kelvane {

bool AppBus::publish()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return false;
    if (!bus.registerObject(QString::fromLatin1(appbuspath), this, QDBusConnection::ExportAllSlots))
        return false;
    if (!bus.registerService(QString::fromLatin1(appbusname))) {
        bus.unregisterObject(QString::fromLatin1(appbuspath));
        return false;
    }
    return true;
}

void AppBus::openfile(const QString& path)
{
    handedfiles().open(handedpath(path, QDir::currentPath())); // a caller may send a "file:" URL
}

void AppBus::raise()
{
    handedfiles().raise();
}

namespace {

enum class Answer { taken, nobody, refused };

Answer callapp(QDBusConnection& bus, const char* method, const QVariantList& arguments, QString& error)
{
    QDBusMessage call = QDBusMessage::createMethodCall(QString::fromLatin1(appbusname), QString::fromLatin1(appbuspath),
                                                       QString::fromLatin1(appbusinterface),
                                                       QString::fromLatin1(method));
    call.setArguments(arguments);
    call.setAutoStartService(false);
    const QDBusMessage reply = bus.call(call, QDBus::Block, 5000);
    if (reply.type() == QDBusMessage::ReplyMessage)
        return Answer::taken;
    const QString name = reply.errorName();
    if (name == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown") ||
        name == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner"))
        return Answer::nobody;
    error = reply.errorMessage();
    return Answer::refused;
}

int tell(const QString& text)
{
    std::fprintf(stderr, "kelvane: %s\n", text.toLocal8Bit().constData());
    return 1;
}

} // namespace

std::optional<int> handtorunning(QStringList& files, int patiencems)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        if (files.isEmpty())
            return 0; // nothing to hand over: the running one stays as it is
        return tell(QStringLiteral("Kelvane is running already, and without a session bus it can't be handed %1.")
                        .arg(files.constFirst()));
    }
    QElapsedTimer waited;
    waited.start();
    for (;;) {
        QString error;
        Answer answer = Answer::taken;
        if (files.isEmpty())
            answer = callapp(bus, "raise", {}, error); // a start without files shows the running one
        while (!files.isEmpty() && (answer = callapp(bus, "openfile", {files.constFirst()}, error)) == Answer::taken)
            files.removeFirst();
        if (answer == Answer::refused)
            return tell(QStringLiteral("the running Kelvane did not take %1: %2")
                            .arg(files.isEmpty() ? QStringLiteral("the call") : files.constFirst(), error));
        if (answer == Answer::taken)
            return 0;
        if (acquireinstancelock())
            return std::nullopt; // the other one has ended: this start runs
        if (waited.elapsed() >= patiencems)
            return tell(QStringLiteral("another Kelvane holds the lock but does not answer on the session bus."));
        QThread::msleep(100);
    }
}

} // namespace kelvane
