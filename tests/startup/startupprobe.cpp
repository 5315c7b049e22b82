// Runs the browser's start-up against a test QML directory and, just before the
// event loop would run, writes down what start-up produced, then quits.

#include "startup/startup.h"

#include <webenginecontext.h>

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQmlContext>
#include <QQuickItem>
#include <QQuickView>
#include <QSaveFile>
#include <QTimer>

int main(int argc, char** argv)
{
    StartupConfig config;
    config.appDataDir = qEnvironmentVariable("PROBE_APP_DATA_DIR");
    const QString output = qEnvironmentVariable("PROBE_OUTPUT");
    config.beforeExec = [output](QQuickView* view) {
        QJsonObject report;
        QJsonObject properties;
        const char* const names[] = { "STANDALONE", "startUrl", "inapptab", "pwa", "VERSION_5_1",
            "dbusService", "dbusIface", "captureDir", "qmlLocation", "appVersion", "libcefOpensslChecksum" };
        for (const char* name : names) {
            const QVariant value = view->rootContext()->contextProperty(QString::fromLatin1(name));
            if (value.isValid())
                properties.insert(QString::fromLatin1(name), QJsonValue::fromVariant(value));
        }
        report.insert(QStringLiteral("contextProperties"), properties);
        report.insert(QStringLiteral("title"), view->title());
        report.insert(QStringLiteral("source"), view->source().toString());
        report.insert(QStringLiteral("status"), int(view->status()));
        report.insert(QStringLiteral("organization"), QCoreApplication::organizationName());
        report.insert(QStringLiteral("application"), QCoreApplication::applicationName());
        QJsonObject env;
        for (const char* name : { "ORVANE_APP_ID", "ORVANE_PACKAGE_NAME", "STREAMCAMERA_IGNORE_CODEC_ID" }) {
            if (qEnvironmentVariableIsSet(name))
                env.insert(QString::fromLatin1(name), qEnvironmentVariable(name));
        }
        report.insert(QStringLiteral("environment"), env);
        QJsonObject parameters;
        const auto engineParameters = Orvane::WebView::WebEngineContext::parameters();
        for (auto it = engineParameters.cbegin(); it != engineParameters.cend(); ++it)
            parameters.insert(it.key(), it.value());
        report.insert(QStringLiteral("engineParameters"), parameters);
        QJsonArray switches;
        for (const std::string& sw : Orvane::WebView::WebEngineContext::switches())
            switches.append(QString::fromStdString(sw));
        report.insert(QStringLiteral("engineSwitches"), switches);
        report.insert(
            QStringLiteral("engineInitialized"), Orvane::WebView::WebEngineContext::isInitialized());
        if (QQuickItem* root = view->rootObject())
            report.insert(QStringLiteral("qmlReport"), root->property("report").toString());

        QSaveFile file(output);
        if (file.open(QIODevice::WriteOnly)) {
            file.write(QJsonDocument(report).toJson());
            file.commit();
        }
        QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    };
    return runWebdeck(argc, argv, config);
}
