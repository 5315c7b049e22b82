// The manager's work on its I/O thread: reading and writing the store, CSV
// import and export.

#include "passwordcsv.h"
#include "passwordiostate.h"
#include "passwordlogging.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSaveFile>
#include <QUrl>
#include <QUuid>

#include <algorithm>

using CredentialStore::KeySource;
using CredentialStore::Status;

LoadResult loadStore(PasswordIoState* state)
{
    LoadResult result;
    KeySource source = KeySource::None;
    result.status = CredentialStore::readKeySource(state->storePath, &source);
    if (result.status != Status::Ok)
        return result;
    PasswordKey::Key key = PasswordKey::existing(source, state->keyFilePath);
    if (!key.isValid()) {
        result.status = Status::Rejected;
        result.locked = true;
        return result;
    }
    result.status = CredentialStore::read(state->storePath, key.bytes, &result.credentials);
    if (result.status != Status::Ok) {
        result.credentials.clear();
        return result;
    }
    for (Credential& c : result.credentials)
        c.site = PasswordManager::siteOf(c.url);
    std::sort(result.credentials.begin(), result.credentials.end(), credentialLess);
    state->key = key;
    result.source = key.source;
    return result;
}

void PasswordManager::persist()
{
    // Edits in one turn of the event loop become one write.
    if (m_savePending)
        return;
    m_savePending = true;
    QMetaObject::invokeMethod(this, &PasswordManager::flushSave, Qt::QueuedConnection);
}

void PasswordManager::flushSave()
{
    if (!m_savePending)
        return;
    m_savePending = false;
    const QVector<Credential> snapshot = m_credentials;
    runIo(
        [state = m_ioState, snapshot] {
            if (!state->key.isValid()) {
                QDir().mkpath(QFileInfo(state->storePath).absolutePath());
                state->key = PasswordKey::forNewStore(state->keyFilePath);
            }
            const bool written = state->key.isValid()
                && CredentialStore::write(state->storePath, state->key.bytes, state->key.source, snapshot);
            return qMakePair(written, state->key.source);
        },
        [this](const QPair<bool, KeySource>& result) {
            if (result.second != m_keySource) {
                m_keySource = result.second;
                emit keyLocationChanged();
            }
            if (!result.first) {
                qCWarning(lcPasswords) << "cannot write credential store" << storePath();
                emit storeError(qtTrId("browser-la-passwords-store-write-failed").arg(storePath()));
            }
        });
}

void PasswordManager::waitForIo()
{
    flushSave();
    m_io.waitForDone();
}

namespace
{

QString localPath(const QString& file)
{
    const QUrl url(file);
    return url.isLocalFile() ? url.toLocalFile() : file;
}

struct ImportResult {
    QVector<Credential> merged; // the whole sorted list with the new logins
    QVector<Credential> added;
    QVariantMap report;
};

QVariantMap rowReport(int line, const char* result, const QString& message)
{
    return { { QStringLiteral("line"), line }, { QStringLiteral("result"), QLatin1String(result) },
        { QStringLiteral("message"), message } };
}

ImportResult importFile(const QString& path, const QVector<Credential>& existing)
{
    ImportResult result;
    QVariantMap& report = result.report;
    auto fail = [&report](const QString& message) {
        report.insert(QStringLiteral("ok"), false);
        report.insert(QStringLiteral("error"), message);
    };
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        fail(qtTrId("browser-la-passwords-import-unreadable").arg(path));
        return result;
    }
    // Refused before reading, so that a huge file never fills memory.
    if (file.size() > PasswordCsv::maxFileSize) {
        fail(qtTrId("browser-la-passwords-csv-too-large"));
        return result;
    }
    const CsvReadResult csv = PasswordCsv::read(file.readAll());
    if (!csv.ok) {
        fail(csv.error);
        return result;
    }

    QHash<QString, QString> passwords; // site + '\n' + user name -> password
    passwords.reserve(existing.size() + csv.logins.size());
    for (const Credential& c : existing)
        passwords.insert(c.site + QLatin1Char('\n') + c.username, c.password);

