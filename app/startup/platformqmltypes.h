#pragma once

// The platform web view library's types that a front end creates or asks
// itself, under "ru.orvaneos.WebView" 1.0: WebView (the back end's handle on
// a page, given to PwaManager) and the PermissionManager singleton.
void registerPlatformQmlTypes();
