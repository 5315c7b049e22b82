#include "downloadmanager.h"

#include "settings/settingsmanager.h"

#include "downloadkind.h"
#include "downloadlog.h"
#include "downloadnaming.h"
#include "downloadproxymodel.h"
#include "downloadtransfer.h"
#include "storage/dbmanager.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QQmlEngine>
#include <QStandardPaths>

namespace
{
DownloadManager* s_instance = nullptr;
} // namespace

DownloadManager* DownloadManager::instance()
{
    if (!s_instance) {
        s_instance = new DownloadManager(DBManager::instance());
        // Files land where the user chose in settings, and follow a later choice.
        SettingsManager* settings = SettingsManager::instance();
        s_instance->setDownloadDirectory(settings->defaultDownloadPath());
        connect(settings, &SettingsManager::defaultDownloadPathChanged, s_instance,
            [settings] { s_instance->setDownloadDirectory(settings->defaultDownloadPath()); });
    }
    return s_instance;
}

QObject* DownloadManager::qmlInstance(QQmlEngine*, QJSEngine*)
{
    DBManager::instance();
    QObject* manager = instance();
    QQmlEngine::setObjectOwnership(manager, QQmlEngine::CppOwnership);
    return manager;
}

DownloadManager::DownloadManager(DBManager* db, QObject* parent)
    : QObject(parent)
    , m_db(db)
    , m_network(new QNetworkAccessManager(this))
    , m_model(new DownloadModel(this))
    , m_proxy(new DownloadProxyModel(this))
    , m_directory(QStandardPaths::writableLocation(QStandardPaths::DownloadLocation))
{
    if (m_directory.isEmpty())
        m_directory = QDir::homePath();
    // The proxy is not a QML type of its own; QML reaches it through this
    // manager's property only.
    qRegisterMetaType<DownloadModel*>();
    qRegisterMetaType<DownloadProxyModel*>();
    m_proxy->setSourceModel(m_model);
    m_clock.start();
    connect(m_db, &DBManager::downloadsAvailable, this, &DownloadManager::onDownloadsLoaded);
    connect(m_db, &DBManager::downloadAdded, this, &DownloadManager::onDownloadAdded);
    connect(m_db, &DBManager::oldDownloadRemoved, this, &DownloadManager::onOldDownloadRemoved);
    m_db->getDownloads();
}

DownloadManager::~DownloadManager()
{
    qDeleteAll(m_transfers);
}

void DownloadManager::setDownloadDirectory(const QString& directory)
{
    if (directory == m_directory)
        return;
    m_directory = directory;
    emit downloadDirectoryChanged();
}

int DownloadManager::runningCount() const
{
    const auto& entries = m_model->entries();
    return int(std::count_if(entries.cbegin(), entries.cend(),
        [](const DownloadEntry& e) { return e.state == DownloadModel::Running; }));
}

void DownloadManager::onDownloadsLoaded(const QList<Download>& rows)
{
    if (m_loaded)
        return; // someone else asked storage for the list again
    for (const Download& row : rows) {
        DownloadEntry e;
        e.id = ++m_nextId;
        e.dbId = row.id;
        e.path = row.filePath;
        e.url = QUrl(row.url);
        e.date = row.lastModified;
        e.state = row.status;
        e.kind = DownloadKind::classify(row.filePath, QString());
        if (e.state == DownloadModel::Finished) {
            const QFileInfo file(row.filePath);
            e.receivedBytes = e.totalBytes = file.size();
            if (!file.exists())
                e.error = tr("The file was moved or deleted");
        } else {
            // What was running when the browser stopped can go on from its bytes.
            if (e.state == DownloadModel::Running) {
                e.state = DownloadModel::Paused;
                m_db->setStatusDownload(e.path, e.state);
            }
            // A file under the final name may be a web engine download's half
            // or a complete file whose state never reached storage: it is
            // left alone, and a resumed download picks a free name at the end.
            e.receivedBytes = qMax<qint64>(0, QFileInfo(DownloadNaming::partialPath(e.path)).size());
        }
        m_model->append(e);
    }
    m_loaded = true;
    emit loadedChanged();
}

void DownloadManager::onDownloadAdded(const Download& download, const QString& path)
{
    for (const DownloadEntry& e : m_model->entries()) {
        if (e.path == path)
            m_model->update(e.id, [&](DownloadEntry& x) { x.dbId = download.id; });
    }
}

void DownloadManager::onOldDownloadRemoved(int oldId)
{
    for (const DownloadEntry& e : m_model->entries()) {
        if (e.dbId == oldId && e.state != DownloadModel::Running) {
            m_model->remove(e.id);
            return;
        }
    }
}

