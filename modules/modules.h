// The modules' place in the program: Form21's factory, kreirajobjekte for the main window's
// start, and the automation server, which takes its bus name at once and keeps it until the
// program quits.
#pragma once

namespace kelvane {

class ToolRouter;

void registermodules(ToolRouter& router);

} // namespace kelvane
