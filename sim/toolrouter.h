// The one place that knows which tool windows are open: their window-open flags in the machine
// state, the factories that make them, and the routes of the machine's redraw calls
// (memorijaprint, ioprint, drawlines, logadd, devices, settheme) to the open ones.
//
// Interface for a tool window (every window of tools/, modules/, assembler/ui/, ...):
//   class Form2 : public QWidget, public ToolWindow { ... override the calls it answers ... };
//   at load:    toolrouter().opened(Tool::Form2, this, this);
//   at unload:  toolrouter().closed(Tool::Form2);      (the window deletes itself on close)
//   app/windows.cpp registers one factory per window:
//      r.setfactory(Tool::Form2, [] { return new Form2; });
// Form1 shows a window by toolrouter().show(Tool::Form2), unloads them all at its own unload by
// unloadall(), and fills maincommands so that tool windows and the automation reach its commands
// without including its header.
#pragma once
#include "core/hooks.h"
#include "core/machine.h"
#include "sim/programfiles_ui.h"

#include <QPointer>
#include <QString>
#include <QWidget>

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <string_view>

namespace kelvane {

// The windows the router can show. The tool windows with a window-open flag carry their form
// number; the shell's windows without a flag come after them.
enum class Tool : int {
    Form2 = 2,   // Memory Editor
    Form5 = 5,   // Peripheral Devices
    Form6 = 6,   // Assembler
    Form8 = 8,   // Breakpoints Manager
    Form9 = 9,   // Disassembler
    Form12 = 12, // BASIC Compiler
    Form16 = 16, // Simulation Log Viewer
    Form17 = 17, // Interactive Assembler Editor
    Form20 = 20, // I/O Ports Editor
    Form21 = 21, // External Modules
    Form04 = 104, // Editor Setup
    Form15 = 15,  // Change Color Theme
    Form60 = 60,  // Check For Updates
};

// The tool windows with an open flag, in the order Form1's unload closes them.
inline constexpr std::array<Tool, 10> flaggedtools = {Tool::Form2,  Tool::Form5,  Tool::Form6,  Tool::Form8,
                                                      Tool::Form9,  Tool::Form12, Tool::Form16, Tool::Form17,
                                                      Tool::Form20, Tool::Form21};

// What an open window answers. Each window overrides the calls that concern it.
class ToolWindow {
public:
    virtual ~ToolWindow() = default;
    // Memory Editor: redraw the grid. It may draw later (at its next frame) and then tells the
    // router by redrawn(Tool::Form2) when it has; until then the router does not ask it again.
    virtual void memorijaprint() {}
    // I/O Ports Editor: redraw the grid; the same, with redrawn(Tool::Form20).
    virtual void ioprint() {}
    // Breakpoints Manager: the listing's lines and markers.
    virtual void drawlines() {}
    // Simulation Log Viewer: one finished log row; the viewer's emptying at Start.
    virtual void logadd(std::string_view row) { (void)row; }
    virtual void logclean() {}
    // Simulation Log Viewer: true while it takes rows (open, no file shown, room left).
    virtual bool takesrows() const { return false; }
    // Peripheral Devices: device n (1-4) took `value`, or 5: the terminal took a character.
    virtual void devicerefresh(int n, int32_t value)
    {
        (void)n;
        (void)value;
    }
    // Colours of the current theme.
    virtual void settheme() {}
    // A file handed to the window (from the command line or another start): true if taken.
    virtual bool openfile(const QString& path)
    {
        (void)path;
        return false;
    }
};

// Form1's commands, filled by Form1 when it stands. Empty functions mean no main window.
struct MainCommands {
    std::function<void()> menustart, menustep, menustop;
    std::function<void(int)> menuspeed;          // menuspeedN_Click
    std::function<bool()> startenabled, stepenabled, stopenabled;
    std::function<void(int)> interruptbutton;    // Command2_Click .. Command6_Click (2-6)
    std::function<void()> clickreset;            // the RESET button as a click
    std::function<void()> ekran;                 // the panel redrawn from the state
    std::function<FileMenuHooks()> filemenuhooks; // what a program load needs (qstaza, clean, menus)
    std::function<QWidget*()> window;            // Form1 itself (parent of dialogs)
};

class ToolRouter {
public:
    using Factory = std::function<QWidget*()>;

