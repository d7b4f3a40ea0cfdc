#!/usr/bin/python3
"""The fault table: runs faults against the real program and prints one Markdown row each.

Every program is a separate `dorvala --control` process, offscreen, with its own drive-C
folder, on loopback only (DORVALA_LOCAL_IP=127.0.0.1, free ports). The registry is
scripts/registry.py (pyftpdlib) or, where the registry itself misbehaves, a small FTP server
of this file; peers that misbehave are small socket servers of this file too. Rows 15 to 17
play between machines instead: on a LAN of network namespaces (tests/lan), as user nobody
with the program's own addresses and ports, which needs root. Every row
checks three things: the program stayed up (or ended as designed), the screen said what
happened (a box event, or a label read through the control channel's `state`), and nothing
was lost (score files, the other player, the registry entry).

    scripts/faults.py --bin build/bin          all rows
    scripts/faults.py --bin build/bin 5 9      rows 5 and 9 only
    scripts/faults.py --bin build/bin --keep DIR   keep each program's output in DIR

Exit status 1 when any row fails. Run it with Debian's /usr/bin/python3 (pyftpdlib).
"""

import argparse
import hashlib
import os
import random
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time

from dorvala_drive import (ANSWER_LIMIT, BUSY_BOX, GONE, NOBODY, WAITING, Outcome, Player,
                           Registry, Sampler, free_port, hwm_mb, play, poll_state,
                           rtf_document, score_in, short, shown, wait_until)


# ---------------------------------------------------------------------------------------
# Registries that misbehave


class FakeFtp:
    """A registry that misbehaves, one thread per connection, passive mode only.

    mode "refuse": every login is refused with 530.
    mode "hang":   a listing sends `names` and half of one more name, then stays silent with
                   both connections open.
    mode "names":  a listing sends `names`.
    Uploads and deletes are kept in `files` in every mode that lets anyone in; an upload is
    confirmed `store_delay` seconds after its data has arrived."""

    def __init__(self, run, mode, names=(), store_delay=0.0):
        self.mode = mode
        self.store_delay = store_delay
        self.gave_up = []  # hang: seconds from the half name to the client's hanging up
        self.names = list(names)
        self.files = set()
        self.log = []
        self.listings = 0
        self.lock = threading.Lock()
        self.stopping = threading.Event()
        self.sockets = []
        self.server = socket.socket()
        self.server.bind(("127.0.0.1", 0))
        self.server.listen(16)
        self.port = self.server.getsockname()[1]
        self.url = "ftp://dorvala@127.0.0.1:%d/" % self.port
        run.servers.append(self)
        threading.Thread(target=self._accept, daemon=True).start()

    def entries(self):
        with self.lock:
            return sorted(self.files)

    def stop(self):
        self.stopping.set()
        for s in [self.server] + self.sockets:
            try:
                s.close()
            except OSError:
                pass

    def _accept(self):
        while not self.stopping.is_set():
            try:
                conn, _ = self.server.accept()
            except OSError:
                return
            self.sockets.append(conn)
            threading.Thread(target=self._session, args=(conn,), daemon=True).start()

    def _session(self, conn):
        reader = conn.makefile("rb")
        passive = None

        def reply(text):
            conn.sendall((text + "\r\n").encode())

        def data_connection():
            if passive is None:
                reply("425 Use PASV or EPSV first.")
                return None
            passive.settimeout(10)
            try:
                data, _ = passive.accept()
            except OSError:
                reply("425 No data connection.")
                return None
            finally:
                passive.close()
            self.sockets.append(data)
            return data

        try:
            reply("220 Fake registry.")
            for raw in reader:
                line = raw.decode("latin-1").rstrip("\r\n")
                verb, _, argument = line.partition(" ")
                verb = verb.upper()
                with self.lock:
                    self.log.append(line if verb != "PASS" else "PASS ***")
                if verb == "USER":
                    reply("331 Password please.")
                elif verb == "PASS":
                    if self.mode == "refuse":
                        reply("530 Login incorrect.")
                    else:
                        reply("230 Logged in.")
                elif verb in ("EPSV", "PASV"):
                    passive = socket.socket()
                    passive.bind(("127.0.0.1", 0))
                    passive.listen(1)
                    port = passive.getsockname()[1]
                    if verb == "EPSV":
                        reply("229 Entering Extended Passive Mode (|||%d|)" % port)
                    else:
                        reply("227 Entering Passive Mode (127,0,0,1,%d,%d)" % (port >> 8, port & 255))
                elif verb in ("NLST", "LIST"):
                    data = data_connection()
                    if data is None:
                        continue
                    reply("150 Here comes the listing.")
                    with self.lock:
                        self.listings += 1
                    body = "".join(name + "\r\n" for name in self.names).encode()
                    if self.mode == "hang":
                        data.sendall(body + b"127.0.")
                        # Silent from now on, both connections left open, until the client
                        # gives up and closes its end.
                        hung_at = time.monotonic()
                        conn.settimeout(0.5)
                        while not self.stopping.is_set():
                            try:
                                if not conn.recv(4096):
                                    break
                            except socket.timeout:
                                continue
                        with self.lock:
                            self.gave_up.append(time.monotonic() - hung_at)
                        return
                    data.sendall(body)
                    data.close()
                    reply("226 Listing sent.")
                elif verb in ("STOR", "APPE"):
                    data = data_connection()
                    if data is None:
                        continue
                    reply("150 Send it.")
                    while data.recv(65536):
                        pass
                    data.close()
                    with self.lock:
                        self.files.add(argument)
                    time.sleep(self.store_delay)
                    reply("226 Stored.")
                elif verb == "DELE":
                    with self.lock:
                        present = argument in self.files
                        self.files.discard(argument)
                    reply("250 Deleted." if present else "550 No such file.")
                elif verb == "PWD":
                    reply('257 "/" is the current folder.')
                elif verb in ("CWD", "TYPE", "MODE", "STRU", "OPTS", "NOOP"):
                    reply("200 OK.")
                elif verb == "SYST":
                    reply("215 UNIX Type: L8")
                elif verb == "QUIT":
                    reply("221 Bye.")
                    return
                else:
                    reply("502 Not here.")
        except OSError:
            pass
        finally:
            try:
                conn.close()
            except OSError:
                pass


