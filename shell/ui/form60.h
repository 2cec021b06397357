// Form60 "Check For Updates": on "Go Online!" one HTTP/1.1 GET of the version log from the update
// site over a plain TCP socket, each step in mystatus, the log in tabla and the verdict in
// mystatus2 or mystatus3. Nothing is fetched without the button, and nothing but the log.
#pragma once
#include "sim/toolrouter.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QString>
#include <QWidget>

#include <cstdint>

class QLabel;
class QPlainTextEdit;
class QPushButton;
class QTcpSocket;
class QTimer;

namespace kelvane {

// Where the check goes: the team's site on port 80, unless the environment's
// KELVANE_UPDATE_HOST names another host, optionally with a port ("127.0.0.1:8123", "[::1]:8123").
struct UpdateTarget {
    QString host;     // what the socket connects to
    uint16_t port = 80;
    QString hostline; // the "Host: " line's text: the name exactly as given, port included
};
UpdateTarget updatetarget(const QString& setting);
UpdateTarget updatetarget(); // from the environment

// An answer longer than this ends the check as an error.
inline constexpr int64_t updatelimit = 8 * 1024 * 1024;
// The status line repaints at most this often while the answer comes in.
inline constexpr int statusinterval = 50;

class Form60 : public QWidget, public ToolWindow {
    Q_OBJECT
public:
    Form60();
    ~Form60() override;

    void settheme() override;

    QPlainTextEdit* tabla() const { return tabla_; }
    QLabel* mystatus() const { return mystatus_; }
    QLabel* mystatus2() const { return mystatus2_; }
    QLabel* mystatus3() const { return mystatus3_; }
    QPushButton* command1() const { return command1_; }

    // "Go Online!".
    void Command1_Click();
    // The socket's events: the connection stands, bytes came, the site closed, any failure
    // (a refused connection, a name that does not resolve, a silence past the time limit).
    void Winsock1_Connect();
    void Winsock1_DataArrival(const QByteArray& data);
    void Winsock1_Close();
    void Winsock1_Error();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void build();
    void startcheck();
    void dropsocket();
    void showstatus(const QString& text);
    void showreceiving();
    void paintreceiving();
    void watch(); // the time limit counts from now

    QPlainTextEdit* tabla_ = nullptr;
    QLabel* mystatus_ = nullptr;
    QLabel* mystatus2_ = nullptr;
    QLabel* mystatus3_ = nullptr;
    QPushButton* command1_ = nullptr;
    QTcpSocket* winsock1_ = nullptr;
    QTimer* deadline_ = nullptr;
    QTimer* statustimer_ = nullptr;
    QElapsedTimer statusshown_; // since the status line last changed
    QElapsedTimer sincelast_;   // since the connection, the request or the last byte
    int timeout_ = 0;

    int state_ = 0;
    UpdateTarget target_;
    QString path_;
    QByteArray response_;
    int64_t bytes_ = 0;
    bool connected_ = false;
};

} // namespace kelvane
