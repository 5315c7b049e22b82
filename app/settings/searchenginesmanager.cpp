#include "searchenginesmanager.h"

#include "storage/dbmanager.h"

SearchEnginesManager::SearchEnginesManager(DBManager* db, QObject* parent)
    : QObject(parent)
    , m_db(db)
    , m_model(new SearchEnginesModel(this))
    , m_proxy(new SearchEnginesProxyModel(this))
{
    m_proxy->setSourceModel(m_model);
    connect(m_db, &DBManager::searchEnginesAvailable, m_model, &SearchEnginesModel::onSearchEnginesAvailable);
    connect(m_db, &DBManager::searchEngineAdded, m_model, &SearchEnginesModel::onSearchEngineAdded);
    connect(m_model, &SearchEnginesModel::searchEnginesChanged, this, [this] {
        refreshCurrent();
        emit searchEnginesChanged();
    });
    m_db->getSearchEngines();
}

void SearchEnginesManager::setCurrentEngineId(int id)
{
    if (id == m_currentId)
        return;
    m_currentId = id;
    refreshCurrent();
}

void SearchEnginesManager::refreshCurrent()
{
    const SearchEnginesModel::Row* row = m_model->engine(m_currentId);
    const QString name = row ? row->engine.name : QString();
    const QString url = row ? row->engine.url : QString();
    const QString suggestions = row ? row->suggestionsUrl : QString();
    if (name != m_name) {
        m_name = name;
        emit searchEngineNameChanged();
    }
    if (url != m_url) {
        m_url = url;
        emit searchUrlChanged();
    }
    if (suggestions != m_suggestionsUrl) {
        m_suggestionsUrl = suggestions;
        emit searchSuggestionsUrlChanged();
    }
}

SearchEnginesManager::EditResult SearchEnginesManager::validate(const QString& name, const QString& url)
{
    if (name.trimmed().isEmpty())
        return EmptyName;
    // Without the placeholder every search would open the same page.
    if (!url.contains(QLatin1String("%s")))
        return MissingQueryPlaceholder;
    return Done;
}

SearchEnginesManager::EditResult SearchEnginesManager::addSearchEngine(
    const QString& name, const QString& url)
{
    const EditResult result = validate(name, url);
    if (result == Done)
        m_db->addSearchEngine(name.trimmed(), url.trimmed());
    return result;
}

SearchEnginesManager::EditResult SearchEnginesManager::updateSearchEngine(
    int id, const QString& name, const QString& url)
{
    const SearchEnginesModel::Row* row = m_model->engine(id);
    if (!row)
        return UnknownEngine;
    if (!row->engine.editable)
        return NotEditable;
    const EditResult result = validate(name, url);
    if (result != Done)
        return result;
    m_db->updateSearchEngine(id, name.trimmed(), url.trimmed());
    m_model->updateEngine(id, name.trimmed(), url.trimmed());
    return Done;
}

SearchEnginesManager::EditResult SearchEnginesManager::removeSearchEngine(int id)
{
    const SearchEnginesModel::Row* row = m_model->engine(id);
    if (!row)
        return UnknownEngine;
    if (!row->engine.editable)
        return NotEditable;
    // The fallback is chosen while the row still exists, so that a search box bound to the
    // engine goes straight to the new one instead of passing through an empty url.
    if (id == m_currentId)
        emit currentEngineRemoved();
    m_db->removeSearchEngine(id);
    m_model->removeEngine(id);
    return Done;
}
