// The tab list as the GUI thread feels it with many tabs: one discard decision
// over 500 live web views, one insert of 500 tabs and one restore of 500
// stored tabs, each timed from the call to its return.
//
//   bench_tabsmodel [runs] 2>/dev/null

#include "history/tabmanager.h"
#include "history/tabsmodel.h"
#include "settings/settingsmanager.h"
#include "storage/dbmanager.h"
#include "support/tempprofile.h"

#include "benchsupport.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QLoggingCategory>

#include <algorithm>
#include <cstdio>
#include <functional>

namespace
{
const int tabCount = 500;

double timeMs(const std::function<void()>& prepare, const std::function<void()>& work, int runs)
{
    QVector<double> ms;
    for (int run = 0; run < runs; ++run) {
        prepare();
        QElapsedTimer timer;
        timer.start();
        work();
        ms << timer.nsecsElapsed() / 1e6;
    }
    return median(ms);
}
} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    const int runs = argc > 1 ? atoi(argv[1]) : 21;
    TempProfile profile;
    SettingsManager settings(profile.path() + QStringLiteral("/browser-app.conf"), DBManager::instance());
    for (int i = 0; i < 50; ++i)
        settings.screenSettingsManager()->updateDpr(
            QStringLiteral("https://site%1.example").arg(i), false, 1.5);

    TabsModel model(DBManager::instance(), &settings);
    model.setIsIncognito(false);
    QStringList urls, titles;
    QList<Tab> stored;
    for (int i = 0; i < tabCount; ++i) {
        urls << QStringLiteral("https://site%1.example/page/%2").arg(i % 100).arg(i);
        titles << QStringLiteral("Page %1").arg(i);
        Tab tab;
        tab.id = 10000 + i;
        tab.url = urls.last();
        tab.title = titles.last();
        stored << tab;
    }

    // Ages spread over 0 to 20 minutes, a few protected and downloading: some tabs
    // go at once, one as the candidate; every live tab is logged.
    qint64 clock = 0;
    TabManager::instance()->setClockSource([&clock] { return clock; });
    const QList<int> downloads { 3, 33, 333 };
    const auto liveTabs = [&] {
        for (int id = 0; id < tabCount; ++id) {
            clock = 1'200'000 - (id * 7919 % 1'200'000);
            model.addLiveTab(id, id % 50 == 0);
        }
        clock = 1'200'000;
    };
    const double discardLogged = timeMs(
        liveTabs, [&] { model.findCandidateDiscardTab(downloads); }, runs);
    QLoggingCategory::setFilterRules(QStringLiteral("browser.app.tabs.info=false"));
    const double discardQuiet = timeMs(
        liveTabs, [&] { model.findCandidateDiscardTab(downloads); }, runs);
    TabManager::instance()->setClockSource({});

    const double insert = timeMs([&] { model.clear(); }, [&] { model.insert(0, urls, titles); }, runs);
    const double restore = timeMs([] {}, [&] { model.tabsAvailable(stored); }, runs);
    model.clear();

    std::printf("findCandidateDiscardTab, %d live tabs, log lines written: %.3f ms (goal < 1 ms)\n", tabCount,
        discardLogged);
    std::printf("findCandidateDiscardTab, %d live tabs, info lines filtered out: %.3f ms (goal < 1 ms)\n",
        tabCount, discardQuiet);
    std::printf("insert of %d tabs: %.3f ms (goal < 10 ms)\n", tabCount, insert);
    std::printf("tabsAvailable of %d tabs: %.3f ms (goal < 10 ms)\n", tabCount, restore);
    DBManager::instance()->shutdown();
    return 0;
}
