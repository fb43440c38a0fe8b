"""Cut and paste: whatever goes wrong on the way, each item is whole at one end at least."""
import collections
import contextlib
import glob
import itertools
import os
import shutil
import tempfile
import time

from common import SLOW, act_until, read, remove, tree_of, wait_for, write
from desktop import GNOME, LOCAL, REMOTE, DesktopTest, labels

OLD, NEW = b"old one", b"new one"
Place = collections.namedtuple("Place", "side path disk")


class Move(DesktopTest):
    def setUp(self):
        super().setUp()
        d, far = self.desktop, tempfile.mkdtemp(prefix="relay-hub-move-", dir="/dev/shm")  # another file system
        self.addCleanup(shutil.rmtree, far, ignore_errors=True)
        self.near, self.to, self.far = (Place(LOCAL, path, path) for path in (d.home + "/from", d.home + "/to", far))
        self.there, self.beyond = (Place(REMOTE, path, d.remote + path) for path in ("/there", "/beyond"))
        for place in (self.near, self.to, self.there, self.beyond):
            os.mkdir(place.disk)
        d.start("--style", "posix")

    def ways(self):
        """From either pane to the other, by number."""
        return enumerate(((self.near, self.there), (self.there, self.near)))

    def fill(self, folder):
        write(os.path.join(folder, "file"), NEW)
        write(os.path.join(folder, "tree", "inner"), b"deep")
        os.symlink("nowhere", os.path.join(folder, "tree", "link"))
        return tree_of(folder)

    def go(self, place):
        self.desktop.go(place.side, place.path, *os.listdir(place.disk))

    def cut(self, place, *names):
        self.go(place)
        self.desktop.take(place.side, names, lambda: self.desktop.key("ctrl+x"))

    def paste(self, place, begun="clean tree view"):
        """Again when nothing comes of it, which is a dialog or that line of output: a folder that was shown before may
        still be read anew, and keys do nothing meanwhile."""
        d = self.desktop
        self.go(place)
        d.take_keyboard()
        act_until(lambda: d.has_focus(place.side), d.table(place.side).grab_focus, 1, what="the keyboard in the list")
        before = d.output().count(begun)
        act_until(lambda: d.output().count(begun) > before or d.dialog(), lambda: d.key("ctrl+v"), 2 * SLOW,
                  what="the paste")

    def wait_empty(self, folder):
        wait_for(lambda: not os.listdir(folder), what="the source to be empty")
        self.desktop.wait_quiet()

    def test_from_place_to_place(self):
        for number, (source, target) in enumerate(itertools.pairwise(
                (self.near, self.to, self.far, self.there, self.beyond, self.near))):
            with self.subTest(number):
                wanted = tree_of(source.disk) or self.fill(source.disk)
                self.cut(source, "file", "tree")
                self.paste(target)
                self.wait_empty(source.disk)
                self.assertEqual(tree_of(target.disk), wanted)
                self.assertEqual(bool(glob.glob(self.desktop.home + "/Trash/.*/file")), number > 0)

    def test_no_and_cancel_keep_both(self):
        d = self.desktop
        for place, answer in itertools.product((self.far, self.to, self.there), ("No", "Cancel")):
            with self.subTest(place, answer=answer):
                source, target = (os.path.join(disk, "file") for disk in (self.near.disk, place.disk))
                write(source, NEW)
                write(target, OLD, seconds=1_500_000_000)
                self.cut(self.near, "file")
                self.paste(place)
                d.press(d.wait_dialog("Confirmation"), answer)
                d.take_notes()
                self.assertEqual((read(source), read(target)), (NEW, OLD))

    def test_try_again_goes_on_with_the_move(self):
        d = self.desktop
        for names, (number, (source, target)) in itertools.product((["file"], ["file", "other"]), self.ways()):
            with self.subTest(number, names=names):
                for name in names:
                    write(os.path.join(source.disk, name), NEW)
                in_the_way = os.path.join(target.disk, "file", "x")
                write(in_the_way)
                self.cut(source, *names)
                self.paste(target)
                box = d.wait_error()
                self.assertEqual(read(os.path.join(source.disk, "file")), NEW)
                remove(os.path.dirname(in_the_way))
                d.press(box, "Try again")
                self.wait_empty(source.disk)
                for name in names:
                    self.assertEqual(read(os.path.join(target.disk, name)), NEW)
                    remove(os.path.join(target.disk, name))

    def test_what_cannot_arrive_stays(self):
        """The rest goes; an entry with a part that cannot be copied stays whole, and a cut offer of another program
        is no other matter."""
        d, near = self.desktop, self.near.disk
        for number, target in enumerate((self.far, self.there)):
            with self.subTest(number):
                self.fill(near)
                os.mkfifo(os.path.join(near, "tree", "pipe"))
                d.offer("cut" + "".join(f"\nfile://{path}" for path in (f"elsewhere{near}/tree/inner", f"{near}/tree/",
                                                                                f"{near}/file")), GNOME)
                self.paste(target)
                for told in ("elsewhere", "tree/pipe"):
                    wait_for(lambda: told in " ".join(labels(d.error_box())), what=told)
                    d.press(d.error_box(), "OK")
                wait_for(lambda: os.listdir(near) == ["tree"], what="the file to go")
                d.wait_quiet()
                self.assertEqual(sorted(os.listdir(os.path.join(near, "tree"))), ["inner", "link", "pipe"])
                self.assertEqual(read(os.path.join(target.disk, "file")), NEW)
                remove(os.path.join(near, "tree"))

    def test_trash_that_refuses(self):
        d = self.desktop
        for number, (source, target) in self.ways():
            with self.subTest(number):
                write([d.home + "/Trash", f"{d.remote}/.Trash-{os.geteuid()}"][number])  # no folder
                write(os.path.join(source.disk, "file"), NEW)
                self.cut(source, "file")
                self.paste(target)
                d.press(d.wait_error(), "OK")
                d.wait_quiet()
                for place in (source, target):
                    self.assertEqual(read(os.path.join(place.disk, "file")), NEW)
                    remove(os.path.join(place.disk, "file"))

    def test_whatever_ends_it(self):
        """An engine or a window that dies, a source that changes: the source is whole, or all of it has arrived."""
        d, limit = self.desktop, 0.6
        for number in range(8 if SLOW > 1 else 24):
            (source, target), kind = dict(self.ways())[number % 2], ("engine", "window", "change")[number % 3]
            with self.subTest(number, kind=kind):
                if d.engine.poll() is not None:
                    d.start_engine("--style", "posix")
                if d.window.poll() is not None:
                    d.start_window()
                d.wait_remote()
                for disk in (source.disk, target.disk, os.path.join(d.home, "Trash")):
                    remove(disk)
                os.mkdir(target.disk)
                contents = {f"{file:03}": (f"{number} {file} " * (1 << file % 17)).encode() for file in range(120)}
                for name, content in contents.items():
                    write(os.path.join(source.disk, "set", name), content)
                self.cut(source, "set")
                self.paste(target, "show dialog!")
                time.sleep(limit * number / 24)
                if kind == "change":
                    with contextlib.suppress(FileNotFoundError):  # gone already
                        with open(os.path.join(source.disk, "set", "050"), "r+b") as file:
                            file.truncate()
                            file.write(b"other")
                        contents["050"] = b"other"
                    wait_for(lambda: d.error_box() or not os.path.exists(os.path.join(source.disk, "set")), 60,
                             what="a word about what stays")
                else:
                    d.kill(getattr(d, kind))
                if kind != "window":
                    d.take_notes(give_up=True)
                found = {read(os.path.join(folder, name)) for folder, _, names in os.walk(d.top) for name in names
                         if os.path.isfile(os.path.join(folder, name))}
                self.assertEqual([name for name, content in contents.items() if content not in found], [])
