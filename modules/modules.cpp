#include "modules/modules.h"

#include "modules/form21.h"
#include "modules/modulehost.h"
#include "modules/server.h"
#include "sim/toolrouter.h"

#include <QCoreApplication>

namespace kelvane {

void registermodules(ToolRouter& router)
{
    router.setfactory(Tool::Form21, [] { return new Form21; });
    router.kreirajobjekte = [] {
        const MainCommands& main = toolrouter().maincommands;
        kreirajobjekte(main.window ? main.window() : nullptr);
    };
    automationserver().start();
    if (auto* app = QCoreApplication::instance())
        QObject::connect(app, &QCoreApplication::aboutToQuit, [] { automationserver().stop(); });
}

} // namespace kelvane
