"""Everything without a mouse, and a spoken name for whatever can have the focus."""
import os
import subprocess

from common import wait_for, write
from desktop import BUILD, LOCAL, REMOTE, STATES, WINDOW, DesktopTest, children, find, has_state, main, walk


def focusable(top):
    """Showing widgets that can have the focus."""
    return [node for node in walk(top) if has_state(node, STATES.FOCUSABLE) and has_state(node, STATES.SHOWING)]


class Keyboard(DesktopTest):
    def focus(self):
        """Role, name and pane of the widget that has the focus."""
        return next(((node.get_role_name(), node.get_name(), node.get_description())
                     for node in focusable(self.desktop.frame()) if has_state(node, STATES.FOCUSED)), None)

    def rows_are(self, side, *names):
        wait_for(lambda: set(self.desktop.rows(side)) - {".."} == set(names), what=f"the rows {names}")
        self.desktop.wait_quiet()

    def go_to(self, side, name):
        """Down the list, row by row, until the row is reached."""
        d = self.desktop
        first = d.rows(side)[:1]
        if not d.selected(side):
            d.key("ctrl+space")  # the row of the cursor
            wait_for(lambda: d.selected(side), what="a selected row")
        if d.selected(side) != first:
            d.key("Home")
            wait_for(lambda: d.selected(side) == first, what="the first row")
        while d.selected(side) != [name]:
            before = d.selected(side)
            d.key("Down")
            wait_for(lambda: d.selected(side) != before, 3, what=f"the way from {before} to {name}")

    def enter_list(self, side):
        seen = set()
        while not self.desktop.has_focus(side):
            before = self.focus()
            self.assertNotIn(before, seen, "Tab goes round without the list")
            seen.add(before)
            self.desktop.key("Tab")
            wait_for(lambda: self.focus() not in (None, before), what=f"the focus to leave {before}")

    def test_a_day_without_a_mouse(self):
        d = self.desktop
        note = os.path.join(d.home, "mine", "note.txt")
        write(note)
        os.mkdir(os.path.join(d.remote, "theirs"))
        d.start()  # the remote pane shows its desktop, the folder itself here

        self.enter_list(LOCAL)
        for side in (REMOTE, LOCAL):
            d.key("Tab")
            wait_for(lambda: d.has_focus(side), what=f"the focus in the list of {side}")
        for name, key, folder in (("mine", "Return", os.path.dirname(note)), ("..", "BackSpace", d.home)):
            self.go_to(LOCAL, name)
            d.key(key)
            wait_for(lambda: d.folder(LOCAL) == folder, what=folder)

        for source, name, target, rows in ((LOCAL, "mine", REMOTE, ["mine", "theirs"]),
                                           (REMOTE, "theirs", LOCAL, ["mine", "theirs"])):
            self.go_to(source, name)
            d.key("ctrl+c", "Tab", "ctrl+v")
            self.rows_are(target, *rows)
        for side, name, rows in ((LOCAL, "theirs", ["mine", "Trash"]), (REMOTE, "mine", ["theirs"])):
            self.enter_list(side)
            self.go_to(side, name)
            d.key("Delete")
            d.answer("Confirmation")
            self.rows_are(side, *rows)
        d.key("ctrl+a", "shift+F10")
        wait_for(d.menu_items, what="the menu")
        d.close_menu()
        self.assertTrue(os.path.exists(note))
        self.assertEqual(d.close(), 0)

    def wait_focus(self, title):
        """The window manager has given the keyboard to the window of that title."""
        wait_for(lambda: subprocess.run(["xdotool", "getwindowfocus", "getwindowname"], capture_output=True, text=True,
                                        check=False).stdout == title + "\n", what=f"the keyboard in {title}")

    def test_first_second(self):
        """Keys arrive from the moment on at which the window has the keyboard, while both panes are being filled."""
        d = self.desktop
        d.start_engine()
        for number in range(8):
            name = f"typed at once {number}"
            d.window = d.spawn([WINDOW], cwd=BUILD)
            self.wait_focus("Relay Hub")
            d.xdo("key", "ctrl+shift+n")
            self.wait_focus("Create New Folder")
            d.xdo("type", "--delay", 1, name)
            d.xdo("key", "Return")
            wait_for(lambda: os.path.isdir(os.path.join(d.home, name)), what=name)
            wait_for(d.find_app, what="the window")
            self.assertEqual(d.close(), 0)

    def check_names(self, place, top):
        self.assertEqual([node.get_role_name() for node in focusable(top) if not node.get_name().strip()], [], place)

    def test_spoken_names(self):
        d = self.desktop
        os.mkdir(os.path.join(d.remote, "Documents"))
        for folder in (d.home, os.path.join(d.remote, "Desktop")):
            write(os.path.join(folder, "note.txt"), folder.encode())
        d.start()
        self.check_names("window", d.frame())
        for side, count in ((LOCAL, 2), (REMOTE, 3)):
            names = [entry.get_name() for entry in d.drives(side)]
            self.assertEqual(len(names), count)
            self.assertFalse([name for name in names if not name or name.startswith("gtk-")])
        openings = [lambda: d.menu(LOCAL, "New Folder"), lambda: d.menu(LOCAL, "Rename", "note.txt"),
                    lambda: d.menu(LOCAL, "Delete", "note.txt"), lambda: d.menu(LOCAL, "About Relay Hub"),
                    lambda: d.type_path(LOCAL, "/nowhere"), lambda: d.copy(LOCAL, ["note.txt"], REMOTE)]
        for number, open_it in enumerate(openings):
            open_it()
            d.wait_dialog()
            for box in children(d.app):  # the overwrite question stands before the progress
                self.check_names(f"opening {number}: {box.get_name()}", box)
            wait_for(self.way_out, what="a button that closes the dialog").do_action(0)
            d.wait_quiet()

    def way_out(self):
        box = self.desktop.dialog("Confirmation") or self.desktop.dialog()
        return next(filter(None, (find(box, "push button", name) for name in ("Cancel", "Close", "OK"))), None)


if __name__ == "__main__":
    main()
