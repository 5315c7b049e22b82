#include "webenginecontext.h"

#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcWebEngineContext, "browser.platform.webengine")

namespace Orvane
{
namespace WebView
{

    namespace
    {
        struct ContextState {
            bool initialized = false;
            std::vector<std::string> switches;
            QMap<QString, QString> parameters;
        };

        ContextState& state()
        {
            static ContextState s;
            return s;
        }

        const std::string subprocessSwitch = "--browser-subprocess-path=";

        // Points QtWebEngine at the same places the device engine would use, but only
        // where those places exist: a desktop install has its own helper process and
        // resources, and a dangling path would keep every page from rendering.
        void applyToQtWebEngine(
            const std::vector<std::string>& switches, const QMap<QString, QString>& parameters)
        {
            for (const std::string& sw : switches) {
                if (sw.compare(0, subprocessSwitch.size(), subprocessSwitch) != 0)
                    continue;
                const QString path = QString::fromStdString(sw.substr(subprocessSwitch.size()));
                if (QFileInfo(path).isExecutable()
                    && qEnvironmentVariableIsEmpty("QTWEBENGINEPROCESS_PATH")) {
                    qputenv("QTWEBENGINEPROCESS_PATH", QFile::encodeName(path));
                    qCDebug(lcWebEngineContext) << "subprocess launcher:" << path;
                } else {
                    qCDebug(lcWebEngineContext)
                        << "subprocess launcher not installed, using QtWebEngine's own:" << path;
                }
            }
            const QString resources = parameters.value(QStringLiteral("resources-path"));
            if (!resources.isEmpty()
                && QFileInfo(resources + QStringLiteral("/qtwebengine_resources.pak")).exists()
                && qEnvironmentVariableIsEmpty("QTWEBENGINE_RESOURCES_PATH")) {
                qputenv("QTWEBENGINE_RESOURCES_PATH", QFile::encodeName(resources));
            }
            // Extensions, the private library directory and the crypto checker have no
            // QtWebEngine counterpart; they are only kept.
        }
    } // namespace

    void WebEngineContext::InitBrowser(int argc, char** argv, const std::vector<std::string>& switches,
        const QMap<QString, QString>& parameters, const InitCallback& callback)
    {
        Q_UNUSED(argc)
        Q_UNUSED(argv)
        ContextState& s = state();
        if (s.initialized) {
            qCWarning(lcWebEngineContext) << "engine already initialised, ignoring a second start";
            return;
        }
        s.switches = switches;
        s.parameters = parameters;
        // Applied before any web view exists: QtWebEngine reads these when its
        // first profile is made.
        applyToQtWebEngine(switches, parameters);
        s.initialized = true;
        if (callback)
            callback();
    }

    bool WebEngineContext::isInitialized()
    {
        return state().initialized;
    }

    std::vector<std::string> WebEngineContext::switches()
    {
        return state().switches;
    }

    QMap<QString, QString> WebEngineContext::parameters()
    {
        return state().parameters;
    }

} // namespace WebView
} // namespace Orvane
