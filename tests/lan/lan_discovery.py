"""LAN cases of hosts found by themselves: with no registry anywhere, a host's announcements
reach another machine's lobby; hostile datagrams and a flood from a third machine.
"""

import ipaddress
import signal
import struct
import time

from lan_cases import ends, started
from dorvala_drive import play, poll_state

LAN_PORT = 41009
FOUND_WITHIN_S = 3.0
GONE_WITHIN_S = 5.0
FLOOD_RATE = 10000
FLOOD_S = 5.0


def datagram(kind, match, probe, address, name):
    raw = name.encode()
    return (b"DRVL\x02" + bytes([kind])
            + struct.pack(">HHIIHHB", match, probe, int(ipaddress.IPv4Address(address)), 0, 0, 0, len(raw))
            + raw)


# Sends datagrams given in hex, from a source address, to the LAN's broadcast address, every
# round in a burst, for a number of seconds: "SOURCE SECONDS PER_SECOND HEX..."
SEND = """
import socket, sys, time
source, seconds, rate = sys.argv[1], float(sys.argv[2]), int(sys.argv[3])
port, target = int(sys.argv[4]), sys.argv[5]
payloads = [bytes.fromhex(h) for h in sys.argv[6:]]
s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
s.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1)
s.bind((source, 0))
burst = max(1, rate // 100)
sent, i, began = 0, 0, time.monotonic()
while time.monotonic() - began < seconds:
    for _ in range(burst):
        try:
            s.sendto(payloads[i % len(payloads)], (target, port))
            sent += 1
        except OSError:
            pass
        i += 1
    time.sleep(max(0.0, began + sent / rate - time.monotonic()))
print(sent)
"""


def send(machine, source, seconds, rate, payloads, target="198.18.0.255"):
    out = machine.python(SEND, source, str(seconds), str(rate), str(LAN_PORT), target,
                         *[p.hex() for p in payloads], timeout=seconds + 30)
    return int(out.strip() or 0)


def hosts_of(state):
    return (state.get("HO") or {}).get("items", [])


def watcher(lan, machine, label):
    """A player on `machine` whose setup screen stays loaded (its join of its own machine
    fails at once)."""
    return lan.player(machine, label, ["--join", "127.0.0.1", "--name", "Sari"])


def listed_within(player, address, present, limit):
    began = time.monotonic()
    state = poll_state(player, lambda s: (address in hosts_of(s)) == present, limit + 5)
    return (address in hosts_of(state)) == present, time.monotonic() - began, state


def found_on_the_lan(ctx, o):
    from lan_net import Lan
    with Lan("find", ctx.program, ctx.work, ctx.logs) as lan:
        h, j = lan.machine("host"), lan.machine("join")
        o.done = ("no registry anywhere; host Renée on %s; the lobby of a joiner on %s finds "
                  "it, the joiner joins the entry it lists and they play a line; the host "
                  "closes; a second host is killed" % (h.address, j.address))
        watch = watcher(lan, j, "watch")
        if not started(o, watch, "Join", "watcher"):
            return
        host = lan.player(h, "host", ["--host", "--name", "Renée"])
        if not started(o, host, "host", "host"):
            return
        ok, took, state = listed_within(watch, h.address, True, FOUND_WITHIN_S)
        o.check("screen", ok and took <= FOUND_WITHIN_S,
                "the joiner's host list shows %s %.1f s after the host opened (at most %.0f s): %s"
                % (h.address, took, FOUND_WITHIN_S, hosts_of(state)))
        ends(o, watch, "the first joiner quits")

        entry = h.address if ok else "none"
        join = lan.player(j, "join", ["--join", entry, "--name", "Zoë"])
        if not started(o, join, "Join", "joiner"):
            return
        met = host.event("received", "XZoë", timeout=30) is not None
        o.check("screen", met, "the joiner reached the host at the address it found")
        marks = host.mark(), join.mark()
        moved = met and play(host, join, ["A1", "B1", "A2", "C3", "A3"])
        verdicts = (host.event("verdict", since=marks[0], timeout=10),
                    join.event("verdict", since=marks[1], timeout=10))
        o.check("screen", moved and verdicts == ("Anda Menang!", "Anda Kalah!"),
                "a line for the host: host \"%s\", joiner \"%s\"" % verdicts)

        # Closing the host screen says goodbye: the joiner's list drops it at once.
        since = host.mark()
        host.command("close")
        ok, took, state = listed_within(join, h.address, False, 1.0)
        o.check("screen", ok and took <= 1.0,
                "host screen closed: gone from the joiner's list after %.1f s: %s"
                % (took, hosts_of(state)))
        o.check("program", host.event("screen", "login", since, timeout=5) is not None
                or host.alive(), "the host is back at its setup screen")
        ends(o, host, "host quits")

        # A host that goes without a word is forgotten within the time.
        second = lan.machine("other")
        silent = lan.player(second, "silent", ["--host", "--name", "Budi"])
        if not started(o, silent, "host", "second host"):
            return
        ok, took, _ = listed_within(join, second.address, True, FOUND_WITHIN_S)
        o.check("screen", ok, "a second host %s listed after %.1f s" % (second.address, took))
        silent.signal(signal.SIGKILL)
        ok, took, state = listed_within(join, second.address, False, GONE_WITHIN_S)
        o.check("screen", ok and took <= GONE_WITHIN_S,
                "killed host gone after %.1f s (at most %.0f s): %s"
                % (took, GONE_WITHIN_S, hosts_of(state)))
        ends(o, join, "joiner quits")


