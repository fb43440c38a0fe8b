"""Everything without a mouse, and a spoken name for whatever can have the focus."""
import os
import subprocess
import unittest

from desktop import LOCAL, REMOTE, Atspi, DesktopTest, children, find, main, wait_for

STATES = Atspi.StateType


def focusable(node):
    """Showing widgets that can have the focus; the cells of tables are left out, they hold the user's names."""
    states = node.get_state_set()
    if states.contains(STATES.FOCUSABLE) and states.contains(STATES.SHOWING):
        yield node
    if node.get_role_name() != "table":
        for child in children(node):
            yield from focusable(child)


class Keyboard(DesktopTest):
    def keys(self, *names):
        for name in names:
            wait_for(self.has_keyboard, what="the keyboard in the window")
            self.desktop.xdo("key", name)

    def has_keyboard(self):
        if any(node.get_state_set().contains(STATES.ACTIVE) for node in children(self.desktop.app)):
            return True
        # This window manager loses count when a dialog lives for a blink only; a person would press Alt+Tab.
        if not self.desktop.dialog():
            subprocess.run(["wmctrl", "-a", "Relay Hub"], check=False)
        return False

    def focus(self):
        """Role, name and pane of the widget that has the focus."""
        return next(((node.get_role_name(), node.get_name(), node.get_description())
                     for node in focusable(self.desktop.frame()) if node.get_state_set().contains(STATES.FOCUSED)), None)

    def focused(self, side):
        return self.desktop.table(side).get_state_set().contains(STATES.FOCUSED)

    def answer(self, title, text=None):
        """Types into the dialog, if there is anything to type, and confirms it with Return."""
        box = self.desktop.wait_dialog(title)
        wait_for(lambda: box.get_state_set().contains(STATES.ACTIVE), what=f"the keyboard in the dialog {title}")
        if text:
            self.keys("ctrl+a")
            self.desktop.xdo("type", "--delay", "5", text)
        self.keys("Return")
        wait_for(lambda: not self.desktop.dialog(title), what=f"the end of the dialog {title}")
        self.desktop.wait_quiet()

    def rows_are(self, side, *names):
        wait_for(lambda: set(self.desktop.rows(side)) - {".."} == set(names), what=f"the rows {names}")

    def selected(self, side):
        table = self.desktop.table(side).get_table_iface()
        return [name for row, name in enumerate(self.desktop.rows(side)) if table.is_row_selected(row)]

    def go_to(self, side, name):
        """Down the list, row by row, until the row is reached."""
        if not self.selected(side):
            self.keys("ctrl+space")  # the row of the cursor
            wait_for(lambda: self.selected(side), what="a selected row")
        first = self.desktop.rows(side)[:1]
        if self.selected(side) != first:
            self.keys("Home")
            wait_for(lambda: self.selected(side) == first, what="the first row")
        while self.selected(side) != [name]:
            before = self.selected(side)
            self.keys("Down")
            wait_for(lambda: self.selected(side) != before, 3, what=f"the way from {before} to {name}")

    def enter_list(self, side):
        seen = set()
        while not self.focused(side):
            before = self.focus()
            self.assertNotIn(before, seen, "Tab goes round without the list")
            seen.add(before)
            self.keys("Tab")
            wait_for(lambda: self.focus() not in (None, before), what=f"the focus to leave {before}")

    def test_a_day_without_a_mouse(self):
        d = self.desktop
        os.mkdir(os.path.join(d.home, "mine"))
        os.mkdir(os.path.join(d.remote, "theirs"))
        with open(os.path.join(d.home, "mine", "note.txt"), "w") as file:
            file.write("from here")
        d.start()  # the remote pane shows its desktop, the folder itself here

        self.enter_list(LOCAL)
        for side in (REMOTE, LOCAL):
            self.keys("Tab")
            wait_for(lambda: self.focused(side), what=f"the focus in the list of {side}")
        self.go_to(LOCAL, "mine")
        self.keys("Return")
        wait_for(lambda: d.folder(LOCAL) == os.path.join(d.home, "mine"), what="the folder mine")
        self.keys("BackSpace")
        wait_for(lambda: d.folder(LOCAL) == d.home, what="the parent folder")

        self.keys("ctrl+shift+n")
        self.answer("Create New Folder", "fresh")
        self.rows_are(LOCAL, "fresh", "mine")
        self.go_to(LOCAL, "fresh")
        self.keys("F2")
        self.answer("Rename", "renamed")
        self.rows_are(LOCAL, "mine", "renamed")

        self.go_to(LOCAL, "mine")
        self.keys("ctrl+c", "Tab", "ctrl+v")
        self.rows_are(REMOTE, "mine", "theirs")
        d.wait_quiet()
        self.go_to(REMOTE, "theirs")
        self.keys("ctrl+c", "Tab", "ctrl+v")
        self.rows_are(LOCAL, "mine", "renamed", "theirs")
        d.wait_quiet()

        self.go_to(LOCAL, "theirs")
        self.keys("Delete")
        self.answer("Confirmation")
        self.rows_are(LOCAL, "mine", "renamed", "Trash")
        self.keys("ctrl+a", "shift+F10")
        wait_for(lambda: d.menu_item("Delete"), what="the menu")
        self.keys("Escape")
        wait_for(lambda: not d.menu_item("Delete"), what="the end of the menu")
        self.enter_list(REMOTE)
        self.go_to(REMOTE, "mine")
        self.keys("Delete")
        self.answer("Confirmation")
        self.rows_are(REMOTE, "theirs")
        self.assertTrue(os.path.exists(os.path.join(d.home, "mine", "note.txt")))
        self.assertEqual(d.close(), 0)

    def check_names(self, place, top):
        unnamed = [node.get_role_name() for node in focusable(top) if not node.get_name().strip()]
        self.assertEqual(unnamed, [], place)

    def test_spoken_names(self):
        d = self.desktop
        for name in ("Desktop", "Documents"):
            os.mkdir(os.path.join(d.remote, name))
        for folder in (d.home, os.path.join(d.remote, "Desktop")):
            with open(os.path.join(folder, "note.txt"), "w") as file:
                file.write("x" * len(folder))
        d.start()
        self.check_names("window", d.frame())
        for side, count in ((LOCAL, 2), (REMOTE, 3)):
            entries = list(children(find(find(d.side(side), "combo box"), "menu", showing=False)))
            self.assertEqual(len(entries), count)
            for entry in entries:
                self.assertNotRegex(entry.get_name(), "^(gtk-.*)?$")
        openings = [lambda: d.menu(LOCAL, "New Folder"), lambda: d.menu(LOCAL, "Rename", "note.txt"),
                    lambda: d.menu(LOCAL, "Delete", "note.txt"), lambda: d.menu(LOCAL, "About Relay Hub"),
                    lambda: d.type_path(LOCAL, "/nowhere"), lambda: d.copy(LOCAL, ["note.txt"], REMOTE)]
        for number, open_it in enumerate(openings):
            open_it()
            d.wait_dialog()
            for box in children(d.app):  # the overwrite question stands before the progress
                self.check_names(f"opening {number}: {box.get_name()}", box)
            d.click(wait_for(self.way_out, what="a button that closes the dialog"))
            d.wait_quiet()

    def way_out(self):
        buttons = (find(self.desktop.dialog("Confirmation") or self.desktop.dialog(), "push button", name)
                   for name in ("Cancel", "Close", "OK"))
        return next(filter(None, buttons), None)


if __name__ == "__main__":
    main()
