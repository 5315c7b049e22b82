#pragma once

#include <QElapsedTimer>
#include <QObject>

#include <functional>

// Hands out tab ids and owns the clock every tab activity time is read on.
// The clock is monotonic: a change of the wall clock (time zone, network time)
// never makes a tab look older or younger than it is.
class TabManager : public QObject
{
    Q_OBJECT
public:
    // Milliseconds on some monotonic clock.
    using ClockSource = std::function<qint64()>;

    static TabManager* instance();

    // The next unused id; the first of a run without restored tabs is 0.
    int nextTabId() { return ++m_lastTabId; }
    // Ids up to id are taken (restored tabs), so later ones come above it.
    void raiseTabId(int id) { m_lastTabId = qMax(m_lastTabId, id); }
    int lastTabId() const { return m_lastTabId; }
    // Milliseconds since the manager was made.
    qint64 elapsed() const { return m_clock ? m_clock() : m_timer.elapsed(); }

    // Lets tests step time by hand; an empty source goes back to the timer.
    void setClockSource(ClockSource clock) { m_clock = std::move(clock); }

private:
    explicit TabManager(QObject* parent = nullptr);

    int m_lastTabId = -1;
    QElapsedTimer m_timer;
    ClockSource m_clock;
};
