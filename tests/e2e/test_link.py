"""The window beside an engine that is late, slow, hung, dead or off line: it stays live, and lets its user go."""
import os
import signal
import subprocess
import time

from desktop import BUILD, LOCAL, REMOTE, SLOW, WINDOW, Atspi, DesktopTest, children, find, main, wait_for
from hostile_engine import BASE, HONEST_ROWS, Answer, HostileEngine, frame

OFFLINE = "The remote computer is not connected."
RUNNING = "Relay Hub is already running."
BIG = 256 << 20
ROWS = ["sub", "file"]


class LinkTest(DesktopTest):
    def start(self, *options):
        self.make_files()
        self.desktop.start(*options)
        self.browse()

    def make_files(self):
        """Each side has a folder and a file of the same name; the local file is a big one."""
        for top, size in ((self.desktop.home, BIG), (self.desktop.remote, 3)):
            os.mkdir(os.path.join(top, "sub"))
            with open(os.path.join(top, "file"), "wb") as file:
                file.truncate(size)

    def remote_files(self):
        """The remote files with their sizes: what a broken copy left would be here too."""
        return {entry.name: entry.stat().st_size for entry in os.scandir(self.desktop.remote) if entry.is_file()}

    def browse(self):
        self.desktop.type_path(REMOTE, "C:\\")
        self.wait_rows(ROWS)

    def wait_rows(self, rows, limit=15):
        d = self.desktop
        wait_for(lambda: d.rows(REMOTE) == rows and not d.dialog(), limit, what=f"{rows} in the remote pane")

    def offline(self):
        return find(self.desktop.side(REMOTE), "label", OFFLINE)

    def go_off_line(self):
        self.tell_engine(signal.SIGUSR1)
        wait_for(self.offline, what="the off-line view")

    def come_back(self):
        self.tell_engine(signal.SIGUSR2)
        wait_for(lambda: not self.offline() and not self.desktop.dialog(), what="the pane to come back")
        self.browse()

    def tell_engine(self, number):
        self.desktop.engine.send_signal(number)
        if number in (signal.SIGKILL, signal.SIGTERM):
            self.desktop.engine.wait()

    def ask_overwrite(self):
        self.desktop.copy(LOCAL, ["file"], REMOTE)
        return self.desktop.wait_dialog("Confirmation")

    def hang_copy(self):
        """A copy whose engine stands still in its middle, about to write; its progress dialog."""
        question = self.ask_overwrite()
        self.tell_engine(signal.SIGSTOP)
        self.desktop.press(question, "Yes")
        return self.desktop.wait_dialog("File Operations")

    def take_notes(self, give_up=False):
        """Closes error boxes until the action is over, to give up the busy dialog too; what the boxes said."""
        d, said = self.desktop, []

        def quiet():
            box = d.error_box()
            if box:
                said.extend(d.dialog_texts(box))
                d.press(box, "OK")
            elif give_up and d.dialog("Processing…"):
                subprocess.run(["wmctrl", "-F", "-c", "Processing…"], check=False)
            return not d.dialog()
        wait_for(quiet, 30, what="the end of the action")
        return " ".join(said)

    def check_live(self, seconds):
        """The window answers all the while. On a busy machine an answer may be late, but not one in twenty."""
        node, delays, end = self.desktop.frame().get_component_iface(), [], time.monotonic() + seconds
        while time.monotonic() < end:
            start = time.monotonic()
            node.get_extents(Atspi.CoordType.SCREEN)
            delays.append(time.monotonic() - start)
            time.sleep(0.01)
        delays.sort()
        self.assertLess(delays[len(delays) * 95 // 100], 0.3 * SLOW)
        self.assertLess(delays[-1], 1.0 * SLOW)


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
                self.take_notes(give_up=True)
                self.assertEqual(d.rows(REMOTE), ROWS, "the pane stays as it was")
                d.start_engine()
                self.browse()
        self.assertEqual(d.close(), 0)

    def test_remote_goes_off_line_and_comes_back(self):
        d = self.desktop
        self.start()
        for _ in range(2):
            self.go_off_line()
            self.check_live(1)
            self.come_back()
        question = self.ask_overwrite()
        self.tell_engine(signal.SIGUSR1)
        d.press(question, "Yes")
        self.take_notes()
        wait_for(self.offline, what="the off-line view")
        self.come_back()
        self.assertIn(self.remote_files(), [{"file": 3}, {"file": BIG}], "the old file or the new one, whole")
        self.assertEqual(d.close(), 0)

    def test_engine_dies_in_the_middle_of_a_copy(self):
        self.start()
        self.hang_copy()
        self.tell_engine(signal.SIGKILL)
        self.check_live(1)
        self.assertIn("Operation Fail.", self.take_notes(give_up=True))
        self.desktop.start_engine()
        self.browse()
        self.assertEqual(self.remote_files(), {"file": 3})


class Leaving(LinkTest):
    def test_cancel(self):
        d = self.desktop
        self.start()
        for way in ("button", "escape"):
            with self.subTest(way):
                cancel = find(self.hang_copy(), "push button", "Cancel")
                if way == "button":
                    d.click(cancel, repeat=2)
                else:
                    d.xdo("key", "Escape", "Escape")
                wait_for(lambda: not cancel.get_state_set().contains(Atspi.StateType.SENSITIVE), what="the cancel")
                self.assertIsNotNone(d.dialog("File Operations"), "open until the copy has ended")
                self.tell_engine(signal.SIGCONT)
                self.wait_rows(ROWS)
                self.assertEqual(self.remote_files(), {"file": 3})
        d.press(self.hang_copy(), "Cancel")
        self.check_live(2)
        self.assertEqual(self.take_notes(give_up=True), "", "the user knows what was cancelled")
        self.tell_engine(signal.SIGCONT)
        self.browse()
        self.assertEqual(self.remote_files(), {"file": 3})

    def test_second_start(self):
        d = self.desktop
        d.start_window()
        second = d.spawn([WINDOW], cwd=BUILD)

        def box():
            return next((find(app, "alert") for app in children(Atspi.get_desktop(0))
                         if app.get_process_id() == second.pid), None)
        self.assertIn(RUNNING, d.dialog_texts(wait_for(box, what="the second start's box")))
        d.press(box(), "OK")
        self.assertEqual(second.wait(5 * SLOW), 0)
        self.assertIn(RUNNING, d.output())
        self.assertEqual(d.close(), 0)

    def hang_listing(self):
        self.tell_engine(signal.SIGSTOP)
        self.desktop.open(REMOTE, "sub")
        self.desktop.wait_dialog("Processing…")

    def ask(self, side, item, title):
        self.desktop.menu(side, item, "file")
        self.desktop.wait_dialog(title)

    def kill_in_copy(self):
        self.hang_copy()
        self.tell_engine(signal.SIGKILL)

    def test_closing_in_every_state(self):
        states = {"idle": lambda: None, "off line": self.go_off_line, "hung listing": self.hang_listing,
                  "copy": self.hang_copy, "overwrite question": self.ask_overwrite,
                  "local deletion": lambda: self.ask(LOCAL, "Delete", "Confirmation"),
                  "remote deletion": lambda: self.ask(REMOTE, "Delete", "Confirmation"),
                  "renaming": lambda: self.ask(REMOTE, "Rename", "Rename"),
                  "engine killed": lambda: self.tell_engine(signal.SIGKILL),
                  "engine killed in a copy": self.kill_in_copy,
                  "cancelled copy": lambda: self.desktop.press(self.hang_copy(), "Cancel")}
        for name, reach in states.items():
            with self.subTest(name):
                self.start()
                reach()
                start = time.monotonic()
                self.assertEqual(self.desktop.close(), 0)
                self.assertLess(time.monotonic() - start, 2 * SLOW)
            self.tell_engine(signal.SIGCONT)
            self.desktop.stop()
            self.desktop = type(self.desktop)()
            self.addCleanup(self.desktop.stop)


class Repainting(LinkTest):
    def test_pipes_without_an_engine(self):
        for end in ("_IN", "_OUT"):
            os.mkfifo(BASE + end, 0o600)
        self.desktop.start_window()
        self.check_live(4)
        self.assertTrue(self.offline())
        self.assertEqual(self.desktop.close(), 0)

    def test_slow_listing(self):
        self.make_files()
        self.desktop.start("--delay", "3000")
        self.desktop.type_path(REMOTE, "C:\\sub")
        self.desktop.wait_dialog("Processing…")
        self.check_live(2)
        self.wait_rows([".."])

    def test_engine_that_stays_silent_or_breaks_off(self):
        d = self.desktop
        hostile = HostileEngine()
        self.addCleanup(hostile.stop)
        d.start_window()
        for name, answer in {"silent": Answer(hold=True), "no body": Answer(frame(b"", 500)),
                             "no body yet": Answer(frame(b"", 500), hold=True)}.items():
            with self.subTest(name):
                wait_for(lambda: HONEST_ROWS[0] in d.rows(REMOTE) and not d.dialog(), what="the honest rows")
                hostile.lie(answer)
                d.open(REMOTE, "honest folder")
                wait_for(lambda: hostile.served, what="the request")
                self.check_live(1.5)
                self.take_notes(give_up=True)
                hostile.be_honest()
        self.assertEqual(d.close(), 0)


if __name__ == "__main__":
    main()
