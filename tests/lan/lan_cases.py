"""The cases played on a LAN of network namespaces (lan_net.py): real programs as user nobody
on machines of their own, with the addresses they find themselves. Each case takes a context
(program, work folder, logs folder) and an Outcome whose three columns it fills: did the
programs stay up or end as designed, what did the screens say, was anything lost.
"""

import os
import time

from lan_net import Lan
from dorvala_drive import BUSY_BOX, GONE, play, poll_state, score_in, short, shown, wait_until

PROBE_PORT = 79
# TCP keep-alive of the match socket: 30 s of silence, then three probes 10 s apart.
KEEP_ALIVE_S = 60
# Connect time-outs: the registry's transfers, and the joiner's match socket.
REGISTRY_CONNECT_S = 5
JOIN_CONNECT_S = 10

# Sends a word to a probe port and prints the answer ("" when the peer closes without one,
# "!Error" when it cannot be reached or says nothing in time).
PROBE = """
import socket, sys
address, port, word = sys.argv[1], int(sys.argv[2]), sys.argv[3]
try:
    with socket.create_connection((address, port), timeout=3) as s:
        s.sendall(word.encode())
        s.settimeout(3)
        print(s.recv(100).decode("latin-1"))
except OSError as error:
    print("!" + type(error).__name__)
"""


def ends(o, player, what, limit=20.0):
    began = time.monotonic()
    status = player.quit(timeout=30)
    took = time.monotonic() - began
    o.check("program", status == 0 and took < limit,
            "%s: exit %s after %.1f s" % (what, status, took))


def listed(registry, address, timeout=30.0):
    return wait_until(lambda: address in registry.entries(), timeout)


def scores(*players):
    return [score_in(Lan.drive_c(p)) for p in players]


def started(o, player, screen, what):
    opened = player.event("screen", screen, timeout=60)
    o.check("program", opened is not None, "%s: the %s screen opens" % (what, screen))
    return opened is not None


def match_across_machines(ctx, o):
    with Lan("match", ctx.program, ctx.work, ctx.logs) as lan:
        registry = lan.registry()
        h, j = lan.machine("host"), lan.machine("join")
        o.done = ("host Renée (total 5) on %s, joiner Zoë€ (total 2) on %s, registry on %s; "
                  "the joiner joins the address listed; chat both ways; a line for the host, "
                  "a restart, a line for the joiner, a restart, the host's plus pattern"
                  % (h.address, j.address, registry.url.split("@")[1].rstrip("/")))
        host = lan.player(h, "host", ["--host", "--name", "Renée"], total="5")
        if not started(o, host, "host", "host"):
            return
        o.check("kept", listed(registry, h.address) and registry.entries() == [h.address],
                "the host published the address it found: %s" % registry.entries())
        address = (registry.entries() or ["none"])[0]
        join = lan.player(j, "join", ["--join", address, "--name", "Zoë€"], total="2")
        if not started(o, join, "Join", "joiner"):
            return
        met = host.event("received", "XZoë€", timeout=30) is not None \
            and join.event("received", "ORenée", timeout=10) is not None
        state = poll_state(join, lambda s: address in (s.get("HO") or {}).get("items", []))
        o.check("screen", address in (state.get("HO") or {}).get("items", []),
                "the joiner's host list shows %s" % address)
        o.check("screen", met, "names across the wire: Renée and Zoë€")

        chats = [(host, join, "Café à 5 €, Zoë?"), (join, host, "Oké, é € è!")]
        for sender, receiver, text in chats:
            since = receiver.mark()
            sender.command("chat " + text)
            o.check("screen", receiver.event("received", "msg: " + text, since, 10) is not None,
                    "chat \"%s\" arrives as typed" % text)

        games = [
            (host, join, ["A1", "B1", "A2", "C3", "A3"], "Anda Menang!", "Anda Kalah!", "6", "1"),
            (join, host, ["B1", "A1", "B2", "A2", "B3"], "Anda Kalah!", "Anda Menang!", "5", "2"),
            (host, join, ["A2", "A1", "C2", "C1", "B1", "C3", "B3", "A3", "B2"],
             "Anda Menang! Bonus!! +Triple Score", "Renée Melakukan +Triple Score", "8", "2"),
        ]
        for number, (first, second, cells, host_says, join_says, host_total, join_total) \
                in enumerate(games, 1):
            if number > 1:
                # As players do: the next move waits until the joiner's total has been
                # answered (there is no framing: a move close behind that answer would be
                # read together with it).
                since = join.mark()
                host.command("restart")
                join.event("received", "X", since, timeout=10)
                join.event("received", lambda text: text.startswith("$"), since, timeout=10)
            marks = host.mark(), join.mark()
            moved = play(first, second, cells)
            verdicts = (host.event("verdict", since=marks[0], timeout=10),
                        join.event("verdict", since=marks[1], timeout=10))
            o.check("screen", moved and verdicts == (host_says, join_says),
                    "game %d: host \"%s\", joiner \"%s\"" % ((number,) + verdicts))
            expected = [host_total, join_total]
            saved = wait_until(lambda: scores(host, join) == expected, 5)
            o.check("kept", saved, "game %d: score files %s (expected %s)"
                    % (number, "/".join(map(str, scores(host, join))), "/".join(expected)))
        host_state, _ = host.state()
        join_state, _ = join.state()
        o.check("screen", (host_state or {}).get("WRL2") == "2"
                and (join_state or {}).get("WRL2") == "8",
                "each shows the other's total: host sees %s, joiner sees %s"
                % ((host_state or {}).get("WRL2"), (join_state or {}).get("WRL2")))
        ends(o, host, "host quits")
        ends(o, join, "joiner quits")
        o.check("kept", registry.entries() == [], "the host's entry withdrawn at its exit")
        o.check("kept", scores(host, join) == ["8", "2"], "score files 8 and 2 at the end")


