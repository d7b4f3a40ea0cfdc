"""A home router on this one machine, made of network namespaces around the LAN of lan_net.py:
the home LAN (198.18.0.0/24, its switch and the host's machine `home`), the `router` (LAN
side 198.18.0.1, WAN side 198.19.0.1/24) and `wan` (198.19.0.2: "the internet", with the
registry and a joiner). In the CGNAT setting the router's WAN side is 100.64.0.2/24 behind a
`provider` that masquerades once more towards 198.19.0.0/24. The router masquerades towards
the WAN and drops new connections from there unless miniupnpd has mapped them (it adds the
DNAT and forward rules in chains of its own). Nothing here touches this machine's own
interfaces: SSDP and NAT-PMP stay inside the namespaces.

    with RouterLab("upnp", program, work, logs) as lab:
        lab.router_daemon(miniupnpd, upnp=True, natpmp=False).start()
        host = lab.player(lab.home, "host", ["--host", "--name", "Budi"])
"""

import os
import re
import signal
import subprocess
import sys
import time
import uuid

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "lan"))

from lan_net import Lan, Machine, end_inside, ip  # noqa: E402
from dorvala_drive import Registry, wait_until  # noqa: E402

ROUTER_LAN = "198.18.0.1"
WAN = "198.19.0."
ROUTER_WAN = WAN + "1"
INTERNET = WAN + "2"  # the registry's and the joiner's machine
PROVIDER_LAN = "100.64.0.1"
ROUTER_SHARED = "100.64.0.2"
REGISTRY_PORT = 2121

# miniupnpd's own chains (its defaults for nftables), hooked into the router's rules.
RULESET = """
table inet filter {
    chain forward {
        type filter hook forward priority 0; policy drop;
        ct state established,related accept
        iifname "lan0" oifname "wan0" accept
        jump miniupnpd
    }
    chain miniupnpd {
    }
    chain prerouting {
        type nat hook prerouting priority -100; policy accept;
        jump prerouting_miniupnpd
    }
    chain postrouting {
        type nat hook postrouting priority 100; policy accept;
        jump postrouting_miniupnpd
        oifname "wan0" masquerade
    }
    chain prerouting_miniupnpd {
    }
    chain postrouting_miniupnpd {
    }
}
"""
OWN_CHAINS = ("miniupnpd", "prerouting_miniupnpd", "postrouting_miniupnpd")
PROVIDER_RULESET = """
table ip provider {
    chain postrouting {
        type nat hook postrouting priority 100; policy accept;
        oifname "wan0" masquerade
    }
}
"""


class Namespace(Machine):
    """A machine of the lab outside the home LAN's switch: one namespace, its address."""

    def __init__(self, lab, name, address):  # pylint: disable=super-init-not-called
        self.lan = lab
        self.name = name
        self.netns = "%s-%s" % (lab.prefix, name)
        self.address = address
        ip("netns", "add", self.netns)
        ip("-n", self.netns, "link", "set", "lo", "up")


def run(machine, *command, timeout=30):
    """A command run as root on a machine of the lab: its exit status and output."""
    return subprocess.run(machine.wrap() + list(command), stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, timeout=timeout)


def cable(a, a_name, a_address, b, b_name, b_address):
    """A veth between two namespaces, each end with its address (a /24)."""
    ip("-n", a.netns, "link", "add", a_name, "type", "veth", "peer", "name", b_name,
       "netns", b.netns)
    for side, name, address in ((a, a_name, a_address), (b, b_name, b_address)):
        ip("-n", side.netns, "addr", "add", address + "/24", "dev", name)
        ip("-n", side.netns, "link", "set", name, "up")


