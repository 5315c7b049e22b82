#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QTemporaryDir>

// A fresh, empty user profile for one test: the XDG directories and HOME point
// into a temporary directory for as long as the object lives, so nothing a test
// does can reach the real user's data.
class TempProfile
{
public:
    TempProfile();
    ~TempProfile();

    bool isValid() const { return m_dir.isValid(); }
    QString path() const { return m_dir.path(); }
    // Where the browser keeps its database in this profile (the directory may not exist yet).
    QString dataLocation() const;
    QString databasePath() const;

private:
    QTemporaryDir m_dir;
    QHash<QByteArray, QByteArray> m_saved;
};
