#!/usr/bin/python3
"""Driving real `dorvala --control` programs from Python: start them, send commands, read
their timestamped events and `state`, and the small helpers around that (free ports, score
files, a registry). Shared by the fault table (faults.py), the registry interop run
(ftp_interop.py) and the LAN tests (tests/lan).

Run with Debian's /usr/bin/python3 (the registry needs python3-pyftpdlib).
"""

import json
import os
import re
import socket
import subprocess
import tempfile
import threading
import time

HERE = os.path.dirname(os.path.abspath(__file__))
REGISTRY_SCRIPT = os.path.join(HERE, "registry.py")
PYTHON = "/usr/bin/python3"
NOBODY = 65534

BUSY_BOX = ("Internetr Bermasalah!: Internet tidak tersambung!\\r\\n"
            "Silahkan melakukan koneksi ke Internet terlebih dahulu")
WAITING = "Menunggu Koneksi User Client"
GONE = "Koneksi Terputus"

# How long the program may take to answer `state` before it counts as stuck (a loaded
# two-core machine starts a Qt program in a fraction of that).
ANSWER_LIMIT = 2.0


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def wait_until(predicate, timeout, step=0.05):
    deadline = time.monotonic() + timeout
    while True:
        value = predicate()
        if value or time.monotonic() >= deadline:
            return value
        time.sleep(step)


def rtf_document(text):
    """A score file as the program writes it."""
    return ("{\\rtf1\\ansi\\ansicpg1252\\deff0\\deflang1033{\\fonttbl{\\f0\\fnil\\fcharset0 "
            "MS Sans Serif;}}\r\n\\viewkind4\\uc1\\pard\\f0\\fs17 %s\\par\r\n}\r\n" % text).encode()


def rtf_whole(data):
    """A whole RTF document: the header, balanced groups, the closing brace at the end."""
    if not data.startswith(b"{\\rtf1"):
        return False
    depth = 0
    escaped = False
    for i, byte in enumerate(data):
        if escaped:
            escaped = False
        elif byte == 0x5C:
            escaped = True
        elif byte == 0x7B:
            depth += 1
        elif byte == 0x7D:
            depth -= 1
            if depth == 0:
                return data[i + 1:].strip(b"\r\n\0") == b""
    return False


def rtf_text(data):
    """The text of a one-paragraph document, or None when it is not a whole document."""
    if not rtf_whole(data):
        return None
    text = data.decode("cp1252", "replace")
    text = re.sub(r"\{\\fonttbl(\{[^{}]*\}|[^{}])*\}", "", text)
    text = re.sub(r"\\par(?![a-zA-Z])", "\n", text)
    text = re.sub(r"\\'([0-9a-fA-F]{2})", lambda m: bytes([int(m.group(1), 16)]).decode("cp1252", "replace"), text)
    text = re.sub(r"\\[a-zA-Z]+-?\d* ?", "", text)
    text = text.replace("{", "").replace("}", "")
    return text.strip()


def score_in(folder):
    """The total in a drive-C folder's score file; None when missing or not whole."""
    try:
        with open(os.path.join(folder, "dvq"), "rb") as f:
            return rtf_text(f.read())
    except OSError:
        return None


def short(text, limit=70):
    text = str(text)
    return text if len(text) <= limit else text[:limit - 3] + "..."


# ---------------------------------------------------------------------------------------
# The program under test


