"""What a person does to the files of either pane: with its menu, its keys, the desktop's clipboard and the mouse."""
import os
import re
import stat
import subprocess
import sys
import unittest

from desktop import LOCAL, REMOTE, DesktopTest, children, find, main, wait_for

NAMES = ["a.txt", "b.txt", "c.txt"]
MENU = ["Copy", "Paste", "Delete", "New Folder", "Rename", "Refresh", "About Relay Hub"]
GNOME = "x-special/gnome-copied-files"
FOREIGN_OFFERS = {"copied": (GNOME, "copy\n{}"), "plain list": ("text/uri-list", "{}\r\n"), "cut": (GNOME, "cut\n{}")}
OPEN = {"windows": "C:\\work", "posix": "/work"}


def write(path, content=b"content"):
    with open(path, "wb") as file:
        file.write(content)


class PaneTest(DesktopTest):
    """Both panes show a folder of their own with three files."""

    def start(self, style="windows", window_before=None):
        d = self.desktop
        self.below = {LOCAL: os.path.join(d.home, "work"), REMOTE: os.path.join(d.remote, "work")}
        for folder in self.below.values():
            os.mkdir(folder)
            for name in NAMES:
                write(os.path.join(folder, name))
        d.start("--style", style)
        self.go(LOCAL, self.below[LOCAL])
        self.go(REMOTE, OPEN[style])

    def go(self, side, path, rows=NAMES):
        self.desktop.type_path(side, path)
        wait_for(lambda: self.desktop.rows(side) == ["..", *rows], what=f"the rows of {path}")
        self.desktop.wait_quiet()

    def refuse(self, words):
        """An error box says so; the user takes note."""
        box = wait_for(self.desktop.error_box, what=f"a box with {words}")
        text = " ".join(self.desktop.dialog_texts(box))
        self.assertIn(words, text)
        self.desktop.press(box, "OK")
        wait_for(lambda: not self.desktop.error_box(), what="the box to close")

    def settled(self, side, *selected):
        """The action is over: these rows are selected, and keys go to the list."""
        d = self.desktop
        d.wait_quiet()
        wait_for(lambda: d.selected(side) == list(selected) and d.has_focus(side),
                 what=f"{selected} selected in {side}, not {d.selected(side)}, with the focus")

    def key(self, *keys):
        self.desktop.xdo("key", *keys)

    def type(self, text):
        self.key("ctrl+a", "Delete")
        self.desktop.xdo("type", text)
        self.key("Return")


class Actions(PaneTest):
    def test_windows_paths(self):
        self.start("windows")
        for side in (LOCAL, REMOTE):
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
        self.type("aa new")
        self.settled(side, "aa new")
        self.assertTrue(os.path.isdir(os.path.join(folder, "aa new")))

        d.select(side, "b.txt")
        self.key("F2")
        d.wait_dialog("Rename")
        self.type("c.txt")
        self.refuse("already has that name")
        self.type("x/y")
        self.refuse("cannot be renamed")
        if not slash_refused_by_dialog:
            self.settled(side, "b.txt")
            self.key("F2")
            d.wait_dialog("Rename")
        self.type("bb – Grüße.txt")
        self.settled(side, "bb – Grüße.txt")
        self.assertEqual(sorted(os.listdir(folder)), ["a.txt", "aa new", "bb – Grüße.txt", "c.txt"])

        d.menu(side, "Delete", "bb – Grüße.txt")
        d.press(d.wait_dialog("Confirmation"), "Cancel")
        self.settled(side, "bb – Grüße.txt")
        self.key("Delete")
        d.press(d.wait_dialog("Confirmation"), "OK")
        self.settled(side, "c.txt")
        self.assertEqual(sorted(os.listdir(folder)), ["a.txt", "aa new", "c.txt"])
        self.check_trash(side, "bb – Grüße.txt")

        write(os.path.join(folder, "added.txt"))
        self.key("F5")
        wait_for(lambda: "added.txt" in d.rows(side), what="the added file")
        self.settled(side, "c.txt")
        self.key("BackSpace")
        wait_for(lambda: "work" in d.rows(side), what="the parent folder")

    def check_trash(self, side, name):
        if side == REMOTE:
            trash = os.path.join(self.desktop.remote, f".Trash-{os.getuid()}")
            self.assertEqual(os.listdir(os.path.join(trash, "files")), [name])
            self.assertEqual(os.listdir(os.path.join(trash, "info")), [name + ".trashinfo"])
            return
        trash = os.path.join(self.desktop.home, "Trash")
        folder, info = sorted(os.listdir(trash))
        self.assertEqual(info, folder + ".info")
        self.assertEqual(os.listdir(os.path.join(trash, folder)), [name])
        with open(os.path.join(trash, info)) as file:
            path, *numbers = file.read().splitlines()
        self.assertEqual(path, os.path.join(self.below[side], name))
        self.assertEqual(len(numbers), 4)
        self.assertTrue(all(re.fullmatch("[0-9a-f]{1,8}", number) for number in numbers), numbers)
        status = os.stat(os.path.join(trash, folder, name))
        self.assertEqual([int(number, 16) for number in numbers[1:]], [7, status.st_mode, int(status.st_mtime)])

    def test_folder_that_exists(self):
        self.start()
        for side, words in ((LOCAL, "cannot be created"), (REMOTE, "Operation Fail.")):
            with self.subTest(side):
                self.desktop.menu(side, "New Folder")
                self.desktop.wait_dialog("Create New Folder")
                self.type("a.txt")
                self.refuse(words)
                self.settled(side, "a.txt")


