#include "sim/settings.h"

#include "sim/machinestate.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QScreen>
#include <QSettings>
#include <QStandardPaths>
#include <QStringList>
#include <QWidget>

#include <charconv>
#include <cmath>
#include <limits>

namespace kelvane {

namespace {
constexpr std::string_view apppathmark = "<apppath>";
}

const SettingDefault settingstable[] = {
    // Read by loadsettings in this order.
    {"Last Path", "<apppath>"},
    {"Tasm Path", "<apppath>tasm.exe"},
    {"Enable Logging", "OFF"},
    {"HALT Stops Simulation", "ON"},
    {"FF Power On Defaults", "ON"},
    {"Refresh Memory Editor", "ON"},
    {"Refresh Breakpoints Manager", "ON"},
    {"Save Positions", "ON"},
    {"Prompt Before IN", "ON"},
    {"Log IN And OUT", "OFF"},
    {"Show Confirmations", "OFF"},
    {"Clock Frequency", "4"},
    {"Starting Address", "0"},
    {"Simulation Rate", "4"},
    // Read at use.
    {"Ultimate Timer", "500"},
    {"Keyboard Small Letters", "0"},
    {"Message Duration", "4"},
    {"External Module 1", "OFF"},
    {"External Module 2", "OFF"},
    {"External Module 3", "OFF"},
    {"External Module 4", "OFF"},
    {"External Module 5", "OFF"},
    // Window positions in twips: the main window, then the tool windows.
    {"Window1 Left", "3000"},
    {"Window1 Top", "2000"},
    {"Window2 Left", "4000"},
    {"Window2 Top", "3000"},
    {"Window5 Left", "4000"},
    {"Window5 Top", "3000"},
    {"Window6 Left", "4000"},
    {"Window6 Top", "3000"},
    {"Window8 Left", "4000"},
    {"Window8 Top", "3000"},
    {"Window9 Left", "4000"},
    {"Window9 Top", "3000"},
    {"Window12 Left", "4000"},
    {"Window12 Top", "3000"},
    {"Window16 Left", "4000"},
    {"Window16 Top", "3000"},
    {"Window17 Left", "4000"},
    {"Window17 Top", "3000"},
    {"Window20 Left", "4000"},
    {"Window20 Top", "3000"},
    {"Window21 Left", "4000"},
    {"Window21 Top", "3000"},
};
const size_t settingscount = sizeof(settingstable) / sizeof(settingstable[0]);

std::string settingdefault(std::string_view name)
{
    for (size_t i = 0; i < settingscount; ++i) {
        if (name != settingstable[i].name)
            continue;
        std::string_view text = settingstable[i].text;
        if (text.substr(0, apppathmark.size()) == apppathmark)
            return apppath() + std::string(text.substr(apppathmark.size()));
        return std::string(text);
    }
    return {};
}

static QSettings& store()
{
    // One store object for the process; QSettings writes changes back by itself.
    static QSettings* s = new QSettings(QSettings::NativeFormat, QSettings::UserScope, settingsname);
    return *s;
}

std::string regread(const std::string& name, const std::string& defaulttext)
{
    QSettings& s = store();
    const QString key = QString::fromStdString(name);
    const QVariant v = s.value(key);
    if (v.isValid()) {
        QString text = v.typeId() == QMetaType::QStringList ? v.toStringList().join(QLatin1Char(',')) : v.toString();
        std::string out = text.toStdString();
        if (out.size() < settingslimit)
            return out;
    }
    // Missing or unreadable: created with the default.
    s.setValue(key, QString::fromStdString(defaulttext));
    s.sync();
    return defaulttext;
}

std::string regread(const std::string& name)
{
    return regread(name, settingdefault(name));
}

void regwrite(const std::string& name, const std::string& text)
{
    QSettings& s = store();
    s.setValue(QString::fromStdString(name), QString::fromStdString(text));
    s.sync();
}

void regwrite(const std::string& name, int32_t number)
{
    regwrite(name, std::to_string(number));
}

double leadingnumber(std::string_view text)
{
    size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t'))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
        negative = text[i] == '-';
        ++i;
    }
    const size_t digitsstart = i;
    auto isdigit = [&](size_t k) { return k < text.size() && text[k] >= '0' && text[k] <= '9'; };
    size_t mantissadigits = 0;
    while (isdigit(i)) {
        ++i;
        ++mantissadigits;
    }
    if (i < text.size() && text[i] == '.') {
        size_t k = i + 1;
        while (isdigit(k)) {
            ++k;
            ++mantissadigits;
        }
        if (mantissadigits > 0)
            i = k;
    }
    if (mantissadigits == 0)
        return 0.0;
    size_t end = i;
    // An exponent counts only when digits follow it.
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        size_t k = i + 1;
        if (k < text.size() && (text[k] == '+' || text[k] == '-'))
            ++k;
        if (isdigit(k)) {
            while (isdigit(k))
                ++k;
            end = k;
        }
    }
    std::string number(text.substr(digitsstart, end - digitsstart));
    if (number[0] == '.')
        number.insert(number.begin(), '0');
    double value = 0.0;
    const auto res = std::from_chars(number.data(), number.data() + number.size(), value);
    if (res.ec == std::errc::result_out_of_range)
        value = std::numeric_limits<double>::infinity();
    return negative ? -value : value;
}

