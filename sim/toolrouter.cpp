#include "sim/toolrouter.h"

#include "shell/theme.h"
#include "sim/machinestate.h"

namespace kelvane {

namespace {

constexpr std::array<Tool, 13> alltools = {Tool::Form2,  Tool::Form5,  Tool::Form6,  Tool::Form8,  Tool::Form9,
                                           Tool::Form12, Tool::Form16, Tool::Form17, Tool::Form20, Tool::Form21,
                                           Tool::Form04, Tool::Form15, Tool::Form60};

size_t indexof(Tool t)
{
    for (size_t i = 0; i < alltools.size(); ++i)
        if (alltools[i] == t)
            return i;
    return 0;
}

} // namespace

ToolRouter& toolrouter()
{
    static ToolRouter* router = new ToolRouter(); // lives as long as the process
    return *router;
}

ToolRouter::Slot& ToolRouter::slot(Tool t)
{
    return slots_[indexof(t)];
}

const ToolRouter::Slot& ToolRouter::slot(Tool t) const
{
    return slots_[indexof(t)];
}

bool* ToolRouter::openflag(MachineState& st, Tool t)
{
    switch (t) {
    case Tool::Form2: return &st.Form2;
    case Tool::Form5: return &st.Form5;
    case Tool::Form6: return &st.Form6;
    case Tool::Form8: return &st.Form8;
    case Tool::Form9: return &st.Form9;
    case Tool::Form12: return &st.Form12;
    case Tool::Form16: return &st.Form16;
    case Tool::Form17: return &st.Form17;
    case Tool::Form20: return &st.Form20;
    case Tool::Form21: return &st.Form21;
    default: return nullptr;
    }
}

void ToolRouter::setfactory(Tool t, Factory f)
{
    slot(t).factory = std::move(f);
}

bool ToolRouter::hasfactory(Tool t) const
{
    return static_cast<bool>(slot(t).factory);
}

QWidget* ToolRouter::show(Tool t)
{
    Slot& s = slot(t);
    if (!s.window) {
        if (!s.factory)
            return nullptr;
        QWidget* w = s.factory();
        if (!w)
            return nullptr;
        // A window that did not announce itself at load is still known while it stands.
        if (!s.window)
            s.window = w;
        w->show();
        return w;
    }
    QWidget* w = s.window;
    if (w->isMinimized())
        w->showNormal();
    w->show();
    w->raise();
    w->activateWindow();
    return w;
}

QWidget* ToolRouter::window(Tool t) const
{
    return slot(t).window;
}

ToolWindow* ToolRouter::tool(Tool t) const
{
    const Slot& s = slot(t);
    return s.window ? s.calls : nullptr;
}

void ToolRouter::opened(Tool t, QWidget* w, ToolWindow* calls)
{
    Slot& s = slot(t);
    s.window = w;
    s.calls = calls;
    forgetdue(t);
    if (bool* flag = openflag(machinestate(), t))
        *flag = true;
    recompute();
    if (calls)
        calls->settheme(); // a window takes the theme as it loads
}

void ToolRouter::closed(Tool t)
{
    Slot& s = slot(t);
    s.window = nullptr;
    s.calls = nullptr;
    forgetdue(t);
    if (bool* flag = openflag(machinestate(), t))
        *flag = false;
    recompute();
}

void ToolRouter::unloadall()
{
    for (Tool t : alltools) {
        Slot& s = slot(t);
        if (QWidget* w = s.window) {
            w->close();
            // A window that refused to close or did not announce its unload is let go here.
            if (slot(t).window)
                closed(t);
        }
    }
}

void ToolRouter::recompute()
{
    MachineState& st = machinestate();
    MachineHooks& hooks = machinehooks();
    refreshmemory_ = st.optrefreshmemory == "ON" && (st.Form2 || st.Form20);
    refreshbreakpoints_ = st.optrefreshbreakpoints == "ON" && st.Form8;
    breakpointsview_ = refreshbreakpoints_ ? tool(Tool::Form8) : nullptr;
    settoolsopen();
    const ToolWindow* viewer = tool(Tool::Form16);
    viewertakes_ = viewer && viewer->takesrows();
    hooks.wantlog = logfileopen_ || viewertakes_;
    // The viewer's rows are handed over one by one; otherwise the file's go straight in.
    hooks.logblock = logfileopen_ && !viewertakes_ ? logblock_ : nullptr;
}

void ToolRouter::setlogfile(LogBlock* block)
{
    logfileopen_ = block != nullptr;
    logblock_ = block;
    recompute();
}

void ToolRouter::toolrefresh(MachineState& st)
{
    if (breakpointsview_) // found by recompute: no lookup per instruction
        breakpointsview_->drawlines();
    if (refreshmemory_) {
        if (st.Form2)
            memorijaprint();
        if (st.Form20)
            ioprint();
    }
}

void ToolRouter::memorijaprint()
{
    if (memorydue_)
        return; // the editor's next frame shows what memory holds then
    if (ToolWindow* w = tool(Tool::Form2)) {
        memorydue_ = true;
        settoolsopen();
        w->memorijaprint();
    }
}

void ToolRouter::ioprint()
{
    if (portsdue_)
        return;
    if (ToolWindow* w = tool(Tool::Form20)) {
        portsdue_ = true;
        settoolsopen();
        w->ioprint();
    }
}

void ToolRouter::redrawn(Tool t)
{
    forgetdue(t);
    settoolsopen();
}

void ToolRouter::forgetdue(Tool t)
{
    if (t == Tool::Form2)
        memorydue_ = false;
    if (t == Tool::Form20)
        portsdue_ = false;
}

void ToolRouter::settoolsopen()
{
    // Each condition a boolean: nothing is compared per instruction.
    const MachineState& st = machinestate();
    const bool editorwaits = (st.Form2 && !memorydue_) || (st.Form20 && !portsdue_);
    machinehooks().toolsopen = refreshbreakpoints_ || (refreshmemory_ && editorwaits);
}

void ToolRouter::drawlines()
{
    if (ToolWindow* w = tool(Tool::Form8))
        w->drawlines();
}

void ToolRouter::logadd(std::string_view row)
{
    if (!viewertakes_)
        return;
    if (ToolWindow* w = tool(Tool::Form16))
        if (w->takesrows())
            w->logadd(row);
}

void ToolRouter::logclean()
{
    if (ToolWindow* w = tool(Tool::Form16))
        w->logclean();
}

void ToolRouter::devicerefresh(int n, int32_t value)
{
    if (ToolWindow* w = tool(Tool::Form5))
        w->devicerefresh(n, value);
}

void ToolRouter::settheme()
{
    if (themehook)
        themehook();
    for (Tool t : alltools)
        if (ToolWindow* w = tool(t))
            w->settheme();
    themefollowers();
}

void ToolRouter::unloadbreakpoints()
{
    if (QWidget* w = window(Tool::Form8)) {
        w->close();
        if (slot(Tool::Form8).window)
            closed(Tool::Form8);
    }
}

} // namespace kelvane
