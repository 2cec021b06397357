// Reads a printed PDF back for tests: the pages as text lines, columns and empty lines restored
// from the words' positions (pdftotext -bbox), for fixed-pitch text whose lines are as high as
// the font and whose every page has a line at the left margin. pdfpagecount asks pdfinfo.
#pragma once
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>

#include <cmath>
#include <map>
#include <vector>

namespace kelvane::test {

inline QString runtool(const QString& program, const QStringList& args)
{
    QProcess p;
    p.start(program, args);
    return p.waitForFinished(60000) ? QString::fromUtf8(p.readAllStandardOutput()) : QString();
}

inline int pdfpagecount(const QString& pdf)
{
    const auto m = QRegularExpression(QStringLiteral("Pages:\\s+(\\d+)")).match(runtool(QStringLiteral("pdfinfo"), {pdf}));
    return m.hasMatch() ? m.captured(1).toInt() : -1;
}

inline std::vector<QStringList> pdfpages(const QString& pdf)
{
    const QString html = runtool(QStringLiteral("pdftotext"), {QStringLiteral("-bbox"), pdf, QStringLiteral("-")});
    const QRegularExpression item(QStringLiteral("<page |<word xMin=\"([\\d.]+)\" yMin=\"([\\d.]+)\" "
                                                 "xMax=\"([\\d.]+)\" yMax=\"([\\d.]+)\">([^<]*)</word>"));
    // The first word gives the pitches of a column and a row, and the top row.
    double column = 0, row = 0, margin = 1e9, top = 0;
    std::vector<std::vector<QRegularExpressionMatch>> words;
    for (auto it = item.globalMatch(html); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        if (m.captured(0).startsWith(QStringLiteral("<page")))
            words.emplace_back();
        else if (!words.empty())
            words.back().push_back(m);
    }
    for (const auto& page : words) {
        for (const auto& m : page) {
            margin = std::min(margin, m.captured(1).toDouble());
            if (column == 0) {
                column = (m.captured(3).toDouble() - m.captured(1).toDouble()) / m.captured(5).size();
                row = m.captured(4).toDouble() - m.captured(2).toDouble();
                top = m.captured(2).toDouble();
            }
        }
    }
    std::vector<QStringList> out;
    for (const auto& page : words) {
        std::map<long, std::map<long, QString>> cells;
        for (const auto& m : page)
            cells[std::lround((m.captured(2).toDouble() - top) / row)][std::lround((m.captured(1).toDouble() - margin) / column)] =
                m.captured(5).replace("&lt;", "<").replace("&gt;", ">").replace("&amp;", "&");
        QStringList lines;
        for (const auto& [r, line] : cells) {
            while (lines.size() < r)
                lines << QString();
            QString text;
            for (const auto& [c, word] : line)
                text = text.leftJustified(c, QLatin1Char(' ')) + word;
            lines << text;
        }
        out.push_back(lines);
    }
    return out;
}

} // namespace kelvane::test
