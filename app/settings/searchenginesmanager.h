#pragma once

#include "searchenginesmodel.h"

#include <QObject>

class DBManager;

// The engine the address bar searches with, and the user's edits of the list.
class SearchEnginesManager : public QObject
{
    Q_OBJECT
    // All engines.
    Q_PROPERTY(SearchEnginesProxyModel* searchEnginesModel READ searchEnginesModel CONSTANT)
    // The engine searched with when the user chose none, or removed the chosen one.
    Q_PROPERTY(int defaultEngineId READ defaultEngineId CONSTANT)
    // Name of the engine in use.
    Q_PROPERTY(QString searchEngineName READ searchEngineName NOTIFY searchEngineNameChanged)
    // Search url of the engine in use, "%s" standing for the query.
    Q_PROPERTY(QString searchUrl READ searchUrl NOTIFY searchUrlChanged)
    // Where the engine in use gives typing suggestions; empty when it gives none.
    Q_PROPERTY(QString searchSuggestionsUrl READ searchSuggestionsUrl NOTIFY searchSuggestionsUrlChanged)
public:
    enum EditResult {
        Done = 0,
        EmptyName,
        MissingQueryPlaceholder, // the url has no "%s" where the query goes
        NotEditable, // a built-in engine
        UnknownEngine,
    };
    Q_ENUM(EditResult)

    static constexpr int defaultEngine = 2;

    explicit SearchEnginesManager(DBManager* db, QObject* parent = nullptr);

    SearchEnginesProxyModel* searchEnginesModel() const { return m_proxy; }
    SearchEnginesModel* sourceModel() const { return m_model; }
    int defaultEngineId() const { return defaultEngine; }
    QString searchEngineName() const { return m_name; }
    QString searchUrl() const { return m_url; }
    QString searchSuggestionsUrl() const { return m_suggestionsUrl; }

    // The engine in use (the searchEngineId setting).
    int currentEngineId() const { return m_currentId; }
    void setCurrentEngineId(int id);

    Q_INVOKABLE EditResult addSearchEngine(const QString& name, const QString& url);
    Q_INVOKABLE EditResult updateSearchEngine(int id, const QString& name, const QString& url);
    Q_INVOKABLE EditResult removeSearchEngine(int id);

signals:
    void searchEnginesChanged();
    void searchEngineNameChanged();
    void searchUrlChanged();
    void searchSuggestionsUrlChanged();
    // The engine in use was removed; the owner of the setting falls back to the default.
    void currentEngineRemoved();

private:
    static EditResult validate(const QString& name, const QString& url);
    void refreshCurrent();

    DBManager* m_db;
    SearchEnginesModel* m_model;
    SearchEnginesProxyModel* m_proxy;
    int m_currentId = defaultEngine;
    QString m_name;
    QString m_url;
    QString m_suggestionsUrl;
};
