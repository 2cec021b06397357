// The package's file types in a MIME database of the system's types and ours: each kind of file
// Kelvane opens gets its type by name or content, other ".log" files keep theirs, and the desktop
// entry and the metainfo name exactly the types defined.
#include <QDir>
#include <QFile>
#include <QMimeDatabase>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

const QString packaging = QStringLiteral(KELVANE_PACKAGING "/");

// Every first group of a pattern in a file.
QSet<QString> captured(const QString& file, const char* pattern)
{
    QFile f(packaging + file);
    EXPECT_TRUE(f.open(QIODevice::ReadOnly)) << file.toStdString();
    QSet<QString> found;
    for (auto it = QRegularExpression(QLatin1String(pattern)).globalMatch(QString::fromUtf8(f.readAll())); it.hasNext();)
        for (const QString& s : it.next().captured(1).split(QLatin1Char(';'), Qt::SkipEmptyParts))
            found.insert(s);
    return found;
}

TEST(MimeTypes, EachFileGetsItsTypeAndTheEntriesNameThem)
{
    const QString system = QStringLiteral("/usr/share/mime/packages/freedesktop.org.xml");
    if (!QFile::exists(system) || QStandardPaths::findExecutable(QStringLiteral("update-mime-database")).isEmpty())
        GTEST_SKIP() << "shared-mime-info is not installed";
    QTemporaryDir dir;
    QDir().mkpath(dir.filePath(QStringLiteral("mime/packages")));
    QFile::copy(system, dir.filePath(QStringLiteral("mime/packages/freedesktop.org.xml")));
    QFile::copy(packaging + QStringLiteral("kelvane-mime.xml"), dir.filePath(QStringLiteral("mime/packages/kelvane.xml")));
    ASSERT_EQ(QProcess::execute(QStringLiteral("update-mime-database"), {dir.filePath(QStringLiteral("mime"))}), 0);
    qputenv("XDG_DATA_DIRS", dir.path().toUtf8()); // read at the database's first use
    qputenv("XDG_DATA_HOME", dir.filePath(QStringLiteral("none")).toUtf8());

    const QByteArray row = "1      0000  MVI A,05H       05 00000000  00 00 00 00 00 00 FFFF";
    const std::tuple<const char*, QByteArray, const char*> cases[] = {
        {"prog.hex", ":00000001FF\r\n", "application/x-ihex"},
        {"PROG.HEX", ":00000001FF\r\n", "application/x-ihex"},
        {"tour.asm", "\tHLT\r\n", "text/x-8085-asm"},
        {"sum.bas", "A = 5\r\n", "text/x-kelvane-basic"},
        {"tour.lst", "0001   0000 76          \tHLT\r\n", "text/x-8085-listing"},
        {"run.log", row + "\r\n" + row + "\r\n", "text/x-kelvane-log"},
        {"unix.log", row + "\n" + row + "\n", "text/x-kelvane-log"},
        {"syslog.log", "Nov 23 12:00:01 host kernel: eth0: link up, 1000 Mbps, full duplex, flow control\n",
         "text/x-log"},
        {"short.log", "started\r\n", "text/x-log"},
    };
    const QMimeDatabase db;
    for (const auto& [name, content, type] : cases) {
        QFile f(dir.filePath(QLatin1String(name)));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly) && f.write(content) == content.size());
        f.close();
        EXPECT_EQ(db.mimeTypeForFile(f.fileName()).name().toStdString(), type) << name;
    }

    const QSet<QString> defined = captured(QStringLiteral("kelvane-mime.xml"), "<mime-type type=\"([^\"]+)\"");
    EXPECT_EQ(defined.size(), 5);
    EXPECT_EQ(captured(QStringLiteral("org.example.kelvane.desktop"), "(?m)^MimeType=(.*)$"), defined);
    EXPECT_EQ(captured(QStringLiteral("org.example.kelvane.metainfo.xml.in"), "<mediatype>([^<]+)</mediatype>"), defined);
    for (const QString& type : defined)
        EXPECT_TRUE(db.mimeTypeForName(type).isValid()) << type.toStdString();
}

} // namespace
