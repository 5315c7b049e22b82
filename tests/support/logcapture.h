#pragma once

#include <QStringList>

// Collects the messages of one logging category while it lives (every level) and
// passes all others on to the handler installed before. One capture at a time.
class LogCapture
{
public:
    explicit LogCapture(const char* category);
    ~LogCapture();

    QStringList messages() const { return filtered(-1, QString()); }
    QStringList messages(QtMsgType type) const { return filtered(type, QString()); }
    QStringList startingWith(const QString& prefix) const { return filtered(-1, prefix); }

private:
    static QStringList filtered(int type, const QString& prefix);
};