# ---------------------------------------------------------------------------------------
# Peers that are not the program


class FakePeer:
    """The other end of a match socket: a joiner that connects to a host, or a host that
    waits for a joiner. Keeps everything the program sends."""

    def __init__(self, sock):
        self.sock = sock
        self.sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.received = b""
        self.lock = threading.Lock()
        threading.Thread(target=self._read, daemon=True).start()

    @staticmethod
    def join(port, timeout=10.0):
        deadline = time.monotonic() + timeout
        while True:
            try:
                return FakePeer(socket.create_connection(("127.0.0.1", port), timeout=5))
            except OSError:
                if time.monotonic() >= deadline:
                    raise
                time.sleep(0.05)

    def _read(self):
        while True:
            try:
                chunk = self.sock.recv(65536)
            except OSError:
                return
            if not chunk:
                return
            with self.lock:
                self.received += chunk

    def got(self, text):
        with self.lock:
            return text.encode("cp1252") in self.received

    def send(self, text):
        self.sock.sendall(text.encode("cp1252") if isinstance(text, str) else text)

    def close(self):
        try:
            self.sock.close()
        except OSError:
            pass


class FakeHostListener:
    """A listening match port that hands each joiner to a FakePeer."""

    def __init__(self, port):
        self.server = socket.socket()
        self.server.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.server.bind(("127.0.0.1", port))
        self.server.listen(4)

    def accept(self, timeout=15.0):
        self.server.settimeout(timeout)
        try:
            conn, _ = self.server.accept()
        except OSError:
            return None
        conn.settimeout(None)
        return FakePeer(conn)

    def close(self):
        self.server.close()


# ---------------------------------------------------------------------------------------
# One run: the program, its folders, what is still running


class Run:
    def __init__(self, program, work, logs):
        self.program = program
        self.work = work
        self.logs = logs
        self.players = []
        self.servers = []
        self.runtime = self.folder("runtime")
        os.chmod(self.runtime, 0o700)
        # Where nothing listens: the default registry of a program that needs none.
        self.no_registry = "ftp://dorvala@127.0.0.1:%d/" % free_port()

    def folder(self, name):
        return tempfile.mkdtemp(prefix=name + "-", dir=self.work)

    def drive(self, name, total=None, content=None):
        """A drive-C folder of its own, with a score file holding `total` if given."""
        path = self.folder("c-" + name)
        if total is not None:
            content = rtf_document(total)
        if content is not None:
            with open(os.path.join(path, "dvq"), "wb") as f:
                f.write(content)
        return path

    def environment(self, drive, extra):
        env = {
            "PATH": os.environ.get("PATH", "/usr/bin:/bin"),
            "HOME": os.environ.get("HOME", "/root"),
            "LANG": "C.UTF-8",
            "QT_QPA_PLATFORM": "offscreen",
            "XDG_RUNTIME_DIR": self.runtime,
            "DORVALA_LOCAL_IP": "127.0.0.1",
            "DORVALA_DRIVE_C": drive,
            "DORVALA_MATCH_PORT": str(free_port()),
            "DORVALA_PROBE_PORT": str(free_port()),
            "DORVALA_FTP_URL": self.no_registry,
        }
        env.update(extra or {})
        return env

    def cleanup(self):
        for player in self.players:
            player.close()
        for server in self.servers:
            server.stop()


def answers(outcome, player, what="answers `state`"):
    """The program is there and answers; its state."""
    state, took = player.state()
    outcome.check("program", player.alive() and state is not None,
                  "%s in %.2f s" % (what, took) if took is not None else what + " (no answer)")
    return state or {}


def ends_as_designed(outcome, player, limit=6.0):
    began = time.monotonic()
    status = player.quit()
    took = time.monotonic() - began
    outcome.check("program", status == 0 and took < limit,
                  "quit: exit %s after %.1f s" % (status, took))


def registry_holds(registry, name, expected, timeout=10.0, settle=1.0):
    """Waits until the registry holds (or no longer holds) the entry, and it stays so."""
    def steady():
        if (name in registry.entries()) != expected:
            return False
        time.sleep(settle)
        return (name in registry.entries()) == expected
    return wait_until(steady, timeout)


def start_pair(run, tag, registry, host_total="0", join_total="0", host_program=None):
    """A host and a joiner started as players start them, connected; (host, joiner)."""
    port = str(free_port())
    env = {"DORVALA_MATCH_PORT": port, "DORVALA_FTP_URL": registry.url}
    host = Player(run, tag + "-host", ["--host", "--name", "Budi"],
                  run.drive(tag + "-host", host_total), env, program=host_program)
    if host.event("screen", "host", timeout=30) is None:
        raise RuntimeError("%s: the host screen did not open" % tag)
    registry_holds(registry, "127.0.0.1", True, timeout=10, settle=0)
    join = Player(run, tag + "-join", ["--join", "127.0.0.1", "--name", "Sari"],
                  run.drive(tag + "-join", join_total), env)
    if host.event("received", "XSari", timeout=30) is None \
            or join.event("received", "$" + host_total, timeout=10) is None:
        raise RuntimeError("%s: host and joiner did not meet" % tag)
    return host, join


