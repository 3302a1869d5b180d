"""Orca with a debug file that is written line by line, so that a test can read along."""

import builtins
import runpy
import sys

ORCA = "/usr/bin/orca"
plain_open = builtins.open


def open_by_lines(file, mode="r", buffering=-1, *rest, **more):
    return plain_open(file, mode, 1 if mode == "w" else buffering, *rest, **more)


builtins.open = open_by_lines
sys.argv[0] = ORCA
runpy.run_path(ORCA, run_name="__main__")
