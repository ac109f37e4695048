"""Other programs start watch mode over the session bus, in every state of this program."""

import configparser
import os
import pathlib
import re
import shutil
import signal
import subprocess
import unittest

import cameras
import desktop
import gi
import vellumcap

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

NAME = "org.vellumcap.Vellumcap"
PATH = "/org/vellumcap/Vellumcap"
SETTINGS = pathlib.Path(os.environ["XDG_CONFIG_HOME"]) / "vellumcap" / "vellumcap.ini"
SERVICE = desktop.FOLDER / "services" / f"{NAME}.service"
SCRIPTS = SETTINGS.parent / "scripts"
DOCUMENT = pathlib.Path(__file__).parents[2] / "docs" / "scripts.md"
OPTIONS = ("watch-openURLInBackground", "watch-saveCapture", "watch-closeOnFirstScan")


def watch(arguments="{}"):
    """Calls Watch from another process. The reply arrives before a window opens."""
    answer = subprocess.run(
        ["gdbus", "call", "--session", "--dest", NAME, "--object-path", PATH,
         "--method", f"{NAME}.Watch", arguments],
        capture_output=True, text=True, timeout=desktop.PATIENCE, check=False)
    if answer.stdout != "()\n":
        raise AssertionError(answer.stdout + answer.stderr)


def bus_call(method, *arguments):
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    return bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                         method, GLib.Variant(*arguments) if arguments else None, None,
                         Gio.DBusCallFlags.NONE, -1, None).unpack()


def is_running():
    return bus_call("NameHasOwner", "(s)", (NAME,))[0]


def options():
    """The stored values of OPTIONS; None for each missing one."""
    settings = configparser.ConfigParser(interpolation=None, delimiters="=")
    settings.optionxform = str
    settings.read(SETTINGS)
    return [settings.get("General", key, fallback=None) for key in OPTIONS]


def commands_of_document(language):
    return re.findall(rf"^ *```{language}\n(.*?)^ *```", DOCUMENT.read_text(), re.M | re.S)


class Case(unittest.TestCase):
    def setUp(self):
        SETTINGS.unlink(missing_ok=True)

    def start(self):
        return desktop.stop_after(self, vellumcap.start())

    def wait_for_options(self, *expected):
        desktop.wait_until(lambda: options() == list(expected), f"the options {expected}")

    def make_startable(self):
        """Installs the bus service file for the tested program."""
        installed = (desktop.BIN.parent / SERVICE.name).read_text()
        exec_line = re.search("^Exec=(.*/)vellumcap$", installed, re.M)
        SERVICE.write_text(installed.replace(exec_line[1], f"{desktop.BIN}/"))
        self.addCleanup(self.make_unstartable)
        bus_call("ReloadConfig")
        self.assertFalse(is_running())

    def make_unstartable(self):
        if is_running():
            os.kill(bus_call("GetConnectionUnixProcessID", "(s)", (NAME,))[0], signal.SIGTERM)
        desktop.wait_until(lambda: not is_running(), "the end of the program")
        SERVICE.unlink()
        bus_call("ReloadConfig")


class WithCamera(Case):
    COMMAND = "{'SaveCapture': <true>, 'ScriptName': <'b.scpt'>}"

    def setUp(self):
        super().setUp()
        SCRIPTS.mkdir(parents=True, exist_ok=True)
        for name in ("a.scpt", "b.scpt"):
            (SCRIPTS / name).write_text("function scanned_code(text) end\n")
        rig = cameras.Cameras()
        self.addCleanup(rig.end)
        self.camera = rig.add("cam.a", "Camera A")

    def assert_watching(self, app):
        sheet = app.find("dialog", "Capture")
        sheet.find(name="Options").click()
        sheet.find("combo box", "b.scpt")
        self.assertTrue(sheet.find("check box", "Keep every code in the journal")
                        .has_state("checked"))
        sheet.find("push button", "Cancel").click()
        app.wait_gone("dialog", "Capture")

    def test_idle(self):
        app = self.start()
        watch(self.COMMAND)
        app.find("dialog", "Capture")
        watch("{'CloseOnFirstScan': <true>}")
        self.wait_for_options("false", "false", "true")
        self.assertEqual(len(app.find_all("dialog")), 1)
        watch(self.COMMAND)
        self.wait_for_options("false", "true", "false")
        self.assert_watching(app)
        self.assertEqual(vellumcap.quit_by_keys(app), 0)

    def test_over_the_scan_sheet(self):
        app = self.start()
        sheet = vellumcap.open_sheet(app, "Scan", "Capture")
        watch(self.COMMAND)
        self.wait_for_options("false", "true", "false")
        self.assertEqual(len(app.find_all("dialog")), 1)
        self.assertTrue(sheet.find_all("push button", "Skip"))
        sheet.find("push button", "Cancel").click()
        app.wait_gone("dialog", "Capture")

    def test_hidden_journal(self):
        app = self.start()
        vellumcap.wait_journal_active(app)
        desktop.keys("ctrl+w")
        desktop.wait_until(lambda: not desktop.shown_windows("Vellumcap"), "the window to go")
        watch(self.COMMAND)
        desktop.window("Vellumcap")
        self.assert_watching(app)

    def test_not_running(self):
        self.make_startable()
        watch(self.COMMAND)
        desktop.window("Vellumcap")
        desktop.wait_until(lambda: self.camera.links() == 1, "the camera to be watched")
        self.wait_for_options("false", "true", "false")


