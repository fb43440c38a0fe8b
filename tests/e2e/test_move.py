"""Cut and paste: whatever goes wrong on the way, each item is whole at one end at least."""
import os
import shutil
import tempfile

from common import act_until, read, tree_of, wait_for, write
from desktop import LOCAL, REMOTE, DesktopTest, main

OLD, NEW = b"old one", b"new one"  # of one length


class Move(DesktopTest):
    def setUp(self):
        super().setUp()
        self.far = tempfile.mkdtemp(prefix="relay-hub-move-", dir="/dev/shm")  # another file system
        self.addCleanup(shutil.rmtree, self.far, ignore_errors=True)
        d = self.desktop
        self.near = os.path.join(d.home, "from")
        self.there = os.path.join(d.remote, "there")
        for folder in (self.near, self.there, os.path.join(d.home, "to")):
            os.mkdir(folder)

    def fill(self, folder):
        write(os.path.join(folder, "file"), NEW)
        write(os.path.join(folder, "tree", "inner"), b"deep")
        os.symlink("nowhere", os.path.join(folder, "tree", "link"))
        return tree_of(folder)

    def cut(self, side, folder, *names):
        d = self.desktop
        d.go(side, folder, count=1 + len(os.listdir(self.there if side == REMOTE else folder)))
        d.select(side, *names)
        before = d.output().count("create new memory")
        d.key("ctrl+x")
        wait_for(lambda: d.output().count("create new memory") > before, what="the cut")

    def paste(self, side, folder, *names):
        d = self.desktop
        d.go(side, folder, count=1 + len(names))
        d.wait_quiet()
        d.take_keyboard()
        act_until(lambda: d.has_focus(side), d.table(side).grab_focus, 1, what="the keyboard in the list")
        d.key("ctrl+v")

    def trashed(self):
        return sorted(name for folder, _, _ in os.walk(os.path.join(self.desktop.home, "Trash"))
                      for name in os.listdir(folder))

    def test_from_place_to_place(self):
        d = self.desktop
        d.start("--style", "posix")
        to = os.path.join(d.home, "to")
        for number, (source, source_folder, target, target_folder, disk) in enumerate((
                (LOCAL, self.near, LOCAL, to, to), (LOCAL, to, LOCAL, self.far, self.far),
                (LOCAL, self.far, REMOTE, "/there", self.there), (REMOTE, "/there", LOCAL, self.near, self.near))):
            with self.subTest(number):
                start = self.there if source == REMOTE else source_folder
                wanted = tree_of(start) or self.fill(start)
                self.cut(source, source_folder, "file", "tree")
                self.paste(target, target_folder)
                wait_for(lambda: not os.listdir(start), what="the source to be empty")
                d.wait_quiet()
                self.assertEqual(tree_of(disk), wanted)
                self.assertEqual("file" in self.trashed(), number > 0)
        self.assertEqual(d.close(), 0)

    def test_no_and_cancel_keep_both(self):
        d = self.desktop
        d.start("--style", "posix")
        for side, folder, disk in ((LOCAL, self.far, self.far), (LOCAL, os.path.join(d.home, "to"), None),
                                   (REMOTE, "/there", self.there)):
            target = os.path.join(disk or folder, "file")
            for answer in ("No", "Cancel"):
                with self.subTest(folder=folder, answer=answer):
                    source = os.path.join(self.near, "file")
                    write(source, NEW)
                    # The engine takes the same size and time for the same file, and asks nothing.
                    write(target, OLD, seconds=1_500_000_000 if side == REMOTE else 1_600_000_000)
                    self.cut(LOCAL, self.near, "file")
                    self.paste(side, folder, "file")
                    d.press(d.wait_dialog("Confirmation"), answer)
                    d.take_notes()
                    self.assertEqual((read(source), read(target)), (NEW, OLD))


if __name__ == "__main__":
    main()
