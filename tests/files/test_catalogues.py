"""The catalogues against the ids of the sources and against each other."""
import gettext
import glob
import io
import os
import re
import subprocess
import unittest

TOP = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
with open(os.path.join(TOP, "po", "LINGUAS")) as names:
    LANGUAGES = names.read().split()


def ids_of_sources():
    found = set()
    for room in ("src", "engine", "connect"):
        for path in filter(os.path.isfile, glob.glob(os.path.join(TOP, room, "**", "*"), recursive=True)):
            with open(path, encoding="utf-8") as source:
                found.update(re.findall(r'"(IDS_[A-Z0-9_]+)"', source.read()))
    return found


def texts_of(language):
    """id -> text, as the program will read it: msgfmt leaves out what is fuzzy or empty."""
    compiled = subprocess.run(["msgfmt", "-c", "-o", "-", os.path.join(TOP, "po", language + ".po")],
                              check=True, stdout=subprocess.PIPE).stdout
    catalogue = gettext.GNUTranslations(io.BytesIO(compiled))
    return {key: text for key, text in catalogue._catalog.items() if key}


class Catalogues(unittest.TestCase):
    # What the program puts behind these, and behind reasons, stands in the sources: a colon, a question mark, a full
    # stop.
    CONTINUED = ("IDS_NEW_NAME", "IDS_NEW_FOLDER_NAME", "IDS_EXIST_FILE_NAME", "IDS_ERROR_PATH")

    def test_the_languages_are_those_the_program_knows(self):
        with open(os.path.join(TOP, "src", "base", "program_locale.cpp")) as source:
            known = set(re.findall(r'"(\w\w_\w\w)\.UTF-8"', source.read()))
        self.assertEqual(set(LANGUAGES), known)

    def test_each_catalogue(self):
        ids, english = ids_of_sources(), texts_of("en_US")
        for language in LANGUAGES:
            texts = texts_of(language)
            with self.subTest(language=language):
                self.assertEqual(set(texts), ids, "missing, empty, fuzzy or unused ids")
                self.assertNotEqual(texts["IDS_FH_FOLDER"], texts["IDS_FH_FILE"])
                for key, text in texts.items():
                    self.assertEqual(re.findall("%.", text), re.findall("%.", english[key]), key)
                    self.assertEqual(text, text.strip(), key)
                    self.assertNotIn("IDS_", text)
                for key in (*self.CONTINUED, *(key for key in ids if key.startswith("IDS_REASON_"))):
                    self.assertNotRegex(texts[key], r"[.:?。：？]$", key)

    def test_the_template_is_up_to_date(self):
        check = subprocess.run([os.path.join(TOP, "scripts", "template"), "--check"], capture_output=True, text=True)
        self.assertEqual(check.returncode, 0, check.stdout + check.stderr)
