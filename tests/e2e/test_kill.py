"""A hundred moments at which a program dies in the middle of a copy: no old file is ever damaged, nothing half
stands under a replaced name, what is left over can be told and is swept, and both programs start again at once."""
import os
import random
import re
import shutil
import subprocess
import sys
import time

from desktop import BUILD, LOCAL, REMOTE, DesktopTest, main, wait_for
from front_end import DONE, FrontEnd, command, copy_request

SEED = int(os.environ.get("RELAY_HUB_SEED", time.time_ns() % 1_000_000))
RANDOM = random.Random(SEED)
PART = re.compile(r"\.relay-hub-[0-9A-Za-z]{8,16}\.part")
HERE = os.path.dirname(os.path.abspath(__file__))
SIZES = {f"file {number:02}": 1000 + number * 9000 for number in range(24)} | {"large": 6 << 20, "empty": 0}


def content(name, what, size):
    return (f"{what} {name} ".encode() * (size // (len(what) + len(name) + 2) + 1))[:size]


class Copies:
    """One folder "set" to copy, and a folder that it is copied into again and again."""

    def __init__(self, source, target, times=1):
        self.source, self.target = os.path.join(source, "set"), os.path.join(target, "set")
        self.sizes = {name: size * times for name, size in SIZES.items()}
        self.fill(self.source, "new")

    def fill(self, folder, what):
        os.makedirs(folder, exist_ok=True)
        for name, size in self.sizes.items():
            with open(os.path.join(folder, name), "wb") as file:
                file.write(content(name, what, size))

    def prepare(self, replacing):
        shutil.rmtree(self.target, ignore_errors=True)
        if replacing:
            self.fill(self.target, "old")

    def state(self, name):
        """What stands under a name: new, old, none, or how the content begins."""
        try:
            with open(os.path.join(self.target, name), "rb") as file:
                found = file.read()
        except FileNotFoundError:
            return "none"
        new = content(name, "new", self.sizes[name])
        if found == new:
            return "new"
        if found == content(name, "old", self.sizes[name]):
            return "old"
        return "begun" if new.startswith(found) else f"damaged: {found[:40]!r}, {len(found)} bytes"

    def check_broken_off(self, test, replacing, may_be_begun=False):
        allowed = {"new", "old"} if replacing else {"new", "none"} | ({"begun"} if may_be_begun else set())
        states = {name: self.state(name) for name in self.sizes}
        test.assertEqual({name: state for name, state in states.items() if state not in allowed}, {})
        others = set(os.listdir(self.target)) - set(self.sizes) if os.path.isdir(self.target) else set()
        test.assertEqual({name for name in others if not PART.fullmatch(name)}, set())
        return "new" in states.values() and set(states.values()) != {"new"}

    def check_whole(self, test):
        test.assertEqual({self.state(name) for name in self.sizes}, {"new"})
        test.assertEqual(set(os.listdir(self.target)), set(self.sizes), "left-over files were not swept")


class Kill(DesktopTest):
    def setUp(self):
        super().setUp()
        print(f"RELAY_HUB_SEED={SEED}", file=sys.stderr)
        self.in_the_middle = 0

    def ways(self):
        """What each way copies, and the request that asks for it."""
        d = self.desktop
        source, target, down = (os.path.join(top, name) for top, name in (
            (d.remote, "source"), (d.remote, "target"), (d.top, "down")))
        os.mkdir(target)
        os.mkdir(down)
        return [(Copies(d.home, target), copy_request(True, (os.path.join(d.home, "set"), "C:\\target"))),
                (Copies(source, down), copy_request(False, (down, "C:\\source\\set")))]

    def connect(self):
        self.desktop.start_engine()
        return self.front_end()

    def front_end(self):
        front_end = FrontEnd()
        self.addCleanup(front_end.close)
        return front_end

    def duration(self, copy):
        start = time.monotonic()
        copy()
        return time.monotonic() - start

    def moments(self, count, limit):
        """Whether each is to replace, and when it strikes."""
        return [(number % 2 == 1, RANDOM.uniform(0, limit)) for number in range(count)]

    def test_engine(self):
        front_end = self.connect()
        for copies, request in self.ways():
            copies.prepare(True)
            limit = self.duration(lambda: self.assertEqual(front_end.ask(request), DONE))
            for replacing, moment in self.moments(18, limit):
                with self.subTest(request=request[:50], replacing=replacing, moment=moment):
                    copies.prepare(replacing)
                    ends = front_end.send(request)
                    time.sleep(moment)
                    self.desktop.engine.kill()
                    self.desktop.engine.wait()
                    front_end.leave(ends)
                    self.in_the_middle += copies.check_broken_off(self, replacing)
                    self.desktop.start_engine()
                    self.assertEqual(front_end.ask(request), DONE)
                    copies.check_whole(self)
        self.assertGreater(self.in_the_middle, 3, "the moments all missed the copies")

    def test_front_end(self):
        front_end = self.connect()
        for copies, request in self.ways():
            copies.prepare(True)
            limit = self.duration(lambda: self.assertEqual(front_end.ask(request), DONE))
            for replacing, moment in self.moments(9, limit):
                with self.subTest(request=request[:50], replacing=replacing, moment=moment):
                    copies.prepare(replacing)
                    front_end.close()
                    victim = subprocess.Popen([sys.executable, os.path.join(HERE, "front_end.py"), request],
                                              stdout=subprocess.PIPE)
                    victim.stdout.readline()
                    time.sleep(moment)
                    victim.kill()
                    victim.wait()
                    victim.stdout.close()
                    front_end = self.front_end()
                    self.assertIsNotNone(front_end.ask(command("Check_For_Heartbeat")))
                    copies.check_broken_off(self, replacing)
                    if os.path.isdir(copies.target):
                        self.assertEqual([name for name in os.listdir(copies.target) if PART.fullmatch(name)], [])
                    self.assertEqual(front_end.ask(request), DONE)
                    copies.check_whole(self)

    def test_local_copy(self):
        program = os.path.join(BUILD, "bin", "local_copy")
        target = os.path.join(self.desktop.top, "local")
        os.mkdir(target)
        copies = Copies(self.desktop.home, target)
        run = [program, copies.source, target]
        copies.prepare(True)
        limit = self.duration(lambda: subprocess.run(run, check=True, stdout=subprocess.DEVNULL))
        for replacing, moment in self.moments(36, limit):
            with self.subTest(replacing=replacing, moment=moment):
                copies.prepare(replacing)
                victim = subprocess.Popen(run, stdout=subprocess.PIPE)
                victim.stdout.readline()
                time.sleep(moment)
                victim.kill()
                victim.wait()
                victim.stdout.close()
                self.in_the_middle += copies.check_broken_off(self, replacing, may_be_begun=True)
                subprocess.run(run, check=True, stdout=subprocess.DEVNULL)
                copies.check_whole(self)
        self.assertGreater(self.in_the_middle, 3, "the moments all missed the copies")

    def test_window(self):
        """Ten of the moments with the window itself: it dies, or its engine does."""
        d = self.desktop
        for number in range(10):
            upwards, window_dies, replacing = number % 2 == 0, number < 6, number % 4 > 1
            with self.subTest(upwards=upwards, window_dies=window_dies, replacing=replacing):
                if d.engine is None or d.engine.poll() is not None:
                    d.start_engine()
                if d.window is None or d.window.poll() is not None:
                    d.start_window()
                source, target = (d.home, d.remote) if upwards else (d.remote, d.home)
                for folder in (source, target):
                    shutil.rmtree(os.path.join(folder, "set"), ignore_errors=True)
                copies = Copies(source, target, 8)
                copies.prepare(replacing)
                d.wait_remote()
                self.copy_in_the_window(LOCAL if upwards else REMOTE, REMOTE if upwards else LOCAL, replacing)
                time.sleep(RANDOM.uniform(0, 0.4))
                victim, other = (d.window, d.engine) if window_dies else (d.engine, d.window)
                victim.kill()
                victim.wait()
                if window_dies:
                    front_end = self.front_end()
                    self.assertIsNotNone(front_end.ask(command("Check_For_Heartbeat")))
                    front_end.close()
                else:
                    self.close_what_is_told()
                self.assertIsNone(other.poll())
                copies.check_broken_off(self, replacing)
        d.start_engine()
        d.wait_remote(40)
        self.assertEqual(d.close(), 0)

    def copy_in_the_window(self, source, target, replacing):
        d = self.desktop
        for side in (LOCAL, REMOTE):
            d.menu(side, "Refresh")
            d.wait_quiet()
        wait_for(lambda: "set" in d.rows(source), what="the folder to copy")
        d.copy(source, ["set"], target)
        if replacing:
            d.press(d.wait_dialog("Confirmation"), "Replace All")

    def close_what_is_told(self):
        def closed():
            if not self.desktop.dialog():
                return True
            self.desktop.xdo("key", "Escape")
            return False
        wait_for(closed, 20, what="the end of a copy without an engine")


if __name__ == "__main__":
    main()
