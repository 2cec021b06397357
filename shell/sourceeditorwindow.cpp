#include "shell/sourceeditorwindow.h"

#include "sim/machinestate.h"
#include "sim/settings.h"

#include <QCloseEvent>
#include <QWidget>

#include <algorithm>
#include <string>

namespace kelvane {

void placesourcewindow(QWidget* window, int number, int widthtwips, int heighttwips)
{
    const std::string n = "Window" + std::to_string(number);
    if (machinestate().optsavepositions != "OFF") {
        widthtwips = leadingint(regread(n + " Width", std::to_string(widthtwips)));
        heighttwips = leadingint(regread(n + " Height", std::to_string(heighttwips)));
    }
    window->resize(std::max(twipstopixels(widthtwips), window->minimumWidth()),
                   std::max(twipstopixels(heighttwips), window->minimumHeight()));
    placewindow(window, number);
}

void savesourcewindow(QWidget* window, int number)
{
    if (window->isMinimized() || window->isMaximized())
        window->showNormal();
    savewindowposition(window, number);
    const std::string n = "Window" + std::to_string(number);
    regwrite(n + " Height", pixelstotwips(window->height()));
    regwrite(n + " Width", pixelstotwips(window->width()));
}

void WindowCommand::end(QWidget* window)
{
    busy_ = false;
    if (closepending_)
        window->deleteLater();
}

bool WindowCommand::holdclose(QWidget* window, QCloseEvent* event)
{
    if (!busy_)
        return false;
    closepending_ = true;
    window->hide();
    event->ignore();
    return true;
}

} // namespace kelvane
