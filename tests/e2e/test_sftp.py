"""Another computer over SSH, for real: an sshd of our own behind a relay that is held and cut, and the engine connected
to it. What goes over arrives whole or not at all, a lost link is told and mended, and every failure says why."""
import os
import re
import shutil
import signal
import sys
import time
import unittest

from common import (LIMIT, OK, RANDOM, SEED, SLOW, both, command, message, read, read_answer, tree_of, wait_for,
                    write, write_odd_tree)
from far_computer import PASSWORD, ConnectedEngine, FarComputer, Neighbour, children_of, needs_mounts, program_of, run
from front_end import DONE, FrontEnd, copy_request

AT_ONCE = 3
MOMENTS = int(os.environ.get("RELAY_HUB_MOMENTS", 25))  # of each half of a copy
CANCEL = message("<NP_User_Click_Cancel>Y</NP_User_Click_Cancel>")


class RecordingFrontEnd(FrontEnd):
    """Keeps what it is asked and told. cancels: what it says to the question whether the user wants no more, first at
    cancelled_at."""

    def __init__(self):
        self.heard, self.cancels, self.cancelled_at = [], False, None
        super().__init__()

    def reply(self, question):
        self.heard.append(question)
        if b"User_Click_Cancel" in question and self.cancels:
            self.cancelled_at = self.cancelled_at or time.monotonic()
            return CANCEL
        return DONE if b"Remote_Is_Offline" in question else super().reply(question)

    def count(self, word):
        return sum(word in each for each in self.heard)


