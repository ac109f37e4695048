"""Codes in front of a camera are offered, saved and skipped."""

import os
import shutil
import subprocess
import unittest

import cameras
import desktop
import vellumcap

LINK = "https://example.org/menu?table=7"
TEXT = "Locker 42, second floor"


def code_in(picture):
    return subprocess.run([desktop.BIN / "read_code", picture], check=True, capture_output=True,
                          text=True, env={**os.environ, "QT_QPA_PLATFORM": "offscreen"}).stdout


def open_scan(app):
    return vellumcap.open_sheet(app, "Scan", "Capture")


def wait_linked(camera, links):
    desktop.wait_until(lambda: camera.links() == links, f"{links} links of the camera")


class Scan(unittest.TestCase):
    def setUp(self):
        shutil.rmtree(vellumcap.DATA, ignore_errors=True)
        self.rig = cameras.Cameras()
        self.addCleanup(self.rig.end)

    def start(self):
        return desktop.stop_after(self, vellumcap.start())

    def test_codes_are_offered_and_kept(self):
        link = vellumcap.photograph(LINK, "link.jpg")
        text = vellumcap.photograph(TEXT, "text.jpg")
        camera = self.rig.add("cam.a", "Camera A", picture=link)
        app = self.start()
        sheet = open_scan(app)
        vellumcap.wait_for_text(sheet, LINK)
        for button in ("Save", "Skip", "Open Link", "Cancel"):
            sheet.find("push button", button).wait_enabled()
        sheet.find("push button", "Open Link").click()
        desktop.wait_until(lambda: desktop.opened_links() == [LINK], "the browser")
        vellumcap.save_offer(sheet)
        self.assertEqual(code_in(vellumcap.picture_of(LINK)), LINK)

        # The code in view is not offered again. Another code is, and then the first one again.
        camera.show(text)
        vellumcap.wait_for_text(sheet, TEXT)
        self.assertFalse(sheet.find("push button", "Open Link").enabled)
        sheet.find("push button", "Skip").wait_enabled().click()
        vellumcap.wait_for_text(sheet, "")
        camera.show(link)
        vellumcap.wait_for_text(sheet, LINK)
        sheet.find("push button", "Cancel").click()
        app.wait_gone("dialog", "Capture")
        wait_linked(camera, 0)

        self.assertEqual([each["captureValue"] for each in vellumcap.captures()], [LINK])
        vellumcap.select(app, LINK)
        self.assertEqual(vellumcap.quit_by_keys(app), 0)

    def test_preferences_choose_the_camera(self):
        first = self.rig.add("cam.a", "Camera A", picture=vellumcap.photograph(LINK, "a.jpg"))
        second = self.rig.add("cam.b", "Camera B", picture=vellumcap.photograph(TEXT, "b.jpg"))
        app = self.start()
        desktop.keys("ctrl+comma")
        preferences = app.find("dialog", "Preferences").wait_active()
        menu = preferences.find("combo box", "Camera A").take_focus()
        desktop.keys("End")
        desktop.wait_until(lambda: menu.name == "Camera B", "the choice")
        desktop.keys("Escape")
        app.wait_gone("dialog", "Preferences")

        sheet = open_scan(app)
        vellumcap.wait_for_text(sheet, TEXT)
        self.assertEqual(first.links(), 0)
        sheet.find("push button", "Skip").wait_enabled().click()
        wait_linked(second, 1)
        sheet.find("push button", "Cancel").click()
        app.wait_gone("dialog", "Capture")

    def test_a_camera_is_pulled_out_and_plugged_in(self):
        camera = self.rig.add("cam.a", "Camera A")
        app = self.start()
        sheet = open_scan(app)
        wait_linked(camera, 1)
        view = sheet.find(name="Picture from the camera")
        camera.unplug()
        desktop.wait_until(lambda: "unplugged" in view.description, "the caption")
        self.rig.add("cam.a", "Camera A", picture=vellumcap.photograph(TEXT, "back.jpg"))
        vellumcap.wait_for_text(sheet, TEXT)
        vellumcap.save_offer(sheet)
        desktop.keys("Escape")
        app.wait_gone("dialog", "Capture")
        vellumcap.select(app, TEXT)
        self.assertEqual(vellumcap.quit_by_keys(app), 0)

    def test_a_frozen_camera_does_not_delay_quitting(self):
        camera = self.rig.add("cam.a", "Camera A")
        app = self.start()
        sheet = open_scan(app)
        wait_linked(camera, 1)
        camera.freeze()
        view = sheet.find(name="Picture from the camera")
        desktop.wait_until(lambda: "no picture" in view.description, "the caption")
        # The program quits with the sheet open while the camera hangs.
        desktop.keys("ctrl+q")
        self.assertEqual(app.wait_ended(), 0)


unittest.main()
