"""Tries the slips of slips.py, or those whose names hold one of the words given: applies each in a scratch copy of the
tree, builds the tests that should notice it, runs them, and prints which case does. The scratch copy is in the first
argument. Fails when a slip's text is not found once, when one does not build, or when more than the twentieth lives."""
import os
import re
import subprocess
import sys
import time

from slips import SLIPS

TREE = sys.argv[1]
BUILD = os.path.join(TREE, "build", "release")
LIMIT = 60  # seconds for one test program


def build(targets):
    """What the compiler said when it failed."""
    done = subprocess.run(["cmake", "--build", BUILD, "--target", *targets, "--", "--quiet"], capture_output=True,
                          text=True, check=False)
    return "" if done.returncode == 0 else done.stdout[-2000:] + done.stderr[-500:]


def failing_case(command):
    """The first case of a test program that fails; empty when none does."""
    program, *options = command.split()
    try:
        done = subprocess.run([os.path.join(BUILD, "bin", program), "--gtest_brief=1", "--gtest_fail_fast", *options],
                              capture_output=True, text=True, errors="replace", timeout=LIMIT, check=False)
    except subprocess.TimeoutExpired:
        return program + ": does not end"
    if done.returncode == 0:
        return ""
    case = re.search(r"\[  FAILED  \] (\S+)", done.stdout)
    return f"{program}: " + (case[1].rstrip(",") if case else f"ended with {done.returncode}")


def try_slip(source, old, new, tests):
    """Verdict and who killed it."""
    path = os.path.join(TREE, source)
    with open(path, encoding="utf-8") as file:
        text = file.read()
    if text.count(old) != 1:
        return "ERROR", f"its text stands {text.count(old)} times in {source}"
    programs = sorted({test.split()[0] for test in tests})
    try:
        with open(path, "w", encoding="utf-8") as file:
            file.write(text.replace(old, new))
        if complaint := build(programs):
            return "ERROR", "does not build: " + next((line for line in complaint.splitlines() if "error:" in line), complaint)
        killer = next(filter(None, map(failing_case, tests)), "")
        return ("killed", killer) if killer else ("LIVES", "none of " + ", ".join(programs))
    finally:
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)


def main():
    words = sys.argv[2:]
    chosen = [slip for slip in SLIPS if not words or any(word in slip[0] for word in words)]
    programs = sorted({test.split()[0] for slip in chosen for test in slip[4]})
    if complaint := build(programs):
        sys.exit("the tree itself does not build:\n" + complaint)
    for command in sorted({test for slip in chosen for test in slip[4]}):
        if case := failing_case(command):
            sys.exit(f"without any slip, {case} fails")
    verdicts = {"killed": 0, "LIVES": 0, "ERROR": 0}
    for name, source, old, new, tests in chosen:
        began = time.monotonic()
        verdict, killer = try_slip(source, old, new, tests)
        verdicts[verdict] += 1
        print(f"{verdict:7} {name:42} {killer} ({time.monotonic() - began:.0f} s)", flush=True)
    print(f"{verdicts['killed']} of {len(chosen)} slips die, {verdicts['LIVES']} live, {verdicts['ERROR']} could not be tried")
    sys.exit(1 if verdicts["ERROR"] or verdicts["LIVES"] * 20 > len(chosen) else 0)


if __name__ == "__main__":
    main()
