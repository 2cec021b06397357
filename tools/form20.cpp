#include "tools/form20.h"

#include "core/hexutil.h"
#include "sim/machinestate.h"

#include <QCheckBox>

namespace kelvane {

Form20::Form20() : HexEditorWindow(Tool::Form20, QStringLiteral("I/O Ports Editor"))
{
    setObjectName(QStringLiteral("Form20"));
    ontopbox()->setFocusPolicy(Qt::StrongFocus);
    load(nullptr, ontopbox());
}

void Form20::ioprint()
{
    grid()->markdue();
}

const int32_t* Form20::viewvalues()
{
    return machinestate().ports.data();
}

QString Form20::rowlabel(int row) const
{
    return QString::fromStdString(hexbyte(row * 16)) + QStringLiteral("h:  ");
}

int32_t Form20::celladdress(int row, int column) const
{
    // Column 16 is the next row's first port; after the last row there is none.
    const int32_t port = row * 16 + column;
    return port < 256 ? port : -1;
}

void Form20::store(int32_t port, int32_t value)
{
    auto& st = machinestate();
    st.ports[static_cast<size_t>(port)] = value;
    grid()->refresh();
    for (size_t n = 1; n <= 4; ++n) {
        if (st.devenabled[n] && st.devinput[n] && st.devport[n] == port) {
            st.devvalue[n] = value;
            if (st.Form5)
                toolrouter().devicerefresh(static_cast<int>(n), value);
        }
    }
}

} // namespace kelvane
