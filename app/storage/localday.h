#pragma once

#include <QByteArray>
#include <QtGlobal>

// The start of the local calendar day, remembered between calls. Turning a
// local midnight into epoch time goes through the C library's time-zone code,
// which costs as much as a small statement; a visit needs it every time, yet
// it changes once a day. The answer is re-derived when the day ends, when the
// TZ variable changes, and at least once a minute so that a new system zone
// is picked up without a restart.
class LocalDay
{
public:
    qint64 startOfDay(qint64 nowMs);

private:
    qint64 m_start = 0;
    qint64 m_validUntil = -1;
    QByteArray m_zone;
};
