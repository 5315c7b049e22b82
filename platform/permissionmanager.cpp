#include "permissionmanager.h"

#include <QQmlEngine>
#include <QUrl>

namespace Orvane
{
namespace WebView
{

    namespace
    {
        const unsigned int requestBits[] = { Permissions::Camera, Permissions::Geolocation,
            Permissions::Microphone, Permissions::Notification };

        // Answers belong to an origin: a page's url and the security origin QtWebEngine
        // reports for it ("https://a.example/" or "https://a.example") must meet.
        QString originOf(const QString& url)
        {
            const QUrl parsed(url);
            if (parsed.host().isEmpty())
                return url;
            return parsed
                .adjusted(
                    QUrl::RemovePath | QUrl::RemoveQuery | QUrl::RemoveFragment | QUrl::StripTrailingSlash)
                .toString();
        }
    } // namespace

    PermissionManager::PermissionManager(QObject* parent)
        : QObject(parent)
    {
    }

    PermissionManager* PermissionManager::GetInstance(QQmlEngine* engine, QJSEngine* scriptEngine)
    {
        Q_UNUSED(engine)
        Q_UNUSED(scriptEngine)
        static PermissionManager* manager = new PermissionManager;
        QQmlEngine::setObjectOwnership(manager, QQmlEngine::CppOwnership);
        return manager;
    }

    void PermissionManager::setPermission(const QString& url, unsigned int requestType, unsigned int result)
    {
        if (result != Granted && result != Refused) {
            resetPermission(url, requestType);
            return;
        }
        const QString origin = originOf(url);
        for (unsigned int bit : requestBits) {
            if (requestType & bit)
                m_results[origin].insert(bit, Result(result));
        }
        emit permissionChanged(origin, requestType);
    }

    void PermissionManager::resetPermission(const QString& url, unsigned int requestType)
    {
        const QString origin = originOf(url);
        auto it = m_results.find(origin);
        if (it == m_results.end())
            return;
        for (unsigned int bit : requestBits) {
            if (requestType & bit)
                it->remove(bit);
        }
        if (it->isEmpty())
            m_results.erase(it);
        emit permissionChanged(origin, requestType);
    }

    PermissionManager::Result PermissionManager::result(const QString& url, unsigned int requestType) const
    {
        return m_results.value(originOf(url)).value(requestType, Ask);
    }

    unsigned int PermissionManager::requestTypeFor(int feature)
    {
        switch (feature) {
        case MediaAudioCapture:
            return Permissions::Microphone;
        case MediaVideoCapture:
            return Permissions::Camera;
        case MediaAudioVideoCapture:
            return Permissions::Camera | Permissions::Microphone;
        case Geolocation:
            return Permissions::Geolocation;
        case Notifications:
            return Permissions::Notification;
        default:
            // Screen sharing has no remembered answer: every request is asked.
            return Permissions::None;
        }
    }

    int PermissionManager::decisionFor(const QString& securityOrigin, int feature) const
    {
        const unsigned int requested = requestTypeFor(feature);
        if (requested == Permissions::None)
            return Ask;
        // A combined request is granted only when every part is, and refused as
        // soon as one part is refused: the page cannot get half of what it asked.
        bool allGranted = true;
        for (unsigned int bit : requestBits) {
            if (!(requested & bit))
                continue;
            const Result r = result(securityOrigin, bit);
            if (r == Refused)
                return Refused;
            allGranted = allGranted && r == Granted;
        }
        return allGranted ? Granted : Ask;
    }

    void PermissionManager::clear()
    {
        m_results.clear();
    }

} // namespace WebView
} // namespace Orvane
