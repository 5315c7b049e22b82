#pragma once

#include "pwainstalljob.h"

// An update of an installed app: the same stages as an installation, then
// stale icons are removed and "Upgrade" is sent, unless nothing changed.
class PwaUpdateJob : public PwaInstallJob
{
    Q_OBJECT
public:
    using PwaInstallJob::PwaInstallJob;

protected:
    void sendApmPwaRequest() override;

private:
    // Removes the directory's icons that the new set lacks and writes the new set.
    QStringList updateIcons(const QString& dir, const QList<IconFile>& icons) const;
    bool isUnchanged(const QString& dir, const QList<IconFile>& icons) const;
};
