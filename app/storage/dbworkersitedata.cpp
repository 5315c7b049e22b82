#include "dbworker.h"

void DBWorker::setDeviceMode(const QString& domain, int mode, bool isPrivate)
{
    Q_UNUSED(domain)
    Q_UNUSED(mode)
    Q_UNUSED(isPrivate)
}

void DBWorker::getDeviceMode(const QString& domain, bool isPrivate)
{
    Q_UNUSED(domain)
    Q_UNUSED(isPrivate)
}

void DBWorker::setFavicon(const QString& baseUrl, const QString& favicon, bool replace)
{
    Q_UNUSED(baseUrl)
    Q_UNUSED(favicon)
    Q_UNUSED(replace)
}

void DBWorker::updateTimeFavicon(const QString& baseUrl)
{
    Q_UNUSED(baseUrl)
}

void DBWorker::getFavicons()
{
}

void DBWorker::getPermissions()
{
}

void DBWorker::addPermissions(const QString& site, const QList<int>& policies)
{
    Q_UNUSED(site)
    Q_UNUSED(policies)
}

void DBWorker::updatePermission(const QString& site, int type, int value)
{
    Q_UNUSED(site)
    Q_UNUSED(type)
    Q_UNUSED(value)
}

void DBWorker::revokePermissions(const QString& site)
{
    Q_UNUSED(site)
}

void DBWorker::removePermissionsData(const QString& site)
{
    Q_UNUSED(site)
}

void DBWorker::removeAllPermissions()
{
}

void DBWorker::getSearchEngines()
{
}

void DBWorker::addSearchEngine(const QString& name, const QString& url)
{
    Q_UNUSED(name)
    Q_UNUSED(url)
}

void DBWorker::updateSearchEngine(int id, const QString& name, const QString& url)
{
    Q_UNUSED(id)
    Q_UNUSED(name)
    Q_UNUSED(url)
}

void DBWorker::removeSearchEngine(int id)
{
    Q_UNUSED(id)
}

void DBWorker::getDownloads()
{
}

void DBWorker::addDownload(const QString& path, const QString& url, const QString& cachedKey)
{
    Q_UNUSED(path)
    Q_UNUSED(url)
    Q_UNUSED(cachedKey)
}

void DBWorker::setStatusDownload(const QString& path, int status)
{
    Q_UNUSED(path)
    Q_UNUSED(status)
}

void DBWorker::setDownloadSuccessful(const QString& path)
{
    Q_UNUSED(path)
}

void DBWorker::removeDownload(const QString& path)
{
    Q_UNUSED(path)
}

void DBWorker::removeDownloads(const QSet<int>& ids)
{
    Q_UNUSED(ids)
}

void DBWorker::getPasswordExceptions()
{
}

void DBWorker::addException(const QString& url)
{
    Q_UNUSED(url)
}

void DBWorker::removeException(const QString& url)
{
    Q_UNUSED(url)
}

void DBWorker::setSuggestionsCount(const QString& url, int count)
{
    Q_UNUSED(url)
    Q_UNUSED(count)
}

void DBWorker::getSiteDprs(bool isPrivate)
{
    Q_UNUSED(isPrivate)
}

void DBWorker::addDpr(const QString& site, double dpr, bool isPrivate)
{
    Q_UNUSED(site)
    Q_UNUSED(dpr)
    Q_UNUSED(isPrivate)
}

void DBWorker::updateDpr(const QString& site, double dpr, bool isPrivate)
{
    Q_UNUSED(site)
    Q_UNUSED(dpr)
    Q_UNUSED(isPrivate)
}

void DBWorker::removeDpr(const QString& site, bool isPrivate)
{
    Q_UNUSED(site)
    Q_UNUSED(isPrivate)
}

void DBWorker::removeDprs(const QStringList& sites)
{
    Q_UNUSED(sites)
}

void DBWorker::removeAllDprs()
{
}

int DBWorker::getSiteId(const QString& site, bool isPrivate)
{
    Q_UNUSED(site)
    Q_UNUSED(isPrivate)
    return -1;
}
