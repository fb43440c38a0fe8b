"""Which room includes which: arrows go down, none in a circle."""
import collections
import glob
import graphlib
import os
import re
import unittest

TOP = os.path.realpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
ROOMS = ["base", "xml_doc", "name_pipe", "util", "link_engine", "tree_view_op", "window", "xml_op", "side_function", "ui"]
# What a room sees of those below it; the rooms that are not named see all of them.
SEES = {"xml_doc": {"base"}, "name_pipe": {"xml_doc", "base"}, "util": {"name_pipe", "base"},
        "link_engine": {"xml_doc", "name_pipe", "util", "base"}, "tree_view_op": {"util", "base"},
        "window": {"tree_view_op", "link_engine", "util", "base"}}
INTERFACE = {"engine/remote_file_system.h", "engine/names.h"}  # all that a kind of remote computer knows of the engine
WITHOUT_TOOLKIT = ["base", "xml_doc", "name_pipe", "util"]


def sources():
    for top in ("src", "engine", "connect"):
        for path in glob.glob(os.path.join(TOP, top, "**", "*"), recursive=True):
            if path.endswith((".h", ".cpp")):
                with open(path, encoding="utf-8") as source:
                    yield os.path.relpath(path, os.path.join(TOP, "src") if top == "src" else TOP), source.read()


SOURCES = dict(sources())
INCLUDES = {path: re.findall(r'#include "([^"]+)"', text) for path, text in SOURCES.items()}


def room(path):
    return path.split("/")[0]


class Rooms(unittest.TestCase):
    def test_arrows_go_down(self):
        for path, included in INCLUDES.items():
            for target in included:
                own, other = room(path), room(target)
                if path.startswith(("engine/folder/", "engine/sftp/")):
                    allowed = other == "base" or target in INTERFACE or os.path.dirname(target) == os.path.dirname(path)
                elif own == "connect":
                    allowed = other in ("connect", "base")
                elif own == "engine":
                    allowed = other in ("engine", "base", "xml_doc", "name_pipe") or target == "link_engine/message_names.h"
                else:
                    allowed = other == own or other in SEES.get(own, ROOMS[:ROOMS.index(own)])
                self.assertTrue(allowed, f"{path} includes {target}")
            if room(path) in (*WITHOUT_TOOLKIT, "engine"):
                self.assertNotRegex(SOURCES[path], r"#include <g[td]k/", path)

    def test_no_circle(self):
        arrows = collections.defaultdict(set)  # a header and its source are one
        for path, included in INCLUDES.items():
            name = os.path.splitext(path)[0]
            arrows[name] |= {os.path.splitext(target)[0] for target in included} - {name}
        graphlib.TopologicalSorter(arrows).prepare()  # fails with the circle