class Player:
    """One `dorvala --control` process: commands in, answers and events out, in order."""

    EVENT_KINDS = {"screen", "gone", "drawn", "sent", "received", "verdict", "cue", "box",
                   "status"}

    def __init__(self, run, label, args, drive, env=None, program=None, as_nobody=False,
                 wrap=()):
        """`wrap` goes in front of the command (e.g. `ip netns exec NAME`); each part of it
        must exec the next, so that the process is the program itself."""
        self.label = label
        self.drive = drive
        command = [program or run.program, "--control"] + list(args)
        if as_nobody:
            command = ["setpriv", "--reuid=%d" % NOBODY, "--regid=%d" % NOBODY,
                       "--clear-groups"] + command
        command = list(wrap) + command
        self.errors_path = os.path.join(run.logs, label + ".err")
        self.output_path = os.path.join(run.logs, label + ".out")
        self.errors = open(self.errors_path, "wb")
        self.output = open(self.output_path, "w", encoding="utf-8")
        self.lines = []
        self.ended = False
        self.cond = threading.Condition()
        self.started = time.monotonic()
        self.keep = False  # left running after its row, for a look at the end
        self.proc = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                     stderr=self.errors, env=run.environment(drive, env),
                                     cwd=drive)
        run.players.append(self)
        self.reader = threading.Thread(target=self._read, daemon=True)
        self.reader.start()

    def _read(self):
        for raw in self.proc.stdout:
            line = raw.decode("utf-8", "replace").rstrip("\n")
            self.output.write(line + "\n")
            with self.cond:
                self.lines.append(line)
                self.cond.notify_all()
        with self.cond:
            self.ended = True
            self.cond.notify_all()

    # -- reading

    def mark(self):
        with self.cond:
            return len(self.lines)

    def find(self, predicate, since=0, timeout=10.0):
        """The first line from `since` on that satisfies the predicate: (index, line)."""
        deadline = time.monotonic() + timeout
        with self.cond:
            i = since
            while True:
                while i < len(self.lines):
                    if predicate(self.lines[i]):
                        return i, self.lines[i]
                    i += 1
                left = deadline - time.monotonic()
                if self.ended or left <= 0:
                    return None
                self.cond.wait(left)

    @staticmethod
    def parse(line):
        first, last = line.find(" "), line.rfind(" ")
        if first <= 0 or line[:first] not in Player.EVENT_KINDS:
            return None
        return line[:first], line[first + 1:last] if last > first else ""

    def event(self, kind, payload=None, since=0, timeout=10.0):
        """The payload of the first such event from `since` on, or None."""
        def matches(line):
            event = Player.parse(line)
            if not event or event[0] != kind:
                return False
            if payload is None:
                return True
            return payload(event[1]) if callable(payload) else event[1] == payload
        found = self.find(matches, since, timeout)
        return Player.parse(found[1])[1] if found else None

    def events(self, kind, since=0):
        with self.cond:
            lines = list(self.lines[since:])
        return [e[1] for e in map(Player.parse, lines) if e and e[0] == kind]

    # -- commanding

    def send(self, line):
        try:
            self.proc.stdin.write((line + "\n").encode())
            self.proc.stdin.flush()
        except (OSError, ValueError):
            pass

    def command(self, line, timeout=10.0):
        since = self.mark()
        self.send(line)
        word = line.split(" ", 1)[0]
        found = self.find(lambda l: l.startswith("ok " + word) or l.startswith("error " + word),
                          since, timeout)
        return found[1] if found else None

    def state(self, timeout=10.0):
        """(state as a dict, seconds to the answer); (None, None) without an answer."""
        since = self.mark()
        began = time.monotonic()
        self.send("state")
        found = self.find(lambda l: l.startswith("state "), since, timeout)
        if not found:
            return None, None
        return json.loads(found[1][6:]), time.monotonic() - began

    def click(self, cell, peer=None, timeout=10.0):
        """Clicks a point; with a peer, waits until the peer has received the move."""
        since = peer.mark() if peer else 0
        self.send("click " + cell)
        if peer:
            return peer.event("received", cell, since, timeout) is not None
        return True

    def alive(self):
        return self.proc.poll() is None

    def signal(self, number):
        if self.alive():
            os.kill(self.proc.pid, number)

    def quit(self, timeout=15.0):
        """Asks it to quit as a director does (the command, then the end of its input);
        its exit status, or None when it had to be killed."""
        self.send("quit")
        try:
            self.proc.stdin.close()
        except OSError:
            pass
        try:
            return self.proc.wait(timeout)
        except subprocess.TimeoutExpired:
            self.close()
            return None

    def close(self):
        if self.alive():
            self.proc.kill()
        try:
            self.proc.wait(10)
        except subprocess.TimeoutExpired:
            pass
        self.reader.join(5)
        for f in (self.errors, self.output):
            if not f.closed:
                f.close()


