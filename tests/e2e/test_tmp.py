"""What somebody else has put under /tmp cannot make the programs follow a link, open a device or change a file of
the user's, and it does not keep the window from opening."""
import ctypes
import os
import shutil
import struct
import subprocess
import unittest

from desktop import ENGINE, EVENT_LOG, DesktopTest, main, wait_for

FIFOS = [f"/tmp/ZEV_KorvaleMarrowglint{name}_{end}" for name in ("", "Notify") for end in ("IN", "OUT")]
OTHERS = [EVENT_LOG, "/tmp/NamePipe1.log", "/tmp/relay_hub.ico"]
ENGINE_FOLDER = f"/tmp/relay-hub-{os.geteuid()}"
IN_OPEN = 0x20


class OpenWatch:
    """Tells which of the watched paths anybody has opened."""

    def __init__(self, paths):
        self.libc = ctypes.CDLL(None, use_errno=True)
        self.fd = self.libc.inotify_init1(os.O_NONBLOCK | os.O_CLOEXEC)
        self.paths = {self.libc.inotify_add_watch(self.fd, os.fsencode(path), IN_OPEN): path for path in paths}

    def opened(self):
        try:
            events = os.read(self.fd, 1 << 16)
        except BlockingIOError:
            return []
        found, at = [], 0
        while at < len(events):
            watch, _, _, length = struct.unpack_from("iIII", events, at)
            found.append(self.paths[watch])
            at += 16 + length
        return found


def remove(path):
    if os.path.isdir(path) and not os.path.islink(path):
        shutil.rmtree(path)
    elif os.path.lexists(path):
        os.unlink(path)


class Planted(DesktopTest):
    def setUp(self):
        super().setUp()
        self.addCleanup(lambda: [remove(path) for path in FIFOS + OTHERS + [ENGINE_FOLDER]])
        top = self.desktop.top
        self.precious, self.folder, self.fifo = (os.path.join(top, name) for name in ("precious", "folder", "fifo"))
        with open(self.precious, "w") as file:
            file.write("keep")
        os.mkdir(self.folder)
        os.mkfifo(self.fifo)
        self.missing = os.path.join(top, "missing")

    def check_untouched(self, watch):
        self.assertEqual(watch.opened(), [])
        with open(self.precious) as file:
            self.assertEqual(file.read(), "keep")
        self.assertFalse(os.path.lexists(self.missing))
        self.assertEqual(os.listdir(self.folder), [])
        watch.opened()  # the line before did

    def run_both(self, engine_may_start=False):
        """The engine refuses and says which path; the window opens, works and closes."""
        engine = self.desktop.spawn([ENGINE, "--serve", self.desktop.remote, "--quiet"])
        self.desktop.start_window()
        wait_for(lambda: self.desktop.row_count("This Computer") > 0, what="the local pane")
        if engine_may_start:
            self.assertIsNone(engine.poll())
            self.desktop.wait_remote()
        self.assertEqual(self.desktop.close(), 0)
        if engine_may_start:
            engine.terminate()
        self.assertEqual(engine.wait(10), 0 if engine_may_start else 1)
        return self.desktop.output("relay-hub-engine")

    def test_planted_everywhere(self):
        link = os.symlink
        plants = {"link to a file": lambda path: link(self.precious, path),
                  "link to a folder": lambda path: link(self.folder, path),
                  "link to nothing": lambda path: link(self.missing, path),
                  "link to a FIFO": lambda path: link(self.fifo, path),
                  "second name of a file": lambda path: os.link(self.precious, path),
                  "folder": lambda path: os.makedirs(os.path.join(path, "full"))}
        device = os.path.join(self.desktop.top, "device")
        try:
            os.mknod(device, 0o666 | 0o020000, os.makedev(1, 5))
            plants["link to a device"] = lambda path: link(device, path)
        except OSError:
            device = self.fifo
        watch = OpenWatch([self.folder, self.fifo, device])
        for name, plant in plants.items():
            with self.subTest(name):
                for path in FIFOS + OTHERS:
                    remove(path)
                    plant(path)
                self.assertIn(FIFOS[0], self.run_both())
                self.check_untouched(watch)
        for path in FIFOS + OTHERS:
            remove(path)

    def test_logs_and_icon_are_pipes_or_huge(self):
        """A FIFO where a file belongs is nobody's to wait for."""
        for path in OTHERS:
            os.mkfifo(path)
        self.run_both(engine_may_start=True)
        remove(OTHERS[2])
        with open(OTHERS[2], "wb") as icon:
            icon.truncate(1 << 40)
        self.run_both(engine_may_start=True)

    @unittest.skipIf(os.geteuid() != 0, "only root can make what belongs to somebody else")
    def test_things_of_another_user(self):
        for path in FIFOS[:2]:
            os.mkfifo(path, 0o666)
            os.chown(path, 65534, 65534)
        self.assertIn(FIFOS[0], self.run_both())

    def test_lock(self):
        """Without a runtime folder the engine's lock lies in one of its own under /tmp."""
        plants = {"link": lambda: os.symlink(self.folder, ENGINE_FOLDER),
                  "file": lambda: open(ENGINE_FOLDER, "w").close(),
                  "open to all": lambda: (os.mkdir(ENGINE_FOLDER), os.chmod(ENGINE_FOLDER, 0o777)),
                  "link inside": lambda: (os.mkdir(ENGINE_FOLDER, 0o700),
                                          os.symlink(self.precious, ENGINE_FOLDER + "/relay-hub-engine.lock"))}
        env = {name: value for name, value in self.desktop.env.items() if name != "XDG_RUNTIME_DIR"}
        watch = OpenWatch([self.precious, self.folder])
        for name, plant in plants.items():
            with self.subTest(name):
                remove(ENGINE_FOLDER)
                plant()
                result = subprocess.run([ENGINE, "--serve", self.desktop.remote], env=env, capture_output=True,
                                        text=True, timeout=10)
                self.assertEqual(result.returncode, 1)
                self.assertIn(ENGINE_FOLDER, result.stderr)
                self.assertEqual(watch.opened(), [])
        lock = os.path.join(self.desktop.env["XDG_RUNTIME_DIR"], "relay-hub.lock")
        os.symlink(self.precious, lock)
        self.desktop.start_window()
        self.assertEqual(self.desktop.close(), 0)
        self.assertEqual(watch.opened(), [])


if __name__ == "__main__":
    main()