    QVariantList rows;
    int counts[3] = { 0, 0, 0 };
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    for (const CsvLogin& login : csv.logins) {
        const QString site = PasswordManager::siteOf(login.url);
        const QString key = site + QLatin1Char('\n') + login.username;
        const auto known = passwords.constFind(key);
        if (known != passwords.constEnd()) {
            const bool same = *known == login.password;
            ++counts[same ? 1 : 2];
            rows.append(same ? rowReport(login.line, "identical", QString())
                             : rowReport(login.line, "conflicting",
                                 qtTrId("browser-la-passwords-import-conflict").arg(login.line).arg(site)));
            continue;
        }
        Credential c;
        c.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
        c.site = site;
        c.url = login.url;
        c.name = login.name.isEmpty() ? QUrl(site).host() : login.name;
        c.username = login.username;
        c.password = login.password;
        c.note = login.note;
        c.created = c.modified = now;
        passwords.insert(key, c.password);
        result.added.append(c);
        ++counts[0];
        rows.append(rowReport(login.line, "added", QString()));
    }
    for (const CsvRejectedRow& rejected : csv.rejected)
        rows.append(rowReport(rejected.line, "rejected", rejected.message));
    std::sort(rows.begin(), rows.end(), [](const QVariant& a, const QVariant& b) {
        return a.toMap().value(QStringLiteral("line")).toInt()
            < b.toMap().value(QStringLiteral("line")).toInt();
    });

    result.merged = existing + result.added;
    std::sort(result.merged.begin(), result.merged.end(), credentialLess);
    report.insert(QStringLiteral("ok"), true);
    report.insert(QStringLiteral("added"), counts[0]);
    report.insert(QStringLiteral("identical"), counts[1]);
    report.insert(QStringLiteral("conflicting"), counts[2]);
    report.insert(QStringLiteral("rejected"), csv.rejected.size());
    report.insert(QStringLiteral("rows"), rows);
    return result;
}

} // namespace

bool PasswordManager::importCsv(const QString& file)
{
    if (m_status != Ready)
        return false;
    setBusy(true);
    const QString path = localPath(file);
    const quint64 generation = m_generation;
    runIo([path, snapshot = m_credentials] { return importFile(path, snapshot); },
        [this, generation](const ImportResult& result) {
            setBusy(false);
            if (!result.added.isEmpty()) {
                if (generation == m_generation) {
                    m_credentials = result.merged;
                } else {
                    // Edited meanwhile: the new logins go in one by one, unless the
                    // user has saved the same login by hand in between.
                    for (const Credential& c : result.added) {
                        const bool present = std::any_of(
                            m_credentials.cbegin(), m_credentials.cend(), [&c](const Credential& o) {
                                return o.site == c.site && o.username == c.username;
                            });
                        if (!present)
                            insertSorted(c);
                    }
                }
                ++m_generation;
                persist();
                emit credentialsChanged();
            }
            qCInfo(lcPasswords) << "import:" << result.report.value(QStringLiteral("added")).toInt()
                                << "added," << result.report.value(QStringLiteral("identical")).toInt()
                                << "identical," << result.report.value(QStringLiteral("conflicting")).toInt()
                                << "conflicting," << result.report.value(QStringLiteral("rejected")).toInt()
                                << "rejected";
            emit importFinished(result.report);
        });
    return true;
}

bool PasswordManager::exportCsv(const QString& file)
{
    if (m_status != Ready)
        return false;
    setBusy(true);
    const QString path = localPath(file);
    runIo(
        [path, snapshot = m_credentials] {
            QVector<CsvLogin> logins;
            logins.reserve(snapshot.size());
            for (const Credential& c : snapshot)
                logins.append({ 0, c.name, c.url, c.username, c.password, c.note });
            QSaveFile out(path);
            const QByteArray bytes = PasswordCsv::write(logins);
            const bool ok = out.open(QIODevice::WriteOnly)
                && out.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner)
                && out.write(bytes) == bytes.size() && out.commit();
            return ok;
        },
        [this, path](bool ok) {
            setBusy(false);
            if (!ok)
                qCWarning(lcPasswords) << "cannot write export" << path;
            emit exportFinished(ok, ok ? QString() : qtTrId("browser-la-passwords-export-failed").arg(path));
        });
    return true;
}
