#include "logcapture.h"

#include <QMutex>
#include <QVector>

#include <utility>

namespace
{
QMutex mutex;
QByteArray capturedCategory;
QVector<std::pair<QtMsgType, QString>> captured;
QtMessageHandler previous = nullptr;

void handler(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (context.category && capturedCategory == context.category) {
        QMutexLocker lock(&mutex);
        captured.append({ type, message });
        return;
    }
    if (previous)
        previous(type, context, message);
}
} // namespace

LogCapture::LogCapture(const char* category)
{
    QMutexLocker lock(&mutex);
    capturedCategory = category;
    captured.clear();
    previous = qInstallMessageHandler(handler);
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(previous);
    QMutexLocker lock(&mutex);
    capturedCategory.clear();
    captured.clear();
    previous = nullptr;
}

QStringList LogCapture::messages() const
{
    QMutexLocker lock(&mutex);
    QStringList result;
    for (const auto& m : captured)
        result.append(m.second);
    return result;
}

QStringList LogCapture::messages(QtMsgType type) const
{
    QMutexLocker lock(&mutex);
    QStringList result;
    for (const auto& m : captured) {
        if (m.first == type)
            result.append(m.second);
    }
    return result;
}

QStringList LogCapture::startingWith(const QString& prefix) const
{
    QStringList result;
    for (const QString& m : messages()) {
        if (m.startsWith(prefix))
            result.append(m);
    }
    return result;
}

void LogCapture::clear()
{
    QMutexLocker lock(&mutex);
    captured.clear();
}
