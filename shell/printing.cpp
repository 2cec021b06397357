#include "shell/printing.h"

#include "shell/messages.h"
#include "shell/sourceeditorsettings.h"

#include <QElapsedTimer>
#include <QFontMetricsF>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>

#include <cmath>

namespace kelvane {

namespace {

PrintDialog& dialoghook()
{
    static PrintDialog hook;
    return hook;
}

bool qtprintdialog(QWidget* parent, QPrinter& printer)
{
    QPrintDialog dialog(&printer, parent);
    return dialog.exec() == QDialog::Accepted;
}

// Tab stops every eight columns: the first tab at column p (from 1) becomes 9 - r blanks, r being
// p modulo 8, or 8 when p is a multiple of 8; until no tab is left.
QString expandtabs(QString line)
{
    for (qsizetype tab = line.indexOf(QLatin1Char('\t')); tab >= 0; tab = line.indexOf(QLatin1Char('\t'), tab)) {
        int r = static_cast<int>((tab + 1) % 8);
        if (r == 0)
            r = 8;
        line.replace(tab, 1, QString(9 - r, QLatin1Char(' ')));
    }
    return line;
}

// The page in millimetres of the printable area, and the lines printed on it from the top.
class PageWriter {
public:
    PageWriter(QPrinter& printer, QPainter& painter, const QFont& font)
        : printer_(printer), painter_(painter), metrics_(font, &printer)
    {
        pixelspermm_ = printer.resolution() / 25.4;
        const QRectF area = printer.pageLayout().paintRectPixels(printer.resolution());
        scalewidth_ = area.width() / pixelspermm_;
        scaleheight_ = area.height() / pixelspermm_;
        lineheight_ = metrics_.height() / pixelspermm_;
    }

    void printline(const QString& text)
    {
        QString line = expandtabs(text);
        const double width = metrics_.horizontalAdvance(line) / pixelspermm_;
        if (width > std::floor(scalewidth_) - 20) {
            // Cut in proportion to the width, not by measuring characters.
            line.truncate(static_cast<qsizetype>(static_cast<double>(line.size()) / width * (scalewidth_ - 20)));
        }
        painter_.drawText(QPointF(10 * pixelspermm_, y_ * pixelspermm_ + metrics_.ascent()), line);
        y_ += lineheight_;
    }

    void startpage(int page, const QString& title)
    {
        y_ = 10;
        printline(QStringLiteral("Page ") + QString::number(page) + QString(10, QLatin1Char(' ')) + title);
        printline(QString());
        printline(QString());
    }

    bool full() const { return y_ > std::floor(scaleheight_) - 10; }
    void newpage() { printer_.newPage(); }

private:
    QPrinter& printer_;
    QPainter& painter_;
    QFontMetricsF metrics_;
    double pixelspermm_ = 1;
    double scalewidth_ = 0, scaleheight_ = 0, lineheight_ = 0;
    double y_ = 10;
};

} // namespace

QFont printerfont()
{
    return editorfont(QStringLiteral("Courier New"), 10);
}

bool printtext(QPrinter& printer, const QFont& font, const QString& title, const QString& text,
               const std::function<void()>& keepalive)
{
    const int copies = std::max(1, printer.copyCount());
    printer.setCopyCount(1);
    QPainter painter;
    if (!painter.begin(&printer))
        return false;
    painter.setFont(font);
    PageWriter writer(printer, painter, font);
    if (keepalive)
        keepalive();
    QElapsedTimer sincepump;
    sincepump.start();
    for (int copy = 1; copy <= copies; ++copy) {
        int page = 1;
        writer.startpage(page, title);
        // Each line up to its line end; what follows the last one is not printed.
        qsizetype start = 0;
        for (qsizetype nl = text.indexOf(QLatin1Char('\n')); nl >= 0; nl = text.indexOf(QLatin1Char('\n'), start)) {
            qsizetype end = nl;
            if (end > start && text.at(end - 1) == QLatin1Char('\r'))
                --end;
            writer.printline(text.mid(start, end - start));
            start = nl + 1;
            if (writer.full()) {
                writer.newpage();
                writer.startpage(++page, title);
            }
            if (keepalive && sincepump.elapsed() >= 50) {
                keepalive();
                sincepump.restart();
            }
        }
        if (copy < copies)
            writer.newpage();
    }
    return painter.end();
}

QString printabletext(std::string_view utf8)
{
    std::string out;
    out.reserve(utf8.size() + utf8.size() / 16 + 2);
    for (size_t i = 0; i < utf8.size(); ++i) {
        const char c = utf8[i];
        if (c == '\n' && (i == 0 || utf8[i - 1] != '\r'))
            out += '\r';
        out += c;
    }
    if (!out.empty() && out.back() != '\n')
        out += "\r\n";
    return QString::fromUtf8(out.data(), static_cast<qsizetype>(out.size()));
}

QString printabletext(const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    return printabletext(std::string_view(utf8.constData(), static_cast<size_t>(utf8.size())));
}

void setprintdialog(PrintDialog dialog)
{
    dialoghook() = std::move(dialog);
}

bool printsource(QWidget* parent, const QString& title, const QString& text, const std::function<void()>& keepalive)
{
    QPrinter printer(QPrinter::HighResolution);
    const bool chosen = dialoghook() ? dialoghook()(parent, printer) : qtprintdialog(parent, printer);
    if (!chosen)
        return false;
    if (!printtext(printer, printerfont(), title, text, keepalive)) {
        messagebox(parent, QStringLiteral("The printer could not be started."));
        return false;
    }
    return true;
}

} // namespace kelvane