def greet(peer, name="Fake", total="0"):
    """What a joiner says on connecting: its total, then (a moment later) its name."""
    peer.send("$" + total)
    time.sleep(0.2)
    peer.send("X" + name)


def quiet(player, kind="received", still=0.5, timeout=60.0):
    """Waits until no event of the kind has come for `still` seconds."""
    deadline = time.monotonic() + timeout
    count = len(player.events(kind))
    calm_since = time.monotonic()
    while time.monotonic() < deadline:
        time.sleep(0.1)
        now = len(player.events(kind))
        if now != count:
            count, calm_since = now, time.monotonic()
        elif time.monotonic() - calm_since >= still:
            return True
    return False


# ---------------------------------------------------------------------------------------
# The faults


def ended_while_publishing(run, o):
    ftp = FakeFtp(run, "names", store_delay=1.5)
    drive = run.drive("publishing", "5")
    player = Player(run, "publishing", ["--host", "--name", "Budi"], drive,
                    {"DORVALA_FTP_URL": ftp.url})
    o.done = ("`--host` against a registry that confirms an upload 1.5 s late; SIGTERM as soon as "
              "the host screen is open")
    opened = player.event("screen", "host", timeout=30)
    stored = wait_until(lambda: "127.0.0.1" in ftp.entries(), 10, step=0.01)
    began = time.monotonic()
    player.signal(signal.SIGTERM)
    try:
        status = player.proc.wait(15)
    except subprocess.TimeoutExpired:
        status = None
    took = time.monotonic() - began
    o.check("program", opened is not None and status == 0 and took < 5,
            "exit %s %.1f s after SIGTERM" % (status, took))
    o.check("screen", player.event("gone", "host", timeout=1) == "host",
            "the host screen closes as from its title bar")
    deletes = [l for l in ftp.log if l.startswith("DELE")]
    o.check("kept", stored and ftp.entries() == [] and deletes == ["DELE 127.0.0.1"],
            "the withdrawal waits for the upload's end and then deletes the entry")
    o.check("kept", score_in(drive) == "5", "score file still 5")


def quit_while_starting(run, o):
    registry = Registry(run)
    drive = run.drive("early", "5")
    runs = 5
    o.done = ("`--host` with \"quit\" already waiting on its input, so it comes while the quick "
              "start still waits for the registry; %d times" % runs)
    statuses, opened, left = [], 0, 0
    for i in range(runs):
        player = Player(run, "early-%d" % i, ["--host", "--name", "Budi"], drive,
                        {"DORVALA_FTP_URL": registry.url})
        began = time.monotonic()
        status = player.quit()
        statuses.append((status, time.monotonic() - began))
        opened += bool(player.events("screen"))
        if "127.0.0.1" in registry.entries():
            left += 1
            os.remove(os.path.join(registry.root, "127.0.0.1"))
        player.close()
    o.check("program", all(s == 0 and t < 6 for s, t in statuses),
            "every run ends with exit 0 within %.1f s" % max(t for _, t in statuses))
    o.note("screen", "a host screen opened in %d of %d runs (quit before or after the quick "
                     "start's wait)" % (opened, runs))
    o.check("kept", left == 0, "no entry left in the registry (%d of %d runs left one)"
            % (left, runs))
    o.check("kept", score_in(drive) == "5", "score file still 5")


def registry_down(run, o):
    port = free_port()  # nothing listens there
    match_port = free_port()
    drive = run.drive("down", "5")
    player = Player(run, "down", ["--host", "--name", "Budi"], drive,
                    {"DORVALA_FTP_URL": "ftp://dorvala@127.0.0.1:%d/" % port,
                     "DORVALA_MATCH_PORT": str(match_port)})
    o.done = "`--host`; nothing listens on the registry's port"
    box = player.event("box", timeout=20)
    state = answers(o, player)
    o.check("screen", box == BUSY_BOX, 'box "%s"' % short(box or "none", 60))
    o.check("screen", state.get("screens") == ["openi"],
            "the title screen waits for the box's OK (shown: %s)"
            % ", ".join(state.get("screens") or ["nothing"]))
    # After the OK the setup screen opens all the same, and the quick start hosts.
    player.command("dismiss")
    opened = player.event("screen", "host", timeout=10)
    o.check("screen", opened is not None,
            "after OK the setup screen opens and the host screen follows")
    ends_as_designed(o, player)
    o.check("kept", score_in(drive) == "5", "score file still 5")


def registry_refuses(run, o):
    ftp = FakeFtp(run, "refuse")
    drive = run.drive("refused", "5")
    port = free_port()
    player = Player(run, "refused", ["--host", "--name", "Budi"], drive,
                    {"DORVALA_FTP_URL": ftp.url, "DORVALA_MATCH_PORT": str(port)})
    o.done = "`--host`; the registry answers every login with 530"
    opened = player.event("screen", "host", timeout=30)
    o.check("program", opened is not None, "the host screen opens")
    wait_until(lambda: ftp.log.count("PASS ***") >= 2, 10)
    state = answers(o, player)
    o.check("screen", shown(state, "infox") == WAITING, '"%s"' % shown(state, "infox"))
    o.check("screen", (state.get("HO") or {}).get("count") == 0 and not player.events("box"),
            "host list empty, no box (a refused listing yields no lines, uploads fail silently)")
    # Hosting does not need the registry: a joiner who knows the address still gets in.
    peer = FakePeer.join(port)
    greet(peer)
    state = poll_state(player, lambda s: s.get("Xname") == "Fake")
    o.check("kept", state.get("Xname") == "Fake" and peer.got("OBudi"),
            "a joiner by address still gets in and is greeted")
    peer.close()
    logins = ftp.log.count("PASS ***")
    o.check("kept", ftp.entries() == [] and not any(l.startswith(("STOR", "NLST"))
                                                     for l in ftp.log),
            "nothing stored on the refusing server (%d logins tried)" % logins)
    ends_as_designed(o, player)
    o.check("kept", score_in(drive) == "5", "score file still 5")


