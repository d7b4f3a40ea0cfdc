#!/usr/bin/python3
"""A Windows <-> Linux match over loopback, with the registry: the Windows program under
Wine hosts and the Linux program joins, then the other way round. Each seat plays the
opening exchange, three games (a line for each side, then the host's plus pattern), two
restarts and chat, with names and chat text in cp1252 letters (é, €, ñ); then checks both
score files and that the host's registry entry was published and withdrawn. Between the
two programs sits a relay that prints every piece of text that crosses the wire, as bytes.
Last, a Windows host under Xvfb is asked to end the session (Wine's log-off): it must close
its screens, withdraw its entry and end by itself.

    scripts/windows/match.py [--windows dist/windows/dorvala/dorvala.exe]
                             [--linux build/bin/dorvala] [--keep DIR]

Needs a built Linux program (scripts/build.sh) and Windows program (scripts/windows/build.sh),
wine64, xvfb and Debian's python3-pyftpdlib. Exit status 1 when a check fails.
"""

import argparse
import os
import shutil
import socket
import subprocess
import sys
import tempfile
import threading
import time

HERE = os.path.dirname(os.path.abspath(__file__))
REPO = os.path.dirname(os.path.dirname(HERE))
sys.path.insert(0, os.path.dirname(HERE))

from dorvala_drive import (Player, Registry, free_port, poll_state, rtf_document,  # noqa: E402
                           score_in, shown, wait_until)

HOST_NAME = "Budé€"
JOIN_NAME = "Sañi"
HOST_TOTAL, JOIN_TOTAL = 1, 7
LISTED = "127.0.0.1"
# A Windows program's first start in a prefix is slow (Wine loads and caches fonts).
WINDOWS_START_S = 240


def wine64():
    for path in (shutil.which("wine64"), "/usr/lib/wine/wine64"):
        if path and os.access(path, os.X_OK):
            return path
    raise SystemExit("wine64 not found (apt-get install wine64)")


class Run:
    """What dorvala_drive's players need: folders, an environment, what is running."""

    def __init__(self, work, logs, prefix):
        self.work, self.logs, self.prefix = work, logs, prefix
        self.program = None
        self.players, self.servers = [], []
        self.runtime = tempfile.mkdtemp(prefix="runtime-", dir=work)
        os.chmod(self.runtime, 0o700)

    def drive(self, name, total):
        path = tempfile.mkdtemp(prefix="c-" + name + "-", dir=self.work)
        with open(os.path.join(path, "dvq"), "wb") as f:
            f.write(rtf_document(str(total)))
        return path

    def environment(self, drive, extra):
        env = {
            "PATH": os.environ.get("PATH", "/usr/bin:/bin"),
            "HOME": os.environ.get("HOME", "/root"),
            "LANG": "C.UTF-8",
            "QT_QPA_PLATFORM": "offscreen",
            "XDG_RUNTIME_DIR": self.runtime,
            "WINEPREFIX": self.prefix,
            "WINEDEBUG": "-all",
            "DORVALA_LOCAL_IP": "127.0.0.1",
            "DORVALA_DRIVE_C": drive,
            "DORVALA_PROBE_PORT": str(free_port()),
        }
        env.update(extra or {})
        return env

    def cleanup(self):
        for player in self.players:
            player.close()
        for server in self.servers:
            server.stop()


class Relay:
    """Passes the joiner's connection on to the host, writing down each piece as it goes."""

    def __init__(self, target_port, log):
        self.target_port, self.log = target_port, log
        self.server = socket.create_server(("127.0.0.1", 0))
        self.port = self.server.getsockname()[1]
        self.began = time.monotonic()
        self.sockets = []
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        try:
            joiner, _ = self.server.accept()
        except OSError:
            return
        host = socket.create_connection(("127.0.0.1", self.target_port))
        for s in (joiner, host):
            s.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.sockets = [joiner, host]
        threading.Thread(target=self._pass, args=(joiner, host, "join -> host"), daemon=True).start()
        threading.Thread(target=self._pass, args=(host, joiner, "host -> join"), daemon=True).start()

    def _pass(self, source, target, way):
        while True:
            try:
                data = source.recv(65536)
            except OSError:
                data = b""
            if not data:
                self.log.append((time.monotonic() - self.began, way, None))
                try:
                    target.shutdown(socket.SHUT_WR)
                except OSError:
                    pass
                return
            self.log.append((time.monotonic() - self.began, way, data))
            target.sendall(data)

    def close(self):
        for s in self.sockets + [self.server]:
            s.close()


