"""What a person does to the files of either pane: with its menu, its keys, the desktop's clipboard and the mouse."""
import os
import re
import subprocess
import unittest

from desktop import LOCAL, REMOTE, DesktopTest, children, find, main, wait_for

NAMES = ["a.txt", "b.txt", "c.txt"]
SIDES = (LOCAL, REMOTE)
MENU = ["Copy", "Delete", "New Folder", "Rename", "Refresh", "About Relay Hub"]
GNOME, URIS = "x-special/gnome-copied-files", "text/uri-list"
FOREIGN_OFFERS = {"copied": (GNOME, "copy\n{}"), "plain list": (URIS, "{}\r\n"), "cut": (GNOME, "cut\n{}")}
PARTNER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "drag_partner.py")


def write(path, content=b"content"):
    with open(path, "wb") as file:
        file.write(content)


def read(path):
    with open(path, "rb") as file:
        return file.read()


class PaneTest(DesktopTest):
    def start(self, style="windows"):
        """Both panes show a folder of their own with three files."""
        d = self.desktop
        self.below = {LOCAL: os.path.join(d.home, "work"), REMOTE: os.path.join(d.remote, "work")}
        for folder in self.below.values():
            os.mkdir(folder)
            for name in NAMES:
                write(os.path.join(folder, name))
        d.start("--style", style)
        self.go(LOCAL, self.below[LOCAL])
        self.go(REMOTE, "/work" if style == "posix" else "C:\\work")

    def go(self, side, path, rows=NAMES):
        self.desktop.type_path(side, path)
        wait_for(lambda: self.desktop.rows(side) == ["..", *rows], what=f"the rows of {path}")
        self.desktop.wait_quiet()

    def wait_row(self, side, *names):
        wait_for(lambda: set(names) <= set(self.desktop.rows(side)), what=f"{names} in {side}")
        self.desktop.wait_quiet()

    def refuse(self, words):
        """An error box says so; the user takes note."""
        box = wait_for(self.desktop.error_box, what=f"a box with {words}")
        self.assertIn(words, " ".join(self.desktop.dialog_texts(box)))
        self.desktop.press(box, "OK")
        wait_for(lambda: not self.desktop.error_box(), what="the box to close")

    def settled(self, side, *selected):
        """The action is over: these rows are selected, and keys go to the list."""
        d = self.desktop
        d.wait_quiet()
        wait_for(lambda: d.selected(side) == list(selected) and d.has_focus(side), what=f"focus and {selected}")

    def key(self, *keys):
        self.desktop.xdo("key", *keys)

    def answer(self, text):
        self.key("ctrl+a", "Delete")
        self.desktop.xdo("type", text)
        self.key("Return")

    def ask(self, title, *keys):
        self.key(*keys)
        return self.desktop.wait_dialog(title)


class Actions(PaneTest):
    def test_windows_paths(self):
        self.start("windows")
        for side in SIDES:
            with self.subTest(side):
                self.work_through(side, slash_refused_by_dialog=side == LOCAL)
        self.assertEqual(self.desktop.close(), 0)

    def test_posix_paths(self):
        self.start("posix")
        self.work_through(REMOTE, slash_refused_by_dialog=True)

    def work_through(self, side, slash_refused_by_dialog):
        d, folder = self.desktop, self.below[side]
        d.menu(side, "New Folder")
        d.wait_dialog("Create New Folder")
        self.key("Return")
        self.refuse("valid name")
        self.answer("aa new")
        self.settled(side, "aa new")
        self.assertTrue(os.path.isdir(os.path.join(folder, "aa new")))
        self.ask("Create New Folder", "ctrl+shift+n")
        self.answer("b.txt")
        self.refuse("cannot be created" if side == LOCAL else "Operation Fail.")
        self.settled(side, "b.txt")

        self.ask("Rename", "F2")
        self.answer("c.txt")
        self.refuse("already has that name")
        self.answer("x/y")
        self.refuse("cannot be renamed")
        if not slash_refused_by_dialog:
            self.settled(side, "b.txt")
            self.ask("Rename", "F2")
        self.answer("bb – Grüße.txt")
        self.settled(side, "bb – Grüße.txt")
        self.assertEqual(sorted(os.listdir(folder)), ["a.txt", "aa new", "bb – Grüße.txt", "c.txt"])

        d.menu(side, "Delete", "bb – Grüße.txt")
        d.press(d.wait_dialog("Confirmation"), "Cancel")
        self.settled(side, "bb – Grüße.txt")
        d.press(self.ask("Confirmation", "Delete"), "OK")
        self.settled(side, "c.txt")
        self.assertEqual(sorted(os.listdir(folder)), ["a.txt", "aa new", "c.txt"])
        self.check_trash(side, "bb – Grüße.txt")

        write(os.path.join(folder, "added.txt"))
        self.key("F5")
        self.wait_row(side, "added.txt")
        self.settled(side, "c.txt")

    def check_trash(self, side, name):
        if side == REMOTE:
            trash = os.path.join(self.desktop.remote, f".Trash-{os.getuid()}")
            self.assertEqual(os.listdir(os.path.join(trash, "files")), [name])
            self.assertEqual(os.listdir(os.path.join(trash, "info")), [name + ".trashinfo"])
            return
        trash = os.path.join(self.desktop.home, "Trash")
        folder, info = sorted(os.listdir(trash))
        self.assertEqual((info, os.listdir(os.path.join(trash, folder))), (folder + ".info", [name]))
        path, *numbers = read(os.path.join(trash, info)).decode().splitlines()
        status = os.stat(os.path.join(trash, folder, name))
        self.assertEqual(path, os.path.join(self.below[side], name))
        self.assertEqual(numbers[1:], [f"{number:x}" for number in (7, status.st_mode, int(status.st_mtime))])