int DownloadManager::download(const QString& url)
{
    const QUrl address = QUrl::fromUserInput(url);
    if (!address.isValid()
        || (address.scheme() != QLatin1String("http") && address.scheme() != QLatin1String("https")))
        return -1;
    DownloadEntry e;
    e.id = ++m_nextId;
    e.url = address;
    e.state = DownloadModel::Running;
    e.date = QDateTime::currentDateTime();
    e.kind = DownloadKind::classify(address.fileName(), QString());
    m_model->append(e);
    startTransfer(e.id);
    emit runningCountChanged();
    return e.id;
}

void DownloadManager::startTransfer(int id)
{
    const DownloadEntry* e = m_model->entry(id);
    auto* transfer = new DownloadTransfer(m_network, e->url, this);
    m_transfers.insert(id, transfer);
    connect(transfer, &DownloadTransfer::responseStarted, this,
        [this, id](const QByteArray& disposition, const QString& type, const QUrl& finalUrl) {
            onResponseStarted(id, disposition, type, finalUrl);
        });
    connect(transfer, &DownloadTransfer::progress, this, [this, id, transfer] {
        m_model->update(id,
            [transfer](DownloadEntry& x) {
                x.receivedBytes = transfer->received();
                x.totalBytes = transfer->total();
                x.speed = transfer->speed();
            },
            { DownloadModel::ReceivedBytesRole, DownloadModel::TotalBytesRole, DownloadModel::ProgressRole,
                DownloadModel::SpeedRole, DownloadModel::TimeLeftRole });
    });
    connect(transfer, &DownloadTransfer::finished, this, [this, id] { onTransferFinished(id); });
    connect(transfer, &DownloadTransfer::failed, this,
        [this, id](const QString& error, bool writeFailed) { onTransferFailed(id, error, writeFailed); });
    transfer->start(e->path.isEmpty() ? QString() : DownloadNaming::partialPath(e->path), e->validator);
}

void DownloadManager::stopTransfer(int id)
{
    if (DownloadTransfer* transfer = m_transfers.take(id)) {
        transfer->stop();
        const QByteArray validator = transfer->validator();
        const qint64 received = transfer->received();
        m_model->update(id, [validator, received](DownloadEntry& x) {
            x.validator = validator;
            x.receivedBytes = received;
        });
        transfer->deleteLater();
    }
}

void DownloadManager::onResponseStarted(
    int id, const QByteArray& disposition, const QString& contentType, const QUrl& finalUrl)
{
    const DownloadEntry* e = m_model->entry(id);
    DownloadTransfer* transfer = m_transfers.value(id);
    if (!e || !transfer)
        return;
    const QString kind = DownloadKind::classify(
        e->path.isEmpty() ? DownloadNaming::suggestedName(disposition, finalUrl, contentType) : e->path,
        contentType);
    if (!e->path.isEmpty()) {
        m_model->update(id, [kind](DownloadEntry& x) { x.kind = kind; });
        return;
    }
    const QString name = DownloadNaming::suggestedName(disposition, finalUrl, contentType);
    const QString path = DownloadNaming::uniquePath(m_directory, name, takenPaths());
    transfer->setPartialPath(DownloadNaming::partialPath(path));
    m_model->update(id, [&](DownloadEntry& x) {
        x.path = path;
        x.kind = kind;
    });
    m_db->addDownload(path, e->url.toString(), QString::number(id));
}

void DownloadManager::onTransferFinished(int id)
{
    DownloadTransfer* transfer = m_transfers.take(id);
    if (transfer)
        transfer->deleteLater();
    const DownloadEntry* e = m_model->entry(id);
    if (!e)
        return;
    QString path = e->path;
    const QString partial = DownloadNaming::partialPath(path);
    if (QFileInfo::exists(path)) {
        // Something took the name while we were downloading.
        QSet<QString> taken = takenPaths();
        taken.remove(path);
        path = DownloadNaming::uniquePath(QFileInfo(path).absolutePath(), QFileInfo(path).fileName(), taken);
        m_db->removeDownload(e->path);
        m_db->addDownload(path, e->url.toString(), QString::number(id));
    }
    if (!QFile::rename(partial, path)) {
        onTransferFailed(id, tr("Could not save the file: %1 cannot be renamed").arg(partial), true);
        return;
    }
    const qint64 size = QFileInfo(path).size();
    m_model->update(id, [&](DownloadEntry& x) {
        x.path = path;
        x.receivedBytes = x.totalBytes = size;
        x.speed = 0;
        x.date = QDateTime::currentDateTime();
    });
    setState(id, DownloadModel::Finished);
    emit downloadFinished(id);
}

