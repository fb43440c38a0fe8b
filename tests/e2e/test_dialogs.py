"""A session that opens every dialog of the window, for the leaks and races that only a whole run shows."""
import os
import signal
import subprocess

import test_panes
from common import wait_for, write
from desktop import BUILD, LOCAL, REMOTE, STATES, WINDOW, app_of, find, has_state, main
from test_panes import SIDES

ANSWERS = ["Yes", "No", "Replace All", "Cancel"]


class EveryDialog(test_panes.PaneTest):
    def test_in_one_session(self):
        d = self.desktop
        self.start()
        for side, target in (SIDES, SIDES[::-1]):
            self.names_and_deletion(side)
            self.copies(side, target)
            self.silent_engine(side, target)
        self.copies_from_another_program()
        for side, path in ((LOCAL, "/nowhere"), (REMOTE, "C:\\nowhere")):
            d.type_path(side, path)
            self.refuse("nowhere")
        d.menu(LOCAL, "About Relay Hub")
        self.press("Close", "About Relay Hub")
        second = d.spawn([WINDOW], cwd=BUILD)
        d.press(wait_for(lambda: find(app_of(second), "alert"), what="the second window's box"), "OK")
        self.assertEqual(second.wait(60), 0)
        self.assertEqual(d.close(), 0)

    def press(self, button, title):
        self.desktop.press(self.desktop.wait_dialog(title), button)
        wait_for(lambda: not self.desktop.dialog(title), what=f"the end of the dialog {title}")

    def names_and_deletion(self, side):
        d = self.desktop
        d.menu(side, "New Folder")
        d.answer("Create New Folder")
        self.refuse("valid name")
        self.refuse_names(side)
        if side == LOCAL:  # where the dialog itself refuses
            self.press("Cancel", "Rename")
        for button, row in (("Cancel", "b.txt"), ("OK", "c.txt")):
            self.settled(side, "b.txt")
            d.ask("Confirmation", "Delete")
            self.press(button, "Confirmation")
            self.settled(side, row)

    def copies(self, side, target):
        d = self.desktop
        write(os.path.join(self.below[side], "a.txt"))
        for seconds, answer in enumerate(ANSWERS):  # nobody is asked about a file that is the same
            write(os.path.join(self.below[target], "a.txt"), seconds=seconds)
            d.copy(side, ["a.txt"], target, answer)
            d.wait_quiet()
        pipe = f"pipe of {side}"
        os.mkfifo(os.path.join(self.below[side], pipe))
        d.menu(side, "Refresh")
        d.wait_rows(side, pipe)
        d.copy(side, [pipe], target)
        self.refuse(pipe)
        d.wait_quiet()

    def silent_engine(self, side, target):
        """The progress dialog and the busy dialog stay for as long as the engine says nothing."""
        d = self.desktop
        d.select(side, "c.txt")
        d.menu(side, "Copy", "c.txt")
        for pane, item in ((target, "Paste"), (REMOTE, "Refresh")):
            d.hold_engine()
            d.menu(pane, item)
            dialog = d.wait_dialog()
            if item == "Paste":
                cancel = find(dialog, "push button", "Cancel")
                cancel.do_action(0)
                wait_for(lambda: not has_state(cancel, STATES.SENSITIVE), what="the cancel")
            d.engine.send_signal(signal.SIGCONT)
            d.wait_quiet()

    def copies_from_another_program(self):
        d = self.desktop
        offered, pipe = (os.path.join(d.top, name) for name in ("a.txt", "nofile"))
        write(offered, b"offered")
        os.mkfifo(pipe)
        for answer in [*ANSWERS, None]:
            uri = f"file://{offered if answer else pipe}\r\n"
            test_panes.Clipboard.clipboard(test_panes.URIS, "-i", input=uri.encode(), stdout=subprocess.DEVNULL)
            d.menu(LOCAL, "Paste")
            if answer:
                self.press(answer, "Confirmation")
            else:
                self.refuse("nofile")
            d.wait_quiet()


if __name__ == "__main__":
    main()
