"""The whole program on a desktop of its own: window, engine, window manager, driven as a person would.

A test takes one Desktop, which makes a private home, remote folder and runtime folder, starts what the test
asks for, and ends all of it. What the window shows is read from the accessibility tree; input is the mouse and
the keyboard (xdotool), and for dialogs' buttons the tree's actions, because a new dialog may still be moved.
Nothing here sleeps a fixed time: wait_for() looks again until a condition holds.
"""
import os
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

import gi

from common import BUILD, ENGINE, FIFOS, LIMIT, act_until, wait_for

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

HERE = os.path.dirname(os.path.abspath(__file__))
WINDOW = os.path.join(BUILD, "bin", "relay-hub")
CHECKER = shlex.split(os.environ.get("RELAY_HUB_CHECKER", ""))  # what the window's program runs under
LOCAL, REMOTE = "This Computer", "Remote Computer"
GNOME, URIS = "x-special/gnome-copied-files", "text/uri-list"
STATES = Atspi.StateType


def children(node):
    for index in range(node.get_child_count()):
        try:
            child = node.get_child_at_index(index)
        except RuntimeError:  # a program that has just ended
            continue
        if child is not None:
            yield child


def walk(node):
    """Depth-first; tables are not descended into, they hold the user's names."""
    yield node
    if node.get_role_name() != "table":
        for child in children(node):
            yield from walk(child)


def has_state(node, state):
    return node.get_state_set().contains(state)


def find(top, role, name=None, showing=True):
    return next((node for node in walk(top) if node.get_role_name() == role and name in (None, node.get_name()) and
                 (not showing or has_state(node, STATES.SHOWING))), None)


def text_of(node):
    return Atspi.Text.get_text(node, 0, -1)


def box_of(node):
    return node.get_extents(Atspi.CoordType.SCREEN)


def centre(node):
    box = box_of(node)
    return box.x + box.width // 2, box.y + box.height // 2


def holds(node, x, y):
    box = box_of(node)
    return box.x <= x < box.x + box.width and box.y <= y < box.y + box.height


def labels(node):
    return [label.get_name() for label in walk(node) if label.get_role_name() == "label"]


def app_of(process):
    desktop = Atspi.get_desktop(0)
    desktop.clear_cache()  # what was read while a program was still being announced
    for app in children(desktop):
        try:
            if app.get_process_id() == process.pid:
                return app
        except RuntimeError:  # another one that has just ended
            pass
    return None