class Mouse(PaneTest):
    def menu_labels(self):
        found = next(filter(None, (find(node, "menu item", "Refresh") for node in children(self.desktop.app))), None)
        return [item.get_name() for item in children(found.get_parent()) if item.get_name()] if found else []

    def close_menu(self):
        self.key("Escape")
        wait_for(lambda: not self.menu_labels(), what="the menu to close")

    def test_context_menu(self):
        d = self.desktop
        self.start()
        for side in SIDES:
            with self.subTest(side):
                d.select(side, "a.txt")
                before = d.output().count("button_press_event\n")
                d.click(d.cell(side, ".."), button=3)
                wait_for(lambda: d.output().count("button_press_event\n") > before, what="the press")
                self.assertEqual(self.menu_labels(), [])
                d.click(d.cell(side, "b.txt"), button=3)
                wait_for(lambda: self.menu_labels() == MENU, what="the menu")
                self.assertEqual(d.selected(side), ["b.txt"])
                self.close_menu()
                d.select(side, "a.txt", "c.txt")
                d.click(d.cell(side, "a.txt"), button=3)
                wait_for(self.menu_labels, what="the menu")
                self.assertEqual(d.selected(side), ["a.txt", "c.txt"])
                self.close_menu()

    def drag_to_pane(self, start, side):
        d = self.desktop
        d.drag(start, d.centre(d.table(side)), lambda: d.output().count("on_treeview_1_drag_motion\n"))

    def test_drags_between_the_panes(self):
        d = self.desktop
        self.start()
        for side, target, names in ((LOCAL, REMOTE, ["l1", "l2"]), (REMOTE, LOCAL, ["r1", "r2"])):
            with self.subTest(side):
                for name in names:
                    write(os.path.join(self.below[side], name), name.encode())
                d.menu(side, "Refresh")
                d.select(side, *names)
                self.drag_to_pane(d.centre(d.cell(side, names[0])), target)
                self.wait_row(target, *names)
                self.assertEqual([read(os.path.join(self.below[target], name)).decode() for name in names], names)
                self.assertEqual(d.selected(side), [])
        before = sorted(os.listdir(self.below[REMOTE]))
        self.drag_to_pane(d.centre(d.cell(REMOTE, "a.txt")), REMOTE)
        d.wait_quiet()
        self.assertEqual(sorted(os.listdir(self.below[REMOTE])), before)

    def test_drags_from_and_to_another_program(self):
        d = self.desktop
        self.start()
        offered = os.path.join(d.top, "öffered file")
        write(offered, b"offered")
        d.spawn(["env", "-u", "GTK_MODULES", "/usr/bin/python3", PARTNER, offered])
        wait_for(lambda: "shown" in d.output("env"), what="the other program")
        for side in SIDES:
            with self.subTest(f"into {side}"):
                self.drag_to_pane((50, 50), side)
                self.wait_row(side, "öffered file")
                self.assertEqual(read(os.path.join(self.below[side], "öffered file")), b"offered")
        with self.subTest("out of the local pane"):
            d.select(LOCAL, "a.txt", "b.txt")
            d.drag(d.centre(d.cell(LOCAL, "a.txt")), (150, 50), lambda: d.output("env").count("motion"))
            dropped = wait_for(lambda: re.search("dropped (.*)\n", d.output("env")), what="the drop")
            self.assertEqual(sorted(dropped.group(1).split()),
                             [f"file://{self.below[LOCAL]}/{name}" for name in ("a.txt", "b.txt")])
            self.assertTrue(os.path.exists(os.path.join(self.below[LOCAL], "a.txt")))
        with self.subTest("into a folder that refuses it"):
            shut = os.path.join(d.home, "shut")
            os.mkdir(shut)
            self.make_read_only(shut)
            self.go(LOCAL, shut, [])
            before = d.output("env").count("ended")
            self.drag_to_pane((50, 50), LOCAL)
            wait_for(lambda: d.output("env").count("ended") > before, what="the end of the drag")
            self.assertEqual((d.dialog(), d.rows(LOCAL)), (None, [".."]))
            self.assertEqual(d.close(), 0)

    def make_read_only(self, folder):
        os.chmod(folder, 0o500)
        if os.getuid() != 0:
            return
        for options in (["--bind", folder, folder], ["-o", "remount,ro,bind", folder]):
            if subprocess.run(["mount", *options], stderr=subprocess.DEVNULL, check=False).returncode:
                raise unittest.SkipTest("root may write anywhere, and may not mount here")
        self.addCleanup(subprocess.run, ["umount", folder], check=True)


