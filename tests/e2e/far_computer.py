"""Another computer for the tests: an sshd of our own on 127.0.0.1 as an ordinary user, a relay in front of it that
can be held and cut, and the engine connected to it."""
import contextlib
import os
import pwd
import shutil
import signal
import socket
import subprocess
import tempfile
import threading
import time
import unittest

from common import BASE, ENGINE, LIMIT, read, remove, wait_for, write

PASSWORD = "sesame"
USER_NUMBER = 4711
FAR_USER = "nobody" if os.geteuid() == 0 else pwd.getpwuid(os.geteuid()).pw_name
MAY_MOUNT = os.geteuid() == 0 and subprocess.run(["unshare", "--mount", "true"], stderr=subprocess.DEVNULL,
                                                 check=False).returncode == 0
needs_mounts = unittest.skipUnless(MAY_MOUNT, "only root, and not in every container, can mount")


def run(*words, **more):
    return subprocess.run(words, check=True, capture_output=True, **more)


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def children_of(pid):
    found = []
    with contextlib.suppress(FileNotFoundError, ProcessLookupError):  # it, or a thread of it, ended just then
        for task in os.listdir(f"/proc/{pid}/task"):
            with open(f"/proc/{pid}/task/{task}/children") as file:
                for child in map(int, file.read().split()):
                    found += [child] + children_of(child)
    return found


def program_of(pid):
    """Its name; empty when it has ended just then."""
    with contextlib.suppress(FileNotFoundError, ProcessLookupError):
        with open(f"/proc/{pid}/comm") as name:
            return name.read().strip()
    return ""


class Relay:
    """Passes bytes between those who connect to its port and the far one, unless it is held."""

    def __init__(self, far_port):
        self.far_port, self.held, self.pairs = far_port, False, []
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.thread = threading.Thread(target=self.serve, daemon=True)
        self.thread.start()

    def serve(self):
        with contextlib.suppress(OSError):  # closed
            while True:
                near = self.listener.accept()[0]
                try:
                    pair = near, socket.create_connection(("127.0.0.1", self.far_port))
                except OSError:
                    near.close()
                    continue
                self.pairs.append(pair)
                for ends in (pair, pair[::-1]):
                    threading.Thread(target=self.pass_on, args=ends, daemon=True).start()

    def pass_on(self, source, target):
        with contextlib.suppress(OSError):
            while data := source.recv(1 << 18):
                while self.held:
                    time.sleep(0.01)
                target.sendall(data)
        self.end(source, target)

    @staticmethod
    def end(*ends):
        for each in ends:
            with contextlib.suppress(OSError):  # ended already
                each.shutdown(socket.SHUT_RDWR)

    def cut(self):
        """Ends every connection; new ones come through."""
        while self.pairs:
            self.end(*self.pairs.pop())

    def close(self):
        self.held = False
        self.end(self.listener)
        self.thread.join()
        self.listener.close()


class SshServer:
    """An sshd of our own on 127.0.0.1, with the lines and started by the command of who derives from it."""

    def __init__(self, home=None):
        self.top = tempfile.mkdtemp(prefix="far-", dir="/tmp")
        os.chmod(self.top, 0o755)
        self.home, self.port, self.sshd = home or self.path("home"), free_port(), None
        self.lines, self.started_by = (), []
        os.makedirs(self.home, exist_ok=True)
        if os.geteuid() == 0:
            os.makedirs("/run/sshd", exist_ok=True)
        for name in ("host", "user"):
            self.new_key(name)

    def path(self, name):
        return os.path.join(self.top, name)

    def new_key(self, name):
        remove(self.path(name))
        remove(self.path(name + ".pub"))
        run("ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", self.path(name))

    def start(self):
        write(self.path("sshd_config"), "\n".join(
            (f"Port {self.port}", "ListenAddress 127.0.0.1", f"HostKey {self.path('host')}", "PidFile none",
             f"AuthorizedKeysFile {self.path('user.pub')}", "StrictModes no", *self.lines, "")).encode())
        self.sshd = subprocess.Popen([*self.started_by, "/usr/sbin/sshd", "-D", "-e", "-f", self.path("sshd_config")],
                                     stderr=open(self.path("sshd.log"), "ab"))
        wait_for(self.listens, what="sshd")

    def use_ssh(self, *lines):
        """The user's ssh finds the known hosts of this computer, and reads these lines."""
        write(self.path("bin/ssh"), f'#!/bin/sh\nexec /usr/bin/ssh -F {self.path("ssh_config")} "$@"\n'.encode(), 0o755)
        known = f"UserKnownHostsFile {self.path('known')}", "GlobalKnownHostsFile /dev/null"
        write(self.path("ssh_config"), "\n".join(("Host *", *known, *lines, "")).encode())

    def use_key(self):
        self.use_ssh(f"IdentityFile {self.path('user')}", "IdentitiesOnly yes", "StrictHostKeyChecking accept-new")

    def listens(self):
        with socket.socket() as probe:
            return probe.connect_ex(("127.0.0.1", self.port)) == 0

    def stop(self):
        """The server and all that it started, at once."""
        self.signal(signal.SIGKILL)
        self.sshd.wait()

    def signal(self, number, sessions_alone=False):
        for pid in ([] if sessions_alone else [self.sshd.pid]) + children_of(self.sshd.pid):
            with contextlib.suppress(ProcessLookupError):  # it ended just then
                os.kill(pid, number)

    def close(self):
        self.stop()
        shutil.rmtree(self.top, ignore_errors=True)


