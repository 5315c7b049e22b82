#include "localday.h"

#include <QDateTime>

qint64 LocalDay::startOfDay(qint64 nowMs)
{
    const QByteArray zone = qgetenv("TZ");
    if (nowMs >= m_start && nowMs < m_validUntil && zone == m_zone)
        return m_start;
    const QDateTime now = QDateTime::fromMSecsSinceEpoch(nowMs);
    m_start = now.date().startOfDay().toMSecsSinceEpoch();
    const qint64 nextDay = now.date().addDays(1).startOfDay().toMSecsSinceEpoch();
    m_validUntil = qMin(nextDay, nowMs + 60 * 1000);
    m_zone = zone;
    return m_start;
}
