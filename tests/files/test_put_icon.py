"""The icon lands readable by the user alone, and nothing of another user's is written to."""
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
        self.folder = folder.name
        self.source, self.target = (os.path.join(folder.name, name) for name in ("made.ico", "icon"))
        self.write(self.source, "picture", 0o644)

    @staticmethod
    def write(path, text, mode):
        with open(path, "w") as file:
            file.write(text)
        os.chmod(path, mode)

    def content(self):
        with open(self.target) as file:
            return file.read()

    def put(self):
        run = subprocess.run([PUT_ICON, self.source, self.target], capture_output=True, text=True, stdin=subprocess.DEVNULL)
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertEqual([name for name in os.listdir(self.folder) if name.startswith(".")], [])
        return run.stderr

    def test_new_and_own_old_icon(self):
        for old in (None, "older", "read-only"):
            if old:
                os.unlink(self.target)
                self.write(self.target, old, 0o444)
            self.assertEqual((self.put(), self.content()), ("", "picture"))
            self.assertEqual(stat.S_IMODE(os.stat(self.target).st_mode), 0o600)

    @unittest.skipUnless(os.geteuid() == 0, "only root can make another user's file")
    def test_another_users_file(self):
        self.write(self.target, "theirs", 0o644)
        os.chown(self.target, 65534, 65534)
        self.assertIn("not a file of yours", self.put())
        self.assertEqual(self.content(), "theirs")


if __name__ == "__main__":
    unittest.main(verbosity=2)
