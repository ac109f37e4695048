"""Selecting, annotating, exporting and deleting captures, and the resulting files."""

import unittest

import desktop
import vellumcap

LINK = "https://Example.org/%7Emenu?table=7&guest=O'Brien#wine%20list"
TEXT = "Locker 42, second floor"
LONG_NOTES = "\n".join(f"Line {line} of what there is to say" for line in range(1, 201))


class Journal(vellumcap.WithJournal):
    TEXTS = (LINK, TEXT)  # the last is the newest and the first in the list

    def wait_for_notes(self, text, notes):
        desktop.wait_until(lambda: vellumcap.capture_of(text).get("notes") == notes,
                           f"the notes {notes[:40]!r} on the disk")

    def test_arrow_keys_select(self):
        app = self.start()
        app.find("list", "Journal").take_focus()
        desktop.keys("Down")
        vellumcap.wait_for_selected(app, TEXT)
        desktop.keys("Down")
        vellumcap.wait_for_selected(app, LINK)
        self.assertTrue(vellumcap.journal_item(app, LINK).has_state("selected"))
        desktop.keys("Up")
        vellumcap.wait_for_selected(app, TEXT)
        self.assertFalse(app.find("push button", "Open Link").enabled)

    def test_notes_are_on_the_disk_when_the_field_is_left(self):
        app = self.start()
        vellumcap.select(app, TEXT)
        notes = app.find("text", "Notes")
        self.paste_into(notes, "Clé à gauche, 東京 🗝")
        desktop.keys("Return")
        desktop.type_text("<b>second</b> & last line")
        self.assertNotIn("notes", vellumcap.capture_of(TEXT))
        desktop.keys("Tab")
        self.wait_for_notes(TEXT, "Clé à gauche, 東京 🗝\n<b>second</b> & last line")

        vellumcap.select(app, LINK)
        self.paste_into(notes, LONG_NOTES)
        vellumcap.journal_item(app, TEXT).click()
        self.wait_for_notes(LINK, LONG_NOTES)
        vellumcap.wait_for_selected(app, TEXT)
        self.assertEqual(vellumcap.quit_by_keys(app), 0)

        again = self.start()
        vellumcap.select(again, LINK)
        self.assertEqual(again.find("text", "Notes").text, LONG_NOTES)
        vellumcap.select(again, TEXT)
        self.assertEqual(again.find("text", "Notes").text,
                         "Clé à gauche, 東京 🗝\n<b>second</b> & last line")

    def paste_into(self, field, text):
        with vellumcap.clipboard("--text", text):
            field.click()
            desktop.keys("ctrl+a", "ctrl+v")
            desktop.wait_until(lambda: field.text == text, "pasted text")

    def test_pasting_from_an_empty_clipboard(self):
        app = self.start()
        vellumcap.select(app, TEXT)
        notes = app.find("text", "Notes")
        notes.type("before")
        # The last one inserts the primary selection, which is empty too.
        desktop.keys("ctrl+v", "shift+Insert", "ctrl+shift+Insert")
        desktop.xdotool("mousemove", *notes.center, "click", 2)
        desktop.keys("End")
        desktop.type_text(" and after")
        desktop.wait_until(lambda: notes.text == "before and after", "the typed notes")

    def test_link_reaches_the_browser_as_it_was_read(self):
        app = self.start()
        vellumcap.select(app, LINK)
        app.find("push button", "Open Link").wait_enabled().click()
        desktop.wait_until(lambda: desktop.opened_links() == [LINK], "the browser")
        desktop.keys("ctrl+l")
        desktop.wait_until(lambda: desktop.opened_links() == [LINK, LINK], "the browser again")

    def test_picture_is_saved_byte_for_byte(self):
        app = self.start()
        vellumcap.select(app, LINK)
        target = desktop.FOLDER / "exported.jpg"
        self.save_image(app, target.with_suffix(""))  # the program appends ".jpg"
        desktop.wait_until(target.exists, "the new file")
        self.assert_same_bytes(target, vellumcap.picture_of(LINK))

        vellumcap.select(app, TEXT)
        before = target.read_bytes()
        self.save_image(app, target)
        app.find("push button", "No").press()
        app.find("dialog", "Save").wait_active()
        desktop.keys("Escape")
        app.wait_gone("dialog", "Save")
        self.assertEqual(target.read_bytes(), before)

        self.save_image(app, target)
        app.find("push button", "Yes").press()
        app.wait_gone("dialog", "Save")
        self.assert_same_bytes(target, vellumcap.picture_of(TEXT))

    def save_image(self, app, path):
        app.find("push button", "Save Image").wait_enabled().click()
        app.find("text", "File name:").type(str(path))
        desktop.keys("Return")

    def assert_same_bytes(self, one, other):
        desktop.wait_until(lambda: one.read_bytes() == other.read_bytes(),
                           f"{one} to be a copy of {other}")

    def test_delete_and_undo(self):
        app = self.start()
        vellumcap.select(app, LINK)
        picture = vellumcap.picture_of(LINK)
        bytes_before = picture.read_bytes()
        desktop.keys("Delete")
        desktop.wait_until(lambda: not picture.exists(), "the picture to go")
        self.assertEqual([each["captureValue"] for each in vellumcap.captures()], [TEXT])
        app.wait_gone("text", "Text of the capture")
        app.find("list", "Journal").wait_gone("list item", containing=LINK)
        self.assertFalse(app.find("push button", "Delete").enabled)

        desktop.keys("ctrl+z")
        vellumcap.journal_item(app, LINK)
        self.assertEqual(picture.read_bytes(), bytes_before)
        self.assertEqual(vellumcap.capture_of(LINK)["captureImageKey"], picture.stem)
        self.assertEqual(vellumcap.quit_by_keys(app), 0)

        again = self.start()
        vellumcap.select(again, LINK)
        vellumcap.select(again, TEXT)


unittest.main()
