#include "sim/machinestate.h"

namespace kelvane {

namespace {
MachineHooks defaulthooks;
MachineHooks* currenthooks = &defaulthooks;
} // namespace

MachineState& machinestate()
{
    static MachineState* st = new MachineState(); // lives as long as the process
    return *st;
}

MachineHooks& machinehooks()
{
    return *currenthooks;
}

void setmachinehooks(MachineHooks* hooks)
{
    currenthooks = hooks ? hooks : &defaulthooks;
}

} // namespace kelvane
