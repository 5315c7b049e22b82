#!/usr/bin/env python3
"""End-to-end test of the installed browser: a person's steps driven through
the front end's test hooks, each followed by a screenshot of the screen.

Skips (exit 77) where it cannot run: not root (it installs into /usr, where the
browser's data directory is fixed) or no Xvfb."""

import argparse
import glob
import json
import os
import shutil
import signal
import socket
import sqlite3
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from e2e_site import Site  # noqa: E402

BROWSER = "/usr/bin/ru.nuvo.webdeck"
BRIDGE = "/usr/libexec/ru.nuvo.webdeck-apmbridge"
SKIP = 77


class Failure(Exception):
    pass


def wait_for(what, check, timeout=30.0, interval=0.2):
    deadline = time.monotonic() + timeout
    last = None
    while time.monotonic() < deadline:
        last = check()
        if last:
            return last
        time.sleep(interval)
    raise Failure("timed out waiting for %s (last: %r)" % (what, last))


class Browser:
    """One run of the browser with its hooks socket and its log."""

    def __init__(self, env, workdir, name, args):
        self.socket_path = os.path.join(workdir, name + ".sock")
        self.log_path = os.path.join(workdir, name + ".log")
        env = dict(env, WEBDECK_TEST_HOOKS=self.socket_path)
        self.log = open(self.log_path, "w")
        self.process = subprocess.Popen([BROWSER] + args, env=env, stdout=self.log, stderr=subprocess.STDOUT)
        self.connection = None

    def log_text(self):
        with open(self.log_path, errors="replace") as f:
            return f.read()

    def connect(self):
        def attempt():
            if self.process.poll() is not None:
                raise Failure("browser exited early:\n" + self.log_text()[-3000:])
            try:
                s = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
                s.connect(self.socket_path)
                return s
            except OSError:
                return None
        self.connection = wait_for("the test hooks", attempt, timeout=30)
        self.reader = self.connection.makefile("r")

    def eval(self, expression):
        if not self.connection:
            self.connect()
        self.connection.sendall((expression.replace("\n", " ") + "\n").encode())
        line = self.reader.readline()
        if not line:
            raise Failure("browser closed the hooks socket:\n" + self.log_text()[-3000:])
        answer = json.loads(line)
        if not answer["ok"]:
            raise Failure("%s: %s" % (expression, answer["error"]))
        return answer.get("value")

    def wait_eval(self, expression, what, timeout=30):
        return wait_for(what, lambda: self.eval(expression), timeout)

    def wait_log(self, text, timeout=30):
        return wait_for("log line %r" % text, lambda: text in self.log_text(), timeout)

    def stop(self, how):
        """Ends the browser as a session would ("sigterm", "quit" through
        Qt.quit(), or "closed" when its window was closed) and returns its exit code."""
        if how == "sigterm":
            self.process.send_signal(signal.SIGTERM)
        elif how == "quit":
            try:
                self.eval("Qt.quit()")
            except Failure:
                pass
        try:
            return self.process.wait(timeout=20)
        finally:
            if self.connection:
                self.connection.close()
            self.log.close()

    def kill(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()


class Run:
    def __init__(self, artifacts):
        self.artifacts = artifacts
        self.steps = []
        self.skipped = []
        self.procs = []
        self.work = tempfile.mkdtemp(prefix="webdeck-e2e-")

    def screenshot(self, name):
        time.sleep(0.5)  # let the last change reach the screen
        path = os.path.join(self.artifacts, name + ".png")
        subprocess.run(["import", "-window", "root", path], env=self.env, check=False,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def start_environment(self, site):
        home = os.path.join(self.work, "home")
        os.makedirs(home)
        self.home = home
        self.data_home = os.path.join(home, ".local/share")
        self.env = dict(os.environ, HOME=home, XDG_DATA_HOME=self.data_home,
                        XDG_CONFIG_HOME=os.path.join(home, ".config"), XDG_CACHE_HOME=os.path.join(home, ".cache"),
                        XDG_RUNTIME_DIR=self.work, QTWEBENGINE_DISABLE_SANDBOX="1",
                        QTWEBENGINE_CHROMIUM_FLAGS="--disable-gpu --no-proxy-server",
                        QT_LOGGING_RULES="*.debug=false;qml.debug=true;js.debug=true", LC_ALL="C.UTF-8")
        for key in ("QT_QPA_PLATFORM", "QT_QUICK_BACKEND", "DBUS_SESSION_BUS_ADDRESS"):
            self.env.pop(key, None)
        # The administrator's policy: one path of the site is off limits.
        policy = os.path.join(self.work, "policy.json")
        with open(policy, "w") as f:
            json.dump({"UrlBlocklistParameter": [site.url("/blocked")]}, f)
        self.env["WEBDECK_POLICY_FILE"] = policy

        # Xvfb picks a free display itself and writes its number once it accepts clients.
        read_end, write_end = os.pipe()
        xvfb = subprocess.Popen(["Xvfb", "-displayfd", str(write_end), "-screen", "0", "1280x800x24",
                                 "-nolisten", "tcp"], pass_fds=(write_end,),
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(write_end)
        self.procs.append(xvfb)
        with os.fdopen(read_end) as numbers:
            display = numbers.readline().strip()
        if not display:
            raise Failure("Xvfb did not start")
        self.env["DISPLAY"] = ":" + display

        conf = os.path.join(self.work, "bus.conf")
        with open(conf, "w") as f:
            f.write('<busconfig><listen>unix:tmpdir=%s</listen><auth>EXTERNAL</auth>'
                    '<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/>'
                    '<allow own="*"/></policy>'
                    '</busconfig>' % self.work)
        self.bus_log = open(os.path.join(self.work, "bus.log"), "w")
        bus = subprocess.Popen(["dbus-daemon", "--config-file=" + conf, "--nofork", "--print-address=1"],
                               stdout=subprocess.PIPE, stderr=self.bus_log, text=True)
        self.procs.append(bus)
        self.env["DBUS_SYSTEM_BUS_ADDRESS"] = bus.stdout.readline().strip()

        self.bridge_log = open(os.path.join(self.work, "bridge.log"), "w")
        bridge = subprocess.Popen([BRIDGE], env=self.env, stdout=self.bridge_log, stderr=subprocess.STDOUT)
        self.procs.append(bridge)

    def browser(self, name, args=()):
        b = Browser(self.env, self.work, name, list(args))
        self.procs.append(b.process)
        return b

    def step(self, name, function):
        started = time.monotonic()
        try:
            outcome = function()
        except Exception:
            self.screenshot(name + "-failed")
            raise
        if outcome == "skip":
            self.skipped.append(name)
            print("SKIP %s" % name, flush=True)
        else:
            self.steps.append(name)
            print("ok   %s (%.1f s)" % (name, time.monotonic() - started), flush=True)
        self.screenshot(name)

    def cleanup(self):
        for p in reversed(self.procs):
            if p.poll() is None:
                p.terminate()
                try:
                    p.wait(timeout=5)
                except subprocess.TimeoutExpired:
                    p.kill()
        shutil.rmtree(self.work, ignore_errors=True)


def has_type(browser, name):
    return browser.eval("typeof %s !== 'undefined'" % name) if name[0].isupper() else False


def texts(browser, object_name):
    return browser.eval("window.textsOf('%s')" % object_name) or []


def scenario(run, site):
    index, second = site.url("/index.html"), site.url("/second.html")
    first = run.browser("first", [index])
    first.wait_log("page loaded " + index)
    tabs_kept = bool(first.eval("browser.tabs.backend !== null"))
    bookmarks_kept = bool(first.eval("browser.bookmarks !== null"))

    def history():
        first.eval("browser.showPage('HistoryPage')")
        first.wait_eval("window.textsOf('historyList').indexOf('E2E Home') >= 0", "the page in the history page")
    run.step("01-history", history)

    def back_list():
        first.eval("browser.showPage('')")
        first.eval("browser.openUrl('%s')" % second)
        first.wait_log("page loaded " + second)
        first.wait_eval("browser.currentTab.history.canGoBack", "a page to go back to")
        first.eval("window.findItem(window, 'backButton').pressAndHold()")
        menu = "window.findItem(window, 'toolbar').historyPopup"
        first.wait_eval("%s.count === 1 && %s.itemAt(0).text === 'E2E Home'" % (menu, menu), "the back list")
        run.screenshot("01-back-list")
        loads = first.log_text().count("page loaded " + index)
        first.eval("%s.itemAt(0).triggered()" % menu)
        wait_for("the page of the back list", lambda: first.log_text().count("page loaded " + index) > loads)
        first.wait_eval("browser.currentTab.history.canGoForward && !%s.visible" % menu, "forward after going back")
    run.step("01-back-forward", back_list)

    def bookmark():
        if not bookmarks_kept:
            return "skip"
        first.eval("browser.showPage('')")
        if not first.eval("browser.bookmarkCurrent()"):
            raise Failure("bookmarking the page was refused")
        first.eval("browser.showPage('BookmarksPage')")
        first.wait_eval("window.textsOf('bookmarkList').indexOf('E2E Home') >= 0", "the bookmark in the bookmarks page")
        run.screenshot("02-bookmarks-page")
        first.eval("browser.showPage('')")
        if not first.eval("browser.addCurrentToAppGrid()"):
            raise Failure("the page did not reach the app grid")
        if not glob.glob(os.path.join(run.data_home, "applications", "ru.nuvo.webdeck.bookmark.*.desktop")):
            raise Failure("no desktop entry for the app-grid bookmark")
    run.step("02-bookmark", bookmark)

    def download():
        target = os.path.join(run.work, "downloads")
        os.makedirs(target)
        first.eval("window.settings.defaultDownloadPath = '%s'" % target)
        first.eval("browser.showPage('DownloadsPage')")
        first.eval("browser.currentTab.view.url = '%s'" % site.url("/file.bin"))
        path = os.path.join(target, "file.bin")
        wait_for("the download in %s" % target,
                 lambda: os.path.exists(path) and os.path.getsize(path) == len(site.routes["/file.bin"][1]), 30)
        first.wait_eval("window.textsOf('downloadList').indexOf('file.bin') >= 0", "the download in the downloads page")
    run.step("03-download", download)

    def blocked():
        first.eval("browser.openUrl('%s')" % site.url("/blocked/secret.html"))
        first.wait_eval("browser.currentTab.blockedUrl !== ''", "the blocked page")
        if "Should never show" in first.log_text() or first.eval("browser.currentTab.title") == "Should never show":
            raise Failure("the blocked page was loaded")
        first.wait_eval("window.textsOf('blockedPage').length > 0", "the policy page on screen")
    run.step("04-blocked", blocked)

    def restart():
        first.eval("browser.currentTab.blockedUrl = ''")
        first.eval("browser.openTab('%s', false)" % second)
        first.wait_log("page loaded " + second)
        code = first.stop("sigterm")
        if code != 0:
            raise Failure("SIGTERM did not end the browser cleanly: exit %s" % code)
        db = glob.glob(os.path.join(run.data_home, "**", "browser-app.sqlite"), recursive=True)
        if not db:
            raise Failure("no database after quit")
        rows = sqlite3.connect(db[0]).execute("SELECT url FROM browser_history").fetchall()
        if (index,) not in rows or (second,) not in rows:
            raise Failure("history rows after quit: %r" % rows)
        run.restarted = again = run.browser("second")
        again.connect()
        if not tabs_kept:
            print("     quit on SIGTERM and history on disk checked; tab restore needs TabsModel")
            return "skip"
        urls = again.wait_eval("browser.tabs.count === 2 && browser.tabAt(1) ? [browser.tabAt(0).url, browser.tabAt(1).url] : null",
                               "the two tabs restored")
        if urls != [index, second]:
            raise Failure("restored tabs: %r" % urls)
        # A discarded background tab frees its view and loads again when shown.
        again.eval("browser.selectTab(1)")
        again.wait_eval("browser.tabAt(1).view !== null", "the second tab's view")
        again.eval("browser.tabs.backend.discardTab(browser.tabAt(0).tabId)")
        again.wait_eval("!browser.tabAt(0).live && browser.tabAt(0).view === null", "the first tab discarded")
        loads = again.log_text().count("page loaded " + index)
        again.eval("browser.selectTab(0)")
        wait_for("the discarded tab to load again", lambda: again.log_text().count("page loaded " + index) > loads)
    run.step("05-restart", restart)

    def remove_from_history():
        b = run.restarted
        b.eval("browser.showPage('HistoryPage')")
        b.wait_eval("window.textsOf('historyList').indexOf('E2E Second') >= 0", "the second page in the history")
        # Select the second page's row (rows in the order shown), then remove the selection.
        b.eval("browser.historyModel.toggleSelection(window.textsOf('historyList').filter("
               "function(t) { return t === 'E2E Home' || t === 'E2E Second' })[0] === 'E2E Second' ? 0 : 1)")
        b.wait_eval("browser.historyModel.selectedCount === 1", "one selected page")
        b.eval("browser.historyModel.removeSelected()")
        b.wait_eval("window.textsOf('historyList').indexOf('E2E Second') < 0 && "
                    "window.textsOf('historyList').indexOf('E2E Home') >= 0", "only the second page gone")
        b.eval("browser.showPage('')")
    run.step("06-history-remove", remove_from_history)

    private_url = site.url("/second.html?private")

    def private():
        b = run.restarted
        b.eval("window.openPrivateWindow().browser.openUrl('%s')" % private_url)
        b.wait_log("page loaded " + private_url)
        if b.eval("browser.tabs.backend ? browser.tabs.backend.findTabByUrl('%s') : -1" % private_url) != -1:
            raise Failure("the private page opened among the stored tabs")
    run.step("07-private", private)

    def install():
        b = run.restarted
        b.eval("browser.openUrl('%s')" % site.url("/app/index.html"))
        b.wait_log("page loaded " + site.url("/app/index.html"))
        b.eval("browser.installCurrentAsApp()")
        b.wait_log("app install finished", 40)
        if "app install finished %s 0" % site.url("/manifest.json") not in b.log_text():
            raise Failure("install failed:\n" + b.log_text()[-2000:])
        entries = glob.glob(os.path.join(run.data_home, "applications", "ru.nuvo.webdeck.pwa.*.desktop"))
        icons = glob.glob(os.path.join(run.data_home, "icons", "hicolor", "*", "apps", "*.png"))
        if len(entries) != 1 or len(icons) < 4:
            raise Failure("desktop entries %r, icons %r" % (entries, icons))
        exec_line = [l for l in open(entries[0]) if l.startswith("Exec=")][0]
        data_home = exec_line.split("XDG_DATA_HOME=")[1].split()[0]
        if b.stop("quit") != 0:
            raise Failure("Qt.quit() did not end the browser cleanly")
        db = glob.glob(os.path.join(run.data_home, "**", "browser-app.sqlite"), recursive=True)[0]
        history = [row[0] for row in sqlite3.connect(db).execute("SELECT url FROM browser_history")]
        if private_url in history:
            raise Failure("a private visit was written to the history")
        if second in history or index not in history:
            raise Failure("history after removing the second page: %r" % history)
        app = Browser(dict(run.env, XDG_DATA_HOME=data_home), run.work, "pwa", ["--pwa"])
        run.procs.append(app.process)
        app.wait_log("page loaded " + site.url("/app/index.html"), 40)
        time.sleep(1)
        run.screenshot("08-pwa-window")
        app.eval("closeWindow()")
        if app.stop("closed") != 0:
            raise Failure("closing the app's window did not end it cleanly")
    run.step("08-install-app", install)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build-dir", required=True)
    parser.add_argument("--artifacts", required=True)
    parser.add_argument("--no-install", action="store_true")
    options = parser.parse_args()
    if os.geteuid() != 0 and not options.no_install:
        print("SKIP: installs into /usr, needs root (or --no-install over an installed build)")
        return SKIP
    for tool in ("Xvfb", "dbus-daemon", "import"):
        if not shutil.which(tool):
            print("SKIP: %s is missing (scripts/bootstrap installs it)" % tool)
            return SKIP
    if not options.no_install:
        subprocess.run(["cmake", "--install", options.build_dir, "--prefix", "/usr"], check=True,
                       stdout=subprocess.DEVNULL)
    os.makedirs(options.artifacts, exist_ok=True)
    for old in glob.glob(os.path.join(options.artifacts, "*.png")):
        os.remove(old)

    run, site = Run(options.artifacts), Site()
    try:
        run.start_environment(site)
        scenario(run, site)
    except Failure as failure:
        print("FAIL: %s" % failure)
        return 1
    finally:
        for log in glob.glob(os.path.join(run.work, "*.log")):
            shutil.copy(log, options.artifacts)
        run.cleanup()
        site.stop()
    print("%d passed, 0 failed, %d skipped" % (len(run.steps), len(run.skipped)))
    if run.skipped:
        print("skipped for want of back-end types: " + ", ".join(run.skipped))
    return 0


if __name__ == "__main__":
    sys.exit(main())
