#pragma once

#include "pwaconfig.h"

#include <QObject>
#include <QPair>
#include <QString>
#include <memory>

class QQmlEngine;
class QJSEngine;
class PwaInstallJob;

namespace Orvane
{
namespace WebView
{
    class WebView;
}
} // namespace Orvane

// The package manager's answer to "CheckInstalled", a D-Bus structure (bs).
using QPairBS = QPair<bool, QString>;

// Installs web sites as operating-system applications (one installation or
// update at a time), asks the package manager whether one is installed, and
// tells the PWA shell how to launch the app it runs.
class PwaManager : public QObject
{
    Q_OBJECT
    // The launch configuration of the app this process runs as (PWA mode).
    Q_PROPERTY(PwaConfig pwaConfig READ pwaConfig CONSTANT)
public:
    enum PwaDeployResult {
        SUCCESS = 0,
        FAILURE,
        FAILURE_BAD_URL,
        FAILURE_BAD_MANIFEST,
        FAILURE_CANNOT_DOWNLOAD_MANIFEST,
        FAILURE_CANNOT_DOWNLOAD_ICONS,
        FAILURE_CANNOT_INSTALL,
        FAILURE_CANNOT_UPDATED,
        FAILURE_ALREADY_UPDATED,
    };
    Q_ENUM(PwaDeployResult)

    static PwaManager* instance();
    static QObject* qmlInstance(QQmlEngine* engine, QJSEngine* scriptEngine);

    Q_INVOKABLE void checkAlreadyInstalled(
        Orvane::WebView::WebView* webView, const QString& baseUrl, const QString& manifestUrl);
    Q_INVOKABLE void install(
        Orvane::WebView::WebView* webView, const QString& baseUrl, const QString& manifestUrl);
    Q_INVOKABLE void update(
        Orvane::WebView::WebView* webView, const QString& baseUrl, const QString& manifestUrl);
    Q_INVOKABLE bool isInScope(const QString& url, const QString& scopeUrl) const;
    Q_INVOKABLE const PwaConfig& pwaConfig() const;

    // Whether an installation or update is running.
    bool isBusy() const { return bool(m_job); }

signals:
    void installationFinished(
        Orvane::WebView::WebView* webView, QString manifestUrl, PwaManager::PwaDeployResult result);
    void sendAppName(QString appName);
    void checkAlreadyInstalledFinished(Orvane::WebView::WebView* webView, bool isInstalled);

public slots:
    void handleJobFinished(
        Orvane::WebView::WebView* webView, QString manifestUrl, PwaManager::PwaDeployResult result);
    void handleSendAppName(QString appName);

private:
    explicit PwaManager(QObject* parent = nullptr);
    void runJob(std::shared_ptr<PwaInstallJob> job);
    void checkManifest(Orvane::WebView::WebView* webView, const QString& baseUrl, const QString& manifestUrl,
        const QString& content);
    PwaConfig loadPwaConfig() const;

    std::shared_ptr<PwaInstallJob> m_job;
    mutable PwaConfig m_config;
};

Q_DECLARE_METATYPE(QPairBS)
