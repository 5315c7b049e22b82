#pragma once

#include <QObject>
#include <QStringList>

class QQmlEngine;
class QJSEngine;

namespace Orvane::Application::ManagedConfiguration
{
class Configuration;
}

// The device administrator's URL policy: the blocked and the allowed URLs,
// kept up to date with the platform's managed configuration. The front end
// applies them to navigation (FilePathUtils::isUrlBlocked).
class ManagedConfigurationUtils : public QObject
{
    Q_OBJECT
public:
    static ManagedConfigurationUtils* instance();
    static QObject* qmlInstance(QQmlEngine* engine, QJSEngine* scriptEngine);

    // Reads the lists now and again at every change; meant to be called once.
    Q_INVOKABLE void requestUrlAccessPolicy();
    Q_INVOKABLE QStringList getUrlBlocklist() const { return m_urlBlocklist; }
    Q_INVOKABLE QStringList getUrlAllowlist() const { return m_urlAllowlist; }

signals:
    void urlAccessPolicyAvailable();

private:
    explicit ManagedConfigurationUtils(QObject* parent = nullptr);
    void readLists(const Orvane::Application::ManagedConfiguration::Configuration& configuration);

    QStringList m_urlBlocklist;
    QStringList m_urlAllowlist;
};
