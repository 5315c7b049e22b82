// Round trips to the desktop package-manager bridge as the browser makes them:
// CheckInstalled (asked for every page with a manifest), Install and Upgrade of
// an app with the four launcher icons, and Create of an app-grid bookmark. The
// bridge runs as its real program on a private bus, writing into a temp dir.
//
//   bench_apmbridge [runs]      (default 30)

#include "pwahelper.h"

#include "benchsupport.h"
#include "support/privatebus.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QElapsedTimer>
#include <QImage>
#include <QLoggingCategory>
#include <QPainter>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <QThread>

#include <algorithm>
#include <functional>
#include <vector>

namespace
{

QVariant boolString()
{
    QDBusArgument argument;
    argument.beginStructure();
    argument << false << QString();
    argument.endStructure();
    return QVariant::fromValue(argument);
}

// A launcher icon with a gradient, so that PNG encoding does real work.
QString writeIcon(const QString& dir, int size)
{
    QImage image(size, size, QImage::Format_ARGB32);
    QPainter painter(&image);
    QLinearGradient gradient(0, 0, size, size);
    gradient.setColorAt(0, Qt::darkBlue);
    gradient.setColorAt(1, Qt::yellow);
    painter.fillRect(image.rect(), gradient);
    painter.end();
    const QString path = QStringLiteral("%1/%2x%2.png").arg(dir).arg(size);
    image.save(path);
    return path;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    const int runs = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 30;
    QTemporaryDir root;
    PrivateBus daemon; // its address is the system bus for the bridge started below
    const QString address = daemon.address();
    QProcess bridge;
    auto env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), address);
    env.insert(QStringLiteral("XDG_DATA_HOME"), root.filePath(QStringLiteral("data")));
    bridge.setProcessEnvironment(env);
    bridge.start(QStringLiteral(APMBRIDGE_PROGRAM), QStringList());
    QDBusConnection bus = QDBusConnection::connectToBus(address, QStringLiteral("bench"));
    for (int i = 0; i < 100 && !bus.interface()->isServiceRegistered(QStringLiteral("ru.nuvo.APM")); ++i)
        QThread::msleep(50);

    const QString dir = root.filePath(QStringLiteral("PWAs/app"));
    QDir().mkpath(dir);
    QStringList icons;
    for (const int size : { 86, 108, 128, 172 })
        icons.append(writeIcon(dir, size));
    QFile pwaconfig(dir + QStringLiteral("/pwaconfig.json"));
    pwaconfig.open(QIODevice::WriteOnly);
    pwaconfig.write(
        R"({"start_url": "https://app.test/", "scope": "https://app.test/", "display": "standalone"})");
    pwaconfig.close();
    const QString appId = Orvane::PWA::generateAppId(QStringLiteral("https://app.test/"));
    QFile iconFile(icons.last());
    iconFile.open(QIODevice::ReadOnly);
    const QString iconUrl
        = QStringLiteral("data:image/png;base64,") + QString::fromLatin1(iconFile.readAll().toBase64());

    QDBusInterface pwa(QStringLiteral("ru.nuvo.APM"), QStringLiteral("/ru/nuvo/APM"),
        QStringLiteral("ru.nuvo.APM.PWA"), bus);
    QDBusInterface grid(QStringLiteral("ru.nuvo.APM"), QStringLiteral("/ru/nuvo/APM"),
        QStringLiteral("ru.nuvo.APM.Bookmarks"), bus);
    const QVariantList head { QStringLiteral("https://app.test/"), QStringLiteral("App"), QStringList() };
    const QVariantList tail { boolString(), boolString(), boolString(), dir, icons };
    const QList<QPair<QString, std::function<QDBusMessage(int)>>> calls {
        { QStringLiteral("CheckInstalled"),
            [&](int) { return pwa.call(QStringLiteral("CheckInstalled"), appId); } },
        { QStringLiteral("Install"),
            [&](int) {
                return pwa.callWithArgumentList(QDBus::Block, QStringLiteral("Install"),
                    QVariantList { head[0], appId, head[1], head[2] } + tail);
            } },
        { QStringLiteral("Upgrade"),
            [&](int) {
                return pwa.callWithArgumentList(QDBus::Block, QStringLiteral("Upgrade"), head + tail);
            } },
        { QStringLiteral("Create"),
            [&](int i) {
                return grid.call(QStringLiteral("Create"), QStringLiteral("https://site.test/%1").arg(i),
                    QStringLiteral("Site"), iconUrl);
            } },
    };
    QTextStream out(stdout);
    for (const auto& call : calls) {
        std::vector<double> times;
        for (int i = 0; i < runs; ++i) {
            QElapsedTimer timer;
            timer.start();
            const QDBusMessage reply = call.second(i);
            times.push_back(timer.nsecsElapsed() / 1e6);
            if (reply.type() != QDBusMessage::ReplyMessage) {
                out << call.first << " failed: " << reply.errorMessage() << Qt::endl;
                return 1;
            }
        }
        out << call.first << ": median " << QString::number(median(times), 'f', 2) << " ms over " << runs
            << " runs" << Qt::endl;
    }
    bridge.terminate();
    bridge.waitForFinished();
    return 0; // the bus daemon stops with its owner
}