def nft(machine, ruleset):
    done = subprocess.run(machine.wrap() + ["nft", "-f", "-"], input=ruleset, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if done.returncode != 0:
        raise RuntimeError("nft in %s: %s" % (machine.netns, done.stdout.strip()))


def forwarding(machine):
    run(machine, "sysctl", "-qw", "net.ipv4.ip_forward=1")


class RouterLab(Lan):
    def __init__(self, tag, program, work, logs, cgnat=False):
        super().__init__("r" + tag, program, work, logs)
        self.extra = []
        self.daemons = []
        self.extra_env = {}  # for the programs started next
        try:
            self._build(cgnat)
        except Exception:
            self.close()
            raise

    def _build(self, cgnat):
        self.pc = self.machine("home")  # the host's computer on the home LAN
        ip("-n", self.pc.netns, "route", "add", "default", "via", ROUTER_LAN)
        self.router = self._namespace("router", ROUTER_LAN)
        ip("-n", self.switch, "link", "add", "rt", "type", "veth", "peer", "name", "lan0",
           "netns", self.router.netns)
        ip("-n", self.switch, "link", "set", "rt", "master", "br0", "up")
        ip("-n", self.router.netns, "addr", "add", ROUTER_LAN + "/24", "dev", "lan0")
        ip("-n", self.router.netns, "link", "set", "lan0", "up")
        self.wan = self._namespace("wan", INTERNET)
        if cgnat:
            self.provider = self._namespace("provider", PROVIDER_LAN)
            cable(self.router, "wan0", ROUTER_SHARED, self.provider, "lan0", PROVIDER_LAN)
            cable(self.provider, "wan0", ROUTER_WAN, self.wan, "eth0", INTERNET)
            ip("-n", self.router.netns, "route", "add", "default", "via", PROVIDER_LAN)
            forwarding(self.provider)
            nft(self.provider, PROVIDER_RULESET)
            self.external = ROUTER_SHARED
        else:
            cable(self.router, "wan0", ROUTER_WAN, self.wan, "eth0", INTERNET)
            self.external = ROUTER_WAN
        forwarding(self.router)
        nft(self.router, RULESET)

    def _namespace(self, name, address):
        machine = Namespace(self, name, address)
        self.extra.append(machine)
        return machine

    def registry(self):
        """scripts/registry.py on the internet's machine."""
        server = Registry(self, host=INTERNET, port=REGISTRY_PORT, wrap=self.wan.wrap())
        self.registry_machine = self.wan
        self.registry_url = server.url
        return server

    def environment(self, home, extra):
        env = super().environment(home, dict(self.extra_env, **(extra or {})))
        # The lab's internet is the benchmark range: count it as public.
        env.setdefault("DORVALA_PUBLIC_NETS", WAN + "0/24")
        return env

    def own_rules(self):
        """The rules miniupnpd holds now, as nft lists them: one line each."""
        rules = []
        for chain in OWN_CHAINS:
            listed = run(self.router, "nft", "list", "chain", "inet", "filter", chain).stdout
            rules += [line.strip() for line in listed.splitlines()
                      if "dnat" in line or "accept" in line]
        return rules

    def flush_own_rules(self):
        for chain in OWN_CHAINS:
            run(self.router, "nft", "flush", "chain", "inet", "filter", chain)

    def upnp_list(self, daemon):
        """The router's mappings as `upnpc -l` in the home namespace sees them:
        (external port, internal address, internal port) each. Named by its description's
        address: Debian's upnpc counts 198.19.0.0/16 as reserved and calls the router
        unconnected, then refuses to go on when it has only found it."""
        out = run(self.pc, "upnpc", "-u", daemon.description_url(), "-l", timeout=20).stdout
        return [(int(m.group(1)), m.group(2), int(m.group(3)))
                for m in re.finditer(r"^\s*\d+\s+TCP\s+(\d+)->([\d.]+):(\d+)", out, re.M)]

    def close(self):
        for daemon in self.daemons:
            daemon.stop()
        # Whatever still runs inside (Wine's server, a daemon that forked away) ends with
        # the lab: a namespace that is only unmounted lives on while a process holds it.
        for machine in self.machines + self.extra:
            end_inside(machine.netns)
        super().close()
        for machine in self.extra:
            ip("netns", "del", machine.netns, check=False)


class Miniupnpd:
    """The rebuilt miniupnpd on the router, with a configuration the lab writes."""

    def __init__(self, lab, binary, upnp=True, natpmp=True, lowest_port=1, clean_s=None):
        self.lab = lab
        self.binary = binary
        self.upnp = upnp
        self.folder = lab.folder("miniupnpd")
        self.conf = os.path.join(self.folder, "miniupnpd.conf")
        self.leases = os.path.join(self.folder, "leases")
        self.pidfile = os.path.join(self.folder, "pid")
        self.pid = None
        lines = [
            "ext_ifname=wan0",
            "listening_ip=lan0",
            "ipv6_disable=yes",
            "enable_upnp=%s" % ("yes" if upnp else "no"),
            "enable_natpmp=%s" % ("yes" if natpmp else "no"),
            "secure_mode=yes",
            "system_uptime=no",
            "notify_interval=30",
            "uuid=%s" % uuid.uuid4(),
            "lease_file=%s" % self.leases,
            # Routers commonly refuse the ports below 1024, the internal ones too.
            "allow %d-65535 198.18.0.0/24 %d-65535" % (lowest_port, lowest_port),
            "deny 0-65535 0.0.0.0/0 0-65535",
        ]
        if clean_s:
            lines.append("clean_ruleset_interval=%d" % clean_s)
        with open(self.conf, "w") as f:
            f.write("\n".join(lines) + "\n")
        lab.daemons.append(self)

    def start(self):
        """Started as routers run it: in the background, logging only notices. (In debug
        mode it logs each of the 65535 ports it tries for a refused NAT-PMP request, and is
        deaf for minutes.) Its HTTP port is read back from the sockets it listens on."""
        if os.path.exists(self.pidfile):
            os.remove(self.pidfile)
        run(self.lab.router, self.binary, "-f", self.conf, "-P", self.pidfile)
        self.pid = None
        deadline = time.monotonic() + 10
        while time.monotonic() < deadline and not self.pid:
            try:
                with open(self.pidfile) as f:
                    self.pid = int(f.read().strip() or 0)
            except (OSError, ValueError):
                time.sleep(0.05)
        if self.pid:
            wait_until(lambda: self.http_port() or not self.upnp, 5)
        return self.running()

    def running(self):
        return bool(self.pid) and os.path.exists("/proc/%d" % self.pid)

    def http_port(self):
        out = run(self.lab.router, "ss", "-Hltnp").stdout
        # It binds its HTTP socket to the LAN interface: 0.0.0.0%lan0:PORT.
        found = re.search(r"%%lan0:(\d+)\s.*\"miniupnpd\",pid=%d," % self.pid, out)
        return int(found.group(1)) if found else 0

    def description_url(self):
        return "http://%s:%d/rootDesc.xml" % (ROUTER_LAN, self.http_port())

    def crash(self):
        """Killed outright, its rules flushed and its lease file gone: a router that came
        back from a power cut knows nothing of what it mapped."""
        self.signal(signal.SIGKILL)
        self.lab.flush_own_rules()
        if os.path.exists(self.leases):
            os.remove(self.leases)

    def signal(self, number):
        if self.running():
            os.kill(self.pid, number)
            wait_until(lambda: not self.running(), 5)

    def stop(self):
        self.signal(signal.SIGTERM)
        self.signal(signal.SIGKILL)


class FakeRouter:
    """fake_router.py on the router in one of its hostile modes, instead of miniupnpd."""

    def __init__(self, lab, mode):
        self.lab = lab
        self.upnp = False  # nothing of ours to list: it never maps
        self.proc = subprocess.Popen(lab.router.wrap() + [sys.executable,
                                                          os.path.join(HERE, "fake_router.py"),
                                                          mode],
                                     stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        lab.daemons.append(self)
        if self.proc.stdout.readline().strip() != b"READY":
            raise RuntimeError("the fake router did not start")

    def stop(self):
        if self.proc.poll() is None:
            self.proc.kill()
            self.proc.wait(5)