def hwm_mb(player):
    """Peak resident memory of a running program, MB."""
    try:
        with open("/proc/%d/status" % player.proc.pid) as f:
            for line in f:
                if line.startswith("VmHWM:"):
                    return int(line.split()[1]) / 1024.0
    except OSError:
        pass
    return None


class Sampler:
    """Asks a program for its state every `period` seconds on a thread of its own and keeps
    the longest wait for an answer: the program's responsiveness while something happens."""

    def __init__(self, player, period=0.1):
        self.player = player
        self.period = period
        self.longest = 0.0
        self.missed = 0
        self.count = 0
        self.stopping = threading.Event()
        self.thread = threading.Thread(target=self._run, daemon=True)
        self.thread.start()

    def _run(self):
        while not self.stopping.is_set():
            _, took = self.player.state(timeout=10.0)
            if took is None:
                self.missed += 1
                if not self.player.alive():
                    return
            else:
                self.count += 1
                self.longest = max(self.longest, took)
            self.stopping.wait(self.period)

    def stop(self):
        self.stopping.set()
        self.thread.join(15)
        return self.longest


class Outcome:
    """One row: what was done, and the checks of the three columns."""

    def __init__(self, number, fault):
        self.number = number
        self.fault = fault
        self.done = ""
        self.columns = {"program": [], "screen": [], "kept": []}
        self.failures = []
        self.began = time.monotonic()

    def check(self, column, ok, text):
        self.columns[column].append(text if ok else "**not so: %s**" % text)
        if not ok:
            self.failures.append(text)
        return ok

    def note(self, column, text):
        self.columns[column].append(text)

    def markdown(self):
        def cell(text):
            return text.replace("|", "\\|").replace("\n", " ")
        ok = "yes" if not self.failures else "**no**"
        return "| %s. %s | %s | %s | %s | %s | %s |" % (
            self.number, cell(self.fault), cell(self.done),
            cell("; ".join(self.columns["program"])), cell("; ".join(self.columns["screen"])),
            cell("; ".join(self.columns["kept"])), ok)


# ---------------------------------------------------------------------------------------
# A registry


class Registry:
    """scripts/registry.py on a free port (of `host`, loopback unless told) and a folder of
    its own; `wrap` goes in front of its command, as with Player."""

    def __init__(self, run, host="127.0.0.1", port=0, wrap=()):
        self.root = tempfile.mkdtemp(prefix="registry-", dir=run.work)
        self.proc = subprocess.Popen(list(wrap) + [PYTHON, REGISTRY_SCRIPT, "--host", host,
                                                   "--port", str(port), "--root", self.root,
                                                   "--exit-with-parent"],
                                     stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        run.servers.append(self)
        ready = self.proc.stdout.readline().decode().split()
        if len(ready) != 2 or ready[0] != "READY":
            raise RuntimeError("registry did not start")
        self.port = int(ready[1])
        self.url = "ftp://dorvala@%s:%d/" % (host, self.port)

    def entries(self):
        return sorted(os.listdir(self.root))

    def stop(self):
        if self.proc.poll() is None:
            self.proc.terminate()
            try:
                self.proc.wait(5)
            except subprocess.TimeoutExpired:
                self.proc.kill()


# ---------------------------------------------------------------------------------------
# Reading the state


def shown(state, name):
    value = state.get(name) or {}
    return value.get("text") if value.get("visible") else None


def poll_state(player, predicate, timeout=10.0):
    """Asks for the state until the predicate holds; the last state."""
    state = {}
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        state, _ = player.state(timeout=max(0.5, deadline - time.monotonic()))
        state = state or {}
        if predicate(state):
            break
        time.sleep(0.1)
    return state


def play(mover, other, cells):
    """Moves alternate between the two, each waiting until the other has received it."""
    players = [mover, other]
    for i, cell in enumerate(cells):
        if not players[i % 2].click(cell, players[(i + 1) % 2]):
            return False
    return True
