// What the window benchmarks measure besides the wall clock: the processor time of the process,
// steadier than the wall clock on a busy machine, and the paint events of a widget.
#pragma once
#include <QElapsedTimer>
#include <QEvent>
#include <QObject>

#include <ctime>

namespace kelvane::bench {

inline double processorseconds()
{
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9;
}

// Milliseconds since the timer started, to the nanosecond.
inline double ms(const QElapsedTimer& t)
{
    return static_cast<double>(t.nsecsElapsed()) / 1e6;
}

// Counts the paint events of the widgets it is installed on.
class PaintCounter : public QObject {
public:
    long paints = 0;
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            ++paints;
        return QObject::eventFilter(watched, event);
    }
};

} // namespace kelvane::bench
