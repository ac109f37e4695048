"""Steps that flows share: starting the program, showing it codes, reading its journal."""

import contextlib
import os
import pathlib
import shutil
import subprocess
import sys
import time
import unittest
import xml.etree.ElementTree as ElementTree

import desktop

DATA = pathlib.Path(os.environ["XDG_DATA_HOME"]) / "Vellumcap"
STORE = DATA / "Vellumcap.storedata"
KEPT = desktop.FOLDER / "kept-journal"


def start(**how):
    """Starts the program, and waits until keys reach its journal."""
    app = desktop.App("vellumcap", **how)
    wait_journal_active(app)
    return app


def wait_journal_active(app):
    return app.find("frame", "Vellumcap").wait_active()


def quit_by_keys(app):
    wait_journal_active(app)
    desktop.keys("ctrl+q")
    return app.wait_ended()


def photograph(text, name):
    """Draws a code for `text` as a camera would see it."""
    path = desktop.FOLDER / name
    subprocess.run([desktop.BIN / "draw_photograph", text, path], check=True,
                   env={**os.environ, "QT_QPA_PLATFORM": "offscreen"})
    return path


def drag_onto(target, *what):
    """Drags from drag_source, which gets the arguments `what`, and drops when that is accepted."""
    with desktop.App("drag_source", *what) as source:
        drop(source, target)


def drop(source, target):
    """As drag_onto, from a running drag_source."""
    outcome = drag(source, target, lambda: source.log.endswith("over: copy\n"))
    assert outcome == "copy", outcome


def drag_refused(target, *what):
    """Drags what the target must refuse."""
    refusal = 0.5  # seconds; a refusal is not reported, and takes a fraction of this
    with desktop.App("drag_source", *what) as source:
        begun = []

        def has_hovered():
            if not begun and "dragging" in source.log:
                begun.append(time.monotonic())
            # This call is answered after the drag, because the target's main loop answers both.
            return begun and time.monotonic() > begun[0] + refusal and target.showing
        outcome = drag(source, target, has_hovered)
        assert outcome == "none", outcome


def drag(source, target, ready):
    """Returns the action with which the drag ended, as the source reports it."""
    presses = source.log.count("pressed")
    desktop.drag(source.find(name="Drag me").center, target.center,
                 lambda: source.log.count("pressed") > presses, ready)
    desktop.wait_until(lambda: "dropped: " in source.log, "the end of the drag")
    return source.log.split("dropped: ")[1].strip()


@contextlib.contextmanager
def preferred(scheme):
    """In this context the desktop prefers "dark" or "light" windows."""
    script = pathlib.Path(__file__).with_name("settings_portal.py")
    with subprocess.Popen([sys.executable, script, scheme], stdout=subprocess.PIPE,
                          text=True) as portal:
        portal.stdout.readline()
        yield
        portal.kill()


@contextlib.contextmanager
def clipboard(*what):
    """In this context drag_source, which gets the arguments `what`, owns the clipboard."""
    with desktop.App("drag_source", "--clipboard", *what) as source:
        desktop.wait_until(lambda: "copied" in source.log, "the copy")
        yield


def open_sheet(app, button, title):
    """Opens a sheet with a button of the journal, and waits until keys reach it."""
    app.find("push button", button).wait_enabled().click()
    return app.find("dialog", title).wait_active()


def open_import(app):
    return open_sheet(app, "Import", "Import")


def wait_for_text(sheet, text):
    field = sheet.find("text", "Text of the code")
    desktop.wait_until(lambda: field.text == text, f"the text {text!r}")


def close_import(app):
    app.find("dialog", "Import").find("push button", "Close").click()
    app.wait_gone("dialog", "Import")


def save_offer(sheet):
    sheet.find("push button", "Save").wait_enabled().click()
    wait_for_text(sheet, "")


def make_journal(*texts):
    """Imports codes for `texts`, as a user would; the last one is the newest."""
    with start() as app:
        sheet = open_import(app)
        for number, text in enumerate(texts):
            drag_onto(sheet.find(name="Picture to read"), photograph(text, f"code{number}.png"))
            wait_for_text(sheet, text)
            save_offer(sheet)
        close_import(app)
        if quit_by_keys(app) != 0:
            raise AssertionError("Quitting failed")


def journal_item(app, text):
    return app.find("list", "Journal").find("list item", containing=text)


def select(app, text):
    journal_item(app, text).click()
    wait_for_selected(app, text)


def wait_for_selected(app, text):
    field = app.find("text", "Text of the capture")
    desktop.wait_until(lambda: field.text == text, f"{text!r} to be shown")


def find_alert(app, message, reason=""):
    """Waits for the alert with this message and reason."""
    def said():
        return [alert for alert in app.find_all("alert") if words_of(alert) == message
                and (not reason or reason in map(words_of, alert.find_all("label")))]
    return desktop.wait_until(said, f"the alert {message!r} {reason!r}")[0]


def words_of(element):
    """The text without the zero-width spaces with which alerts let long words break."""
    return element.name.replace("\u200b", "")


def dismiss_alert(app, message, reason=""):
    find_alert(app, message, reason).find("push button", "OK").press()
    desktop.wait_until(lambda: message not in map(words_of, app.find_all("alert")),
                       f"the end of the alert {message!r}")


def captures(folder=DATA):
    """The captures in the store's file, each as a dictionary of its attributes."""
    store = folder / STORE.name
    if not store.exists():
        return []
    return [{attribute.get("name"): attribute.text or "" for attribute in capture}
            for capture in ElementTree.parse(store).getroot().iter("object")]


def capture_of(text, folder=DATA):
    [capture] = [each for each in captures(folder) if each["captureValue"] == text]
    return capture


def picture_of(text):
    """The JPEG file of the only capture of `text`."""
    return DATA / f"{capture_of(text)['captureImageKey']}.jpg"


def pictures():
    """The JPEG files beside the store."""
    return sorted(DATA.glob("*.jpg"))


def unfinished_files(folder=DATA):
    """Temporary files that an interrupted write has left."""
    return sorted(folder.glob(".*"))


class WithJournal(unittest.TestCase):
    """Each test begins with a journal of codes for TEXTS, made by the program itself."""

    TEXTS = ()

    @classmethod
    def setUpClass(cls):
        if not KEPT.exists():
            make_journal(*cls.TEXTS)
            shutil.copytree(DATA, KEPT)

    def setUp(self):
        shutil.rmtree(DATA, ignore_errors=True)
        shutil.copytree(KEPT, DATA)

    def start(self, **how):
        return desktop.stop_after(self, start(**how))
