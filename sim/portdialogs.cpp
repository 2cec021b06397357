#include "sim/portdialogs.h"

#include <QEventLoop>

#include "core/hexutil.h"
#include "shell/messages.h"
#include "shell/theme.h"
#include "sim/settings.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <initializer_list>
#include <vector>

namespace kelvane {

const std::array<const char*, keyboardkeys> keycaptions = {
    "Q", "W", "E", "R", "T", "Y", "U", "I", "O", "P", "A", "S", "D", "F", "G", "H", "J", "K", "L", "Z", "X", "C", "V", "B",
    "N", "M",                                                          // 0-25
    "1", "2", "3", "4", "5", "6", "7", "8", "9", "0",                  // 26-35
    "(space)",                                                         // 36
    "`", "~", "!", "@", "#", "$", "%", "^", "&&", "*", "(", ")",       // 37-48
    ",", "<", ".", ">", "/", "?", ";", ":", "'", "\"",                 // 49-58
    "[", "{", "]", "}", "-", "_", "=", "+", "\\", "|",                 // 59-68
    "(enter)", "(tab)",                                                // 69-70
};

int32_t keycode(const QString& caption)
{
    if (caption.size() == 1)
        return caption.at(0).unicode();
    if (caption == QLatin1String("(space)"))
        return 32;
    if (caption == QLatin1String("(tab)"))
        return 8; // the tab key gives 8, as it always has
    if (caption == QLatin1String("(enter)"))
        return 13;
    return -1;
}

int32_t entryvalue(const QString& text)
{
    QString t = text;
    if (t.size() == 1)
        t.prepend(QLatin1Char('0'));
    return parsehexbyte(t.toUpper().toStdString());
}

// ---------------------------------------------------------------------------------------------

EntryDialog::EntryDialog(MachineState& st, QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint)
    , st_(st)
{
    text1_ = new QLineEdit(this);
    text1_->setObjectName(QStringLiteral("Text1"));
    command1_ = new QPushButton(QStringLiteral("Enter"), this);
    command1_->setObjectName(QStringLiteral("Command1"));
    command1_->setDefault(true);
    command2_ = new QPushButton(QStringLiteral("Keyboard"), this);
    command2_->setObjectName(QStringLiteral("Command2"));
    command2_->setAutoDefault(false);
    connect(command1_, &QPushButton::clicked, this, &EntryDialog::enterclicked);
    connect(command2_, &QPushButton::clicked, this, &EntryDialog::keyboardclicked);
}

void EntryDialog::enterclicked()
{
    const int32_t v = entryvalue(text1_->text());
    if (v != -1) {
        st_.invalue = v;
        accept();
        return;
    }
    messagebox(this, QStringLiteral("Wrong entry."));
}

void EntryDialog::keyboardclicked()
{
    st_.invalue = 0;
    asciikeyboard(st_, this);
    if (st_.invalue > 0) {
        text1_->setText(QString::fromStdString(hexbyte(st_.invalue)));
        st_.invalue = 0;
    }
    command1_->setFocus();
}

// ---------------------------------------------------------------------------------------------

InEntryDialog::InEntryDialog(MachineState& st, int32_t port, QWidget* parent)
    : EntryDialog(st, parent)
{
    setObjectName(QStringLiteral("Form10"));
    setWindowTitle(QStringLiteral("IN Instruction Entry Dialog"));
    label1_ = new QLabel(QString::fromStdString(hexword(st.pc) + "H: " + st.lastinstruction.str()), this);
    label1_->setObjectName(QStringLiteral("Label1"));
    label2_ = new QLabel(QString::fromStdString("Enter data received on port " + hexbyte(port) + "H [00-FF]."), this);
    label2_->setObjectName(QStringLiteral("Label2"));
    check1_ = new QCheckBox(QStringLiteral("Switch To Step By Step Rate"), this);
    check1_->setObjectName(QStringLiteral("Check1"));

    // Form_Load.
    text1_->clear();
    check1_->setChecked(false);
    st.switchtostep = false;
    st.invalue = 0;
    connect(check1_, &QCheckBox::clicked, this, [this] { st_.switchtostep = !st_.switchtostep; });

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(label1_);
    layout->addWidget(label2_);
    auto* row = new QHBoxLayout;
    row->addWidget(text1_, 1);
    row->addWidget(command1_);
    row->addWidget(command2_);
    layout->addLayout(row);
    layout->addWidget(check1_);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    text1_->setFocus();

    themewindow(this);
    const ThemeState& t = theme();
    setpair(check1_, t.labelback, t.labeltext);
    for (QWidget* w : std::initializer_list<QWidget*>{label1_, label2_, text1_})
        setpair(w, t.valueback, t.valuetext);
}

HexValueDialog::HexValueDialog(MachineState& st, QWidget* parent)
    : EntryDialog(st, parent)
{
    setObjectName(QStringLiteral("Form19"));
    setWindowTitle(QStringLiteral("HEX Value Entry Dialog"));
    label1_ = new QLabel(QStringLiteral("Enter new value supplied by this device [00-FF]."), this);
    label1_->setObjectName(QStringLiteral("Label1"));

    // Form_Load.
    text1_->clear();
    st.invalue = 0;

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(label1_);
    auto* row = new QHBoxLayout;
    row->addWidget(text1_, 1);
    row->addWidget(command1_);
    row->addWidget(command2_);
    layout->addLayout(row);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    text1_->setFocus();

    themewindow(this);
    setpair(label1_, theme().valueback, theme().valuetext);
    setpair(text1_, theme().valueback, theme().valuetext);
}

// ---------------------------------------------------------------------------------------------

namespace {
// The rows of the keyboard by key index.
const std::array<std::vector<int>, 5> keyrows = {{
    {37, 38, 39, 40, 41, 42, 43, 44, 45, 46, 47, 48},
    {26, 27, 28, 29, 30, 31, 32, 33, 34, 35, 63, 64, 65, 66},
    {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 59, 60, 61, 62},
    {10, 11, 12, 13, 14, 15, 16, 17, 18, 55, 56, 57, 58, 67, 68},
    {70, 19, 20, 21, 22, 23, 24, 25, 49, 50, 51, 52, 53, 54},
}};
} // namespace

AsciiKeyboard::AsciiKeyboard(MachineState& st, QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint)
    , st_(st)
{
    setObjectName(QStringLiteral("Form18"));
    setWindowTitle(QStringLiteral("ASCII Keyboard"));

    const QFontMetrics fm(font());
    const int keywidth = std::max(fm.horizontalAdvance(QStringLiteral("W")) + 14, 26);
    for (int i = 0; i < keyboardkeys; ++i) {
        auto* key = new QPushButton(QString::fromLatin1(keycaptions[static_cast<size_t>(i)]), this);
        key->setObjectName(QStringLiteral("key%1").arg(i));
        key->setAutoDefault(false);
        key->setFocusPolicy(Qt::TabFocus);
        if (key->text().size() <= 2)
            key->setFixedWidth(keywidth);
        connect(key, &QPushButton::clicked, this, [this, i] { keyclicked(i); });
        keys_[static_cast<size_t>(i)] = key;
    }
    check1_ = new QCheckBox(QStringLiteral("Small Letters"), this);
    check1_->setObjectName(QStringLiteral("Check1"));
    command1_ = new QPushButton(QStringLiteral("Cancel"), this);
    command1_->setObjectName(QStringLiteral("Command1"));
    command1_->setAutoDefault(false);
    connect(command1_, &QPushButton::clicked, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->setSpacing(3);
    for (size_t r = 0; r < keyrows.size(); ++r) {
        auto* row = new QHBoxLayout;
        row->setSpacing(3);
        row->addSpacing(static_cast<int>(r) * keywidth / 3);
        for (int i : keyrows[r])
            row->addWidget(keys_[static_cast<size_t>(i)]);
        row->addStretch(1);
        layout->addLayout(row);
    }
    auto* bottom = new QHBoxLayout;
    keys_[36]->setMinimumWidth(keywidth * 7);
    keys_[69]->setMinimumWidth(keywidth * 3);
    bottom->addWidget(check1_);
    bottom->addStretch(1);
    bottom->addWidget(keys_[36]);
    bottom->addWidget(keys_[69]);
    bottom->addStretch(1);
    bottom->addWidget(command1_);
    layout->addLayout(bottom);
    layout->setSizeConstraint(QLayout::SetFixedSize);

    // Form_Load: the stored state of the box, applied at once.
    smallletters_ = leadingint(regread("Keyboard Small Letters", "0")) != 0 ? 1 : 0;
    check1_->setChecked(smallletters_ != 0);
    check1clicked();
    connect(check1_, &QCheckBox::clicked, this, &AsciiKeyboard::check1clicked);

    themewindow(this);
    setpair(check1_, theme().labelback, theme().labeltext);
}

void AsciiKeyboard::check1clicked()
{
    smallletters_ = check1_->isChecked() ? 1 : 0;
    for (int i = 0; i < 26; ++i) {
        QPushButton* key = keys_[static_cast<size_t>(i)];
        key->setText(smallletters_ ? key->text().toLower() : key->text().toUpper());
    }
    regwrite("Keyboard Small Letters", smallletters_);
}

void AsciiKeyboard::keyclicked(int index)
{
    const int32_t code = keycode(keys_[static_cast<size_t>(index)]->text());
    if (code >= 0)
        st_.invalue = code;
    accept();
}

// ---------------------------------------------------------------------------------------------

void inentrydialog(MachineState& st, int32_t port, QWidget* parent)
{
    // The IN instruction waits here for its value, while the main window stays usable: Stop,
    // RESET and the rate menu raise their flags and act when the instruction ends.
    InEntryDialog dialog(st, port, parent);
    dialog.setWindowModality(Qt::NonModal);
    QEventLoop wait;
    QObject::connect(&dialog, &QDialog::finished, &wait, &QEventLoop::quit);
    dialog.show();
    dialog.raise();
    dialog.activateWindow();
    wait.exec();
}

void hexvaluedialog(MachineState& st, QWidget* parent)
{
    HexValueDialog dialog(st, parent);
    dialog.exec();
}

void asciikeyboard(MachineState& st, QWidget* parent)
{
    AsciiKeyboard keyboard(st, parent);
    keyboard.exec();
}

} // namespace kelvane
