"""Any name that the file system holds is listed, copied, renamed and trashed here, and sent to the remote computer
where the wire can carry it; where it cannot, the user is told which and why, and the rest goes on."""
import glob
import os
import re
import subprocess
from urllib.parse import quote

from desktop import LOCAL, REMOTE, DesktopTest, main, tree_of, wait_for

# Each byte in front and, where the name is no longer hidden by it, at the end.
NAMES = [bytes([byte]) + b" in front" for byte in range(1, 256) if byte not in b"/."]
NAMES += [b"at the end " + bytes([byte]) for byte in range(1, 256) if byte != ord("/")]
NAMES += [name.encode() for name in (
    "a" * 255, "é" * 127, " ", "    ", "\t", "\n", "\r\n", "-", "--", "-rf", "--help", "'", '"', "'\"'\"", "`id`",
    "$(id)", "$HOME", "a\nb", "a\n", "a", "%s%n%d", "100%", "&amp;", "&dq;", "&", "<b>bold", "]]>", "<!--", "C:", "\\",
    "a\\b", "..\\..\\x", "*?|<>", "~", "~root", "#", ";", "a;b", "a..", "CON", "aux.txt", "trailing ", "名前",
    "Grüße", "e\u0301", "\u00e9", "\U0001f389 party", "\u202eright to left", "\ufeffmark", "\ufffd", "\u2028",
    "file:%2Fetc", "%00", "a\x7fb", "Line[1]", "zero\u200bwidth")]
NAMES += [b"\xed\xa0\xbd surrogate", b"\xc0\xaf overlong", b"cut \xe2\x82", b"\xff\xfe", b"bad-\xff-name", b"\xf5\x80\x80\x80",
          b"half \xf0\x9f\x8e"]
NAMES = sorted(set(name for name in NAMES if not name.startswith(b".")))


def can_travel(name):
    try:
        text = name.decode()
    except UnicodeDecodeError:
        return False
    return "\\" not in text and not re.search("[\x01-\x1f\x7f]", text)


