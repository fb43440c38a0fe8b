"""A hundred moments at which a program dies in the middle of a copy: no old file is ever damaged, nothing half
stands under a replaced name, what is left over can be told and is swept, and both programs start again at once."""
import contextlib
import itertools
import os
import random
import re
import shutil
import sys
import threading
import time

from common import SLOW, command, read, remove, wait_for, write
from desktop import LOCAL, REMOTE, DesktopTest, main
from front_end import DONE, FrontEnd, copy_request

SEED = int(os.environ.get("RELAY_HUB_SEED", time.time_ns() % 1_000_000))
RANDOM = random.Random(SEED)
PART = re.compile(r"\.relay-hub-[0-9A-Za-z]{8,16}\.part")
SIZES = {f"file {number:02}": 1000 + number * 9000 for number in range(24)} | {"large": 6 << 20, "empty": 0}
WINDOW_DEATHS = 20 if SLOW > 1 else 100


class Copies:
    """One folder to copy, and a folder that it is copied into again and again."""

    def __init__(self, test, source, target, times=1, name="set"):
        self.test, self.source, self.target = test, os.path.join(source, name), os.path.join(target, name)
        self.sizes = {name: size * times for name, size in SIZES.items()}
        self.fill(self.source, "new")

    def content(self, name, what):
        piece = f"{what} {name} ".encode()
        return (piece * (self.sizes[name] // len(piece) + 1))[:self.sizes[name]]

    def fill(self, folder, what):
        for name in self.sizes:
            # Of the same size and time a file would count as copied already.
            write(os.path.join(folder, name), self.content(name, what), seconds=1_600_000_000 + (what == "new"))

    def prepare(self, replacing):
        shutil.rmtree(self.target, ignore_errors=True)
        if replacing:
            self.fill(self.target, "old")

    def state(self, name):
        """What stands under a name: new, old, none, or what it should not be."""
        path = os.path.join(self.target, name)
        if not os.path.exists(path):
            return "none"
        found, new = read(path), self.content(name, "new")
        if found in (new, self.content(name, "old")):
            return "new" if found == new else "old"
        return f"damaged: {found[:40]!r}, {len(found)} bytes"

    def others(self):
        return set(os.listdir(self.target)) - set(self.sizes) if os.path.isdir(self.target) else set()

    def check_broken_off(self, replacing):
        """Whether the copy broke off in its middle."""
        allowed = {"new", "old"} if replacing else {"new", "none"}
        states = {name: self.state(name) for name in self.sizes}
        self.test.assertEqual({name: state for name, state in states.items() if state not in allowed}, {})
        self.test.assertEqual({name for name in self.others() if not PART.fullmatch(name)}, set())
        return "new" in states.values() and set(states.values()) != {"new"}

    def check_whole(self):
        self.test.assertEqual({self.state(name) for name in self.sizes}, {"new"})
        self.test.assertEqual(self.others(), set(), "left-over files were not swept")

    def break_off(self, count, copy, start, recover):
        """copy() makes the whole copy; start() only begins it, and gives the process that dies somewhere on the way;
        recover() makes another copy possible."""
        self.prepare(True)
        began = time.monotonic()
        copy()
        limit, in_the_middle = time.monotonic() - began, 0
        for replacing in [False, True] * (count // 2):
            moment = RANDOM.uniform(0, limit)
            with self.test.subTest(target=self.target, replacing=replacing, moment=moment):
                self.prepare(replacing)
                victim = start()
                time.sleep(moment)
                victim.kill()
                victim.wait()
                recover(victim)
                in_the_middle += self.check_broken_off(replacing)
                copy()
                self.check_whole()
        return in_the_middle


class Kill(DesktopTest):
    def setUp(self):
        super().setUp()
        print(f"RELAY_HUB_SEED={SEED}", file=sys.stderr)
        self.front_end = None

    def connect(self):
        self.front_end = FrontEnd()
        self.addCleanup(self.front_end.close)

    def ways(self):
        """What each way copies, the request that asks for it, and what makes the whole copy."""
        d = self.desktop
        target, down = os.path.join(d.remote, "target"), os.path.join(d.top, "down")
        os.mkdir(target)
        os.mkdir(down)
        for copies, request in (
                (Copies(self, d.home, target), copy_request(True, os.path.join(d.home, "set"), "C:\\target")),
                (Copies(self, os.path.join(d.remote, "source"), down), copy_request(False, down, "C:\\source\\set"))):
            yield copies, request, lambda: self.assertEqual(self.front_end.ask(request), DONE)

    def test_engine(self):
        self.desktop.start_engine()
        self.connect()
        in_the_middle = 0
        for copies, request, copy in self.ways():
            def start():
                self.ends = self.front_end.send(request)
                return self.desktop.engine

            def recover(_):
                self.front_end.leave(self.ends)
                self.desktop.start_engine()
            in_the_middle += copies.break_off(30, copy, start, recover)
        self.assertGreater(in_the_middle, 3, "the moments all missed the copies")

    def test_window_dies_at_a_hundred_moments(self):
        """The engine lives: it ends the copy, leaves old or new whole, and tidies up."""
        d = self.desktop
        ways = [(LOCAL, REMOTE, Copies(self, d.home, d.remote, 2, "up")),
                (REMOTE, LOCAL, Copies(self, d.remote, d.home, 2, "down"))]
        d.start_engine()
        in_the_middle, limit = 0, 0.1
        for number, replacing in zip(range(WINDOW_DEATHS), itertools.cycle((False, False, True, True))):
            source, target, copies = ways[number % 2]
            with self.subTest(source=source, replacing=replacing, number=number):
                copies.prepare(replacing)
                remove(os.path.join(d.top, "relay-hub.log"))
                d.start_window()
                d.wait_remote()
                d.select(source, os.path.basename(copies.source))
                d.key("ctrl+c")
                death = threading.Thread(target=self.kill_window, args=(replacing, RANDOM.uniform(0, limit)))
                death.start()
                with contextlib.suppress(RuntimeError):  # the window may die of it before it says that it has heard
                    d.open_menu(target)["Paste"].do_action(0)
                if replacing:
                    with contextlib.suppress(RuntimeError):
                        d.press(d.wait_dialog("Confirmation"), "Replace All")
                death.join()
                answered = re.search("_TO_(REMOTE|LOCAL) Receive:", d.output())
                in_the_middle += not answered
                limit *= 0.8 if answered else 1.05
                self.connect()
                self.assertIsNotNone(self.front_end.ask(command("Check_For_Heartbeat")))
                self.front_end.close()
                copies.check_broken_off(replacing)
                self.assertEqual(copies.others(), set(), "left-over files")
        self.assertGreater(in_the_middle, WINDOW_DEATHS // 5, "the moments all missed the copies")

    def kill_window(self, replacing, delay):
        """Counted from when the engine may write; the test's own clicks return at any time after that."""
        window, begun = self.desktop.window, "Replace_All>Y<" if replacing else "_TO_"
        try:
            wait_for(lambda: begun in self.desktop.output(), 60, what="the copy to begin")
            time.sleep(delay)
        finally:  # left alive it would be in the way of all that follow
            window.kill()
            window.wait()


if __name__ == "__main__":
    main()
