// Cost of the administrator's URL policy: checking a URL against block and
// allow lists of 1,000 entries each, compiling those lists, and reloading a
// policy file of that size until the lists are read from it.
//
// Usage: bench_urlpolicy [runs]

#include "utils/urlfilter.h"

#include "benchsupport.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSaveFile>
#include <QTemporaryDir>
#include <QTextStream>
#include <QUrl>
#include <algorithm>
#include <functional>
#include <managedconfiguration.h>

using namespace Orvane::Application::ManagedConfiguration;

namespace
{
QTextStream out(stdout);

// Entries of every form an administrator writes: hosts with subdomains, exact
// hosts, paths, ports, schemes, addresses, internationalised names.
QStringList entries(const QString& tag)
{
    QStringList list;
    for (int i = 0; list.size() < UrlFilter::maxEntries; ++i) {
        switch (i % 8) {
        case 0:
            list << QStringLiteral("site%1.%2.example").arg(i).arg(tag);
            break;
        case 1:
            list << QStringLiteral(".exact%1.%2.test").arg(i).arg(tag);
            break;
        case 2:
            list << QStringLiteral("https://paths%1.%2.example/section/%1").arg(i).arg(tag);
            break;
        case 3:
            list << QStringLiteral("port%1.%2.example:8080").arg(i).arg(tag);
            break;
        case 4:
            list << QStringLiteral("10.%1.%2.1").arg(i % 250).arg(tag.size() * 10 + i / 250);
            break;
        case 5:
            list << QStringLiteral("сайт%1.%2.рф").arg(i).arg(tag);
            break;
        case 6:
            list << QStringLiteral("http://plain%1.%2.org/a").arg(i).arg(tag);
            break;
        case 7:
            list << QStringLiteral("[2001:db8::%1:%2]").arg(i, 0, 16).arg(tag.size());
            break;
        }
    }
    return list;
}

QStringList urls()
{
    QStringList list;
    for (int i = 0; i < 10000; ++i) {
        switch (i % 6) {
        case 0:
            list << QStringLiteral("https://a.b.site%1.block.example/news/today?x=%1").arg(i % 1000 / 8 * 8);
            break;
        case 1:
            list << QStringLiteral("https://paths%1.allow.example/section/%1/page").arg(i % 1000 / 8 * 8 + 2);
            break;
        case 2:
            list << QStringLiteral("https://www.unlisted%1.example.org/index.html").arg(i);
            break;
        case 3:
            list << QStringLiteral("http://10.%1.51.1:8080/").arg(i % 250);
            break;
        case 4:
            list << QStringLiteral("https://www.сайт%1.block.рф/").arg(i % 1000 / 8 * 8 + 5);
            break;
        case 5:
            list << QStringLiteral("http://[2001:db8::%1:5]/").arg(i % 1000, 0, 16);
            break;
        }
    }
    return list;
}

double timeMs(const std::function<void()>& work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return timer.nsecsElapsed() / 1e6;
}
} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int runs = argc > 1 ? QByteArray(argv[1]).toInt() : 15;
    const QStringList blocklist = entries(QStringLiteral("block"));
    const QStringList allowlist = entries(QStringLiteral("allow"));
    const QStringList checked = urls();
    QVector<QUrl> parsed;
    for (const QString& url : checked)
        parsed << QUrl(url);

    // Lists that arrive from QML are equal copies, not the same lists.
    const auto deepCopy = [](const QStringList& list) {
        QStringList copy;
        for (const QString& entry : list)
            copy << QString(entry.constData(), entry.size());
        return copy;
    };
    const QStringList copies[2][2]
        = { { deepCopy(blocklist), deepCopy(allowlist) }, { deepCopy(blocklist), deepCopy(allowlist) } };

    QVector<double> compile, perUrl, perParsedUrl, perCachedCall, perCopiedCall;
    int blocked = 0;
    for (int run = 0; run < runs; ++run) {
        UrlFilter filter;
        compile << timeMs([&] { filter = UrlFilter(blocklist, allowlist); });
        blocked = 0;
        perUrl << timeMs([&] {
            for (const QString& url : checked)
                blocked += filter.isBlocked(url);
        }) * 1000
                / checked.size();
        perParsedUrl << timeMs([&] {
            for (const QUrl& url : parsed)
                filter.isBlocked(url);
        }) * 1000
                / parsed.size();
        perCachedCall << timeMs([&] {
            for (const QString& url : checked)
                isUrlBlocked(url, blocklist, allowlist);
        }) * 1000
                / checked.size();
        perCopiedCall << timeMs([&] {
            for (int i = 0; i < checked.size(); ++i)
                isUrlBlocked(checked.at(i), copies[i % 2][0], copies[i % 2][1]);
        }) * 1000
                / checked.size();
    }
    out << "URL filter, 1,000 block + 1,000 allow entries, " << checked.size() << " URLs (" << blocked
        << " blocked), median of " << runs << " runs" << Qt::endl;
    out << "  compile both lists:              " << median(compile) << " ms" << Qt::endl;
    out << "  check a URL string:              " << median(perUrl) << " us (goal < 5 us)" << Qt::endl;
    out << "  check a parsed QUrl:             " << median(perParsedUrl) << " us" << Qt::endl;
    out << "  isUrlBlocked, same lists:        " << median(perCachedCall) << " us" << Qt::endl;
    out << "  isUrlBlocked, equal list copies: " << median(perCopiedCall) << " us" << Qt::endl;

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("policy.json"));
    const auto write = [&](int variant) {
        QSaveFile file(path);
        file.open(QIODevice::WriteOnly);
        const auto array = [](const QStringList& list) -> QString {
            return QStringLiteral("[\"") + list.join(QStringLiteral("\", \"")) + QStringLiteral("\"]");
        };
        file.write(QStringLiteral("{\"UrlBlocklistParameter\": %1, \"UrlAllowlistParameter\": %2, \"v\": %3}")
                       .arg(array(blocklist), array(allowlist))
                       .arg(variant)
                       .toUtf8());
        file.commit();
    };
    write(-1);
    ConfigurationManager manager(path);
    QStringList readBlocklist, readAllowlist;
    QObject::connect(&manager, &ConfigurationManager::configurationChanged, [&](const Configuration& c) {
        readBlocklist = c.get(QStringLiteral("UrlBlocklistParameter")).toStringList();
        readAllowlist = c.get(QStringLiteral("UrlAllowlistParameter")).toStringList();
    });
    QVector<double> reload;
    for (int run = 0; run < runs; ++run) {
        write(run);
        readBlocklist.clear();
        reload << timeMs([&] { manager.reload(); });
        if (readBlocklist.size() != blocklist.size() || readAllowlist.size() != allowlist.size())
            out << "reload did not deliver the lists" << Qt::endl;
    }
    out << "Policy reload, file of " << QFileInfo(path).size() / 1024 << " KiB to lists: " << median(reload)
        << " ms (goal < 5 ms)" << Qt::endl;
    return 0;
}