class Mouse(PaneTest):
    def press_count(self):
        return self.desktop.output().count("on_treeview_1_button_press_event\n")

    def menu_labels(self):
        for node in children(self.desktop.app):
            found = find(node, "menu item", "Refresh")
            if found:
                return [item.get_name() for item in children(found.get_parent()) if item.get_name()]
        return []

    def test_context_menu(self):
        d = self.desktop
        self.start()
        for side in (LOCAL, REMOTE):
            with self.subTest(side):
                d.select(side, "a.txt")
                before = self.press_count()
                d.click(d.cell(side, ".."), button=3)
                wait_for(lambda: self.press_count() > before, what="the press")
                self.assertEqual(self.menu_labels(), [])
                d.click(d.cell(side, "b.txt"), button=3)
                wait_for(lambda: self.menu_labels() == [item for item in MENU if item != "Paste"], what="the menu")
                self.assertEqual(d.selected(side), ["b.txt"])
                self.key("Escape")
                wait_for(lambda: not self.menu_labels(), what="the menu to close")
                d.select(side, "a.txt", "c.txt")
                d.click(d.cell(side, "a.txt"), button=3)
                wait_for(self.menu_labels, what="the menu")
                self.assertEqual(d.selected(side), ["a.txt", "c.txt"])
                self.key("Escape")
                wait_for(lambda: not self.menu_labels(), what="the menu to close")

    def test_drags_between_the_panes(self):
        d = self.desktop
        self.start()
        for folder, prefix in ((self.below[LOCAL], "l"), (self.below[REMOTE], "r")):
            for number in (1, 2):
                write(os.path.join(folder, f"{prefix}{number}"), prefix.encode())
        for side, target, names in ((LOCAL, REMOTE, ["l1", "l2"]), (REMOTE, LOCAL, ["r1", "r2"])):
            with self.subTest(side):
                d.menu(side, "Refresh")
                d.select(side, *names)
                self.drag_to_pane(d.centre(d.cell(side, names[0])), target)
                wait_for(lambda: set(names) <= set(d.rows(target)), what="the dropped rows")
                d.wait_quiet()
                for name in names:
                    with open(os.path.join(self.below[target], name), "rb") as file:
                        self.assertEqual(file.read(), name[0].encode())
                self.assertEqual(d.selected(side), [])
        before = sorted(os.listdir(self.below[REMOTE]))
        self.drag_to_pane(d.centre(d.cell(REMOTE, "a.txt")), REMOTE)
        d.wait_quiet()
        self.assertEqual(sorted(os.listdir(self.below[REMOTE])), before)

    def drag_to_pane(self, start, side):
        d = self.desktop
        d.drag(start, d.centre(d.table(side)), lambda: d.output().count("on_treeview_1_drag_motion\n"))

    def test_drags_from_and_to_another_program(self):
        d = self.desktop
        self.start()
        offered = os.path.join(d.top, "öffered file")
        write(offered, b"offered")
        partner = dict(d.env)
        partner.pop("GTK_MODULES")
        d.env, env = partner, d.env
        d.spawn(["/usr/bin/python3", os.path.join(os.path.dirname(__file__), "drag_partner.py"), offered])
        d.env = env
        wait_for(lambda: "shown" in d.output("python3"), what="the other program")
        for side in (LOCAL, REMOTE):
            with self.subTest(f"into {side}"):
                self.drag_to_pane((50, 50), side)
                wait_for(lambda: "öffered file" in d.rows(side), what="the dropped file")
                d.wait_quiet()
                with open(os.path.join(self.below[side], "öffered file"), "rb") as file:
                    self.assertEqual(file.read(), b"offered")
        with self.subTest("out of the local pane"):
            d.select(LOCAL, "a.txt", "b.txt")
            d.drag(d.centre(d.cell(LOCAL, "a.txt")), (150, 50), lambda: d.output("python3").count("motion"))
            uris = [f"file://{self.below[LOCAL]}/{name}" for name in ("a.txt", "b.txt")]
            wait_for(lambda: "dropped" in d.output("python3"), what="the drop")
            dropped = re.search("dropped (.*)", d.output("python3")).group(1).split()
            self.assertEqual(sorted(dropped), uris)
            self.assertTrue(os.path.exists(os.path.join(self.below[LOCAL], "a.txt")))
        with self.subTest("into a folder that refuses it"):
            shut = os.path.join(d.home, "shut")
            os.mkdir(shut)
            self.shut(shut)
            self.go(LOCAL, shut, [])
            before = d.output("python3").count("ended")
            self.drag_to_pane((50, 50), LOCAL)
            wait_for(lambda: d.output("python3").count("ended") > before, what="the end of the drag")
            self.assertIsNone(d.dialog())
            self.assertEqual(d.rows(LOCAL), [".."])
            self.assertEqual(d.close(), 0)

    def shut(self, folder):
        os.chmod(folder, stat.S_IRUSR | stat.S_IXUSR)
        if os.getuid() != 0:
            return
        for options in (["--bind", folder, folder], ["-o", "remount,ro,bind", folder]):
            if subprocess.run(["mount", *options], stderr=subprocess.DEVNULL, check=False).returncode:
                raise unittest.SkipTest("root may write anywhere, and may not mount here")
        self.addCleanup(subprocess.run, ["umount", folder], check=True)


