"""Only one instance uses a journal, also after a crash."""

import os
import signal
import subprocess
import unittest

import desktop
import vellumcap

TEXT = "Locker 42, second floor"
OTHER = "Bay 7"
NOTES = "Bring the small key"
LAUNCH_LIMIT = 20  # seconds; a call over the bus that gets no reply fails after 25


def launch(**environment):
    """Starts the program without waiting for it."""
    return subprocess.Popen([desktop.BIN / "vellumcap"], env={**os.environ, **environment},
                            stdin=subprocess.DEVNULL)


def active_window():
    answer = subprocess.run(["xdotool", "getactivewindow", "getwindowname"], capture_output=True,
                            text=True, check=False)
    return answer.stdout.strip()


class OneInstance(vellumcap.WithJournal):
    TEXTS = (TEXT,)

    def wait_hidden(self):
        desktop.wait_until(lambda: not desktop.shown_windows("Vellumcap"), "the window to go")

    def test_closing_hides_and_starting_shows(self):
        app = self.start()
        vellumcap.select(app, TEXT)
        for closing in ("ctrl+w", "alt+F4"):
            desktop.keys(closing)
            self.wait_hidden()
            self.assertIsNone(app.process.poll())
            self.assertEqual(launch().wait(LAUNCH_LIMIT), 0)
            desktop.wait_until(lambda: active_window() == "Vellumcap", "the journal in front")
            vellumcap.wait_journal_active(app)
        vellumcap.wait_for_selected(app, TEXT)
        self.assertEqual(vellumcap.quit_by_keys(app), 0)

    def test_two_starts_at_once(self):
        starts = [launch(), launch()]
        for start in starts:
            self.addCleanup(start.wait)
            self.addCleanup(start.kill)
        desktop.window("Vellumcap")
        desktop.wait_until(lambda: any(start.poll() is not None for start in starts),
                           "the end of one of them")
        self.assertEqual(sorted(str(start.poll()) for start in starts), ["0", "None"])
        self.assertEqual(len(desktop.shown_windows("Vellumcap")), 1)

    def test_without_a_bus_the_second_leaves_the_journal_alone(self):
        first = self.start()
        vellumcap.select(first, TEXT)
        second = launch(DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent")
        self.addCleanup(second.wait)
        self.addCleanup(second.kill)
        # Without a bus there is no accessibility tree. Two alerts precede the window.
        shown = set()
        for last in (False, False, True):
            [window] = desktop.wait_until(
                lambda: set(desktop.windows_of(second.pid)) - shown, "its next window")
            shown.add(window)
            if not last:
                desktop.focus_window(window)
                desktop.keys("Return")
        self.assertEqual(len(desktop.shown_windows("Vellumcap")), 2)
        second.terminate()
        self.assertEqual(second.wait(desktop.PATIENCE), 0)

        first.find("text", "Notes").type(NOTES)
        self.assertEqual(vellumcap.quit_by_keys(first), 0)
        self.assertEqual(vellumcap.capture_of(TEXT)["notes"], NOTES)

    def test_killed_at_work(self):
        app = self.start()
        vellumcap.select(app, TEXT)
        app.find("text", "Notes").type(NOTES)
        sheet = vellumcap.open_import(app)
        vellumcap.drag_onto(sheet.find(name="Picture to read"),
                            vellumcap.photograph(OTHER, "other.png"))
        vellumcap.wait_for_text(sheet, OTHER)
        vellumcap.save_offer(sheet)
        app.process.send_signal(signal.SIGKILL)
        app.process.wait()
        # As after a kill in the middle of a write.
        (vellumcap.DATA / ".unfinished-0123456789abcdef").write_bytes(b"<?xml")

        again = self.start()
        vellumcap.select(again, OTHER)
        vellumcap.select(again, TEXT)
        self.assertEqual(again.find("text", "Notes").text, NOTES)
        self.assertEqual(len(vellumcap.captures()), 2)
        self.assertEqual(vellumcap.pictures(),
                         sorted(vellumcap.picture_of(text) for text in (TEXT, OTHER)))
        self.assertEqual(vellumcap.unfinished_files(), [])
        self.assertEqual(vellumcap.quit_by_keys(again), 0)


unittest.main()
