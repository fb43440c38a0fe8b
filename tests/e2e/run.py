"""Runs the cases of a test module, or those named: run.py MODULE [CLASS.CASE...]
Of a module that says AT_ONCE so many run side by side, each on a desktop of its own, where that is permitted."""
import importlib
import os
import subprocess
import sys
import unittest
from concurrent.futures import ThreadPoolExecutor

name, *chosen = sys.argv[1:]
module = importlib.import_module(name)
own_desktop = os.path.join(os.path.dirname(__file__), "..", "own_desktop")
at_once = getattr(module, "AT_ONCE", 1)
if chosen or at_once == 1 or subprocess.run([own_desktop, "--can"], check=False).returncode != 0:
    unittest.main(module, argv=sys.argv[1:], verbosity=2, warnings="ignore")
cases = [case for group in unittest.defaultTestLoader.loadTestsFromModule(module) for case in group]


def run(case):
    words = [sys.executable, sys.argv[0], name, case.id().removeprefix(name + ".")]
    return subprocess.run([own_desktop, *words], check=False).returncode


with ThreadPoolExecutor(at_once) as pool:
    sys.exit(any(list(pool.map(run, cases))))
