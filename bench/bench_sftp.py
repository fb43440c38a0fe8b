#!/usr/bin/env python3
"""What reaching another computer over SSH costs, beside the programs that one would take instead: an sshd of our own
on 127.0.0.1, behind a relay that holds every byte back 0, 1 and 5 ms each way. Peers connect within their times, the
engine before. Usage: bench_sftp.py FOLDER (on the disk to be measured) [MILLISECONDS...]"""
import os
import shutil
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "e2e"))
from common import BUILD, both, command, kib_of, read_answer, readable  # noqa: E402
from far_computer import ConnectedEngine, FarComputer  # noqa: E402
from front_end import DONE, FrontEnd, copy_request  # noqa: E402

FOLDERS, FILES, BIG = 20, 500, 1 << 30
ROUNDS = int(os.environ.get("RELAY_HUB_BENCH_ROUNDS", 3))


class DelayRelay:
    """In the place of FarComputer's own relay."""

    def __init__(self, far_port, delay):
        self.process = subprocess.Popen([os.path.join(BUILD, "bin", "delay_relay"), str(far_port), str(delay)],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.port = int(self.process.stdout.readline())

    def close(self):
        self.process.communicate()


class Bench:
    def __init__(self, top, delay):
        self.top, self.delay = top, delay
        self.far = FarComputer(os.path.join(top, "far"), as_self=True)
        self.far.relay.close()
        self.far.relay = DelayRelay(self.far.port, delay)
        self.ssh = self.far.path("bin/ssh")
        self.port = str(self.far.relay.port)
        self.host = self.far.address.rsplit(":", 1)[0]
        self.engine = ConnectedEngine(self.far, "--quiet")
        self.engine.connected()
        self.front_end = FrontEnd()
        self.outs = 0

    def close(self):
        self.front_end.close()
        self.engine.stop()
        self.far.close()

    def out(self, upwards):
        """A new folder at the side that is written to: just after a removal a file system is slow."""
        self.outs += 1
        path = os.path.join(self.top, "far" if upwards else "near", f"out{self.delay}-{self.outs}")
        os.makedirs(path)
        return path

    # -- each way to copy a source into a folder

    def ours(self, upwards, source, target):
        local, remote = (source, target) if upwards else (target, source)
        answer = self.front_end.ask(copy_request(upwards, local, remote), 900)
        if answer != DONE:
            raise SystemExit(f"the engine: {answer} {self.engine.errors}")

    def run(self, *words, **more):
        done = subprocess.run(words, capture_output=True, check=False, **more)
        if done.returncode != 0:
            raise SystemExit(f"{words}: {done.stderr}")

    def scp(self, upwards, source, target):
        ends = (source, f"{self.host}:{target}") if upwards else (f"{self.host}:{source}", target)
        self.run("scp", "-S", self.ssh, "-P", self.port, "-r", "-p", "-q", *ends)

    def sftp_batch(self, *lines):
        self.run("sftp", "-S", self.ssh, "-P", self.port, "-q", "-b", "-", self.host,
                 input="\n".join(lines).encode() + b"\n")

    def sftp(self, upwards, source, target):
        self.sftp_batch(f"{'put' if upwards else 'get'} -rp {source} {target}")

    def rsync(self, upwards, source, target, *options):
        ends = (source, f"{self.host}:{target}/") if upwards else (f"{self.host}:{source}", target + "/")
        self.run("rsync", "-a", *options, "-e", f"{self.ssh} -p {self.port}", *ends)

    def rsync_synced(self, upwards, source, target):
        self.rsync(upwards, source, target, "--fsync")

    def time(self, way, upwards, source):
        target = self.out(upwards)
        os.sync()
        start = time.monotonic()
        way(upwards, source, target)
        taken = time.monotonic() - start
        if os.path.isfile(source):
            shutil.rmtree(target)
        return taken

    def compare(self, name, upwards, source, ways, rounds=ROUNDS):
        """The best of some rounds each, in turn."""
        times = {way.__name__: [] for way in ways}
        for _ in range(rounds):
            for way in ways:
                times[way.__name__].append(self.time(way, upwards, source))
        return {way: min(taken) for way, taken in times.items()}


def row(name, ours, yardstick, most, peers=""):
    verdict = "" if most is None else f"(at most {most:.2f}) {'ok' if ours / yardstick <= most else 'MISSED'}"
    print(f"{name:<52} {ours:8.3f} s {yardstick:8.3f} s {ours / yardstick:6.2f} x {verdict} {peers}", flush=True)


def told(times):
    return ", ".join(f"{way} {taken:.2f}" for way, taken in times.items() if way != "ours")


def many_small(bench, source):
    for upwards in (True, False):
        way = "up" if upwards else "down"
        name = f"10,000 files of 4 KiB {way}, {bench.delay} ms"
        times = bench.compare(name, upwards, source, [bench.ours, bench.rsync_synced])
        row(name + " / rsync -a --fsync", times["ours"], times["rsync_synced"], 1.0)
        if bench.delay == 1:
            slow = bench.compare(name, upwards, source, [bench.scp], 1)
            row(name + " / scp -r", times["ours"], slow["scp"], 0.1)


def repeat(bench, source):
    for upwards in (True, False):
        target = bench.out(upwards)
        bench.rsync(upwards, source, target)
        times = {"ours": [], "rsync": []}
        for _ in range(ROUNDS):
            for way in (bench.ours, bench.rsync):
                start = time.monotonic()
                way(upwards, source, target)
                times[way.__name__].append(time.monotonic() - start)
        row(f"the same again {'up' if upwards else 'down'}, {bench.delay} ms / rsync -a", min(times["ours"]),
            min(times["rsync"]), 1.2)


def one_big(bench, source):
    for upwards in (True, False):
        name = f"1 GiB {'up' if upwards else 'down'}, {bench.delay} ms"
        ways = [bench.ours, bench.scp, bench.sftp, bench.rsync]
        times = bench.compare(name, upwards, source, ways + [bench.rsync_synced] * upwards)
        synced = times.pop("rsync_synced", None)
        fastest = min(taken for way, taken in times.items() if way != "ours")
        row(name + " / the fastest of scp, sftp, rsync", times["ours"], fastest, 1.1, told(times))
        # The peers above leave the file in the far memory.
        if synced is not None:
            row(name + " / rsync -a --fsync", times["ours"], synced, None)


def listing(bench, folder):
    def timed(work):
        start = time.monotonic()
        work()
        return time.monotonic() - start

    def list_by_engine():
        """Until the engine has the last row: its answer begins. Reading it is this script's own affair."""
        start = time.monotonic()
        ends = bench.front_end.send(request)
        readable(ends[1], 120)
        taken = time.monotonic() - start
        if read_answer(ends[1], start + 120).count(b"<Line>") != 40000:
            raise SystemExit("the engine lists something else")
        bench.front_end.leave(ends)
        return taken

    ours, peer, connect = [], [], []
    request = command("Get_File_List", both("TG", "TF", folder))
    for _ in range(ROUNDS + 2):
        ours.append(list_by_engine())
        peer.append(timed(lambda: bench.sftp_batch(f"ls -1f {folder}")))
        connect.append(timed(lambda: bench.sftp_batch("pwd")))
    row(f"list 40,000 names, {bench.delay} ms / sftp's ls -1f", min(ours), min(peer) - min(connect),
        {0: 1.2, 1: 0.5}.get(bench.delay))


def memory(bench, source):
    """The most that the engine held while it copied 100,000 files."""
    far = bench.out(True)
    for way, upwards, files, target in (("up", True, source, far),
                                        ("down", False, os.path.join(far, os.path.basename(source)), bench.out(False))):
        with open(f"/proc/{bench.engine.process.pid}/clear_refs", "w") as file:
            file.write("5")  # forgets the most so far
        bench.ours(upwards, files, target)
        peak = kib_of(bench.engine.process, "VmHWM") / 1024
        print(f"{f'memory of the engine, 100,000 files {way}':<52} {peak:8.1f} MiB (at most 64) "
              f"{'ok' if peak <= 64 else 'MISSED'}", flush=True)


def make_files(folder, count, size):
    os.makedirs(folder)
    for number in range(count):
        with open(os.path.join(folder, f"file {number}"), "wb") as file:
            file.write(os.urandom(size))


def main():
    top = os.path.abspath(sys.argv[1])
    delays = [int(word) for word in sys.argv[2:]] or [0, 1, 5]
    near, far = os.path.join(top, "near"), os.path.join(top, "far")
    parts = os.environ.get("RELAY_HUB_BENCH_PARTS", "list small repeat big memory").split()
    for folder in (near, far):
        os.makedirs(folder, exist_ok=True)
    for number in range(FOLDERS if {"small", "repeat"} & set(parts) else 0):
        make_files(os.path.join(near, "small", str(number)), FILES, 4096)
    if "list" in parts:
        make_files(os.path.join(far, "names"), 40000, 0)
    if "memory" in parts:
        make_files(os.path.join(near, "very many"), 100000, 100)
    if "big" in parts:
        with open(os.path.join(near, "big"), "wb") as file:
            for _ in range(BIG >> 20):
                file.write(os.urandom(1 << 20))
    os.sync()
    for delay in delays:
        bench = Bench(top, delay)
        try:
            if "list" in parts:
                listing(bench, os.path.join(far, "names"))
            if "small" in parts:
                many_small(bench, os.path.join(near, "small"))
            if "repeat" in parts:
                repeat(bench, os.path.join(near, "small"))
            if "big" in parts:
                one_big(bench, os.path.join(near, "big"))
            if "memory" in parts and delay == delays[0]:
                memory(bench, os.path.join(near, "very many"))
        finally:
            bench.close()


if __name__ == "__main__":
    main()
