"""Takes pictures of every window, empty and filled. Argument: "dark" or "light". Run it with
session.py, and --scale 2 for a dense screen."""

import sys

import cameras
import desktop
import vellumcap

LINK = "https://example.org/menu?table=7"
TEXTS = [LINK, "Locker 42, second floor",
         "WIFI:S:Guest network of the house;T:WPA;P:correct horse battery staple;;",
         "A long text that a code can well hold: " + "every line of it wraps or ends in dots. " * 6]


def picture(name):
    desktop.screenshot(f"{sys.argv[1]}-{name}")


def show_import(app):
    sheet = vellumcap.open_import(app)
    picture("import-waiting")
    for number, text in enumerate(TEXTS):
        vellumcap.drag_onto(sheet.find(name="Picture to read"),
                            vellumcap.photograph(text, f"photo{number}.jpg"))
        vellumcap.wait_for_text(sheet, text)
        if number == 0:
            picture("import-offering")
        sheet.find("push button", "Save").wait_enabled().click()
    sheet.find("push button", "Close").click()
    app.wait_gone("dialog", "Import")


def paste(field, text):
    with vellumcap.clipboard(text, "--text"):
        field.click()
        desktop.keys("ctrl+a", "ctrl+v")
        desktop.wait_until(lambda: field.text == text, "the pasted text")


def show_generate(app):
    sheet = vellumcap.open_sheet(app, "Generate", "Generate")
    field = sheet.find("text", "Text to encode")
    picture("generate-empty")
    for name, text in (("short", LINK), ("long", TEXTS[-1])):
        paste(field, text)
        sheet.find("push button", "Generate").wait_enabled()
        picture(f"generate-{name}-edited")
        sheet.find("push button", "Generate").click()
        sheet.find("push button", "Save").wait_enabled()
        picture(f"generate-{name}")
    paste(field, "No code holds this. " * 120)
    sheet.find("push button", "Generate").wait_enabled().click()
    sheet.find("label", containing="too long")
    picture("generate-too-long")
    sheet.find("push button", "Close").click()
    app.wait_gone("dialog", "Generate")


def caption_of(sheet):
    return sheet.find(name="Picture from the camera").description


def show_scan(app, rig):
    camera = rig.add("gallery.camera", "Camera on the desk")
    sheet = vellumcap.open_sheet(app, "Scan", "Capture")
    desktop.wait_until(lambda: not caption_of(sheet), "the live picture")
    picture("scan-live")
    camera.show(vellumcap.photograph(LINK, "scan.jpg"))
    vellumcap.wait_for_text(sheet, LINK)
    picture("scan-offering")
    sheet.find("push button", "Skip").wait_enabled().click()
    desktop.wait_until(lambda: camera.links() == 1, "the camera to be watched again")
    camera.unplug()
    desktop.wait_until(lambda: "unplugged" in caption_of(sheet), "the caption")
    picture("scan-unplugged")
    sheet.find("push button", "Cancel").click()
    app.wait_gone("dialog", "Capture")
    sheet = vellumcap.open_sheet(app, "Scan", "Capture")
    desktop.wait_until(lambda: "No camera" in caption_of(sheet), "the caption")
    picture("scan-no-camera")
    sheet.find("push button", "Cancel").click()
    app.wait_gone("dialog", "Capture")


def show_watch(app, rig):
    camera = rig.add("gallery.camera", "Camera on the desk")
    sheet = vellumcap.open_sheet(app, "Watch", "Capture")
    camera.show(vellumcap.photograph(TEXTS[1], "watch.jpg"))
    field = sheet.find("text", "Last code")
    desktop.wait_until(lambda: field.text == TEXTS[1], "the code")
    picture("watch-closed")
    sheet.find(name="Options").click()
    sheet.find("check box", "Keep every code in the journal")
    picture("watch-open")
    sheet.find("push button", "Cancel").click()
    app.wait_gone("dialog", "Capture")
    camera.unplug()


def main():
    with cameras.Cameras() as rig:
        plugged = rig.add("first.camera", "Camera of the notebook")
        show_all(rig, plugged)


def show_all(rig, plugged):
    with vellumcap.preferred(sys.argv[1]), vellumcap.start() as app:
        picture("journal-empty")
        plugged.unplug()
        show_watch(app, rig)
        show_scan(app, rig)
        show_import(app)
        picture("journal-nothing-selected")
        vellumcap.journal_item(app, "Locker").click()
        app.find("text", "Notes").type("Bring the small key")
        picture("journal-selected")
        vellumcap.journal_item(app, "A long text").click()
        picture("journal-long-text")
        vellumcap.journal_item(app, LINK).click()
        app.find("push button", "Save Image").wait_enabled().click()
        app.find("dialog")
        picture("save-panel")
        desktop.keys("Escape")
        show_generate(app)
        desktop.keys("alt+f")
        picture("menu")
        desktop.keys("Escape")
        desktop.keys("ctrl+comma")
        desktop.window("Preferences")
        picture("preferences")
        desktop.keys("Escape")
        vellumcap.quit_by_keys(app)


main()
