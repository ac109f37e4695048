"""Watch mode handles every code automatically."""

import os
import pathlib
import shutil
import unittest

import cameras
import desktop
import vellumcap

LINK = "https://example.org/menu?table=7"
OTHER_LINK = "https://example.org/wine"
TEXT = "Gr\u00fc\u00dfe \u2014 it's \"quoted\"; $(touch nothing)\nsecond line"
SCRIPTS = pathlib.Path(os.environ["XDG_CONFIG_HOME"]) / "vellumcap" / "scripts"
TOLD = desktop.FOLDER / "told"
RECORDER = f"""function scanned_code(text)
    local file = assert(io.open("{TOLD}", "ab"))
    file:write(text, "\\0")
    file:close()
end
"""


def open_watch(app):
    return vellumcap.open_sheet(app, "Watch", "Capture")


def wait_for_code(sheet, text):
    field = sheet.find("text", "Last code")
    desktop.wait_until(lambda: field.text == text, f"the text {text!r}")


def set_option(sheet, name):
    box = sheet.find("check box", name)
    box.click()
    desktop.wait_until(lambda: box.has_state("checked"), f"{name!r} to be checked")


def choose_script(sheet, name):
    menu = sheet.find("combo box", "No script")
    menu.click()
    menu.find("list item", name)
    desktop.keys("End", "Return")
    desktop.wait_until(lambda: menu.name == name, f"the choice of {name}")


def identifiers(link):
    """The start-up identifiers that the browser got with this link."""
    return {identifier for each, identifier in desktop.openings() if each == link}


def once_each(values):
    """Without repetitions, in order. A code may be handled several times while it is in view."""
    return list(dict.fromkeys(values))


class Watch(unittest.TestCase):
    def setUp(self):
        shutil.rmtree(vellumcap.DATA, ignore_errors=True)
        self.rig = cameras.Cameras()
        self.addCleanup(self.rig.end)
        self.camera = self.rig.add("cam.a", "Camera A")

    def show(self, text, name="code.jpg"):
        self.camera.show(vellumcap.photograph(text, name))

    def show_nothing(self):
        path = desktop.FOLDER / "nothing.ppm"
        path.write_bytes(b"P6 2 2 255\n" + bytes([255] * 12))
        self.camera.show(path)

    def test_links_codes_and_scripts(self):
        SCRIPTS.mkdir(parents=True, exist_ok=True)
        (SCRIPTS / "record.scpt").write_text(RECORDER)
        # The identifiers with which the program was started must not reach the browser.
        app = desktop.stop_after(self, vellumcap.start(env={
            "DESKTOP_STARTUP_ID": "launcher-1_TIME4711", "XDG_ACTIVATION_TOKEN": "launcher-2"}))
        sheet = open_watch(app)
        self.show(LINK)
        wait_for_code(sheet, LINK)
        desktop.wait_until(lambda: identifiers(LINK) == {""}, "the browser, to come to the front")
        self.show_nothing()  # so that this code is not read again during the next steps
        self.assertEqual(vellumcap.captures(), [])

        sheet.find(name="Options").click()
        for name in ("Open links in the background", "Keep every code in the journal",
                     "Run a script with every code"):
            set_option(sheet, name)
        choose_script(sheet, "record.scpt")
        self.show(OTHER_LINK, "other.jpg")
        wait_for_code(sheet, OTHER_LINK)
        desktop.wait_until(lambda: identifiers(OTHER_LINK), "the browser")
        self.show(TEXT, "text.jpg")
        wait_for_code(sheet, TEXT)
        desktop.wait_until(lambda: TOLD.exists() and TEXT.encode() + b"\0" in TOLD.read_bytes(),
                           "the script's record")
        self.assertEqual(once_each(TOLD.read_bytes().split(b"\0"))[:2],
                         [OTHER_LINK.encode(), TEXT.encode()])
        self.assertEqual(set(desktop.opened_links()), {LINK, OTHER_LINK})
        self.assertEqual(identifiers(LINK), {""})
        # In the start-up notification protocol, time 0 means: do not raise the window.
        for identifier in identifiers(OTHER_LINK):
            self.assertRegex(identifier, r"^.+_TIME0$")
        self.assertEqual(once_each(each["captureValue"] for each in vellumcap.captures())[:2],
                         [OTHER_LINK, TEXT])

        sheet.find("push button", "Cancel").click()
        app.wait_gone("dialog", "Capture")
        desktop.wait_until(lambda: self.camera.links() == 0, "the camera to be let go")
        vellumcap.journal_item(app, OTHER_LINK)
        self.assertEqual(vellumcap.quit_by_keys(app), 0)

    def test_the_first_code_ends_the_watch_and_still_runs_the_script(self):
        SCRIPTS.mkdir(parents=True, exist_ok=True)
        (SCRIPTS / "record.scpt").write_text(RECORDER)
        TOLD.unlink(missing_ok=True)
        app = desktop.stop_after(self, vellumcap.start())
        sheet = open_watch(app)
        sheet.find(name="Options").click()
        for name in ("Stop after the first code", "Run a script with every code"):
            box = sheet.find("check box", name)
            if not box.has_state("checked"):
                set_option(sheet, name)
        choose_script(sheet, "record.scpt")
        self.show("enough")
        app.wait_gone("dialog", "Capture")
        desktop.wait_until(lambda: TOLD.exists() and TOLD.read_bytes() == b"enough\0",
                           "the script's record")
        self.assertEqual(vellumcap.quit_by_keys(app), 0)


unittest.main()
