#include "assembler/ui/form17.h"

#include "assembler/ui/sourcefiles.h"
#include "progfiles/safewrite.h"
#include "shell/messages.h"
#include "shell/theme.h"
#include "shell/sourceeditorsettings.h"
#include "sim/settings.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QCoreApplication>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <QWheelEvent>

#include <algorithm>

namespace kelvane {

namespace {

constexpr const char* caption = "Interactive Assembler Editor";
constexpr const char* argumentcaption = "Please make your selection for argument";
constexpr const char* hinttext = "Choose a group of instructions in the list above,\nthen an instruction and its arguments.";
constexpr const char* emptymessage = "Interactive Assembler Editor is empty.";
constexpr const char* prompt =
    "Please select a line in the listing by clicking on the\ncorresponding 'Label' or 'Instuction' field!";
constexpr int notch = 120;
constexpr int wheelrows = 3;
constexpr int instchars = 24; // room of an instruction cell, in characters of its font

// The keypad as it stands: but indexes row by row; -1 is a gap.
constexpr int keypadrows[5][5] = {
    {12, 13, 14, 15, keyhex},
    {8, 9, 10, 11, keydec},
    {4, 5, 6, 7, keylab},
    {0, 1, 2, 3, keyclr},
    {keyL, keyaccept, -1, -1, -1},
};

// The mark of the active number mode: a pressed button in a colour of its own.
const QColor modecolor(0xFF, 0xD8, 0x60);

QString qs(const std::string& s)
{
    return QString::fromStdString(s);
}

// The fixed-pitch font of the instructions, at the size of the window's font.
QFont instructionfont(const QWidget* w, double scale = 1.0)
{
    const int points = std::max(8, static_cast<int>(w->font().pointSizeF() * scale + 0.5));
    return editorfont(QStringLiteral("Lucida Console"), points);
}

QPushButton* commandbutton(const char* name, const char* text, QWidget* parent)
{
    auto* b = new QPushButton(QString::fromLatin1(text), parent);
    b->setObjectName(QString::fromLatin1(name));
    return b;
}

// A widget whose space stays in the layout while it is hidden, so that nothing jumps.
template <typename W>
W* keepplace(W* w)
{
    QSizePolicy p = w->sizePolicy();
    p.setRetainSizeWhenHidden(true);
    w->setSizePolicy(p);
    return w;
}

} // namespace

// ---- Cells. ----

Form17Cell::Form17Cell(QWidget* parent)
    : QLabel(parent)
{
    setFrameStyle(QFrame::Panel | QFrame::Sunken);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    setForegroundRole(QPalette::Text);
    setIndent(4);
    setTextFormat(Qt::PlainText);
    setFocusPolicy(Qt::NoFocus);
}

void Form17Cell::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        emit picked();
    event->accept();
}

void Form17Cell::paintEvent(QPaintEvent* event)
{
    QLabel::paintEvent(event);
    if (!hasFocus())
        return;
    QPainter p(this);
    QPen pen(palette().color(QPalette::Highlight), 2);
    p.setPen(pen);
    p.drawRect(rect().adjusted(1, 1, -1, -1));
}

// ---- The window. ----