class SftpTest(unittest.TestCase):
    def setUp(self):
        print(f"RELAY_HUB_SEED={SEED}", file=sys.stderr)
        self.far = FarComputer()
        self.addCleanup(self.far.close)
        # Whoever has a key is never asked.
        self.asked = self.far.path("asked")
        write(self.far.path("askpass"), f'#!/bin/sh\necho "$1" >>{self.asked}\n'.encode(), 0o755)
        self.engine = ConnectedEngine(self.far, environment={"SSH_ASKPASS": self.far.path("askpass")})
        self.addCleanup(self.engine.stop)
        self.engine.connected()
        self.front_end = RecordingFrontEnd()
        self.addCleanup(self.front_end.close)
        self.here = self.far.path("here")
        os.makedirs(self.here)

    def ask(self, request):
        answer = self.front_end.ask(request)
        self.assertIsNotNone(answer, self.engine.errors)
        return answer.decode("utf-8", "replace")

    def copy(self, upwards, local, remote):
        return self.ask(copy_request(upwards, local, remote))

    def folder_at_far(self, name):
        path = os.path.join(self.far.home, name)
        os.makedirs(path)
        self.far.give(path)
        return path

    def list(self, folder):
        return self.ask(command("Get_File_List", both("TG", "TF", folder)))

    def test_trees_go_both_ways_whole_and_only_once(self):
        source = os.path.join(self.here, "set")
        write_odd_tree(source, 20 << 20)
        there, back = self.folder_at_far("there"), os.path.join(self.here, "back")
        os.makedirs(back)
        self.assertIn(OK, self.copy(True, source, there))
        self.assertIn(OK, self.copy(False, back, there + "/set"))
        self.assertEqual(tree_of(source), tree_of(there + "/set"))
        self.assertEqual(tree_of(source), tree_of(back + "/set"))
        # What is there already is neither asked about nor written again.
        def nodes(top):
            return {name: os.lstat(os.path.join(top, name)).st_ino for name in os.listdir(top)
                    if os.path.isfile(os.path.join(top, name))}
        before = nodes(there + "/set"), nodes(back + "/set")
        os.utime(there + "/set", (5, 5))  # as of a copy that was cut short
        self.assertIn(OK, self.copy(True, source, there))
        self.assertEqual(int(os.stat(there + "/set").st_mtime), int(os.stat(source).st_mtime))
        os.mkdir(back + "/set/another")
        os.utime(back + "/set", (5, 5))
        self.assertIn(OK, self.copy(False, back, there + "/set"))
        self.assertEqual(os.stat(back + "/set").st_mtime, 5, "that of a folder of the user's own")
        self.assertEqual(before, (nodes(there + "/set"), nodes(back + "/set")))
        # Of a move the content counts: what only looks the same is replaced, and all has arrived.
        write(there + "/set/large", os.urandom(20 << 20), seconds=int(os.stat(source + "/large").st_mtime))
        for upwards, local, remote in ((True, source, there), (False, back, there + "/set")):
            request = copy_request(upwards, local, remote).replace(b"<T8>", b"<NP_Copy_Is_Move>Y</NP_Copy_Is_Move><T8>")
            self.assertIn("<NP_Move_Arrived>Y<", self.ask(request))
        self.assertEqual(read(source + "/large"), read(there + "/set/large"))
        # What differs is replaced, where the user says so.
        write(source + "/plain", b"other")
        self.assertIn(OK, self.copy(True, source + "/plain", there + "/set"))
        self.assertEqual(read(there + "/set/plain"), b"other")

    @needs_mounts
    def test_full_disk(self):
        small = self.folder_at_far("small")
        run("mount", "-t", "tmpfs", "-o", f"size=4m,mode=777", "tmpfs", small)
        self.addCleanup(run, "umount", "-l", small)
        write(self.here + "/large", os.urandom(8 << 20))
        for number in range(2000):
            write(f"{self.here}/many/{number}", b"x" * 4096)
        for source in ("large", "many"):
            reported = self.copy(True, f"{self.here}/{source}", small) + str(self.front_end.heard[-1:])
            self.assertIn("disk is full", reported)
            wait_for(lambda: not [name for _, _, names in os.walk(small) for name in names if "relay-hub" in name],
                     what="no left-overs")
        there = os.listdir(small + "/many")
        for name in there:
            self.assertEqual(read(f"{small}/many/{name}"), b"x" * 4096)
        self.assertRegex(reported, rf"\b{2000 - len(there)}\b", "how many were not copied")

    def test_refusals_are_named_and_links_stay_links(self):
        source, there = self.here + "/set", self.folder_at_far("there")
        named = "closed/new", "closed/old", "dark/inner"
        for name in (*named, "first", "last/plain"):
            write(f"{source}/{name}")
        os.symlink("b", f"{source}/a")
        os.symlink("a", f"{source}/b")
        write(there + "/set/closed/old", b"old")
        os.makedirs(there + "/set/dark")
        run("chown", "-hR", self.far.user, there)
        os.chmod(there + "/set/closed", 0o555)
        os.chmod(there + "/set/dark", 0)

        def content(top, *but):
            return {name: entry[:2] for name, entry in tree_of(top).items() if name.decode() not in but}

        def refused(upwards, local, remote, *paths):
            self.assertIn(OK, self.copy(upwards, local, remote))
            lines = self.front_end.heard[-1].split(b"Content>")[1].removesuffix(b"</NP_Message_Box_").split(b"\n")
            self.assertEqual(sorted(lines[1:]), [f"{path}: Permission denied".encode() for path in paths])
        refused(True, source, there, *(f"{there}/set/{name}" for name in named))
        self.assertEqual(content(there + "/set", *named, "closed", "dark"), content(source, *named, "closed", "dark"))
        self.assertEqual(os.listdir(there + "/set/closed"), ["old"])
        self.assertEqual(read(there + "/set/closed/old"), b"old")
        os.chmod(there + "/set/first", 0)
        shutil.rmtree(source)
        refused(False, self.here, there + "/set", there + "/set/dark", there + "/set/first")
        os.unlink(there + "/set/first")  # nor may an ordinary user read it here
        self.assertEqual(content(source), content(there + "/set", "dark"))

    def lose_and_mend(self, lose, mend):
        """The loss is told within ten seconds, nothing waits, and the link is there within five of its return."""
        count = len(self.engine.seen("lost")) + 1
        calls = self.front_end.count(b"Remote_Is_Offline")
        lose()
        start = time.monotonic()
        said = self.engine.await_event("lost", count)[1]
        self.assertRegex(said, "127.0.0.1|disconnect", "by ssh")
        self.assertNotIn("Welcome", said, "that was the login")
        wait_for(lambda: self.front_end.count(b"Remote_Is_Offline") > calls, what="the offline call-back")
        self.assertLess(time.monotonic() - start, 10 * SLOW)
        start = time.monotonic()
        self.assertIn("not connected", self.list(self.far.home))
        self.assertLess(time.monotonic() - start, 3 * SLOW)
        mend()
        start = time.monotonic()
        self.engine.await_event("connected", count + 1)
        self.assertLess(time.monotonic() - start, 5 * SLOW)
        self.assertIn(OK, self.list(self.far.home))

    def test_lost_links_are_told_and_mended(self):
        def hold(held):
            self.far.relay.held = held
        ssh = self.far.path("bin/ssh")
        write(ssh, read(ssh).replace(b"exec", b"echo Welcome >&2\nexec"), 0o755)
        self.far.relay.cut()
        self.engine.await_event("connected", 2)
        self.lose_and_mend(lambda: hold(True), lambda: hold(False))
        self.lose_and_mend(self.far.stop, self.far.start)
        self.lose_and_mend(lambda: self.far.signal(signal.SIGSTOP), lambda: self.far.signal(signal.SIGCONT))
        # It goes in the middle of a login that nobody is asked in.
        once = f"test -e {self.here}/once || {{ touch {self.here}/once; exec sleep 1000; }}\nexec"
        write(ssh, read(ssh).replace(b"exec", once.encode()), 0o755)
        self.far.relay.cut()
        self.engine.await_event("connected", len(self.engine.seen("connected")) + 1, 60)
        self.assertFalse(os.path.exists(self.asked))

    def begin_copy(self, source):
        there = self.folder_at_far("there " + source)
        ends = self.front_end.send(copy_request(True, f"{self.here}/{source}", there))
        wait_for(lambda: os.listdir(there), what="the copy's beginning")
        return ends, there

    def test_copies_end_with_the_link_and_on_cancel(self):
        write(self.here + "/large", os.urandom(64 << 20))
        for number in range(3000):
            write(f"{self.here}/many/{number}", b"x" * 4096)
        took = []
        for source, held in (("large", False), ("large", True), ("many", True)):
            with self.subTest(source=source, held=held):
                if held and self.far.relay.held:
                    self.far.relay.held = False
                    self.engine.await_event("connected", 1)
                    wait_for(lambda: OK in self.list(self.far.home), what="a link that answers")
                ends, there = self.begin_copy(source)
                self.far.relay.held = held
                time.sleep(0.3 * held)
                self.front_end.cancels, self.front_end.cancelled_at = True, None
                self.assertTrue(read_answer(ends[1], time.monotonic() + LIMIT))
                took.append(time.monotonic() - self.front_end.cancelled_at)
                self.front_end.leave(ends)
                self.front_end.cancels = False
                if not held:
                    wait_for(lambda: not os.listdir(there), what="no left-over")
                    os.rmdir(there)
        self.assertLess(sorted(took)[1], 0.3 * SLOW, "as a rule, whatever else the machine does")
        self.assertEqual(os.stat(there + "/many").st_mode & 0o777, 0o755, "as far as it came")
        start = time.monotonic()
        self.assertEqual(self.engine.stop(), 0, "with a dead link")
        self.assertLess(time.monotonic() - start, 2 * SLOW)
        self.assertEqual([pid for pid in children_of(os.getpid()) if program_of(pid) == "ssh"], [])

    def test_servers_killed_early_leave_old_or_new(self):
        self.kill_servers(0, 0.5)

    def test_servers_killed_late_leave_old_or_new(self):
        self.kill_servers(0.5, 1)

    def kill_servers(self, *part):
        """At many moments of a copy. Each file is the old or the new one, and the next copy completes the set; into a
        folder that nobody may write in later."""
        source, there = os.path.join(self.here, "set"), self.folder_at_far("there")
        for number in range(40):
            write(f"{source}/{number:02}", bytes([number]) * (number * 2000), seconds=1_600_000_000)
        write(source + "/large", b"new" * (1 << 20))
        target = there + "/set"
        new = tree_of(source)
        os.utime(source, (1_600_000_000, 1_600_000_000))
        os.chmod(source, 0o555)

        def fill(what):
            os.makedirs(target, exist_ok=True)
            os.chmod(target, 0o755)
            shutil.rmtree(target, ignore_errors=True)
            for number in range(40):
                write(f"{target}/{number:02}", what, seconds=1_500_000_000)
            write(target + "/large", what, seconds=1_500_000_000)
            run("chown", "-hR", self.far.user, there)

        fill(b"old")
        for path in (source, target):
            self.addCleanup(os.chmod, path, 0o755)
        start = time.monotonic()
        self.assertIn(OK, self.copy(True, source, there))
        whole_time = time.monotonic() - start
        for moment in range(MOMENTS):
            fill(b"old")
            connected = len(self.engine.seen("connected"))
            ends = self.front_end.send(copy_request(True, source, there))
            time.sleep(whole_time * RANDOM.uniform(*part))
            self.far.signal(signal.SIGKILL, sessions_alone=True)
            self.assertTrue(read_answer(ends[1], time.monotonic() + LIMIT))
            self.front_end.leave(ends)
            for name, (kind, content, *_) in tree_of(target).items():
                if name.startswith(b".relay-hub-") or kind != "file":
                    continue
                self.assertIn(content, (b"old", new[name][1]), f"moment {moment}, seed {SEED}: {name}")
            self.engine.await_event("connected", connected + 1)
            self.assertIn(OK, self.copy(True, source, there), f"moment {moment}, seed {SEED}")
            self.assertEqual({name: entry[1] for name, entry in tree_of(target).items()
                              if not name.startswith(b".relay-hub-")},
                             {name: entry[1] for name, entry in new.items()}, f"moment {moment}, seed {SEED}")
            now = os.stat(target)
            self.assertEqual((now.st_mode & 0o777, now.st_mtime), (0o555, 1_600_000_000), f"seed {SEED}")


