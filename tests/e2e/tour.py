"""A tour of the program for people without a display: uses the program as a user does, prints each
step, and takes a picture of it."""

import itertools

import cameras
import desktop
import vellumcap

LINK = "https://example.org/menu?table=7"
TEXT = "Locker 42, second floor"
DRAWN = "Lend this book to the neighbours"
SCANNED = "https://example.org/parcel/4711"
WATCHED = "Shelf 3, box 12"
steps = itertools.count(1)


def step(name, sentence):
    picture = desktop.screenshot(f"{next(steps):02}-{name}")
    print(f"{picture.name:28} {sentence}", flush=True)


def import_photograph(app, text, name):
    sheet = vellumcap.open_import(app)
    step("import", "Import waits for a picture")
    vellumcap.drag_onto(sheet.find(name="Picture to read"), vellumcap.photograph(text, name))
    vellumcap.wait_for_text(sheet, text)
    step("code-found", f"{name}, dragged in from another window, says: {text}")
    sheet.find("push button", "Save").wait_enabled().click()
    sheet.find("push button", "Close").click()
    app.wait_gone("dialog", "Import")


def generate_code(app, text):
    sheet = vellumcap.open_sheet(app, "Generate", "Generate")
    sheet.find("text", "Text to encode").type(text)
    sheet.find("push button", "Generate").wait_enabled().click()
    sheet.find("push button", "Save").wait_enabled()
    step("generated", f"Generate has drawn a code for: {text}")
    sheet.find("push button", "Save").click()
    vellumcap.journal_item(app, text)
    sheet.find("push button", "Close").click()
    app.wait_gone("dialog", "Generate")


def scan_code(app, camera, text):
    sheet = vellumcap.open_sheet(app, "Scan", "Capture")
    desktop.wait_until(lambda: camera.links() == 1, "the camera to be watched")
    camera.show(vellumcap.photograph(text, "parcel.jpg"))
    vellumcap.wait_for_text(sheet, text)
    step("scanned", f"Scan has found, in the picture of the camera: {text}")
    vellumcap.save_offer(sheet)
    sheet.find("push button", "Cancel").click()
    app.wait_gone("dialog", "Capture")


def watch_codes(app, camera, text):
    sheet = vellumcap.open_sheet(app, "Watch", "Capture")
    sheet.find(name="Options").click()
    sheet.find("check box", "Keep every code in the journal").click()
    camera.show(vellumcap.photograph(text, "shelf.jpg"))
    field = sheet.find("text", "Last code")
    desktop.wait_until(lambda: field.text == text, f"the text {text!r}")
    step("watched", f"Watch has kept by itself: {text}")
    sheet.find("push button", "Cancel").click()
    app.wait_gone("dialog", "Capture")
    vellumcap.journal_item(app, text)


def write_notes(app, text, notes):
    vellumcap.journal_item(app, text).click()
    app.find("text", "Notes").type(notes)
    step("notes", f"A click shows the capture; its notes now say: {notes}")


def open_link(app):
    vellumcap.journal_item(app, LINK).click()
    app.find("push button", "Open Link").wait_enabled().click()
    desktop.wait_until(desktop.opened_links, "the browser")
    step("link-opened", f"Open Link hands the browser {desktop.opened_links()[-1]}")


def print_journal():
    print("\nThe journal, as the store holds it:")
    for capture in vellumcap.captures():
        print(f"  {capture['dateCaptured']}  {capture['captureValue']}"
              f"  [{capture.get('notes', '')}]")
    print(f"  and {len(vellumcap.pictures())} pictures beside it")


def main():
    with cameras.Cameras() as rig:
        camera = rig.add("tour.camera", "Camera on the desk")
        play(camera)
    print_journal()
    print(f"\nPictures of the steps: {desktop.PICTURES}")


def play(camera):
    with vellumcap.start() as app:
        step("empty", "A new journal is empty")
        import_photograph(app, LINK, "menu.jpg")
        import_photograph(app, TEXT, "locker.jpg")
        vellumcap.journal_item(app, TEXT)
        step("journal", "The journal lists both captures, the newest first")
        generate_code(app, DRAWN)
        scan_code(app, camera, SCANNED)
        watch_codes(app, camera, WATCHED)
        write_notes(app, TEXT, "Bring the small key")
        open_link(app)
        vellumcap.quit_by_keys(app)
    with vellumcap.preferred("dark"), vellumcap.start() as app:
        vellumcap.select(app, TEXT)
        step("started-again", "Started again on a dark desktop, it shows what it kept")
        vellumcap.quit_by_keys(app)


main()
