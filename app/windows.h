// The windows of the desktop program as the main window reaches them: registerwindows() gives the
// router one factory per tool window. The program and the window benchmark call it before Form1.
#pragma once

namespace kelvane {

void registerwindows();

} // namespace kelvane
