#pragma once

#include <QAbstractListModel>
#include <QDateTime>
#include <QUrl>
#include <QVector>

// What the list knows of one download.
struct DownloadEntry {
    int id = 0; // the manager's id, stable for the session
    int dbId = -1; // the stored row's id, once storage has answered
    QString path; // the final file; empty until the response has named it
    QUrl url;
    int state = 0; // DownloadModel::State
    qint64 receivedBytes = 0;
    qint64 totalBytes = -1; // -1 while unknown
    double speed = 0; // bytes per second
    QDateTime date;
    QString kind;
    QString error;
    QByteArray validator; // ETag or Last-Modified guarding a resumed range
    bool byEngine = false; // carried out by the web engine, not by us
};

// The downloads list, newest last; the manager changes it, QML reads it
// through the roles (usually behind a DownloadProxyModel).
class DownloadModel : public QAbstractListModel
{
    Q_OBJECT
    // Number of downloads in the list.
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
public:
    // Stored as the row's status; Finished is 2.
    enum State { Running = 0, Paused = 1, Finished = 2, Failed = 3, Cancelled = 4 };
    Q_ENUM(State)

    enum Roles {
        IdRole = Qt::UserRole + 1,
        FileNameRole,
        PathRole,
        UrlRole,
        StateRole,
        ReceivedBytesRole,
        TotalBytesRole,
        ProgressRole, // 0..1, -1 while the size is unknown
        SpeedRole, // bytes per second while running
        TimeLeftRole, // seconds, -1 while unknown
        DateRole,
        GroupRole, // "Today", "Yesterday" or the date
        KindRole,
        ErrorRole,
    };
    Q_ENUM(Roles)

    explicit DownloadModel(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    const QVector<DownloadEntry>& entries() const { return m_entries; }
    const DownloadEntry* entry(int id) const;
    int rowOf(int id) const;
    void append(const DownloadEntry& entry);
    // Changes a download in place and tells the views which roles moved.
    template <typename F> void update(int id, F&& change, const QVector<int>& roles = {})
    {
        const int row = rowOf(id);
        if (row < 0)
            return;
        change(m_entries[row]);
        emit dataChanged(index(row), index(row), roles);
    }
    void remove(int id);

signals:
    void countChanged();

private:
    QVector<DownloadEntry> m_entries;
};
