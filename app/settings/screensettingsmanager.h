#pragma once

#include "dprmodel.h"

#include <QHash>
#include <QObject>

class DBManager;

// Per-site zoom (DPR) and device mode, kept apart for normal and incognito
// browsing. Incognito values live in the private in-memory database only.
class ScreenSettingsManager : public QObject
{
    Q_OBJECT
    // Zoomed sites of normal browsing.
    Q_PROPERTY(DprModel* dprModel READ dprModel CONSTANT)
    // Zoomed sites of incognito browsing.
    Q_PROPERTY(BaseDprModel* incognitoDprModel READ incognitoDprModel CONSTANT)
public:
    explicit ScreenSettingsManager(DBManager* db, QObject* parent = nullptr);

    DprModel* dprModel() const { return m_dprModel; }
    BaseDprModel* incognitoDprModel() const { return m_incognitoDprModel; }

    // The zoom a tab opened on url uses: the site's own or -1 for none. url may
    // be a page url or a site key.
    Q_INVOKABLE double getDpr(const QString& url, bool isIncognito) const;
    Q_INVOKABLE void updateDpr(const QString& url, bool isIncognito, double dpr);
    Q_INVOKABLE void removeDpr(const QString& url, bool isIncognito);
    Q_INVOKABLE void removeSelectedDprs();
    Q_INVOKABLE void removeAllDprs();

    // Device mode per domain (the URL utilities' domain of a page).
    Q_INVOKABLE void setDeviceMode(const QString& domain, int mode, bool isIncognito);
    // The mode last set or read back for the domain; -1 when none is known yet.
    Q_INVOKABLE int deviceMode(const QString& domain, bool isIncognito) const;
    // Asks storage; the answer comes as deviceModeAvailable.
    Q_INVOKABLE void requestDeviceMode(const QString& domain, bool isIncognito);

signals:
    void deviceModeAvailable(const QString& domain, int mode, bool isIncognito);

private:
    BaseDprModel* modelFor(bool isIncognito) const;
    void onSiteDprAdded(const SiteDpr& dpr, bool isPrivate);

    DBManager* m_db;
    DprModel* m_dprModel;
    BaseDprModel* m_incognitoDprModel;
    // Zooms asked for but not yet answered by storage, per mode: a second change
    // before the answer must update the coming row, not add another.
    QHash<QString, float> m_pending[2];
    // Sites removed while their add was still on its way: the add's answer is dropped.
    QSet<QString> m_removedPending[2];
    QHash<QString, int> m_deviceModes[2];
};
