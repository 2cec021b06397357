#include "sim/optionsdialogs.h"

#include "core/execute.h"
#include "core/hexutil.h"
#include "shell/messages.h"
#include "sim/settings.h"


#include <cmath>

namespace kelvane {

const std::array<OptionToggle, 9> optiontoggles = {{
    {"Enable Logging", "menuenablelogging", "Enable Logging", &MachineState::optlogging},
    {"HLT Stops Simulation", "menuhaltstopssimulation", "HALT Stops Simulation", &MachineState::opthalt},
    {"FF Power On Defaults", "menuffpowerondefaults", "FF Power On Defaults", &MachineState::optffdefaults},
    {"Refresh Memory Editor", "menurefreshmemoryeditor", "Refresh Memory Editor", &MachineState::optrefreshmemory},
    {"Refresh Breakpoints Manager", "menurefreshbreakpointsmanager", "Refresh Breakpoints Manager",
     &MachineState::optrefreshbreakpoints},
    {"Save Positions", "menusavepositions", "Save Positions", &MachineState::optsavepositions},
    {"Prompt For Value Before IN Instruction", "menuinprompt", "Prompt Before IN", &MachineState::optinprompt},
    {"Enable IN/OUT Instructions Logging", "menuinlog", "Log IN And OUT", &MachineState::optinlog},
    {"Show Confirmation Boxes", "menuconfirm", "Show Confirmations", &MachineState::optconfirm},
}};

void toggleoption(MachineState& st, const OptionToggle& toggle, bool checked)
{
    std::string& field = st.*(toggle.field);
    field = checked ? "ON" : "OFF";
    regwrite(toggle.setting, field);
}

bool applyclockanswer(MachineState& st, bool accepted, const QString& answer)
{
    if (!accepted)
        return false;
    const double mhz = leadingnumber(answer.toStdString());
    const float value = static_cast<float>(mhz);
    if (!(mhz > 0) || !std::isfinite(value) || !(value > 0))
        return false;
    st.clockmhz = value;
    regwrite("Clock Frequency", clocktext(st.clockmhz));
    return true;
}

QString applyaddressanswer(MachineState& st, MachineHooks& hooks, const QString& answer, bool* changed)
{
    if (changed != nullptr)
        *changed = false;
    if (answer.isEmpty())
        return {};
    QString text = answer;
    while (text.size() < 4)
        text.prepend(QLatin1Char('0'));
    const int32_t address = parsehexword(text.toUpper().toStdString());
    if (address == -1)
        return QString::fromLatin1(wrongaddresstext);
    st.startaddress = address;
    regwrite("Starting Address", address);
    clean(st, hooks);
    if (changed != nullptr)
        *changed = true;
    return {};
}

QString applyultimateanswer(bool accepted, const QString& answer, bool* changed)
{
    if (changed != nullptr)
        *changed = false;
    const int32_t ms = accepted ? leadingint(answer.toStdString()) : 0;
    if (ms < 1 || ms > 2000)
        return QString::fromLatin1(ultimaterangetext);
    regwrite("Ultimate Timer", ms);
    if (changed != nullptr)
        *changed = true;
    return {};
}

bool menuclock_Click(MachineState& st, QWidget* parent)
{
    bool ok = false;
    const QString answer = inputbox(parent, QString::fromLatin1(clockprompt),
                                    QString::fromStdString(clocktext(st.clockmhz)), &ok);
    return applyclockanswer(st, ok, answer);
}

bool menuaddress_Click(MachineState& st, MachineHooks& hooks, QWidget* parent)
{
    bool ok = false;
    const QString answer = inputbox(parent, QString::fromLatin1(addressprompt),
                                    QString::fromStdString(hexword(st.startaddress)), &ok);
    bool changed = false;
    // A cancelled box answers with an empty text.
    const QString message = applyaddressanswer(st, hooks, ok ? answer : QString(), &changed);
    if (!message.isEmpty())
        confirm(parent, message);
    return changed;
}

bool menuultimaterefresh_Click(MachineState& st, QWidget* parent)
{
    if (st.running) {
        confirm(parent, QString::fromLatin1(stopfirsttext));
        return false;
    }
    bool ok = false;
    const QString answer = inputbox(parent, QString::fromLatin1(ultimateprompt),
                                    QString::fromStdString(regread("Ultimate Timer")), &ok);
    bool changed = false;
    const QString message = applyultimateanswer(ok, answer, &changed);
    if (!message.isEmpty())
        confirm(parent, message);
    return changed;
}

} // namespace kelvane
