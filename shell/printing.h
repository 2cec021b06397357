// Printing of a source text or a listing: printtext lays the text out on the printer in
// millimetres of the printable area (a page line, tabs to eight columns, long lines cut, copies
// made here), and printsource shows the print dialog first. Printing to a PDF file works like
// printing on paper.
//
// Interface for a window:
//   printsource(this, "PROG.asm", text)     the dialog, then printtext with the printer font;
//                                           false when the dialog was cancelled
//   printabletext(text)                     every line ended by CR LF, so none is lost
#pragma once
#include <QFont>
#include <QString>

#include <functional>
#include <string_view>

class QPrinter;
class QWidget;

namespace kelvane {

// "Courier New" at 10 points, or a really fixed-pitch font where it is missing.
QFont printerfont();

// Prints `text` (lines ended by CR LF or LF; a tail without a line end is not printed) on the
// printer, which must not be active yet: for each copy "Page N" with ten blanks and the title,
// two empty lines, then the lines, a new page whenever the page is full. The copies are the
// printer's copy count (at least 1), made here; the printer itself is given 1. `keepalive` is
// called now and then (at most every 50 ms) so that a long print lets the windows paint.
// False when the printer can't be started.
bool printtext(QPrinter& printer, const QFont& font, const QString& title, const QString& text,
               const std::function<void()>& keepalive = {});

// The text with LF and CR LF line ends both made CR LF, and a last line without one ended too.
QString printabletext(const QString& text);
QString printabletext(std::string_view utf8);

// The print dialog: true and a printer ready for printtext, or false when cancelled. Tests put
// their own function here (for instance one that chooses a PDF file).
using PrintDialog = std::function<bool(QWidget* parent, QPrinter& printer)>;
void setprintdialog(PrintDialog dialog);

// The dialog, then printtext with printerfont(); the windows pump while it prints.
bool printsource(QWidget* parent, const QString& title, const QString& text,
                 const std::function<void()>& keepalive = {});

} // namespace kelvane
