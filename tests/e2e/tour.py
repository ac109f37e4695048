"""Shows the program at work to somebody without a display: does what a user does, says what it
does, and leaves a picture of every step."""

import itertools

import desktop
import vellumcap

LINK = "https://example.org/menu?table=7"
TEXT = "Locker 42, second floor"
DRAWN = "Lend this book to the neighbours"
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
    app.find("push button", "Generate").click()
    sheet = app.find("dialog", "Generate")
    sheet.find("text", "Text to encode").type(text)
    sheet.find("push button", "Generate").wait_enabled().click()
    sheet.find("push button", "Save").wait_enabled()
    step("generated", f"Generate has drawn a code for: {text}")
    sheet.find("push button", "Save").click()
    vellumcap.journal_item(app, text)
    sheet.find("push button", "Close").click()
    app.wait_gone("dialog", "Generate")


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
    with vellumcap.start() as app:
        step("empty", "A new journal is empty")
        import_photograph(app, LINK, "menu.jpg")
        import_photograph(app, TEXT, "locker.jpg")
        vellumcap.journal_item(app, TEXT)
        step("journal", "The journal lists both captures, the newest first")
        generate_code(app, DRAWN)
        write_notes(app, TEXT, "Bring the small key")
        open_link(app)
        vellumcap.quit_by_keys(app)
    with vellumcap.preferred("dark"), vellumcap.start() as app:
        vellumcap.select(app, TEXT)
        step("started-again", "Started again on a dark desktop, it shows what it kept")
        vellumcap.quit_by_keys(app)
    print_journal()
    print(f"\nPictures of the steps: {desktop.PICTURES}")


main()
