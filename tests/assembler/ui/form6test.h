// What the Assembler window tests share: a window over a temporary folder with confirmations as
// boxes (the driver keeps their texts), files in and out of the folder, and a source opened by
// name so that the window has its file.
#pragma once
#include "assembler/ui/form6.h"
#include "shell/messages.h"
#include "shell/sourceeditor.h"
#include "sim/machinestate.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QTemporaryDir>

#include "tests/common/dialogdriver.h"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>

// Texts in the failure messages.
inline void PrintTo(const QString& s, std::ostream* os)
{
    *os << '"' << s.toStdString() << '"';
}

namespace kelvane::test {

struct Form6Test : ::testing::Test {
    void SetUp() override
    {
        MachineState& st = machinestate();
        st.optconfirm = "ON";
        st.running = false;
        st.lastpath = dir.path().toStdString() + "/";
        driver = std::make_unique<DialogDriver>();
        w = new Form6;
        w->show();
    }
    void TearDown() override
    {
        if (w)
            w->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        driver.reset();
    }

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
    void named(const QString& name, const QByteArray& text)
    {
        write(name, text);
        ASSERT_TRUE(w->openpath(path(name)));
    }
    // The message boxes so far (line ends as the box shows them), and the last one.
    size_t boxcount() const { return driver->texts.size(); }
    QString lastbox() const { return driver->texts.empty() ? QString() : driver->texts.back(); }

    QTemporaryDir dir;
    QPointer<Form6> w;
    std::unique_ptr<DialogDriver> driver;
};

} // namespace kelvane::test
