"""A monkey at keyboard and mouse, with an engine that comes and goes: whatever it does, the content of every file is
whole somewhere afterwards, the toolkit never warns, and the window ends with status 0. It sits in a cage: a root of
its own, of which only its home folder and the remote one can be read or written. The same seed each time, so that a run
tells of the change before it; a longer run of another seed looks for more:
    RELAY_HUB_EVENTS=5000 RELAY_HUB_SEED=7 scripts/test -R e2e.test_monkey"""
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

from common import SLOW, geometry, read, wait_for, write

EVENTS = int(os.environ.get("RELAY_HUB_EVENTS", 300 // SLOW))
SEED = int(os.environ.get("RELAY_HUB_SEED", 1))
RANDOM = random.Random(SEED)
CAGE = os.environ.get("RELAY_HUB_CAGE")
WARNING = re.compile(r"(?:\b\w+|\*\*)-(?:WARNING|CRITICAL|ERROR)\b")
SANITIZERS = "LSAN_OPTIONS", "TSAN_OPTIONS"
WITHOUT_RIGHTS = "--bounding-set=-all", "--inh-caps=-all", "--securebits=+noroot"  # of the superuser
SKIPPED = 77
KEYS = ("Return Escape Tab space " * 4 + "ctrl+x ctrl+v ctrl+t alt+y alt+n alt+o " * 4 + "ctrl+c Delete F2 " * 2 +
        "Up Down Home End Page_Down shift+Down shift+Up shift+End ctrl+space BackSpace F5 alt+Up alt+Home ctrl+h "
        "ctrl+l F6 ctrl+a ctrl+shift+n Menu Left Right alt+a alt+c alt+t alt+F4 ctrl+q").split()


def run(*words):
    subprocess.run(list(map(str, words)), check=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


class Monkey(unittest.TestCase):
    def setUp(self):
        self.build_cage()
        self.processes, self.contents, self.planted, self.typed, self.windows = [], {}, 0, 0, 0
        self.window = self.engine = None
        self.addCleanup(self.end)
        self.processes.append(subprocess.Popen(["openbox", "--config-file", "/etc/xdg/openbox/rc.xml"],
                                               stderr=subprocess.DEVNULL))
        wait_for(lambda: subprocess.run(["wmctrl", "-m"], capture_output=True, check=False).returncode == 0, 40)
        for _ in range(8):
            self.plant()

    def build_cage(self):
        def mount(*words):
            subprocess.run(["mount", *words], check=True)
        mount("-t", "tmpfs", "-o", "size=512m,mode=0111", "cage", CAGE)
        for name in ("usr", "bin", "sbin", "lib", "lib64", "etc", "dev", "proc"):
            here, there = "/" + name, os.path.join(CAGE, name)
            if os.path.islink(here):
                os.symlink(os.readlink(here), there)
            elif os.path.isdir(here):
                os.mkdir(there)
                mount("--rbind", here, there)
        self.home, self.remote, program = (os.path.join(CAGE, name) for name in ("tmp/home", "tmp/remote", "program"))
        for folder in (self.home + "/disk", self.remote, program, os.path.join(CAGE, "tmp/run")):
            os.makedirs(folder, 0o700)
        os.chmod(os.path.join(CAGE, "tmp"), 0o333)
        mount("--bind", os.environ["RELAY_HUB_BUILD"], program)
        for place in ("usr", "etc", "program"):
            mount("-o", "remount,bind,ro", os.path.join(CAGE, place))
        mount("-t", "tmpfs", "-o", "size=2m,mode=0700", "disk", self.home + "/disk")  # another one, soon full
        for path in re.findall(r"\bsuppressions=([^: ]+)", " ".join(os.environ.get(name, "") for name in SANITIZERS)):
            os.makedirs(CAGE + os.path.dirname(path), exist_ok=True)
            shutil.copy(path, CAGE + path)
        self.env = dict(os.environ, HOME="/tmp/home", XDG_RUNTIME_DIR="/tmp/run", LANG="en_US.UTF-8", NO_AT_BRIDGE="1",
                        GTK2_RC_FILES="/dev/null", GTK_MODULES="", XAUTHORITY="/tmp/run/authority")
        self.env.pop("LC_ALL", None)
        if os.path.exists(os.environ.get("XAUTHORITY", "")):
            shutil.copy(os.environ["XAUTHORITY"], os.path.join(CAGE, "tmp/run/authority"))

    def spawn(self, program, *options):
        with open(self.log(program), "ab") as log:
            process = subprocess.Popen(["chroot", CAGE, "setpriv", *WITHOUT_RIGHTS, "env", "--chdir=/program",
                                        "bin/" + program, *options], env=self.env, stdin=subprocess.DEVNULL,
                                       stdout=log, stderr=log)
        self.processes.append(process)
        return process

    @staticmethod
    def log(program):
        return os.path.join(CAGE, "tmp/run", program + ".log")

    def output(self):
        return read(self.log("relay-hub")).decode(errors="replace")

    def end(self):
        for process in reversed(self.processes):
            process.kill()
            process.wait()

    def plant(self):
        """Names are unique, so that what replaces a file is a copy of it."""
        self.planted += 1
        for number, folder in enumerate((self.home, self.remote) * 6):
            name = f"{self.planted:03}-{number:02}"
            content = f"{name} of {SEED}\n".encode() * RANDOM.randrange(1, 4000)
            below = f"set {self.planted}" + "/inner" * RANDOM.randrange(3) if number > 3 else ""
            write(os.path.join(folder, below, f"{name}.u{name}"), content, seconds=1_600_000_000 + number)
            self.contents[content] = name
        if self.planted % 2 == 0:  # what cannot be copied, read, listed or emptied
            for folder in (self.home, self.remote):
                top = os.path.join(folder, f"set {self.planted}")
                os.mkfifo(os.path.join(top, "pipe"))
                os.chmod(os.path.join(top, RANDOM.choice(sorted(os.listdir(top)))), 0)
                os.chmod(top, RANDOM.choice((0o500, 0o700)))

    def start_engine(self):
        if self.engine is None or self.engine.poll() is not None:
            self.engine = self.spawn("relay-hub-engine", "--serve", "/tmp/remote", "--quiet", "--style",
                                     RANDOM.choice(("posix", "windows")))

    def start_window(self):
        self.window = self.spawn("relay-hub")
        self.windows += 1
        self.x, self.y, self.width, self.height = geometry()

    def place(self, side=None):
        left, right = {None: (0, 1), "left": (0.02, 0.48), "right": (0.52, 0.98)}[side]
        return (self.x + int(self.width * RANDOM.uniform(left, right)),
                self.y + int(self.height * RANDOM.uniform(0.02 if side is None else 0.2, 0.95)))

    def press(self):
        run("xdotool", "key", RANDOM.choice(KEYS))

    def click(self):
        button = RANDOM.choice((1, 1, 1, 1, 3, 4, 5))
        held = RANDOM.choice(("", "", "ctrl", "shift"))
        words = ["mousemove", *self.place(RANDOM.choice(("left", "right", None))), "click", "--repeat",
                 RANDOM.choice((1, 1, 2)), "--delay", 30, button]
        run("xdotool", *(["keydown", held, *words, "keyup", held] if held else words))

    def drag(self):
        start, end = (self.place(side) for side in RANDOM.choice((("left", "right"), ("right", "left"), (None, None))))
        run("xdotool", "mousemove", *start, "mousedown", 1, "mousemove", start[0] + 15, start[1] + 3, "mousemove", *end,
            "mousemove", end[0] + 3, end[1] + 1, "sleep", 0.05, "mouseup", 1)

    def type(self):
        self.typed += 1
        run("xdotool", "type", "--delay", 2, f"w{self.typed:05}")
        run("xdotool", "key", RANDOM.choice(("Return", "Return", "Escape")))

    def carry(self):
        source, target = RANDOM.sample(("left", "right", "left"), 2)
        run("xdotool", "key", "Escape", "mousemove", *self.place(source), "click", 1, "key", "--repeat",
            RANDOM.randrange(1, 6), "shift+Down", "key", RANDOM.choice(("ctrl+x", "ctrl+x", "ctrl+c")))
        if source == target:
            run("xdotool", "mousemove", *self.place(source), "click", "--repeat", 2, "--delay", 30, 1)
        run("xdotool", "mousemove", *self.place(target), "click", 1, "key", "ctrl+v")

    def offer(self):
        there = sorted(os.listdir(self.home))
        uris = (f"\nfile:///tmp/home/{name.replace(' ', '%20')}" for name in RANDOM.sample(there, min(2, len(there))))
        run("sh", "-c", 'printf "%s" "$1" | xclip -selection clipboard -t x-special/gnome-copied-files -i', "-",
            RANDOM.choice(("cut", "copy")) + "".join(uris))

    def disturb(self):
        action = RANDOM.choice((signal.SIGKILL, signal.SIGTERM, signal.SIGUSR1, signal.SIGUSR2, signal.SIGSTOP, None))
        if self.engine is not None and self.engine.poll() is None:
            self.engine.send_signal(signal.SIGCONT)
            if action is not None:
                self.engine.send_signal(action)
        if action in (None, signal.SIGUSR2):
            self.start_engine()

    def check_window(self):
        status = self.window.poll()
        if status is None:
            return
        self.assertEqual(status, 0)
        self.start_window()

    def test_nothing_is_lost(self):
        print(f"RELAY_HUB_SEED={SEED} RELAY_HUB_EVENTS={EVENTS}", file=sys.stderr, flush=True)
        self.start_engine()
        self.start_window()
        acts = [self.press] * 50 + [self.click] * 25 + [self.carry] * 16 + [self.drag] * 8 + [self.type] * 5 + \
               [self.offer] * 1 + [self.disturb] * 3
        try:
            for number in range(EVENTS):
                if number % 300 == 299:
                    self.plant()
                if number % 40 == 39:
                    run("wmctrl", "-F", "-a", "Relay Hub")
                    self.start_engine()
                RANDOM.choice(acts)()
                time.sleep(RANDOM.choice((0, 0, 0.01, 0.1)))
                self.check_window()
            self.close()
            self.check()
        except AssertionError:
            print(f"after event {number}, the window's output ends:\n{self.output()[-6000:]}", file=sys.stderr)
            raise

    def close(self):
        run("xdotool", "keyup", "ctrl", "keyup", "shift", "mouseup", 1)
        run("wmctrl", "-F", "-c", "Relay Hub")
        self.assertEqual(wait_for(lambda: self.window.poll() is not None and [self.window.returncode], 15,
                                  "the window's end"), [0])
        self.engine.send_signal(signal.SIGCONT)
        self.engine.send_signal(signal.SIGTERM)
        self.engine.wait(20)

    def check(self):
        found = set()
        for folder, _, names in os.walk(os.path.join(CAGE, "tmp")):
            paths = (os.path.join(folder, name) for name in names)
            found |= {read(path) for path in paths if os.path.isfile(path) and not os.path.islink(path)}
        self.assertEqual(sorted(name for content, name in self.contents.items() if content not in found), [], "lost")
        output = self.output()
        warnings = [line for line in output.splitlines() if WARNING.search(line)]
        self.assertFalse(warnings, "\n".join(warnings[:9]))
        print(f"{self.windows} windows, {len(self.contents)} files, " + ", ".join(
            f"{output.count(word)} {word}" for word in ("TO_REMOTE Send", "TO_LOCAL Send", "TRASH Send", "cut!")),
            file=sys.stderr)


if __name__ == "__main__":
    if CAGE:
        unittest.main(verbosity=2, warnings="ignore")
    with tempfile.TemporaryDirectory(prefix="relay-hub-monkey-") as cage:
        into = ["unshare", "-m"] if os.getuid() == 0 else ["unshare", "-rm"]
        if subprocess.run([*into, "mount", "-t", "tmpfs", "cage", cage], check=False).returncode != 0:
            print("skipped: this user may not make a cage", file=sys.stderr)
            sys.exit(SKIPPED)
        sys.exit(subprocess.run([*into, sys.executable, *sys.argv], env=dict(os.environ, RELAY_HUB_CAGE=cage),
                                check=False).returncode)
