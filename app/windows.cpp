#include "app/windows.h"

#include "sim/toolrouter.h"

// One include and one factory line per window library.

namespace kelvane {

void registerwindows()
{
    [[maybe_unused]] ToolRouter& r = toolrouter();
}

} // namespace kelvane
