"""A session that opens every dialog of the window, for the leaks and races that only a whole run shows."""
import os
import signal
import subprocess

import test_panes
from desktop import BUILD, LOCAL, REMOTE, WINDOW, Atspi, children, find, main, wait_for
from test_panes import SIDES, write

ANSWERS = ["Yes", "No", "Replace All", "Cancel"]


class EveryDialog(test_panes.PaneTest):
    def test_in_one_session(self):
        self.start()
        for side, target in (SIDES, SIDES[::-1]):
            self.names_and_deletion(side)
            self.copies(side, target)
            self.silent_engine(side, target)
        self.copies_from_another_program()
        for side, path in ((LOCAL, "/nowhere"), (REMOTE, "C:\\nowhere")):
            self.desktop.type_path(side, path)
            self.refuse("nowhere")
        self.desktop.menu(LOCAL, "About Relay Hub")
        self.press("Close", "About Relay Hub")
        self.start_again()
        self.assertEqual(self.desktop.close(), 0)

    def press(self, button, title):
        self.desktop.press(self.desktop.wait_dialog(title), button)
        wait_for(lambda: not self.desktop.dialog(title), what=f"the end of the dialog {title}")

    def names_and_deletion(self, side):
        self.desktop.menu(side, "New Folder")
        self.desktop.wait_dialog("Create New Folder")
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
        if self.desktop.dialog("Rename"):
            self.press("Cancel", "Rename")
        for button, row in (("Cancel", "b.txt"), ("OK", "c.txt")):
            self.settled(side, "b.txt")
            self.key("Delete")
            self.press(button, "Confirmation")
            self.settled(side, row)

    def copies(self, side, target):
        for answer in ANSWERS:
            self.desktop.copy(side, ["a.txt"], target, answer)
            self.desktop.wait_quiet()
        pipe = f"pipe of {side}"
        os.mkfifo(os.path.join(self.below[side], pipe))
        self.desktop.menu(side, "Refresh")
        self.wait_row(side, pipe)
        self.desktop.copy(side, [pipe], target)
        self.refuse(pipe)
        self.desktop.wait_quiet()

    def silent_engine(self, side, target):
        """The progress dialog and the busy dialog stay for as long as the engine says nothing."""
        self.desktop.select(side, "c.txt")
        self.desktop.menu(side, "Copy", "c.txt")
        for pane, item, button in ((target, "Paste", "Cancel"), (REMOTE, "Refresh", None)):
            self.desktop.engine.send_signal(signal.SIGSTOP)
            self.desktop.menu(pane, item)
            dialog = self.desktop.wait_dialog()
            if button:
                self.desktop.press(dialog, button)
            self.desktop.engine.send_signal(signal.SIGCONT)
            self.desktop.wait_quiet()

    def copies_from_another_program(self):
        offered, pipe = (os.path.join(self.desktop.top, name) for name in ("a.txt", "nofile"))
        write(offered, b"offered")
        os.mkfifo(pipe)
        for answer in [*ANSWERS, None]:
            uri = f"file://{offered if answer else pipe}\r\n"
            test_panes.Clipboard.clipboard(test_panes.URIS, "-i", input=uri.encode(), stdout=subprocess.DEVNULL)
            self.desktop.menu(LOCAL, "Paste")
            if answer:
                self.press(answer, "Confirmation")
            else:
                self.refuse("nofile")
            self.desktop.wait_quiet()

    def start_again(self):
        second = self.desktop.spawn([WINDOW], cwd=BUILD)

        def button():
            apps = (app for app in children(Atspi.get_desktop(0)) if app.get_process_id() == second.pid)
            return next((find(app, "push button", "OK") for app in apps), None)
        self.desktop.click(wait_for(button, what="the second window's box"))
        self.assertEqual(second.wait(60), 0)


if __name__ == "__main__":
    main()
