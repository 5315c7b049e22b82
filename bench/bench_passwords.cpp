// Saved passwords at 10,000 logins: importing a CSV export, opening the
// password page (model populated), and the store's own load and save on its
// I/O thread. Beside each import and load, the longest gap between two ticks
// of a 1 ms GUI-thread timer shows how long the GUI thread was held.
//
// Usage: bench_passwords [runs]

#include "passwords/credentialsmodel.h"
#include "passwords/passwordcsv.h"
#include "passwords/passwordmanager.h"
#include "support/tempprofile.h"

#include "benchsupport.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>
#include <algorithm>

namespace
{

QTextStream out(stdout);
constexpr int logins = 10000;

QByteArray exportFile()
{
    QVector<CsvLogin> rows;
    for (int i = 0; i < logins; ++i) {
        rows.append({ 0, QStringLiteral("Site %1").arg(i),
            QStringLiteral("https://site%1.example/login").arg(i % 2500),
            QStringLiteral("user%1@mail.example").arg(i), QStringLiteral("p@ss,\"%1\"-word").arg(i * 7919),
            i % 10 ? QString() : QStringLiteral("note\nline %1").arg(i) });
    }
    return PasswordCsv::write(rows);
}

// Longest gap between ticks of a 1 ms timer while it runs.
struct StallMeter {
    QTimer timer;
    QElapsedTimer clock;
    qint64 last = 0;
    qint64 longest = 0;
    StallMeter()
    {
        timer.setInterval(1);
        timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer, &QTimer::timeout, [this] {
            const qint64 now = clock.nsecsElapsed();
            longest = std::max(longest, now - last);
            last = now;
        });
        clock.start();
        timer.start();
    }
    double ms() const { return longest / 1e6; }
};

bool waitReady(PasswordManager& manager)
{
    QElapsedTimer t;
    t.start();
    while (manager.status() == PasswordManager::Loading && t.elapsed() < 60000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    return manager.status() == PasswordManager::Ready;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int runs = argc > 1 ? QByteArray(argv[1]).toInt() : 5;
    TempProfile profile;
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");

    QTemporaryDir dir;
    const QString csv = dir.filePath(QStringLiteral("export.csv"));
    QFile file(csv);
    file.open(QIODevice::WriteOnly);
    file.write(exportFile());
    file.close();
    out << "CSV of " << logins << " logins: " << QFileInfo(csv).size() / 1024 << " KiB" << Qt::endl;

    QVector<double> import, importStall, page, load, loadStall, save;
    for (int run = 0; run < runs; ++run) {
        QTemporaryDir storeDir;
        {
            PasswordManager manager(storeDir.path());
            waitReady(manager);
            QSignalSpy finished(&manager, &PasswordManager::importFinished);
            QElapsedTimer t;
            StallMeter meter;
            t.start();
            manager.importCsv(csv);
            finished.wait(60000);
            import.append(t.nsecsElapsed() / 1e6);
            importStall.append(meter.ms());
            if (manager.count() != logins) {
                out << "import gave " << manager.count() << " logins" << Qt::endl;
                return 1;
            }
            t.restart();
            manager.waitForIo(); // the save that the import queued: encrypt and write
            save.append(t.nsecsElapsed() / 1e6);
        }
        PasswordManager manager(storeDir.path());
        {
            QElapsedTimer t;
            StallMeter meter;
            t.start();
            waitReady(manager);
            load.append(t.nsecsElapsed() / 1e6);
            loadStall.append(meter.ms());
        }
        QElapsedTimer t;
        t.start();
        CredentialsModel model;
        model.setManager(&manager);
        const int rows = model.rowCount();
        page.append(t.nsecsElapsed() / 1e6);
        if (rows != logins)
            return 1;
    }
    out << "median of " << runs << " runs:" << Qt::endl;
    out << "  import 10,000-row CSV:         " << median(import) << " ms (goal < 500 ms), longest GUI stall "
        << median(importStall) << " ms" << Qt::endl;
    out << "  password page model, 10,000:   " << median(page) << " ms (goal < 50 ms)" << Qt::endl;
    out << "  store load (key, decrypt):     " << median(load) << " ms, longest GUI stall "
        << median(loadStall) << " ms" << Qt::endl;
    out << "  store save (encrypt, write):   " << median(save) << " ms" << Qt::endl;
    return 0;
}