def registry_hangs(run, o):
    names = ["127.0.0.7", "127.0.0.9"]
    # One program stays until the listing's request time-out; it is looked at last.
    patient_ftp = FakeFtp(run, "hang", names)
    patient = Player(run, "hang-patient", ["--host", "--name", "Budi"], run.drive("patient", "5"),
                     {"DORVALA_FTP_URL": patient_ftp.url})
    patient.keep = True
    ftp = FakeFtp(run, "hang", names)
    drive = run.drive("hang", "5")
    player = Player(run, "hang", ["--host", "--name", "Budi"], drive, {"DORVALA_FTP_URL": ftp.url})
    o.done = ("`--host`; each listing sends two names and half a third, then the server goes "
              "silent, connections open; one program quits meanwhile, one waits it out")
    opened = player.event("screen", "host", timeout=30)
    o.check("program", opened is not None, "the host screen opens")
    sampler = Sampler(player)
    published = wait_until(lambda: "127.0.0.1" in ftp.entries(), 10)
    time.sleep(1.0)
    longest = sampler.stop()
    o.check("program", sampler.count > 0 and longest < ANSWER_LIMIT,
            "answers within %.2f s while the listing hangs" % longest)
    state = answers(o, player)
    o.check("screen", shown(state, "infox") == WAITING, '"%s"' % shown(state, "infox"))
    o.note("screen", "host list: %d entries while the listing hangs"
           % (state.get("HO") or {}).get("count", -1))
    o.check("kept", published, "own entry published on a connection of its own")
    ends_as_designed(o, player)
    o.check("kept", wait_until(lambda: "127.0.0.1" not in ftp.entries(), 5),
            "entry withdrawn at quit; the hung listing is not waited for")

    def after_the_time_out():
        gave_up = wait_until(lambda: patient_ftp.gave_up, 75)
        state = answers(o, patient, "the other, after the time-out, answers `state`")
        o.check("program", bool(gave_up) and 45 <= gave_up[0] <= 60,
                "its listing gave up after %s s of silence (request time-out 50 s)"
                % ("%.0f" % gave_up[0] if gave_up else "no"))
        host_list = state.get("HO") or {}
        o.check("screen", shown(state, "infox") == WAITING and host_list.get("count") == 0,
                "then: still waiting for a joiner, host list empty (a failed listing yields "
                "no lines)")
        o.check("kept", "127.0.0.1" in patient_ftp.entries(), "its entry listed meanwhile")
        ends_as_designed(o, patient)
        o.check("kept", "127.0.0.1" not in patient_ftp.entries(), "and withdrawn at quit")
    return after_the_time_out


