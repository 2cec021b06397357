// The shell's windows as the router shows them, and applytheme, which Form15 calls after each
// change: Form1's settheme, then every open window's (see ToolRouter::settheme).
//
// Interface: registershellwindows(toolrouter()) from app/windows.cpp; dialogkeys(window, cancel)
// lets Enter click the focused button, check box or option of a window, as Space does, and Esc
// click `cancel`.
#pragma once

class QAbstractButton;
class QWidget;

namespace kelvane {

class ToolRouter;

void registershellwindows(ToolRouter& router);
void applytheme();
void dialogkeys(QWidget* window, QAbstractButton* cancel);

} // namespace kelvane
