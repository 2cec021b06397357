#include "app/windows.h"

#include "assembler/ui/form17.h"
#include "assembler/ui/form6.h"
#include "basic/ui/form12.h"
#include "disassembler/ui/form9.h"
#include "modules/modules.h"
#include "shell/ui/form60.h"
#include "shell/ui/shellwindows.h"
#include "sim/toolrouter.h"
#include "tools/form2.h"
#include "tools/form20.h"
#include "tools/form5.h"
#include "tools/form8.h"
#include "tools/form16.h"

// One include and one factory line per window library.

namespace kelvane {

void registerwindows()
{
    [[maybe_unused]] ToolRouter& r = toolrouter();
    r.setfactory(Tool::Form6, [] { return new Form6; });
    r.setfactory(Tool::Form9, [] { return new Form9; });
    r.setfactory(Tool::Form12, [] { return new Form12; });
    r.setfactory(Tool::Form2, [] { return new Form2; });
    r.setfactory(Tool::Form20, [] { return new Form20; });
    r.setfactory(Tool::Form5, [] { return new Form5; });
    r.setfactory(Tool::Form8, [] { return new Form8; });
    r.setfactory(Tool::Form16, [] { return new Form16; });
    r.setfactory(Tool::Form17, [] { return new Form17; });
    r.setfactory(Tool::Form60, [] { return new Form60; });
    registermodules(r);
    registershellwindows(r);
}

} // namespace kelvane
