#!/usr/bin/env python3
"""Cold start of the installed browser to the first painted start page, and
resident memory with 10 tabs open of which 5 are discarded (their views
freed). Runs under Xvfb with a fresh profile per start; needs the build
installed into /usr (cmake --install build --prefix /usr).

    python3 bench/bench_frontend.py [--runs 5] [--discard 5]
"""

import argparse
import os
import statistics
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e"))
import e2e_browser as e2e  # noqa: E402
from e2e_site import Site  # noqa: E402


def pss_kib(pid):
    try:
        with open("/proc/%d/smaps_rollup" % pid) as f:
            return int([l for l in f if l.startswith("Pss:")][0].split()[1])
    except (OSError, IndexError):
        return 0


def tree_rss_kib(pid):
    """RSS of the process, and RSS and PSS (shared pages counted once) summed
    over it and every descendant (the engine's helpers)."""
    children = {}
    for entry in os.listdir("/proc"):
        if entry.isdigit():
            try:
                with open("/proc/%s/stat" % entry) as f:
                    parent = int(f.read().rsplit(")", 1)[1].split()[1])
                children.setdefault(parent, []).append(int(entry))
            except OSError:
                pass
    total, own, pss, todo = 0, 0, 0, [pid]
    while todo:
        p = todo.pop()
        try:
            with open("/proc/%d/status" % p) as f:
                rss = int([l for l in f if l.startswith("VmRSS:")][0].split()[1])
        except (OSError, IndexError):
            rss = 0
        own = own or rss
        total += rss
        pss += pss_kib(p)
        todo += children.get(p, [])
    return own, total, pss


def cold_start(run, name):
    started = time.monotonic()
    browser = run.browser(name)
    e2e.wait_for("the painted start page", lambda: "start page painted" in browser.log_text(), 30, 0.005)
    elapsed = time.monotonic() - started
    browser.stop("quit")
    return elapsed


def memory(run, site, discard):
    browser = run.browser("memory")
    browser.connect()
    browser.wait_eval("browser.tabs.count >= 1", "the first tab")
    for i in range(10):
        browser.eval("browser.openTab('%s?tab=%d', false)" % (site.url("/second.html"), i))
        browser.wait_log("page loaded %s?tab=%d" % (site.url("/second.html"), i))
    browser.eval("browser.closeTab(0)")  # the start-page tab
    browser.wait_eval("browser.tabs.count === 10", "ten tabs")
    browser.eval("browser.selectTab(9)")
    for i in range(discard):
        browser.eval("browser.tabAt(%d).discard()" % i)
    live = browser.wait_eval("browser.liveTabCount() === %d ? %d : 0" % (10 - discard, 10 - discard), "the live views")
    time.sleep(3)
    own, total, pss = tree_rss_kib(browser.process.pid)
    browser.stop("quit")
    return live, own, total, pss


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--discard", type=int, default=5, help="tabs of the ten to discard")
    options = parser.parse_args()
    run, site = e2e.Run(os.path.join(os.getcwd(), "bench-frontend-shots")), Site()
    os.makedirs(run.artifacts, exist_ok=True)
    try:
        run.start_environment(site)
        base_home = run.env["HOME"]
        times = []
        for i in range(options.runs):
            # A fresh profile each time: no tabs to restore, the start page comes up.
            home = os.path.join(run.work, "cold%d" % i)
            run.env.update(HOME=home, XDG_DATA_HOME=home + "/.local/share", XDG_CONFIG_HOME=home + "/.config",
                           XDG_CACHE_HOME=home + "/.cache")
            times.append(cold_start(run, "cold%d" % i))
        run.env["HOME"] = base_home
        print("cold start to painted start page: median %.3f s (runs: %s) goal < 1.5 s"
              % (statistics.median(times), ", ".join("%.3f" % t for t in times)))
        live, own, total, pss = memory(run, site, options.discard)
        print("10 tabs, %d live, %d discarded: browser process RSS %.0f MiB; with engine helpers RSS sum %.0f MiB, "
              "PSS sum %.0f MiB; goal < 600 MB" % (live, options.discard, own / 1024, total / 1024, pss / 1024))
    finally:
        run.cleanup()
        site.stop()


if __name__ == "__main__":
    main()
