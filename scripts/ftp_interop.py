#!/usr/bin/python3
"""The registry against one real FTP server: the real program publishes, lists and withdraws
there as players run it, and one line tells how it went, with the timings.

    ftp_interop.py --program build/bin/dorvala --url ftp://dorvala@127.0.0.1:2121/ \\
                   --root /home/of/the/account --server "vsftpd 3.0.3"

--root is the folder the account sees, read directly to check what the server holds (the
names used here are removed first). Then:
1. a host (`--host`) lists the empty folder and publishes 127.0.0.1 when its screen opens;
   an entry of another host (127.0.0.77) and a folder (127.0.0.88) are added;
2. a joiner's setup screen lists exactly the two hosts: never "." or "..", nor the folder
   (unless the server gives no sign of it, which is reported);
3. the host quits: its entry is gone when the program has ended;
4. a host ended by SIGTERM as soon as its screen is open (its upload still under way on a
   slow server) still withdraws its entry before it ends.
Exit status 1 when any step failed. Logins are timed with Python's ftplib.
"""

import argparse
import ftplib
import os
import shutil
import signal
import statistics
import subprocess
import sys
import tempfile
import time
import urllib.parse

from dorvala_drive import Player, free_port, poll_state, wait_until

OWN = "127.0.0.1"
OTHER = "127.0.0.77"
FOLDER = "127.0.0.88"
# The exit's wait for registry writes (Screens::ExitWaitMs) and some time to start and end.
EXIT_LIMIT = 18.0


class Run:
    """What Player needs: the program, a place for logs and folders, an environment."""

    def __init__(self, program, url, work):
        self.program = program
        self.url = url
        self.work = work
        self.logs = os.path.join(work, "logs")
        os.makedirs(self.logs)
        self.players = []
        self.match_port = free_port()

    def folder(self, name):
        return tempfile.mkdtemp(prefix=name + "-", dir=self.work)

    def environment(self, drive, extra):
        env = {
            "PATH": os.environ.get("PATH", "/usr/bin:/bin"),
            "HOME": self.work,
            "LANG": "C.UTF-8",
            "QT_QPA_PLATFORM": "offscreen",
            "XDG_RUNTIME_DIR": self.work,
            "DORVALA_LOCAL_IP": OWN,
            "DORVALA_DRIVE_C": drive,
            "DORVALA_MATCH_PORT": str(self.match_port),
            "DORVALA_PROBE_PORT": str(free_port()),
            "DORVALA_FTP_URL": self.url,
            # The host list here is the registry's alone: no LAN announcements on loopback.
            "DORVALA_LAN_PORT": "0",
        }
        env.update(extra or {})
        return env


def login_seconds(url, times=3):
    """Median time from connecting to a finished login."""
    parts = urllib.parse.urlsplit(url)
    took = []
    for _ in range(times):
        began = time.monotonic()
        with ftplib.FTP() as ftp:
            ftp.connect(parts.hostname, parts.port or 21, timeout=30)
            ftp.login(parts.username or "dorvala", "418526")
            took.append(time.monotonic() - began)
            ftp.quit()
    return statistics.median(took)


def listed(root, name):
    return os.path.exists(os.path.join(root, name))


def timed_exit(player, how):
    """Ends the program (`quit` command or SIGTERM); (exit status, seconds)."""
    began = time.monotonic()
    if how == "quit":
        status = player.quit(timeout=30)
    else:
        player.signal(signal.SIGTERM)
        try:
            status = player.proc.wait(30)
        except subprocess.TimeoutExpired:
            status = None
    return status, time.monotonic() - began


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--program", required=True)
    parser.add_argument("--url", required=True)
    parser.add_argument("--root", required=True)
    parser.add_argument("--server", required=True, help="name and version, for the report")
    parser.add_argument("--keep", help="keep the programs' output in this folder")
    args = parser.parse_args()

    work = tempfile.mkdtemp(prefix="dorvala-interop-")
    run = Run(os.path.abspath(args.program), args.url, work)
    failures = []
    facts = []

    def check(ok, text):
        if not ok:
            failures.append(text)
        return ok

    try:
        for name in (OWN, OTHER, FOLDER):
            path = os.path.join(args.root, name)
            if os.path.isdir(path):
                os.rmdir(path)
            elif os.path.exists(path):
                os.remove(path)
        login = login_seconds(args.url)
        facts.append("login %.2f s" % login)

        # 1. Publish, after listing an empty folder (some servers refuse to list one).
        host = Player(run, "host", ["--host", "--name", "Budi"], run.folder("c-host"))
        opened = host.event("screen", "host", timeout=60)
        check(opened is not None and not host.events("box"),
              "the host screen did not open after an empty listing (box: %s)"
              % host.events("box"))
        began = time.monotonic()
        published = wait_until(lambda: listed(args.root, OWN), 30, step=0.02)
        if check(published, "the host's entry never arrived"):
            facts.append("published %.2f s after the host screen opened"
                         % (time.monotonic() - began))
        with open(os.path.join(args.root, OTHER), "wb") as f:
            f.write(b"{\\rtf1 127.0.0.77\\par }")
        os.mkdir(os.path.join(args.root, FOLDER))

        # 2. List, on another program's setup screen.
        joiner = Player(run, "join", ["--join", OWN, "--name", "Sari"], run.folder("c-join"))
        state = poll_state(joiner, lambda s: (s.get("HO") or {}).get("count", 0) >= 2,
                           timeout=60)
        time.sleep(1.0)  # anything more that would come
        state = poll_state(joiner, lambda s: True)
        hosts = (state.get("HO") or {}).get("items") or []
        extra = sorted(set(hosts) - {OWN, OTHER})
        check(sorted(hosts) == sorted([OWN, OTHER]) or extra == [FOLDER],
              "host list %s" % hosts)
        check("." not in hosts and ".." not in hosts, "\".\" or \"..\" in the host list")
        facts.append("host list %s%s" % (", ".join(sorted(set(hosts) - {FOLDER})),
                                         " (and the folder %s: the server does not mark it)"
                                         % FOLDER if FOLDER in hosts else ""))

        # 3. Withdraw at exit.
        status, took = timed_exit(host, "quit")
        check(status == 0 and took < EXIT_LIMIT, "quit: exit %s after %.1f s" % (status, took))
        check(not listed(args.root, OWN), "entry still there after the host's exit")
        facts.append("withdrawn at quit, exit %.1f s" % took)
        joiner.quit(timeout=30)

        # 4. Ended while the upload is under way.
        quick = Player(run, "quick", ["--host", "--name", "Budi"], run.folder("c-quick"))
        opened = quick.event("screen", "host", timeout=60)
        check(opened is not None, "the second host screen did not open")
        uploading = not listed(args.root, OWN)
        status, took = timed_exit(quick, "term")
        check(status == 0 and took < EXIT_LIMIT, "SIGTERM: exit %s after %.1f s" % (status, took))
        check(not listed(args.root, OWN), "entry left after SIGTERM right after opening")
        facts.append("SIGTERM at once%s: withdrawn, exit %.1f s"
                     % (" (upload under way)" if uploading else "", took))
    except Exception as error:  # a step that breaks is a failure, not a lost line
        failures.append("broke off: %s" % error)
    finally:
        for player in run.players:
            player.close()
        if args.keep:
            shutil.copytree(run.logs, os.path.join(args.keep, args.server.split()[0]),
                            dirs_exist_ok=True)
        shutil.rmtree(work, ignore_errors=True)

    print("%s: %s; %s" % (args.server, "ok" if not failures else
                          "FAILED (%s)" % "; ".join(failures), "; ".join(facts)))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