def hostile_datagrams(ctx, o):
    from lan_net import Lan
    with Lan("hostile", ctx.program, ctx.work, ctx.logs) as lan:
        h, j, m = lan.machine("host"), lan.machine("join"), lan.machine("mallory")
        outside = "198.19.0.7"
        o.done = ("no registry; host on %s, a joiner's lobby on %s; from %s: garbage, oversized, forged "
                  "(another's address, a goodbye in the host's name), from %s outside the "
                  "subnet, then %d datagrams a second for %.0f s"
                  % (h.address, j.address, m.address, outside, FLOOD_RATE, FLOOD_S))
        watch = watcher(lan, j, "watch")
        host = lan.player(h, "host", ["--host", "--name", "Renée"])
        if not (started(o, watch, "Join", "watcher") and started(o, host, "host", "host")):
            return
        ok, took, _ = listed_within(watch, h.address, True, FOUND_WITHIN_S)
        o.check("screen", ok, "host listed after %.1f s" % took)

        # An address outside the LAN's subnet, on the same wire.
        from lan_net import ip
        ip("-n", m.netns, "addr", "add", outside + "/24", "dev", "eth0")
        hostile = [
            b"\x00" * 40, b"DRVL", b"DRVL\x01\x01garbage", bytes(range(256)) * 6,
            datagram(1, 1009, 79, m.address, "x" * 200),                 # oversized
            datagram(1, 1009, 79, "198.18.0.50", "<b>Palsu</b>"),        # names another
            datagram(2, 1009, 79, h.address, ""),                        # goodbye in its name
        ]
        sent = send(m, m.address, 2.0, 200, hostile)
        sent += send(m, outside, 2.0, 100, [datagram(1, 1009, 79, outside, "Luar")],
                     target="198.18.0.255")
        state = poll_state(watch, lambda s: False, 1.0)
        shown = hosts_of(state)
        o.check("screen", shown == [h.address],
                "after %d hostile datagrams the list is only the host: %s" % (sent, shown))

        # The flood: garbage and forged goodbyes at full rate; the window keeps answering.
        times = []
        began = time.monotonic()
        import threading
        flood = threading.Thread(target=lambda: times.append(send(
            m, m.address, FLOOD_S, FLOOD_RATE,
            [datagram(2, 1009, 79, h.address, ""), b"\xff" * 60,
             datagram(1, 1009, 79, m.address, "Banjir")[:-1]])))
        flood.start()
        answers = []
        while flood.is_alive():
            state, seconds = watch.state(timeout=5)
            answers.append(seconds if seconds is not None else 99.0)
            if state is not None and h.address not in hosts_of(state):
                answers.append(99.0)
            time.sleep(0.1)
        flood.join()
        flooded = times[0] if times else 0
        worst = max(answers) if answers else 99.0
        o.check("program", watch.alive() and host.alive() and worst < 0.5,
                "%d datagrams in %.1f s; the lobby's program answered %d state requests, the "
                "slowest in %.0f ms, and kept the host listed throughout"
                % (flooded, time.monotonic() - began, len(answers), worst * 1000))
        ends(o, watch, "the joiner quits after the flood")
        ends(o, host, "host quits")


CASES = [
    ("lanfind", "a host found on the LAN with no registry anywhere", found_on_the_lan),
    ("lanhostile", "hostile and flood datagrams from a third machine", hostile_datagrams),
]