def shown_bytes(data):
    """Bytes as text: printable ASCII as it is, every other byte as \\xNN (cp1252 letter)."""
    out = []
    for byte in data:
        if 0x20 <= byte < 0x7F:
            out.append(chr(byte))
        else:
            letter = bytes([byte]).decode("cp1252", "replace")
            out.append("\\x%02X(%s)" % (byte, letter) if letter.isprintable() else "\\x%02X" % byte)
    return "".join(out)


class Checks:
    def __init__(self):
        self.failed = 0

    def check(self, ok, text):
        print("  [%s] %s" % ("ok" if ok else "FAILED", text), flush=True)
        if not ok:
            self.failed += 1
        return ok


def start(run, side, label, args, drive, env, windows_exe, linux_exe, wine):
    if side == "windows":
        # The drive folder is a Linux path: Wine's Z: is the Linux root, the current drive.
        return Player(run, label, args, drive, env, program=windows_exe, wrap=[wine])
    return Player(run, label, args, drive, env, program=linux_exe)


def received(player, text, since=0, timeout=15.0):
    return player.event("received", text, since, timeout) is not None


def verdicts(c, host, join, host_says, join_says):
    hs = poll_state(host, lambda s: shown(s, "infox") == host_says)
    js = poll_state(join, lambda s: shown(s, "infox") == join_says)
    c.check(shown(hs, "infox") == host_says and shown(js, "infox") == join_says,
            "verdicts: host %r, joiner %r" % (shown(hs, "infox"), shown(js, "infox")))
    return hs, js


def restart(c, host, join, host_total, join_total):
    since_h, since_j = host.mark(), join.mark()
    c.check((host.command("restart") or "").startswith("ok restart"), "host: Restart")
    # The host answers the joiner's total 10 ms later; a move sent before that answer is out
    # would reach the joiner in the same read (the protocol has no framing), so a player's
    # pace is kept: the next move waits for it.
    c.check(received(join, "X", since_j) and received(host, "$%d" % join_total, since_h)
            and received(join, "$%d" % host_total, since_j),
            "restart crossed: joiner got \"X\", answered \"$%d\", host answered \"$%d\""
            % (join_total, host_total))
    state = poll_state(join, lambda s: not any(s.get("cells", {}).values()))
    c.check(not any(state.get("cells", {}).values()), "joiner's board cleared")


def play_moves(c, first, second, cells, what):
    players = [first, second]
    ok = all(players[i % 2].click(cell, players[(i + 1) % 2], timeout=15)
             for i, cell in enumerate(cells))
    c.check(ok, "%s: %s, each move received by the other" % (what, " ".join(cells)))


def keep_alive_timer(port, local):
    """The kernel's timer on the connection at the port once nothing is in flight:
    'keepalive,29sec,0' and so on."""
    side = "sport" if local else "dport"

    def timer():
        out = subprocess.run(["ss", "-tnoH", "state", "established", "( %s = :%d )" % (side, port)],
                             capture_output=True, text=True).stdout
        for word in out.split():
            if word.startswith("timer:("):
                return word[7:-1]
        return None
    return wait_until(lambda: (timer() or "").startswith("keepalive,") and timer(), 5) or timer()


