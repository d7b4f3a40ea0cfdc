"""The router cases: one table (ROWS), each row a router (what miniupnpd speaks and allows, or
no daemon, a CGNAT provider, a hostile fake) and what must then hold. A host runs on `home`
behind the router as user nobody with the address it finds itself; the registry and a
joiner are on the lab's internet (198.19.0.2).
"""

import signal
import time

from router_net import INTERNET, ROUTER_WAN, FakeRouter, Miniupnpd, RouterLab
from lan_cases import PROBE, ends, started
from dorvala_drive import play, wait_until

HOME = "198.18.0.2"
MATCH_PORT, PROBE_PORT = 1009, 79
HIGH_BASE = 40000
TRYING = "Membuka port di router..."
OPEN = "Terbuka ke internet di "
# The host's answer from the router, whatever it is, within this (the program's own bound).
ANSWER_S = 3.0
# The lease the restart rows ask for: renewed every half of it.
SHORT_LEASE_S = 6

# Figures for the report: (row, what, value).
FIGURES = []


def event_time(line):
    return int(line.rsplit(" ", 1)[1]) / 1e9


def router_answer(host, opened_line, timeout=10.0):
    """The first status sentence after "trying": (sentence, seconds after the screen opened).
    A program that does not report its status line yet is read through `state`, untimed."""
    found = host.find(lambda l: l.startswith("status ") and TRYING not in l, 0, timeout)
    if not found:
        state, _ = host.state()
        return (state or {}).get("status"), None
    return host.parse(found[1])[1], event_time(found[1]) - event_time(opened_line)


def linux_host(lab, o=None):  # pylint: disable=unused-argument
    return lab.player(lab.pc, "host", ["--host", "--name", "Budi"])


def open_host(lab, o, env=None, start=linux_host, start_s=60):
    """The host on `home`; (player, its router sentence, seconds to it)."""
    lab.extra_env = env or {}
    host = start(lab)
    opened = host.find(lambda l: l.startswith("screen host "), 0, start_s)
    o.check("program", opened is not None, "the host screen opens")
    if not opened:
        return host, None, None
    said, took = router_answer(host, opened[1])
    return host, said, took


def probe(lab, address, port, word="ping"):
    return lab.wan.python(PROBE, address, str(port), word).strip()


def mapped_ports(lab, daemon):
    """Ports mapped to the host now: from upnpc where the router speaks UPnP, else from the
    router's own rules."""
    if daemon and daemon.upnp:
        return sorted(p for p, address, _ in lab.upnp_list(daemon) if address == HOME)
    return sorted(int(rule.split("dnat ip to %s:" % HOME)[1]) for rule in lab.own_rules()
                  if "dnat ip to %s:" % HOME in rule)


def nothing_left(o, lab, daemon, registry, what):
    gone = wait_until(lambda: not mapped_ports(lab, daemon), 5)
    o.check("kept", gone, "%s: the router holds no mapping of ours (%s)"
            % (what, "none" if gone else mapped_ports(lab, daemon)))
    empty = wait_until(lambda: registry.entries() == [], 5)
    o.check("kept", empty, "%s: the registry holds no entry (%s)" % (what, registry.entries()))


def play_through(lab, o, host, entry, label="join"):
    """A joiner on the internet joins by the registry's name and plays a line with the host."""
    join = lab.player(lab.wan, label, ["--join", entry, "--name", "Sari"])
    if not started(o, join, "Join", "joiner"):
        return join, False
    met = host.event("received", "XSari", timeout=30) is not None
    won = met and play(host, join, ["A1", "B1", "A2", "C3", "A3"]) \
        and host.event("verdict", timeout=10) == "Anda Menang!"
    o.check("screen", won, "the joiner on %s joins \"%s\"; the host wins a line" % (INTERNET,
                                                                              entry))
    return join, won


