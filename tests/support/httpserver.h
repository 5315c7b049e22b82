#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QPair>
#include <QUrl>

class QTcpServer;
class QThread;

// A small HTTP/1.1 server on 127.0.0.1 and an ephemeral port, scripted by the
// test: each path answers with a canned response that can be delayed, cut
// off, throttled, redirected or served in byte ranges. Every connection is
// closed after its answer, so each request is seen on its own.
//
// Routes and the request log are guarded, so the server may run on a thread
// of its own (start(true)) while the test's thread measures itself.
class HttpServer : public QObject
{
    Q_OBJECT
public:
    struct Response {
        int status = 200;
        QByteArray body;
        QByteArray contentType = "text/plain";
        QList<QPair<QByteArray, QByteArray>> headers; // extra headers, sent as given
        int delayMs = 0; // wait before the status line
        bool acceptRanges = false; // honour "Range: bytes=a-" / "bytes=a-b" with 206
        int dropAfterBytes = -1; // close the connection after this many body bytes
        int chunkBytes = 64 * 1024; // body written in chunks of this size...
        int chunkDelayMs = 0; // ...with this pause between them (throttling)
    };

    struct Request {
        QByteArray method;
        QByteArray path; // with the query, as sent
        QHash<QByteArray, QByteArray> headers; // names in lower case
    };

    explicit HttpServer(QObject* parent = nullptr);
    ~HttpServer() override;

    // Listens on 127.0.0.1; with ownThread the sockets live on a thread of
    // their own. Returns false when no port could be bound.
    bool start(bool ownThread = false);
    quint16 port() const { return m_port; }
    QUrl url(const QString& path = QString()) const;

    // Answers for a path (with or without its query; an exact match with the
    // query wins). Unknown paths answer 404.
    void route(const QByteArray& path, const Response& response);
    void route(const QByteArray& path, const QByteArray& body, const QByteArray& contentType = "text/plain");
    void redirect(const QByteArray& from, const QByteArray& to, int status = 302);

    QList<Request> requests() const;
    int hits(const QByteArray& path) const;

private:
    void onNewConnection();
    Response responseFor(const QByteArray& path) const;

    QTcpServer* m_server = nullptr;
    QThread* m_thread = nullptr;
    quint16 m_port = 0;
    mutable QMutex m_mutex;
    QHash<QByteArray, Response> m_routes;
    QList<Request> m_requests;

    friend class HttpConnection;
};