def registry_huge(run, o):
    count = 100000
    # Loopback addresses only: the lobby probes every listed address.
    names = ["127.%d.%d.%d" % (1 + i // 65536, (i // 256) % 256, i % 256) for i in range(count)]
    ftp = FakeFtp(run, "names", names)
    drive = run.drive("huge", "5")
    player = Player(run, "huge", ["--host", "--name", "Budi"], drive, {"DORVALA_FTP_URL": ftp.url})
    o.done = "`--host`; the registry lists %d names (127.x.y.z, all probed)" % count
    opened = player.event("screen", "host", timeout=60)
    o.check("program", opened is not None, "the host screen opens")
    sampler = Sampler(player, period=0.2)
    state = poll_state(player, lambda s: (s.get("HO") or {}).get("count") == count, timeout=60)
    time.sleep(2.0)  # the probing goes on meanwhile
    longest = sampler.stop()
    o.check("program", sampler.count > 0 and longest < ANSWER_LIMIT,
            "answers within %.2f s while filling and probing" % longest)
    memory = hwm_mb(player)
    o.note("program", "peak memory %.0f MB" % (memory or 0))
    host_list = state.get("HO") or {}
    o.check("screen", host_list.get("count") == count,
            "host list holds %s names, first %s" % (host_list.get("count"),
                                                    (host_list.get("items") or ["-"])[0]))
    o.check("kept", "127.0.0.1" in ftp.entries(), "own entry published")
    ends_as_designed(o, player)
    o.check("kept", "127.0.0.1" not in ftp.entries(), "and withdrawn at quit")


def registry_huge_names(run, o, size, count, expected, said):
    ftp = FakeFtp(run, "names", ["127.0.0.9", "7" * size])
    drive = run.drive("hugename", "5")
    player = Player(run, "hugename", ["--host", "--name", "Budi"], drive,
                    {"DORVALA_FTP_URL": ftp.url})
    o.done = ("`--host`; the registry lists 127.0.0.9 and one name of %d MB (no line break "
              "inside)" % (size // (1024 * 1024)))
    opened = player.event("screen", "host", timeout=60)
    o.check("program", opened is not None, "the host screen opens")
    sampler = Sampler(player)
    poll_state(player, lambda s: (s.get("HO") or {}).get("count") == count, timeout=60)
    time.sleep(3.0)  # an empty list is also what the screen shows before the listing
    state = poll_state(player, lambda s: True)
    longest = sampler.stop()
    o.check("program", sampler.count > 0 and longest < ANSWER_LIMIT,
            "answers within %.2f s while it arrives and afterwards" % longest)
    o.note("program", "peak memory %.0f MB" % (hwm_mb(player) or 0))
    host_list = state.get("HO") or {}
    o.check("screen", host_list.get("count") == count
            and (host_list.get("items") or [None])[0] == expected,
            said)
    o.check("kept", "127.0.0.1" in ftp.entries(), "own entry published")
    ends_as_designed(o, player)
    o.check("kept", "127.0.0.1" not in ftp.entries(), "and withdrawn at quit")


def registry_long_name(run, o):
    registry_huge_names(run, o, 2 * 1024 * 1024, 1, "127.0.0.9",
                        "host list holds 127.0.0.9 alone: no file name is that long")


def registry_huge_listing(run, o):
    registry_huge_names(run, o, 20 * 1024 * 1024, 0, None,
                        "host list empty: a listing over 8 MB is refused whole")


def peer_killed(run, o):
    registry = Registry(run)
    host, join = start_pair(run, "killed", registry, host_total="3", join_total="2")
    o.done = ("host and joiner (`--host`, `--join`) play A1, B1; the host clicks A2 and the "
              "joiner gets SIGKILL with the move on its way; then the host's \"Close\"")
    ok = play(host, join, ["A1", "B1"])
    host.send("click A2")
    # The kill lands once the move has left (else the click may come after the loss and
    # rightly be refused).
    host.event("sent", "A2")
    join.signal(signal.SIGKILL)
    join.proc.wait(10)
    state = poll_state(host, lambda s: shown(s, "infox") == GONE)
    o.check("program", host.alive() and state != {}, "host stays up")
    o.check("screen", ok and shown(state, "infox") == GONE,
            'host: "%s" over the board' % shown(state, "infox"))
    o.check("screen", not state.get("send") and not state.get("restart"),
            "Send and Restart disabled")
    o.check("kept", (state.get("cells") or {}).get("A2") == "O", "the host's own A2 stands")
    o.check("kept", registry_holds(registry, "127.0.0.1", True, settle=0),
            "entry still listed while the host screen is open")
    host.command("close")
    state = answers(o, host, "after \"Close\" it answers `state`")
    o.check("screen", state.get("screens") == ["login"], "the setup screen is back")
    o.check("kept", registry_holds(registry, "127.0.0.1", False), "entry withdrawn at \"Close\"")
    ends_as_designed(o, host)
    o.check("kept", score_in(host.drive) == "3" and score_in(join.drive) == "2",
            "both score files whole, totals 3 and 2")


def host_killed(run, o):
    registry = Registry(run)
    host, join = start_pair(run, "hostkilled", registry, host_total="3", join_total="2")
    o.done = "the joiner clicks B1 after the host's A1, and the host gets SIGKILL meanwhile"
    ok = play(host, join, ["A1"])
    join.send("click B1")
    host.signal(signal.SIGKILL)
    host.proc.wait(10)
    state = poll_state(join, lambda s: shown(s, "infox") == GONE)
    o.check("program", join.alive() and state != {}, "joiner stays up")
    o.check("screen", ok and shown(state, "infox") == GONE,
            'joiner: "%s" over the board' % shown(state, "infox"))
    o.check("screen", not state.get("send"), "Send disabled")
    ends_as_designed(o, join)
    o.check("kept", score_in(host.drive) == "3" and score_in(join.drive) == "2",
            "both score files whole, totals 3 and 2")
    stale = "127.0.0.1" in registry.entries()
    o.check("kept", stale, "the killed host's entry stays listed: nothing expires entries "
                           "(as designed; \"Hapus\" removes it)")


def half_open(run, o):
    registry = Registry(run)
    host, join = start_pair(run, "stopped", registry, host_total="3", join_total="2")
    o.done = ("the joiner gets SIGSTOP (its kernel still acknowledges, nothing closes); the host "
              "moves A1; 3 s later SIGCONT")
    join.signal(signal.SIGSTOP)
    since = join.mark()
    host.send("click A1")
    sent = host.event("sent", "A1", timeout=10)
    sampler = Sampler(host)
    time.sleep(3.0)
    longest = sampler.stop()
    state = answers(o, host)
    o.check("program", sampler.count > 0 and longest < ANSWER_LIMIT,
            "host answers within %.2f s meanwhile" % longest)
    o.check("screen", sent is not None and state.get("connected") and not state.get("enabled")
            and shown(state, "infox") is None,
            "host: still connected, board locked waiting for the joiner's move, no message "
            "(a stopped peer looks like a slow one)")
    join.signal(signal.SIGCONT)
    got = join.event("received", since=since, timeout=10)
    o.check("kept", got == "A1", "after SIGCONT the joiner reads %s" % (got or "nothing"))
    o.check("kept", join.click("B1", host), "and the match goes on (its B1 reaches the host)")
    ends_as_designed(o, host)
    ends_as_designed(o, join)
    o.check("kept", registry_holds(registry, "127.0.0.1", False, settle=0),
            "entry withdrawn at quit")


def flood(run, o, messages, what):
    registry = Registry(run)
    port = free_port()
    host = Player(run, "flood-%d" % len(messages), ["--host", "--name", "Budi"],
                  run.drive("flood", "3"),
                  {"DORVALA_FTP_URL": registry.url, "DORVALA_MATCH_PORT": str(port)})
    o.done = what
    host.event("screen", "host", timeout=30)
    peer = FakePeer.join(port)
    greet(peer)
    poll_state(host, lambda s: s.get("Xname") == "Fake")
    since = host.mark()
    sampler = Sampler(host)
    began = time.monotonic()
    for message in messages:
        peer.send(message)
    calm = quiet(host, timeout=120)
    took = time.monotonic() - began
    longest = sampler.stop()
    reads = len(host.events("received", since))
    o.check("program", host.alive() and calm, "host stays up; all read in %.1f s, %d reads"
            % (took, reads))
    o.check("program", sampler.count > 0 and longest < ANSWER_LIMIT,
            "answers `state` within %.2f s meanwhile" % longest)
    memory = hwm_mb(host)
    o.note("program", "peak memory %.0f MB" % (memory or 0))
    # Still reading and answering: a total is shown and answered once.
    replies = peer.received.count(b"$3")
    peer.send("$7")
    state = poll_state(host, lambda s: s.get("WRL2") == "7")
    answered = wait_until(lambda: peer.received.count(b"$3") > replies, 5)
    # Without framing, the later reads of a long message replace the one the bubble types.
    o.check("screen", shown(state, "message") is not None,
            'chat bubble shown, typing "%s"' % short(shown(state, "message") or "", 20))
    o.check("kept", state.get("WRL2") == "7" and answered and state.get("connected"),
            "still connected: a later total shows (7) and is answered")
    ends_as_designed(o, host)
    o.check("kept", score_in(host.drive) == "3", "score file still 3")
    o.check("kept", registry_holds(registry, "127.0.0.1", False, settle=0),
            "entry withdrawn at quit")
    peer.close()


def burst(run, o):
    flood(run, o, ["msg: burst %d" % i for i in range(10000)],
          "a fake joiner greets the host, then sends 10,000 chat messages as fast as it can")


def huge_message(run, o):
    flood(run, o, ["msg: " + "a" * (10 * 1024 * 1024)],
          "a fake joiner greets the host, then sends one 10 MB chat message")


def port_taken(run, o):
    registry = Registry(run)
    port = free_port()
    squatter = socket.socket()
    squatter.bind(("0.0.0.0", port))
    squatter.listen(1)
    drive = run.drive("taken", "5")
    host = Player(run, "taken", ["--host", "--name", "Budi"], drive,
                  {"DORVALA_FTP_URL": registry.url, "DORVALA_MATCH_PORT": str(port)})
    o.done = "another program listens on the match port; `--host`"
    opened = host.event("screen", "host", timeout=30)
    state = answers(o, host)
    o.check("program", opened is not None, "host screen opens")
    o.check("screen", shown(state, "infox") == "Port %d sedang dipakai program lain." % port,
            '"%s"' % shown(state, "infox"))
    o.check("screen", state.get("status") == "Tidak ada yang bisa bergabung. Tutup layar ini "
                                             "dan coba lagi.", 'status "%s"' % state.get("status"))
    time.sleep(1.0)
    o.check("kept", registry_holds(registry, "127.0.0.1", False),
            "no entry left in the registry (published, then withdrawn after its upload)")
    ends_as_designed(o, host)
    o.check("kept", score_in(drive) == "5", "score file still 5")
    squatter.close()


def read_only_drive(run, o):
    registry = Registry(run)
    port = free_port()
    drive = run.drive("readonly", "4")
    os.chmod(drive, 0o755)  # root's; the program runs as nobody
    home = run.folder("home-nobody")
    runtime = run.folder("runtime-nobody")
    for folder in (home, runtime):
        os.chown(folder, NOBODY, NOBODY)
        os.chmod(folder, 0o700)
    host = Player(run, "readonly", ["--host", "--name", "Budi"], drive,
                  {"DORVALA_FTP_URL": registry.url, "DORVALA_MATCH_PORT": str(port),
                   "HOME": home, "XDG_RUNTIME_DIR": runtime}, as_nobody=True)
    o.done = ("`--host` as user nobody (setpriv) with a drive-C folder it cannot write (score file "
              "4 in it); a fake joiner completes A1-A2-A3")
    # The player-name file comes first, and its box waits for OK before the host screen opens.
    box = host.event("box", timeout=30)
    o.check("screen", (box or "").startswith("Login Dorvala Online 1.0: Berkas pemain tidak dapat "
                                             "disimpan"), 'box "%s", OK pressed' % short(box, 75))
    host.command("dismiss")
    opened = host.event("screen", "host", timeout=30)
    o.check("program", opened is not None, "host screen opens")
    peer = FakePeer.join(port)
    greet(peer)
    poll_state(host, lambda s: s.get("Xname") == "Fake")
    for cell in ("A1", "A2", "A3"):
        since = host.mark()
        peer.send(cell)
        host.event("received", cell, since, timeout=10)
    verdict = host.event("verdict", timeout=10)
    state = answers(o, host)
    o.check("screen", verdict == "Anda Kalah!", 'verdict "%s"' % verdict)
    status = state.get("status") or ""
    o.check("screen", status.startswith("Total skor tidak dapat disimpan ke berkas dvq"),
            'status "%s"' % short(status, 80))
    o.check("kept", score_in(drive) == "4" and os.listdir(drive) == ["dvq"],
            "score file keeps the old total 4, nothing else written")
    o.check("kept", state.get("WR") == "3", "the total shown is the new one (3)")
    listed = "127.0.0.1" in registry.entries()
    o.check("kept", not listed, "the host is not listed: its staging file cannot be written and "
                               "a failed upload is silent (as designed)")
    peer.close()
    ends_as_designed(o, host)


def score_damaged(run, o, content, what):
    drive = run.drive("damaged", content=content)
    player = Player(run, "damaged-%d" % len(content), [], drive)
    o.done = what
    began = time.monotonic()
    player.command("open host Budi")
    state = poll_state(player, lambda s: s.get("screen") == "host", timeout=30)
    took = time.monotonic() - began
    o.check("program", state.get("screen") == "host", "host screen open %.2f s after the command"
            % took)
    expected = ("Berkas skor rusak; salinannya disimpan sebagai dvq.rusak dan total dimulai "
                "dari 0.")
    o.check("screen", state.get("status") == expected, 'status "%s"' % state.get("status"))
    o.check("screen", state.get("WR") == "0", "total 0")
    try:
        with open(os.path.join(drive, "dvq.rusak"), "rb") as f:
            kept = hashlib.sha256(f.read()).digest() == hashlib.sha256(content).digest()
    except OSError:
        kept = False
    o.check("kept", kept, "the old file kept byte for byte as dvq.rusak (%d bytes)" % len(content))
    o.check("kept", score_in(drive) == "0", "dvq is a whole document holding 0")
    ends_as_designed(o, player)


def score_text(run, o):
    score_damaged(run, o, b"dua belas\r\n", "score file edited by hand to the words "
                                           "\"dua belas\"; `open host`")


def score_huge(run, o):
    score_damaged(run, o, b"1" * (10 * 1024 * 1024), "score file replaced by 10 MB of digits; "
                                                    "`open host`")


def sounds_missing(run, o):
    folder = run.folder("program")
    source = os.path.dirname(run.program)
    for name in os.listdir(source):
        path = os.path.join(source, name)
        if name.lower().endswith(".wav") or name.startswith(("tst_", "bench_")):
            continue
        if os.path.isdir(path):
            shutil.copytree(path, os.path.join(folder, name))
        elif name == "dorvala" or name.endswith(".MID"):
            shutil.copy2(path, folder)
    wavs = [n for n in os.listdir(folder) if n.lower().endswith(".wav")]
    registry = Registry(run)
    host, join = start_pair(run, "mute", registry,
                            host_program=os.path.join(folder, "dorvala"))
    o.done = ("the host runs from a copy of the program folder without its %d wave files "
              "(%s); a whole game against a joiner" % (7, "no .wav left" if not wavs else wavs))
    ok = play(host, join, ["A1", "B1", "A2", "C3", "A3"])
    verdict = host.event("verdict", timeout=10)
    cues = set(host.events("cue"))
    state = answers(o, host)
    o.check("screen", ok and verdict == "Anda Menang!", 'host verdict "%s"' % verdict)
    o.check("screen", {"OL", "MeC", "MEI", "WIN"} <= cues,
            "cues %s sounded (silently), no message" % ", ".join(sorted(cues)))
    ends_as_designed(o, host)
    ends_as_designed(o, join)
    o.check("kept", score_in(host.drive) == "1" and score_in(join.drive) == "-1",
            "totals saved: host 1, joiner -1")


def killed_while_saving(run, o, kills=100):
    drive = run.drive("kills", "0")
    port = free_port()
    listener = FakeHostListener(port)
    total = 0
    old = new = 0
    saves = 0
    delays = []
    bad = []
    loaded_wrong = []
    began = time.monotonic()
    for i in range(kills):
        player = Player(run, "kill-%03d" % i, [], drive, {"DORVALA_MATCH_PORT": str(port)})
        player.send("open join Korban")
        peer = listener.accept()
        if peer is None:
            bad.append("%d: never connected" % i)
            player.close()
            continue
        if not wait_until(lambda: peer.got("$"), 10) or not peer.got("$%d" % total):
            loaded_wrong.append("%d: sent %r, file %d" % (i, peer.received[:12], total))
        # Whole games first (each a save), then the killed one.
        games = random.randint(0, 2) + 1
        for game in range(games):
            last = game == games - 1
            for cell in ("A1", "A2"):
                since = player.mark()
                peer.send(cell)
                player.event("received", cell, since, timeout=10)
            since = player.mark()
            sent_at = time.monotonic()
            peer.send("A3")
            if last:
                # Up to the typical time from the move to the verdict's report, which comes
                # right after the save: some kills land before the save, some in it, some after.
                recent = sorted(delays[-30:]) or [0.01]
                time.sleep(random.uniform(0, recent[len(recent) // 2]))
                player.signal(signal.SIGKILL)
                break
            verdict = player.event("verdict", "Anda Kalah!", since, timeout=10)
            delays.append(time.monotonic() - sent_at)
            total -= 1
            saves += 1
            if verdict is None or score_in(drive) != str(total):
                bad.append("%d: after a verdict the file holds %r, not %d" % (i, score_in(drive), total))
            replies = peer.received.count(b"$%d" % total)
            peer.send("X")
            wait_until(lambda: peer.received.count(b"$%d" % total) > replies, 10)
        player.proc.wait(10)
        player.close()
        peer.close()
        found = score_in(drive)
        if found == str(total):
            old += 1
        elif found == str(total - 1):
            new += 1
            total -= 1
            saves += 1
        else:
            bad.append("%d: after the kill the file holds %r (whole: %s), expected %d or %d"
                       % (i, found, found is not None, total, total - 1))
            break
    listener.close()
    took = time.monotonic() - began
    litter = sorted(n for n in os.listdir(drive) if n != "dvq")
    o.done = ("%d times: `open join` against a fake host that sends O on A1, A2, A3 (a lost "
              "game, saved), then restarts; 0-2 whole games, then SIGKILL at a random moment "
              "after the A3 of the last (%.0f s)" % (kills, took))
    o.check("program", not bad and not loaded_wrong,
            "every start loads the total the file holds%s" % (
                "" if not loaded_wrong else ": " + "; ".join(loaded_wrong[:2])))
    o.note("screen", "verdict \"Anda Kalah!\" before each restart (%d saves in all)" % saves)
    o.check("kept", not bad, "after every kill a whole document: the old total %d times, the "
                             "new one %d times; final total %d%s" % (
                                 old, new, total, "" if not bad else ": " + "; ".join(bad[:2])))
    o.check("kept", old > 0 and new > 0, "kills fell before and after the save's end")
    o.note("kept", "left beside it: %s" % (", ".join(litter[:3]) + (" and %d more" % (len(litter) - 3) if len(litter) > 3 else "") if litter else "nothing"))


class LanContext:
    """What the LAN cases (tests/lan) need: a copy of the program that user nobody runs and
    that binds ports 79 and 1009 through its file capability, as the installed package."""

    def __init__(self, run):
        from lan_net import stage_program
        self.work = run.work
        self.logs = run.logs
        if not getattr(run, "lan_program", None):
            run.lan_program = stage_program(os.path.dirname(run.program),
                                            os.path.join(run.work, "lan-program"))
        self.program = run.lan_program


def lan_row(name):
    """A row played on a LAN of network namespaces; it needs root."""
    def row(run, o):
        if os.geteuid() != 0:
            o.done = "(a LAN of network namespaces)"
            o.check("program", False, "needs root: run the table as root")
            return
        sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..",
                                        "tests", "lan"))
        import lan_cases
        dict((case[0], case[2]) for case in lan_cases.CASES)[name](LanContext(run), o)
    return row


ROWS = [
    ("1", "registry server down", registry_down),
    ("2", "registry refusing the login (530)", registry_refuses),
    ("3", "registry hanging mid-listing", registry_hangs),
    ("4", "registry returning 100,000 names", registry_huge),
    ("4b", "registry listing a name of 2 MB", registry_long_name),
    ("4c", "registry listing 20 MB", registry_huge_listing),
    ("5", "peer killed (SIGKILL) mid-move", peer_killed),
    ("5b", "host killed (SIGKILL) mid-move", host_killed),
    ("6", "half-open connection (peer stopped)", half_open),
    ("7", "burst of 10,000 messages from a peer", burst),
    ("8", "10 MB in one message from a peer", huge_message),
    ("9", "match port already taken when hosting", port_taken),
    ("9b", "host ended (SIGTERM) while its registry upload is under way", ended_while_publishing),
    ("9c", "quit while the program is still starting", quit_while_starting),
    ("10", "drive-C folder read-only", read_only_drive),
    ("11", "score file hand-edited to text", score_text),
    ("12", "score file of 10 MB", score_huge),
    ("13", "every sound file missing", sounds_missing),
    ("14", "SIGKILL 100 times during score saves", killed_while_saving),
    ("15", "LAN: the joiner's link cut mid-match (no FIN)", lan_row("cut")),
    ("16", "LAN: the registry's machine gone silent when \"Mulai\" is clicked", lan_row("noreg")),
    ("17", "LAN: a listed host whose machine vanished", lan_row("gone")),
]


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--bin", required=True, help="the folder holding dorvala")
    parser.add_argument("--keep", help="keep every program's output (and folders) here")
    parser.add_argument("--kills", type=int, default=100, help="kills of row 14")
    parser.add_argument("rows", nargs="*", help="row numbers to run (all by default)")
    args = parser.parse_args()

    program = os.path.abspath(os.path.join(args.bin, "dorvala"))
    if not os.access(program, os.X_OK):
        sys.exit("no program at %s" % program)
    if args.keep:
        os.makedirs(args.keep, exist_ok=True)
        work = tempfile.mkdtemp(prefix="faults-", dir=os.path.abspath(args.keep))
    else:
        work = tempfile.mkdtemp(prefix="dorvala-faults-")
    os.chmod(work, 0o755)  # the read-only row runs a program as nobody in here
    logs = os.path.join(work, "logs")
    os.makedirs(logs)
    run = Run(program, work, logs)

    chosen = [row for row in ROWS if not args.rows or row[0] in args.rows]
    outcomes = []
    later = []
    began = time.monotonic()

    def attempt(outcome, step):
        try:
            return step()
        except Exception as error:  # a row that breaks is a failed row, not a lost run
            outcome.check("program", False, "the row broke off: %s" % short(error, 120))
            return None

    def report(outcome):
        print("row %s: %s (%.1f s)" % (outcome.number, "ok" if not outcome.failures else
                                     "FAILED: " + "; ".join(outcome.failures),
                                     time.monotonic() - outcome.began), file=sys.stderr, flush=True)

    try:
        for number, fault, function in chosen:
            if function is killed_while_saving:
                fault = "SIGKILL %d times during score saves" % args.kills
            outcome = Outcome(number, fault)
            print("row %s: %s ..." % (number, fault), file=sys.stderr, flush=True)
            if function is killed_while_saving:
                rest = attempt(outcome, lambda: function(run, outcome, args.kills))
            else:
                rest = attempt(outcome, lambda: function(run, outcome))
            outcomes.append(outcome)
            for player in run.players:
                if not player.keep:
                    player.close()
            if callable(rest):
                # Some faults take their time (a request time-out): the rest of the row is
                # looked at after the other rows.
                later.append((outcome, rest))
                print("row %s: the rest comes at the end" % number, file=sys.stderr, flush=True)
            else:
                report(outcome)
        for outcome, rest in later:
            attempt(outcome, rest)
            report(outcome)
    finally:
        run.cleanup()
        if not args.keep:
            shutil.rmtree(work, ignore_errors=True)

    print("| fault | what was done | program (stayed up / ended as designed) | what the screen "
          "said | nothing lost | ok |")
    print("|---|---|---|---|---|---|")
    for outcome in outcomes:
        print(outcome.markdown())
    print()
    print("%d of %d rows ok; %.0f s" % (sum(not o.failures for o in outcomes), len(outcomes),
                                       time.monotonic() - began))
    return 0 if all(not o.failures for o in outcomes) else 1


if __name__ == "__main__":
    sys.exit(main())
