#pragma once

#include <QMap>
#include <QString>
#include <functional>
#include <string>
#include <vector>

namespace Orvane
{
namespace WebView
{

    // Process-wide start of the web engine. The device engine takes Chromium
    // switches and a parameter map; on the desktop QtWebEngine is the engine, so
    // what has a QtWebEngine equivalent is applied and everything is kept for
    // inspection.
    class WebEngineContext
    {
    public:
        using InitCallback = std::function<void()>;

        // Starts the engine once per process; later calls are ignored. The callback,
        // when given, runs after the engine is set up.
        static void InitBrowser(int argc, char** argv, const std::vector<std::string>& switches,
            const QMap<QString, QString>& parameters, const InitCallback& callback);

        static bool isInitialized();
        static std::vector<std::string> switches();
        static QMap<QString, QString> parameters();

    private:
        WebEngineContext() = delete;
    };

} // namespace WebView
} // namespace Orvane
