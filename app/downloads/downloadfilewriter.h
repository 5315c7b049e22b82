#pragma once

#include <QFile>
#include <QObject>

class QThread;

// Writes one download's partial file on the downloads' own thread, so that a
// disk busy with other work stalls that thread and never the GUI. Requests
// are queued, so they run in the order they were made, also across the
// writers of one download's successive transfers.
class DownloadFileWriter : public QObject
{
    Q_OBJECT
public:
    // The thread every writer lives on; it finishes the writes queued so far
    // when the application quits.
    static QThread* thread();
    DownloadFileWriter();

public slots:
    // Opens the file to append to it (or emptied, with truncate); answers
    // opened with the bytes it already holds.
    void open(const QString& path, bool truncate);
    void truncate();
    void write(const QByteArray& chunk);
    // Closes the file, answers closed and deletes the writer.
    void close();

signals:
    void opened(qint64 size);
    void written(qint64 bytes);
    void failed(const QString& error);
    void closed();

private:
    QFile m_file;
    bool m_failed = false;
};