def reachable(ctx, o, row, start=linux_host, start_s=60):
    with RouterLab(row.name, ctx.program, ctx.work, ctx.logs) as lab:
        registry = lab.registry()
        daemon = Miniupnpd(lab, ctx.miniupnpd, **row.router)
        o.check("program", daemon.start(), "miniupnpd runs on the router (%s)" % row.router)
        high = row.router.get("lowest_port", 1) > MATCH_PORT
        match = MATCH_PORT + HIGH_BASE if high else MATCH_PORT
        probe_port = PROBE_PORT + HIGH_BASE if high else PROBE_PORT
        entry = ROUTER_WAN + ("_%d_%d" % (match, probe_port) if high else "")
        o.done = ("router %s; host on %s; registry and joiner on %s"
                  % (row.what, HOME, INTERNET))
        host, said, took = open_host(lab, o, start=lambda lab: start(lab, o), start_s=start_s)
        o.check("screen", said is not None and said.startswith(OPEN + ROUTER_WAN)
                and took is not None and took <= ANSWER_S,
                "host: \"%s\" %.2f s after it opened" % (said, took or -1))
        if took is not None:
            FIGURES.append((row.name, "host screen open to mapping complete", "%.0f ms"
                            % (took * 1000)))
        o.check("kept", wait_until(lambda: registry.entries() == [entry], 10),
                "registry: %s (expected %s)" % (registry.entries(), entry))
        o.check("kept", mapped_ports(lab, daemon) == sorted([match, probe_port]),
                "the router maps %s" % mapped_ports(lab, daemon))
        answer = probe(lab, ROUTER_WAN, probe_port)
        o.check("screen", answer == "pong", "\"ping\" to %s:%d from the internet: \"%s\""
                % (ROUTER_WAN, probe_port, answer))
        join, _ = play_through(lab, o, host, (registry.entries() or ["none"])[0])
        ends(o, join, "joiner quits")
        ends(o, host, "host quits", limit=30)
        nothing_left(o, lab, daemon, registry, "after the host's exit")


def unreachable(ctx, o, row):
    with RouterLab(row.name, ctx.program, ctx.work, ctx.logs, cgnat=row.cgnat) as lab:
        registry = lab.registry()
        daemon = None
        if row.router is not None:
            daemon = Miniupnpd(lab, ctx.miniupnpd, **row.router)
            o.check("program", daemon.start(), "miniupnpd runs on the router")
        elif row.fake:
            daemon = FakeRouter(lab, row.fake)
        o.done = "router %s; host on %s" % (row.what, HOME)
        host, said, took = open_host(lab, o)
        o.check("screen", said is not None and said.startswith(row.says) and took is not None
                and took <= ANSWER_S,
                "host: \"%s\" %.2f s after it opened" % (said, took or -1))
        o.check("kept", wait_until(lambda: registry.entries() == [HOME], 10),
                "registry: %s (the LAN address, not the router's)" % registry.entries())
        state, answered = host.state(timeout=5)
        o.check("program", state is not None and answered < 1.0,
                "the host screen answers (%.2f s)" % (answered or -1))
        ends(o, host, "host quits")
        o.check("kept", wait_until(lambda: registry.entries() == [], 10),
                "the registry holds no entry after the exit")


def restarted(ctx, o, row):
    with RouterLab(row.name, ctx.program, ctx.work, ctx.logs) as lab:
        registry = lab.registry()
        daemon = Miniupnpd(lab, ctx.miniupnpd, **row.router)
        daemon.start()
        o.done = ("router %s, lease %d s; mid-match miniupnpd is killed, its rules flushed, "
                  "its lease file gone, and it starts again" % (row.what, SHORT_LEASE_S))
        host, said, _ = open_host(lab, o, {"DORVALA_ROUTER_LEASE": str(SHORT_LEASE_S)})
        o.check("screen", (said or "").startswith(OPEN), "host: \"%s\"" % said)
        wait_until(lambda: registry.entries() == [ROUTER_WAN], 10)
        join, won = play_through(lab, o, host, ROUTER_WAN)
        daemon.crash()
        o.check("kept", mapped_ports(lab, None) == [], "the router forgot every mapping")
        began = time.monotonic()
        daemon.start()
        back = wait_until(lambda: mapped_ports(lab, None) == [PROBE_PORT, MATCH_PORT],
                          SHORT_LEASE_S / 2 + 5)
        took = time.monotonic() - began
        o.check("kept", back and took <= SHORT_LEASE_S / 2 + 3,
                "mappings back %.1f s after the restart (renewal every %.0f s)"
                % (took, SHORT_LEASE_S / 2))
        FIGURES.append((row.name, "router restart to mappings back", "%.1f s" % took))
        answer = probe(lab, ROUTER_WAN, PROBE_PORT)
        o.check("screen", answer == "pong", "\"ping\" through the router again: \"%s\"" % answer)
        if won:
            # The board cleared, and the joiner's total answered, before the next line; the
            # joiner moves first (the host made the last move).
            since = join.mark()
            host.command("restart")
            join.event("received", lambda text: text.startswith("$"), since, timeout=10)
            since = join.mark()
            o.check("screen", play(join, host, ["B1", "A1", "B2", "A2", "B3"])
                    and join.event("verdict", since=since, timeout=10) == "Anda Menang!",
                    "the match goes on across the restart: the joiner wins a line")
        ends(o, join, "joiner quits")
        ends(o, host, "host quits")
        nothing_left(o, lab, None, registry, "after the host's exit")


