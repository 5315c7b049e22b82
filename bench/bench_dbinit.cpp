// Start-up cost of the storage worker: DBWorker::init() on a profile that has
// reached its steady size (2,000 history rows, 10,000 favicons, 200 tabs of 20
// entries each), measured on warm file caches. Also the one start after an
// update from the version with the narrower history and bookmark indexes, which
// builds the wider ones and drops the old.
//
//   bench_dbinit [runs]      (default 30)

#include "storage/dbworker.h"
#include "support/dbfileprobe.h"
#include "support/tempprofile.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QSettings>
#include <QTextStream>

#include <algorithm>
#include <vector>

namespace
{

bool fillProfile(const QString& path)
{
    DbFileProbe db(path);
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const QString favicon = QStringLiteral("data:image/png;base64,") + QString(1200, QLatin1Char('A'));
    bool ok = db.exec(QStringLiteral("BEGIN;"));
    for (int i = 0; ok && i < 2000; ++i) {
        ok = db.exec(QStringLiteral("INSERT INTO browser_history (url, title, date) VALUES (?, ?, ?);"),
            { QStringLiteral("https://site%1.example.com/page/%2").arg(i % 300).arg(i),
                QStringLiteral("Page %1").arg(i), now - qint64(i) * 60000 });
    }
    for (int i = 0; ok && i < 10000; ++i) {
        ok = db.exec(QStringLiteral("INSERT INTO favicons (base_url, favicon, date) VALUES (?, ?, ?);"),
            { QStringLiteral("https://icon%1.example.com").arg(i), favicon, now - qint64(i) * 1000 });
    }
    for (int tab = 1; ok && tab <= 200; ++tab) {
        int lastEntry = 0;
        for (int e = 0; ok && e < 20; ++e) {
            ok = db.exec(QStringLiteral("INSERT INTO link (url, title) VALUES (?, ?);"),
                { QStringLiteral("https://tab%1.example.com/%2").arg(tab).arg(e), QStringLiteral("t") });
            const QVariant linkId = db.value(QStringLiteral("SELECT last_insert_rowid();"));
            ok = ok
                && db.exec(
                    QStringLiteral("INSERT INTO tab_history (tab_id, link_id, date) VALUES (?, ?, ?);"),
                    { tab, linkId, now - e });
            lastEntry = db.value(QStringLiteral("SELECT last_insert_rowid();")).toInt();
        }
        ok = ok
            && db.exec(
                QStringLiteral("INSERT INTO tab (tab_id, tab_history_id, order_index) VALUES (?, ?, ?);"),
                { tab, lastEntry, tab - 1 });
    }
    for (int i = 1; ok && i <= 50; ++i) {
        ok = db.exec(QStringLiteral("INSERT INTO sites (id, site) VALUES (?, ?);"),
                 { i, QStringLiteral("https://s%1.example.com").arg(i) })
            && db.exec(QStringLiteral("INSERT INTO site_dprs (site_id, dpr) VALUES (?, 1.5);"), { i })
            && db.exec(QStringLiteral("INSERT INTO device_modes VALUES (?, 1);"),
                { QStringLiteral("s%1.example.com").arg(i) });
    }
    ok = ok && db.exec(QStringLiteral("COMMIT;"));
    if (!ok)
        QTextStream(stderr) << "fill failed: " << db.lastError() << '\n';
    return ok;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("ru.nuvo"));
    QCoreApplication::setApplicationName(QStringLiteral("webdeck"));
    QLoggingCategory::setFilterRules(QStringLiteral("browser.app.*.info=false"));
    const int runs = argc > 1 ? QByteArray(argv[1]).toInt() : 30;

    TempProfile profile;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, profile.path());
    {
        DBWorker worker;
        worker.init();
    }
    if (!fillProfile(profile.databasePath()))
        return 1;

    const QStringList previousIndexes = {
        QStringLiteral("DROP INDEX browser_history_url_date_title_visited_count;"),
        QStringLiteral("DROP INDEX bookmark_structure_descendant_depth_ancestor;"),
        QStringLiteral("DROP INDEX bookmark_structure_ancestor_descendant;"),
        QStringLiteral("CREATE INDEX browser_history_url_date ON browser_history (url, date);"),
        QStringLiteral(
            "CREATE INDEX bookmark_structure_descendant_depth ON bookmark_structure (descendant, depth);"),
        QStringLiteral("CREATE INDEX bookmark_structure_ancestor ON bookmark_structure (ancestor);"),
    };
    std::vector<double> upgrade;
    for (int i = 0; i < 5; ++i) {
        {
            DbFileProbe db(profile.databasePath());
            for (const QString& statement : previousIndexes) {
                if (!db.exec(statement)) {
                    QTextStream(stderr) << "index change failed: " << db.lastError() << '\n';
                    return 1;
                }
            }
        }
        DBWorker worker;
        QElapsedTimer timer;
        timer.start();
        worker.init();
        upgrade.push_back(timer.nsecsElapsed() / 1e6);
    }
    std::sort(upgrade.begin(), upgrade.end());
    QTextStream(stdout) << "init() after the index change, 5 runs: median " << upgrade[upgrade.size() / 2]
                        << " ms, min " << upgrade.front() << " ms, max " << upgrade.back() << " ms\n";

    std::vector<double> ms;
    for (int i = 0; i < runs; ++i) {
        DBWorker worker;
        QElapsedTimer timer;
        timer.start();
        worker.init();
        ms.push_back(timer.nsecsElapsed() / 1e6);
    }
    const double first = ms.front();
    std::sort(ms.begin(), ms.end());
    DbFileProbe check(profile.databasePath());
    QTextStream(stdout) << "init() over " << runs << " runs: median " << ms[ms.size() / 2] << " ms, min "
                        << ms.front() << " ms, max " << ms.back() << " ms, first " << first << " ms"
                        << " (history "
                        << check.value(QStringLiteral("SELECT COUNT(*) FROM browser_history;")).toInt()
                        << ", favicons "
                        << check.value(QStringLiteral("SELECT COUNT(*) FROM favicons;")).toInt()
                        << ", tab_history "
                        << check.value(QStringLiteral("SELECT COUNT(*) FROM tab_history;")).toInt() << ")\n";
    return 0;
}
