"""What the tests share that needs no desktop: waiting, files, processes, and frames on the programs' pipes."""
import os
import random
import select
import shutil
import struct
import subprocess
import sys
import time
from xml.sax.saxutils import escape

started = os.path.basename(sys.argv[0])
if started.startswith("test_") and started != "test_monkey.py":  # the one that runs by itself
    sys.exit(f"nothing was run; to run it: {os.path.dirname(sys.argv[0]) or '.'}/run.py {started.removesuffix('.py')}")

BASE = "/tmp/ZEV_KorvaleMarrowglint"
NOTIFY = BASE + "Notify"
FIFOS = [base + end for base in (BASE, NOTIFY) for end in ("_IN", "_OUT")]
MARKER = bytes.fromhex("c9bb29f90001")
OK = "<T1>NP_Exe_Result_Success</T1>"
SLOW = 3 if os.environ.get("RELAY_HUB_SLOW") else 1  # sanitizer builds
LIMIT = 30 * SLOW  # seconds, for what only guards against a hang
SEED = int(os.environ.get("RELAY_HUB_SEED", time.time_ns() % 1_000_000))
RANDOM = random.Random(SEED)
BUILD = os.environ.get("RELAY_HUB_BUILD", os.path.join(os.path.dirname(__file__), "..", "..", "build", "release"))
ENGINE = os.path.join(BUILD, "bin", "relay-hub-engine")


def wait_for(predicate, limit=30, what="condition"):
    """The predicate's first true result; fails the test when there is none within limit (times SLOW) seconds."""
    end, pause = time.monotonic() + limit * SLOW, 0.001
    while True:
        try:
            result = predicate()
        except (RuntimeError, AttributeError):  # a widget that went away while it was read
            result = None
        if result:
            return result
        if time.monotonic() > end:
            raise AssertionError(f"waited {limit * SLOW} s for {what}")
        time.sleep(pause)
        pause = min(2 * pause, 0.02)


def act_until(effect, act, pause=2, limit=30, what="effect"):
    """Acts, and again when that shows no effect: a busy desktop may lose a key press, or still move a window."""
    def done():
        act()
        try:
            return wait_for(effect, pause, what)
        except AssertionError:
            return None
    return wait_for(done, limit, what)


def write(path, content=b"content", mode=0o644, seconds=1_600_000_000):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(content)
    os.chmod(path, mode)
    os.utime(path, (seconds, seconds))


ODD_NAMES = ["plain", "with space", "-rf", "a'b\"c`d$e", "ünï — 中文 🎉", "back\\slash", "%s%n", "*?[x]", ".hidden",
             "trailing.", "x" * 255, "~", "#", "a:b|c<d>"]


def write_odd_tree(top, large=1 << 20):
    """Names, modes, times and links that a copy may trip over, and a file of that many bytes."""
    for number, name in enumerate(ODD_NAMES):
        write(os.path.join(top, name), os.urandom(number * 9000), 0o600 + number, 1_500_000_000 + number)
        write(os.path.join(top, "folder " + name[:200], "inner"), b"x", 0o444)
    write(os.path.join(top, "large"), os.urandom(large))
    os.makedirs(os.path.join(top, "empty", "er"))
    os.chmod(os.path.join(top, "empty"), 0o750)
    for name, target in (("link", "plain"), ("dangling", "no\\where x"), ("loop", "loop"), ("up", "..")):
        os.symlink(target, os.path.join(top, name))


def read(path):
    with open(path, "rb") as file:
        return file.read()


def remove(path):
    if os.path.isdir(path) and not os.path.islink(path):
        shutil.rmtree(path)
    elif os.path.lexists(path):
        os.unlink(path)


def tree_of(top):
    """What a folder holds: relative name -> kind and content, for comparing copies."""
    found = {}
    for folder, folders, files in os.walk(os.fsencode(top)):
        for path in (os.path.join(folder, name) for name in folders + files):
            status = os.lstat(path)
            if os.path.islink(path):
                entry = ("link", os.readlink(path))
            elif os.path.isdir(path):
                entry = ("folder", status.st_mode)
            else:
                entry = ("file", read(path), status.st_mode, int(status.st_mtime))
            found[os.path.relpath(path, os.fsencode(top))] = entry
    return found


def kib_of(process, field):
    """A line of the process's status, such as VmRSS, in KiB."""
    with open(f"/proc/{process.pid}/status") as file:
        return next(int(line.split()[1]) for line in file if line.startswith(field))


# -- messages

def hex_name(text):
    return text.encode("utf-16-le").hex().upper()


def both(plain, coded, text):
    return f"<{plain}>{escape(text)}</{plain}><{coded}>{hex_name(text)}</{coded}>"


def message(inner):
    return f"<ZEVMSG>{inner}</ZEVMSG>".encode("utf-8", "surrogateescape")


def command(name, fields=""):
    return message(f"<NP_Cmd>NP_Cmd_{name}</NP_Cmd>{fields}")


def frame(body, length=None):
    return struct.pack("<I", len(body) if length is None else length) + body


# -- pipes

def make_fifos(base):
    for path in (base + "_IN", base + "_OUT"):
        if not os.path.lexists(path):
            os.mkfifo(path, 0o600)


def open_reader(path):
    return os.open(path, os.O_RDONLY | os.O_NONBLOCK)


def open_writer(path, limit=LIMIT, leave=lambda: False):
    """Waits for somebody who reads."""
    end = time.monotonic() + limit
    while True:
        try:
            fd = os.open(path, os.O_WRONLY | os.O_NONBLOCK)
            os.set_blocking(fd, True)
            return fd
        except OSError:
            if leave() or time.monotonic() > end:
                raise
            time.sleep(0.0005)


def write_all(fd, data):
    while data:
        data = data[os.write(fd, data):]


def readable(fd, seconds):
    return bool(select.select([fd], [], [], max(0, seconds))[0])


def read_exactly(fd, size, end, stop=None):
    """Ends early after a piece with the byte stop. None when the writers leave, or the time ends, before."""
    data = b""
    while len(data) < size and (stop is None or stop not in data):
        if not readable(fd, end - time.monotonic()):
            return None
        try:
            piece = os.read(fd, min(size - len(data), 1 << 16))
        except BlockingIOError:  # the end of the round before was seen, and this one has just begun
            continue
        if not piece:
            return None
        data += piece
    return data


def read_frame(fd, end, stop=None):
    header = read_exactly(fd, 4, end)
    return None if header is None else read_exactly(fd, struct.unpack("<I", header)[0], end, stop)


def read_answer(fd, end):
    """The text of a frame that may be padded, and whose writer may still be that of the round before."""
    while time.monotonic() < end:
        body = read_frame(fd, end, stop=b"\0")
        if body is not None:
            return body.split(b"\0", 1)[0]
        time.sleep(0.001)
    return None


def geometry():
    """Left, top, width and height of the main window, without what the window manager draws around it."""
    shown = wait_for(lambda: subprocess.run(
        ["xdotool", "search", "--onlyvisible", "--name", "^Relay Hub$", "getwindowgeometry", "--shell", "%@"],
        capture_output=True, text=True, check=False).stdout, what="the window")
    shape = dict(line.split("=") for line in shown.split("\n") if "=" in line)
    return tuple(int(shape[name]) for name in ("X", "Y", "WIDTH", "HEIGHT"))