    void setfactory(Tool t, Factory f);
    bool hasfactory(Tool t) const;
    // Shows the window modelessly: made by its factory when not open, otherwise raised and
    // activated. Returns the window, or nullptr when none is registered.
    QWidget* show(Tool t);
    // The open window, or nullptr.
    QWidget* window(Tool t) const;
    ToolWindow* tool(Tool t) const;

    // Called by a window at its load and its unload: sets and clears the window-open flag,
    // keeps the window and recomputes what the machine calls after each instruction. At load the
    // window takes the current theme (its settheme).
    void opened(Tool t, QWidget* w, ToolWindow* calls);
    void closed(Tool t);
    // Form1's unload: closes the open tool windows in the order of flaggedtools, then the rest.
    void unloadall();

    // Recomputes toolsopen, wantlog and logblock of the machine's hooks (a window opened or
    // closed, a refresh option toggled, the log file opened or closed, the viewer's room changed:
    // the viewer calls it whenever its takesrows() changes).
    void recompute();
    // The log file opened (with the block its rows go into) or closed (nullptr). While the
    // viewer takes no rows, the machine writes rows into the block itself.
    void setlogfile(LogBlock* block);
    bool logfileopen() const { return logfileopen_; }
    // The viewer is open and takes rows (as of the last recompute).
    bool viewertakes() const { return viewertakes_; }

    // The machine's calls, routed to the open windows under their options.
    void toolrefresh(MachineState& st); // after each instruction: drawlines, memorijaprint, ioprint
    void memorijaprint();               // when Form2 is open
    void ioprint();                     // when Form20 is open
    // An editor has drawn what memorijaprint or ioprint asked: it is asked again from now on.
    // While every open editor waits for its frame, the machine calls nothing for them after an
    // instruction (toolsopen stays false unless another window follows each instruction).
    void redrawn(Tool t);
    void drawlines();                   // when Form8 is open
    void logadd(std::string_view row);  // when the viewer takes rows
    void logclean();                    // when Form16 is open
    void devicerefresh(int n, int32_t value); // when Form5 is open
    // applytheme: Form1 (themehook), every open window in the order of alltools (the flagged
    // ones first), then the shell's windows that follow the theme (About, Help, messages).
    void settheme();
    void unloadbreakpoints();           // closes Form8 when open

    // Form1's own settheme, set by Form1.
    std::function<void()> themehook;
    // kreirajobjekte and the modules' side of start and unload, set by the module host.
    std::function<void()> kreirajobjekte;
    // Set from the automation server's watching thread while a call waits on the bus: the
    // Ultimate rate's slice of steps ends early, so that its pump answers the call.
    std::atomic<bool> callwaiting{false};
    MainCommands maincommands;

private:
    struct Slot {
        Factory factory;
        QPointer<QWidget> window;
        ToolWindow* calls = nullptr;
    };
    Slot& slot(Tool t);
    const Slot& slot(Tool t) const;
    static bool* openflag(MachineState& st, Tool t);

    std::array<Slot, 13> slots_{};
    bool logfileopen_ = false;
    LogBlock* logblock_ = nullptr;
    bool viewertakes_ = false; // the viewer's takesrows() at the last recompute
    bool refreshmemory_ = false, refreshbreakpoints_ = false;
    bool memorydue_ = false, portsdue_ = false; // an editor asked to redraw that has not drawn yet
    void forgetdue(Tool t);
    void settoolsopen();
    ToolWindow* breakpointsview_ = nullptr; // Form8 while it is open and follows each instruction
};

ToolRouter& toolrouter();

} // namespace kelvane
