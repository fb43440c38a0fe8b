"""What the window does by itself from day to day: it remembers how it was left, follows the disk, tells what its
lists come to, and obeys keys wherever the keyboard is."""
import os
import subprocess
import time

from common import LIMIT, act_until, geometry, read, wait_for, write
from desktop import (BUILD, HERE, LOCAL, REMOTE, STATES, WINDOW, DesktopTest, box_of, find, has_state, labels,
                     text_of)

LONG = 10.5  # seconds after which the end of work is worth a notification


class Window(DesktopTest):
    def size(self):
        return geometry()[2:]

    def summary(self, side):
        return next((text for text in labels(self.desktop.side(side)) if text.startswith("Items: ")), "")

    def headers(self):
        table = find(self.desktop.frame(), "table")
        return [box_of(table.get_column_header(column)) for column in range(table.get_n_columns())]

    def look(self):
        """What is remembered, as it shows."""
        divider = find(self.desktop.frame(), "split pane").get_value_iface().get_current_value()
        return self.size(), divider, [header.width for header in self.headers()[1:]]

    def widen_column(self):
        header = self.headers()[1]
        x, y = header.x + header.width - 1, header.y + header.height // 2
        for words in (("mousemove", x, y), ("mousedown", 1), ("mousemove", x + 20, y), ("mousemove", x + 33, y),
                      ("mouseup", 1)):
            self.desktop.xdo(*words)

    def test_is_as_it_was_left(self):
        d = self.desktop
        state = os.path.join(d.home, "state", "relay-hub", "window")
        d.env["XDG_STATE_HOME"] = os.path.join(d.home, "state")
        write(state, b"[window]\nwidth=700\nheight=x\ndivider=9999\n")
        d.start_window()
        self.assertEqual(self.size(), (700, 400))
        self.assertEqual(self.look()[1], 600)
        subprocess.run(["wmctrl", "-r", "Relay Hub", "-e", "0,-1,-1,900,500"], check=True)
        wait_for(lambda: self.size() == (900, 500), what="the new size")
        find(d.frame(), "split pane").get_value_iface().set_current_value(520)
        wait_for(lambda: self.look()[1] == 520, what="the new place of the divider")
        width = self.look()[2][0]
        act_until(lambda: self.look()[2][0] > width + 20, self.widen_column, what="the wider column")
        header = find(d.table(LOCAL), "table column header") or d.table(LOCAL).get_column_header(0)
        header.do_action(0)  # descending
        wait_for(lambda: d.rows(LOCAL)[-1] in ("..", "state"), what="the other order")
        rows, look = d.rows(LOCAL), self.look()
        d.key("ctrl+w")
        self.assertEqual(d.window.wait(LIMIT), 0)
        d.start_window()
        wait_for(lambda: self.look() == look, what=f"the look before {look}")
        self.assertEqual(d.rows(LOCAL), rows)
        self.assertEqual(d.close(), 0)
        d.env["LANG"] = "de_DE.UTF-8"
        d.start_window()
        wait_for(lambda: self.look()[2][0] == width, what="the widths that suit another language's texts")

    def test_keys_of_the_first_second(self):
        """They arrive from the moment on at which the window has the keyboard, while both panes are being filled."""
        d = self.desktop
        d.start_engine()
        for number in range(8):
            name = f"typed at once {number}"
            d.window = d.spawn([WINDOW], cwd=BUILD)
            d.wait_keyboard("Relay Hub")
            d.xdo("key", "ctrl+shift+n")
            d.wait_keyboard("Create New Folder")
            d.xdo("type", "--delay", 1, name)
            d.xdo("key", "Return")
            wait_for(lambda: os.path.isdir(os.path.join(d.home, name)), what=name)
            wait_for(d.find_app, what="the window")
            self.assertEqual(d.close(), 0)

    def test_the_local_list_follows_the_disk(self):
        d = self.desktop
        for number in range(60):
            write(os.path.join(d.home, f"file {number}"), b"x" * 1024)
        d.start_window()
        d.select(LOCAL, "file 30", "file 32")
        write(os.path.join(d.home, "a new one"))
        d.wait_rows(LOCAL, "a new one")
        os.unlink(os.path.join(d.home, "file 32"))
        wait_for(lambda: "file 32" not in d.rows(LOCAL), what="the end of file 32")
        wait_for(lambda: d.selected(LOCAL) == ["file 30"], what="file 30 selected as before")
        row = d.table(LOCAL).get_accessible_at(d.rows(LOCAL).index("file 30"), 0)
        self.assertTrue(has_state(row, STATES.SHOWING), "scrolled away")
        d.ask("Rename", "F2")
        write(os.path.join(d.home, "while asked"))
        d.press(d.wait_dialog("Rename"), "Cancel")
        d.wait_rows(LOCAL, "while asked")
        wait_for(lambda: d.selected(LOCAL) == ["file 30"], what="file 30 selected as before")
        many = os.path.join(d.home, "many")
        for number in range(2100):
            write(os.path.join(many, f"more {number}"))
        d.go(LOCAL, many, count=2101)
        write(os.path.join(many, "one more"))
        wait_for(lambda: d.row_count(LOCAL) == 2102, what="a new row among many")
        for name in ("one more", "more 7"):
            os.unlink(os.path.join(many, name))
        wait_for(lambda: d.row_count(LOCAL) == 2100, what="the end of two rows among many")

    def test_lists_tell_what_they_come_to_and_copy_across(self):
        d = self.desktop
        for folder in (d.home, d.remote):
            for name, size in (("one", 1024), ("two", 2048)):
                write(os.path.join(folder, "work", name), b"x" * size)
        d.start("--style", "posix")
        d.go(LOCAL, os.path.join(d.home, "work"), "one", "two")
        d.go(REMOTE, "/work", "one", "two")
        for side in (LOCAL, REMOTE):
            wait_for(lambda: self.summary(side).startswith("Items: 2"), what="two items")
            d.select(side, "one", "two")
            wait_for(lambda: "Items: 2 · Selected: 2 (3.0 KB)" in self.summary(side), what="both selected")
            self.assertIn(" · Free: ", self.summary(side))
        for side, target, folder in ((LOCAL, REMOTE, d.home), (REMOTE, LOCAL, d.remote)):
            write(os.path.join(folder, "work", side))
            d.menu(side, "Refresh")
            d.select(side, side)
            d.key("ctrl+t")
            d.wait_rows(target, side)
            wait_for(lambda: d.selected(target) == [side], what="what has come selected")

    def test_keys_of_the_window(self):
        d = self.desktop
        work = os.path.join(d.home, "work")
        for name in ("note.txt", "other.tar.gz", ".hidden"):
            write(os.path.join(work, name))
        d.start_window()
        d.go(LOCAL, work, "note.txt", "other.tar.gz")
        d.click(d.row(LOCAL, "other.tar.gz"))
        d.key("n", "o", "Escape")
        wait_for(lambda: d.selected(LOCAL) == ["note.txt"], what="the name searched for")
        for key in ("F6", "ctrl+l"):
            d.click(d.row(LOCAL, "note.txt"))
            d.key(key)
            wait_for(lambda: has_state(d.entry(LOCAL), STATES.FOCUSED), what="the path entry's focus")
        d.key("ctrl+h")
        d.wait_rows(LOCAL, ".hidden")
        d.key("ctrl+h")
        wait_for(lambda: ".hidden" not in d.rows(LOCAL), what="the hidden file to go")
        d.key("alt+Up")
        wait_for(lambda: d.folder(LOCAL) == d.home, what="the parent folder")
        d.go(LOCAL, work, "note.txt", "other.tar.gz")
        d.key("alt+Home")
        wait_for(lambda: d.folder(LOCAL) == d.home and not d.dialog(), what="the first drive")
        d.go(LOCAL, work, "note.txt", "other.tar.gz")
        d.select(LOCAL, "other.tar.gz")
        d.key("shift+F10")
        bindings = {name: item.get_action_iface().get_key_binding(0)
                    for name, item in wait_for(d.menu_items, what="the menu").items()}
        self.assertEqual([bindings[name].split(";")[::2] for name in ("Rename", "Refresh")], [["r", "F2"], ["e", "F5"]])
        d.xdo("key", "r")  # the letter of Rename
        entry = find(d.wait_dialog("Rename"), "text")
        wait_for(lambda: text_of(entry) == "other.tar.gz", what="the old name")
        chosen = entry.get_text_iface().get_selection(0)
        self.assertEqual((chosen.start_offset, chosen.end_offset), (0, len("other.tar")))
        d.press(d.wait_dialog("Rename"), "Cancel")
        d.wait_quiet()
        d.key("ctrl+q")
        self.assertEqual(d.window.wait(LIMIT), 0)

    def test_the_keyboard_lost_with_a_dialog_comes_back(self):
        """As where a window manager gives it to a dialog that closes meanwhile: no window of any program has it."""
        d = self.desktop
        d.start("--style", "posix")
        manager = subprocess.check_output(["xprop", "-root", "_NET_SUPPORTING_WM_CHECK"], text=True).split()[-1]
        active, seen = "_NET_ACTIVE_WINDOW", []

        def lose():
            d.enter(REMOTE, "/")
            d.wait_quiet()
            d.xdo("windowfocus", manager)
            subprocess.run(["xprop", "-root", "-format", active, "32x", "-set", active, "0x7fffffff"], check=True)
            seen[:] = [has_state(d.frame(), STATES.ACTIVE)]

        def returned():
            seen.append(has_state(d.frame(), STATES.ACTIVE))
            return seen[-1] and False in seen
        act_until(returned, lose, 3, what="the keyboard to be lost and to come back")

    def turn_away(self):
        """Another window is in front; returns after so long that the end of what goes on is told of."""
        began = time.monotonic()
        subprocess.run(["wmctrl", "-a", "Partner"], check=True)
        wait_for(lambda: not has_state(self.desktop.dialog(), STATES.ACTIVE), what="the other window in front")
        wait_for(lambda: time.monotonic() > began + LONG, what="long work")

    def is_urgent(self):
        return "urgency" in subprocess.run(["xprop", "-name", "Relay Hub", "WM_HINTS"], capture_output=True, text=True,
                                           check=True).stdout

    def test_long_work_is_polite_and_tried_again(self):
        d = self.desktop
        d.env["DBUS_SYSTEM_BUS_ADDRESS"] = os.environ["DBUS_SESSION_BUS_ADDRESS"]
        d.spawn(["/usr/bin/python3", os.path.join(HERE, "desktop_services.py")])
        d.spawn(["env", "-u", "GTK_MODULES", "/usr/bin/python3", os.path.join(HERE, "drag_partner.py"), "/nothing"])
        wait_for(lambda: d.output("python3").count("has ") == 2 and "shown" in d.output("env"), what="the desktop")
        source = os.path.join(d.top, "source", "a.txt")
        folders = {LOCAL: os.path.join(d.home, "work"), REMOTE: os.path.join(d.remote, "work")}
        for folder in folders.values():
            write(os.path.join(folder, "a.txt"), b"old", seconds=1_500_000_000)
        d.start("--style", "posix")
        d.go(LOCAL, folders[LOCAL], "a.txt")
        d.go(REMOTE, "/work", "a.txt")
        printed = []

        def expect(*lines):
            printed.extend(lines)
            wait_for(lambda: d.output("python3").splitlines()[2:] == printed, what=str(printed))
        for side, folder in folders.items():
            with self.subTest(side):
                write(source, b"new")
                d.offer(f"file://{source}\r\n")
                d.menu(side, "Paste")
                question = d.wait_dialog("Confirmation")
                expect("awake sleep block")
                self.turn_away()
                os.unlink(source)
                d.press(question, "Yes")
                box = d.wait_error()
                expect("asleep", "notified: File operations finished with errors")
                self.assertTrue(self.is_urgent())
                self.assertIn("1 of 1 items", " ".join(labels(d.dialog("File Operations"))))
                write(source, b"new")
                d.press(box, "Try again")
                if side == LOCAL:
                    expect("awake sleep block")
                    question = d.wait_dialog("Confirmation")
                    self.turn_away()
                    d.press(question, "Yes")
                    expect("asleep", "notified: File operations finished")
                    d.wait_quiet()
                    d.take_keyboard()
                    wait_for(lambda: not self.is_urgent(), what="the urgency to end")
                else:
                    expect("awake sleep block", "asleep")
                d.wait_quiet()
                self.assertEqual(read(os.path.join(folder, "a.txt")), b"new")
