"""A session that opens every dialog of the window: for the leaks and races that only a whole run shows."""
import os
import signal
import unittest

import test_panes
from desktop import BUILD, LOCAL, REMOTE, WINDOW, Atspi, children, find, main, wait_for
from test_panes import SIDES, URIS, write

ANSWERS = ["Yes", "No", "Replace All", "Cancel"]


class EveryDialog(test_panes.PaneTest):
    def test_in_one_session(self):
        d = self.desktop
        self.start()
        for side in SIDES:
            with self.subTest(side):
                self.names(side)
                self.deletion(side)
                self.overwriting(side)
                self.stalled_copy(side)
                self.failed_copy(side)
        self.local_job()
        self.boxes()
        self.second_window()
        self.assertEqual(d.close(), 0)

    def names(self, side):
        d = self.desktop
        d.menu(side, "New Folder")
        d.press(d.wait_dialog("Create New Folder"), "Cancel")
        d.wait_quiet()
        d.menu(side, "New Folder")
        d.wait_dialog("Create New Folder")
        self.key("Return")
        self.refuse("valid name")
        self.answer("b.txt")
        self.refuse("cannot be created" if side == LOCAL else "Operation Fail.")
        self.settled(side, "b.txt")
        self.ask("Rename", "F2")
        self.answer("c.txt")
        self.refuse("already has that name")
        self.answer("x/y")
        self.refuse("cannot be renamed")
        if d.dialog("Rename"):
            d.press(d.dialog("Rename"), "Cancel")
        self.settled(side, "b.txt")

    def deletion(self, side):
        d = self.desktop
        d.press(self.ask("Confirmation", "Delete"), "Cancel")
        self.settled(side, "b.txt")
        d.press(self.ask("Confirmation", "Delete"), "OK")
        self.settled(side, "c.txt")

    def overwriting(self, side):
        target = SIDES[1 - SIDES.index(side)]
        for answer in ANSWERS:
            self.desktop.copy(side, ["a.txt"], target, answer)
            self.desktop.wait_quiet()

    def stalled_copy(self, side):
        """The progress dialog and the busy dialog stay for as long as the engine is silent."""
        d = self.desktop
        d.select(side, "c.txt")
        d.menu(side, "Copy", "c.txt")
        d.engine.send_signal(signal.SIGSTOP)
        d.menu(SIDES[1 - SIDES.index(side)], "Paste")
        d.press(d.wait_dialog("File Operations"), "Cancel")
        d.engine.send_signal(signal.SIGCONT)
        d.wait_quiet()
        d.engine.send_signal(signal.SIGSTOP)
        d.menu(REMOTE, "Refresh")
        d.wait_dialog()
        d.engine.send_signal(signal.SIGCONT)
        d.wait_quiet()

    def failed_copy(self, side):
        d = self.desktop
        pipe = f"pipe of {side}"
        os.mkfifo(os.path.join(self.below[side], pipe))
        d.menu(side, "Refresh")
        self.wait_row(side, pipe)
        d.copy(side, [pipe], SIDES[1 - SIDES.index(side)])
        self.refuse(pipe)
        d.wait_quiet()

    def local_job(self):
        """Files that another program offers: the copy job asks and tells by itself."""
        d = self.desktop
        offered = os.path.join(d.top, "a.txt")
        write(offered, b"offered")
        os.mkfifo(os.path.join(d.top, "no file"))
        for answer in [*ANSWERS, None]:
            path = offered if answer else os.path.join(d.top, "no file")
            test_panes.Clipboard.clipboard(URIS, "-i", input=f"file://{path}\r\n".replace(" ", "%20").encode(),
                                           stdout=-3)
            d.menu(LOCAL, "Paste")
            if answer:
                d.press(d.wait_dialog("Confirmation"), answer)
            else:
                self.refuse("no file")
            d.wait_quiet()

    def boxes(self):
        d = self.desktop
        for side, path in ((LOCAL, "/nowhere"), (REMOTE, "C:\\nowhere")):
            d.type_path(side, path)
            self.refuse("nowhere")
            d.wait_quiet()
        d.menu(LOCAL, "About Relay Hub")
        d.press(d.wait_dialog(), "Close")
        d.wait_quiet()

    def second_window(self):
        d = self.desktop
        second = d.spawn([WINDOW], cwd=BUILD)
        def button():
            apps = (app for app in children(Atspi.get_desktop(0)) if app.get_process_id() == second.pid)
            return next((find(app, "push button", "OK") for app in apps), None)
        d.click(wait_for(button, what="the second window's box"))
        self.assertEqual(second.wait(60), 0)


if __name__ == "__main__":
    main()
