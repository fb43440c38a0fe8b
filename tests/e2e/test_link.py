"""The window beside an engine that is late, slow, hung, dead or offline: it stays live, and lets its user go."""
import os
import signal
import time

from common import LIMIT, SLOW, wait_for
from desktop import BUILD, LOCAL, REMOTE, WINDOW, DesktopTest, app_of, box_of, find, labels

OFFLINE = "The remote computer is not connected."
RUNNING = "Relay Hub is already running."
BIG = 256 << 20
ROWS = ["sub", "down", "up"]


class LinkTest(DesktopTest):
    def start(self):
        self.make_files()
        self.desktop.start()

    def make_files(self):
        """Each side has a folder, a big file to copy, and a small one that the other side's would replace."""
        for top, big, small in ((self.desktop.home, "up", "down"), (self.desktop.remote, "down", "up")):
            os.mkdir(os.path.join(top, "sub"))
            for name, size in ((big, BIG), (small, 3)):
                with open(os.path.join(top, name), "wb") as file:
                    file.truncate(size)

    def browse(self):
        self.desktop.go(REMOTE, "C:\\", *ROWS)

    def offline(self):
        return find(self.desktop.side(REMOTE), "label", OFFLINE)

    def go_offline(self):
        self.tell_engine(signal.SIGUSR1)
        wait_for(self.offline, what="the offline view")

    def come_back(self):
        self.tell_engine(signal.SIGUSR2)
        wait_for(lambda: not self.offline() and not self.desktop.dialog(), what="the pane to come back")
        self.browse()

    def tell_engine(self, number):
        self.desktop.engine.send_signal(number)
        if number in (signal.SIGKILL, signal.SIGTERM):
            self.desktop.engine.wait()

    def ask_overwrite(self, name="up"):
        self.desktop.copy(*((LOCAL, ["up"], REMOTE) if name == "up" else (REMOTE, ["down"], LOCAL)))
        return self.desktop.wait_dialog("Confirmation")

    def hang_copy(self, name="up"):
        """A copy whose engine stands still in its middle, about to write; its progress dialog."""
        question = self.ask_overwrite(name)
        self.desktop.hold_engine()
        self.desktop.press(question, "Yes")
        wait_for(lambda: not self.desktop.dialog("Confirmation"), what="the question to close")
        return self.desktop.wait_dialog("File Operations")

    def kill_in_copy(self):
        self.hang_copy()
        self.tell_engine(signal.SIGKILL)

    def check_live(self, seconds):
        frame, end = self.desktop.frame(), time.monotonic() + seconds
        while time.monotonic() < end:
            start = time.monotonic()
            box_of(frame)
            self.assertLess(time.monotonic() - start, 1.8 * SLOW)
            time.sleep(0.01)


class Recovery(LinkTest):
    def test_engine_comes_late_ends_and_comes_back(self):
        d = self.desktop
        self.make_files()
        d.start_window()
        self.assertTrue(self.offline())
        d.open(LOCAL, "sub")
        wait_for(lambda: d.rows(LOCAL) == [".."], what="the local pane beside no engine")
        d.start_engine()
        d.wait_remote()
        self.browse()
        for end in (signal.SIGTERM, signal.SIGKILL):
            with self.subTest(end=end):
                self.tell_engine(end)
                d.open(REMOTE, "sub")
                self.check_live(0.5)
                d.take_notes(give_up=True)
                self.assertEqual(d.rows(REMOTE), ROWS, "the pane stays as it was")
                d.start_engine()
                self.browse()

    def test_remote_goes_off_line_and_comes_back(self):
        d = self.desktop
        self.start()
        self.go_offline()
        self.check_live(1)
        self.come_back()
        d.select(REMOTE, "up")
        d.ask("Rename", "F2")
        self.go_offline()
        d.answer("Rename", "other")
        d.wait_error()
        self.assertEqual(d.take_notes().strip(), "“up” cannot be renamed: The remote computer is not connected.")
        self.come_back()
        question = self.ask_overwrite()
        self.tell_engine(signal.SIGUSR1)
        self.check_live(1.5)  # the engine tries to tell meanwhile
        d.press(question, "Yes")
        d.take_notes()
        wait_for(self.offline, what="the offline view")
        self.come_back()
        self.assertIn(os.path.getsize(os.path.join(d.remote, "up")), (3, BIG), "the old file or the new one, whole")
        self.assertEqual(sorted(os.listdir(d.remote)), sorted(ROWS))


class Leaving(LinkTest):
    def test_second_start(self):
        d = self.desktop
        d.start_window()
        second = d.spawn([WINDOW], cwd=BUILD)
        box = wait_for(lambda: find(app_of(second), "alert"), what="the second start's box")
        self.assertIn(RUNNING, labels(box))
        d.press(box, "OK")
        self.assertEqual(second.wait(LIMIT), 0)
        self.assertIn(RUNNING, d.output())

    def hang_listing(self):
        self.desktop.hold_engine()
        self.desktop.open(REMOTE, "sub")
        self.desktop.wait_dialog("Processing…")

    def test_closing_in_every_state(self):
        states = {"idle": lambda: None, "offline": self.go_offline, "hung listing": self.hang_listing,
                  "copy": self.hang_copy, "overwrite question": self.ask_overwrite,
                  "engine killed": lambda: self.tell_engine(signal.SIGKILL),
                  "engine killed in a copy": self.kill_in_copy,
                  "cancelled copy": lambda: self.desktop.press(self.hang_copy("down"), "Cancel")}
        for name, reach in states.items():
            with self.subTest(name):
                self.start()
                reach()
                start = time.monotonic()
                self.assertEqual(self.desktop.close(), 0)
                self.assertLess(time.monotonic() - start, 4 * SLOW)
            self.tell_engine(signal.SIGCONT)
            self.desktop.stop()
            self.take_desktop()
