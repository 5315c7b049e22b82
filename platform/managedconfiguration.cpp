#include "managedconfiguration.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcPolicy, "browser.platform.managedConfiguration")

namespace Orvane
{
namespace Application
{
    namespace ManagedConfiguration
    {

        ConfigurationManager* ConfigurationManager::instance()
        {
            static ConfigurationManager* manager = new ConfigurationManager(policyFilePath());
            return manager;
        }

        QString ConfigurationManager::policyFilePath()
        {
            const QString path = qEnvironmentVariable("WEBDECK_POLICY_FILE");
            return path.isEmpty() ? QStringLiteral(WEBDECK_POLICY_FILE_DEFAULT) : path;
        }

        ConfigurationManager::ConfigurationManager(const QString& policyFile, QObject* parent)
            : QObject(parent)
            , m_path(QFileInfo(policyFile).absoluteFilePath())
        {
            // Editors and configuration tools write a file in several steps (truncate
            // and write, or write a copy and rename it over the original); the file is
            // read once they have settled, not at every step.
            m_settle.setSingleShot(true);
            m_settle.setInterval(50);
            connect(&m_settle, &QTimer::timeout, this, &ConfigurationManager::reload);
            connect(&m_watcher, &QFileSystemWatcher::fileChanged, &m_settle, qOverload<>(&QTimer::start));
            connect(
                &m_watcher, &QFileSystemWatcher::directoryChanged, &m_settle, qOverload<>(&QTimer::start));
            reload();
        }

        void ConfigurationManager::getConfiguration(Callback callback)
        {
            QTimer::singleShot(0, this, [this, callback]() {
                callback(m_configuration, m_error.isEmpty() ? Error() : Error(m_error));
            });
        }

        void ConfigurationManager::watch()
        {
            // The directory tells of a file created or renamed into place. The file
            // itself is watched afresh each time: after a rename the old watch may
            // still follow the replaced file.
            const QString dir = QFileInfo(m_path).absolutePath();
            if (!m_watcher.directories().contains(dir) && QFileInfo(dir).isDir())
                m_watcher.addPath(dir);
            if (m_watcher.files().contains(m_path))
                m_watcher.removePath(m_path);
            if (QFileInfo::exists(m_path))
                m_watcher.addPath(m_path);
        }

        void ConfigurationManager::reload()
        {
            watch();
            Configuration configuration;
            QFile file(m_path);
            if (file.exists()) {
                if (!file.open(QIODevice::ReadOnly)) {
                    qCWarning(lcPolicy)
                        << "policy file cannot be read, keeping the policy in force:" << m_path
                        << file.errorString();
                    if (!m_read)
                        m_error = file.errorString();
                    return;
                }
                QJsonParseError error;
                const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
                if (!document.isObject()) {
                    const QString reason = error.error == QJsonParseError::NoError
                        ? QStringLiteral("not a JSON object")
                        : error.errorString() + QStringLiteral(" at offset ") + QString::number(error.offset);
                    qCWarning(lcPolicy)
                        << "policy file is malformed, keeping the policy in force:" << m_path << reason;
                    if (!m_read)
                        m_error = reason;
                    return;
                }
                configuration = Configuration(document.object().toVariantMap());
            }
            // No file is no policy: the administrator has withdrawn it.
            m_read = true;
            m_error.clear();
            if (configuration == m_configuration)
                return;
            m_configuration = configuration;
            emit configurationChanged(m_configuration);
        }

    } // namespace ManagedConfiguration
} // namespace Application
} // namespace Orvane
