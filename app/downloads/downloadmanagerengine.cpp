// Downloads carried out by the web engine. The manager does not take them
// over: the engine has the page's cookies, credentials and POST body, which a
// second request of ours would lack. It names the file, accepts the item and
// mirrors it through the item's meta-object (the properties and slots of
// QtWebEngine's WebEngineDownloadItem), so no engine header is needed here.

#include "downloadkind.h"
#include "downloadmanager.h"
#include "downloadnaming.h"
#include "storage/dbmanager.h"

#include <QDir>
#include <QFileInfo>

namespace
{
// WebEngineDownloadItem::DownloadState
enum EngineState { Requested = 0, InProgress = 1, Completed = 2, EngineCancelled = 3, Interrupted = 4 };
constexpr qint64 engineReportIntervalMs = 250;
} // namespace

int DownloadManager::trackEngineDownload(QObject* item)
{
    if (!item)
        return -1;
    if (m_engineItems.contains(item))
        return m_engineItems.value(item);
    DownloadEntry e;
    e.id = ++m_nextId;
    e.url = item->property("url").toUrl();
    e.byEngine = true;
    e.state = DownloadModel::Running;
    e.date = QDateTime::currentDateTime();
    const QString mimeType = item->property("mimeType").toString();
    if (item->property("state").toInt() == Requested) {
        QString name = DownloadNaming::sanitize(item->property("downloadFileName").toString());
        if (name.isEmpty())
            name = DownloadNaming::suggestedName(QByteArray(), e.url, mimeType);
        e.path = DownloadNaming::uniquePath(m_directory, name, takenPaths());
        QDir().mkpath(m_directory);
        item->setProperty("downloadDirectory", QFileInfo(e.path).absolutePath());
        item->setProperty("downloadFileName", QFileInfo(e.path).fileName());
        QMetaObject::invokeMethod(item, "accept");
    } else {
        e.path = QDir(item->property("downloadDirectory").toString())
                     .absoluteFilePath(item->property("downloadFileName").toString());
    }
    e.kind = DownloadKind::classify(e.path, mimeType);
    m_model->append(e);
    m_engineItems.insert(item, e.id);
    m_engineLast.insert(e.id, { m_clock.elapsed(), 0 });
    m_db->addDownload(e.path, e.url.toString(), QString::number(e.id));
    connect(item, SIGNAL(stateChanged()), this, SLOT(onEngineItemChanged()));
    connect(item, SIGNAL(receivedBytesChanged()), this, SLOT(onEngineItemChanged()));
    connect(item, SIGNAL(isPausedChanged()), this, SLOT(onEngineItemChanged()));
    connect(item, &QObject::destroyed, this, [this, item, id = e.id] {
        // The engine dropped the item (its profile went away): what is not
        // complete can still be continued by us.
        m_engineItems.remove(item);
        const DownloadEntry* x = m_model->entry(id);
        if (x && x->state == DownloadModel::Running)
            setState(id, DownloadModel::Paused);
    });
    emit runningCountChanged();
    syncEngineItem(e.id, true);
    return e.id;
}

QObject* DownloadManager::engineItem(int id) const
{
    return m_engineItems.key(id, nullptr);
}

void DownloadManager::onEngineItemChanged()
{
    const int id = m_engineItems.value(sender(), -1);
    if (id >= 0)
        syncEngineItem(id, false);
}

void DownloadManager::syncEngineItem(int id, bool force)
{
    QObject* item = engineItem(id);
    const DownloadEntry* e = m_model->entry(id);
    if (!item || !e)
        return;
    int state = DownloadModel::Running;
    QString error;
    switch (item->property("state").toInt()) {
    case Completed:
        state = DownloadModel::Finished;
        break;
    case EngineCancelled:
        state = DownloadModel::Cancelled;
        break;
    case Interrupted:
        state = DownloadModel::Failed;
        error = item->property("interruptReasonString").toString();
        break;
    default:
        state = item->property("isPaused").toBool() ? DownloadModel::Paused : DownloadModel::Running;
    }
    const qint64 received = item->property("receivedBytes").toLongLong();
    const qint64 total = item->property("totalBytes").toLongLong();
    const qint64 now = m_clock.elapsed();
    QPair<qint64, qint64>& last = m_engineLast[id];
    if (state == e->state && !force && now - last.first < engineReportIntervalMs)
        return;
    const double speed = now > last.first ? (received - last.second) * 1000.0 / (now - last.first) : e->speed;
    last = { now, received };
    m_model->update(id, [&](DownloadEntry& x) {
        x.receivedBytes = received;
        x.totalBytes = total;
        x.speed = qMax(0.0, speed);
    });
    if (state != e->state || error != e->error) {
        setState(id, state, error);
        if (state == DownloadModel::Finished)
            emit downloadFinished(id);
        else if (state == DownloadModel::Failed)
            emit downloadFailed(id, error);
    }
}