class FarComputer(SshServer):
    def __init__(self, home=None, as_self=False):
        """home: where the far user begins; made where there is none. as_self: the far user is who runs this, with a
        shell of his own."""
        super().__init__(home)
        self.user = pwd.getpwuid(os.geteuid()).pw_name if as_self else FAR_USER
        self.give(self.home, self.path("host"), self.top)
        server = "/usr/lib/openssh/sftp-server" if as_self else "internal-sftp"
        # A shell that is not the first of its login leaves out what slows the start of whoever runs this.
        self.lines = ("LogLevel DEBUG1", "UsePAM yes", "SetEnv SHLVL=2", "PasswordAuthentication no",
                      "PermitRootLogin yes", f"Subsystem sftp {server} -d {self.home}")
        user = pwd.getpwnam(self.user)
        if user.pw_uid != os.geteuid():
            self.started_by = ["setpriv", f"--reuid={user.pw_uid}", f"--regid={user.pw_gid}", "--clear-groups"]
        self.start()
        self.relay = Relay(self.port)
        self.use_key()

    def give(self, *paths):
        """To the far user."""
        user = pwd.getpwnam(self.user)
        for path in paths if os.geteuid() == 0 else []:
            os.lchown(path, user.pw_uid, user.pw_gid)

    @property
    def address(self):
        return f"{self.user}@127.0.0.1:{self.relay.port}"

    def close(self):
        self.relay.close()
        self.signal(signal.SIGCONT)
        super().close()


class Neighbour(SshServer):
    """Its user anna logs in with a password. The accounts are its own: a mount namespace hides ours."""

    def __init__(self, *lines):
        super().__init__()
        os.chown(self.home, USER_NUMBER, USER_NUMBER)
        secret = run("openssl", "passwd", "-6", PASSWORD, text=True).stdout.strip()
        accounts = {"passwd": f"anna:x:{USER_NUMBER}:{USER_NUMBER}::{self.home}:/bin/sh",
                    "shadow": f"anna:{secret}:19000:0:99999:7:::", "group": f"anna:x:{USER_NUMBER}:"}
        for name, line in accounts.items():
            write(self.path(name), read("/etc/" + name) + line.encode() + b"\n", 0o600 if name == "shadow" else 0o644)
        mounts = [f"mount --bind {self.path(name)} /etc/{name}" for name in accounts]
        write(self.path("banner"), b"Welcome\n" * 600, 0o644)
        self.lines = ("UsePAM no", "Subsystem sftp internal-sftp", f"Banner {self.path('banner')}", *lines)
        self.started_by = ["unshare", "--mount", "sh", "-c", " && ".join([*mounts, 'exec "$@"']), "sh"]
        self.start()

    @property
    def address(self):
        return f"anna@127.0.0.1:{self.port}"


class ConnectedEngine:
    def __init__(self, computer, *options, folder="", environment=None):
        reader, writer = os.pipe()
        self.process = subprocess.Popen(
            [ENGINE, "--connect", computer.address + folder, "--status-fd", str(writer), *options],
            pass_fds=[writer], stdout=subprocess.PIPE, stderr=subprocess.PIPE, start_new_session=True,
            env=os.environ | {"PATH": computer.path("bin") + ":" + os.environ["PATH"]} | (environment or {}))
        os.close(writer)
        self.events = []
        self.errors = b""
        self.threads = [threading.Thread(target=self.read_events, args=(reader,), daemon=True),
                        threading.Thread(target=self.read_errors, daemon=True),
                        threading.Thread(target=self.process.stdout.read, daemon=True)]
        for thread in self.threads:
            thread.start()

    def read_events(self, reader):
        with open(reader, encoding="utf-8", errors="surrogateescape") as lines:
            for line in lines:
                self.events.append(line.rstrip("\n").split("\t"))

    def read_errors(self):
        for line in self.process.stderr:
            self.errors += line

    def seen(self, event):
        return [fields for fields in self.events if fields[0] == event]

    def await_event(self, event, count=1, limit=30):
        # Its end is seen when its last words have been read.
        wait_for(lambda: len(self.seen(event)) >= count or not self.threads[0].is_alive(), limit, event)
        found = self.seen(event)
        if len(found) < count:
            raise AssertionError(f"no {event}: {self.events}, {self.errors}")
        return found[count - 1]

    def connected(self):
        found = self.await_event("connected")
        wait_for(lambda: os.path.exists(BASE + "_IN"), what="the pipes")
        return found

    def stop(self):
        self.process.terminate()
        try:
            self.process.wait(LIMIT)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            raise AssertionError("the engine did not end in time") from None
        for thread in self.threads:
            thread.join(5)
        return self.process.returncode