class Clipboard(PaneTest):
    def offer(self, target, text):
        subprocess.run(["xclip", "-selection", "clipboard", "-t", target, "-i"], input=text.encode(), check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    @staticmethod
    def offered(target):
        got = subprocess.run(["xclip", "-selection", "clipboard", "-t", target, "-o"], check=False, timeout=20,
                             stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        return got.stdout.decode().rstrip("\0") if got.returncode == 0 else None

    def test_files_of_another_program(self):
        d = self.desktop
        self.start()
        for number, side in enumerate((LOCAL, REMOTE)):
            for kind, (target, text) in FOREIGN_OFFERS.items():
                with self.subTest(side=side, kind=kind):
                    name = f"it's {number} {kind}"
                    write(os.path.join(d.top, name))
                    self.offer(target, text.format("file://" + os.path.join(d.top, name.replace(" ", "%20"))))
                    d.menu(side, "Paste")
                    wait_for(lambda: name in d.rows(side), what="the pasted file")
                    d.wait_quiet()
                    self.assertTrue(os.path.exists(os.path.join(d.top, name)), "only copied, never moved")

    def test_files_for_another_program(self):
        d = self.desktop
        self.start()
        d.select(LOCAL, "a.txt", "b.txt")
        self.key("ctrl+c")
        wait_for(lambda: self.offered("text/uri-list"), what="our offer")
        paths = [os.path.join(self.below[LOCAL], name) for name in ("a.txt", "b.txt")]
        offers = {"text/uri-list": ["file://" + path + "\r" for path in paths], "UTF8_STRING": paths,
                  GNOME: ["copy", *("file://" + path for path in paths)]}
        for target, lines in offers.items():
            with self.subTest(target):
                self.assertEqual(sorted(self.offered(target).rstrip("\n").split("\n")), sorted(lines))
        os.mkdir(os.path.join(d.remote, "inbox"))
        self.go(REMOTE, "C:\\inbox", [])
        d.menu(REMOTE, "Paste")
        wait_for(lambda: d.rows(REMOTE) == ["..", "a.txt", "b.txt"], what="the pasted files")
        d.wait_quiet()
        wait_for(lambda: self.offered("text/uri-list") is None, what="the offer to be consumed")
        d.click(d.cell(REMOTE, "a.txt"), button=3)
        wait_for(lambda: d.menu_item("Copy"), what="the menu")
        self.assertIsNone(d.menu_item("Paste"))

    def test_what_could_not_be_copied_is_told(self):
        d = self.desktop
        self.start()
        for side, target in ((LOCAL, REMOTE), (REMOTE, LOCAL)):
            with self.subTest(side):
                os.mkfifo(os.path.join(self.below[side], "pipe"))
                write(os.path.join(self.below[side], "whole"))
                d.menu(side, "Refresh")
                d.wait_quiet()
                d.copy(side, ["pipe", "whole"], target)
                self.refuse("pipe")
                wait_for(lambda: "whole" in d.rows(target), what="the other item")
                d.wait_quiet()
                for folder in self.below.values():
                    for name in set(os.listdir(folder)) & {"pipe", "whole"}:
                        os.unlink(os.path.join(folder, name))


if __name__ == "__main__":
    main()
