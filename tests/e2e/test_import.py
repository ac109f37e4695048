"""A photograph dragged in from another program is saved as a capture with notes."""

import unittest

import desktop
import vellumcap

LINK = "https://example.org/menu?table=7"
NOTES = "Menu of the place by the harbour"


class Import(unittest.TestCase):
    def test_dropped_photograph_is_kept_with_its_notes(self):
        photograph = vellumcap.photograph(LINK, "menu.jpg")
        app = desktop.stop_after(self, vellumcap.start())
        self.import_by_drag(app, photograph)

        vellumcap.journal_item(app, LINK).click()
        app.find("text", "Notes").type(NOTES)
        self.assertEqual(vellumcap.quit_by_keys(app), 0)
        self.assert_stored()

        again = desktop.stop_after(self, vellumcap.start())
        vellumcap.journal_item(again, LINK).click()
        self.assertEqual(again.find("text", "Text of the capture").text, LINK)
        self.assertEqual(again.find("text", "Notes").text, NOTES)
        self.assertEqual(vellumcap.quit_by_keys(again), 0)

    def import_by_drag(self, app, photograph):
        sheet = vellumcap.open_import(app)
        self.assertFalse(sheet.find("push button", "Save").enabled)
        well = sheet.find(name="Picture to read")
        vellumcap.drag_onto(well, photograph)
        vellumcap.wait_for_text(sheet, LINK)
        sheet.find("push button", "Open Link").wait_enabled()
        sheet.find("push button", "Save").wait_enabled().click()
        vellumcap.wait_for_text(sheet, "")
        sheet.find("push button", "Close").click()
        app.wait_gone("dialog", "Import")

    def assert_stored(self):
        [capture] = vellumcap.captures()
        self.assertEqual(capture["captureValue"], LINK)
        self.assertEqual(capture["notes"], NOTES)
        [picture] = vellumcap.pictures()
        self.assertEqual(picture.stem, capture["captureImageKey"])
        self.assertEqual(picture.read_bytes()[:3], b"\xff\xd8\xff")


unittest.main()