class WithoutCamera(Case):

    def assert_nothing_opened(self, app):
        """If the command had opened a sheet, the import sheet could not open after it."""
        vellumcap.open_import(app)
        self.assertEqual([dialog.name for dialog in app.find_all("dialog")], ["Import"])
        vellumcap.close_import(app)

    def test_idle_without_a_camera(self):
        app = self.start()
        watch("{'SaveCapture': <true>, 'CloseOnFirstScan': <'YES'>, 'ScriptName': <'a.scpt'>}")
        self.wait_for_options("false", "true", "true")
        self.assert_nothing_opened(app)

        watch("{'OpenInBackground': <1>}")
        self.wait_for_options("true", "false", "false")
        watch()
        self.wait_for_options("false", "false", "false")
        watch("{'OpenInBackground': <[true]>, 'SaveCapture': <{'a': <1>}>, 'ScriptName': <7>,"
              " 'CloseOnFirstScan': <<<true>>>}")
        self.wait_for_options("false", "false", "true")
        self.assert_nothing_opened(app)
        self.assertEqual(vellumcap.quit_by_keys(app), 0)

    def test_over_a_sheet(self):
        app = self.start()
        sheet = vellumcap.open_import(app)
        watch("{'SaveCapture': <true>}")
        self.wait_for_options("false", "true", "false")
        self.assertEqual([dialog.name for dialog in app.find_all("dialog")], ["Import"])
        self.assertTrue(sheet.find("push button", "Close").enabled)
        vellumcap.close_import(app)
        self.assert_nothing_opened(app)

    def test_hidden_journal(self):
        app = self.start()
        vellumcap.wait_journal_active(app)
        desktop.keys("ctrl+w")
        desktop.wait_until(lambda: not desktop.shown_windows("Vellumcap"), "the window to go")
        watch("{'SaveCapture': <true>}")
        self.wait_for_options("false", "true", "false")
        self.assertEqual(desktop.shown_windows("Vellumcap"), [])

        subprocess.run(["gapplication", "action", NAME, "Watch"], check=True)
        desktop.window("Vellumcap")
        self.assert_nothing_opened(app)
        self.assertIsNone(app.process.poll())

    def test_not_running(self):
        self.make_startable()
        watch("{'CloseOnFirstScan': <true>}")
        self.wait_for_options("false", "false", "true")
        desktop.window("Vellumcap")
        pid = bus_call("GetConnectionUnixProcessID", "(s)", (NAME,))[0]
        self.assertEqual(pathlib.Path(f"/proc/{pid}/exe").resolve(), desktop.BIN / "vellumcap")

        watch("{'SaveCapture': <true>}")
        self.wait_for_options("false", "true", "false")
        self.assertEqual(bus_call("GetConnectionUnixProcessID", "(s)", (NAME,))[0], pid)
        self.assertEqual(len(desktop.shown_windows("Vellumcap")), 1)

    def test_many_calls_start_one_program(self):
        self.make_startable()
        calls = [subprocess.Popen(
            ["gdbus", "call", "--session", "--dest", NAME, "--object-path", PATH,
             "--method", f"{NAME}.Watch", "{'OpenInBackground': <true>}"],
            stdout=subprocess.PIPE, text=True) for _ in range(8)]
        self.assertEqual([call.communicate(timeout=desktop.PATIENCE)[0] for call in calls],
                         ["()\n"] * 8)
        self.wait_for_options("true", "false", "false")
        desktop.window("Vellumcap")
        self.assertEqual(len(desktop.shown_windows("Vellumcap")), 1)

    def test_scripts_of_the_document(self):
        text = "'; touch ~/gone; ' $HOME \"\\n"
        files = ("codes.txt", "texts.txt")
        for script, name in zip(commands_of_document("lua"), files):
            call = "scanned_code(os.getenv 'TEXT')"
            subprocess.run(["lua5.4", "/dev/stdin"], input=f"{script}\n{call}", text=True, check=True,
                           env={**os.environ, "TEXT": text})
            home = pathlib.Path(os.environ["HOME"])
            self.assertEqual((home / name).read_text(), text + "\n")
            self.assertFalse((home / "gone").exists())

    def test_commands_of_the_document(self):
        app = self.start()
        shell = commands_of_document("sh")
        lua = commands_of_document("lua")[-1:]
        self.assertEqual([command.split()[0] for command in shell], ["gdbus", "busctl"])
        for program, commands in (("sh", shell), ("lua5.4", lua)):
            for command in commands:
                with self.subTest(command):
                    if "busctl" in command and not shutil.which("busctl"):
                        self.skipTest("busctl is not installed")
                    watch()
                    self.wait_for_options("false", "false", "false")
                    subprocess.run([program, "/dev/stdin"], input=command, text=True, check=True,
                                   timeout=desktop.PATIENCE)
                    self.wait_for_options("false", "true", "false")
        self.assertEqual(vellumcap.quit_by_keys(app), 0)


unittest.main()
