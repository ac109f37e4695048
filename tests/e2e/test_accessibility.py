"""Use without a pointer: the Tab key reaches every control, each control has a name, and a screen
reader can press every button."""

import unittest

import desktop
import vellumcap

LINK = "https://example.org/menu?table=7"
TEXT = "Locker 42, second floor"
CONTROLS = ("push button", "check box", "combo box", "slider", "text", "list", "image")


class Accessibility(vellumcap.WithJournal):
    TEXTS = (LINK, TEXT)

    def controls_of(self, window):
        return [element for element in window.find_all()
                if element.role in CONTROLS and element.enabled
                and (element.role != "image" or element.has_state("focusable"))]

    def assert_tab_reaches_all(self, window):
        window.wait_active()
        controls = self.controls_of(window)
        self.assertEqual([each.role for each in controls if not each.name], [])
        wanted = {each.name for each in controls}
        reached = []
        while len(reached) < 3 * len(wanted) and not wanted <= set(reached):
            reached.append(self.next_focus(window))
        self.assertEqual(wanted - set(reached), set())

    def next_focus(self, window):
        before = self.focused_in(window)
        desktop.keys("Tab")
        return desktop.wait_until(
            lambda: self.focused_in(window) not in (None, before) and self.focused_in(window),
            f"the focus to leave {before!r}")

    def focused_in(self, window):
        for element in window.find_all():
            if element.role in (*CONTROLS, "list item") and element.focused:
                # A list reports its focus through its item.
                return "Journal" if element.role == "list item" else element.name
        return None

    def test_journal(self):
        app = self.start()
        vellumcap.journal_item(app, LINK).press()
        vellumcap.wait_for_selected(app, LINK)
        self.assertTrue(vellumcap.journal_item(app, LINK).has_state("selected"))
        self.assert_tab_reaches_all(app.find("frame", "Vellumcap"))

        app.find("push button", "Open Link").press()
        desktop.wait_until(lambda: desktop.opened_links() == [LINK], "the browser")
        app.find("push button", "Delete").press()
        desktop.wait_until(lambda: [each["captureValue"] for each in vellumcap.captures()] == [TEXT],
                           "the end of the capture")

    def test_import_sheet(self):
        app = self.start()
        app.find("push button", "Import").press()
        sheet = app.find("dialog", "Import")
        self.assert_tab_reaches_all(sheet)
        vellumcap.drag_onto(sheet.find(name="Picture to read"),
                            vellumcap.photograph("https://example.org/", "code.png"))
        vellumcap.wait_for_text(sheet, "https://example.org/")
        self.assert_tab_reaches_all(sheet)
        sheet.find("push button", "Save").press()
        vellumcap.wait_for_text(sheet, "")
        sheet.find("push button", "Close").press()
        app.wait_gone("dialog", "Import")
        vellumcap.journal_item(app, "https://example.org/")

    def test_generate_sheet(self):
        app = self.start()
        app.find("push button", "Generate").press()
        sheet = app.find("dialog", "Generate").wait_active()
        desktop.type_text(TEXT)
        sheet.find("push button", "Generate").wait_enabled().press()
        sheet.find("push button", "Save").wait_enabled()
        self.assert_tab_reaches_all(sheet)
        sheet.find("push button", "Save").press()
        desktop.wait_until(lambda: len(vellumcap.captures()) == 3, "the capture")
        sheet.find("push button", "Close").press()
        app.wait_gone("dialog", "Generate")

    def test_preferences(self):
        app = self.start()
        desktop.keys("ctrl+comma")
        window = app.find("dialog", "Preferences")
        self.assert_tab_reaches_all(window)
        mirror = window.find("check box")
        mirror.press()
        desktop.wait_until(lambda: mirror.has_state("checked"), "the check mark")


unittest.main()
