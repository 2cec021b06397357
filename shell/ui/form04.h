// Form04 "Editor Setup": the twenty settings of the BASIC compiler's editor ("C ") and the
// fourteen of the Assembler's ("A "), each shown in a control that changes it when clicked (or
// when Space or Enter is pressed on it): the font dialog, the colour dialog, a toggle, or a number
// box; a predefined colour theme for each editor; "Save", "Cancel" and "Defaults". The editors
// take the settings when their window is opened next.
#pragma once
#include "shell/sourceeditorsettings.h"
#include "sim/toolrouter.h"

#include <QAbstractButton>
#include <QColor>
#include <QWidget>

#include <vector>

class QGroupBox;
class QLabel;
class QPushButton;

namespace kelvane {

// A value control: its text, or a colour filling it.
class SettingValue : public QAbstractButton {
    Q_OBJECT
public:
    explicit SettingValue(QWidget* parent = nullptr);
    void showtext(const QString& text);
    void showcolour(const QColor& colour);
    bool isswatch() const { return swatch_; }
    QColor colour() const { return colour_; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    bool swatch_ = false;
    QColor colour_;
};

class Form04 : public QWidget, public ToolWindow {
    Q_OBJECT
public:
    enum class Kind { fontname, fontsize, toggle, colour, number };

    explicit Form04(QWidget* parent = nullptr);
    ~Form04() override;

    void settheme() override;
    // Every value control from the variables of both editors.
    void showeditorsettings();

    // The click on a value control, by its name ("cfontname", "atabsize", ...).
    void valueclick(const QString& control);
    void selectthemeC_Click();
    void selectthemeA_Click();
    void Command1_Click(); // Save
    void Command2_Click(); // Cancel
    void Command3_Click(); // Defaults

    SettingValue* value(const QString& control) const;
    QPushButton* selectthemeC() const { return selectthemeC_; }
    QPushButton* selectthemeA() const { return selectthemeA_; }
    QPushButton* command(int n) const;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    struct Control {
        SettingValue* value;
        EditorSettings* settings;
        size_t row; // in the table of the window's rows
    };
    QGroupBox* buildeditor(const QString& caption, const char* prefix, bool assembler, EditorSettings& settings);
    void fontclick(EditorSettings& s);
    void colourclick(int32_t& value);
    void numberclick(int32_t& value, int low, int high);
    void themeclick(bool assembler);

    std::vector<Control> controls_;
    std::vector<QGroupBox*> frames_;
    QPushButton* selectthemeC_ = nullptr;
    QPushButton* selectthemeA_ = nullptr;
    QPushButton* Command1_ = nullptr;
    QPushButton* Command2_ = nullptr;
    QPushButton* Command3_ = nullptr;
};

} // namespace kelvane
