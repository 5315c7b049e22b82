#include "testhooks.h"

#include "utils/logcategories.h"

#include <QJSValue>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalServer>
#include <QLocalSocket>
#include <QQmlContext>
#include <QQmlExpression>
#include <QQuickItem>
#include <QQuickView>

TestHooks::TestHooks(QQuickView* view, const QString& socketPath, QObject* parent)
    : QObject(parent)
    , m_view(view)
    , m_server(new QLocalServer(this))
{
    QLocalServer::removeServer(socketPath);
    if (!m_server->listen(socketPath)) {
        qCWarning(lcApp) << "test hooks cannot listen on" << socketPath << m_server->errorString();
        return;
    }
    connect(m_server, &QLocalServer::newConnection, this, &TestHooks::acceptClient);
}

bool TestHooks::isListening() const
{
    return m_server->isListening();
}

void TestHooks::acceptClient()
{
    while (QLocalSocket* client = m_server->nextPendingConnection()) {
        connect(client, &QLocalSocket::readyRead, this, [this, client] { readLines(client); });
        connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
    }
}

void TestHooks::readLines(QLocalSocket* client)
{
    while (client->canReadLine()) {
        const QString line = QString::fromUtf8(client->readLine()).trimmed();
        if (line.isEmpty())
            continue;
        client->write(evaluate(line) + '\n');
        client->flush();
    }
}

QByteArray TestHooks::evaluate(const QString& expression)
{
    QJsonObject answer;
    QQuickItem* root = m_view ? m_view->rootObject() : nullptr;
    QQmlContext* context = root ? qmlContext(root) : nullptr;
    if (!context) {
        answer.insert(QStringLiteral("ok"), false);
        answer.insert(QStringLiteral("error"), QStringLiteral("no window"));
        return QJsonDocument(answer).toJson(QJsonDocument::Compact);
    }
    QQmlExpression qmlExpression(context, root, expression);
    bool undefined = false;
    QVariant value = qmlExpression.evaluate(&undefined);
    if (qmlExpression.hasError()) {
        answer.insert(QStringLiteral("ok"), false);
        answer.insert(QStringLiteral("error"), qmlExpression.error().toString());
    } else {
        if (value.userType() == qMetaTypeId<QJSValue>())
            value = value.value<QJSValue>().toVariant();
        answer.insert(QStringLiteral("ok"), true);
        answer.insert(QStringLiteral("value"), QJsonValue::fromVariant(value));
    }
    return QJsonDocument(answer).toJson(QJsonDocument::Compact);
}
