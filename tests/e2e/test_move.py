"""Cut and paste: whatever goes wrong on the way, each item is whole at one end at least."""
import contextlib
import itertools
import os
import shutil
import subprocess
import tempfile
import time

from common import SLOW, act_until, main, read, remove, tree_of, wait_for, write
from desktop import LOCAL, REMOTE, DesktopTest

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
        d.take(side, names, lambda: d.key("ctrl+x"))

    def paste(self, side, folder, *names, once=False):
        """Again when nothing comes of it: a folder that was shown before may still be read anew, and keys do nothing
        meanwhile."""
        d = self.desktop
        d.go(side, folder, count=1 + len(names))
        d.wait_quiet()
        d.take_keyboard()
        act_until(lambda: d.has_focus(side), d.table(side).grab_focus, 1, what="the keyboard in the list")
        if once:
            d.key("ctrl+v")
            return
        before = d.output().count("clean tree view")
        act_until(lambda: d.dialog() or d.output().count("clean tree view") > before, lambda: d.key("ctrl+v"),
                  2 * SLOW, what="the paste")

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

    def test_no_and_cancel_keep_both(self):
        d = self.desktop
        d.start("--style", "posix")
        # Each has a number of rows of its own, by which the driver sees that it is shown.
        for side, folder, disk, more in ((LOCAL, self.far, self.far, "1"), (LOCAL, os.path.join(d.home, "to"), None, "12"),
                                         (REMOTE, "/there", self.there, "123")):
            target = os.path.join(disk or folder, "file")
            for name in more:
                write(os.path.join(disk or folder, name))
            for answer in ("No", "Cancel"):
                with self.subTest(folder=folder, answer=answer):
                    source = os.path.join(self.near, "file")
                    write(source, NEW)
                    write(target, OLD, seconds=1_500_000_000)
                    self.cut(LOCAL, self.near, "file")
                    self.paste(side, folder, "file", *more)
                    d.press(d.wait_dialog("Confirmation"), answer)
                    d.take_notes()
                    self.assertEqual((read(source), read(target)), (NEW, OLD))

    def test_what_only_looks_the_same_is_asked_about(self):
        d = self.desktop
        d.start("--style", "posix")
        for (content, answer), (side, folder, other, target) in itertools.product(
                ((OLD, "No"), (OLD, "Yes"), (NEW, None)),
                ((LOCAL, self.near, REMOTE, "/there"), (REMOTE, "/there", LOCAL, self.near))):
            with self.subTest(side, answer=answer):
                disks = [os.path.join(disk, "file") for disk in (self.near, self.there)][::1 if side == LOCAL else -1]
                for disk, what in zip(disks, (NEW, content)):
                    write(disk, what)
                self.cut(side, folder, "file")
                self.paste(other, target, "file")
                if answer:
                    d.press(d.wait_dialog("Confirmation"), answer)
                wait_for(lambda: os.path.exists(disks[0]) == (answer == "No"), what="the source's end")
                d.wait_quiet()
                self.assertEqual(read(disks[1]), OLD if answer == "No" else NEW)

    def test_try_again_goes_on_with_the_move(self):
        d = self.desktop
        d.start("--style", "posix")
        for names, (side, folder, disk, other, target, there) in itertools.product((["file"], ["file", "other"]), (
                (LOCAL, self.near, self.near, REMOTE, "/there", self.there),
                (REMOTE, "/there", self.there, LOCAL, self.near, self.near))):
            with self.subTest(side, names=names):
                for name in names:
                    write(os.path.join(disk, name), NEW)
                in_the_way = os.path.join(there, "file", "x")
                write(in_the_way)
                self.cut(side, folder, *names)
                self.paste(other, target, "file")
                box = d.wait_error()
                self.assertEqual(read(os.path.join(disk, "file")), NEW)
                remove(os.path.dirname(in_the_way))
                d.press(box, "Try again")
                wait_for(lambda: not os.listdir(disk), what="the source to be empty")
                d.wait_quiet()
                for name in names:
                    self.assertEqual(read(os.path.join(there, name)), NEW)
                    remove(os.path.join(there, name))

    def test_what_cannot_arrive_stays(self):
        """The rest goes; an entry with a part that cannot be copied stays whole, and a cut offer of another program
        is no other matter."""
        d = self.desktop
        d.start("--style", "posix")
        for side, folder, there in ((LOCAL, self.far, self.far), (REMOTE, "/there", self.there)):
            with self.subTest(side):
                self.fill(self.near)
                os.mkfifo(os.path.join(self.near, "tree", "pipe"))
                uris = "".join(f"\nfile://{self.near}/{name}" for name in ("tree", "file"))
                subprocess.run(["xclip", "-selection", "clipboard", "-t", "x-special/gnome-copied-files", "-i"],
                               check=True, text=True, input="cut" + uris, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL)
                self.paste(side, folder)
                d.press(d.wait_error(), "OK")
                wait_for(lambda: os.listdir(self.near) == ["tree"], what="the file to go")
                d.wait_quiet()
                self.assertEqual(sorted(os.listdir(os.path.join(self.near, "tree"))), ["inner", "link", "pipe"])
                self.assertEqual(read(os.path.join(there, "file")), NEW)
                remove(os.path.join(self.near, "tree"))

    def test_trash_that_refuses(self):
        d = self.desktop
        d.start("--style", "posix")
        for side, folder, disk, other, target, there, trash in (
                (LOCAL, self.near, self.near, REMOTE, "/there", self.there, os.path.join(d.home, "Trash")),
                (REMOTE, "/there", self.there, LOCAL, self.near, self.near,
                 os.path.join(d.remote, f".Trash-{os.geteuid()}"))):
            with self.subTest(side):
                write(trash)  # no folder
                write(os.path.join(disk, "file"), NEW)
                self.cut(side, folder, "file")
                self.paste(other, target)
                d.press(d.wait_error(), "OK")
                d.wait_quiet()
                for end in (disk, there):
                    self.assertEqual(read(os.path.join(end, "file")), NEW)
                    remove(os.path.join(end, "file"))

    def test_whatever_ends_it(self):
        """An engine or a window that dies, a source that changes: the source is whole, or all of it has arrived."""
        d = self.desktop
        limit = 0.6
        for number in range(8 if SLOW > 1 else 24):
            remote, kind = number % 2 == 0, ("engine", "window", "change")[number % 3]
            with self.subTest(number, remote=remote, kind=kind):
                for program, start in ((d.engine, lambda: d.start_engine("--style", "posix")),
                                       (d.window, d.start_window)):
                    if program is None or program.poll() is not None:
                        start()
                d.wait_remote()
                source, target = (self.near, self.there)[::1 if remote else -1]
                for disk in (source, target, os.path.join(d.home, "Trash")):
                    remove(disk)
                for disk in (source, target):
                    os.mkdir(disk)
                contents = {f"{file:03}": (f"{number} {file} " * (1 << file % 17)).encode() for file in range(120)}
                for name, content in contents.items():
                    write(os.path.join(source, "set", name), content)
                ends = ((LOCAL, self.near), (REMOTE, "/there"))[::1 if remote else -1]
                self.cut(*ends[0], "set")
                self.paste(*ends[1], once=True)
                time.sleep(limit * number / 24)
                if kind == "change":
                    with contextlib.suppress(FileNotFoundError):  # gone already
                        with open(os.path.join(source, "set", "050"), "r+b") as file:
                            file.truncate()
                            file.write(b"other")
                        contents["050"] = b"other"
                    wait_for(lambda: d.error_box() or not os.path.exists(os.path.join(source, "set")), 60,
                             what="a word about what stays")
                else:
                    getattr(d, kind).kill()
                    getattr(d, kind).wait()
                if kind != "window":
                    d.take_notes(give_up=True)
                found = {read(os.path.join(folder, name)) for folder, _, names in os.walk(d.top) for name in names
                         if os.path.isfile(os.path.join(folder, name))}
                self.assertEqual([name for name, content in contents.items() if content not in found], [])


if __name__ == "__main__":
    main()
