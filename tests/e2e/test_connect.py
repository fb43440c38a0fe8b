"""From two computers to two filled panes by the keyboard alone: relay-hub-connect, an sshd of another user, and what
can go wrong between them."""
import os
import shutil
import signal
import socket
import subprocess
import unittest

from common import LIMIT, act_until, read, tree_of, wait_for, write, write_odd_tree
from desktop import BUILD, LOCAL, REMOTE, STATES, DesktopTest, app_of, children, find, has_state, labels, text_of, walk
from far_computer import PASSWORD, USER_NUMBER, Neighbour, children_of, free_port, needs_mounts, program_of, run

CONNECT = os.path.join(BUILD, "bin", "relay-hub-connect")


class Dialog(DesktopTest):
    def path(self, name):
        return os.path.join(self.desktop.top, name)

    def start(self, *words, within=()):
        d = self.desktop
        d.env["XDG_STATE_HOME"] = self.path("state")
        d.window = d.spawn([*within, CONNECT, *words], cwd=BUILD)
        if not os.path.lexists(self.path("relay-hub.log")):
            os.symlink(os.path.basename([*within, CONNECT][0]) + ".log", self.path("relay-hub.log"))

    def start_dialog(self, *words, within=()):
        self.start(*words, within=within)
        d = self.desktop
        d.app = wait_for(lambda: app_of(d.window), what="the program")
        wait_for(lambda: d.dialog("Connect to a Computer"), what="the dialog")


