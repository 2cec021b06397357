#include "assembler/ui/externalassembler.h"

#include "progfiles/safewrite.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <csignal>
#include <unistd.h>

namespace kelvane {

namespace {

// Copies a file the child wrote to its place beside the source; false when there is none.
bool takeoutput(const QString& from, const QString& to)
{
    QFile in(from);
    if (!in.open(QIODevice::ReadOnly))
        return false;
    const QByteArray data = in.readAll();
    return writefilesafely(to.toStdString(), std::string_view(data.constData(), static_cast<size_t>(data.size())));
}

} // namespace

int& externaltickms()
{
    static int ms = 200;
    return ms;
}

ExternalRun runexternalassembler(const QString& program, const QString& sourcepath, const QString& objpath,
                                 const QString& lstpath, const std::function<bool()>& abort)
{
    ExternalRun r;
    QTemporaryDir folder;
    if (!folder.isValid())
        return r;
    const QString source = folder.filePath(QStringLiteral("00000000.asm"));
    if (!QFile::copy(sourcepath, source))
        return r;

    QProcess child;
    child.setProgram(program);
    child.setArguments({QStringLiteral("-85"), QStringLiteral("-b"), source});
    child.setWorkingDirectory(folder.path());
    child.setStandardInputFile(QProcess::nullDevice());
    child.setStandardOutputFile(QProcess::nullDevice());
    child.setStandardErrorFile(QProcess::nullDevice());
    // A group of its own, so that what it starts ends with it.
    child.setChildProcessModifier([] { ::setpgid(0, 0); });
    child.start();
    r.started = child.waitForStarted(5000);

    if (r.started) {
        // A fixed wait, not one for the child: what it wrote by the last tick is taken.
        int tasmticks = 0;
        QTimer timer1;
        timer1.setInterval(externaltickms());
        QObject::connect(&timer1, &QTimer::timeout, [&tasmticks] { ++tasmticks; });
        timer1.start();
        while (tasmticks < externalticks && !(abort && abort()))
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        timer1.stop();
    }

    r.gotobj = takeoutput(folder.filePath(QStringLiteral("00000000.obj")), objpath);
    r.gotlst = takeoutput(folder.filePath(QStringLiteral("00000000.lst")), lstpath);

    if (child.state() != QProcess::NotRunning) {
        const qint64 pid = child.processId();
        if (pid > 0)
            ::kill(static_cast<pid_t>(-pid), SIGKILL);
        child.kill();
        child.waitForFinished(2000);
    }
    return r;
}

} // namespace kelvane
