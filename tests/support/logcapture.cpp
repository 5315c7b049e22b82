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
    } else if (previous) {
        previous(type, context, message);
    }
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
}

QStringList LogCapture::filtered(int type, const QString& prefix)
{
    QMutexLocker lock(&mutex);
    QStringList result;
    for (const auto& m : qAsConst(captured)) {
        if ((type < 0 || m.first == type) && m.second.startsWith(prefix))
            result << m.second;
    }
    return result;
}
