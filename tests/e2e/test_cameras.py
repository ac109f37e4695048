"""Present cameras can be chosen in the preferences, and the choice is kept."""

import unittest

import cameras
import desktop
import vellumcap


def open_preferences(app):
    vellumcap.wait_journal_active(app)
    desktop.keys("ctrl+comma")
    return app.find("dialog", "Preferences").wait_active()


def offered(preferences):
    # The items of a closed menu are not showing.
    menu = preferences.find("combo box")
    return [item.name for item in menu.descendants() if item.role == "list item"]


class NoCameras(unittest.TestCase):
    def test_nothing_to_scan_with(self):
        app = desktop.stop_after(self, vellumcap.start())
        self.assertFalse(app.find("push button", "Scan").enabled)
        self.assertEqual(offered(open_preferences(app)), [])


class SomeCameras(unittest.TestCase):
    def setUp(self):
        self.rig = cameras.Cameras()
        self.addCleanup(self.rig.end)
        self.first = self.rig.add("cam.a", "Camera A")
        self.second = self.rig.add("cam.b", "Camera B")

    def test_the_choice_is_kept_and_replaced_while_it_is_gone(self):
        with vellumcap.start() as app:
            self.assertTrue(app.find("push button", "Scan").enabled)
            preferences = open_preferences(app)
            self.assertEqual(offered(preferences), ["Camera A", "Camera B"])
            preferences.find("combo box", "Camera A").take_focus()
            desktop.keys("Down")
            preferences.find("combo box", "Camera B")
        self.second.unplug()
        with vellumcap.start() as app:
            open_preferences(app).find("combo box", "Camera A")
        self.rig.add("cam.b", "Camera B")
        with vellumcap.start() as app:
            open_preferences(app).find("combo box", "Camera B")
        self.assertEqual(self.first.links(), 0)


unittest.main()
