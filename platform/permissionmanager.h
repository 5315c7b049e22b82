#pragma once

#include <QHash>
#include <QObject>
#include <QString>

class QQmlEngine;
class QJSEngine;

namespace Orvane
{
namespace WebView
{

    namespace Permissions
    {
        // The engine's permission request kinds, as bits, so that one request can
        // name several (camera and microphone together).
        enum RequestType : unsigned int {
            None = 0,
            Camera = 8,
            Geolocation = 512,
            Microphone = 4096,
            Notification = 32768,
        };
    } // namespace Permissions

    // Keeps the user's per-origin answers and applies them to the engine's own
    // permission requests. On the desktop the engine is QtWebEngine: a web view
    // asks decisionFor() from its featurePermissionRequested handler and only
    // shows a prompt when the answer is Ask.
    class PermissionManager : public QObject
    {
        Q_OBJECT
    public:
        // What the engine does with a request.
        enum Result : unsigned int {
            Granted = 0,
            Ask = 1,
            Refused = 2,
        };
        Q_ENUM(Result)

        // QtWebEngine's feature numbers as QML's WebEngineView.Feature has them.
        enum WebEngineFeature {
            MediaAudioCapture = 0,
            MediaVideoCapture = 1,
            MediaAudioVideoCapture = 2,
            Geolocation = 3,
            DesktopVideoCapture = 4,
            DesktopAudioVideoCapture = 5,
            Notifications = 6,
        };
        Q_ENUM(WebEngineFeature)

        static PermissionManager* GetInstance(
            QQmlEngine* engine = nullptr, QJSEngine* scriptEngine = nullptr);

        // Remembers result (Granted or Refused) for every request kind in requestType.
        void setPermission(const QString& url, unsigned int requestType, unsigned int result);
        // Forgets the answers for the kinds in requestType: the engine asks again.
        void resetPermission(const QString& url, unsigned int requestType);

        // The stored answer for one request kind (a single bit); Ask when none.
        Result result(const QString& url, unsigned int requestType) const;

        // What a web view does with a QtWebEngine feature request from securityOrigin:
        // Granted and Refused are answered without a prompt, Ask shows one.
        // Features with no stored kind (screen sharing) always ask.
        Q_INVOKABLE int decisionFor(const QString& securityOrigin, int feature) const;

        // The request kinds behind one QtWebEngine feature; None when it has none.
        static unsigned int requestTypeFor(int feature);

        void clear();

    signals:
        void permissionChanged(const QString& origin, unsigned int requestType);

    private:
        explicit PermissionManager(QObject* parent = nullptr);

        // origin -> (single request bit -> result)
        QHash<QString, QHash<unsigned int, Result>> m_results;
    };

} // namespace WebView
} // namespace Orvane
