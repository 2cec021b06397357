// The rows of a data file under tests/data for table-driven tests: a row a line, its fields
// divided by "|" and trimmed; blank lines and lines that begin with "#" are left out.
#pragma once
#include <QFile>
#include <QStringList>

#include <gtest/gtest.h>

#include <vector>

namespace kelvane::test {

inline std::vector<QStringList> datatable(const QString& name)
{
    std::vector<QStringList> rows;
    QFile file(QStringLiteral(KELVANE_TEST_DATA "/") + name);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        ADD_FAILURE() << "cannot read " << name.toStdString();
        return rows;
    }
    for (const QString& line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))) {
        if (line.trimmed().isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        QStringList fields = line.split(QLatin1Char('|'));
        for (QString& f : fields)
            f = f.trimmed();
        rows.push_back(fields);
    }
    return rows;
}

} // namespace kelvane::test
