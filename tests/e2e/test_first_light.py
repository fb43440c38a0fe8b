"""Both panes browse and copy both ways, for real."""
import os
import subprocess
import time
import unittest

from common import SLOW, read, tree_of, wait_for, write
from desktop import ENGINE, LOCAL, REMOTE, DesktopTest, labels, main


def make_tree(top):
    """500 small files in 20 nested folders, with the names that break careless programs."""
    odd = ["plain", "two words", "it's", 'say "hi"', "a&b <c>", "Grüße", "日本語", "-dash", "100%s", "semi;colon"]
    folder = top
    for level in range(20):
        folder = os.path.join(folder, f"{odd[level % len(odd)]} {level}")
        for number in range(25):
            write(os.path.join(folder, f"{odd[number % len(odd)]} {number}.txt"), f"{level}/{number}".encode() * number,
                  0o640 if number % 2 else 0o600)
    os.mkdir(os.path.join(top, "empty folder"))
    write(os.path.join(top, "empty file"), b"")
    os.symlink("empty file", os.path.join(top, "link"))


class Browsing(DesktopTest):
    def test_newcomer(self):
        d = self.desktop
        for name in ("Desktop", "Documents/Letters", "Music"):
            os.makedirs(os.path.join(d.remote, name))
        write(os.path.join(d.remote, "Documents/Letters/note.txt"))
        os.makedirs(os.path.join(d.home, "mine/deeper"))
        started = time.monotonic()
        d.start_engine()
        d.start_window()
        self.assertEqual((d.folder(LOCAL), d.rows(LOCAL)), (d.home, ["..", "mine"]))
        d.wait_remote()
        self.assertLess(time.monotonic() - started, 8 * SLOW)

        steps = [(REMOTE, lambda: d.choose_drive(REMOTE, 1), ["..", "Letters"]),
                 (REMOTE, lambda: d.open(REMOTE, "Letters"), ["..", "note.txt"]),
                 (REMOTE, lambda: d.open(REMOTE, ".."), ["..", "Letters"]),
                 (REMOTE, lambda: d.type_path(REMOTE, "C:\\"), ["Desktop", "Documents", "Music"]),
                 (LOCAL, lambda: d.open(LOCAL, "mine"), ["..", "deeper"]),
                 (LOCAL, lambda: d.open(LOCAL, ".."), ["..", "mine"]),
                 (LOCAL, lambda: d.type_path(LOCAL, os.path.join(d.home, "mine")), ["..", "deeper"])]
        for number, (side, step, rows) in enumerate(steps):
            step()
            wait_for(lambda: d.rows(side) == rows and not d.dialog(), what=f"the rows of step {number}")
        d.type_path(LOCAL, "/does/not/exist")
        box = d.wait_dialog()
        self.assertIn("/does/not/exist", " ".join(labels(box)))
        d.press(box, "OK")
        d.wait_quiet()
        self.assertEqual(d.rows(LOCAL), ["..", "deeper"])
        self.assertEqual(d.close(), 0)

    def test_large_posix_folder_in_small_chunks(self):
        d = self.desktop
        for number in range(5000):
            write(os.path.join(d.remote, "a/many", f"entry {number:04}"))
        d.start("--style", "posix", "--chunk", "4096")
        d.go(REMOTE, "/a/many", count=5001)


class Copying(DesktopTest):
    def ways(self):
        """(source pane, folder behind it, target pane, folder behind that)"""
        d = self.desktop
        return [(LOCAL, d.home, REMOTE, d.remote), (REMOTE, d.remote, LOCAL, d.home)]

    def test_trees_and_a_large_file(self):
        d = self.desktop
        for source, below, _, _ in self.ways():
            make_tree(os.path.join(below, source))
            write(os.path.join(below, source + ".bin"), os.urandom(64 << 20))
        d.start()
        for source, below, target, beside in self.ways():
            names = [source, source + ".bin"]
            d.copy(source, names, target)
            d.wait_rows(target, *names)
            self.assertEqual(tree_of(os.path.join(below, source)), tree_of(os.path.join(beside, source)))
            self.assertTrue(read(os.path.join(below, names[1])) == read(os.path.join(beside, names[1])), source)
            self.assertFalse([left for left in os.listdir(beside) if left.startswith(".relay-hub")])


class EngineCommandLine(unittest.TestCase):
    def test_bad_input_has_a_clear_end(self):
        cases = [(["--serve", "/nonexistent"], 2, "/nonexistent"), (["--fly"], 2, "--fly"), ([], 2, "--serve"),
                 (["--serve", "/", "--style", "amiga"], 2, "--style"), (["--serve", "/", "--chunk", "x"], 2, "--chunk"),
                 (["--help"], 0, ""), (["--version"], 0, "")]
        for options, status, word in cases:
            with self.subTest(options=options):
                result = subprocess.run([ENGINE, *options], capture_output=True, text=True, timeout=10, check=False)
                self.assertEqual(result.returncode, status)
                self.assertIn(word, result.stderr)


if __name__ == "__main__":
    main()
