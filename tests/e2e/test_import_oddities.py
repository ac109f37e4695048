"""After unusual drops and pastes the import sheet shows the right message, stores nothing, and
reads the next good picture."""

import contextlib
import shutil
import unittest

import desktop
import odd_pictures
import vellumcap

TEXT = "Locker 42, second floor"
OTHER = "Bay 7"
UNREADABLE = "This is not a picture that can be read"


class ImportOddities(unittest.TestCase):
    def setUp(self):
        shutil.rmtree(vellumcap.DATA, ignore_errors=True)
        self.app = desktop.stop_after(self, vellumcap.start())
        self.sheet = vellumcap.open_import(self.app)
        self.well = self.sheet.find(name="Picture to read")

    def drag(self, *what):
        vellumcap.drag_onto(self.well, *what)

    def drag_refused(self, *what):
        vellumcap.drag_refused(self.well, *what)

    @contextlib.contextmanager
    def pasting(self, *what):
        """Pastes, and keeps the owner of the clipboard running in this context."""
        with vellumcap.clipboard(*what):
            self.well.take_focus()
            desktop.keys("ctrl+v")
            yield

    def assert_nothing_offered(self):
        self.assertEqual(self.sheet.find("text", "Text of the code").text, "")
        for button in ("Save", "Skip", "Open Link"):
            self.assertFalse(self.sheet.find("push button", button).enabled, button)
        self.assertEqual(vellumcap.captures(), [])
        self.assertEqual(vellumcap.pictures(), [])

    def wait_for_refusal(self, words):
        desktop.wait_until(lambda: self.well.description == words, words)

    def assert_good_picture_is_read(self):
        self.drag(vellumcap.photograph(TEXT, "good.png"))
        vellumcap.wait_for_text(self.sheet, TEXT)
        self.sheet.find("push button", "Save").wait_enabled()

    def test_files_that_are_no_good_picture(self):
        with self.subTest("text with a picture's name"):
            path = odd_pictures.written("text.png", b"Not a picture at all\n")
            self.drag_refused(path)
            self.assert_nothing_offered()
        with self.subTest("truncated"):
            self.drag(odd_pictures.truncated_jpeg(TEXT, "half.jpg"))
            self.assert_nothing_offered()
        with self.subTest("a single pixel"):
            self.drag(odd_pictures.png("dot.png", 1, 1))
            self.assert_nothing_offered()
        with self.subTest("too large"):
            self.drag(odd_pictures.png("huge.png", 20000, 20000))
            self.wait_for_refusal("This picture is too large: 20,000 × 20,000 pixels")
            self.assert_nothing_offered()
        self.assert_good_picture_is_read()

    def test_things_that_are_no_file(self):
        with self.subTest("link"):
            self.drag_refused("--link", "https://example.org/code.png")
            self.assert_nothing_offered()
        with self.subTest("text"):
            self.drag_refused("--text", "https://example.org/")
            self.assert_nothing_offered()
        with self.subTest("damaged picture data"):
            path = odd_pictures.written("damaged", b"\x89PNG\r\n\x1a\n and no more")
            self.drag("--format", "image/png", path)
            self.wait_for_refusal(UNREADABLE)
            self.assert_nothing_offered()
        with self.subTest("picture data"):
            self.drag("--image-data", vellumcap.photograph(TEXT, "a.png"))
            vellumcap.wait_for_text(self.sheet, TEXT)

    def test_animation_is_read_by_its_first_frame(self):
        self.drag(odd_pictures.animation(TEXT, "moving.gif"))
        vellumcap.wait_for_text(self.sheet, TEXT)

    def test_files_stay_where_they_are(self):
        good = vellumcap.photograph(TEXT, "stays.png")
        for action in ("move", "link"):
            with self.subTest(action):
                # A source that is told that its file was moved deletes it.
                self.drag_refused("--actions", action, good)
                self.assert_nothing_offered()
        self.drag("--actions", "copy,move", good)
        vellumcap.wait_for_text(self.sheet, TEXT)

    def test_the_later_of_two_quick_drops_stays(self):
        first = vellumcap.photograph(TEXT, "first.png")
        second = vellumcap.photograph(OTHER, "second.png")
        with desktop.App("drag_source", first) as one, \
                desktop.App("drag_source", "--column", 1, second) as other:
            for source in (one, other):
                vellumcap.drop(source, self.well)
            vellumcap.wait_for_text(self.sheet, OTHER)
        vellumcap.save_offer(self.sheet)
        [capture] = vellumcap.captures()
        self.assertEqual(capture["captureValue"], OTHER)

    def test_pasted(self):
        with self.subTest("text"), self.pasting("--text", "https://example.org/"):
            self.wait_for_refusal(UNREADABLE)
            self.assert_nothing_offered()
        with self.subTest("file"), self.pasting(vellumcap.photograph(TEXT, "pasted.png")):
            vellumcap.wait_for_text(self.sheet, TEXT)
        with self.subTest("picture data"), \
                self.pasting("--image-data", vellumcap.photograph(OTHER, "data.png")):
            vellumcap.wait_for_text(self.sheet, OTHER)


unittest.main()
