"""A LAN on this one machine: machines are network namespaces, each with one veth ("eth0",
198.18.0.x/24) into a bridge that lives in a namespace of its own, so the root namespace's
addressing is never touched and nothing is routed anywhere else. The programs run on the
machines as user nobody with the addresses they find themselves, the registry on a machine
of its own. Needs root (ip netns, setpriv, setcap).

    with Lan("match") as lan:
        registry = lan.registry()
        host = lan.machine("host")
        player = lan.player(host, "host", ["--host", "--name", "Budi"])
"""

import glob
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "scripts"))

from dorvala_drive import NOBODY, Player, Registry, rtf_document  # noqa: E402

SUBNET = "198.18.0."
REGISTRY_PORT = 2121
PREFIX = "dvlan"  # of every namespace made here, then the pid of the process that made it


def ip(*args, check=True):
    return subprocess.run(["ip"] + list(args), check=check, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, text=True).stdout


def end_inside(netns):
    """Ends every process still inside a namespace (a daemon, Wine's server): a namespace
    that is only unmounted lives on while a process holds it."""
    for pid in ip("netns", "pids", netns, check=False).split():
        try:
            os.kill(int(pid), signal.SIGKILL)
        except (OSError, ValueError):
            pass


def remove_stale():
    """Namespaces left by a run that was killed outright (the programs in them end with
    their director: their input closes; anything else is ended here)."""
    for line in ip("netns", "list").splitlines():
        name = line.split()[0] if line.split() else ""
        digits = re.match(PREFIX + r"(\d+)", name)
        if digits and not os.path.exists("/proc/" + digits.group(1)):
            end_inside(name)
            ip("netns", "del", name, check=False)


def stage_program(bin_dir, folder):
    """A copy of the built program (with its sounds, tune and maker page) that user nobody
    can run and that binds ports below 1024 through its file capability, as the installed
    package's does. Returns the program's path."""
    os.makedirs(folder, exist_ok=True)
    os.chmod(folder, 0o755)
    for name in os.listdir(bin_dir):
        path = os.path.join(bin_dir, name)
        if os.path.isdir(path) and name == "maker":
            shutil.copytree(path, os.path.join(folder, name), dirs_exist_ok=True)
        elif name == "dorvala" or name.lower().endswith((".wav", ".mid")):
            shutil.copy2(path, folder)
    program = os.path.join(folder, "dorvala")
    subprocess.run(["setcap", "cap_net_bind_service=+ep", program], check=True)
    for root, dirs, files in os.walk(folder):
        for name in dirs:
            os.chmod(os.path.join(root, name), 0o755)
        for name in files:
            os.chmod(os.path.join(root, name), 0o755 if name == "dorvala" else 0o644)
    return program


class Machine:
    def __init__(self, lan, name, number):
        self.lan = lan
        self.name = name
        self.netns = "%s-%s" % (lan.prefix, name)
        self.address = SUBNET + str(number)
        self.port = "m%d" % number  # its end on the bridge, in the switch's namespace
        ip("netns", "add", self.netns)
        ip("-n", lan.switch, "link", "add", self.port, "type", "veth", "peer", "name", "eth0",
           "netns", self.netns)
        ip("-n", lan.switch, "link", "set", self.port, "master", "br0", "up")
        ip("-n", self.netns, "addr", "add", self.address + "/24", "dev", "eth0")
        ip("-n", self.netns, "link", "set", "lo", "up")
        ip("-n", self.netns, "link", "set", "eth0", "up")

    def wrap(self):
        return ["ip", "netns", "exec", self.netns]

    def python(self, code, *args, timeout=30):
        """A short Python program run as root on this machine; its standard output."""
        return subprocess.run(self.wrap() + ["/usr/bin/python3", "-c", code] + list(args),
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                              timeout=timeout).stdout

    def mac(self):
        out = ip("-n", self.netns, "-o", "link", "show", "eth0")
        return out.split("link/ether ")[1].split()[0]

    def cut(self):
        """The machine's cable pulled: its link goes down, nothing is said to anyone."""
        ip("-n", self.netns, "link", "set", "eth0", "down")

    def vanish(self):
        """The machine is gone without a trace: every other machine still knows its hardware
        address (so no failed address lookup answers them either), and its link is down:
        whatever is sent to it disappears."""
        for other in self.lan.machines:
            if other is not self:
                ip("-n", other.netns, "neigh", "replace", self.address, "lladdr", self.mac(),
                   "dev", "eth0", "nud", "permanent")
        self.cut()


class Lan:
    def __init__(self, tag, program, work, logs):
        self.prefix = "%s%d%s" % (PREFIX, os.getpid(), tag[:6])
        self.switch = self.prefix + "-sw"
        self.program = program
        self.work = work
        self.logs = logs
        self.players = []
        self.servers = []
        self.machines = []
        self.registry_machine = None
        self.registry_url = None
        ip("netns", "add", self.switch)
        ip("-n", self.switch, "link", "add", "br0", "type", "bridge")
        ip("-n", self.switch, "link", "set", "br0", "up")

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def machine(self, name):
        machine = Machine(self, name, 2 + len(self.machines))
        self.machines.append(machine)
        return machine

    def registry(self):
        """scripts/registry.py on a machine of its own."""
        self.registry_machine = self.machine("ftp")
        server = Registry(self, host=self.registry_machine.address, port=REGISTRY_PORT,
                          wrap=self.registry_machine.wrap())
        self.registry_url = server.url
        return server

    def folder(self, name):
        return tempfile.mkdtemp(prefix=name + "-", dir=self.work)

    def home(self, name, total=None):
        """A home folder of user nobody's; with `total`, a score file holding it."""
        home = self.folder("home-" + name)
        if total is not None:
            drive = os.path.join(home, ".local", "share", "Pobrek", "dorvala", "C")
            os.makedirs(drive)
            with open(os.path.join(drive, "dvq"), "wb") as f:
                f.write(rtf_document(total))
        for root, dirs, files in os.walk(home):
            for entry in [root] + [os.path.join(root, name) for name in dirs + files]:
                os.chown(entry, NOBODY, NOBODY)
        os.chmod(home, 0o700)
        return home

    def environment(self, home, extra):
        # As a player's session has it: no address given, the game's own ports.
        env = {
            "PATH": "/usr/bin:/bin",
            "HOME": home,
            "LANG": "C.UTF-8",
            "QT_QPA_PLATFORM": "offscreen",
            "XDG_RUNTIME_DIR": home,
        }
        if self.registry_url:
            env["DORVALA_FTP_URL"] = self.registry_url
        env.update(extra or {})
        return env

    def player(self, machine, label, args, total=None):
        """The program on `machine` as user nobody, its home folder fresh."""
        return Player(self, "%s-%s" % (self.prefix, label), args, self.home(label, total),
                      as_nobody=True, wrap=machine.wrap())

    @staticmethod
    def drive_c(player):
        found = glob.glob(os.path.join(player.drive, ".local", "share", "*", "*", "C"))
        return found[0] if found else os.path.join(player.drive, "C")

    def close(self):
        for player in self.players:
            player.close()
        for server in self.servers:
            server.stop()
        for machine in self.machines:
            ip("netns", "del", machine.netns, check=False)
        ip("netns", "del", self.switch, check=False)
