"""A typed text becomes a code, which is saved or dragged into another program."""

import os
import pathlib
import unittest

import desktop
import vellumcap

LINK = "https://example.org/table/7"
CAPTURE = pathlib.Path(os.environ["XDG_CACHE_HOME"]) / "vellumcap" / "capture.png"


def open_generate(app):
    return vellumcap.open_sheet(app, "Generate", "Generate")


def generate(sheet, text):
    sheet.find("text", "Text to encode").type(text)
    button(sheet, "Generate").wait_enabled().click()
    button(sheet, "Save").wait_enabled()


def button(sheet, name):
    return sheet.find("push button", name)


def drag_out_of(well, end, **how):
    """Drags the picture out of a well, which writes a new file at each press."""
    def written():
        return CAPTURE.stat().st_ino if CAPTURE.exists() else None
    before = written()
    desktop.drag(well.center, end, lambda: written() not in (None, before), **how)


class Generate(unittest.TestCase):
    def setUp(self):
        self.app = desktop.stop_after(self, vellumcap.start())
        self.copy = desktop.FOLDER / f"{self.id()}.png"
        self.signal = desktop.FOLDER / f"{self.id()}.signal"

    def target(self):
        return desktop.stop_after(self, desktop.App("drop_target", self.copy, self.signal))

    def drag_out(self, sheet, target):
        before = target.log.count("over")
        drag_out_of(sheet.find(name="Picture of the code"), target.find(name="Drop here").center,
                    ready=lambda: target.log.count("over") > before + 3)
        desktop.wait_until(lambda: target.log.endswith("dropped\n"), "the drop")

    def test_code_is_kept_and_read_back(self):
        sheet = open_generate(self.app)
        field = sheet.find("text", "Text to encode")
        field.type(LINK)
        desktop.keys("Return")
        button(sheet, "Generate").wait_enabled()
        self.assertFalse(button(sheet, "Save").enabled)
        self.assertEqual(field.text, LINK)
        button(sheet, "Generate").click()
        button(sheet, "Save").wait_enabled().click()
        button(sheet, "Save").click()
        button(sheet, "Close").click()
        self.app.wait_gone("dialog", "Generate")
        desktop.wait_until(lambda: len(vellumcap.captures()) == 2, "two captures")
        self.assertEqual([each["captureValue"] for each in vellumcap.captures()], [LINK, LINK])
        self.assertEqual(len(vellumcap.pictures()), 2)

    def test_dragged_file_is_there_after_the_sheet(self):
        target = self.target()
        sheet = open_generate(self.app)
        generate(sheet, LINK)
        self.drag_out(sheet, target)
        self.assertIn("actions: 1\n", target.log)
        self.assertIn(f"uris: {CAPTURE.as_uri()}\n", target.log)
        self.assertTrue(button(sheet, "Save").enabled)
        button(sheet, "Close").click()
        self.app.wait_gone("dialog", "Generate")
        self.assertEqual(vellumcap.quit_by_keys(self.app), 0)
        self.signal.touch()
        desktop.wait_until(lambda: "copied\n" in target.log, "the copy")
        self.assertEqual(self.copy.read_bytes(), CAPTURE.read_bytes())
        self.assert_read_as(self.copy, LINK)

    def assert_read_as(self, picture, text):
        app = desktop.stop_after(self, vellumcap.start())
        sheet = vellumcap.open_import(app)
        vellumcap.drag_onto(sheet.find(name="Picture to read"), picture)
        vellumcap.wait_for_text(sheet, text)

    def test_second_drag_overwrites_the_file(self):
        target = self.target()
        sheet = open_generate(self.app)
        generate(sheet, "one")
        self.drag_out(sheet, target)
        first = CAPTURE.read_bytes()
        generate(sheet, "two")
        self.drag_out(sheet, target)
        self.assertNotEqual(CAPTURE.read_bytes(), first)

    def test_drop_onto_the_sheet_is_refused(self):
        sheet = open_generate(self.app)
        generate(sheet, LINK)
        well = sheet.find(name="Picture of the code")
        photograph = vellumcap.photograph("x", "x.png")
        vellumcap.drag_refused(well, photograph)
        self.assertTrue(button(sheet, "Save").enabled)


class Well(unittest.TestCase):
    """The image well in a window of its own, which accepts drops."""

    def setUp(self):
        self.picture = vellumcap.photograph("picture", f"{self.id()}.png")
        self.app = desktop.stop_after(self, desktop.App("image_well", self.picture))
        self.well = self.app.find(name="Well")

    def test_takes_copies_only(self):
        for actions in ("move", "link", "move,link"):
            vellumcap.drag_refused(self.well, self.picture, "--actions", actions)
        self.assertEqual(self.app.log.count("took:"), 0)
        vellumcap.drag_onto(self.well, self.picture, "--actions", "copy,move,link")
        self.assertIn(f"took: {self.picture}, ", self.app.log)
        self.assertIn(f", {self.picture.name}\n", self.app.log)

    def test_takes_picture_data_without_a_file(self):
        vellumcap.drag_onto(self.well, self.picture, "--image-data")
        self.assertRegex(self.app.log, r"took: no file, \d+ x \d+, \(no name\)")

    def test_refuses_what_is_no_picture(self):
        text = desktop.FOLDER / "text.png"
        text.write_text("no picture")
        vellumcap.drag_refused(self.well, text)
        vellumcap.drag_refused(self.well, self.picture, "--text")
        self.assertNotIn("took:", self.app.log)

    def test_drag_onto_itself_changes_nothing(self):
        start = self.well.center
        drag_out_of(self.well, [start[0] + 60, start[1] + 60])
        vellumcap.drag_onto(self.well, self.picture)
        self.assertEqual(self.app.log.count("took:"), 1)
        self.assertIn(f"took: {self.picture}", self.app.log)


unittest.main()
