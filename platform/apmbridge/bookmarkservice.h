#pragma once

#include <QDBusAbstractAdaptor>

// "ru.nuvo.APM.Bookmarks" on a desktop: a bookmark placed on the app grid becomes
// a menu entry that opens its url in the browser.
class BookmarkService : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "ru.nuvo.APM.Bookmarks")

public:
    explicit BookmarkService(QObject* parent);

public slots:
    bool CheckExists(const QString& url);
    void Create(const QString& url, const QString& title, const QString& icon);
};
