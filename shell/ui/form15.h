// Form15 "Change Color Theme": the forty-six themes as options, "Show Frames", "Select" and
// "Cancel". A click on an option or on "Show Frames" writes the setting and shows the theme on
// every open window at once; "Cancel" (also Esc and the window's close button) brings back the
// theme the window found at load, in the settings too.
#pragma once
#include "shell/theme.h"
#include "sim/toolrouter.h"

#include <QWidget>

#include <array>
#include <string>

class QCheckBox;
class QPushButton;
class QRadioButton;

namespace kelvane {

class Form15 : public QWidget, public ToolWindow {
    Q_OBJECT
public:
    explicit Form15(QWidget* parent = nullptr);
    ~Form15() override;

    void settheme() override;
    // The option whose caption is themename in the value colours, every other one in the label
    // colours; Check1 shows themeborder.
    void marktheme();

    void opcija_Click(int index);
    void Check1_Click();
    void Command1_Click(); // Select
    void Command2_Click(); // Cancel

    QRadioButton* opcija(int index) const { return opcija_[static_cast<size_t>(index)]; }
    QCheckBox* check1() const { return Check1_; }
    QPushButton* command1() const { return Command1_; }
    QPushButton* command2() const { return Command2_; }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void finish();

    std::array<QRadioButton*, themecount> opcija_{};
    QCheckBox* Check1_ = nullptr;
    QPushButton* Command1_ = nullptr;
    QPushButton* Command2_ = nullptr;
    // The theme at load, to go back to.
    std::string oldname_;
    int32_t oldborder_ = 1;
    bool finishing_ = false;
};

} // namespace kelvane
