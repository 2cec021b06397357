#include "shell/help.h"

#include "shell/messages.h"
#include "shell/printing.h"
#include "shell/theme.h"

#include <QFontDatabase>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPointer>

namespace kelvane {

namespace {

// The manual. Plain text, lines of at most 78 characters. Each window of the program has its
// place here: a new window or command brings its paragraph.
const char* const manual = R"(KELVANE - A DEVELOPMENT AND TEACHING ENVIRONMENT FOR THE 8085

Kelvane simulates an 8085 microprocessor with 64K of memory and 256
I/O ports. The main window is the front panel of the simulated processor:
the registers A, B, C, D, E, H, L, the stack pointer and the program
counter, the flags, the memory byte addressed by HL, the last and the next
instruction, the number of executed instructions and clock cycles, and the
interrupt inputs as buttons. Around the panel stand the tools: a memory
editor, an I/O ports editor, peripheral devices with an output terminal, a
breakpoints manager, an assembler, an interactive assembler, a
disassembler, a BASIC compiler and a simulation log viewer.

A typical session: write or load a program, choose a rate, start the
simulation, watch the panel, stop it and read the statistics.


THE FRONT PANEL

Program Status Word        A and the flag byte F
Main Registers             B, C, D, E
Data Pointer               H, L and (HL), the memory byte H and L address
Program Counter and Stack Pointer
Flag Register              S, Z, AC, P and CY, with the unused bits 5, 3, 1
Simulation Statistics      the clock cycles and the executed instructions
Last and Next Instruction  the instruction just executed and the one at PC
Program Location           the file of the loaded program (point at it to
                           read a long path whole)

Changing a register while stepping
    While a program runs at the Step By Step rate, click a register (A,
    B, C, D, E, H, L, PC or SP) or a flag (S, Z, AC, P or CY): a box
    opens over it. Type the new value in hex, two digits for a register,
    four for PC and SP, 0 or 1 for a flag, and press Enter; Esc, or a
    click anywhere else, leaves the value as it was. A value that is not
    hex (or a flag other than 0 or 1) is ignored. F, (HL), the unused
    flag bits and the counters follow the others and can't be typed
    over. The next Step executes from the PC you entered.


FILE MENU

Clear Memory (Ctrl+C)
    Fills the whole 64K memory with zeros, forgets the loaded program,
    resets the processor to its power-on values and removes all
    breakpoints. There is no question before clearing.

Load Program (Ctrl+L)
    Loads a program into memory. The type of the file is chosen by the
    filter of the file dialog, not by the file's extension:
    "Binary OBJ files" and "All files" load a binary image, byte n of the
    file going to address n (at most 64K, not empty); "Intel HEX files"
    reads an Intel HEX file, which may place its records anywhere in the
    64K. A file with an error is refused with the line number and the
    kind of the error, and memory stays as it was. A successful load
    clears the rest of memory, resets the processor, drops all
    breakpoints and tells how many bytes were loaded. The full path of
    the program is shown on the panel.

Save Memory (Ctrl+S)
    Saves memory from address 0 up to the highest address that holds a
    byte other than zero, as a binary image or as Intel HEX, by the
    filter chosen. The extension is always set by the format: a name you
    type is cut at its first point. An existing file is replaced only
    after you answer Yes, and the old file survives a failed write. An
    empty memory is not saved.

All file dialogs open in the folder last used, and remember it.


SIMULATION MENU

1 Start (F1)
    Resets the processor (registers, flags, counters; memory is kept),
    sets the program counter to the starting address and runs the
    program at the chosen rate. During a run the file commands and a few
    options are disabled.

2 Step (F2)
    At the Step By Step rate each Step executes one instruction. The
    menu item STEP beside the other menus does the same.

3 Stop (F3)
    Ends the run and shows the statistics: instructions, clock cycles,
    the time the program would take on a real processor at the chosen
    clock frequency, and the real time the simulation took.

Interrupt Control
    The buttons TRAP, RST 7.5, RST 6.5, RST 5.5 and INTR raise the
    interrupt inputs; a button is enabled only when the processor would
    accept the interrupt (EI and the masks set by SIM decide). INTR asks
    which RST instruction the device supplies. RESET resets the processor
    and runs on from the starting address while the mouse button is held.
    SID sets the serial input line that RIM reads; SOD shows the serial
    output line that SIM writes. At rates other than Step By Step an
    interrupt is served after the current instruction.


RATE MENU

1 Step By Step (Ctrl+F1)   one instruction per Step command
2 Slow (Ctrl+F2)           a pause of up to 0.7 s after each instruction
3 Normal (Ctrl+F3)         a pause of up to 0.12 s after each instruction
4 Fast (Ctrl+F4)           a pause of up to 25 ms after each instruction
5 Extremely Fast (Ctrl+F5) no pause; the panel follows every instruction
6 Ultimate (Ctrl+F6)       no pause; the panel is refreshed by a timer

The rate may be changed while a program runs. A breakpoint, and the box
"Switch To Step By Step Rate" of the IN dialog, switch to Step By Step.


TOOLS MENU

Memory Editor (Ctrl+M)
    Shows memory as hex and text and lets you change any byte.
Disassembler (Ctrl+D)
    Turns a program file into a listing or into assembler source that
    assembles back to the same bytes.
Peripheral Devices (Ctrl+P)
    Four eight-bit input or output devices of lamps and switches, each on
    a port of your choice, and an output terminal that shows the
    characters a program sends to its port.
I/O Ports Editor (Ctrl+I)
    Shows all 256 ports and lets you set the value an IN instruction
    reads.
External Modules (Ctrl+X)
    Connects up to five external modules, which the simulator calls on
    each port access and after each instruction.
Assembler (Ctrl+A)
    An editor for 8085 assembler source with a listing beside it. The
    assembler writes a listing (.lst), a binary image (.obj) and, on
    option, an Intel HEX file (.hex), and can load the result into
    memory.
Breakpoints Manager (Ctrl+B)
    Follows the loaded program in its listing and holds up to ten
    breakpoints; reaching one switches the run to Step By Step. It opens
    only when a program is loaded.
BASIC Compiler (Ctrl+R)
    Compiles a small typed BASIC into assembler source.
Simulation Log Viewer (Ctrl+V)
    Shows the log of executed instructions written when logging is on.
Interactive Assembler Editor (Ctrl+E)
    Builds assembler source by pointing and clicking.


OPTIONS MENU

Enable Logging
    Writes every executed instruction to the file log.txt.
HLT Stops Simulation
    An HLT instruction ends the run; otherwise the processor waits for an
    interrupt.
FF Power On Defaults
    The registers and the stack pointer start as FF (and FFFF) and every
    flag as 1; otherwise all start as 0.
Refresh Memory Editor, Refresh Breakpoints Manager
    These windows follow the program after each instruction (slower).
Save Positions
    Windows open where they were last closed; otherwise they are centred.
Change Clock Frequency
    The clock in MHz, used for the real-time figure of the statistics.
Change Starting Address
    The address (0000-FFFF, hex) at which the program counter starts.
Prompt For Value Before IN Instruction
    Each IN instruction asks for the value it reads. The dialog offers an
    ASCII keyboard and a box that switches the run to Step By Step.
    Without the prompt IN reads the value last seen on the port.
Enable IN/OUT Instructions Logging
    Writes every IN and OUT with date, time and address to io.txt.
Show Confirmation Boxes
    Results are shown in message boxes that need a click. Otherwise a
    small window appears under the window that reports and goes away by
    itself; click its text to change how long it stays.
Change Ultimate Rate Refresh Interval
    How often (1-2000 ms) the panel is refreshed at the Ultimate rate.
Editor Setup, Change Color Theme
    The fonts and colours of the editors, and the colours of the windows.

The settings are kept per user and are read again at the next start.
The files log.txt and io.txt are kept in the program's data folder.


HELP MENU

Help Topics
    This text.
Check For Updates
    Asks the program's web site whether a newer version exists.
About Kelvane
    The version and the terms of use; a click elsewhere closes it.


THE ASSEMBLER AND ITS LIMITS

- One statement a line; a comment begins with ";" anywhere in the line,
  so a ";" can't stand in a character or string constant.
- A label stands in the first column and ends at the first blank; the
  colon is optional; at most 32 characters. Anything in the first
  column is taken as a label, so instructions must be indented.
  Directives that begin with a point may start in the first column.
- Directives: .ORG, .EQU (EQU), .DB (DB, .DEFB), .DW (DW, .DEFW), .DS
  and .END; .END does not stop the assembly.
- A .DB or .DW list holds at most 16 bytes (8 words) a line; a string in
  quotes is taken apart into its characters.
- Numbers are decimal, hex with H (a leading 0 when the first digit is a
  letter) or binary with B; 'A' is a character code; $ stands for the
  current address.
- An operand is one term, or two terms joined by one of + - * / (the
  division rounds). There are no parentheses, no precedence and no
  operators for the high or the low byte of a value.
- Labels used by .ORG, .DS and .EQU must be defined above them.
- No macros, no include files and no conditional assembly.
- The image always starts at address 0, and the bytes up to the first
  code are zeros; a later .ORG that goes back overwrites without a
  warning.
- Errors are shown on their lines; the files are written anyway.
)";

} // namespace

