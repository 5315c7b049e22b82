#pragma once

#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>
#include <QVariantMap>

#include <functional>

namespace Orvane
{
namespace Application
{
    namespace ManagedConfiguration
    {

        // The values the administrator set for this application, by key.
        class Configuration
        {
        public:
            Configuration() = default;
            explicit Configuration(const QVariantMap& values)
                : m_values(values)
            {
            }
            // The value of a key; an invalid QVariant for a key that is not set.
            QVariant get(const QString& key) const { return m_values.value(key); }
            bool operator==(const Configuration& other) const { return m_values == other.m_values; }

        private:
            QVariantMap m_values;
        };

        // The outcome of a configuration request: true when it failed.
        class Error
        {
        public:
            Error() = default;
            explicit Error(const QString& message)
                : m_message(message)
                , m_failed(true)
            {
            }
            explicit operator bool() const { return m_failed; }
            QString message() const { return m_message; }

        private:
            QString m_message;
            bool m_failed = false;
        };

        // Desktop: the administrator's policy is a JSON object in a file, by default
        // "/etc/ru.nuvo.webdeck/policy.json", elsewhere when WEBDECK_POLICY_FILE names
        // another. The file is read at start and followed as it is written, replaced,
        // removed or created again.
        class ConfigurationManager : public QObject
        {
            Q_OBJECT
        public:
            using Callback = std::function<void(const Configuration&, const Error&)>;

            static ConfigurationManager* instance();
            // The file instance() follows.
            static QString policyFilePath();

            explicit ConfigurationManager(const QString& policyFile, QObject* parent = nullptr);

            // Answers from the event loop with the configuration in force; an error
            // while no policy file could be read yet.
            void getConfiguration(Callback callback);

        public slots:
            // Reads the file now; configurationChanged() follows when its values differ.
            void reload();

        signals:
            void configurationChanged(const Configuration& configuration);

        private:
            void watch();

            QString m_path;
            QFileSystemWatcher m_watcher;
            QTimer m_settle;
            Configuration m_configuration;
            QString m_error; // why the file could not be read, until it first could
            bool m_read = false;
        };

    } // namespace ManagedConfiguration
} // namespace Application
} // namespace Orvane

Q_DECLARE_METATYPE(Orvane::Application::ManagedConfiguration::Configuration)