class Clipboard(PaneTest):
    @staticmethod
    def clipboard(target, *options, **more):
        return subprocess.run(["xclip", "-selection", "clipboard", "-t", target, *options], timeout=20, check=False,
                              stderr=subprocess.DEVNULL, **more)

    def offered(self, target):
        got = self.clipboard(target, "-o", stdout=subprocess.PIPE)
        return got.stdout.decode().rstrip("\0\n").split("\n") if got.returncode == 0 else None

    def test_files_of_another_program(self):
        d = self.desktop
        self.start()
        for number, side in enumerate(SIDES):
            for kind, (target, text) in FOREIGN_OFFERS.items():
                with self.subTest(side=side, kind=kind):
                    name = f"it's {number} {kind}"
                    path = os.path.join(d.top, name)
                    write(path)
                    self.clipboard(target, "-i", input=text.format("file://" + path.replace(" ", "%20")).encode(),
                                   stdout=subprocess.DEVNULL)
                    d.menu(side, "Paste")
                    self.wait_row(side, name)
                    self.assertTrue(os.path.exists(path), "only copied, never moved")

    def test_files_for_another_program(self):
        d = self.desktop
        self.start()
        d.select(LOCAL, "a.txt", "b.txt")
        self.key("ctrl+c")
        wait_for(lambda: self.offered(URIS), what="our offer")
        paths = [os.path.join(self.below[LOCAL], name) for name in ("a.txt", "b.txt")]
        for target, lines in {URIS: [f"file://{path}\r" for path in paths], "UTF8_STRING": paths,
                              GNOME: ["copy", *(f"file://{path}" for path in paths)]}.items():
            with self.subTest(target):
                self.assertEqual(sorted(self.offered(target)), lines)
        os.mkdir(os.path.join(d.remote, "inbox"))
        self.go(REMOTE, "C:\\inbox", [])
        d.menu(REMOTE, "Paste")
        self.wait_row(REMOTE, "a.txt", "b.txt")
        wait_for(lambda: self.offered(URIS) is None, what="the offer to be consumed")
        d.click(d.cell(REMOTE, "a.txt"), button=3)
        wait_for(lambda: d.menu_item("Copy"), what="the menu")
        self.assertIsNone(d.menu_item("Paste"))

    def test_what_could_not_be_copied_is_told(self):
        d = self.desktop
        self.start()
        for side, target in (SIDES, SIDES[::-1]):
            with self.subTest(side):
                pipe, whole = (f"{word} of {side}" for word in ("pipe", "whole"))
                os.mkfifo(os.path.join(self.below[side], pipe))
                write(os.path.join(self.below[side], whole))
                d.menu(side, "Refresh")
                self.wait_row(side, pipe)
                d.copy(side, [pipe, whole], target)
                self.refuse(pipe)
                self.wait_row(target, whole)


if __name__ == "__main__":
    main()
