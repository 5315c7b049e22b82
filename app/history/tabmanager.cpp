#include "tabmanager.h"

TabManager* TabManager::instance()
{
    static TabManager* manager = new TabManager;
    return manager;
}

TabManager::TabManager(QObject* parent)
    : QObject(parent)
{
    m_timer.start();
}
