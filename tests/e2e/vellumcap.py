"""What the flows do again and again with the program: start it, show it codes, read its journal."""

import os
import pathlib
import subprocess
import xml.etree.ElementTree as ElementTree

import desktop

DATA = pathlib.Path(os.environ["XDG_DATA_HOME"]) / "Vellumcap"
STORE = DATA / "Vellumcap.storedata"


def start():
    app = desktop.App("vellumcap")
    desktop.window("Vellumcap")
    return app


def quit_by_keys(app):
    desktop.keys("ctrl+q")
    return app.wait_ended()


def photograph(text, name):
    """A picture, as a camera takes it, of a code for `text`."""
    path = desktop.FOLDER / name
    subprocess.run([desktop.BIN / "draw_photograph", text, path], check=True,
                   env={**os.environ, "QT_QPA_PLATFORM": "offscreen"})
    return path


def drag_onto(target, *what):
    """Drags from another program, which is told `what` to offer; how it says the drag ended."""
    with desktop.App("drag_source", *what) as source:
        desktop.drag(source.find(name="Drag me").center, target.center)
        desktop.wait_until(lambda: "dropped" in source.log, "the end of the drag")
        return source.log.split()[-1]


def open_import(app):
    app.find("push button", "Import").click()
    return app.find("dialog", "Import")


def wait_for_text(sheet, text):
    field = sheet.find("text", "Text of the code")
    desktop.wait_until(lambda: field.text == text, f"the text {text!r}")


def journal_item(app, text):
    return app.find("list", "Journal").find("list item", containing=text)


def captures():
    """The captures in the object store's file, each a dictionary of its attributes."""
    if not STORE.exists():
        return []
    return [{attribute.get("name"): attribute.text or "" for attribute in capture}
            for capture in ElementTree.parse(STORE).getroot().iter("object")]


def pictures():
    """The JPEG files beside the store."""
    return sorted(DATA.glob("*.jpg"))