def exit_path(ctx, o, row):
    with RouterLab(row.name, ctx.program, ctx.work, ctx.logs) as lab:
        registry = lab.registry()
        daemon = Miniupnpd(lab, ctx.miniupnpd, **row.router)
        daemon.start()
        o.done = "router %s; the host maps, then %s" % (row.what, row.exit_what)
        host, said, _ = open_host(lab, o)
        o.check("screen", (said or "").startswith(OPEN), "host: \"%s\"" % said)
        wait_until(lambda: registry.entries() == [ROUTER_WAN], 10)
        o.check("kept", len(mapped_ports(lab, daemon)) == 2,
                "mapped: %s" % mapped_ports(lab, daemon))
        began = time.monotonic()
        if row.exit_how == "close":
            host.command("close")
        elif row.exit_how == "title":
            # Closed, then at once the end from the setup screen: the removals are still
            # under way when the program ends.
            host.send("close")
            host.send("quit")
        else:
            host.signal(row.exit_how)
        if row.exit_how != "close":
            try:
                status = host.proc.wait(20)
            except Exception:  # pylint: disable=broad-except
                status = None
            o.check("program", status == 0, "exit status %s after %.1f s"
                    % (status, time.monotonic() - began))
        nothing_left(o, lab, daemon, registry, row.exit_what)
        if row.exit_how == "close":
            ends(o, host, "then quits")


class Row:
    def __init__(self, name, what, run, router=None, says=OPEN, cgnat=False, fake=None,
                 exit_how=None, exit_what=""):
        self.name, self.what, self.run = name, what, run
        self.router, self.says, self.cgnat, self.fake = router, says, cgnat, fake
        self.exit_how, self.exit_what = exit_how, exit_what


UPNP = {"upnp": True, "natpmp": False}
NATPMP = {"upnp": False, "natpmp": True}
BOTH = {"upnp": True, "natpmp": True}
NO_ROUTER = "Tidak ada router yang menjawab"
CGNAT_SAYS = "Router tidak punya alamat internet sendiri"

ROWS = [
    Row("upnp", "UPnP-IGD only", reachable, UPNP),
    Row("natpmp", "NAT-PMP only", reachable, NATPMP),
    Row("high", "allowing ports from 1024 up only", reachable, dict(BOTH, lowest_port=1024)),
    Row("highup", "UPnP-IGD only, allowing ports from 1024 up only", reachable,
        dict(UPNP, lowest_port=1024)),
    Row("norouter", "with no miniupnpd running", unreachable, None, says=NO_ROUTER),
    Row("cgnat", "behind a provider's CGNAT (its WAN side 100.64.0.2)", unreachable, BOTH,
        says=CGNAT_SAYS, cgnat=True),
    Row("badxml", "faked: garbage description, one-byte NAT-PMP replies", unreachable,
        says=NO_ROUTER, fake="badxml"),
    Row("bigxml", "faked: a 32 MB description, NAT-PMP replies from another port", unreachable,
        says=NO_ROUTER, fake="bigxml"),
    Row("slowsoap", "faked: SOAP requests taken and never answered, NAT-PMP replies of the "
        "wrong kind", unreachable, says=NO_ROUTER, fake="slowsoap"),
    Row("badsoap", "faked: malformed SOAP answers, NAT-PMP replies of another version",
        unreachable, says=NO_ROUTER, fake="badsoap"),
    Row("reupnp", "UPnP-IGD only, restarted", restarted, UPNP),
    Row("repmp", "NAT-PMP only, restarted", restarted, NATPMP),
    Row("close", "UPnP and NAT-PMP", exit_path, BOTH, exit_how="close",
        exit_what="the host screen closed"),
    Row("sigint", "UPnP and NAT-PMP", exit_path, BOTH, exit_how=signal.SIGINT,
        exit_what="SIGINT"),
    Row("sigterm", "UPnP and NAT-PMP", exit_path, BOTH, exit_how=signal.SIGTERM,
        exit_what="SIGTERM"),
    Row("title", "UPnP and NAT-PMP", exit_path, BOTH, exit_how="title",
        exit_what="the host screen closed and the program ended from the setup screen"),
    # The same through UPnP alone: its removals run on a worker thread.
    Row("upclose", "UPnP-IGD only", exit_path, UPNP, exit_how="close",
        exit_what="UPnP only: the host screen closed"),
    Row("upterm", "UPnP-IGD only", exit_path, UPNP, exit_how=signal.SIGTERM,
        exit_what="UPnP only: SIGTERM"),
    Row("uptitle", "UPnP-IGD only", exit_path, UPNP, exit_how="title",
        exit_what="UPnP only: closed, then the end from the setup screen"),
]


def case_of(row):
    return lambda ctx, o: row.run(ctx, o, row)


CASES = [(row.name, "router %s" % row.what if not row.exit_what else row.exit_what,
          case_of(row)) for row in ROWS]
