"""The Windows program under Wine as the host behind the lab's router, a Linux joiner on the
internet. Wine's server is started inside the home namespace first, so that the program's
sockets (SSDP, NAT-PMP, the match port) live there. One row per router. Runs when ROUTER_WINDOWS names a folder holding dorvala.exe with its DLLs.
"""

import os
import subprocess

from router_cases import NATPMP, UPNP, Row, case_of, reachable
from lan_wine import WINDOWS_START_S, WINE_PREFIX_SCRIPT, wine64, windows_player


def windows_host(lab, o):
    folder = os.environ["ROUTER_WINDOWS"]
    prefix = lab.folder("wineprefix")
    made = subprocess.run(lab.pc.wrap() + [WINE_PREFIX_SCRIPT, prefix, os.path.abspath(folder)],
                          stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=600)
    o.check("program", made.returncode == 0, "Wine prefix made inside %s" % lab.pc.netns)
    wrapper = os.path.join(lab.folder("wine-run"), "dorvala-wine")
    with open(wrapper, "w") as f:
        f.write("#!/bin/sh\nexec %s 'T:\\dorvala.exe' \"$@\"\n" % wine64())
    os.chmod(wrapper, 0o755)
    os.chmod(os.path.dirname(wrapper), 0o755)
    return windows_player(lab, lab.pc, "winhost", ["--host", "--name", "Wina"], prefix, wrapper)


def windows(ctx, o, row):
    folder = os.environ.get("ROUTER_WINDOWS", "")
    if not os.path.isfile(os.path.join(folder, "dorvala.exe")) or not wine64():
        o.check("program", False, "needs ROUTER_WINDOWS (a folder with dorvala.exe) and wine64")
        return
    reachable(ctx, o, row, start=windows_host, start_s=WINDOWS_START_S)


ROWS = [
    Row("wine-natpmp", "NAT-PMP only, Windows host under Wine", windows, NATPMP),
    Row("wine-upnp", "UPnP-IGD only, Windows host under Wine", windows, UPNP),
]

CASES = [(row.name, "router %s" % row.what, case_of(row)) for row in ROWS] \
    if os.environ.get("ROUTER_WINDOWS") else []
