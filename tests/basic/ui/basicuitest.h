// What the BASIC window tests share: a Form12 over a temporary folder with confirmations as boxes
// (the driver keeps their texts), files in and out of the folder, and keys typed into the editor.
#pragma once
#include "basic/ui/form12.h"
#include "shell/sourceeditor.h"
#include "sim/machinestate.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QTemporaryDir>
#include <QTest>

#include "tests/common/dialoganswers.h"
#include "tests/common/dialogdriver.h"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>

inline void PrintTo(const QString& s, std::ostream* os)
{
    *os << '"' << s.toStdString() << '"';
}

namespace kelvane::test {

// Types the text key by key, "\n" as Enter, as a user would.
inline void type(QWidget* editor, const QString& text)
{
    for (const QChar c : text) {
        if (c == QLatin1Char('\n'))
            QTest::keyClick(editor, Qt::Key_Return);
        else
            QTest::keyClicks(editor, QString(c));
    }
}

struct Form12Test : ::testing::Test {
    void SetUp() override
    {
        MachineState& st = machinestate();
        st.optconfirm = "ON";
        st.optsavepositions = "ON";
        st.lastpath = (dir.path() + "/").toStdString();
        driver = std::make_unique<DialogDriver>();
        w = new Form12;
        w->show();
    }
    void TearDown() override
    {
        if (w)
            w->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        driver.reset();
    }

    SourceEditor* editor() const { return w->edittextboxpro1(); }
    QString text() const { return QString::fromStdString(editor()->textbytes()); }
    QString path(const QString& name) const { return dir.filePath(name); }
    bool exists(const QString& name) const { return QFileInfo::exists(path(name)); }
    void write(const QString& name, const QByteArray& bytes) const
    {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile f(path(name));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(bytes);
    }
    QByteArray read(const QString& name) const
    {
        QFile f(path(name));
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
    // The window with a file of this name and text, as Open leaves it.
    void named(const QString& name, const QByteArray& bytes)
    {
        write(name, bytes);
        ASSERT_TRUE(w->openpath(path(name)));
    }
    QString lastbox() const { return driver->texts.empty() ? QString() : driver->texts.back(); }

    QTemporaryDir dir;
    QPointer<Form12> w;
    std::unique_ptr<DialogDriver> driver;
};

} // namespace kelvane::test
