"""The icon lands readable by the user alone, and nothing of another user's is written to."""
import os
import pathlib
import stat
import subprocess
import tempfile
import unittest

PUT_ICON = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "put-icon"


class PutIcon(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.source, self.target = self.folder / "made.ico", self.folder / "icon"
        self.source.write_text("picture")

    def put(self):
        run = subprocess.run([PUT_ICON, self.source, self.target], capture_output=True, text=True, stdin=subprocess.DEVNULL)
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertEqual(list(self.folder.glob(".*")), [])
        return run.stderr, self.target.read_text()

    def test_new_and_own_old_icon(self):
        for _ in range(2):
            self.assertEqual(self.put(), ("", "picture"))
            self.assertEqual(stat.S_IMODE(self.target.stat().st_mode), 0o600)
            self.target.write_text("older")
            self.target.chmod(0o444)

    @unittest.skipUnless(os.geteuid() == 0, "only root can make another user's file")
    def test_another_users_file(self):
        self.target.write_text("theirs")
        os.chown(self.target, 65534, 65534)
        said, content = self.put()
        self.assertIn("not a file of yours", said)
        self.assertEqual(content, "theirs")