@needs_mounts
class Connect(Dialog):
    def setUp(self):
        super().setUp()
        self.neighbour = Neighbour()
        self.addCleanup(self.neighbour.close)
        self.questions = self.path("asked")
        self.neighbour.use_ssh("PubkeyAuthentication no")
        # Asks in place of a window.
        write(self.path("askpass"), f"""#!/bin/sh
echo "$1" >> {self.questions}
head -n 1 {self.path("answers")}
sed -i 1d {self.path("answers")}
""".encode(), 0o755)
        self.desktop.env.update(PATH=self.neighbour.path("bin") + ":" + os.environ["PATH"],
                                SSH_ASKPASS=self.path("askpass"))
        self.answers()

    def answers(self, *lines):
        """What the user will answer to ssh's next questions."""
        write(self.path("answers"), "".join(line + "\n" for line in lines).encode())

    def asked(self):
        text = read(self.questions).decode() if os.path.exists(self.questions) else ""
        return [kind for line in text.splitlines() for kind in ("password", "yes/no") if kind in line]

    def focus(self):
        return next((node for node in walk(self.desktop.dialog()) if has_state(node, STATES.FOCUSED)), None)

    def connect_to(self, address):
        """Typed into the entry, which is found by its letter."""
        d = self.desktop
        d.key("alt+m")
        entry = wait_for(lambda: find(d.dialog(), "text", "Computer:"), what="the entry")
        wait_for(lambda: has_state(entry, STATES.FOCUSED), what="the focus in the entry")
        d.fill(entry, address)
        d.key("Return")

    def message(self, words):
        return wait_for(lambda: next((text for text in labels(self.desktop.dialog()) if words in text), None),
                        what=f"the message {words}")

    def take_window(self):
        d = self.desktop

        def opened():
            for pid in children_of(d.window.pid):
                if program_of(pid) == "relay-hub":
                    d.app = app_of(type("Window", (), {"pid": pid}))
                    return d.app and find(d.app, "frame", "Relay Hub")
            return None
        wait_for(opened, what="the window")
        d.wait_remote()

    def tab_to(self, side):
        d = self.desktop
        d.take_keyboard()
        if not d.has_focus(side):
            act_until(lambda: d.has_focus(side), lambda: d.key("Tab"), what=f"Tab to come to {side}")

    def left(self):
        """The processes of this test's user session, but for the window manager."""
        found = []
        for pid in filter(str.isdigit, os.listdir("/proc")):
            try:
                if os.fsencode("HOME=" + self.desktop.home) in read(f"/proc/{pid}/environ") and \
                        program_of(pid) not in ("", "openbox"):
                    found.append(pid)
            except OSError:
                continue
        return found

    def test_by_keyboard_alone(self):
        d = self.desktop
        there, back = (os.path.join(self.neighbour.home, name) for name in ("set", "back"))
        write_odd_tree(there)
        os.mkdir(back)
        run("chown", "-hR", f"{USER_NUMBER}:{USER_NUMBER}", there, back)
        self.answers("yes", "wrong", PASSWORD)
        self.start_dialog()
        wait_for(lambda: self.focus() and self.focus().get_name() == "Computer:",
                 what=f"the focus in the entry, not in {[(n.get_role_name(), n.get_name()) for n in walk(d.dialog())]}")
        self.connect_to(self.neighbour.address)
        self.take_window()
        self.assertEqual(self.asked(), ["yes/no", "password", "password"])
        self.assertEqual(d.folder(REMOTE), self.neighbour.home)
        wait_for(lambda: d.rows(REMOTE)[-2:] == ["back", "set"], what="the far folders")

        self.tab_to(REMOTE)
        d.key("End", "ctrl+c")
        self.tab_to(LOCAL)
        d.key("ctrl+v")
        wait_for(lambda: "set" in d.rows(LOCAL) and not d.dialog(), what="the copy")
        self.assertEqual(tree_of(os.path.join(d.home, "set")), tree_of(there))
        d.key("End", "ctrl+c")
        self.tab_to(REMOTE)
        act_until(lambda: d.selected(REMOTE) == ["back"], lambda: d.key("Home", "Down"), what="the row back")
        d.key("Return")
        wait_for(lambda: d.folder(REMOTE).rstrip("/") == back and not d.dialog(), what="the far folder")
        d.key("ctrl+v")
        wait_for(lambda: "set" in d.rows(REMOTE) and not d.dialog(), what="the copy back")
        self.assertEqual(tree_of(os.path.join(back, "set")), tree_of(there))
        self.assertEqual(d.close(), 0)
        wait_for(lambda: not self.left(), what="the end of all processes")

        known = os.path.join(d.env["XDG_STATE_HOME"], "relay-hub", "computers")
        self.assertIn(self.neighbour.address, read(known).decode())
        self.assertNotIn(PASSWORD, read(known).decode() + d.output("relay-hub-connect"))
        self.answers(PASSWORD)
        self.start_dialog()  # with the computer that was used last
        d.key("Return")
        self.take_window()
        self.assertEqual(self.asked()[3:], ["password"])

    def give_up(self):
        self.desktop.key("Escape")
        wait_for(lambda: has_state(find(self.desktop.dialog(), "push button", "Connect"), STATES.SENSITIVE), 10,
                 what="the end of the attempt")

    def test_failures_are_told_in_place(self):
        d = self.desktop
        os.makedirs(os.path.join(d.home, ".ssh"))
        write(os.path.join(d.home, ".ssh", "config"), b"Host *.x\nHost tower nas\n")
        silent = socket.create_server(("127.0.0.1", 0))
        self.addCleanup(silent.close)
        self.start_dialog()
        rows = [node.get_name() for node in children(find(d.dialog(), "table")) if node.get_name()]
        self.assertEqual(rows, ["tower", "from the SSH configuration", "nas", "from the SSH configuration"])
        cases = (("anna laptop", (), "not the name or address"),
                 ("nowhere.invalid", (), "No computer named “nowhere.invalid”"),
                 (f"anna@127.0.0.1:{free_port()}", (), "refused"),
                 (self.neighbour.address, ("no",), "was not confirmed"),
                 (self.neighbour.address, ("yes", "a", "b", "c"), "did not let you log in"))
        for address, answers, words in cases:
            self.answers(*answers)
            self.connect_to(address)
            self.message(words)
            wait_for(lambda: self.focus() and self.focus().get_name() == "Computer:", what="the focus in the entry")
            self.assertIn(words, self.focus().get_description())
        self.assertIn("Permission denied", text_of(find(d.dialog(), "text", "What ssh says:")))

        # A program that asks, is never answered and does not want to end.
        write(self.path("askpass"), f"#!/bin/sh\ntrap '' TERM\necho password >> {self.questions}\nsleep 1000\n".encode(),
              0o755)
        before = len(self.asked())
        self.connect_to(self.neighbour.address)
        wait_for(lambda: len(self.asked()) > before, what="the question")
        self.give_up()

        self.neighbour.stop()
        self.neighbour.new_key("host")
        self.neighbour.start()
        self.connect_to(self.neighbour.address)
        self.assertIn(f'-R "[127.0.0.1]:{self.neighbour.port}"', self.message("has changed"))

        self.connect_to(f"127.0.0.1:{silent.getsockname()[1]}")
        self.message("Connecting to")
        self.give_up()
        d.key("Escape")
        self.assertEqual(d.window.wait(LIMIT), 1)
        self.assertEqual(self.left(), [])

    def test_nothing_outlives_the_other(self):
        d = self.desktop
        pid_of = lambda name: next(pid for pid in children_of(d.window.pid) if program_of(pid) == name)
        ends = (("killed", lambda: d.window.kill(), -signal.SIGKILL),
                ("asked to end", lambda: d.window.terminate(), 0),
                ("window killed", lambda: os.kill(pid_of("relay-hub"), signal.SIGKILL), 128 + signal.SIGKILL))
        for what, end, status in ends:
            with self.subTest(what):
                self.answers("yes", PASSWORD) if what == "killed" else self.answers(PASSWORD)
                self.start(self.neighbour.address)
                self.take_window()
                end()
                self.assertIn(d.window.wait(LIMIT), (status, 255) if what == "asked to end" else (status,))
                wait_for(lambda: not self.left(), what="the end of all processes")

    def test_a_folder_of_this_computer(self):
        d = self.desktop
        write(os.path.join(d.remote, "here.txt"))
        self.start("--serve", d.remote)
        self.take_window()
        wait_for(lambda: "here.txt" in d.rows(REMOTE), what="the folder's file")
        self.assertEqual(d.close(), 0)
        wait_for(lambda: not self.left(), what="the end of all processes")
        self.start("--serve", os.path.join(d.remote, "missing"))
        d.app = wait_for(lambda: app_of(d.window), what="the program")
        self.message("failed")