Form17::Form17()
{
    setObjectName(QStringLiteral("Form17"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QString::fromLatin1(caption));
    buildcontrols();

    // Form_Load.
    settheme();
    adjustSize();
    placewindow(this, 17);
    toolrouter().opened(Tool::Form17, this, this);
    resetlisting();
}

Form17::~Form17()
{
    unload();
}

void Form17::settheme()
{
    themewindow(this);
    const ThemeState& t = theme();
    // The forms' captions and descriptions stand on the frames in the frames' colours.
    for (QGroupBox* f : frames_)
        setpair(f, t.frameback, t.frametext);
    setpair(Check1_, t.labelback, t.labeltext);
    setpair(Label1_, t.valueback, t.valuetext);
    setpair(Label2_, t.valueback, t.valuetext);
    showmode();
}

void Form17::buildcontrols()
{
    auto* top = new QHBoxLayout(this);
    top->setSizeConstraint(QLayout::SetFixedSize);

    auto* left = new QVBoxLayout;
    Combo1_ = new QComboBox(this);
    Combo1_->setObjectName(QStringLiteral("Combo1"));
    Combo1_->addItem(QString::fromLatin1(selectgroupitem));
    for (const FormGroup& g : formgroups)
        Combo1_->addItem(QString::fromLatin1(g.name));
    connect(Combo1_, &QComboBox::currentIndexChanged, this, [this] { Combo1_Click(); });
    Combo1_->installEventFilter(this);
    auto* grouprow = new QHBoxLayout;
    grouprow->addWidget(Combo1_);
    grouprow->addStretch(1);
    left->addLayout(grouprow);

    lininst_ = new QLabel(this);
    lininst_->setObjectName(QStringLiteral("lininst"));
    lininst_->setTextFormat(Qt::PlainText);
    lininst_->setFont(instructionfont(this, 1.25));
    lininst_->setFrameStyle(QFrame::Panel | QFrame::Sunken);
    lininst_->setAutoFillBackground(true);
    lininst_->setBackgroundRole(QPalette::Base);
    lininst_->setIndent(6);
    lininst_->setMinimumHeight(lininst_->fontMetrics().height() + 10);
    lininst_->setMinimumWidth(lininst_->fontMetrics().horizontalAdvance(QLatin1Char('X')) * instchars);
    auto* instrow = new QHBoxLayout;
    instrow->addWidget(new QLabel(QStringLiteral("Instruction:"), this));
    instrow->addWidget(lininst_, 1);
    command_append_ = keepplace(commandbutton("command_append", "Append", this));
    command_update_ = keepplace(commandbutton("command_update", "Update", this));
    command_cancel_ = keepplace(commandbutton("command_cancel", "Cancel", this));
    for (QPushButton* b : {command_append_, command_update_, command_cancel_})
        instrow->addWidget(b);
    left->addLayout(instrow);
    connect(command_append_, &QPushButton::clicked, this, [this] { command_append_Click(); });
    connect(command_update_, &QPushButton::clicked, this, [this] { command_update_Click(); });
    connect(command_cancel_, &QPushButton::clicked, this, [this] { command_cancel_Click(); });

    left->addWidget(buildforms(), 1);
    Check1_ = new QCheckBox(QStringLiteral("Always On Top"), this);
    Check1_->setObjectName(QStringLiteral("Check1"));
    connectalwaysontop(17, this, Check1_);

    top->addLayout(left);
    top->addSpacing(8);
    auto* right = new QVBoxLayout;
    right->addWidget(buildrows());
    Text1_ = keepplace(new QLabel(QString::fromLatin1(prompt), this));
    Text1_->setObjectName(QStringLiteral("Text1"));
    Text1_->setFrameStyle(QFrame::Box | QFrame::Plain);
    Text1_->setAutoFillBackground(true);
    Text1_->setBackgroundRole(QPalette::ToolTipBase);
    Text1_->setForegroundRole(QPalette::ToolTipText);
    Text1_->setMargin(4);
    right->addWidget(Text1_);

    auto* commands = new QGridLayout;
    command_delete_ = commandbutton("command_delete", "Delete Line", this);
    command_insert_ = commandbutton("command_insert", "Insert Line", this);
    command_add_ = commandbutton("command_add", "Add Lines", this);
    command_clear_ = commandbutton("command_clear", "Clear Listing", this);
    command_save_ = commandbutton("command_save", "Save Listing", this);
    commands->addWidget(command_delete_, 0, 0);
    commands->addWidget(command_insert_, 0, 1);
    commands->addWidget(command_add_, 0, 2);
    commands->addWidget(command_clear_, 1, 0);
    commands->addWidget(command_save_, 1, 1);
    right->addLayout(commands);
    right->addStretch(1);
    connect(command_delete_, &QPushButton::clicked, this, [this] { command_delete_Click(); });
    connect(command_insert_, &QPushButton::clicked, this, [this] { command_insert_Click(); });
    connect(command_add_, &QPushButton::clicked, this, [this] { command_add_Click(); });
    connect(command_clear_, &QPushButton::clicked, this, [this] { command_clear_Click(); });
    connect(command_save_, &QPushButton::clicked, this, [this] { command_save_Click(); });
    top->addLayout(right);

    // The check box last in the chain of Tab.
    left->addWidget(Check1_);
    setTabOrder(command_save_, Check1_);
}

QWidget* Form17::buildforms()
{
    auto* area = new QWidget(this);
    auto* stack = new QGridLayout(area);
    stack->setContentsMargins(0, 0, 0, 0);
    const QFont formfont = instructionfont(this);

    int index = 0;
    for (size_t g = 0; g < formgroups.size(); ++g) {
        auto* frame = new QGroupBox(QString::fromLatin1(formgroups[g].name), area);
        frame->setObjectName(QStringLiteral("Frame%1").arg(g));
        auto* grid = new QGridLayout(frame);
        grid->setVerticalSpacing(2);
        grid->setHorizontalSpacing(12);
        int row = 0;
        for (const InstructionForm& f : formgroups[g].forms) {
            auto* option = new QRadioButton(QString::fromLatin1(f.caption), frame);
            option->setObjectName(QStringLiteral("polje%1").arg(index));
            option->setFont(formfont);
            option->setCheckable(false); // a pick is a click: the same form can be picked again
            auto* text = new QLabel(QString::fromLatin1(f.description), frame);
            text->setTextFormat(Qt::PlainText);
            text->setProperty("form", index);
            text->installEventFilter(this);
            grid->addWidget(option, row, 0);
            grid->addWidget(text, row, 1);
            connect(option, &QRadioButton::clicked, this, [this, index] { polje_Click(index); });
            polje_.push_back(option);
            ++row;
            ++index;
        }
        grid->setRowStretch(row, 1);
        grid->setColumnStretch(1, 1);
        frames_[g] = frame;
    }
    frames_[7] = buildframe7();
    frames_[8] = buildframe8();

    // While no frame shows, a hint stands in their place.
    hint_ = new QLabel(QString::fromLatin1(hinttext), area);
    hint_->setObjectName(QStringLiteral("hint"));
    hint_->setAlignment(Qt::AlignCenter);
    hint_->setForegroundRole(QPalette::PlaceholderText); // quieter than the text, still readable
    stack->addWidget(hint_, 0, 0);
    QSize most;
    for (QGroupBox* frame : frames_) {
        frame->setParent(area);
        frame->setAutoFillBackground(true);
        stack->addWidget(frame, 0, 0);
        most = most.expandedTo(frame->sizeHint());
        frame->hide();
        frame->installEventFilter(this);
    }
    area->setMinimumSize(most);
    return area;
}

Form17::ArgumentFrame Form17::argumentframe(const char* name, const char* labelname, QLabel*& label)
{
    auto* frame = new QGroupBox(QString::fromLatin1(argumentcaption), this);
    frame->setObjectName(QString::fromLatin1(name));
    auto* layout = new QVBoxLayout(frame);
    auto* namerow = new QHBoxLayout;
    namerow->addWidget(new QLabel(QStringLiteral("Argument:"), frame));
    label = new QLabel(frame);
    label->setObjectName(QString::fromLatin1(labelname));
    label->setFont(instructionfont(this, 1.25));
    namerow->addWidget(label);
    layout->addLayout(namerow);
    return {frame, layout, namerow};
}

QGroupBox* Form17::buildframe7()
{
    auto [frame, layout, namerow] = argumentframe("Frame7", "arg", arg_);
    namerow->addStretch(1);
    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(24);
    const QFont choicefont = instructionfont(this, 1.25);
    for (int i = 0; i < 8; ++i) {
        auto* option = new QRadioButton(frame);
        option->setObjectName(QStringLiteral("sel%1").arg(i));
        option->setFont(choicefont);
        option->setCheckable(false);
        option->setMinimumWidth(option->fontMetrics().horizontalAdvance(QStringLiteral("PSW")) + 40);
        grid->addWidget(option, i / 4, i % 4);
        connect(option, &QRadioButton::clicked, this, [this, i] { sel_Click(i); });
        sel_[static_cast<size_t>(i)] = option;
    }
    grid->setColumnStretch(4, 1);
    layout->addLayout(grid);
    layout->addStretch(1);
    return frame;
}

QGroupBox* Form17::buildframe8()
{
    auto [frame, layout, namerow] = argumentframe("Frame8", "arg2", arg2_);
    namerow->addSpacing(16);
    arg3_ = new QLabel(frame);
    arg3_->setObjectName(QStringLiteral("arg3"));
    arg3_->setFont(instructionfont(this, 1.5));
    arg3_->setFrameStyle(QFrame::Panel | QFrame::Sunken);
    arg3_->setAutoFillBackground(true);
    arg3_->setBackgroundRole(QPalette::Base);
    arg3_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    arg3_->setIndent(6);
    arg3_->setMinimumWidth(arg3_->fontMetrics().horizontalAdvance(QStringLiteral("L00000")) + 20);
    arg3_->setMinimumHeight(arg3_->fontMetrics().height() + 10);
    namerow->addWidget(arg3_);
    namerow->addStretch(1);

    auto* keypad = new QGridLayout;
    keypad->setSpacing(4);
    const QFont keyfont = instructionfont(this, 1.1);
    const QFontMetrics keymetrics(keyfont);
    const int keyheight = keymetrics.height() + 14;
    const int keywidth = std::max(keyheight * 3 / 2, keymetrics.horizontalAdvance(QLatin1Char('W')) + 24);
    const int modewidth = keymetrics.horizontalAdvance(QStringLiteral("ACCEPT")) + 24;
    for (int r = 0; r < 5; ++r) {
        for (int c = 0; c < 5; ++c) {
            const int index = keypadrows[r][c];
            if (index < 0)
                continue;
            auto* key = new QPushButton(QString::fromLatin1(keypadcaptions[static_cast<size_t>(index)]), frame);
            key->setObjectName(QStringLiteral("but%1").arg(index));
            key->setFont(keyfont);
            key->setFixedHeight(keyheight);
            if (index == keyaccept) {
                keypad->addWidget(key, r, c, 1, 3);
            } else if (c == 4) {
                key->setFixedWidth(modewidth); // the modes and CLR stand apart from the digits
                keypad->addWidget(key, r, c + 1);
            } else {
                key->setFixedWidth(keywidth);
                keypad->addWidget(key, r, c);
            }
            key->setCheckable(index == keyhex || index == keydec || index == keylab);
            connect(key, &QPushButton::clicked, this, [this, index] { but_Click(index); });
            but_[static_cast<size_t>(index)] = key;
        }
    }
    keypad->setColumnMinimumWidth(4, 16);
    keypad->setColumnStretch(6, 1);
    layout->addLayout(keypad);
    layout->addStretch(1);
    return frame;
}

QWidget* Form17::buildrows()
{
    auto* box = new QWidget(this);
    auto* grid = new QGridLayout(box);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(1);
    grid->setVerticalSpacing(1);

    const QFont font = instructionfont(this);
    const QFontMetrics fixed(font);
    const int height = fixed.height() + 6;
    Label1_ = new QLabel(QStringLiteral("Label"), box);
    Label1_->setObjectName(QStringLiteral("Label1"));
    Label2_ = new QLabel(QStringLiteral("Instruction"), box);
    Label2_->setObjectName(QStringLiteral("Label2"));
    for (QLabel* heading : {Label1_, Label2_}) {
        heading->setFrameStyle(QFrame::Panel | QFrame::Raised);
        heading->setAutoFillBackground(true);
        heading->setIndent(4);
        heading->setMinimumHeight(height);
    }
    grid->addWidget(Label1_, 0, 0);
    grid->addWidget(Label2_, 0, 1);

    const int labelwidth = fontMetrics().horizontalAdvance(QStringLiteral("L00000")) + 16;
    for (int i = 0; i < rows; ++i) {
        auto* a = new Form17Cell(box);
        a->setObjectName(QStringLiteral("adr%1").arg(i));
        a->setFixedSize(labelwidth, height);
        auto* t = new Form17Cell(box);
        t->setObjectName(QStringLiteral("inst%1").arg(i));
        t->setFont(font);
        t->setFixedHeight(height);
        t->setMinimumWidth(fixed.horizontalAdvance(QLatin1Char('X')) * instchars + 10);
        for (Form17Cell* cell : {a, t}) {
            cell->installEventFilter(this);
            connect(cell, &Form17Cell::picked, this, [this, i] { applytorow(i); });
        }
        grid->addWidget(a, i + 1, 0);
        grid->addWidget(t, i + 1, 1);
        adr_[static_cast<size_t>(i)] = a;
        inst_[static_cast<size_t>(i)] = t;
    }
    grid->setColumnStretch(1, 1);

    pozicijav_ = new QScrollBar(Qt::Vertical, box);
    pozicijav_->setObjectName(QStringLiteral("pozicijav"));
    pozicijav_->setRange(1, 1);
    pozicijav_->setPageStep(rows);
    pozicijav_->installEventFilter(this);
    grid->addWidget(pozicijav_, 1, 2, rows, 1);
    connect(pozicijav_, &QScrollBar::valueChanged, this, [this] {
        if (!drawing_)
            drawlisting();
    });
    return box;
}

// ---- The listing. ----

void Form17::resetlisting()
{
    listing_.resetlisting();
    pendingdelete_ = pendinginsert_ = pendingupdate_ = 0;
    entry_.numbermode = hexmode;
    selectgroup(0);
    lininst_->clear();
    showinstructionbuttons(false);
    frames_[7]->hide();
    frames_[8]->hide();
    Text1_->hide();
    // Whatever was in work, the window is idle again.
    Combo1_->setEnabled(true);
    enablelisting(true);
    setcellsfocusable(false);
    {
        const QSignalBlocker quiet(pozicijav_);
        pozicijav_->setValue(pozicijav_->minimum());
    }
    drawlisting();
}

void Form17::drawlisting()
{
    drawing_ = true;
    const int32_t count = listing_.rowcount;
    if (count <= rows) {
        pozicijav_->setEnabled(false);
        pozicijav_->setRange(1, 1);
    } else {
        pozicijav_->setEnabled(true);
        pozicijav_->setRange(1, count - rows + 1);
    }
    if (scrolltoend_) {
        pozicijav_->setValue(pozicijav_->maximum());
        scrolltoend_ = false;
    }
    drawing_ = false;
    const int32_t first = pozicijav_->value();
    for (int i = 0; i < rows; ++i) {
        const int32_t row = first + i;
        const bool shown = row <= count;
        const auto at = static_cast<size_t>(row);
        adr_[static_cast<size_t>(i)]->setText(shown ? qs(listing_.rowlabel[at]) : QString());
        inst_[static_cast<size_t>(i)]->setText(shown ? qs(listing_.rowtext[at]) : QString());
    }
}

// ---- Building an instruction. ----

void Form17::selectgroup(int index)
{
    {
        const QSignalBlocker quiet(Combo1_);
        Combo1_->setCurrentIndex(index);
    }
    Combo1_Click();
}

void Form17::Combo1_Click()
{
    const int index = Combo1_->currentIndex();
    for (int g = 0; g < 7; ++g)
        frames_[static_cast<size_t>(g)]->setVisible(g == index - 1);
    if (index > 0) {
        command_cancel_->show();
        command_delete_->setEnabled(false);
        command_insert_->setEnabled(false);
    }
}

void Form17::polje_Click(int index)
{
    selectgroup(0);
    Combo1_->setEnabled(false);
    lininst_->setText(polje_[static_cast<size_t>(index)]->text());
    nextargument();
}

void Form17::nextargument()
{
    const std::string t = firstparameter(lininst_->text().toStdString());
    if (const ListParameter* list = listparameter(t)) {
        arg_->setText(qs(t));
        for (size_t i = 0; i < sel_.size(); ++i) {
            sel_[i]->setText(QString::fromLatin1(list->choices[i]));
            sel_[i]->setVisible(*list->choices[i] != '\0'); // an unused choice is no choice
        }
        frames_[7]->show();
        sel_[0]->setFocus();
    } else if (t == "n" || t == "nn") {
        arg2_->setText(qs(t));
        entry_.arg3.clear();
        arg3_->clear();
        entry_.numbermode = hexmode;
        showmode();
        frames_[8]->show();
        but_[keyaccept]->setFocus();
    } else if (t.empty()) {
        command_append_->show();
        if (listing_.rowcount > 0)
            command_update_->show();
        command_append_->setFocus();
    }
}

void Form17::sel_Click(int index)
{
    const QString choice = sel_[static_cast<size_t>(index)]->text();
    if (choice.isEmpty())
        return;
    frames_[7]->hide();
    lininst_->setText(qs(replaceall(lininst_->text().toStdString(), arg_->text().toStdString(), choice.toStdString())));
    nextargument();
}

void Form17::but_Click(int index)
{
    if (index != keyaccept) {
        entry_.press(index);
        arg3_->setText(qs(entry_.arg3));
        showmode();
        return;
    }
    int32_t row = 0;
    const std::optional<std::string> text = acceptentry(arg2_->text().toStdString(), entry_, listing_, &row);
    if (!text)
        return;
    if (row > 0)
        listing_.rowlabelled[static_cast<size_t>(row)] = Form17Listing::labelled;
    frames_[8]->hide();
    lininst_->setText(qs(replaceall(lininst_->text().toStdString(), arg2_->text().toStdString(), *text)));
    nextargument();
}

void Form17::showmode()
{
    for (const int key : {keyhex, keydec, keylab}) {
        QPushButton* b = but_[static_cast<size_t>(key)];
        const bool active = entry_.numbermode == key - keyhex;
        b->setChecked(active);
        QPalette colours;
        if (active) {
            colours.setColor(QPalette::Button, modecolor);
            colours.setColor(QPalette::ButtonText, readabletext(modecolor, Qt::black));
        }
        b->setPalette(colours);
    }
}

void Form17::showinstructionbuttons(bool on)
{
    command_cancel_->setVisible(on);
    command_append_->setVisible(on);
    command_update_->setVisible(on);
}

// ---- Commands. ----

void Form17::command_append_Click()
{
    const std::string text = lininst_->text().toStdString();
    const int32_t target = listing_.lasttextrow() + 1;
    if (target > listing_.rowcount) {
        listing_.addrow(text);
        scrolltoend_ = true;
    } else {
        listing_.rowtext[static_cast<size_t>(target)] = text;
    }
    drawlisting();
    showinstructionbuttons(false);
    command_delete_->setEnabled(true);
    command_insert_->setEnabled(true);
    Combo1_->setEnabled(true);
    lininst_->clear();
    Combo1_->setFocus();
}

void Form17::command_cancel_Click()
{
    showinstructionbuttons(false);
    command_delete_->setEnabled(true);
    command_insert_->setEnabled(true);
    Combo1_->setEnabled(true);
    selectgroup(0);
    lininst_->clear();
    frames_[7]->hide();
    frames_[8]->hide();
    Combo1_->setFocus();
}

void Form17::enablelisting(bool on)
{
    for (QPushButton* b : {command_delete_, command_insert_, command_clear_, command_save_, command_add_})
        b->setEnabled(on);
}

void Form17::setcellsfocusable(bool on)
{
    for (int i = 0; i < rows; ++i) {
        adr_[static_cast<size_t>(i)]->setFocusPolicy(on ? Qt::StrongFocus : Qt::NoFocus);
        inst_[static_cast<size_t>(i)]->setFocusPolicy(on ? Qt::StrongFocus : Qt::NoFocus);
    }
}

// Waits for the click on a row. The group list rests meanwhile, so that a wait and an
// instruction in work never stand side by side.
void Form17::awaitrow(uint16_t& flag, QWidget* after)
{
    enablelisting(false);
    Combo1_->setEnabled(false);
    flag = pending;
    Text1_->show();
    afterrow_ = after;
    setcellsfocusable(true);
    focuscell(rows); // the first instruction cell
}

void Form17::command_update_Click()
{
    showinstructionbuttons(false);
    awaitrow(pendingupdate_, Combo1_);
}

void Form17::command_delete_Click()
{
    awaitrow(pendingdelete_, command_delete_);
}

void Form17::command_insert_Click()
{
    awaitrow(pendinginsert_, command_insert_);
}

void Form17::applytorow(int i)
{
    if (pendingdelete_ == 0 && pendinginsert_ == 0 && pendingupdate_ == 0)
        return;
    const int32_t row = i + pozicijav_->value();
    if (row > listing_.rowcount)
        return;
    Text1_->hide();
    Combo1_->setEnabled(true);
    enablelisting(true);
    setcellsfocusable(false);
    if (pendingdelete_ != 0) {
        pendingdelete_ = 0;
        listing_.deleterow(row);
    } else if (pendinginsert_ != 0) {
        pendinginsert_ = 0;
        listing_.insertrow(row);
    } else {
        pendingupdate_ = 0;
        listing_.rowtext[static_cast<size_t>(row)] = lininst_->text().toStdString();
        lininst_->clear();
    }
    drawlisting();
    if (afterrow_ != nullptr)
        afterrow_->setFocus();
}

void Form17::command_add_Click()
{
    for (int i = 0; i < Form17Listing::addedrows; ++i)
        listing_.addrow({});
    drawlisting();
}

void Form17::command_clear_Click()
{
    resetlisting();
}

void Form17::command_save_Click()
{
    if (listing_.lasttextrow() == 0) {
        confirm(this, QString::fromLatin1(emptymessage));
        return;
    }
    const QString path = asksavepath(this, assemblersource);
    if (path.isEmpty())
        return;
    command_save_->setEnabled(false);
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    std::string error;
    if (!writefilesafely(path.toStdString(), listing_.sourcetext(), &error))
        messagebox(this, qs(error));
    command_save_->setEnabled(true);
    command_save_->setFocus();
}

// ---- Wheel and keyboard. ----

void Form17::wheel(int delta)
{
    if (delta == 0)
        return;
    if (wheelrest_ != 0 && (delta > 0) != (wheelrest_ > 0))
        wheelrest_ = 0; // a turn the other way starts afresh
    wheelrest_ += delta;
    const int notches = wheelrest_ / notch;
    wheelrest_ -= notches * notch;
    if (notches != 0)
        pozicijav_->setValue(pozicijav_->value() - wheelrows * notches); // towards the user goes down
}

void Form17::wheelEvent(QWheelEvent* event)
{
    wheel(event->angleDelta().y());
    event->accept();
}

void Form17::focuscell(int cell)
{
    const int r = cell % rows;
    (cell < rows ? adr_ : inst_)[static_cast<size_t>(r)]->setFocus(Qt::OtherFocusReason);
}

// Arrows move over the cells (the view follows past its edges); Enter or Space picks the row.
bool Form17::rowkey(int cell, int key)
{
    int r = cell % rows;
    int column = cell / rows;
    switch (key) {
    case Qt::Key_Up:
        if (r > 0)
            --r;
        else
            pozicijav_->setValue(pozicijav_->value() - 1);
        break;
    case Qt::Key_Down:
        if (r < rows - 1)
            ++r;
        else
            pozicijav_->setValue(pozicijav_->value() + 1);
        break;
    case Qt::Key_Left:
    case Qt::Key_Right:
        column = 1 - column;
        break;
    case Qt::Key_PageUp:
        pozicijav_->setValue(pozicijav_->value() - rows);
        break;
    case Qt::Key_PageDown:
        pozicijav_->setValue(pozicijav_->value() + rows);
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        applytorow(r);
        return true;
    default:
        return false;
    }
    focuscell(column * rows + r);
    return true;
}

void Form17::keyPressEvent(QKeyEvent* event)
{
    const int key = event->key();
    const bool plain = (event->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier)) == 0;
    const bool enter = key == Qt::Key_Return || key == Qt::Key_Enter;
    if (plain && frames_[8]->isVisible()) {
        int index = -1;
        if (key >= Qt::Key_0 && key <= Qt::Key_9)
            index = key - Qt::Key_0;
        else if (key >= Qt::Key_A && key <= Qt::Key_F)
            index = keyletterA + key - Qt::Key_A;
        else if (key == Qt::Key_L)
            index = keyL;
        else if (enter)
            index = keyaccept;
        if (index >= 0) {
            but_[static_cast<size_t>(index)]->click();
            return;
        }
    }
    if (plain && key == Qt::Key_Escape && command_cancel_->isVisible()) {
        command_cancel_->click();
        return;
    }
    if (plain && enter) {
        // Enter presses the button or picks the option that has the focus.
        if (auto* b = qobject_cast<QAbstractButton*>(focusWidget()); b != nullptr && isAncestorOf(b)) {
            b->click();
            return;
        }
    }
    QWidget::keyPressEvent(event);
}

