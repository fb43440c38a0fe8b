"""Both panes browse and copy both ways, for real."""
import os
import stat
import subprocess
import time
import unittest

from desktop import ENGINE, LOCAL, REMOTE, DesktopTest, find, main, tree_of, wait_for


def write(path, content=b"", mode=0o644, seconds=1_600_000_000):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(content)
    os.chmod(path, mode)
    os.utime(path, (seconds, seconds))


def make_tree(top):
    """500 small files in 20 nested folders, with the names that break careless programs."""
    odd = ["plain", "two words", "it's", 'say "hi"', "a&b <c>", "Grüße", "日本語", "-dash", "100%s", "semi;colon"]
    folder = top
    for level in range(20):
        folder = os.path.join(folder, f"{odd[level % len(odd)]} {level}")
        for number in range(25):
            name = f"{odd[number % len(odd)]} {number}.txt"
            write(os.path.join(folder, name), f"{level}/{number}".encode() * number, 0o640 if number % 2 else 0o600)
    os.mkdir(os.path.join(top, "empty folder"))
    write(os.path.join(top, "empty file"))
    os.symlink("empty file", os.path.join(top, "link"))


class Browsing(DesktopTest):
    def test_newcomer(self):
        d = self.desktop
        for name in ("Desktop", "Documents/Letters", "Music"):
            os.makedirs(os.path.join(d.remote, name))
        write(os.path.join(d.remote, "Documents/Letters/note.txt"), b"hello")
        os.makedirs(os.path.join(d.home, "mine/deeper"))
        started = time.monotonic()
        d.start_engine()
        d.start_window()
        self.assertEqual(d.folder(LOCAL), d.home)
        self.assertEqual(d.rows(LOCAL), ["..", "mine"])
        d.wait_remote(limit=8)
        self.assertLess(time.monotonic() - started, 8)

        d.choose_drive(REMOTE, 1, 3)
        wait_for(lambda: d.rows(REMOTE) == ["..", "Letters"], what="the documents folder")
        d.open(REMOTE, "Letters")
        wait_for(lambda: d.rows(REMOTE) == ["..", "note.txt"])
        self.assertTrue(d.folder(REMOTE).startswith("C:\\Documents\\Letters"))
        d.open(REMOTE, "..")
        wait_for(lambda: d.rows(REMOTE) == ["..", "Letters"])
        d.type_path(REMOTE, "C:\\")
        wait_for(lambda: d.rows(REMOTE) == ["Desktop", "Documents", "Music"])
        d.open(LOCAL, "mine")
        wait_for(lambda: d.rows(LOCAL) == ["..", "deeper"])
        d.open(LOCAL, "..")
        wait_for(lambda: d.rows(LOCAL) == ["..", "mine"])
        d.type_path(LOCAL, os.path.join(d.home, "mine"))
        wait_for(lambda: d.rows(LOCAL) == ["..", "deeper"])

        d.type_path(LOCAL, "/does/not/exist")
        box = d.wait_dialog()
        self.assertTrue(any("/does/not/exist" in text for text in d.dialog_texts(box)), d.dialog_texts(box))
        d.press(box, "OK")
        d.wait_quiet()
        self.assertEqual(d.rows(LOCAL), ["..", "deeper"])
        self.assertEqual(d.close(), 0)

    def test_posix_engine(self):
        d = self.desktop
        write(os.path.join(d.remote, "a/b/note.txt"), b"x")
        d.start("--style", "posix")
        d.type_path(REMOTE, "/a/b")
        wait_for(lambda: d.rows(REMOTE) == ["..", "note.txt"])

    def test_large_folder_in_small_chunks(self):
        d = self.desktop
        for number in range(5000):
            write(os.path.join(d.remote, "many", f"entry {number:04}"))
        d.start("--chunk", "4096")
        d.type_path(REMOTE, "C:\\many")
        wait_for(lambda: d.row_count(REMOTE) == 5001, 60, what="5,000 entries")

    def test_waiting_costs_nothing(self):
        d = self.desktop
        os.mkdir(os.path.join(d.remote, "slow"))
        d.start("--delay", "5000")
        d.type_path(REMOTE, "C:\\slow")
        dialog = d.wait_dialog()
        bar = find(dialog, "progress bar")
        ticks, start = self.cpu_ticks(), time.monotonic()
        seen = set()
        while time.monotonic() - start < 3:
            seen.add(self.pixels(bar))
            time.sleep(0.1)
        used = (self.cpu_ticks() - ticks) / os.sysconf("SC_CLK_TCK")
        self.assertGreater(len(seen), 2, "the busy bar does not move")
        self.assertLess(used / (time.monotonic() - start), 0.02 * (5 if os.environ.get("RELAY_HUB_SLOW") else 1))
        d.wait_quiet(20)

    def cpu_ticks(self):
        with open(f"/proc/{self.desktop.window.pid}/stat") as file:
            fields = file.read().rsplit(")", 1)[1].split()
        return int(fields[11]) + int(fields[12])

    @staticmethod
    def pixels(node):
        x, y = DesktopTestBox.corner(node)
        return subprocess.run(["import", "-silent", "-window", "root", "-crop", f"300x10+{x}+{y}", "rgb:-"],
                              check=True, stdout=subprocess.PIPE).stdout

    def test_locales(self):
        for lang in ("de_AT.UTF-8", None):
            with self.subTest(lang=lang):
                d = self.desktop
                write(os.path.join(d.remote, "Grüße 日本.txt"), b"r")
                write(os.path.join(d.home, "Österreich 中.txt"), b"l")
                d.env.pop("LANG", None)
                if lang:
                    d.env["LANG"] = lang
                d.start()
                d.type_path(REMOTE, "C:\\")
                wait_for(lambda: "Grüße 日本.txt" in d.rows(REMOTE))
                d.copy(REMOTE, ["Grüße 日本.txt"], LOCAL)
                wait_for(lambda: os.path.exists(os.path.join(d.home, "Grüße 日本.txt")), what="the copy")
                d.wait_quiet()
                d.copy(LOCAL, ["Österreich 中.txt"], REMOTE)
                wait_for(lambda: os.path.exists(os.path.join(d.remote, "Österreich 中.txt")), what="the copy")
                d.wait_quiet()
                self.assertEqual(d.close(), 0)
                d.stop()
                self.desktop = type(d)()
                self.addCleanup(self.desktop.stop)


