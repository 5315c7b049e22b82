#include "downloadfilewriter.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QThread>

QThread* DownloadFileWriter::thread()
{
    static QThread* thread = [] {
        auto* t = new QThread;
        t->setObjectName(QStringLiteral("downloads"));
        t->start();
        if (QCoreApplication* app = QCoreApplication::instance()) {
            QObject::connect(app, &QCoreApplication::aboutToQuit, [t] {
                // Behind every write queued so far, so no received byte is lost.
                auto* stopper = new QObject;
                stopper->moveToThread(t);
                QMetaObject::invokeMethod(
                    stopper, [stopper] { delete stopper, QThread::currentThread()->quit(); },
                    Qt::QueuedConnection);
                t->wait();
            });
        }
        return t;
    }();
    return thread;
}

DownloadFileWriter::DownloadFileWriter()
{
    moveToThread(thread());
}

void DownloadFileWriter::open(const QString& path, bool truncate)
{
    m_file.close();
    m_file.setFileName(path);
    m_failed = false;
    const QString dir = QFileInfo(path).absolutePath();
    QDir().mkpath(dir);
    const QIODevice::OpenMode mode = truncate ? QIODevice::Truncate : QIODevice::Append;
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Unbuffered | mode)) {
        m_failed = true;
        emit failed(QStringLiteral("Cannot write to %1: %2")
                        .arg(QDir::toNativeSeparators(dir), m_file.errorString()));
        return;
    }
    emit opened(m_file.size());
}

void DownloadFileWriter::truncate()
{
    if (m_file.isOpen() && !m_failed)
        m_file.resize(0);
}

void DownloadFileWriter::write(const QByteArray& chunk)
{
    if (!m_file.isOpen() || m_failed)
        return;
    const qint64 written = m_file.write(chunk);
    emit this->written(qMax<qint64>(0, written));
    if (written != chunk.size()) {
        // A short write without an error is a full disk (or a file size limit).
        m_failed = true;
        const QString reason = m_file.error() == QFileDevice::NoError || written > 0
            ? QStringLiteral("no space left on the device")
            : m_file.errorString();
        emit failed(QStringLiteral("Could not save the file: %1").arg(reason));
    }
}

void DownloadFileWriter::close()
{
    m_file.close();
    emit closed();
    deleteLater();
}
