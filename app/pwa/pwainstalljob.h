#pragma once

#include "pwamanager.h"

#include <favicon.h>
#include <pwahelper.h>

#include <QImage>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QUrl>

class QDBusPendingCallWatcher;

// One installation of a web site as an operating-system application: the
// manifest, the icons, the app directory and the package manager's answer,
// in stages that each start when the previous one has finished.
class PwaInstallJob : public QObject
{
    Q_OBJECT
public:
    // Manifests and icon lists beyond these are hostile, not large.
    static constexpr int maxIcons = 32;

    PwaInstallJob(Orvane::WebView::WebView* webView, const QString& baseUrl, const QString& manifestUrl,
        QObject* parent = nullptr);

    void start();
    // The app directory the job fills (empty until the app id is known).
    QString appDirectory() const { return m_info.id.isEmpty() ? QString() : getPwaDirPath(false); }

signals:
    void finished(Orvane::WebView::WebView* webView, QString manifestUrl, PwaManager::PwaDeployResult status);
    void sendAppName(QString appName);

public slots:
    void handleIconDownloaded(Orvane::WebView::Favicon image);
    void handleManifestDownloaded(bool success, QString resourceUrl, QString resourceContent);
    void handleInstallDBusReply(QDBusPendingCallWatcher* call);
    void continueInstallation();
    void emitError(PwaManager::PwaDeployResult result);

protected:
    struct IconFile {
        QString path;
        QByteArray png;
    };

    virtual void sendApmPwaRequest();
    // Writes the launcher icons into the directory; returns their files, or an empty list on failure.
    QStringList writeIcons(const QString& dir, const QList<IconFile>& icons) const;
    QList<IconFile> iconFiles(const QString& dir) const;
    QByteArray manifestJson() const;
    QByteArray pwaConfigJson() const;
    bool writeFile(const QString& path, const QByteArray& data) const;
    // The app directory under the browser's data location, created when asked.
    QString getPwaDirPath(bool create) const;
    void startDeploy(const QString& dir, const QStringList& icons, bool install);
    void finish(PwaManager::PwaDeployResult result);

    QPointer<Orvane::WebView::WebView> m_webView;
    bool m_hadWebView = false;
    QString m_baseUrlText;
    QString m_manifestUrlText;
    QUrl m_baseUrl;
    QUrl m_manifestUrl;
    int m_stage = 0;
    QString m_manifestText;
    Orvane::PWA::PWAManifest m_manifest;
    Orvane::PWA::PWAInfo m_info;
    QString m_display;
    QList<QImage> m_launcherIcons;

private:
    struct IconSource {
        QUrl primary;
        QUrl fallback;
    };

    void downloadManifest(const QUrl& url);
    bool parseManifest();
    void downloadIcons(const Orvane::PWA::PWAManifest& manifest);
    void downloadNextIcon();
    void downloadIcon(const QUrl& url);
    void prepareOsPwaResources();

    QList<IconSource> m_iconsToDownload;
    QUrl m_pendingIcon;
    QUrl m_pendingFallback;
    bool m_faviconTried = false;
    QList<QImage> m_icons;
    bool m_finished = false;
};
