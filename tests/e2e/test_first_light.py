"""Both panes browse, for real."""
import os
import subprocess
import unittest

from common import LIMIT, wait_for, write
from desktop import ENGINE, LOCAL, REMOTE, DesktopTest, labels


class Panes(DesktopTest):
    def test_newcomer(self):
        d = self.desktop
        for name in ("Desktop", "Documents/Letters", "Music"):
            os.makedirs(os.path.join(d.remote, name))
        write(os.path.join(d.remote, "Documents/Letters/note.txt"))
        os.makedirs(os.path.join(d.home, "mine/deeper"))
        d.start_engine()
        d.start_window()
        self.assertEqual((d.folder(LOCAL), d.rows(LOCAL)), (d.home, ["..", "mine"]))
        d.wait_remote()
        names = [entry.get_name() for entry in d.drives(REMOTE)]
        self.assertFalse([name for name in names if not name or name.startswith("gtk-")], "drives as they are spoken")

        steps = [(REMOTE, lambda: d.choose_drive(REMOTE, 1), ["..", "Letters"]),
                 (REMOTE, lambda: d.open(REMOTE, "Letters"), ["..", "note.txt"]),
                 (REMOTE, lambda: d.open(REMOTE, ".."), ["..", "Letters"]),
                 (REMOTE, lambda: d.type_path(REMOTE, "C:\\"), ["Desktop", "Documents", "Music"]),
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

    def test_large_posix_folder_in_small_chunks(self):
        d = self.desktop
        for number in range(5000):
            write(os.path.join(d.remote, "a/many", f"entry {number:04}"))
        d.start("--style", "posix", "--chunk", "4096")
        d.go(REMOTE, "/a/many", count=5001)


class EngineCommandLine(unittest.TestCase):
    def test_bad_input_has_a_clear_end(self):
        cases = [(["--serve", "/dev/null/none"], 2, "/dev/null/none"), (["--fly"], 2, "--fly"), ([], 2, "--serve"),
                 (["--serve", "/", "--style", "amiga"], 2, "--style"), (["--serve", "/", "--chunk", "x"], 2, "--chunk"),
                 (["--help"], 0, ""), (["--version"], 0, "")]
        for options, status, word in cases:
            with self.subTest(options=options):
                result = subprocess.run([ENGINE, *options], capture_output=True, text=True, timeout=LIMIT, check=False)
                self.assertEqual(result.returncode, status)
                self.assertIn(word, result.stderr)
