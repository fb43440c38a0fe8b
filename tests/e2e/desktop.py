"""The whole program on a desktop of its own: window, engine, window manager, driven as a person would.

A test takes one Desktop, which makes a private home, remote folder and runtime folder, starts what the test
asks for, and ends all of it. What the window shows is read from the accessibility tree; input is the mouse and
the keyboard (xdotool). Nothing here sleeps a fixed time: wait_for() looks again until a condition holds.
"""
import os
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

import warnings

import gi

warnings.simplefilter("ignore", DeprecationWarning)  # the interface getters: their replacement needs no getter at all
gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

BUILD = os.environ["RELAY_HUB_BUILD"]
WINDOW = os.path.join(BUILD, "bin", "relay-hub")
ENGINE = os.path.join(BUILD, "bin", "relay-hub-engine")
LOCAL, REMOTE = "This Computer", "Remote Computer"
EVENT_LOG = "/tmp/Pondmark.log"
CHECKER = shlex.split(os.environ.get("RELAY_HUB_CHECKER", ""))  # what the window's program runs under
SLOW = 4 if os.environ.get("RELAY_HUB_SLOW") else 1  # sanitizer builds


def wait_for(predicate, limit=15, what="condition"):
    """The predicate's first true result; fails the test when there is none within limit seconds."""
    end = time.monotonic() + limit * SLOW
    while True:
        try:
            result = predicate()
        except (GLib.Error, AttributeError):  # a widget that went away while it was read
            result = None
        if result:
            return result
        if time.monotonic() > end:
            raise AssertionError(f"waited {limit * SLOW} s for {what}")
        time.sleep(0.02)


def children(node):
    for index in range(node.get_child_count()):
        child = node.get_child_at_index(index)
        if child is not None:
            yield child


def find(node, role, name=None, showing=True):
    """Depth-first search; tables are not descended into."""
    if node.get_role_name() == role and name in (None, node.get_name()):
        if not showing or node.get_state_set().contains(Atspi.StateType.SHOWING):
            return node
    if node.get_role_name() != "table":
        for child in children(node):
            found = find(child, role, name, showing)
            if found:
                return found
    return None


