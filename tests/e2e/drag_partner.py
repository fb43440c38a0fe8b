"""Another program on the desktop: a small window in the corner that offers files to a drag, and prints what is
dropped on it.  drag_partner.py FILE..."""
import sys

import gi

gi.require_version("Gtk", "3.0")
gi.require_version("Gdk", "3.0")
from gi.repository import Gdk, GLib, Gtk  # noqa: E402

OFFERED = [GLib.filename_to_uri(path) for path in sys.argv[1:]]


def tell(*words):
    print(*words, flush=True)
    return True


window = Gtk.Window(title="Partner", decorated=False)
window.set_default_size(200, 100)
area = Gtk.EventBox()
window.add(area)
area.drag_source_set(Gdk.ModifierType.BUTTON1_MASK, [Gtk.TargetEntry.new("text/uri-list", 0, 0)], Gdk.DragAction.COPY)
area.drag_dest_set(Gtk.DestDefaults.ALL, [Gtk.TargetEntry.new("text/uri-list", 0, 0)], Gdk.DragAction.COPY)
area.connect("drag-data-get", lambda _w, _c, data, _i, _t: data.set_uris(OFFERED))
area.connect("drag-motion", lambda *_: tell("motion") and False)
area.connect("drag-data-received", lambda _w, _c, _x, _y, data, _i, _t: tell("dropped", *data.get_uris()))
area.connect("drag-end", lambda *_: tell("ended"))
window.connect("map-event", lambda *_: tell("shown") and False)
window.show_all()
window.move(0, 0)
window.connect("destroy", Gtk.main_quit)
Gtk.main()
