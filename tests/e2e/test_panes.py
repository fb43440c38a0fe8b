"""What a person does to the files of either pane: with its menu, its keys, the desktop's clipboard and the mouse."""
import os
import re
import subprocess

from common import read, wait_for, write
from desktop import GNOME, HERE, LOCAL, REMOTE, URIS, DesktopTest, centre, find, labels

NAMES = ["a.txt", "b.txt", "c.txt"]
SIDES = (LOCAL, REMOTE)


class PaneTest(DesktopTest):
    def start(self):
        """Both panes show a folder of their own with three files."""
        d = self.desktop
        self.below = {LOCAL: os.path.join(d.home, "work"), REMOTE: os.path.join(d.remote, "work")}
        for path in (os.path.join(folder, name) for folder in self.below.values() for name in NAMES):
            write(path)
        d.start("--style", "windows")
        d.go(LOCAL, self.below[LOCAL], *NAMES)
        d.go(REMOTE, "C:\\work", *NAMES)

    def refuse(self, words):
        """An error box says so; the user takes note."""
        box = self.desktop.wait_error()
        self.assertIn(words, " ".join(labels(box)))
        self.desktop.press(box, "OK")
        wait_for(lambda: not self.desktop.error_box(), what="the box to close")

    def settled(self, side, *selected):
        """The action is over: these rows are selected, and keys go to the list."""
        d = self.desktop
        d.wait_quiet()
        d.take_keyboard()
        wait_for(lambda: not d.dialog() and d.selected(side) == list(selected) and d.has_focus(side),
                 what=f"focus and {selected}")

    def drag_to_pane(self, start, side):
        d = self.desktop
        d.drag(start, centre(d.table(side)), lambda: d.output().count("on_treeview_1_drag_motion\n"))


class Actions(PaneTest):
    def test_each_pane(self):
        self.start()
        for side in SIDES:
            with self.subTest(side):
                self.work_through(side)

    def work_through(self, side):
        d, folder = self.desktop, self.below[side]
        d.menu(side, "New Folder")
        d.answer("Create New Folder")
        self.refuse("valid name")
        d.answer("Create New Folder", "aa new")
        self.settled(side, "aa new")
        self.assertTrue(os.path.isdir(os.path.join(folder, "aa new")))
        d.ask("Create New Folder", "ctrl+shift+n")
        d.answer("Create New Folder", "b.txt")
        self.refuse("cannot be created" if side == LOCAL else "Operation Fail.")
        self.settled(side, "b.txt")
        d.ask("Rename", "F2")
        d.answer("Rename", "c.txt")
        self.refuse("already has that name")
        d.answer("Rename", "bb – Grüße.txt")
        self.settled(side, "bb – Grüße.txt")
        self.assertEqual(sorted(os.listdir(folder)), ["a.txt", "aa new", "bb – Grüße.txt", "c.txt"])

        d.menu(side, "Delete", "bb – Grüße.txt")
        d.press(d.wait_dialog("Confirmation"), "Cancel")
        self.settled(side, "bb – Grüße.txt")
        d.press(d.ask("Confirmation", "Delete"), "OK")
        self.settled(side, "c.txt")
        self.assertEqual(sorted(os.listdir(folder)), ["a.txt", "aa new", "c.txt"])
        top = os.path.dirname(folder)  # of the trash too
        self.assertTrue(any("bb – Grüße.txt" in names for _, _, names in os.walk(top)), "in no trash")

        write(os.path.join(folder, "added.txt"))
        d.key("F5")
        d.wait_rows(side, "added.txt")
        self.settled(side, "c.txt")


