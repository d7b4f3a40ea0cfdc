#!/usr/bin/python3
"""Start-up time of the title window, the Windows program under Wine beside the Linux
program, measured the same way under Xvfb: from starting the process to the title window
being on screen (an X window named "Dorvala Online" mapped). Figures only.

    scripts/windows/startup.py [--runs 7]

Needs dist/windows/dorvala (scripts/windows/build.sh), build/bin/dorvala (scripts/build.sh),
wine64, xvfb, xdotool. Starts its own Xvfb and Wine prefix.
"""

import argparse
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
REPO = os.path.dirname(os.path.dirname(HERE))
sys.path.insert(0, HERE)
from match import wine64  # noqa: E402


def shown(env):
    return subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^Dorvala Online$"],
                          env=env, capture_output=True).returncode == 0


def once(command, env):
    began = time.monotonic()
    proc = subprocess.Popen(command, env=env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    took = None
    while time.monotonic() - began < 60:
        if shown(env):
            took = time.monotonic() - began
            break
        time.sleep(0.002)
    proc.terminate()
    try:
        proc.wait(10)
    except subprocess.TimeoutExpired:
        proc.kill()
        proc.wait()
    return took


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--runs", type=int, default=7)
    args = parser.parse_args()
    exe = os.path.join(REPO, "dist/windows/dorvala/dorvala.exe")
    linux = os.path.join(REPO, "build/bin/dorvala")
    wine = wine64()
    wineserver = os.path.join(os.path.dirname(wine), "wineserver")
    work = tempfile.mkdtemp(prefix="dorvala-startup-")
    display = next(n for n in range(90, 200) if not os.path.exists("/tmp/.X%d-lock" % n))
    xvfb = subprocess.Popen(["Xvfb", ":%d" % display, "-screen", "0", "1280x800x24", "-nolisten", "tcp"],
                            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        while not os.path.exists("/tmp/.X11-unix/X%d" % display):
            time.sleep(0.05)
        prefix = os.path.join(work, "prefix")
        subprocess.run([os.path.join(HERE, "wine-prefix.sh"), prefix, os.path.dirname(exe)], check=True)
        base = {**os.environ, "DISPLAY": ":%d" % display, "DORVALA_DRIVE_C": os.path.join(work, "c"),
                "DORVALA_MATCH_PORT": "0", "DORVALA_PROBE_PORT": "0"}
        windows_env = {**base, "WINEPREFIX": prefix, "WINEDEBUG": "-all"}
        subprocess.run([wineserver, "-k"], env=windows_env)
        subprocess.run([wineserver, "-w"], env=windows_env)
        subprocess.run([wine, "reg", "add", "HKCU\\Environment", "/v", "QT_QPA_PLATFORM", "/d", "windows",
                        "/f"], env=windows_env, capture_output=True)
        linux_env = {**base, "QT_QPA_PLATFORM": "xcb"}
        rows = []
        # The first run of each is cold: Wine starts its server (which then stays a few
        # seconds after each program, as it would for a player starting again), and both
        # programs fill the system's caches.
        for label, command, env in (("Linux program", [linux], linux_env),
                                    ("Windows program under Wine", [wine, exe], windows_env)):
            first = once(command, env)
            times = [once(command, env) for _ in range(args.runs)]
            rows.append((label, first, times))
        # What Wine itself adds: the Windows program's --version (no window, Qt's DLLs loaded).
        versions = []
        for _ in range(args.runs):
            began = time.monotonic()
            subprocess.run([wine, exe, "--version"], env=windows_env, capture_output=True)
            versions.append(time.monotonic() - began)
        version = statistics.median(versions)
    finally:
        subprocess.run([wineserver, "-k"], env={**os.environ, "WINEPREFIX": os.path.join(work, "prefix")},
                       capture_output=True)
        xvfb.terminate()
        xvfb.wait(10)
        shutil.rmtree(work, ignore_errors=True)
    load = open("/proc/loadavg").read().split()[:3]
    print("Title window on screen, process start to mapped window (Xvfb), %d runs:" % args.runs)
    print("  %-28s %8s %8s %8s %8s" % ("", "first", "median", "min", "max"))
    for label, first, times in rows:
        ok = [t for t in times if t is not None]
        print("  %-28s %7.0fms %7.0fms %7.0fms %7.0fms" % (
            label, (first or 0) * 1000, statistics.median(ok) * 1000, min(ok) * 1000, max(ok) * 1000))
    print("  yardstick: the Windows program's --version under Wine (no window), median: %.0f ms"
          % (version * 1000))
    print("  load average: %s" % " ".join(load))


if __name__ == "__main__":
    main()
