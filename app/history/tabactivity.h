#pragma once

#include <QtGlobal>

// When a tab with a live web view was last used, on the TabManager clock, and
// whether it must keep its web view whatever its age (media playing, a form
// being filled, the tab on screen).
struct TabActivity {
    qint64 lastUsed = 0;
    bool isProtected = false;
};