class DesktopTestBox:
    @staticmethod
    def corner(node):
        from gi.repository import Atspi
        box = node.get_component_iface().get_extents(Atspi.CoordType.SCREEN)
        return box.x + 2, box.y + box.height // 2


class Copying(DesktopTest):
    def both_ways(self):
        """(source pane, folder behind it, target pane, folder behind that)"""
        d = self.desktop
        return [(LOCAL, d.home, REMOTE, d.remote), (REMOTE, d.remote, LOCAL, d.home)]

    def start_at_root(self):
        self.desktop.start()
        self.desktop.type_path(REMOTE, "C:\\")
        wait_for(lambda: self.desktop.folder(REMOTE) == "C:\\" and not self.desktop.dialog())

    def test_trees_and_a_large_file(self):
        d = self.desktop
        for name, top in (("to remote", d.home), ("to local", d.remote)):
            make_tree(os.path.join(top, name))
            write(os.path.join(top, name + ".bin"), os.urandom(64 << 20))
        self.start_at_root()
        for (source, below, target, beside), name in zip(self.both_ways(), ("to remote", "to local")):
            d.copy(source, [name, name + ".bin"], target)
            wait_for(lambda: name in d.rows(target) and name + ".bin" in d.rows(target) and not d.dialog(), 60,
                     what=f"the copy of {name}")
            self.assertEqual(tree_of(os.path.join(below, name)), tree_of(os.path.join(beside, name)))
            with open(os.path.join(below, name + ".bin"), "rb") as a, open(os.path.join(beside, name + ".bin"), "rb") as b:
                self.assertTrue(a.read() == b.read(), name)
            self.assertFalse([left for left in os.listdir(beside) if left.startswith(".relay-hub")])

    def test_overwrite_answers(self):
        d = self.desktop
        self.start_at_root()
        cases = [("Yes", b"new", b"old"), ("No", b"old", b"new"), ("Replace All", b"new", b"new"),
                 ("Cancel", b"old", b"old")]
        for source, below, target, beside in self.both_ways():
            for answer, first, second in cases:
                with self.subTest(source=source, answer=answer):
                    for name in ("1.txt", "2.txt"):
                        write(os.path.join(below, name), b"new")
                        write(os.path.join(beside, name), b"old")
                    self.refresh()
                    d.copy(source, ["1.txt", "2.txt"], target, answer)
                    if answer in ("Yes", "No"):
                        other = "No" if answer == "Yes" else "Yes"
                        wait_for(lambda: d.dialog("Confirmation"), what="the second question")
                        d.press(d.wait_dialog("Confirmation"), other)
                    d.wait_quiet()
                    got = sorted(self.content(os.path.join(beside, name)) for name in ("1.txt", "2.txt"))
                    self.assertEqual(got, sorted([first, second]))

    @staticmethod
    def content(path):
        with open(path, "rb") as file:
            return file.read()

    def refresh(self):
        for side in (LOCAL, REMOTE):
            self.desktop.menu(side, "Refresh")
            self.desktop.wait_quiet()
            wait_for(lambda: "1.txt" in self.desktop.rows(side) and "2.txt" in self.desktop.rows(side))

    def test_cancel_in_the_middle(self):
        d = self.desktop
        content = os.urandom(1 << 20)
        for name, top in (("up.bin", d.home), ("down.bin", d.remote)):
            with open(os.path.join(top, name), "wb") as file:
                for _ in range(1500):
                    file.write(content)
        self.start_at_root()
        for (source, _, target, beside), name in zip(self.both_ways(), ("up.bin", "down.bin")):
            d.copy(source, [name], target)
            d.press(d.wait_dialog("File Operations"), "Cancel")
            d.wait_quiet(10)
            self.assertEqual([left for left in os.listdir(beside) if left == name or ".part" in left], [], source)
        self.assertEqual(d.close(), 0)


class EngineCommandLine(unittest.TestCase):
    def test_bad_input_has_a_clear_end(self):
        cases = [(["--serve", "/nonexistent"], "/nonexistent"), (["--fly"], "--fly"), ([], "--serve"),
                 (["--serve", "/", "--style", "amiga"], "--style"), (["--serve", "/", "--chunk", "x"], "--chunk")]
        for options, word in cases:
            with self.subTest(options=options):
                result = subprocess.run([ENGINE, *options], capture_output=True, text=True, timeout=10)
                self.assertEqual(result.returncode, 2)
                self.assertIn(word, result.stderr)
        for option in ("--help", "--version"):
            self.assertEqual(subprocess.run([ENGINE, option], capture_output=True, timeout=10).returncode, 0)


if __name__ == "__main__":
    main()