class ConnectingTest(unittest.TestCase):
    def setUp(self):
        self.far = FarComputer()
        self.addCleanup(self.far.close)

    def failed(self, **more):
        engine = ConnectedEngine(self.far, **more)
        kind, text = engine.await_event("failed")[1:]
        self.assertEqual(engine.process.wait(LIMIT), 1)
        for thread in engine.threads:
            thread.join(5)
        self.assertEqual(engine.seen("connected"), [])
        self.assertIn(text.split("\\n")[-1].encode(), engine.errors)
        return kind, text

    def test_what_answers_is_no_sftp_server(self):
        for level in "QUIET", "DEBUG3":
            self.far.use_ssh(f"LogLevel {level}", "StrictHostKeyChecking accept-new", "IdentityFile none",
                             "PreferredAuthentications publickey")
            self.assertEqual(self.failed()[0], "denied")
        for script in ("echo 'subsystem request failed on channel 0' >&2\nexit 1", "echo 'Welcome to this machine'"):
            write(self.far.path("bin/ssh"), f"#!/bin/sh\n{script}\n".encode(), 0o755)
            self.assertEqual(self.failed()[0], "no-sftp")
        write(self.far.path("bin/ssh"), b"#!/bin/sh\nexec >&-\nsleep 0.2\necho 'Permission denied' >&2\nexit 255", 0o755)
        self.assertEqual(self.failed(), ("denied", "Permission denied"), "said after its output was closed")
        os.unlink(self.far.path("bin/ssh"))
        self.assertEqual(self.failed(environment={"PATH": self.far.path("bin")})[0], "no-ssh")

    @needs_mounts
    def test_a_key_and_then_a_password(self):
        self.far = far = Neighbour("AuthenticationMethods publickey,password")
        self.addCleanup(far.close)
        far.use_key()
        write(far.path("askpass"), f'#!/bin/sh\ncat {far.path("secret")}\n'.encode(), 0o755)
        environment = {name: far.path(name) for name in ("HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME")}
        environment["SSH_ASKPASS"] = far.path("askpass")
        write(far.path("secret"), b"wrong")
        self.assertIn("Permission denied (password)", self.failed(environment=environment)[1])
        write(far.path("secret"), PASSWORD.encode())
        engine = ConnectedEngine(far, environment=environment)
        self.addCleanup(engine.stop)
        engine.connected()
        self.assertNotIn(PASSWORD.encode(), read(f"/proc/{engine.process.pid}/environ") + engine.errors)
        self.assertEqual(run("grep", "-rlsF", "--devices=skip", PASSWORD, far.top, text=True).stdout.split(),
                         [far.path("secret")])

    def test_one_that_only_greets_is_left_at_once(self):
        greeting = b"#!/bin/sh\nprintf '\\000\\000\\000\\005\\002\\000\\000\\000\\003'\nexec sleep 1000\n"
        write(self.far.path("bin/ssh"), greeting, 0o755)
        engine = ConnectedEngine(self.far)
        wait_for(lambda: "sleep" in map(program_of, children_of(engine.process.pid)), what="the greeting")
        start = time.monotonic()
        engine.stop()
        self.assertLess(time.monotonic() - start, 2 * SLOW)

    def test_the_cipher_is_the_users_or_the_fast_one(self):
        fast = "aes128-gcm" if b" aes " in read("/proc/cpuinfo") else "chacha20-poly1305"
        for line, cipher in ("", fast), ("Ciphers aes256-ctr\n", "aes256-ctr"):
            with open(self.far.path("ssh_config"), "a") as config:
                config.write(line)
            engine = ConnectedEngine(self.far)
            engine.connected()
            engine.stop()
            used = re.findall(rb"server->client cipher: ([^@ ]*)", read(self.far.path("sshd.log")))
            self.assertEqual(used[-1].decode(), cipher)

    def test_folder_and_style(self):
        os.makedirs(self.far.home + "/in here")
        engine = ConnectedEngine(self.far, folder=f"{self.far.home}/in here")
        self.assertEqual(engine.connected()[1::2], ["posix", f"{self.far.home}/in here"])
        os.rmdir(self.far.home + "/in here")
        self.far.relay.cut()
        self.assertEqual(engine.await_event("connected", 2)[1::2], ["posix", self.far.home])
        engine.stop()
        self.assertIn("is not on the other computer", self.failed(folder="/no/such folder")[1])
