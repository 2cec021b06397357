// The one process-wide MachineState of the desktop program, and the hooks object that the
// windows install for it. Everything in the GUI reaches the machine through these two.
#pragma once
#include "core/hooks.h"
#include "core/machine.h"

namespace kelvane {

MachineState& machinestate();

// The hooks the machine calls; Form1 installs its own at start-up (a plain MachineHooks until then).
MachineHooks& machinehooks();
void setmachinehooks(MachineHooks* hooks);

} // namespace kelvane