QString helptext()
{
    return QString::fromUtf8(manual);
}

HelpWindow::HelpWindow(QWidget* parent)
    : QMainWindow(parent, Qt::Window)
{
    setObjectName(QStringLiteral("Form4"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("Help Topics"));
    text1_ = new QPlainTextEdit(this);
    text1_->setObjectName(QStringLiteral("Text1"));
    text1_->setReadOnly(true);
    text1_->setLineWrapMode(QPlainTextEdit::NoWrap);
    text1_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    text1_->setPlainText(helptext());
    setCentralWidget(text1_);
    // "&Print": the manual in the fixed-pitch printer font, titled as the window.
    QAction* menuprint = menuBar()->addAction(QStringLiteral("&Print"));
    menuprint->setObjectName(QStringLiteral("menuprint"));
    connect(menuprint, &QAction::triggered, this,
            [this] { printsource(this, windowTitle(), printabletext(text1_->toPlainText())); });
    const QFontMetrics fm(text1_->font());
    resize(fm.horizontalAdvance(QString(80, QLatin1Char('M'))) + 40, fm.lineSpacing() * 36);
    themetextwindow(this, text1_);
}

HelpWindow* showhelp(QWidget* parent)
{
    static QPointer<HelpWindow> current;
    if (!current)
        current = new HelpWindow(parent);
    current->show();
    current->raise();
    current->activateWindow();
    return current;
}

} // namespace kelvane