def tree_of(top):
    """What a folder holds: relative name -> kind and content, for comparing copies."""
    found = {}
    for folder, folders, files in os.walk(os.fsencode(top)):
        for name in folders + files:
            path = os.path.join(folder, name)
            key = os.path.relpath(path, os.fsencode(top))
            status = os.lstat(path)
            if os.path.islink(path):
                found[key] = ("link", os.readlink(path))
            elif os.path.isdir(path):
                found[key] = ("folder", status.st_mode)
            else:
                with open(path, "rb") as file:
                    found[key] = ("file", file.read(), status.st_mode, int(status.st_mtime))
    return found


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
        self.engine = self.window = self.app = None
        self.manager = None
        wait_for(self.managed, 40, what="the window manager")

    # -- programs

    def managed(self):
        # While the one of the test before is leaving, a new one gives up at once.
        if self.manager is None or self.manager.poll() is not None:
            self.manager = self.spawn(["openbox", "--config-file", "/etc/xdg/openbox/rc.xml", "--sm-disable"])
        return subprocess.run(["wmctrl", "-m"], capture_output=True, check=False).returncode == 0

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
        wait_for(lambda: os.path.exists("/tmp/ZEV_KorvaleMarrowglint_OUT"), what="the engine's pipes")

    def start_window(self):
        self.window = self.spawn([WINDOW], cwd=BUILD)
        wait_for(self.find_app, what="the window")
        wait_for(lambda: not self.dialog() and self.frame().get_state_set().contains(Atspi.StateType.ACTIVE),
                 what="the window to be ready for its user")
        return self

    def find_app(self):
        if self.window.poll() is not None:
            raise AssertionError("the window's process ended: " + self.output()[-2000:])
        for app in children(Atspi.get_desktop(0)):
            if app.get_process_id() == self.window.pid and find(app, "frame", "Relay Hub"):
                self.app = app
                return app
        return None

    def start(self, *engine_options):
        """Engine and window, and the remote pane filled."""
        self.start_engine(*engine_options)
        self.start_window()
        self.wait_remote()
        return self

    def wait_remote(self, limit=20):
        wait_for(lambda: self.folder(REMOTE) and not self.dialog(), limit, what="the remote pane to be filled")

    def close(self):
        """Closes the window as the user does; its exit status."""
        subprocess.run(["wmctrl", "-F", "-c", "Relay Hub"], check=False)
        try:
            return self.window.wait(10 * SLOW)
        except subprocess.TimeoutExpired:
            raise AssertionError("the window did not end; output: " + self.output()[-2000:])

    def stop(self):
        for process in reversed(self.processes):
            if process.poll() is None:
                process.send_signal(signal.SIGTERM if process is not self.window else signal.SIGKILL)
                try:
                    process.wait(5)
                except subprocess.TimeoutExpired:
                    process.kill()
                    process.wait()
        subprocess.run(["chmod", "-R", "u+rwX", self.top], check=False, stderr=subprocess.DEVNULL)
        shutil.rmtree(self.top, ignore_errors=True)
        for name in ("", "Notify"):
            for end in ("IN", "OUT"):
                try:
                    os.unlink(f"/tmp/ZEV_KorvaleMarrowglint{name}_{end}")
                except FileNotFoundError:
                    pass

    def screenshot(self, path):
        subprocess.run(["import", "-silent", "-window", "root", path], check=True)

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
        """The text of the side's path entry; empty while the side is off line."""
        entry = self.entry(side)
        return entry.get_text_iface().get_text(0, -1) if entry else ""

    def row_count(self, side):
        table = self.table(side)
        return table.get_table_iface().get_n_rows() if table else 0

    def rows(self, side):
        table = self.table(side)
        if not table:
            return []
        cells = table.get_table_iface()
        return [cells.get_accessible_at(row, 0).get_name() or self.cell_text(cells.get_accessible_at(row, 0))
                for row in range(cells.get_n_rows())]

    def selected(self, side):
        names = self.rows(side)
        return [names[row] for row in self.table(side).get_table_iface().get_selected_rows()]

    def has_focus(self, side):
        """The list has the keyboard, be it told of the list itself or of its current cell."""
        cells = self.table(side).get_table_iface()
        nodes = [self.table(side)] + [cells.get_accessible_at(row, 0) for row in cells.get_selected_rows()]
        return any(node.get_state_set().contains(Atspi.StateType.FOCUSED) for node in nodes)

    @staticmethod
    def cell_text(cell):
        return next((child.get_name() for child in children(cell) if child.get_name()), "")

    def dialog(self, title=None):
        """The innermost dialog or alert that is showing; of that title, if given."""
        for node in reversed(list(children(self.app))):
            if node.get_role_name() in ("dialog", "alert") and title in (None, node.get_name()):
                if node.get_state_set().contains(Atspi.StateType.SHOWING):
                    return node
        return None

    def error_box(self):
        return next((node for node in children(self.app) if node.get_role_name() == "alert" and
                     node.get_state_set().contains(Atspi.StateType.SHOWING)), None)

    def dialog_texts(self, dialog):
        texts = []

        def walk(node):
            if node.get_role_name() == "label":
                texts.append(node.get_name())
            for child in children(node):
                walk(child)
        walk(dialog)
        return texts

    def wait_dialog(self, title=None, limit=15):
        return wait_for(lambda: self.dialog(title), limit, what=f"the dialog {title}")

    def wait_quiet(self, limit=60):
        """No dialog shows and the window answers."""
        wait_for(lambda: not self.dialog(), limit, what="all dialogs to close")

    # -- what a person does

    @staticmethod
    def xdo(*words):
        subprocess.run(["xdotool", *map(str, words)], check=True)

    @staticmethod
    def centre(node):
        box = node.get_component_iface().get_extents(Atspi.CoordType.SCREEN)
        return box.x + box.width // 2, box.y + box.height // 2

    def click(self, node, button=1, repeat=1):
        x, y = self.centre(node)
        self.xdo("mousemove", x, y, "click", "--repeat", repeat, "--delay", 40, button)

    def cell(self, side, name):
        def look():
            table = self.table(side)
            cells = table.get_table_iface()
            names = self.rows(side)
            return cells.get_accessible_at(names.index(name), 0) if name in names else None
        cell = wait_for(look, what=f"row {name} in {side}")
        if not cell.get_state_set().contains(Atspi.StateType.SHOWING):
            cell.get_component_iface().grab_focus()  # scrolls to it, and selects it
        return cell

    def open(self, side, name):
        self.click(self.cell(side, name), repeat=2)

    def select(self, side, *names):
        table = self.table(side)
        for index, name in enumerate(names):
            cell = self.cell(side, name)
            if index:
                self.xdo("keydown", "ctrl")
            try:
                self.click(cell)
            finally:
                if index:
                    self.xdo("keyup", "ctrl")
        wait_for(lambda: table.get_table_iface().get_n_selected_rows() >= len(names), what="the selection")

    def menu(self, side, item, row=None):
        """Right click on a row (the last selected one, or empty space) and choose an item."""
        target = self.cell(side, row) if row else self.table(side)
        x, y = self.centre(target)
        if not row:
            box = target.get_component_iface().get_extents(Atspi.CoordType.SCREEN)
            y = box.y + box.height - 8
        self.xdo("mousemove", x, y, "click", 3)
        entry = wait_for(lambda: self.menu_item(item), what=f"menu item {item}")
        self.click(entry)

    def menu_item(self, name):
        for node in children(self.app):
            if node.get_role_name() in ("window", "menu", "popup menu", "frame"):
                found = find(node, "menu item", name)
                if found:
                    return found
        return None

    def choose_drive(self, side, index, count):
        """Opens the drive box, which holds count entries, and chooses one."""
        self.click(find(self.side(side), "combo box"))

        def entries():
            for node in children(self.app):
                menu = find(node, "menu") if node.get_role_name() == "window" else None
                if menu and menu.get_child_count() == count:
                    return list(children(menu))
            return None
        self.click(wait_for(entries, what=f"{count} entries of the drive box")[index])

    def press(self, dialog, button):
        node = wait_for(lambda: find(dialog, "push button", button), what=f"button {button}")
        self.click(node)

    def type_path(self, side, text):
        def typed():
            self.click(self.entry(side))
            self.xdo("key", "ctrl+a")
            self.xdo("type", "--delay", "5", text)
            try:  # the keyboard may still have been on its way back from a box that was closed
                return wait_for(lambda: self.folder(side) == text, 2, what=f"{text} in the path entry")
            except AssertionError:
                return False
        wait_for(typed, what=f"{text} in the path entry")
        self.xdo("key", "Return")

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

    def copy(self, source, names, target, answer=None):
        """Copies rows of one pane into the other; answers the overwrite question once with a button."""
        self.select(source, *names)
        self.menu(source, "Copy", names[-1])
        self.menu(target, "Paste")
        if answer:
            self.press(self.wait_dialog("Confirmation"), answer)


class DesktopTest(unittest.TestCase):
    def setUp(self):
        self.desktop = Desktop()
        self.addCleanup(self.desktop.stop)
        self.addCleanup(self.keep_evidence)

    def keep_evidence(self):
        outcome = self._outcome
        failed = any(error for _, error in getattr(outcome, "errors", [])) or \
            (outcome.result and any(getattr(test, "test_case", test) is self
                                    for test, _ in outcome.result.failures + outcome.result.errors))
        if failed and self.desktop.window is not None:
            path = os.path.join(tempfile.gettempdir(), f"relay-hub-{self.id()}.png")
            self.desktop.screenshot(path)
            print(f"screenshot: {path}\nwindow's output ends:\n{self.desktop.output()[-3000:]}", file=sys.stderr)


def main():
    unittest.main(verbosity=2)
