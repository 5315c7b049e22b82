#include "managedconfigurationutils.h"

#include "logcategories.h"

#include <QQmlEngine>
#include <managedconfiguration.h>

using namespace Orvane::Application::ManagedConfiguration;

ManagedConfigurationUtils::ManagedConfigurationUtils(QObject* parent)
    : QObject(parent)
{
}

ManagedConfigurationUtils* ManagedConfigurationUtils::instance()
{
    static ManagedConfigurationUtils* utils = new ManagedConfigurationUtils;
    return utils;
}

QObject* ManagedConfigurationUtils::qmlInstance(QQmlEngine* engine, QJSEngine* scriptEngine)
{
    Q_UNUSED(engine)
    Q_UNUSED(scriptEngine)
    ManagedConfigurationUtils* utils = instance();
    QQmlEngine::setObjectOwnership(utils, QQmlEngine::CppOwnership);
    return utils;
}

void ManagedConfigurationUtils::requestUrlAccessPolicy()
{
    ConfigurationManager* manager = ConfigurationManager::instance();
    connect(manager, &ConfigurationManager::configurationChanged, this,
        [this](const Configuration& configuration) {
            qCInfo(lcManagedConfig, "Updated MDM configuration");
            readLists(configuration);
            emit urlAccessPolicyAvailable();
        });
    manager->getConfiguration([this](const Configuration& configuration, const Error& error) {
        if (error) {
            qCWarning(lcManagedConfig, "Failed to get initial configuration for application, error: %s",
                error ? "true" : "false");
            return;
        }
        readLists(configuration);
        emit urlAccessPolicyAvailable();
    });
}

void ManagedConfigurationUtils::readLists(const Configuration& configuration)
{
    m_urlBlocklist = configuration.get(QStringLiteral("UrlBlocklistParameter")).toStringList();
    m_urlAllowlist = configuration.get(QStringLiteral("UrlAllowlistParameter")).toStringList();
}
