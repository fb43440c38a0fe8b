"""A hundred moments at which a program dies in the middle of a copy: no old file is ever damaged, nothing half
stands under a replaced name, what is left over can be told and is swept, and both programs start again at once."""
import os
import re
import shutil
import sys
import time

from common import RANDOM, SEED, SLOW, act_until, command, geometry, read, remove, wait_for, write
from desktop import BUILD, WINDOW, DesktopTest
from front_end import DONE, FrontEnd, copy_request

AT_ONCE = 4 if SLOW == 1 else 2  # a window takes two seconds to look for its engine, and has nothing to do
PART = re.compile(r"\.relay-hub-[0-9A-Za-z]{8,16}\.part")
SIZES = {f"file {number:02}": 1000 + number * 9000 for number in range(24)} | {"large": 6 << 20, "empty": 0}
ENGINE_DEATHS = 30  # of each way
WINDOW_DEATHS = 5 if SLOW > 1 else 25  # of each way, with old files and without
PATIENCE = 4  # times as many where most moments miss the copies, as on a busy machine


class Copies:
    """One folder to copy, and a folder that it is copied into again and again."""

    def __init__(self, test, source, target, times=1):
        self.test, self.source, self.target = test, os.path.join(source, "set"), os.path.join(target, "set")
        self.contents = {what: {name: self.content(f"{what} {name} ", size * times) for name, size in SIZES.items()}
                         for what in ("old", "new")}
        self.fill(self.source, "new")

    @staticmethod
    def content(piece, size):
        return (piece.encode() * (size // len(piece) + 1))[:size]

    def fill(self, folder, what):
        for name, content in self.contents[what].items():
            # Of the same size and time a file would count as copied already.
            write(os.path.join(folder, name), content, seconds=1_600_000_000 + (what == "new"))

    def prepare(self, replacing):
        shutil.rmtree(self.target, ignore_errors=True)
        if replacing:
            self.fill(self.target, "old")

    def state(self, name):
        """What stands under a name: new, old, none, or what it should not be."""
        path = os.path.join(self.target, name)
        if not os.path.exists(path):
            return "none"
        found = read(path)
        return next((what for what in ("new", "old") if found == self.contents[what][name]),
                    f"damaged: {found[:40]!r}, {len(found)} bytes")

    def others(self):
        return set(os.listdir(self.target)) - set(SIZES) if os.path.isdir(self.target) else set()

    def check_broken_off(self, replacing):
        """How many of the files arrived before the copy broke off."""
        allowed = {"new", "old"} if replacing else {"new", "none"}
        states = {name: self.state(name) for name in SIZES}
        self.test.assertEqual({name: state for name, state in states.items() if state not in allowed}, {})
        self.test.assertEqual({name for name in self.others() if not PART.fullmatch(name)}, set())
        return list(states.values()).count("new")

    def check_whole(self):
        self.test.assertEqual({self.state(name) for name in SIZES}, {"new"})
        self.test.assertEqual(self.others(), set(), "left-over files were not swept")


class Kill(DesktopTest):
    def setUp(self):
        super().setUp()
        print(f"RELAY_HUB_SEED={SEED}", file=sys.stderr)
        self.desktop.start_engine()

    def kill_engine(self, copies, request):
        d, front_end = self.desktop, FrontEnd()
        self.addCleanup(front_end.close)

        def copy():
            self.assertEqual(front_end.ask(request), DONE)
        copies.prepare(True)
        began = time.monotonic()
        copy()
        limit, in_the_middle = time.monotonic() - began, 0
        for number in range(ENGINE_DEATHS * PATIENCE):
            if number >= ENGINE_DEATHS and in_the_middle > 1:
                break
            replacing = number % 2 == 1
            moment = RANDOM.uniform(0, limit)
            with self.subTest(replacing=replacing, moment=moment):
                copies.prepare(replacing)
                ends = front_end.send(request)
                time.sleep(moment)
                d.kill(d.engine)
                front_end.leave(ends)
                d.start_engine()
                arrived = copies.check_broken_off(replacing)
                in_the_middle += 0 < arrived < len(SIZES)
                limit *= 0.8 if arrived == len(SIZES) else 1.05
                copy()
                copies.check_whole()
        self.assertGreater(in_the_middle, 1, "the moments all missed the copies")

    def test_engine_dies_sending(self):
        d = self.desktop
        self.kill_engine(Copies(self, d.home, d.remote), copy_request(True, os.path.join(d.home, "set"), "C:\\"))

    def test_engine_dies_fetching(self):
        d = self.desktop
        self.kill_engine(Copies(self, d.remote, d.home), copy_request(False, d.home, "C:\\set"))

    def kill_windows(self, upwards, replacing):
        """The engine lives: it ends the copy, leaves old or new whole, and tidies up. Driven by keys alone, since a
        window that serves the accessibility tree starts late."""
        d = self.desktop
        d.env["GTK_MODULES"] = ""
        # Large enough that a copy in memory lasts longer than the look that notices its beginning.
        copies = Copies(self, *((d.home, d.remote) if upwards else (d.remote, d.home)), 6)
        in_the_middle, limit = 0, 0.1
        for number in range(WINDOW_DEATHS * PATIENCE):
            if number >= WINDOW_DEATHS and in_the_middle > WINDOW_DEATHS // 5:
                break
            with self.subTest(number):
                copies.prepare(replacing)
                remove(os.path.join(d.top, "relay-hub.log"))
                d.window = d.spawn([WINDOW], cwd=BUILD)
                try:
                    self.begin_copy(upwards, replacing)
                    time.sleep(RANDOM.uniform(0, limit))
                finally:  # left alive it would be in the way of all that follow
                    d.kill(d.window)
                answered = re.search("_TO_(REMOTE|LOCAL) Receive:", d.output())
                in_the_middle += not answered
                limit *= 0.8 if answered else 1.05
                front_end = FrontEnd()
                self.addCleanup(front_end.close)
                self.assertIsNotNone(front_end.ask(command("Check_For_Heartbeat")))
                front_end.close()
                copies.check_broken_off(replacing)
                self.assertEqual(copies.others(), set(), "left-over files")
        self.assertGreater(in_the_middle, WINDOW_DEATHS // 5, "the moments all missed the copies")

    def begin_copy(self, upwards, replacing):
        """Of all rows of one pane into the other; returns when the engine may write."""
        d = self.desktop
        d.wait_keyboard("Relay Hub")
        wait_for(lambda: "click after\n" in d.output(), what="the remote pane to be filled")
        act_until(lambda: "_TO_" in d.output(), lambda: self.carry((0.25, 0.75)[::1 if upwards else -1]), 3,
                  what="the copy to begin")
        if replacing:
            d.wait_keyboard("Confirmation")
            d.xdo("key", "Tab", "Return")  # from No to Replace All
            wait_for(lambda: "Replace_All>Y<" in d.output(), what="the copy to go on")

    def carry(self, panes):
        """Again when that shows no effect: while a list is filled, keys do nothing."""
        left, top, width, height = geometry()
        for pane, keys in zip(panes, (("ctrl+a", "ctrl+c"), ("ctrl+v",))):
            self.desktop.click((int(left + width * pane), int(top + height * 0.8)))  # below the rows
            self.desktop.xdo("key", *keys)

    def test_window_dies_sending(self):
        self.kill_windows(True, False)

    def test_window_dies_replacing_there(self):
        self.kill_windows(True, True)

    def test_window_dies_fetching(self):
        self.kill_windows(False, False)

    def test_window_dies_replacing_here(self):
        self.kill_windows(False, True)
