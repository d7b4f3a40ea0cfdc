#!/usr/bin/python3
"""Runs the LAN cases (lan_cases.py) and prints a line per case, a Markdown table, and
"N passed, M failed". Needs root. scripts/lan.sh builds and stages the program first.

    lan_tests.py --program /usr/bin/dorvala          the installed package
    lan_tests.py --stage build/bin                   a copy of the build, with the capability
    lan_tests.py --stage build/bin match cut         some cases only
"""

import argparse
import os
import shutil
import signal
import sys
import tempfile
import time

from lan_cases import CASES as REGISTRY_CASES
from lan_discovery import CASES as DISCOVERY_CASES
from lan_wine import CASES as WINE_CASES
from lan_net import remove_stale, stage_program
from dorvala_drive import Outcome

CASES = REGISTRY_CASES + DISCOVERY_CASES + WINE_CASES


class Context:
    def __init__(self, program, work):
        self.program = program
        self.work = work
        self.logs = os.path.join(work, "logs")
        os.makedirs(self.logs, exist_ok=True)


def run_case(ctx, number, name, what, case):
    outcome = Outcome(number, what)
    print("case %s (%s) ..." % (name, what), file=sys.stderr, flush=True)
    try:
        case(ctx, outcome)
    except Exception as error:  # a case that breaks is a failed case, not a lost run
        outcome.check("program", False, "the case broke off: %s" % error)
    print("case %s: %s (%.0f s)" % (name, "ok" if not outcome.failures else
                                   "FAILED: " + "; ".join(outcome.failures),
                                   time.monotonic() - outcome.began), file=sys.stderr, flush=True)
    return outcome


def arguments(description):
    """The labs' command line: the program, a folder for the logs, the cases to run."""
    parser = argparse.ArgumentParser(description=description)
    source = parser.add_mutually_exclusive_group(required=True)
    source.add_argument("--program", help="the program to run, e.g. /usr/bin/dorvala")
    source.add_argument("--stage", help="a build's bin folder to copy and give the capability")
    parser.add_argument("--keep", help="keep every program's output in this folder")
    parser.add_argument("cases", nargs="*", help="names of the cases (all by default)")
    return parser


def run_lab(args, cases, title, prepare=None):
    """Runs the chosen cases of a table, then prints the Markdown table and the count; with
    `prepare`, the context is handed to it first. The exit status."""
    if os.geteuid() != 0:
        sys.exit("run as root: the machines are network namespaces")
    if args.program and not os.access(args.program, os.X_OK):
        sys.exit("no program at %s" % args.program)

    # A TERM (a CI time-out, say) unwinds like an error: every LAN is taken down on the way.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    remove_stale()
    work = tempfile.mkdtemp(prefix="dorvala-lan-", dir=args.keep and os.path.abspath(args.keep))
    os.chmod(work, 0o755)  # the programs run as nobody in here
    began = time.monotonic()
    outcomes = []
    try:
        program = args.program or stage_program(os.path.abspath(args.stage),
                                                os.path.join(work, "program"))
        ctx = Context(program, work)
        if prepare:
            prepare(ctx)
        for number, (name, what, case) in enumerate(cases, 1):
            if not args.cases or name in args.cases:
                outcomes.append(run_case(ctx, "%d" % number, name, what, case))
    finally:
        if not args.keep:
            shutil.rmtree(work, ignore_errors=True)

    print("| case | what was done | programs (stayed up / ended as designed) | what the screens "
          "said | nothing lost | ok |")
    print("|---|---|---|---|---|---|")
    for outcome in outcomes:
        print(outcome.markdown())
    print()
    failed = sum(bool(o.failures) for o in outcomes)
    print("%s in %.0f s" % (title, time.monotonic() - began))
    print("%d passed, %d failed" % (len(outcomes) - failed, failed))
    return 1 if failed else 0


def main():
    return run_lab(arguments(__doc__.split("\n")[0]).parse_args(), CASES, "LAN cases")


if __name__ == "__main__":
    sys.exit(main())
