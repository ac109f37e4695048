#!/usr/bin/python3
"""Tests scripts/check_includes.py: each test breaks one rule in a small temporary tree."""

import pathlib
import subprocess
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).parents[2] / "scripts" / "check_includes.py"

PAGE = """# Architecture

| room | may include | libraries |
|---|---|---|
| `main.cpp` | `window/`, `base/` | – |
| `window/` | `app/Note`, `base/` | – |
| `app/` | `window/`, `base/` | – |
| `app/Note` | `base/` | – |
| `base/` | – | expat, Qt D-Bus |
| `tests/` | everything | – |

| library | headers |
|---|---|
| expat | `expat.h` |
| Lua | `lua.hpp` |
| Qt D-Bus | `QDBus*` |
"""

FILES = {
    "docs/architecture.md": PAGE,
    "main.cpp": '#include "window/Window.h"\n',
    "window/Window.h": "#pragma once\n#include <QWidget>\n#include <vector>\n",
    "window/Window.cpp": '#include "window/Window.h"\n\n#include "app/Note.h"\n'
                         '#include "ui_Window.h"\n\n#include <QtMath>\n\n#include "Window.moc"\n',
    "app/Delegate.cpp": '#include "window/Window.h"\n#include "app/Note.h"\n',
    "app/Note.h": '#include "base/Store.h"\n',
    "base/Store.h": "#include <QString>\n",
    "base/Store.cpp": '#include "base/Store.h"\n#include <QDBusMessage>\n  #  include <expat.h>\n',
    "tests/tst_window.cpp": '#include "window/Window.h"\n#include <anything.h>\n',
    "resources/Window.ui": "<ui><header>base/Store.h</header></ui>\n",
}


class CheckIncludes(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        for path, text in FILES.items():
            self.write(path, text)

    def write(self, path, text):
        (self.root / path).parent.mkdir(parents=True, exist_ok=True)
        (self.root / path).write_text(text)

    def append(self, path, text):
        self.write(path, (self.root / path).read_text() + text)

    def assert_faults(self, *expected):
        answer = subprocess.run([SCRIPT, self.root], capture_output=True, text=True, check=False)
        self.assertEqual(answer.stderr, "")
        self.assertEqual(answer.stdout.splitlines(), list(expected))
        self.assertEqual(answer.returncode, 1 if expected else 0)

    def test_a_tree_without_faults(self):
        self.assert_faults()

    def test_a_room_that_is_not_allowed(self):
        self.append("base/Store.cpp", '#include "window/Window.h"\n')
        self.assert_faults("base/Store.cpp:4: room base/ may not include window/Window.h")

    def test_a_file_of_a_room_that_is_not_allowed(self):
        self.write("app/Delegate.h", "")
        self.append("window/Window.h", '#include "app/Delegate.h"\n')
        self.assert_faults("window/Window.h:4: room window/ may not include app/Delegate.h")

    def test_the_row_of_a_file_replaces_that_of_its_folder(self):
        self.append("app/Note.h", '#include "window/Window.h"\n')
        self.assert_faults("app/Note.h:2: room app/Note may not include window/Window.h")

    def test_a_library_that_is_not_allowed(self):
        self.append("window/Window.h", "#include <QDBusConnection>\n")
        self.append("base/Store.h", "#include <lua.hpp>\n")
        self.assert_faults("base/Store.h:2: room base/ may not include lua.hpp (Lua)",
                           "window/Window.h:4: room window/ may not include QDBusConnection"
                           " (Qt D-Bus)")

    def test_a_library_that_the_page_does_not_know(self):
        self.append("base/Store.h", "#include <zlib.h>\n#include <QtNetwork/QTcpSocket>\n")
        self.assert_faults("base/Store.h:2: room base/ may not include zlib.h",
                           "base/Store.h:3: room base/ may not include QtNetwork/QTcpSocket")

    def test_paths_that_do_not_begin_at_the_root(self):
        self.append("base/Store.cpp", '#include "Store.h"\n#include "../window/Window.h"\n')
        self.assert_faults("base/Store.cpp:4: room base/ may not include Store.h",
                           "base/Store.cpp:5: room base/ may not include ../window/Window.h")

    def test_the_header_of_a_widget_in_a_window_description(self):
        self.write("app/Widget.h", "")
        self.write("resources/Window.ui", "<ui><header>app/Widget.h</header></ui>\n")
        self.assert_faults("window/Window.cpp:4: room window/ may not include app/Widget.h")

    def test_a_macro_in_place_of_a_header(self):
        self.append("base/Store.h", "#include HEADER\n")
        self.assert_faults("base/Store.h:2: room base/ may not include HEADER")

    def test_a_folder_without_a_row(self):
        self.write("attic/Box.cpp", "")
        self.assert_faults("attic/Box.cpp:1: no row of docs/architecture.md names its room")

    def test_names_without_a_file(self):
        self.write("docs/architecture.md", PAGE.replace("`window/`, `base/` | –",
                                                        "`window/`, `cellar/` | –", 1))
        self.assert_faults("docs/architecture.md:5: cellar/ names no file")

    def test_a_library_without_headers(self):
        self.write("docs/architecture.md", PAGE.replace("expat, Qt D-Bus", "expat, GIO, Qt D-Bus"))
        self.assert_faults("docs/architecture.md:9: no headers are named for GIO")

    def test_a_missing_table(self):
        self.write("docs/architecture.md", PAGE.replace("| room |", "| rooms |"))
        self.assert_faults("docs/architecture.md:1: no table of each room")
        self.write("docs/architecture.md", PAGE.replace("| library |", "| libraries |"))
        self.assert_faults("docs/architecture.md:1: no table of each library")

    def test_a_missing_page(self):
        (self.root / "docs/architecture.md").unlink()
        self.assert_faults("docs/architecture.md:1: missing")


unittest.main()
