// The package's file types against a MIME database made of the system's types and ours: each
// kind of file Kelvane opens gets its type by name or by content, other ".log" files keep theirs,
// and the desktop entry and the metainfo name exactly the types the package defines.
#include <QDir>
#include <QFile>
#include <QMimeDatabase>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace {

const QString packaging = QStringLiteral(KELVANE_PACKAGING);

QByteArray readfile(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// Every match of a pattern's first group in a text.
QSet<QString> captured(const QString& text, const QString& pattern)
{
    QSet<QString> found;
    auto it = QRegularExpression(pattern).globalMatch(text);
    while (it.hasNext())
        found.insert(it.next().captured(1));
    return found;
}

class MimeTypes : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        const QString system = QStringLiteral("/usr/share/mime/packages/freedesktop.org.xml");
        if (!QFile::exists(system) || QStandardPaths::findExecutable(QStringLiteral("update-mime-database")).isEmpty()) {
            skipreason = "shared-mime-info is not installed";
            return;
        }
        folder = std::make_unique<QTemporaryDir>();
        const QString mime = folder->filePath(QStringLiteral("mime"));
        QDir().mkpath(mime + QStringLiteral("/packages"));
        QFile::copy(system, mime + QStringLiteral("/packages/freedesktop.org.xml"));
        QFile::copy(packaging + QStringLiteral("/kelvane-mime.xml"), mime + QStringLiteral("/packages/kelvane.xml"));
        ASSERT_EQ(QProcess::execute(QStringLiteral("update-mime-database"), {mime}), 0);
        // Read before any use of the database in this program.
        qputenv("XDG_DATA_DIRS", folder->path().toUtf8());
        qputenv("XDG_DATA_HOME", folder->filePath(QStringLiteral("none")).toUtf8());
    }
    void SetUp() override
    {
        if (!skipreason.empty())
            GTEST_SKIP() << skipreason;
    }
    static inline std::unique_ptr<QTemporaryDir> folder;
    static inline std::string skipreason;
};

const QByteArray row1 = "1      0000  MVI A,05H       05 00000000  00 00 00 00 00 00 FFFF";
const QByteArray row2 = "2      0002  HLT             05 00000000  00 00 00 00 00 00 FFFF";

struct TypeCase {
    const char* name;
    QByteArray content;
    const char* type;
};

TEST_F(MimeTypes, EachFileGetsItsTypeByNameOrContent)
{
    const TypeCase cases[] = {
        {"prog.hex", ":020000003E05BB\r\n:00000001FF\r\n", "application/x-ihex"},
        {"PROG.HEX", ":00000001FF\r\n", "application/x-ihex"},
        {"tour.asm", "\tMVI A,05H\r\n\tHLT\r\n", "text/x-8085-asm"},
        {"sum.bas", "A = 5\r\n", "text/x-kelvane-basic"},
        {"tour.lst", "0001   0000 3E 05       \tMVI A,05H\r\n", "text/x-8085-listing"},
        // A saved simulation log, with either line end.
        {"run.log", row1 + "\r\n" + row2 + "\r\n", "text/x-kelvane-log"},
        {"unix.log", row1 + "\n" + row2 + "\n", "text/x-kelvane-log"},
        // Other programs' logs stay theirs.
        {"syslog.log", "Nov 23 12:00:01 host kernel: eth0: link up, 1000 Mbps, full duplex, flow control\n",
         "text/x-log"},
        {"short.log", "started\r\n", "text/x-log"},
    };
    QTemporaryDir files;
    const QMimeDatabase db;
    for (const TypeCase& c : cases) {
        QFile f(files.filePath(QString::fromLatin1(c.name)));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly) && f.write(c.content) == c.content.size());
        f.close();
        EXPECT_EQ(db.mimeTypeForFile(f.fileName()).name().toStdString(), c.type) << c.name;
    }
}

TEST_F(MimeTypes, DesktopEntryAndMetainfoNameTheTypesDefined)
{
    const QString xml = QString::fromUtf8(readfile(packaging + QStringLiteral("/kelvane-mime.xml")));
    const QSet<QString> defined = captured(xml, QStringLiteral("<mime-type type=\"([^\"]+)\""));
    ASSERT_EQ(defined.size(), 5);
    const QString desktop = QString::fromUtf8(readfile(packaging + QStringLiteral("/org.example.kelvane.desktop")));
    const QString line = captured(desktop, QStringLiteral("(?m)^MimeType=(.*)$")).values().value(0);
    const QStringList listed = line.split(QLatin1Char(';'), Qt::SkipEmptyParts);
    EXPECT_EQ(QSet<QString>(listed.begin(), listed.end()), defined);
    const QString metainfo =
        QString::fromUtf8(readfile(packaging + QStringLiteral("/org.example.kelvane.metainfo.xml.in")));
    EXPECT_EQ(captured(metainfo, QStringLiteral("<mediatype>([^<]+)</mediatype>")), defined);
    const QMimeDatabase db;
    for (const QString& type : defined)
        EXPECT_TRUE(db.mimeTypeForName(type).isValid()) << type.toStdString();
}

} // namespace