def probing(ctx, o):
    with Lan("probe", ctx.program, ctx.work, ctx.logs) as lan:
        registry = lan.registry()
        a, b, c, d = (lan.machine(n) for n in ("hosta", "hostb", "join", "third"))
        o.done = ("hosts on %s and %s, a joiner's lobby on %s list and probe each other; then "
                  "\"ping\" to each from %s, and \"pong\" from there to the joiner"
                  % (a.address, b.address, c.address, d.address))
        host_a = lan.player(a, "hosta", ["--host", "--name", "Ana"])
        started(o, host_a, "host", "first host")
        listed(registry, a.address)
        host_b = lan.player(b, "hostb", ["--host", "--name", "Beni"])
        started(o, host_b, "host", "second host")
        listed(registry, b.address)
        join = lan.player(c, "join", ["--join", a.address, "--name", "Caca"])
        started(o, join, "Join", "joiner")
        both = {a.address, b.address}
        state = poll_state(join, lambda s: both <= set((s.get("HO") or {}).get("items", [])),
                           timeout=30)
        items = (state.get("HO") or {}).get("items", [])
        o.check("screen", both <= set(items), "the joiner lists both hosts: %s" % items)
        time.sleep(2.0)  # every lobby's probes have gone out

        answers = {m.address: d.python(PROBE, m.address, str(PROBE_PORT), "ping").strip()
                   for m in (a, b, c)}
        o.check("kept", all(v == "pong" for v in answers.values()),
                "after the lobbies' probes every responder answers \"ping\": %s"
                % ", ".join("%s %s" % (k, v or "nothing") for k, v in answers.items()))

        before = len(items)
        d.python(PROBE, c.address, str(PROBE_PORT), "pong")
        state = poll_state(join, lambda s: (s.get("HO") or {}).get("count", 0) > before)
        items = (state.get("HO") or {}).get("items", [])
        o.check("screen", items[before:] == [d.address],
                "\"pong\" from %s adds it to the joiner's host list: %s" % (d.address, items))
        for player, what in ((host_a, "first host"), (host_b, "second host"), (join, "joiner")):
            ends(o, player, what + " quits")
        o.check("kept", registry.entries() == [], "both entries withdrawn")


def link_cut(ctx, o):
    with Lan("cut", ctx.program, ctx.work, ctx.logs) as lan:
        registry = lan.registry()
        h, j = lan.machine("host"), lan.machine("join")
        o.done = ("host (total 5) on %s and joiner (total 2) on %s play A1, B1; then the "
                  "joiner's link goes down (no FIN, no RST)" % (h.address, j.address))
        host = lan.player(h, "host", ["--host", "--name", "Budi"], total="5")
        started(o, host, "host", "host")
        listed(registry, h.address)
        join = lan.player(j, "join", ["--join", h.address, "--name", "Sari"], total="2")
        started(o, join, "Join", "joiner")
        met = host.event("received", "XSari", timeout=30) is not None
        moved = met and play(host, join, ["A1", "B1"])
        o.check("program", moved, "the two meet and play A1, B1")
        cut_at = time.monotonic()
        j.cut()
        state = poll_state(host, lambda s: shown(s, "infox") == GONE, timeout=KEEP_ALIVE_S + 30)
        took = time.monotonic() - cut_at
        o.check("screen", shown(state, "infox") == GONE and took <= KEEP_ALIVE_S + 15,
                "host: \"%s\" %.0f s after the cut (keep-alive %d s)"
                % (shown(state, "infox"), took, KEEP_ALIVE_S))
        o.check("screen", not state.get("send") and not state.get("restart"),
                "host: chat and restart disabled")
        join_state = poll_state(join, lambda s: shown(s, "infox") == GONE, timeout=15)
        o.check("screen", shown(join_state, "infox") == GONE,
                "joiner, its own link down: \"%s\"" % shown(join_state, "infox"))
        o.check("kept", scores(host, join) == ["5", "2"],
                "score files still 5 and 2 (%s)" % "/".join(map(str, scores(host, join))))
        ends(o, host, "host quits")
        o.check("kept", registry.entries() == [], "the host's entry withdrawn at its exit")
        ends(o, join, "joiner quits")