class Mouse(PaneTest):
    def test_drags_between_the_panes(self):
        d = self.desktop
        self.start()
        for side, target, names in ((LOCAL, REMOTE, ["l1", "l2"]), (REMOTE, LOCAL, ["r1", "r2"])):
            with self.subTest(side):
                for name in names:
                    write(os.path.join(self.below[side], name), name.encode())
                d.menu(side, "Refresh")
                d.select(side, *names)
                self.drag_to_pane(d.row(side, names[0]), target)
                d.wait_rows(target, *names)
                self.assertEqual([read(os.path.join(self.below[target], name)).decode() for name in names], names)
                wait_for(lambda: (d.selected(side), d.selected(target)) == ([], names), what="the new rows selected")
        answers = d.output().count("on_treeview_1_drag_motion\n")
        d.xdo("mousemove", *d.row(LOCAL, ".."), "mousedown", 1, "mousemove", *centre(d.table(REMOTE)),
              "mouseup", 1)
        before = sorted(os.listdir(self.below[REMOTE]))
        d.select(LOCAL, "b.txt")
        self.assertEqual(d.output().count("on_treeview_1_drag_motion\n"), answers, "the parent row was dragged")
        self.drag_to_pane(d.row(REMOTE, "a.txt"), REMOTE)
        d.wait_quiet()
        self.assertEqual(sorted(os.listdir(self.below[REMOTE])), before)

    def test_drags_from_and_to_another_program(self):
        d = self.desktop
        self.start()
        offered = os.path.join(d.top, "öffered file")
        write(offered, b"offered")
        d.spawn(["env", "-u", "GTK_MODULES", "/usr/bin/python3", os.path.join(HERE, "drag_partner.py"), offered])
        wait_for(lambda: "shown" in d.output("env"), what="the other program")
        with self.subTest("out of the local pane"):
            d.select(LOCAL, "a.txt", "b.txt")
            d.drag(d.row(LOCAL, "a.txt"), (150, 50), lambda: d.output("env").count("motion"))
            dropped = wait_for(lambda: re.search("dropped (.*)\n", d.output("env")), what="the drop")
            self.assertEqual(sorted(dropped.group(1).split()),
                             [f"file://{self.below[LOCAL]}/{name}" for name in ("a.txt", "b.txt")])
            self.assertTrue(os.path.exists(os.path.join(self.below[LOCAL], "a.txt")))
        for side in SIDES:
            with self.subTest(f"into {side}"):
                self.drag_to_pane((50, 50), side)
                d.wait_rows(side, "öffered file")
                self.assertEqual(read(os.path.join(self.below[side], "öffered file")), b"offered")


class Clipboard(PaneTest):
    def offered(self, target):
        got = self.desktop.clipboard(target, "-o", stdout=subprocess.PIPE)
        return got.stdout.decode().rstrip("\0\n").split("\n") if got.returncode == 0 else None

    def test_one_answer_for_all_that_follow(self):
        d = self.desktop
        self.start()
        other = os.path.join(d.top, "other")
        for side in SIDES:
            for answer, content, new in (("No", b"content", []), ("Yes", b"changed " + side.encode(), NAMES)):
                with self.subTest(side=side, answer=answer):
                    for name in NAMES:
                        write(os.path.join(other, name), b"changed " + side.encode(), seconds=1_700_000_000)
                    d.offer("copy" + "".join(f"\nfile://{other}/{name}" for name in NAMES), GNOME)
                    d.menu(side, "Paste")
                    box = d.wait_dialog("Confirmation")
                    said = " ".join(labels(box))
                    for fact in ("Existing: 7 bytes, 2020-09-13", "2023-11-14", "The new one is newer."):
                        self.assertIn(fact, said)
                    find(box, "check box").do_action(0)
                    d.press(box, answer)
                    d.wait_quiet()
                    self.assertEqual([read(os.path.join(self.below[side], name)) for name in NAMES], [content] * 3)
                    wait_for(lambda: d.selected(side) == new, what="what is new selected")
                    self.assertEqual(sorted(os.listdir(other)), NAMES)

    def test_files_for_another_program(self):
        d = self.desktop
        os.mkdir(os.path.join(d.remote, "inbox"))
        self.start()
        d.select(LOCAL, "a.txt", "b.txt")
        uris = [f"file://{self.below[LOCAL]}/{name}" for name in ("a.txt", "b.txt")]
        for key, word in (("ctrl+x", "cut"), ("ctrl+c", "copy")):
            d.key(key)
            wait_for(lambda word=word: sorted(self.offered(GNOME) or []) == [word, *uris], what="our offer")
        d.go(REMOTE, "C:\\inbox")
        d.menu(REMOTE, "Paste")
        d.wait_rows(REMOTE, "a.txt", "b.txt")
        wait_for(lambda: self.offered(URIS) is None, what="the offer to be consumed")
        self.assertNotIn("Paste", d.open_menu(REMOTE, "a.txt"))