def seat(run, c, registry, host_side, join_side, args, wine):
    print("\n== %s program hosts, %s program joins ==" % (host_side.title(), join_side.title()),
          flush=True)
    match_port = free_port()
    host_drive, join_drive = run.drive("host", HOST_TOTAL), run.drive("join", JOIN_TOTAL)
    host = start(run, host_side, "%s-host" % host_side, ["--host", "--name", HOST_NAME],
                 host_drive, {"DORVALA_MATCH_PORT": str(match_port),
                              "DORVALA_FTP_URL": registry.url}, args.windows, args.linux, wine)
    limit = WINDOWS_START_S if host_side == "windows" else 30
    opened = host.event("screen", "host", timeout=limit)
    c.check(opened is not None, "host screen opens (%s, --host --name %s)" % (host_side, HOST_NAME))
    if opened is None:
        return
    c.check(wait_until(lambda: LISTED in registry.entries(), 15),
            "registry entry %s published" % LISTED)

    wire = []
    relay = Relay(match_port, wire)
    join = start(run, join_side, "%s-join" % join_side, ["--join", "127.0.0.1", "--name", JOIN_NAME],
                 join_drive, {"DORVALA_MATCH_PORT": str(relay.port),
                              "DORVALA_FTP_URL": registry.url}, args.windows, args.linux, wine)
    limit = WINDOWS_START_S if join_side == "windows" else 30
    c.check(join.event("screen", "Join", timeout=limit) is not None, "joiner screen opens")
    c.check(received(host, "X" + JOIN_NAME, timeout=30) and received(host, "$%d" % JOIN_TOTAL)
            and received(join, "O" + HOST_NAME) and received(join, "$%d" % HOST_TOTAL),
            "opening: names %s / %s and totals %d / %d crossed"
            % (HOST_NAME, JOIN_NAME, HOST_TOTAL, JOIN_TOTAL))
    state = poll_state(join, lambda s: s.get("Oname") == HOST_NAME and s.get("WRL2") == str(HOST_TOTAL))
    c.check(state.get("Oname") == HOST_NAME and state.get("WRL2") == str(HOST_TOTAL),
            "joiner shows the host's name %r and total %r" % (state.get("Oname"), state.get("WRL2")))

    # Game 1: the host's left column.
    play_moves(c, host, join, ["A1", "B1", "A2", "C1", "A3"], "game 1")
    verdicts(c, host, join, "Anda Menang!", "Anda Kalah!")
    restart(c, host, join, HOST_TOTAL + 1, JOIN_TOTAL - 1)
    # Game 2: the joiner moves first (it was the host who moved last) and takes column C.
    play_moves(c, join, host, ["C1", "A1", "C2", "B3", "C3"], "game 2")
    verdicts(c, host, join, "Anda Kalah!", "Anda Menang!")
    restart(c, host, join, HOST_TOTAL, JOIN_TOTAL)
    # Game 3: the host's plus pattern, completed on B2.
    play_moves(c, host, join, ["A2", "A1", "B1", "C3", "B3", "A3", "C2", "C1", "B2"], "game 3")
    verdicts(c, host, join, "Anda Menang! Bonus!! +Triple Score", HOST_NAME + " Melakukan +Triple Score")

    since_h, since_j = host.mark(), join.mark()
    join.command("chat Halo é€ñ")
    host.command("chat Señor, café €5")
    c.check(received(host, "msg: Halo é€ñ", since_h) and received(join, "msg: Señor, café €5", since_j),
            "chat both ways with é, € and ñ")

    windows = host if host_side == "windows" else join
    timer = keep_alive_timer(match_port, True) if host_side == "windows" \
        else keep_alive_timer(relay.port, False)
    # Linux's default would be two hours; the kernel's timer shows what is left of 30 s.
    left = timer.split(",")[1] if timer and timer.startswith("keepalive,") else "min"
    c.check("min" not in left,
            "the Windows program's match socket probes after 30 s of silence (timer %s)" % timer)

    host_total = HOST_TOTAL + 1 - 1 + 3
    join_total = JOIN_TOTAL - 1 + 1
    c.check(wait_until(lambda: score_in(host_drive) == str(host_total), 10),
            "host's score file: %s (from %d: +1, -1, +3)" % (score_in(host_drive), HOST_TOTAL))
    c.check(wait_until(lambda: score_in(join_drive) == str(join_total), 10),
            "joiner's score file: %s (from %d: -1, +1, the plus costs nothing)"
            % (score_in(join_drive), JOIN_TOTAL))

    join_status = join.quit()
    host_status = host.quit()
    c.check(join_status == 0 and host_status == 0,
            "both end on quit with 0 (joiner %s, host %s)" % (join_status, host_status))
    c.check(wait_until(lambda: LISTED not in registry.entries(), 10),
            "registry entry withdrawn when the host closed")
    relay.close()
    sent = {p.label: p.events("sent") for p in (host, join)}
    got = {p.label: p.events("received") for p in (host, join)}
    c.check(sent[host.label] == got[join.label] and sent[join.label] == got[host.label],
            "what each sent is what the other received, in order (%d and %d messages)"
            % (len(sent[host.label]), len(sent[join.label])))
    windows_label = "%s (%s)" % (windows.label, "host" if windows is host else "joiner")
    print("\n  what crossed the wire (the Windows program is the %s):" % windows_label)
    for when, way, data in wire:
        print("    %7.3f s  %s  %s" % (when, way, "[closed]" if data is None else shown_bytes(data)))


