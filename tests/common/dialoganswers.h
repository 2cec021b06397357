// Answers for the file and input dialogs of a window test, handed to a DialogDriver: choose(d,
// file) picks a file (and a filter) in the next file dialog, answer(d, text) answers the next
// input box and tells what it offered.
#pragma once
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QLineEdit>
#include <QString>

#include "tests/common/dialogdriver.h"

namespace kelvane::test {

// Chooses the file in the next file dialog (and the filter of that index, 0-based, when given).
// The name is typed too: a dialog whose name field has the focus doesn't take it from selectFile.
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

// Answers the next input box with `text` and keeps the text the box offered in *offered.
inline void answer(DialogDriver& d, const QString& text, QString* offered = nullptr)
{
    d.on<QInputDialog>([text, offered](QInputDialog* box) {
        if (offered != nullptr)
            *offered = box->textValue();
        box->setTextValue(text);
        box->accept();
    });
}

} // namespace kelvane::test
