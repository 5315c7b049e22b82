#pragma once

#include <QString>
#include <QStringList>

// What the command line and the environment ask the browser to do.
struct StartOptions {
    QString positionalUrl; // first argument, after clean-up
    QString startUrl; // the page to open; empty for none
    bool pwa = false; // run as the shell of an installed web app
};

// Reads the options the way the launcher passes them: unknown options and
// parse errors are ignored, nothing is printed and the process never exits.
// arguments[0] is the program. webdriverSet: whether WEBDRIVER is in the environment.
StartOptions parseStartOptions(const QStringList& arguments, bool webdriverSet);
