// Form21, "External Modules": the five module slots with their SET and DEL buttons. Close applies
// (writes the references and makes the objects anew); closing the window otherwise applies nothing.
#pragma once
#include "sim/toolrouter.h"

#include <QWidget>

#include <array>

class QLabel;
class QPushButton;

namespace kelvane {

class Form21 : public QWidget, public ToolWindow {
    Q_OBJECT
public:
    explicit Form21(QWidget* parent = nullptr);
    ~Form21() override;

    void showmodules();
    // The form, Label1 to Label5 and obj1 to obj5 in the theme's colours.
    void settheme() override;
    void setclick(int n); // set1_Click .. set5_Click (1-5)
    void delclick(int n);
    void Command1_Click();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    std::array<QLabel*, 5> obj_{};
    std::array<QPushButton*, 5> set_{}, del_{};
};

} // namespace kelvane
