// Reads a printed PDF back for tests: the pages as text lines with the columns and empty lines
// restored from the words' positions (pdftotext -bbox), for text in a fixed-pitch font whose
// every page begins with a "Page" line at the left margin. pdfpagecount asks pdfinfo.
#pragma once
#include <QProcess>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <map>
#include <vector>

namespace kelvane::test {

inline QString runtool(const QString& program, const QStringList& args)
{
    QProcess p;
    p.start(program, args);
    if (!p.waitForFinished(60000))
        return {};
    return QString::fromUtf8(p.readAllStandardOutput());
}

inline int pdfpagecount(const QString& pdf)
{
    const QRegularExpressionMatch m =
        QRegularExpression(QStringLiteral("Pages:\\s+(\\d+)")).match(runtool(QStringLiteral("pdfinfo"), {pdf}));
    return m.hasMatch() ? m.captured(1).toInt() : -1;
}

inline std::vector<QStringList> pdfpages(const QString& pdf)
{
    struct Word {
        double x, y, right, height;
        QString text;
    };
    const QString html = runtool(QStringLiteral("pdftotext"), {QStringLiteral("-bbox"), pdf, QStringLiteral("-")});
    std::vector<std::vector<Word>> pages;
    const QRegularExpression item(QStringLiteral(
        "<page |<word xMin=\"([\\d.]+)\" yMin=\"([\\d.]+)\" xMax=\"([\\d.]+)\" yMax=\"([\\d.]+)\">([^<]*)</word>"));
    for (auto it = item.globalMatch(html); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        if (m.captured(0).startsWith(QStringLiteral("<page"))) {
            pages.emplace_back();
            continue;
        }
        QString text = m.captured(5);
        text.replace("&lt;", "<").replace("&gt;", ">").replace("&quot;", "\"").replace("&apos;", "'").replace("&amp;", "&");
        const double y = m.captured(2).toDouble();
        pages.back().push_back({m.captured(1).toDouble(), y, m.captured(3).toDouble(), m.captured(4).toDouble() - y, text});
    }
    // The pitch of a column from a word's width, of a row from a word's height (the printer's
    // line is as high as the font).
    double margin = 1e9, column = 0, row = 0;
    for (const auto& words : pages) {
        for (const Word& w : words) {
            margin = std::min(margin, w.x);
            if (column == 0 && !w.text.isEmpty()) {
                column = (w.right - w.x) / static_cast<double>(w.text.size());
                row = w.height;
            }
        }
    }
    std::vector<QStringList> out;
    for (const auto& words : pages) {
        std::map<int, std::vector<const Word*>> lines;
        const double top = words.empty() ? 0 : std::min_element(words.begin(), words.end(), [](auto& a, auto& b) {
                                                   return a.y < b.y;
                                               })->y;
        for (const Word& w : words)
            lines[static_cast<int>(std::lround((w.y - top) / row))].push_back(&w);
        QStringList page;
        for (auto& [index, ws] : lines) {
            while (page.size() < index)
                page.push_back(QString());
            std::sort(ws.begin(), ws.end(), [](const Word* a, const Word* b) { return a->x < b->x; });
            QString line;
            for (const Word* w : ws) {
                const auto col = static_cast<qsizetype>(std::lround((w->x - margin) / column));
                if (line.size() < col)
                    line += QString(col - line.size(), QLatin1Char(' '));
                line += w->text;
            }
            page.push_back(line);
        }
        out.push_back(page);
    }
    return out;
}

} // namespace kelvane::test