class Desktop:
    def __init__(self):
        self.top = tempfile.mkdtemp(prefix="relay-hub-e2e-")
        self.home, self.remote, run = (os.path.join(self.top, name) for name in ("home", "remote", "run"))
        for folder in (self.home, self.remote, run):
            os.mkdir(folder, 0o700)
        self.env = dict(os.environ, HOME=self.home, XDG_RUNTIME_DIR=run, LANG="en_US.UTF-8",
                        GTK_MODULES="gail:atk-bridge", GTK2_RC_FILES="/dev/null")
        for name in ("NO_AT_BRIDGE", "LC_ALL", "LANGUAGE"):
            self.env.pop(name, None)
        self.processes = []
        self.engine = self.window = self.app = self.manager = None
        self.start_manager()

    # -- programs

    def start_manager(self):
        """Until it serves a request: it announces itself before, and a window shown in between would stay unmapped."""
        def count():
            return len(subprocess.run(["wmctrl", "-d"], capture_output=True, check=False).stdout.splitlines())
        wanted = 1 if count() > 1 else 2

        def ask():
            # While the one of the test before is leaving, a new one gives up at once.
            if self.manager is None or self.manager.poll() is not None:
                self.manager = self.spawn(["openbox", "--config-file", "/etc/xdg/openbox/rc.xml", "--sm-disable"])
            subprocess.run(["wmctrl", "-n", str(wanted)], check=False, stderr=subprocess.DEVNULL)
        act_until(lambda: count() == wanted, ask, 1, what="the window manager to serve a request")

    def spawn(self, command, **options):
        with open(os.path.join(self.top, os.path.basename(command[0]) + ".log"), "ab") as log:
            checked = CHECKER + command if command[0] == WINDOW else command
            process = subprocess.Popen(checked, env=self.env, stdout=log, stderr=log, stdin=subprocess.DEVNULL,
                                       **options)
        self.processes.append(process)
        return process

    def output(self, program="relay-hub"):
        with open(os.path.join(self.top, program + ".log"), "rb") as log:
            return log.read().decode(errors="replace")

    def start_engine(self, *options):
        self.engine = self.spawn([ENGINE, "--serve", self.remote, "--quiet", *options])
        wait_for(lambda: os.path.exists(FIFOS[1]), what="the engine's pipes")

    def hold_engine(self):
        """Returns once each of its threads stands still: until then one of them may go on."""
        self.engine.send_signal(signal.SIGSTOP)
        wait_for(lambda: os.waitid(os.P_PID, self.engine.pid, os.WSTOPPED | os.WNOHANG | os.WNOWAIT),
                 what="the engine to stand still")

    def start_window(self):
        self.window = self.spawn([WINDOW], cwd=BUILD)
        wait_for(self.find_app, what="the window")
        wait_for(lambda: not self.dialog(), what="the window to be ready for its user")
        self.take_keyboard()

    def find_app(self):
        if self.window.poll() is not None:
            raise AssertionError("the window's process ended: " + self.output()[-2000:])
        app = app_of(self.window)
        self.app = app if app and find(app, "frame", "Relay Hub") else None
        return self.app

    def start(self, *engine_options):
        """Engine and window, and the remote pane filled."""
        self.start_engine(*engine_options)
        self.start_window()
        self.wait_remote()

    def wait_remote(self):
        wait_for(lambda: self.folder(REMOTE) and not self.dialog(), what="the remote pane to be filled")

    @staticmethod
    def kill(process):
        process.kill()
        process.wait()

    def close(self):
        """Closes the window as the user does; its exit status."""
        subprocess.run(["wmctrl", "-F", "-c", "Relay Hub"], check=False)
        try:
            return self.window.wait(LIMIT)
        except subprocess.TimeoutExpired:
            raise AssertionError("the window did not end; output: " + self.output()[-2000:]) from None

    def stop(self):
        for process in reversed(self.processes):
            if process.poll() is None:
                process.send_signal(signal.SIGTERM if process is not self.window else signal.SIGKILL)
                try:
                    process.wait(5)
                except subprocess.TimeoutExpired:
                    self.kill(process)
        subprocess.run(["chmod", "-R", "u+rwX", self.top], check=False, stderr=subprocess.DEVNULL)
        shutil.rmtree(self.top, ignore_errors=True)
        for path in filter(os.path.exists, FIFOS):
            os.unlink(path)

    # -- what the window shows

    def frame(self):
        return find(self.app, "frame", "Relay Hub", showing=False)

    def side(self, name):
        return find(self.frame(), "panel", name, showing=False)

    def table(self, side):
        return find(self.side(side), "table")

    def entry(self, side):
        return find(self.side(side), "text")

    def folder(self, side):
        """The text of the side's path entry; empty while the side is offline."""
        entry = self.entry(side)
        return text_of(entry) if entry else ""

    def row_count(self, side):
        table = self.table(side)
        return table.get_n_rows() if table else 0

    def rows(self, side):
        table = self.table(side)
        cells = [table.get_accessible_at(row, 0) for row in range(table.get_n_rows())] if table else []
        return [cell.get_name() or next((child.get_name() for child in children(cell) if child.get_name()), "")
                for cell in cells]

    def selected(self, side):
        names = self.rows(side)
        return [names[row] for row in self.table(side).get_selected_rows()]

    def has_focus(self, side):
        """The list has the keyboard, be it told of the list itself or of its current cell."""
        table = self.table(side)
        return any(has_state(node, STATES.FOCUSED) for node in
                   [table] + [table.get_accessible_at(row, 0) for row in table.get_selected_rows()])

    def dialog(self, title=None, roles=("dialog", "alert")):
        """The innermost dialog or alert that is showing; of that title, if given."""
        for node in reversed(list(children(self.app))):
            try:
                if node.get_role_name() in roles and title in (None, node.get_name()) and \
                        has_state(node, STATES.SHOWING):
                    return node
            except RuntimeError:  # it has just been closed
                continue
        return None

    def error_box(self):
        return self.dialog(roles=("alert",))

    def wait_dialog(self, title=None):
        return wait_for(lambda: self.dialog(title), what=f"the dialog {title}")

    def wait_error(self):
        return wait_for(self.error_box, what="the box that tells of a failure")

    def wait_quiet(self):
        wait_for(lambda: not self.dialog(), what="all dialogs to close")

    def take_notes(self, give_up=False):
        """Closes error boxes until the action is over, to give up the busy dialog too; what the boxes said."""
        said = []

        def quiet():
            box = self.error_box()
            if box:
                said.extend(labels(box))
                (find(box, "push button", "OK") or find(box, "push button")).do_action(0)
            elif give_up and self.dialog("Processing…"):
                subprocess.run(["wmctrl", "-F", "-c", "Processing…"], check=False)
            elif give_up and self.engine.poll() is not None:  # a request that waits for the next engine
                subprocess.run(["wmctrl", "-F", "-c", "File Operations"], check=False)
            return not self.dialog()
        wait_for(quiet, what="the end of the action")
        return " ".join(said)

    def wait_rows(self, side, *names):
        """These are among the rows, and the action is over."""
        wait_for(lambda: set(names) <= set(self.rows(side)) and not self.dialog(), what=f"{names} in {side}")

    # -- what a person does

    @staticmethod
    def xdo(*words):
        subprocess.run(["xdotool", *map(str, words)], check=True)

    @staticmethod
    def wait_keyboard(title):
        """The window manager has given the keyboard to the window of that title, if need be after a reminder."""
        def given():
            return subprocess.run(["xdotool", "getwindowfocus", "getwindowname"], capture_output=True, text=True,
                                  check=False).stdout == title + "\n"

        def remind():
            if not given():
                subprocess.run(["wmctrl", "-F", "-a", title], check=False)
        act_until(given, remind, what=f"the keyboard in {title}")

    def take_keyboard(self):
        """The innermost window has it, if need be after what a person would do with Alt+Tab."""
        def taken():
            return has_state(self.dialog() or self.frame(), STATES.ACTIVE)

        def take():
            subprocess.run(["wmctrl", "-F", "-a", (self.dialog() or self.frame()).get_name()], check=False)
        try:
            wait_for(taken, 1)
        except AssertionError:
            act_until(taken, take, 1, what="the keyboard in the window")

    def key(self, *keys):
        for key in keys:
            self.take_keyboard()
            self.xdo("key", key)

    def fill(self, entry, text):
        """Types into an entry that has the keyboard."""
        def typed():
            if text.isascii():
                self.key("ctrl+a", "Delete")
                self.xdo("type", "--delay", "5", text)
            else:  # a key made up for another letter may be gone before a slow window reads it
                entry.set_text_contents(text)  # in place of all; keys pressed before might come after it
        act_until(lambda: text_of(entry) == text, typed, what=f"{text} in the entry")

    def ask(self, title, *keys):
        """Presses keys in the list that open a dialog."""
        return act_until(lambda: self.dialog(title), lambda: self.key(*keys), what=f"the dialog {title}")

    def answer(self, title, text=None):
        """Types into a dialog, if there is anything to type, and confirms it with Return."""
        dialog = self.wait_dialog(title)
        if text:
            self.fill(find(dialog, "text"), text)
        self.key("Return")

    def press(self, dialog, button):
        wait_for(lambda: find(dialog, "push button", button), what=f"button {button}").do_action(0)

    def click(self, target, button=1, repeat=1):
        """A widget, or a place on the screen."""
        place = target if isinstance(target, tuple) else centre(target)
        self.xdo("mousemove", *place, "click", "--repeat", repeat, "--delay", 40, button)

    def row(self, side, name):
        """Where a click reaches the row, once it does: a list that is filled anew has no places yet, and until it has
        measured its rows all of them stand at its top."""
        def reachable():
            table, rows = self.table(side), self.rows(side)
            index = rows.index(name) if name in rows else 0
            cell = table.get_accessible_at(index, 0) if name in rows else None
            if cell and not has_state(cell, STATES.SHOWING):
                cell.grab_focus()  # scrolls to it, and selects it
            place = cell and tuple(centre(cell))  # read once: filled anew, the list gives the cell no place
            before = box_of(table.get_accessible_at(index - 1, 0)) if cell and index else None
            is_measured = cell and (not before or place[1] >= before.y + before.height)
            return place if is_measured and holds(table, *place) else None
        return wait_for(reachable, what=f"row {name} in {side}")

    def open(self, side, name):
        self.click(self.row(side, name), repeat=2)

    def select(self, side, *names):
        def click():
            self.click(self.row(side, names[0]))
            for name in names[1:]:
                self.xdo("keydown", "ctrl")
                try:
                    self.click(self.row(side, name))
                finally:
                    self.xdo("keyup", "ctrl")
        act_until(lambda: sorted(self.selected(side)) == sorted(names), click, what=f"the selection of {names}")

    def open_menu(self, side, row=None, item="Refresh"):
        """The menu's items after a right click on a row, or on empty space, once it offers that item."""
        def click():
            if self.menu_items():
                self.xdo("key", "Escape")
            x, y = self.row(side, row) if row else centre(self.table(side))
            if not row:
                y = box_of(self.table(side)).y + box_of(self.table(side)).height - 8
            self.xdo("mousemove", x, y, "click", 3)
        return act_until(lambda: item in self.menu_items() and self.menu_items(), click, 3, what=f"{item} in the menu")

    def menu_items(self):
        """Label -> item of the list's menu that is open."""
        top = next(filter(None, (find(node, "menu item", "Refresh") for node in children(self.app))), None)
        return {item.get_name(): item for item in children(top.get_parent()) if item.get_name()} if top else {}

    def menu(self, side, item, row=None):
        self.open_menu(side, row, item)[item].do_action(0)
        wait_for(lambda: not self.menu_items(), what="the menu to close")

    def drives(self, side):
        return list(children(find(find(self.side(side), "combo box"), "menu", showing=False)))

    def choose_drive(self, side, index):
        act_until(lambda: has_state(self.drives(side)[index], STATES.SHOWING),
                  lambda: self.click(find(self.side(side), "combo box")), what="the list of drives")
        self.drives(side)[index].do_action(0)

    def type_path(self, side, text):
        act_until(lambda: has_state(self.entry(side), STATES.FOCUSED), lambda: self.click(self.entry(side)),
                  what="the keyboard in the path entry")
        self.fill(self.entry(side), text)
        self.key("Return")

    def enter(self, side, path):
        """Goes to a path without the keyboard."""
        self.entry(side).set_text_contents(path)
        find(self.side(side), "push button").do_action(0)

    def go(self, side, path, *rows, count=None):
        """Enters a path, and waits until exactly these rows, or that many, are shown. The rows of the folder before may
        be the same, and a busy window passes over what is entered: what counts is that it says what it reads."""
        def reads():
            return self.output().count(f"{path} total size is " if side == LOCAL else "real path: ")
        before = reads()

        def there():
            shown = self.row_count(side) if count else sorted(name for name in self.rows(side) if name != "..")
            return reads() > before and shown == (count or sorted(rows)) and not self.dialog()
        act_until(there, lambda: self.enter(side, path), 10, 60, what=f"the rows of {path}")

    def drag(self, start, end, seen):
        """Drags from one point to another; lets go once seen() has counted two answers of the target more."""
        before = seen()
        self.xdo("mousemove", *start, "mousedown", 1, "mousemove", start[0] + 20, start[1] + 4)
        step = iter(range(10000))

        def answered():
            self.xdo("mousemove", end[0] + next(step) % 2, end[1])
            return seen() >= before + 2
        try:
            wait_for(answered, what="the drop's target")
        finally:
            self.xdo("mouseup", 1)

    def take(self, side, names, act):
        """Selects rows, if any are named, and acts to put what is selected on the clipboard."""
        if names:
            self.select(side, *names)
        before = self.output().count("set data is [")
        act_until(lambda: self.output().count("set data is [") > before, act, what="the clipboard's new content")

    @staticmethod
    def clipboard(target, *options, **more):
        return subprocess.run(["xclip", "-selection", "clipboard", "-t", target, *options], timeout=LIMIT, check=False,
                              stderr=subprocess.DEVNULL, **{"stdout": subprocess.DEVNULL, **more})

    def offer(self, text, target=URIS):
        """As another program that has files on the clipboard."""
        self.clipboard(target, "-i", input=text.encode())

    def copy(self, source, names, target):
        self.take(source, names, lambda: self.menu(source, "Copy", names[-1]))
        self.menu(target, "Paste")


class DesktopTest(unittest.TestCase):
    def setUp(self):
        self.take_desktop()
        self.addCleanup(self.keep_evidence)
        self.addCleanup(self.check_end)

    def take_desktop(self):
        self.desktop = Desktop()
        self.addCleanup(self.desktop.stop)

    def check_end(self):
        """A window that is still there ends well when its user closes it."""
        d = self.desktop
        if self._outcome.success and d.app and d.window.poll() is None and d.frame():
            self.assertEqual(d.close(), 0)

    def keep_evidence(self):
        result = self._outcome.result
        failed = [getattr(test, "test_case", test) for test, _ in result.failures + result.errors]
        if self in failed and self.desktop.window is not None:
            path = os.path.join(BUILD, f"relay-hub-{self.id()}.png")  # the test's own /tmp goes with it
            subprocess.run(["import", "-silent", "-window", "root", path], check=False)
            print(f"screenshot: {path}\nwindow's output ends:\n{self.desktop.output()[-3000:]}", file=sys.stderr)
