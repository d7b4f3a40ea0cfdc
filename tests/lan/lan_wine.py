"""The Windows program under Wine on a machine of the LAN, the Linux program on another: each
lists the other's host with no registry anywhere. Wine's server is started inside the
machine's namespace, so that the sockets it makes for the program live there.
Runs when LAN_WINDOWS names a folder holding dorvala.exe with its DLLs (build-windows/bin
after scripts/windows/build.sh --tests, or dist/windows/dorvala).
"""

import os
import shutil
import subprocess

from lan_cases import ends, started
from lan_discovery import FOUND_WITHIN_S, hosts_of, listed_within
from dorvala_drive import Player

HERE = os.path.dirname(os.path.abspath(__file__))
WINE_PREFIX_SCRIPT = os.path.join(HERE, "..", "..", "scripts", "windows", "wine-prefix.sh")
# A Windows program's first start in a prefix is slow (Wine loads and caches fonts).
WINDOWS_START_S = 240


def wine64():
    for path in (shutil.which("wine64"), "/usr/lib/wine/wine64"):
        if path and os.access(path, os.X_OK):
            return path
    return None


def windows_player(lan, machine, label, args, prefix, wrapper):
    env = {"WINEPREFIX": prefix, "WINEDEBUG": "-all", "WINEDLLOVERRIDES": "mscoree,mshtml="}
    return Player(lan, "%s-%s" % (lan.prefix, label), args, lan.home(label), env=env,
                  program=wrapper, wrap=machine.wrap())


def windows_and_linux(ctx, o):
    from lan_net import Lan
    folder, wine = os.environ.get("LAN_WINDOWS", ""), wine64()
    if not os.path.isfile(os.path.join(folder, "dorvala.exe")) or not wine:
        o.check("program", False, "needs LAN_WINDOWS (a folder with dorvala.exe) and wine64")
        return
    with Lan("wine", ctx.program, ctx.work, ctx.logs) as lan:
        w, linux = lan.machine("windows"), lan.machine("linux")
        o.done = ("no registry; the Windows program under Wine on %s (Wine's server started in "
                  "its namespace), the Linux program on %s; each hosts in turn and the other's "
                  "lobby lists it" % (w.address, linux.address))
        prefix = lan.folder("wineprefix")
        made = subprocess.run(w.wrap() + [WINE_PREFIX_SCRIPT, prefix, os.path.abspath(folder)],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=600)
        o.check("program", made.returncode == 0, "Wine prefix made inside %s" % w.netns)
        wrapper = os.path.join(lan.folder("wine-run"), "dorvala-wine")
        with open(wrapper, "w") as f:
            f.write("#!/bin/sh\nexec %s 'T:\\dorvala.exe' \"$@\"\n" % wine)
        os.chmod(wrapper, 0o755)
        os.chmod(os.path.dirname(wrapper), 0o755)

        # A Linux host; the Windows program's lobby lists it.
        host = lan.player(linux, "host", ["--host", "--name", "Renée"])
        if not started(o, host, "host", "Linux host"):
            return
        watch = windows_player(lan, w, "winwatch", ["--join", "127.0.0.1", "--name", "Wina"],
                               prefix, wrapper)
        opened = watch.event("screen", "Join", timeout=WINDOWS_START_S)
        o.check("program", opened is not None, "the Windows program's join screen opens")
        ok, took, state = listed_within(watch, linux.address, True, FOUND_WITHIN_S)
        o.check("screen", ok and took <= FOUND_WITHIN_S,
                "the Windows lobby lists the Linux host %s after %.1f s: %s"
                % (linux.address, took, hosts_of(state)))
        host.command("close")
        ok, took, state = listed_within(watch, linux.address, False, 1.0)
        o.check("screen", ok, "the Linux host closed: gone from the Windows list after %.1f s"
                % took)
        ends(o, watch, "the Windows program quits", limit=30)
        ends(o, host, "the Linux host quits")

        # A Windows host; the Linux program's lobby lists it.
        whost = windows_player(lan, w, "winhost", ["--host", "--name", "Wina"], prefix, wrapper)
        if not started(o, whost, "host", "Windows host"):
            return
        watch = lan.player(linux, "watch", ["--join", "127.0.0.1", "--name", "Sari"])
        if not started(o, watch, "Join", "Linux watcher"):
            return
        ok, took, state = listed_within(watch, w.address, True, FOUND_WITHIN_S)
        o.check("screen", ok and took <= FOUND_WITHIN_S,
                "the Linux lobby lists the Windows host %s after %.1f s: %s"
                % (w.address, took, hosts_of(state)))
        whost.command("close")
        ok, took, state = listed_within(watch, w.address, False, 1.0)
        o.check("screen", ok, "the Windows host closed: gone from the Linux list after %.1f s"
                % took)
        ends(o, whost, "the Windows host quits", limit=30)
        ends(o, watch, "the Linux watcher quits")


CASES = [("lanwine", "the Windows program under Wine and the Linux one find each other",
          windows_and_linux)] if os.environ.get("LAN_WINDOWS") else []