int32_t leadingint(std::string_view text)
{
    const double v = std::nearbyint(leadingnumber(text));
    if (v >= static_cast<double>(std::numeric_limits<int32_t>::max()))
        return std::numeric_limits<int32_t>::max();
    if (v <= static_cast<double>(std::numeric_limits<int32_t>::min()))
        return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(v);
}

std::string apppath()
{
    QString folder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    if (folder.isEmpty())
        folder = QDir::homePath() + QStringLiteral("/.kelvane");
    QDir().mkpath(folder);
    std::string out = QDir::cleanPath(folder).toStdString();
    if (out.empty() || out.back() != '/')
        out += '/';
    return out;
}

void readoptions(MachineState& st)
{
    if (st.apppath.empty())
        st.apppath = apppath();
    st.lastpath = regread("Last Path", st.apppath);
    if (!st.lastpath.empty() && st.lastpath.back() != '/')
        st.lastpath += '/';
    st.tasmpath = regread("Tasm Path", st.apppath + "tasm.exe");
    st.optlogging = regread("Enable Logging");
    st.opthalt = regread("HALT Stops Simulation");
    st.optffdefaults = regread("FF Power On Defaults");
    st.optrefreshmemory = regread("Refresh Memory Editor");
    st.optrefreshbreakpoints = regread("Refresh Breakpoints Manager");
    st.optsavepositions = regread("Save Positions");
    st.optinprompt = regread("Prompt Before IN");
    st.optinlog = regread("Log IN And OUT");
    st.optconfirm = regread("Show Confirmations");
    st.clockmhz = static_cast<float>(leadingnumber(regread("Clock Frequency")));
    // The address is kept as the machine keeps numbers; pc takes it at the next clean.
    const double address = leadingnumber(regread("Starting Address"));
    st.startaddress = std::isfinite(address) && address >= 0 && address <= 65535 ? static_cast<int32_t>(address) : 0;
}

void presetpositions()
{
    for (size_t i = 0; i < settingscount; ++i) {
        std::string_view name = settingstable[i].name;
        if (name.substr(0, 6) == "Window")
            regread(std::string(name));
    }
}

static std::string positionname(int number, const char* which)
{
    return "Window" + std::to_string(number) + " " + which;
}

// Puts a window's client area at a point of the screen. A move() before the window exists means
// the corner of a frame whose size nobody knows yet, which window managers honour differently;
// a geometry names the client area on every one. The window keeps the size it will take at show.
static void placeclientarea(QWidget* window, QPoint at)
{
    if (!window->isWindow()) {
        window->move(at);
        return;
    }
    const bool sized = window->testAttribute(Qt::WA_Resized);
    window->setGeometry(QRect(at, window->size()));
    if (!sized)
        window->setAttribute(Qt::WA_Resized, false); // show() still fits the window to its contents
}

void placewindow(QWidget* window, int number)
{
    if (window == nullptr)
        return;
    const std::string left = positionname(number, "Left");
    const std::string top = positionname(number, "Top");
    const int x = twipstopixels(leadingint(regread(left)));
    const int y = twipstopixels(leadingint(regread(top)));
    if (machinestate().optsavepositions != "OFF") {
        placeclientarea(window, QPoint(x, y));
        return;
    }
    QScreen* screen = window->screen() ? window->screen() : QGuiApplication::primaryScreen();
    if (screen == nullptr)
        return;
    const QRect area = screen->availableGeometry();
    const QSize size = window->frameGeometry().size();
    placeclientarea(window,
                    {area.x() + (area.width() - size.width()) / 2, area.y() + (area.height() - size.height()) / 2});
}

void savewindowposition(QWidget* window, int number)
{
    if (window == nullptr)
        return;
    const QPoint p = window->geometry().topLeft();
    regwrite(positionname(number, "Left"), pixelstotwips(p.x()));
    regwrite(positionname(number, "Top"), pixelstotwips(p.y()));
}

void deletefile(const std::string& path)
{
    const QString p = QString::fromStdString(path);
    QFile::setPermissions(p, QFile::permissions(p) | QFileDevice::WriteOwner | QFileDevice::ReadOwner);
    QFile::remove(p);
}

} // namespace kelvane