void DownloadManager::onTransferFailed(int id, const QString& error, bool writeFailed)
{
    DownloadTransfer* transfer = m_transfers.value(id);
    const qint64 kept = transfer ? transfer->received() : -1;
    stopTransfer(id);
    if (kept >= 0)
        m_model->update(id, [kept](DownloadEntry& x) { x.receivedBytes = kept; });
    // A full disk or a directory we may not write to is the user's to fix;
    // the download waits, paused, with what it has.
    setState(id, writeFailed ? DownloadModel::Paused : DownloadModel::Failed, error);
    emit downloadFailed(id, error);
}

void DownloadManager::setState(int id, int state, const QString& error)
{
    const DownloadEntry* e = m_model->entry(id);
    if (!e)
        return;
    const bool wasRunning = e->state == DownloadModel::Running;
    const bool changed = e->state != state;
    m_model->update(id, [&](DownloadEntry& x) {
        x.state = state;
        x.error = error;
        if (state != DownloadModel::Running)
            x.speed = 0;
    });
    if (!e->path.isEmpty() && changed) {
        if (state == DownloadModel::Finished)
            m_db->setDownloadSuccessful(e->path);
        else
            m_db->setStatusDownload(e->path, state);
    }
    if (wasRunning != (state == DownloadModel::Running))
        emit runningCountChanged();
}

QSet<QString> DownloadManager::takenPaths() const
{
    QSet<QString> taken;
    for (const DownloadEntry& e : m_model->entries())
        taken.insert(e.path);
    return taken;
}

void DownloadManager::pause(int id)
{
    const DownloadEntry* e = m_model->entry(id);
    if (!e || e->state != DownloadModel::Running)
        return;
    if (QObject* item = engineItem(id)) {
        QMetaObject::invokeMethod(item, "pause");
        syncEngineItem(id, true);
        return;
    }
    stopTransfer(id);
    setState(id, DownloadModel::Paused);
}

void DownloadManager::resume(int id)
{
    const DownloadEntry* e = m_model->entry(id);
    if (!e || e->state == DownloadModel::Running || e->state == DownloadModel::Finished)
        return;
    if (QObject* item = engineItem(id)) {
        QMetaObject::invokeMethod(item, "resume");
        syncEngineItem(id, true);
        return;
    }
    if (e->byEngine && !e->path.isEmpty()) {
        // The engine's half-written file cannot be continued without the
        // engine's own record of it; the download starts over in our hands.
        QFile::remove(e->path);
        m_model->update(id, [](DownloadEntry& x) {
            x.byEngine = false;
            x.receivedBytes = 0;
        });
    }
    setState(id, DownloadModel::Running);
    startTransfer(id);
}

void DownloadManager::retry(int id)
{
    resume(id);
}

void DownloadManager::cancel(int id)
{
    const DownloadEntry* e = m_model->entry(id);
    if (!e || e->state == DownloadModel::Finished || e->state == DownloadModel::Cancelled)
        return;
    if (QObject* item = engineItem(id)) {
        QMetaObject::invokeMethod(item, "cancel");
        syncEngineItem(id, true);
        return;
    }
    stopTransfer(id);
    if (!e->path.isEmpty())
        QFile::remove(e->byEngine ? e->path : DownloadNaming::partialPath(e->path));
    m_model->update(id, [](DownloadEntry& x) { x.receivedBytes = 0; });
    setState(id, DownloadModel::Cancelled);
}

bool DownloadManager::open(int id)
{
    const DownloadEntry* e = m_model->entry(id);
    if (!e || e->state != DownloadModel::Finished || !QFileInfo::exists(e->path))
        return false;
    return QDesktopServices::openUrl(QUrl::fromLocalFile(e->path));
}

void DownloadManager::remove(int id, bool deleteFile)
{
    const DownloadEntry* e = m_model->entry(id);
    if (!e)
        return;
    if (e->state == DownloadModel::Running || e->state == DownloadModel::Paused)
        cancel(id);
    if (QObject* item = engineItem(id)) {
        item->disconnect(this);
        m_engineItems.remove(item);
    }
    if (!e->path.isEmpty()) {
        QFile::remove(DownloadNaming::partialPath(e->path));
        if (deleteFile && e->state == DownloadModel::Finished)
            QFile::remove(e->path);
        m_db->removeDownload(e->path);
    }
    m_model->remove(id);
}

void DownloadManager::removeSelected(const QVariantList& ids, bool deleteFiles)
{
    for (const QVariant& id : ids)
        remove(id.toInt(), deleteFiles);
}

void DownloadManager::removeFinished()
{
    QVariantList ids;
    for (const DownloadEntry& e : m_model->entries()) {
        if (e.state == DownloadModel::Finished)
            ids << e.id;
    }
    removeSelected(ids);
}

void DownloadManager::clear()
{
    QVariantList ids;
    for (const DownloadEntry& e : m_model->entries()) {
        if (e.state != DownloadModel::Running)
            ids << e.id;
    }
    removeSelected(ids);
}
