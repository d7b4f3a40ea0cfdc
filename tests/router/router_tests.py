#!/usr/bin/python3
"""Runs the router cases (router_cases.py, router_wine.py) and prints a line per case, a
Markdown table, the figures measured, and "N passed, M failed". Needs root.
scripts/router-lab.sh builds and stages the program and miniupnpd first.

    router_tests.py --miniupnpd PATH --program /usr/bin/dorvala
    router_tests.py --miniupnpd PATH --stage build/bin upnp cgnat
"""

import os
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "lan"))

from lan_tests import arguments, run_lab  # noqa: E402
from router_cases import CASES, FIGURES  # noqa: E402
from router_wine import CASES as WINE_CASES  # noqa: E402


def main():
    parser = arguments(__doc__.split("\n")[0])
    parser.add_argument("--miniupnpd", required=True, help="the router's miniupnpd")
    args = parser.parse_args()
    status = run_lab(args, CASES + WINE_CASES, "router cases",
                     prepare=lambda ctx: setattr(ctx, "miniupnpd", os.path.abspath(args.miniupnpd)))
    # Benchmark figures: printed, never judged.
    for name, what, value in FIGURES:
        print("figure: %s: %s: %s" % (name, what, value))
    return status


if __name__ == "__main__":
    sys.exit(main())