bool Form17::eventFilter(QObject* watched, QEvent* event)
{
    if (hint_ != nullptr && (event->type() == QEvent::ShowToParent || event->type() == QEvent::HideToParent ||
                             (event->type() == QEvent::EnabledChange && watched == Combo1_))) {
        // The hint shows while the group list waits for a choice and no frame stands.
        hint_->setVisible(Combo1_->isEnabled() && std::none_of(frames_.begin(), frames_.end(), [](QGroupBox* f) {
                              return f->isVisibleTo(f->parentWidget());
                          }));
        return false;
    }
    if (event->type() == QEvent::Wheel && watched == pozicijav_) {
        wheel(static_cast<QWheelEvent*>(event)->angleDelta().y());
        return true;
    }
    if (event->type() == QEvent::KeyPress) {
        for (int i = 0; i < rows; ++i) {
            const int key = static_cast<QKeyEvent*>(event)->key();
            if (watched == adr_[static_cast<size_t>(i)])
                return rowkey(i, key);
            if (watched == inst_[static_cast<size_t>(i)])
                return rowkey(rows + i, key);
        }
    }
    if (event->type() == QEvent::MouseButtonRelease) {
        // A click on a form's description picks the form.
        const QVariant form = watched->property("form");
        if (form.isValid() && static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
            polje_[static_cast<size_t>(form.toInt())]->click();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

// ---- Unload. ----

void Form17::unload()
{
    if (unloaded_)
        return;
    unloaded_ = true;
    savewindowposition(this, 17);
    if (toolrouter().window(Tool::Form17) == this)
        toolrouter().closed(Tool::Form17);
}

void Form17::closeEvent(QCloseEvent* event)
{
    unload();
    event->accept();
}

} // namespace kelvane
