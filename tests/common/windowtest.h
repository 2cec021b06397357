// A window test's surroundings: a temporary folder that is lastpath, confirmations as boxes whose
// texts a DialogDriver keeps, files written and read there, and the answers for the next file
// dialog (choose) and input box (answer).
#pragma once
#include "sim/machinestate.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QLineEdit>
#include <QTemporaryDir>

#include "tests/common/dialogdriver.h"

#include <gtest/gtest.h>

#include <ostream>

// Texts in the failure messages.
inline void PrintTo(const QString& s, std::ostream* os)
{
    *os << '"' << s.toStdString() << '"';
}

namespace kelvane::test {

// Picks the file (and the filter of that index) in the next file dialog. The name is typed too:
// a dialog whose name field has the focus doesn't take it from selectFile.
inline void choose(DialogDriver& d, const QString& file, int filter = -1)
{
    d.on<QFileDialog>([file, filter](QFileDialog* f) {
        if (filter >= 0)
            f->selectNameFilter(f->nameFilters().value(filter));
        f->selectFile(file);
        if (auto* name = f->findChild<QLineEdit*>(QStringLiteral("fileNameEdit")))
            name->setText(QFileInfo(file).fileName());
        static_cast<QDialog*>(f)->accept();
    });
}

// Answers the next input box with `text`; what the box offered goes to *offered.
inline void answer(DialogDriver& d, const QString& text, QString* offered)
{
    d.on<QInputDialog>([text, offered](QInputDialog* box) {
        *offered = box->textValue();
        box->setTextValue(text);
        box->accept();
    });
}

struct WindowTest : ::testing::Test {
    WindowTest()
    {
        machinestate().optconfirm = "ON";
        machinestate().lastpath = (dir.path() + "/").toStdString();
    }
    QString path(const QString& name) const { return dir.filePath(name); }
    QString write(const QString& name, const QByteArray& bytes) const
    {
        QFile f(path(name));
        EXPECT_TRUE(f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size()) << name.toStdString();
        return path(name);
    }
    QByteArray read(const QString& name) const
    {
        QFile f(path(name));
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
    QString lastbox() const { return driver->texts.empty() ? QString() : driver->texts.back(); }
    // Closes the window (it deletes itself) and lets it go.
    static void closewindow(QWidget* w)
    {
        if (w != nullptr)
            w->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    QTemporaryDir dir;
    std::unique_ptr<DialogDriver> driver = std::make_unique<DialogDriver>();
};

} // namespace kelvane::test