def session_end(run, c, registry, args, wine):
    print("\n== Windows host, the session ends (Wine's log-off, under Xvfb) ==", flush=True)
    display = next(n for n in range(90, 200) if not os.path.exists("/tmp/.X11-unix/X%d" % n)
                   and not os.path.exists("/tmp/.X%d-lock" % n))
    xvfb = subprocess.Popen(["Xvfb", ":%d" % display, "-screen", "0", "1280x800x24", "-nolisten", "tcp"],
                            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    wait_until(lambda: os.path.exists("/tmp/.X11-unix/X%d" % display), 10)
    env = {"WINEPREFIX": run.prefix, "WINEDEBUG": "-all"}
    reg = [wine, "reg", "add", "HKCU\\Environment", "/v", "QT_QPA_PLATFORM", "/f", "/d"]
    try:
        # Real windows, which hear the session's end: the windows platform, not offscreen,
        # and a Wine started afresh with the display (one started without stays so).
        wineserver = os.path.join(os.path.dirname(wine), "wineserver")
        subprocess.run([wineserver, "-k"], env={**os.environ, **env}, capture_output=True)
        subprocess.run([wineserver, "-w"], env={**os.environ, **env}, capture_output=True)
        subprocess.run(reg + ["windows"], env={**os.environ, **env, "DISPLAY": ":%d" % display},
                       capture_output=True)
        drive = run.drive("session", HOST_TOTAL)
        host = Player(run, "windows-session", ["--host", "--name", HOST_NAME], drive,
                      {"DISPLAY": ":%d" % display, "DORVALA_MATCH_PORT": str(free_port()),
                       "DORVALA_FTP_URL": registry.url}, program=args.windows, wrap=[wine])
        if not c.check(host.event("screen", "host", timeout=WINDOWS_START_S) is not None
                       and wait_until(lambda: LISTED in registry.entries(), 15),
                       "host screen open, entry published"):
            return
        began = time.monotonic()
        answer = subprocess.run([wine, "wineboot", "--end-session"], capture_output=True,
                                env={**os.environ, **env, "DISPLAY": ":%d" % display})
        try:
            status = host.proc.wait(20)
        except subprocess.TimeoutExpired:
            status = None
        took = time.monotonic() - began
        c.check(answer.returncode != 0, "the program asked the session to wait (wineboot: %d)"
                % answer.returncode)
        c.check(host.event("gone", "host", timeout=1) == "host" and status == 0,
                "its screens closed and it ended with %s after %.1f s" % (status, took))
        c.check(LISTED not in registry.entries(), "registry entry withdrawn")
    finally:
        subprocess.run(reg + ["offscreen"], env={**os.environ, **env}, capture_output=True)
        xvfb.terminate()
        xvfb.wait(10)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--windows", default=os.path.join(REPO, "dist/windows/dorvala/dorvala.exe"))
    parser.add_argument("--linux", default=os.path.join(REPO, "build/bin/dorvala"))
    parser.add_argument("--keep", help="keep the programs' output in this folder")
    args = parser.parse_args()
    for program in (args.windows, args.linux):
        if not os.path.exists(program):
            raise SystemExit("%s is missing: build it first" % program)
    wine = wine64()
    work = tempfile.mkdtemp(prefix="dorvala-winmatch-")
    logs = args.keep or os.path.join(work, "logs")
    os.makedirs(logs, exist_ok=True)
    prefix = os.path.join(work, "prefix")
    began = time.monotonic()
    subprocess.run([os.path.join(HERE, "wine-prefix.sh"), prefix, os.path.dirname(args.windows)],
                   check=True)
    print("Wine prefix ready in %.0f s" % (time.monotonic() - began), flush=True)
    run = Run(work, logs, prefix)
    c = Checks()
    try:
        registry = Registry(run)
        seat(run, c, registry, "windows", "linux", args, wine)
        seat(run, c, registry, "linux", "windows", args, wine)
        session_end(run, c, registry, args, wine)
    finally:
        run.cleanup()
        subprocess.run([os.path.join(os.path.dirname(wine), "wineserver"), "-k"],
                       env={**os.environ, "WINEPREFIX": prefix}, capture_output=True)
        shutil.rmtree(work, ignore_errors=True)
    print("\n%d checks failed; %.0f s in all" % (c.failed, time.monotonic() - began))
    return 1 if c.failed else 0


if __name__ == "__main__":
    sys.exit(main())