def registry_unreachable(ctx, o):
    with Lan("noreg", ctx.program, ctx.work, ctx.logs) as lan:
        registry = lan.registry()
        p = lan.machine("player")
        o.done = ("the registry's machine %s vanishes (link down, its hardware address still "
                  "known: no answer at all); `--host` on %s" % (registry.url.split("@")[1]
                                                               .rstrip("/"), p.address))
        lan.registry_machine.vanish()
        began = time.monotonic()
        player = lan.player(p, "player", ["--host", "--name", "Budi"], total="5")
        box = player.event("box", timeout=30)
        took = time.monotonic() - began
        state, _ = player.state()
        state = state or {}
        o.check("screen", box == BUSY_BOX and REGISTRY_CONNECT_S - 0.5 <= took <= 15,
                "box \"%s\" %.1f s after the start (connect time-out %d s)"
                % (short(box or "none", 60), took, REGISTRY_CONNECT_S))
        o.check("screen", state.get("screens") == ["openi"],
                "the title screen waits for the OK (shown: %s)" % ", ".join(state.get("screens") or ["-"]))
        o.check("kept", player.events("screen") == [], "no match screen before the OK")
        player.command("dismiss")
        o.check("screen", player.event("screen", "host", timeout=10) is not None,
                "after the OK the host screen opens all the same")
        ends(o, player, "quit", limit=16.0)
        o.check("kept", scores(player) == ["5"], "score file still 5")


SYSTEM_SETTINGS = "/etc/xdg/Pobrek/dorvala.conf"


def system_registry(ctx, o):
    """An administrator names the registry once, in the system-wide file; players set nothing."""
    kept = open(SYSTEM_SETTINGS, "rb").read() if os.path.exists(SYSTEM_SETTINGS) else None
    folder = os.path.dirname(SYSTEM_SETTINGS)
    made_folder = not os.path.isdir(folder)
    try:
        with Lan("sysreg", ctx.program, ctx.work, ctx.logs) as lan:
            registry = lan.registry()
            url, lan.registry_url = lan.registry_url, None  # no DORVALA_FTP_URL for anybody
            os.makedirs(folder, exist_ok=True)
            with open(SYSTEM_SETTINGS, "w") as f:
                f.write("[registry]\nurl=%s\n" % url)
            h = lan.machine("host")
            o.done = ("only %s names the registry (%s); `--host` as nobody on %s with no "
                      "settings of its own" % (SYSTEM_SETTINGS, url, h.address))
            host = lan.player(h, "host", ["--host", "--name", "Budi"])
            if not started(o, host, "host", "host"):
                return
            o.check("kept", listed(registry, h.address),
                    "the host published itself in that registry: %s" % registry.entries())
            ends(o, host, "host quits")
            o.check("kept", wait_until(lambda: h.address not in registry.entries(), 10),
                    "and withdrew its entry at its exit")
    finally:
        if kept is None:
            if os.path.exists(SYSTEM_SETTINGS):
                os.remove(SYSTEM_SETTINGS)
            if made_folder:
                os.rmdir(folder)
        else:
            with open(SYSTEM_SETTINGS, "wb") as f:
                f.write(kept)


def host_vanished(ctx, o):
    with Lan("gone", ctx.program, ctx.work, ctx.logs) as lan:
        registry = lan.registry()
        h, j = lan.machine("host"), lan.machine("join")
        o.done = ("a host on %s publishes, then its machine vanishes; a joiner on %s lists it "
                  "and tries it" % (h.address, j.address))
        host = lan.player(h, "host", ["--host", "--name", "Budi"])
        started(o, host, "host", "host")
        listed(registry, h.address)
        h.vanish()
        join = lan.player(j, "join", ["--join", h.address, "--name", "Sari"], total="2")
        began = time.monotonic()
        started(o, join, "Join", "joiner")
        state = poll_state(join, lambda s: (shown(s, "infox") or "").startswith("Tidak dapat"),
                           timeout=JOIN_CONNECT_S + 20)
        took = time.monotonic() - began
        said = shown(state, "infox") or ""
        o.check("screen", h.address in (state.get("HO") or {}).get("items", []),
                "the vanished host is still listed (as designed)")
        o.check("screen", said.startswith("Tidak dapat terhubung ke %s" % h.address),
                "joiner: \"%s\" %.0f s after its start (connect time-out %d s)"
                % (said, took, JOIN_CONNECT_S))
        o.check("screen", not state.get("connected"), "the joiner's board stays locked")
        ends(o, join, "joiner quits")
        o.check("kept", scores(join) == ["2"], "joiner's score file still 2")
        o.check("kept", registry.entries() == [h.address], "the entry stays listed")
        ends(o, host, "the vanished host quits (its withdrawal cannot reach the registry)")


CASES = [
    ("match", "a match between two machines, listed through the registry", match_across_machines),
    ("probe", "probing across machines", probing),
    ("cut", "the joiner's link cut mid-match", link_cut),
    ("noreg", "the registry's machine unreachable at \"Mulai\"", registry_unreachable),
    ("sysreg", "a registry named only in the system-wide settings file", system_registry),
    ("gone", "a listed host whose machine vanished", host_vanished),
]
