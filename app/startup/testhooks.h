#pragma once

#include <QObject>
#include <QPointer>

class QLocalServer;
class QLocalSocket;
class QQuickView;

// Lets an end-to-end test drive the real front end: a local socket on which
// every line received is a JavaScript expression, evaluated in the context of
// the window's root item, and answered with one line of JSON
// {"ok": true, "value": ...} or {"ok": false, "error": "..."}.
// Only made when the environment names the socket (WEBDECK_TEST_HOOKS).
class TestHooks : public QObject
{
    Q_OBJECT
public:
    TestHooks(QQuickView* view, const QString& socketPath, QObject* parent = nullptr);

    bool isListening() const;
    // The JSON answer to one expression, without the line break.
    QByteArray evaluate(const QString& expression);

private:
    void acceptClient();
    void readLines(QLocalSocket* client);

    QPointer<QQuickView> m_view;
    QLocalServer* m_server = nullptr;
};
