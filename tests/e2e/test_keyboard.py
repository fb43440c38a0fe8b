"""Everything without a mouse, and a spoken name for whatever can have the focus."""
import os

from common import main, wait_for, write
from desktop import BUILD, LOCAL, REMOTE, STATES, WINDOW, DesktopTest, children, find, has_state, walk


def focusable(top):
    """Showing widgets that can have the focus."""
    return [node for node in walk(top) if has_state(node, STATES.FOCUSABLE) and has_state(node, STATES.SHOWING)]


class Keyboard(DesktopTest):
    def test_first_second(self):
        """Keys arrive from the moment on at which the window has the keyboard, while both panes are being filled."""
        d = self.desktop
        d.start_engine()
        for number in range(8):
            name = f"typed at once {number}"
            d.window = d.spawn([WINDOW], cwd=BUILD)
            d.wait_keyboard("Relay Hub")
            d.xdo("key", "ctrl+shift+n")
            d.wait_keyboard("Create New Folder")
            d.xdo("type", "--delay", 1, name)
            d.xdo("key", "Return")
            wait_for(lambda: os.path.isdir(os.path.join(d.home, name)), what=name)
            wait_for(d.find_app, what="the window")
            self.assertEqual(d.close(), 0)

    def check_names(self, place, top):
        self.assertEqual([node.get_role_name() for node in focusable(top) if not node.get_name().strip()], [], place)

    def test_spoken_names(self):
        d = self.desktop
        os.mkdir(os.path.join(d.remote, "Documents"))
        for folder in (d.home, os.path.join(d.remote, "Desktop")):
            write(os.path.join(folder, "note.txt"), folder.encode())
        d.start()
        self.check_names("window", d.frame())
        for side, count in ((LOCAL, 2), (REMOTE, 3)):
            names = [entry.get_name() for entry in d.drives(side)]
            self.assertEqual(len(names), count)
            self.assertFalse([name for name in names if not name or name.startswith("gtk-")])
        openings = [lambda: d.menu(LOCAL, "New Folder"), lambda: d.menu(LOCAL, "Rename", "note.txt"),
                    lambda: d.menu(LOCAL, "Delete", "note.txt"), lambda: d.menu(LOCAL, "About Relay Hub"),
                    lambda: d.type_path(LOCAL, "/nowhere"), lambda: d.copy(LOCAL, ["note.txt"], REMOTE)]
        for number, open_it in enumerate(openings):
            open_it()
            d.wait_dialog()
            for box in children(d.app):  # the overwrite question stands before the progress
                self.check_names(f"opening {number}: {box.get_name()}", box)
            wait_for(self.way_out, what="a button that closes the dialog").do_action(0)
            d.wait_quiet()

    def way_out(self):
        box = self.desktop.dialog("Confirmation") or self.desktop.dialog()
        return next(filter(None, (find(box, "push button", name) for name in ("Cancel", "Close", "OK"))), None)


if __name__ == "__main__":
    main()
