#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QtGlobal>

// Collects the messages of one logging category while it lives (every level),
// and passes all other messages on to the handler that was installed before.
// One capture at a time.
class LogCapture
{
public:
    explicit LogCapture(const char* category);
    ~LogCapture();

    QStringList messages() const;
    // Messages of one level only.
    QStringList messages(QtMsgType type) const;
    // Messages that start with the given text, in order.
    QStringList startingWith(const QString& prefix) const;
    void clear();
};
