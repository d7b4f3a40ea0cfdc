#!/usr/bin/python3
"""The lobby's registry: a small FTP server on one folder, for local play, a LAN or a
server (installed as dorvala-registry), and for tests.

Account "dorvala", password "418526", full rights on --root. Prints "READY <port>" on
stdout once it listens (useful with --port 0, which takes a free port) and exits cleanly on
SIGTERM or SIGINT.

Data connections: EPSV replies carry a port only, so clients reach the address they dialled.
PASV replies carry the address the client reached this server on, which is right on a LAN;
behind NAT, --masquerade gives the public address instead. --passive-ports fixes the ports
data connections use, for a firewall.

Run it with Debian's /usr/bin/python3 (python3-pyftpdlib); other interpreters on PATH may
lack the module.
"""

import argparse
import logging
import os
import signal
import sys

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import FTPHandler
from pyftpdlib.servers import FTPServer

ACCOUNT = "dorvala"
PASSWORD = "418526"


def port_range(text):
    low, sep, high = text.partition("-")
    try:
        low, high = int(low), int(high if sep else low)
    except ValueError:
        raise argparse.ArgumentTypeError("expected LOW-HIGH, e.g. 60000-60099")
    if not 1 <= low <= high <= 65535:
        raise argparse.ArgumentTypeError("ports must satisfy 1 <= LOW <= HIGH <= 65535")
    return list(range(low, high + 1))


def main():
    parser = argparse.ArgumentParser(description="FTP registry for Dorvala Online")
    parser.add_argument("--host", default="127.0.0.1")
    parser.add_argument("--port", type=int, default=2121, help="0 takes a free port")
    parser.add_argument("--root", default=".", help="folder holding the registry entries")
    parser.add_argument("--passive-ports", metavar="LOW-HIGH", type=port_range,
                        help="ports for data connections, e.g. 60000-60099 (default: any)")
    parser.add_argument("--masquerade", metavar="ADDRESS",
                        help="address announced in PASV replies (a server behind NAT)")
    parser.add_argument("--verbose", action="store_true", help="log every command on stderr")
    parser.add_argument("--exit-with-parent", action="store_true",
                        help="stop when the process that started it is gone (tests)")
    args = parser.parse_args()

    root = os.path.abspath(args.root)
    os.makedirs(root, exist_ok=True)

    logging.basicConfig(stream=sys.stderr,
                        level=logging.INFO if args.verbose else logging.WARNING)

    authorizer = DummyAuthorizer()
    authorizer.add_user(ACCOUNT, PASSWORD, root, perm="elradfmwMT")

    handler = FTPHandler
    handler.authorizer = authorizer
    handler.banner = "Dorvala registry ready."
    # Logins with a wrong password should fail quickly in tests, not after pyftpdlib's
    # default three-second penalty.
    handler.auth_failed_timeout = 0.1
    handler.passive_ports = args.passive_ports
    handler.masquerade_address = args.masquerade

    try:
        server = FTPServer((args.host, args.port), handler)
    except OSError as error:
        parser.exit(1, "%s: cannot listen on %s port %d: %s\n"
                    % (parser.prog, args.host, args.port, error.strerror or error))
    port = server.socket.getsockname()[1]

    def stop(_signum, _frame):
        raise SystemExit(0)

    signal.signal(signal.SIGTERM, stop)
    signal.signal(signal.SIGINT, stop)

    if args.exit_with_parent:
        # A test program that crashes must not leave its server behind.
        parent = os.getppid()

        def check_parent():
            if os.getppid() != parent:
                os.kill(os.getpid(), signal.SIGTERM)

        server.ioloop.call_every(1.0, check_parent)

    print("READY %d" % port, flush=True)
    # handle_exit closes every session when SystemExit arrives from the handler above; the
    # time-out lets scheduled checks run while nobody connects.
    server.serve_forever(timeout=1.0, handle_exit=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
