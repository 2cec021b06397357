// Reads a printed PDF back for tests: the pages as text lines, from the words' positions (pdftotext
// -bbox) of fixed-pitch text as high as its font, every page with a line at the left margin.
#pragma once
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>

#include <cmath>
#include <map>
#include <vector>

namespace kelvane::test {

inline std::vector<QStringList> pdfpages(const QString& pdf)
{
    QProcess tool;
    tool.start(QStringLiteral("pdftotext"), {QStringLiteral("-bbox"), pdf, QStringLiteral("-")});
    tool.waitForFinished(60000);
    const QRegularExpression item(QStringLiteral("<page |<word xMin=\"([\\d.]+)\" yMin=\"([\\d.]+)\" "
                                                 "xMax=\"([\\d.]+)\" yMax=\"([\\d.]+)\">([^<]*)</word>"));
    // Each page's words by row and left edge; the first word gives the pitches of a row and a column.
    std::vector<std::map<long, std::map<double, QString>>> pages;
    double column = 0, row = 0, top = 0, margin = 1e9;
    for (auto it = item.globalMatch(QString::fromUtf8(tool.readAllStandardOutput())); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        if (m.captured(0).startsWith(QStringLiteral("<page"))) {
            pages.emplace_back();
            continue;
        }
        const double x = m.captured(1).toDouble(), y = m.captured(2).toDouble();
        if (column == 0) {
            column = (m.captured(3).toDouble() - x) / m.captured(5).size();
            row = m.captured(4).toDouble() - y;
            top = y;
        }
        margin = std::min(margin, x);
        pages.back()[std::lround((y - top) / row)][x] =
            m.captured(5).replace("&lt;", "<").replace("&gt;", ">").replace("&amp;", "&");
    }
    std::vector<QStringList> out;
    for (const auto& page : pages) {
        QStringList& lines = out.emplace_back();
        for (const auto& [r, words] : page) {
            lines.resize(r + 1);
            for (const auto& [x, word] : words)
                lines[r] = lines[r].leftJustified(std::lround((x - margin) / column), QLatin1Char(' ')) + word;
        }
    }
    return out;
}

} // namespace kelvane::test
