// The Assembler window in the current theme: the form and its menus in the theme's colours,
// the progress frame Frame1 in the label colours with its two lines in the value colours. The
// two editors keep the colours of the editor settings.
#include "assembler/ui/form6.h"
#include "shell/theme.h"

#include <QGroupBox>
#include <QLabel>

namespace kelvane {

void Form6::settheme()
{
    themewindow(this);
    const ThemeState& t = theme();
    setpair(frame1_, t.labelback, t.labeltext);
    setpair(label1_, t.valueback, t.valuetext);
    setpair(label2_, t.valueback, t.valuetext);
}

} // namespace kelvane