class Names(DesktopTest):
    def setUp(self):
        super().setUp()
        self.odd = os.path.join(self.desktop.home, "odd")
        os.mkdir(self.odd)
        for name in NAMES:
            with open(os.path.join(os.fsencode(self.odd), name), "wb") as file:
                file.write(b"content of " + name)
        self.desktop.start()

    def go(self, side, path, rows):
        self.desktop.type_path(side, path)
        wait_for(lambda: self.desktop.folder(side) == path and self.desktop.row_count(side) == rows and
                 not self.desktop.dialog(), 30, what=f"{rows} rows of {path}")

    def keys(self, side, *keys):
        self.desktop.click(self.desktop.table(side))
        self.desktop.xdo("key", *keys)

    def offer_as_another_program(self):
        uris = [f"file://{self.odd}/{quote(name)}\r\n" for name in NAMES]
        owner = self.desktop.spawn(["xclip", "-quiet", "-selection", "clipboard", "-t", "text/uri-list", "-i",
                                    self.write("uris", "".join(uris))])
        wait_for(lambda: subprocess.run(["xclip", "-selection", "clipboard", "-t", "TARGETS", "-o"],
                                        capture_output=True).stdout.count(b"uri-list"), what="the clipboard's owner")
        self.assertIsNone(owner.poll())

    def write(self, name, text):
        path = os.path.join(self.desktop.top, name)
        with open(path, "w") as file:
            file.write(text)
        return path

    def test_here(self):
        d = self.desktop
        copy = os.path.join(d.home, "copy")
        os.mkdir(copy)
        self.assertGreater(len(NAMES), 500)
        self.go(LOCAL, self.odd, len(NAMES) + 1)
        shown = set(d.rows(LOCAL))
        self.assertEqual({name.decode() for name in NAMES if can_travel(name)} - shown, set())
        self.go(LOCAL, copy, 1)
        self.offer_as_another_program()
        self.keys(LOCAL, "ctrl+v")
        wait_for(lambda: d.row_count(LOCAL) == len(NAMES) + 1 and not d.dialog(), 60, what="the copies")
        wanted = tree_of(self.odd)
        self.assertEqual({name: entry[:3] for name, entry in tree_of(copy).items()},  # a copy is a new file
                         {name: entry[:3] for name, entry in wanted.items()})

        self.rename_some(copy)
        self.go(LOCAL, self.odd, len(NAMES) + 1)
        self.keys(LOCAL, "ctrl+a", "Delete")
        d.press(d.wait_dialog(), "OK")
        wait_for(lambda: d.row_count(LOCAL) == 1 and not d.dialog(), 120, what="the end of the moving to the trash")
        self.assertEqual(os.listdir(self.odd), [])
        trashed = {}
        for path in glob.glob(os.path.join(glob.escape(os.fsencode(d.home)), b"Trash", b".????????", b"*")):
            with open(path, "rb") as file, open(os.path.dirname(path) + b".info", "rb") as info:
                trashed[os.path.basename(path)] = file.read()
                self.assertTrue(info.read().startswith(os.path.join(os.fsencode(self.odd), os.path.basename(path)) + b"\n"))
        self.assertEqual(trashed, {name: content for name, (_, content, *_) in wanted.items()})
        self.assertEqual(d.close(), 0)

    def rename_some(self, folder):
        d = self.desktop
        for number, name in enumerate((b" ", b"-rf", b"'\"'\"", b"a\nb", b"&dq;", b"bad-\xff-name", b"a" * 255)):
            with self.subTest(name=name):
                d.select(LOCAL, next(row for row in d.rows(LOCAL) if row.encode()[:4] == name[:4] and
                                     (row.encode() == name or b"\xff" in name)))
                d.xdo("key", "F2")
                d.wait_dialog()
                d.xdo("key", "ctrl+a")
                d.xdo("type", "--delay", "5", f"new name {number}'s")
                d.xdo("key", "Return")
                path = os.path.join(os.fsencode(folder), f"new name {number}'s".encode())
                wait_for(lambda: os.path.exists(path), what="the new name")
                d.wait_quiet()
                with open(path, "rb") as file:
                    self.assertEqual(file.read(), b"content of " + name)
                self.assertFalse(os.path.lexists(os.path.join(os.fsencode(folder), name)))

    def test_to_the_remote_computer_and_back(self):
        d = self.desktop
        carried = {name for name in NAMES if can_travel(name)}
        back = os.path.join(d.home, "back")
        os.mkdir(back)
        self.go(LOCAL, self.odd, len(NAMES) + 1)
        self.keys(LOCAL, "ctrl+a", "ctrl+c")
        self.keys(REMOTE, "ctrl+v")
        box = wait_for(lambda: next((node for node in [d.dialog()] if node and any(
            "could not be copied" in text for text in d.dialog_texts(node))), None), 60, what="the box that tells")
        told = "\n".join(d.dialog_texts(box))
        self.assertIn(f"{len(NAMES) - len(carried)} items could not be copied", told)
        self.assertIn("its name cannot be told to the other computer", told)
        d.xdo("key", "Escape")
        d.wait_quiet()
        sent = tree_of(d.remote)
        wanted = tree_of(self.odd)
        self.assertEqual(sent, {name: wanted[name] for name in carried})
        lines = d.output("relay-hub-engine")
        self.assertEqual(lines.count("not copied:"), len(NAMES) - len(carried))
        for text in ("/a\\b:", "/bad-\ufffd-name:"):
            self.assertIn(text, lines)

        self.go(REMOTE, "C:\\", len(carried))
        self.go(LOCAL, back, 1)
        self.keys(REMOTE, "ctrl+a", "ctrl+c")
        self.keys(LOCAL, "ctrl+v")
        wait_for(lambda: d.row_count(LOCAL) == len(carried) + 1 and not d.dialog(), 60, what="the copies")
        self.assertEqual(tree_of(back), sent)
        self.assertEqual(d.close(), 0)


if __name__ == "__main__":
    main()
