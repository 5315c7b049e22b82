#pragma once

#include <QObject>
#include <QString>

// The permission kinds and answers shared by QML, storage and the web engine.
// The numbers are stored in the database and used by the front end, so they
// never change.
class Permission : public QObject
{
    Q_OBJECT
public:
    enum PermissionType {
        InvalidPermission = -1,
        Camera = 0,
        Microphone = 1,
        Geolocation = 2,
        Notification = 3,
        ScreenCapture = 4,
        Popups = 5,
        Cookies = 6,
    };
    Q_ENUM(PermissionType)

    enum ResponseType {
        InvalidResponse = -1,
        Deny = 0,
        Allow = 1,
        AlwaysAsk = 2,
    };
    Q_ENUM(ResponseType)

    static constexpr int typeCount = 7;

    using QObject::QObject;
};

// Per-site settings belong to an origin: a page url is reduced to its scheme
// and authority, the key storage uses. Text without a host is already a key.
QString siteKeyOf(const QString& url);
