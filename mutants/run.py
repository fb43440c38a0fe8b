"""Tries the slips of slips.py, or those whose names hold one of the words given: compiles the source with the slip,
links it in front of the libraries of the tests that should notice, runs these, and prints which case does. Fails when
a slip's text is not found once, when one does not build, or when more than the twentieth lives."""
import concurrent.futures
import hashlib
import json
import os
import re
import shlex
import subprocess
import sys
import tempfile
import threading
import time

from slips import SLIPS

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")
BUILD = os.path.join(ROOT, "build", "release")
VERDICTS = os.path.join(ROOT, "build", "mutants.json")  # of earlier runs
LIMIT = 120  # seconds for one test program
DESKTOP = threading.Lock()  # one display, one set of pipes below /tmp


def read(path, mode="r"):
    with open(path, mode) as file:
        return file.read()


COMPILE = {os.path.relpath(each["file"], ROOT): each["command"]
           for each in json.loads(read(os.path.join(BUILD, "compile_commands.json")))}


def run_in_build(command):
    done = subprocess.run(command, cwd=BUILD, shell=True, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise ValueError(next((line for line in done.stderr.splitlines() if "error:" in line), done.stderr[-300:]))
    return done.stdout


def compile_slip(source, text, folder):
    """The object file. Its traces name the source as it is."""
    path = os.path.join(folder, os.path.basename(source))
    command = re.sub(r" -o \S+ -c \S+", "", COMPILE[source])
    name = re.search(r" -c (\S+)", COMPILE[source])[1]
    with open(path, "w", encoding="utf-8") as file:
        file.write(f'#line 1 "{name}"\n{text}')
    run_in_build(f"{command} -O0 -g0 -w -iquote {shlex.quote(os.path.dirname(os.path.join(ROOT, source)))} "
                 f"-o {path}.o -c {path}")
    return path + ".o"


def link(program, mutant, folder):
    """The libraries' own object is not taken, for all that it would give is there already."""
    target = os.path.join(folder, program)
    command = run_in_build(f"ninja -t commands -s bin/{program}").strip()
    run_in_build(command.replace(f" -o bin/{program} ", f" {mutant} -Wl,--strip-debug -o {target} "))
    return target


def failing_case(path, options):
    """The first case of a test program that fails; empty when none does."""
    program = os.path.basename(path)
    try:
        with DESKTOP if program == "test_gui" else tempfile.TemporaryFile():
            done = subprocess.run([path, "--gtest_brief=1", "--gtest_fail_fast", *options], stdin=subprocess.DEVNULL,
                                  capture_output=True, text=True, errors="replace", timeout=LIMIT, check=False)
    except subprocess.TimeoutExpired:
        return program + ": does not end"
    if done.returncode == 0 and "[  PASSED  ]" in done.stdout:  # what stands still is ended with 0 by a watchdog
        return ""
    case = re.search(r"\[  FAILED  \] (\S+)", done.stdout)
    return f"{program}: " + (case[1].rstrip(",") if case else f"ended with {done.returncode}")


def try_slip(source, text, tests):
    """Verdict and who killed it."""
    with tempfile.TemporaryDirectory() as folder:
        try:
            mutant = compile_slip(source, text, folder)
            for test in tests:
                program, *options = test.split()
                if killer := failing_case(link(program, mutant, folder), options):
                    return "killed", killer
        except ValueError as error:
            return "ERROR", f"does not build: {error}"
    return "LIVES", "none of " + ", ".join(tests)


def judge(slip, known):
    name, source, old, new, tests = slip
    text = read(os.path.join(ROOT, source))
    if text.count(old) != 1:
        return "ERROR", f"its text stands {text.count(old)} times in {source}"
    text = text.replace(old, new)
    programs = b"".join(read(os.path.join(BUILD, "bin", test.split()[0]), "rb") for test in tests)
    key = hashlib.sha256(programs + text.encode() + repr(tests).encode()).hexdigest()
    if known.get(name, [None])[0] != key:
        verdict = try_slip(source, text, tests)
        if verdict[0] != "killed":
            return verdict
        known[name] = [key, *verdict]
        with open(VERDICTS, "w", encoding="utf-8") as file:
            json.dump(dict(known), file, indent=0)
    return known[name][1:]


def main():
    words, began = sys.argv[1:], time.monotonic()
    for word in words:
        if not any(word in slip[0] for slip in SLIPS):
            sys.exit(f"no slip's name holds {word}")
    chosen = [slip for slip in SLIPS if not words or any(word in slip[0] for word in words)]
    known = json.loads(read(VERDICTS)) if os.path.exists(VERDICTS) else {}
    for command in sorted({test for slip in chosen for test in slip[4]}):
        program, *options = command.split()
        if case := failing_case(os.path.join(BUILD, "bin", program), options):
            sys.exit(f"without any slip, {case} fails")
    counts = {"killed": 0, "LIVES": 0, "ERROR": 0}
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as workers:
        for slip, (verdict, killer) in zip(chosen, workers.map(lambda slip: judge(slip, known), chosen)):
            counts[verdict] += 1
            print(f"{verdict:7} {slip[0]:42} {killer}", flush=True)
    print(f"{counts['killed']} of {len(chosen)} slips die, {counts['LIVES']} live, {counts['ERROR']} could not be tried "
          f"({time.monotonic() - began:.0f} s)")
    sys.exit(1 if counts["ERROR"] or counts["LIVES"] * 20 > len(chosen) else 0)


if __name__ == "__main__":
    main()
