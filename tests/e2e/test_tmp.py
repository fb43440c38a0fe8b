"""What somebody else has put under /tmp cannot make the programs follow a link, open a device or change a file of
the user's, and it does not keep the window from opening."""
import ctypes
import os
import subprocess
import unittest

from common import FIFOS, LIMIT, read, readable, remove, wait_for, write
from desktop import ENGINE, LOCAL, REMOTE, DesktopTest, labels

OTHERS = ["/tmp/Pondmark.log", "/tmp/NamePipe1.log", "/tmp/relay_hub.ico"]
ENGINE_FOLDER = f"/tmp/relay-hub-{os.geteuid()}"
IN_OPEN = 0x20


class OpenWatch:
    """Tells whether anybody has opened one of the watched paths."""

    def __init__(self, *paths):
        libc = ctypes.CDLL(None)
        self.fd = libc.inotify_init1(os.O_NONBLOCK | os.O_CLOEXEC)
        for path in paths:
            libc.inotify_add_watch(self.fd, os.fsencode(path), IN_OPEN)

    def opened(self):
        return os.read(self.fd, 1 << 16) if readable(self.fd, 0) else b""


class Planted(DesktopTest):
    def setUp(self):
        super().setUp()
        self.clear()
        self.addCleanup(self.clear)
        self.precious, self.folder, self.fifo, self.missing, self.device = (
            os.path.join(self.desktop.top, name) for name in ("precious", "folder", "fifo", "missing", "device"))
        write(self.precious)
        os.mkdir(self.folder)
        os.mkfifo(self.fifo)

    @staticmethod
    def clear():
        for path in FIFOS + OTHERS + [ENGINE_FOLDER]:
            remove(path)

    def run_both(self, engine_may_start=False):
        """The engine refuses and says which path; the window opens, works and closes."""
        d = self.desktop
        engine = d.spawn([ENGINE, "--serve", d.remote, "--quiet"])
        d.start_window()
        wait_for(lambda: d.row_count(LOCAL), what="the local pane")
        if engine_may_start:
            d.wait_remote()
        self.assertEqual(d.close(), 0)
        if engine_may_start:
            engine.terminate()
        self.assertEqual(engine.wait(LIMIT), 0 if engine_may_start else 1)
        return d.output("relay-hub-engine")

    def test_planted_everywhere(self):
        plants = {f"link to {target}": lambda path, target=target: os.symlink(target, path)
                  for target in (self.precious, self.folder, self.missing, self.fifo)}
        plants["second name of a file"] = lambda path: os.link(self.precious, path)
        plants["folder"] = lambda path: os.makedirs(os.path.join(path, "full"))
        try:
            os.mknod(self.device, 0o666 | 0o020000, os.makedev(1, 5))
            plants["link to a device"] = lambda path: os.symlink(self.device, path)
        except OSError:
            self.device = self.fifo
        watch = OpenWatch(self.folder, self.fifo, self.device)
        for name, plant in plants.items():
            with self.subTest(name):
                for path in FIFOS + OTHERS:
                    remove(path)
                    plant(path)
                self.assertIn(FIFOS[0], self.run_both())
                self.assertFalse(watch.opened())
                self.assertEqual((read(self.precious), os.path.lexists(self.missing)), (b"content", False))
                self.assertEqual(os.listdir(self.folder), [])
                watch.opened()  # the line before did

    def test_logs_and_icon_are_pipes_or_huge(self):
        """A FIFO where a file belongs is nobody's to wait for."""
        for path in OTHERS:
            os.mkfifo(path)
        self.run_both(engine_may_start=True)
        remove(OTHERS[2])
        with open(OTHERS[2], "wb") as icon:
            icon.truncate(1 << 40)
        self.run_both(engine_may_start=True)

    @unittest.skipIf(os.geteuid() != 0, "only root can be two users")
    def test_two_users(self):
        """Another user's engine and logs are left alone, and the window says whose they are."""
        folder = os.path.join(self.desktop.top, "theirs")
        os.mkdir(folder, 0o755)
        os.chmod(self.desktop.top, 0o755)
        for path in OTHERS[:2]:
            write(path, b"theirs", 0o666)
            os.chown(path, 65534, 65534)
        engine = subprocess.Popen([ENGINE, "--serve", folder, "--quiet"], user=65534, group=65534, extra_groups=[],
                                  env={"PATH": os.environ["PATH"], "LANG": "C"}, stdin=subprocess.DEVNULL)
        self.addCleanup(engine.kill)
        wait_for(lambda: os.path.exists(FIFOS[1]), what="the other user's engine")
        self.desktop.start_window()
        texts = wait_for(lambda: [text for text in labels(self.desktop.side(REMOTE)) if FIFOS[0] in text],
                         what="the offline view")
        self.assertIn("nobody", texts[0])
        second = self.desktop.spawn([ENGINE, "--serve", self.desktop.remote, "--quiet"])
        self.assertEqual(second.wait(LIMIT), 1)
        self.assertIn("nobody", self.desktop.output("relay-hub-engine"))
        self.assertEqual([read(path) for path in OTHERS[:2]], [b"theirs"] * 2)

    def test_lock(self):
        """Without a runtime folder the engine's lock lies in one of its own under /tmp."""
        plants = {"link": lambda: os.symlink(self.folder, ENGINE_FOLDER),
                  "file": lambda: write(ENGINE_FOLDER),
                  "open to all": lambda: (os.mkdir(ENGINE_FOLDER), os.chmod(ENGINE_FOLDER, 0o777)),
                  "link inside": lambda: (os.mkdir(ENGINE_FOLDER, 0o700),
                                          os.symlink(self.precious, ENGINE_FOLDER + "/relay-hub-engine.lock"))}
        env = {name: value for name, value in self.desktop.env.items() if name != "XDG_RUNTIME_DIR"}
        watch = OpenWatch(self.precious, self.folder)
        for name, plant in plants.items():
            with self.subTest(name):
                remove(ENGINE_FOLDER)
                plant()
                result = subprocess.run([ENGINE, "--serve", self.desktop.remote], env=env, capture_output=True,
                                        text=True, timeout=LIMIT, check=False)
                self.assertEqual(result.returncode, 1)
                self.assertIn(ENGINE_FOLDER, result.stderr)
        os.symlink(self.precious, os.path.join(self.desktop.env["XDG_RUNTIME_DIR"], "relay-hub.lock"))
        self.desktop.start_window()
        self.assertFalse(watch.opened())
