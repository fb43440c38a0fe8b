"""The icon lands readable by the user alone, and nothing planted at its place is written to or through."""
import os
import stat
import subprocess
import tempfile
import unittest

PUT_ICON = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "scripts", "put-icon")


class PutIcon(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.source, self.target, self.victim = (os.path.join(folder.name, name)
                                                 for name in ("made.ico", "icon", "victim"))
        self.folder = folder.name
        for path, text in ((self.source, "picture"), (self.victim, "precious")):
            with open(path, "w") as file:
                file.write(text)
        os.chmod(self.source, 0o644)

    def put(self):
        run = subprocess.run([PUT_ICON, self.source, self.target], capture_output=True, text=True, stdin=subprocess.DEVNULL)
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertEqual([name for name in os.listdir(self.folder) if name.startswith(".")], [])
        return run.stderr

    def content(self, path):
        with open(path) as file:
            return file.read()

    def test_new_and_own_old_icon(self):
        for old in (None, "older", "read-only"):
            if old:
                os.unlink(self.target)
                with open(self.target, "w") as file:
                    file.write(old)
                os.chmod(self.target, 0o444)
            self.assertEqual(self.put(), "")
            self.assertEqual(self.content(self.target), "picture")
            self.assertEqual(stat.S_IMODE(os.stat(self.target).st_mode), 0o600)

    def test_planted_things_are_left_alone(self):
        plants = {"link": lambda: os.symlink(self.victim, self.target),
                  "dangling link": lambda: os.symlink(self.victim + ".new", self.target),
                  "link to a folder": lambda: os.symlink(self.folder, self.target),
                  "folder": lambda: os.mkdir(self.target), "pipe": lambda: os.mkfifo(self.target)}
        for name, plant in plants.items():
            with self.subTest(name):
                plant()
                before = os.lstat(self.target)
                self.assertIn("not a file of yours", self.put())
                self.assertEqual(os.lstat(self.target), before)
                self.assertEqual(sorted(os.listdir(self.folder)), ["icon", "made.ico", "victim"])
                self.assertEqual(self.content(self.victim), "precious")
                (os.rmdir if name == "folder" else os.unlink)(self.target)

    @unittest.skipUnless(os.geteuid() == 0, "only root can make another user's file")
    def test_another_users_file(self):
        with open(self.target, "w") as file:
            file.write("theirs")
        os.chown(self.target, 65534, 65534)
        self.assertIn("not a file of yours", self.put())
        self.assertEqual(self.content(self.target), "theirs")


if __name__ == "__main__":
    unittest.main(verbosity=2)
