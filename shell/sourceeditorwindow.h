// What the windows around a source or listing pane share: their size and place from the settings
// at load and back into them at unload, a command that lets events through while a close asked
// for meanwhile waits for its end, and their menus made from a table.
#pragma once
#include <QAction>
#include <QKeySequence>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

#include <vector>

class QCloseEvent;
class QWidget;

namespace kelvane {

// The size from "WindowN Width"/"WindowN Height" in twips (unless "Save Positions" is "OFF",
// then the default size), no smaller than the window's minimum, then the place (placewindow).
void placesourcewindow(QWidget* window, int number, int widthtwips, int heighttwips);
// At unload: a maximised or minimised window back to normal, then its place and size written.
void savesourcewindow(QWidget* window, int number);

// A window's command that lets events through: other commands wait for it, and a close asked
// for meanwhile hides the window, which is deleted when the command ends.
class WindowCommand {
public:
    bool busy() const { return busy_; }
    bool closepending() const { return closepending_; }
    void begin() { busy_ = true; }
    void end(QWidget* window);
    // From closeEvent: true (the event ignored, the window hidden) while a command runs.
    bool holdclose(QWidget* window, QCloseEvent* event);

private:
    bool busy_ = false;
    bool closepending_ = false;
};

// One item of a window's menu table: its menu (0 for the first), control name and caption, its key
// (a standard key, else a combination, else none), its handler, and a separator after it.
inline constexpr QKeyCombination menunokey = QKeyCombination(Qt::Key(0));
template <class Window>
struct MenuItem {
    int menu;
    const char* name;
    const char* caption;
    QKeySequence::StandardKey standard;
    QKeyCombination key;
    void (Window::*handler)();
    bool separator = false;
};

// The menus menu1, menu2, ... with these captions and the items of the table; an item's handler
// runs only while no command of the window is busy. (Keys are made here, once the application
// stands.)
template <class Window, size_t N>
std::vector<QMenu*> buildmenus(Window* window, const std::vector<const char*>& captions,
                               const MenuItem<Window> (&items)[N], const WindowCommand& command)
{
    std::vector<QMenu*> menus;
    for (const char* caption : captions) {
        menus.push_back(window->menuBar()->addMenu(QString::fromLatin1(caption)));
        menus.back()->setObjectName(QStringLiteral("menu%1").arg(menus.size()));
    }
    for (const MenuItem<Window>& item : items) {
        QMenu* menu = menus[static_cast<size_t>(item.menu)];
        QAction* a = menu->addAction(QString::fromLatin1(item.caption));
        a->setObjectName(QString::fromLatin1(item.name));
        if (item.standard != QKeySequence::UnknownKey)
            a->setShortcut(item.standard);
        else if (item.key != menunokey)
            a->setShortcut(QKeySequence(item.key));
        QObject::connect(a, &QAction::triggered, window, [window, handler = item.handler, &command] {
            if (!command.busy())
                (window->*handler)();
        });
        if (item.separator)
            menu->addSeparator();
    }
    return menus;
}

} // namespace kelvane
