"""Any name that the file system holds is listed and copied here, and sent to the remote computer
where the wire can carry it; where it cannot, the user is told which and why, and the rest goes on."""
import os
import re
from urllib.parse import quote

from common import SLOW, tree_of, wait_for, write
from desktop import LOCAL, REMOTE, DesktopTest, labels

# Each byte in front and, where the name is no longer hidden by it, at the end. Whole stacks take their time: there
# it is a sample of each class of bytes.
BYTES = [byte for byte in range(1, 256, 1 if SLOW == 1 else 5) if byte != ord("/")]
NAMES = [bytes([byte]) + b" in front" for byte in BYTES] + [b"at the end " + bytes([byte]) for byte in BYTES]
NAMES += [name.encode() for name in (
    "a" * 255, "é" * 127, " ", "    ", "\t", "\n", "\r\n", "-", "--", "-rf", "--help", "'", '"', "'\"'\"", "`id`",
    "$(id)", "$HOME", "a\nb", "a\n", "a", "%s%n%d", "100%", "&amp;", "&dq;", "&", "<b>bold", "]]>", "<!--", "C:", "\\",
    "a\\b", "..\\..\\x", "*?|<>", "~", "~root", "#", ";", "a;b", "a..", "CON", "aux.txt", "trailing ", "名前",
    "Grüße", "e\u0301", "\u00e9", "\U0001f389 party", "\u202eright to left", "\ufeffmark", "\ufffd", "\u2028",
    "file:%2Fetc", "%00", "a\x7fb", "Line[1]", "zero\u200bwidth")]
NAMES += [b"\xed\xa0\xbd surrogate", b"\xc0\xaf overlong", b"cut \xe2\x82", b"\xff\xfe", b"bad-\xff-name",
          b"\xf5\x80\x80\x80", b"half \xf0\x9f\x8e"]
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
            write(os.path.join(os.fsencode(self.odd), name), b"content of " + name)
        self.desktop.start()
        self.desktop.go(LOCAL, self.odd, count=len(NAMES) + 1)

    def keys(self, side, *keys):
        d = self.desktop
        d.click(d.table(side))
        wait_for(lambda: d.has_focus(side), what="the keyboard in the list")  # a key may overtake a click
        d.key(*keys)

    def wait_count(self, side, count):
        wait_for(lambda: self.desktop.row_count(side) == count and not self.desktop.dialog(), 60, what=f"{count} rows")

    def test_here(self):
        d = self.desktop
        copy = os.path.join(d.home, "copy")
        os.mkdir(copy)
        self.assertGreater(len(NAMES), 150)
        plain = {name.decode() for name in NAMES if can_travel(name)}
        self.assertEqual(plain - set(d.rows(LOCAL)), {name for name in plain if re.search("[\u2028\u202e]", name)})
        d.go(LOCAL, copy)
        d.offer("".join(f"file://{self.odd}/{quote(name)}\r\n" for name in NAMES))
        self.keys(LOCAL, "ctrl+v")
        self.wait_count(LOCAL, len(NAMES) + 1)
        wanted = {name: entry[:3] for name, entry in tree_of(self.odd).items()}
        self.assertEqual({name: entry[:3] for name, entry in tree_of(copy).items()}, wanted)  # a copy is a new file

    def test_to_the_remote_computer_and_back(self):
        d = self.desktop
        carried = {name for name in NAMES if can_travel(name)}
        back = os.path.join(d.home, "back")
        os.mkdir(back)
        d.take(LOCAL, [], lambda: self.keys(LOCAL, "ctrl+a", "ctrl+c"))
        self.keys(REMOTE, "ctrl+v")
        box = wait_for(lambda: d.dialog() if "could not be processed" in "".join(labels(d.dialog())) else None, 60,
                       what="the box that tells")
        shown = "\n".join(labels(box))
        self.assertIn(f"Items that could not be processed: {len(NAMES) - len(carried)}", shown)
        self.assertIn("its name cannot be told to the other computer", shown)
        d.take_notes()
        sent, wanted = tree_of(d.remote), tree_of(self.odd)
        self.assertEqual(sent, {name: wanted[name] for name in carried})
        lines = d.output("relay-hub-engine")
        self.assertEqual(lines.count("not copied:"), len(NAMES) - len(carried))
        for text in ("/a\\b:", "/bad-\ufffd-name:"):
            self.assertIn(text, lines)

        d.go(REMOTE, "C:\\", count=len(carried))
        d.go(LOCAL, back)
        d.take(REMOTE, [], lambda: self.keys(REMOTE, "ctrl+a", "ctrl+c"))
        self.keys(LOCAL, "ctrl+v")
        self.wait_count(LOCAL, len(carried) + 1)
        self.assertEqual(tree_of(back), sent)
