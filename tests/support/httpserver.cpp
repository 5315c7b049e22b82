#include "httpserver.h"

#include <QHostAddress>
#include <QMutexLocker>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>

// One accepted socket: reads one request, answers it from the route table and
// closes. Lives on the server's thread and deletes itself with its socket.
class HttpConnection : public QObject
{
public:
    HttpConnection(HttpServer* server, QTcpSocket* socket)
        : QObject(socket)
        , m_server(server)
        , m_socket(socket)
    {
        connect(socket, &QTcpSocket::readyRead, this, [this] { onReadyRead(); });
        connect(socket, &QTcpSocket::bytesWritten, this, [this] { writeMore(); });
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    }

private:
    void onReadyRead()
    {
        if (m_answered)
            return;
        m_buffer += m_socket->readAll();
        const int end = m_buffer.indexOf("\r\n\r\n");
        if (end < 0)
            return;
        m_answered = true;

        HttpServer::Request request;
        const QList<QByteArray> lines = m_buffer.left(end).split('\n');
        const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
        request.method = requestLine.value(0);
        request.path = requestLine.value(1);
        for (int i = 1; i < lines.size(); ++i) {
            const int colon = lines.at(i).indexOf(':');
            if (colon > 0)
                request.headers.insert(
                    lines.at(i).left(colon).trimmed().toLower(), lines.at(i).mid(colon + 1).trimmed());
        }
        {
            QMutexLocker lock(&m_server->m_mutex);
            m_server->m_requests.append(request);
        }
        m_response = m_server->responseFor(request.path);
        m_range = request.headers.value("range");
        if (m_response.delayMs > 0)
            QTimer::singleShot(m_response.delayMs, this, [this] { answer(); });
        else
            answer();
    }

    void answer()
    {
        const QByteArray& body = m_response.body;
        qint64 from = 0;
        qint64 to = body.size() - 1;
        int status = m_response.status;
        QByteArray extra;
        if (m_response.acceptRanges) {
            extra += "Accept-Ranges: bytes\r\n";
            if (m_range.startsWith("bytes=")) {
                const QList<QByteArray> bounds = m_range.mid(6).split('-');
                from = bounds.value(0).toLongLong();
                if (!bounds.value(1).isEmpty())
                    to = qMin<qint64>(to, bounds.value(1).toLongLong());
                if (from > to && !body.isEmpty()) {
                    m_socket->write("HTTP/1.1 416 Range Not Satisfiable\r\nContent-Length: 0\r\n"
                                    "Connection: close\r\n\r\n");
                    m_socket->disconnectFromHost();
                    return;
                }
                status = 206;
                extra += "Content-Range: bytes " + QByteArray::number(from) + '-' + QByteArray::number(to)
                    + '/' + QByteArray::number(body.size()) + "\r\n";
            }
        }
        m_body = body.mid(int(from), int(to - from + 1));

        QByteArray head = "HTTP/1.1 " + QByteArray::number(status) + " X\r\n";
        head += "Content-Type: " + m_response.contentType + "\r\n";
        head += "Content-Length: " + QByteArray::number(m_body.size()) + "\r\n";
        for (const auto& header : m_response.headers)
            head += header.first + ": " + header.second + "\r\n";
        head += extra + "Connection: close\r\n\r\n";
        m_socket->write(head);
        m_writing = true;
        writeMore();
    }

    void writeMore()
    {
        if (!m_writing || m_waiting || m_socket->bytesToWrite() > 4 * m_response.chunkBytes)
            return;
        const qint64 limit = m_response.dropAfterBytes >= 0
            ? qMin<qint64>(m_response.dropAfterBytes, m_body.size())
            : m_body.size();
        if (m_sent >= limit) {
            m_writing = false;
            if (m_response.dropAfterBytes >= 0 && limit < m_body.size()) {
                m_socket->flush();
                m_socket->abort();
            } else {
                m_socket->disconnectFromHost();
            }
            return;
        }
        const qint64 n = qMin<qint64>(m_response.chunkBytes, limit - m_sent);
        m_socket->write(m_body.constData() + m_sent, n);
        m_sent += n;
        if (m_response.chunkDelayMs > 0) {
            m_waiting = true;
            QTimer::singleShot(m_response.chunkDelayMs, this, [this] {
                m_waiting = false;
                writeMore();
            });
        }
    }

    HttpServer* m_server;
    QTcpSocket* m_socket;
    QByteArray m_buffer;
    QByteArray m_range;
    QByteArray m_body;
    HttpServer::Response m_response;
    qint64 m_sent = 0;
    bool m_answered = false;
    bool m_writing = false;
    bool m_waiting = false;
};

HttpServer::HttpServer(QObject* parent)
    : QObject(parent)
{
}

HttpServer::~HttpServer()
{
    if (m_thread) {
        // Deferred deletes are run as the thread finishes, on the thread that owns the sockets.
        m_server->deleteLater();
        m_thread->quit();
        m_thread->wait();
        delete m_thread;
    } else {
        delete m_server;
    }
}

bool HttpServer::start(bool ownThread)
{
    m_server = new QTcpServer;
    QObject::connect(m_server, &QTcpServer::newConnection, m_server, [this] { onNewConnection(); });
    if (!m_server->listen(QHostAddress::LocalHost, 0))
        return false;
    m_port = m_server->serverPort();
    if (ownThread) {
        m_thread = new QThread;
        m_server->moveToThread(m_thread);
        m_thread->start();
    }
    return true;
}

QUrl HttpServer::url(const QString& path) const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(path));
}

void HttpServer::route(const QByteArray& path, const Response& response)
{
    QMutexLocker lock(&m_mutex);
    m_routes.insert(path, response);
}

void HttpServer::route(const QByteArray& path, const QByteArray& body, const QByteArray& contentType)
{
    Response response;
    response.body = body;
    response.contentType = contentType;
    route(path, response);
}

void HttpServer::redirect(const QByteArray& from, const QByteArray& to, int status)
{
    Response response;
    response.status = status;
    response.headers.append({ "Location", to });
    route(from, response);
}

QList<HttpServer::Request> HttpServer::requests() const
{
    QMutexLocker lock(&m_mutex);
    return m_requests;
}

int HttpServer::hits(const QByteArray& path) const
{
    QMutexLocker lock(&m_mutex);
    int count = 0;
    for (const Request& request : m_requests)
        count += request.path == path || request.path.split('?').value(0) == path;
    return count;
}

void HttpServer::onNewConnection()
{
    while (QTcpSocket* socket = m_server->nextPendingConnection())
        new HttpConnection(this, socket);
}

HttpServer::Response HttpServer::responseFor(const QByteArray& path) const
{
    QMutexLocker lock(&m_mutex);
    auto it = m_routes.constFind(path);
    if (it == m_routes.constEnd())
        it = m_routes.constFind(path.split('?').value(0));
    if (it != m_routes.constEnd())
        return *it;
    Response notFound;
    notFound.status = 404;
    notFound.body = "not found";
    return notFound;
}
