"""Quitting, and journals that cannot be saved or opened."""

import os
import pathlib
import shutil
import signal
import subprocess
import unittest

import desktop
import vellumcap

TEXT = "Locker 42, second floor"
NOTES = "Bring the small key"
QUIT_ANYWAY = "Could not save changes while quitting. Quit anyway?"
LOSS = "Quitting now will lose any changes you have made since the last successful save"
SMALL_DISK = pathlib.Path(__file__).with_name("small_disk.py")
DISK_SIZE = 1024  # KiB


def small_disk_refusal():
    vellumcap.DATA.mkdir(exist_ok=True)
    answer = subprocess.run([SMALL_DISK, vellumcap.DATA, str(DISK_SIZE), "true"],
                            capture_output=True, text=True, check=False)
    return answer.stderr.strip() if answer.returncode else None


class Quit(vellumcap.WithJournal):
    TEXTS = (TEXT,)

    def edit_notes(self, app):
        vellumcap.select(app, TEXT)
        app.find("text", "Notes").type(NOTES)

    def refuse_to_quit(self, app, reason):
        """Tries to quit, and returns the alert that asks whether to quit without saving."""
        desktop.keys("ctrl+q")
        vellumcap.dismiss_alert(
            app, f"The file “{vellumcap.STORE}” could not be written.", reason)
        alert = vellumcap.find_alert(app, QUIT_ANYWAY, LOSS)
        self.assertEqual([button.name for button in alert.find_all("push button")],
                         ["Quit anyway", "Cancel"])
        return alert

    def test_nothing_pending(self):
        before = vellumcap.STORE.read_bytes()
        app = self.start()
        self.assertEqual(vellumcap.quit_by_keys(app), 0)
        self.assertEqual(vellumcap.STORE.read_bytes(), before)
        self.assertEqual(vellumcap.unfinished_files(), [])

    def test_pending_notes_are_saved(self):
        for quit_program in (lambda app: desktop.keys("ctrl+q"),
                             lambda app: app.process.terminate(),
                             lambda app: app.process.send_signal(signal.SIGHUP)):
            self.setUp()
            app = self.start()
            self.edit_notes(app)
            self.assertNotIn("notes", vellumcap.capture_of(TEXT))
            quit_program(app)
            self.assertEqual(app.wait_ended(), 0)
            self.assertEqual(vellumcap.capture_of(TEXT)["notes"], NOTES)

    def test_full_disk(self):
        if refusal := small_disk_refusal():
            self.skipTest(refusal)
        app = self.start(through=(SMALL_DISK, vellumcap.DATA, DISK_SIZE))
        folder = self.disk_of(app)
        filler = self.fill(folder)
        before = (folder / vellumcap.STORE.name).read_bytes()
        self.edit_notes(app)
        alert = self.refuse_to_quit(app, "The disk is full. Free some space, then try again.")
        alert.find("push button", "Cancel").press()
        notes = app.find("text", "Notes")
        self.assertEqual(notes.text, NOTES)
        self.assertEqual((folder / vellumcap.STORE.name).read_bytes(), before)
        self.assertEqual(vellumcap.unfinished_files(folder), [])

        filler.unlink()
        self.assertEqual(vellumcap.quit_by_keys(app), 0)
        self.assertEqual(vellumcap.capture_of(TEXT, folder)["notes"], NOTES)

    def disk_of(self, app):
        """The data folder as the program sees it. It is held open, so it outlives the program."""
        opened = os.open(f"/proc/{app.process.pid}/root{vellumcap.DATA}", os.O_DIRECTORY)
        self.addCleanup(os.close, opened)
        return pathlib.Path(f"/proc/self/fd/{opened}")

    def fill(self, folder):
        filler = folder / "filler"
        with open(filler, "wb", buffering=0) as file:
            try:
                while file.write(bytes(4096)):
                    pass
            except OSError:
                return filler

    def test_folder_is_gone(self):
        app = self.start()
        self.edit_notes(app)
        elsewhere = vellumcap.DATA.with_name("moved away")
        self.addCleanup(shutil.rmtree, elsewhere)
        self.addCleanup(vellumcap.DATA.unlink)
        vellumcap.DATA.rename(elsewhere)
        vellumcap.DATA.write_text("in the way")
        before = (elsewhere / vellumcap.STORE.name).read_bytes()
        alert = self.refuse_to_quit(
            app, "Its folder does not exist. Make the folder, then try again.")
        alert.find("push button", "Quit anyway").press()
        self.assertEqual(app.wait_ended(), 0)
        self.assertEqual((elsewhere / vellumcap.STORE.name).read_bytes(), before)
        self.assertEqual(vellumcap.DATA.read_text(), "in the way")

    def test_file_in_place_of_the_folder(self):
        shutil.rmtree(vellumcap.DATA)
        vellumcap.DATA.write_text("in the way")
        self.addCleanup(vellumcap.DATA.unlink)
        self.start_without_store(
            [f"Expected a folder to store application data, found a file ({vellumcap.DATA})."])
        self.assertEqual(vellumcap.DATA.read_text(), "in the way")

    def test_torn_store(self):
        whole = vellumcap.STORE.read_bytes()
        vellumcap.STORE.write_bytes(whole[:len(whole) // 2])
        self.start_without_store([f"The store file “{vellumcap.STORE}” is damaged."])
        self.assertEqual(vellumcap.STORE.read_bytes(), whole[:len(whole) // 2])

    def start_without_store(self, sentences):
        app = desktop.stop_after(self, desktop.App("vellumcap"))
        for sentence in (*sentences, "Failed to initialize the store"):
            vellumcap.dismiss_alert(app, sentence)
        desktop.window("Vellumcap")
        self.assertEqual(app.find("list", "Journal").find_all("list item"), [])
        self.assertEqual(vellumcap.quit_by_keys(app), 0)


unittest.main()
