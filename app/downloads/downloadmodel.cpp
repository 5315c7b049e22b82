#include "downloadmodel.h"

#include "downloadkind.h"

#include <QFileInfo>

DownloadModel::DownloadModel(QObject* parent)
    : QAbstractListModel(parent)
{
}

int DownloadModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_entries.size();
}

QVariant DownloadModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return QVariant();
    const DownloadEntry& e = m_entries.at(index.row());
    const bool running = e.state == Running;
    switch (role) {
    case Qt::DisplayRole:
    case FileNameRole:
        return e.path.isEmpty() ? e.url.fileName() : QFileInfo(e.path).fileName();
    case IdRole:
        return e.id;
    case PathRole:
        return e.path;
    case UrlRole:
        return e.url.toString();
    case StateRole:
        return e.state;
    case ReceivedBytesRole:
        return e.receivedBytes;
    case TotalBytesRole:
        return e.totalBytes;
    case ProgressRole:
        if (e.state == Finished)
            return 1.0;
        return e.totalBytes > 0 ? double(e.receivedBytes) / double(e.totalBytes) : -1.0;
    case SpeedRole:
        return running ? e.speed : 0.0;
    case TimeLeftRole:
        if (!running || e.speed <= 0 || e.totalBytes < 0)
            return -1;
        return qint64((e.totalBytes - e.receivedBytes) / e.speed + 0.5);
    case DateRole:
        return e.date;
    case GroupRole:
        return DownloadKind::dayGroup(e.date.toLocalTime().date());
    case KindRole:
        return e.kind;
    case ErrorRole:
        return e.error;
    }
    return QVariant();
}

QHash<int, QByteArray> DownloadModel::roleNames() const
{
    return {
        { IdRole, "id" },
        { FileNameRole, "fileName" },
        { PathRole, "path" },
        { UrlRole, "url" },
        { StateRole, "state" },
        { ReceivedBytesRole, "receivedBytes" },
        { TotalBytesRole, "totalBytes" },
        { ProgressRole, "progress" },
        { SpeedRole, "speed" },
        { TimeLeftRole, "timeLeft" },
        { DateRole, "date" },
        { GroupRole, "group" },
        { KindRole, "kind" },
        { ErrorRole, "error" },
    };
}

const DownloadEntry* DownloadModel::entry(int id) const
{
    const int row = rowOf(id);
    return row < 0 ? nullptr : &m_entries.at(row);
}

int DownloadModel::rowOf(int id) const
{
    for (int row = 0; row < m_entries.size(); ++row) {
        if (m_entries.at(row).id == id)
            return row;
    }
    return -1;
}

void DownloadModel::append(const DownloadEntry& entry)
{
    beginInsertRows(QModelIndex(), m_entries.size(), m_entries.size());
    m_entries.append(entry);
    endInsertRows();
    emit countChanged();
}

void DownloadModel::remove(int id)
{
    const int row = rowOf(id);
    if (row < 0)
        return;
    beginRemoveRows(QModelIndex(), row, row);
    m_entries.remove(row);
    endRemoveRows();
    emit countChanged();
}