def why_no_announcements():
    """What the machine lacks to have two networks with a cable between them and a daemon on each; empty for nothing."""
    if os.geteuid() != 0:
        return "only root can make networks"
    missing = [name for name in ("avahi-daemon", "ip", "nsenter", "dbus-daemon") if not shutil.which(name)]
    if missing:
        return "missing: " + " ".join(missing)
    tried = subprocess.run(["unshare", "--net", "--mount", "ip", "link", "add", "near0", "type", "veth"],
                           capture_output=True, text=True, check=False)
    return tried.stderr.strip()


class Announced(Dialog):
    """Two networks that a cable joins: this program and its daemon on the near one, an announced SSH server beyond."""
    BUS = """<busconfig><type>system</type><listen>unix:path={}</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*"/><allow own="*"/><allow receive_sender="*"/></policy></busconfig>"""
    DAEMON = "[server]\nhost-name={}\nuse-ipv4=no\nuse-ipv6=yes\nenable-dbus={}\n[wide-area]\nenable-wide-area=no\n"
    SERVICE = """<service-group><name>{}</name><service><type>_{}ssh._tcp</type><port>2222</port>
<txt-record>{}</txt-record></service></service-group>"""

    def setUp(self):
        why = why_no_announcements()
        if why:
            self.skipTest(why)
        super().setUp()
        d = self.desktop
        bus, write_bus = self.path("system_bus"), self.path("bus.conf")
        write(write_bus, self.BUS.format(bus).encode())
        d.spawn(["dbus-daemon", "--nofork", "--config-file", write_bus])
        d.env["DBUS_SYSTEM_BUS_ADDRESS"] = "unix:path=" + bus
        wait_for(lambda: os.path.exists(bus), what="the system bus")
        networks = [d.spawn(["unshare", "--net", "sleep", "1000"]) for _ in range(2)]
        for network in networks:
            wait_for(lambda: os.readlink(f"/proc/{network.pid}/ns/net") != os.readlink("/proc/self/ns/net"),
                     what="a network")
        self.enter = [["nsenter", "--net", f"--target={network.pid}"] for network in networks]
        run(*self.enter[0], "ip", "link", "add", "near0", "type", "veth", "peer", "far0", "netns", str(networks[1].pid))
        for enter, name in zip(self.enter, ("near0", "far0")):
            for interface in ("lo", name):
                run(*enter, "ip", "link", "set", interface, "up")
        self.near = self.daemon(self.enter[0], "nearbox", "yes")
        self.far = self.daemon(self.enter[1], "farbox", "no")

    def daemon(self, enter, name, with_bus):
        write(self.path(name + ".conf"), self.DAEMON.format(name, with_bus).encode())
        write(self.path(name + "/ssh.service"), self.SERVICE.format(name, "", "v=1").encode())
        start = (f"mount -t tmpfs tmpfs /run && mount --bind {self.path(name)} /etc/avahi/services && exec avahi-daemon "
                 f"--file {self.path(name + '.conf')} --no-drop-root --no-chroot --no-rlimits")
        return self.desktop.spawn(enter + ["unshare", "--mount", "sh", "-c", start])

    def test_computers_come_and_go(self):
        d = self.desktop
        self.start_dialog(within=self.enter[0])

        def found():
            return [node.get_name() for node in children(find(d.dialog(), "table")) if node.get_name()]
        wait_for(found, what="the computer at the other end; daemons: " + d.output("nsenter")[-1500:])
        write(self.path("farbox/user.service"), self.SERVICE.format("farbox", "sftp-", "u=anna").encode())
        self.far.send_signal(signal.SIGHUP)
        name, source = wait_for(lambda: found() if "@" in found()[0] else None, what="the user, announced later")
        self.assertRegex(name, r"^anna@\[fe80::[0-9a-f:]+%near0\]:2222$")
        self.assertEqual(source, "on the network")
        d.key("alt+k", "space")
        wait_for(lambda: text_of(find(d.dialog(), "text", "Computer:")) == name, what="the address in the entry")
        self.near.terminate()
        wait_for(lambda: not found(), what="an empty list without a daemon")
        self.daemon(self.enter[0], "nearbox", "yes")
        wait_for(found, what="the computer again, by another daemon")
        self.far.terminate()
        wait_for(lambda: not found(), what="the computer to leave the list")
