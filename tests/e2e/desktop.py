"""Drives programs in a session (see session.py) with pointer and keyboard, as a user does. Elements
are found by role and name on the accessibility bus, as a screen reader finds them."""

import contextlib
import os
import pathlib
import re
import subprocess
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

PATIENCE = 60  # seconds that anything may take on a busy machine
PRESS_PATIENCE = 5  # seconds after which a press of the mouse button counts as lost
ACTIVE_PATIENCE = 10  # seconds until a new window is active
POLL = 0.03

BIN = pathlib.Path(os.environ.get("VELLUMCAP_BIN", "build/release/bin")).resolve()
FOLDER = pathlib.Path(os.environ["SESSION_FOLDER"])
PICTURES = pathlib.Path(os.environ.get("VELLUMCAP_E2E_PICTURES", "build/e2e")).resolve()
SCALE = int(os.environ["SESSION_SCALE"])
# libatspi waits less than a second by default; programs that encode a picture take longer.
Atspi.set_timeout(PATIENCE * 1000, PATIENCE * 1000)
WINDOW_ROLES = ("frame", "dialog", "alert")


def wait_until(condition, what, patience=PATIENCE):
    """Returns the first true value of `condition`; raises an AssertionError that names `what`."""
    deadline = time.monotonic() + patience
    while True:
        # libatspi updates its cached states only in the main loop.
        while GLib.MainContext.default().iteration(False):
            pass
        try:
            value = condition()
        except GLib.Error:  # the element is being created or destroyed
            value = None
        if value:
            return value
        if time.monotonic() > deadline:
            raise AssertionError(f"Waited {patience} s for {what}")
        time.sleep(POLL)


def xdotool(*arguments):
    return subprocess.run(["xdotool", *map(str, arguments)], check=True, capture_output=True,
                          text=True).stdout


def keys(*chords):
    """Presses keys such as "ctrl+q" or "Return", one after the other."""
    xdotool("key", "--clearmodifiers", "--delay", 20, *chords)


def type_text(text):
    # xdotool maps missing characters to a key one by one; programs need time to see each change.
    delay = 8 if text.isascii() else 120
    xdotool("type", "--clearmodifiers", "--delay", delay, text)


def click(point, repeat=1):
    xdotool("mousemove", *point, "click", "--repeat", repeat, "--delay", 60, 1)


def drag(start, end, has_seen_press, ready=lambda: True):
    """Drags with the left button, and releases it at the end once `ready()`.

    `has_seen_press()` tells whether the source has received a press since this call.
    """
    press(start, has_seen_press)
    try:
        # A target requests the data once, when the drag enters. On a busy machine the source may
        # answer too late; a user would then enter the window again.
        wait_until(lambda: drag_along(start, end) or hover_until(ready, end), "the moment to drop")
    finally:
        xdotool("mouseup", 1)


def press(point, is_seen, tries=6):
    """Presses the left button until the press is seen.

    A press is lost while another program still holds the pointer, as at the end of a drag. A press
    that is seen late does no harm: it is released at the same place before the next one.
    """
    for _ in range(tries):
        xdotool("mousemove", *point, "mousedown", 1)
        try:
            wait_until(is_seen, f"a press at {point} to be seen", PRESS_PATIENCE)
            return
        except AssertionError:
            xdotool("mouseup", 1)
    raise AssertionError(f"None of {tries} presses at {point} was seen")


def drag_along(start, end):
    """Moves in few steps, each with time for the windows on the way to respond."""
    begun = [start[0] + 20, start[1] - 20]
    xdotool(*(word for point in (start, begun, end)
              for word in ("mousemove", *point, "sleep", 0.1)))


def hover_until(ready, point, tries=20):
    """Moves to and fro, because source and target read the pointer's place only when it moves."""
    beside = [point[0] + 1, point[1] + 1]
    for _ in range(tries):
        if ready():
            return True
        xdotool("mousemove", *beside, "sleep", 0.02, "mousemove", *point, "sleep", 0.02)
    return False


def screenshot(name):
    PICTURES.mkdir(parents=True, exist_ok=True)
    path = PICTURES / f"{name}.png"
    subprocess.run(["scrot", "--overwrite", "--pointer", str(path)], check=True)
    return path


def shown_windows(title):
    """The X windows with this title that are visible now."""
    answer = subprocess.run(
        ["xdotool", "search", "--onlyvisible", "--name", f"^{re.escape(title)}$"],
        capture_output=True, text=True, check=False)
    return answer.stdout.split()


def window(title):
    """Waits for the X window with this title."""
    return wait_until(lambda: shown_windows(title), f"a window titled {title!r}")[0]


def windows_of(pid):
    """The X windows of a process that are visible now."""
    answer = subprocess.run(["xdotool", "search", "--onlyvisible", "--pid", str(pid)],
                            capture_output=True, text=True, check=False)
    return answer.stdout.split()


def focus_window(window_id):
    xdotool("windowactivate", "--sync", window_id)


class Element:
    """An element of a program on the accessibility bus."""

    def __init__(self, node):
        self.node = node

    role = property(lambda self: self.node.get_role_name())
    name = property(lambda self: self.node.get_name())
    description = property(lambda self: self.node.get_description())
    text = property(lambda self: Atspi.Text.get_text(self.node, 0, -1))

    def has_state(self, state):
        return self.node.get_state_set().contains(getattr(Atspi.StateType, state.upper()))

    enabled = property(lambda self: self.has_state("enabled"))
    showing = property(lambda self: self.has_state("showing"))
    focused = property(lambda self: self.has_state("focused"))

    @property
    def children(self):
        nodes = (self.node.get_child_at_index(i) for i in range(self.node.get_child_count()))
        return [Element(node) for node in nodes if node]

    @property
    def center(self):
        box = self.node.get_extents(Atspi.CoordType.SCREEN)
        # Qt reports device-independent pixels here.
        return [round((box.x + box.width / 2) * SCALE), round((box.y + box.height / 2) * SCALE)]

    def descendants(self):
        for child in self.children:
            yield child
            yield from child.descendants()

    def find_all(self, role=None, name=None, containing=None):
        """All descendants that are showing now and match the arguments."""
        return [element for element in self.descendants()
                if (role is None or element.role == role)
                and (name is None or element.name == name)
                and (containing is None or containing in element.name)
                and element.showing]

    def find(self, role=None, name=None, containing=None):
        """Waits for the first match."""
        what = f"{role or 'element'} {name or containing or ''!r}"
        found = wait_until(lambda: self.find_all(role, name, containing), what)
        return found[0]

    def wait_gone(self, role=None, name=None, containing=None):
        wait_until(lambda: not self.find_all(role, name, containing),
                   f"the end of {role or 'element'} {name or containing!r}")

    def wait_enabled(self):
        wait_until(lambda: self.enabled, f"{self.role} {self.name!r} to be enabled")
        return self

    def wait_active(self):
        """Waits until keys reach this window."""
        wait_until(lambda: self.has_state("active"), f"{self.role} {self.name!r} to be active")
        return self

    @property
    def window(self):
        """The top-level window of this element."""
        node = self.node
        while (parent := node.get_parent()) and parent.get_role_name() != "application":
            node = parent
        return Element(node)

    def wait_clickable(self):
        """Waits until the window is active, because its place is final then, and until this
        element has stopped moving. A covered window becomes active only when it is clicked."""
        window = self.window
        if window.role in WINDOW_ROLES:
            with contextlib.suppress(AssertionError):
                wait_until(lambda: window.has_state("active"), "", ACTIVE_PATIENCE)
        places = [None]

        def rests():
            places.append(self.center)
            return places[-1] == places[-2]
        wait_until(rests, f"{self.role} {self.name!r} to stop moving")
        return self

    def click(self, repeat=1):
        """Clicks the centre with the pointer."""
        self.wait_clickable()
        click(self.center, repeat)

    def take_focus(self):
        Atspi.Component.grab_focus(self.node)
        wait_until(lambda: self.focused, f"focus on {self.name!r}")
        return self

    def press(self):
        """Performs the action of a screen reader or switch device, without the pointer."""
        assert self.node.do_action(0), f"{self.role} {self.name!r} has no action"

    def type(self, text):
        """Clicks this field and replaces its text."""
        self.click()
        wait_until(lambda: self.focused, f"focus on {self.name!r}")
        keys("ctrl+a")
        type_text(text)

    def tree(self, depth=0):
        """The descendants as readable text, one per line."""
        mark = "" if self.showing else " (hidden)"
        lines = [f"{'  ' * depth}{self.role} {self.name!r}{mark}"]
        return "\n".join(lines + [child.tree(depth + 1) for child in self.children])


class App(Element):
    """A running program. Its output is written to a file in the session's folder."""

    def __init__(self, program, *arguments, env=None, through=()):
        """`through` is a command, with arguments, that replaces itself by the program."""
        path = BIN / program
        self.log_path = FOLDER / f"{path.name}-{time.monotonic_ns()}.log"
        with open(self.log_path, "wb") as log:
            self.process = subprocess.Popen(
                [*map(str, (*through, path, *arguments))], env={**os.environ, **(env or {})},
                stdin=subprocess.DEVNULL, stdout=log, stderr=subprocess.STDOUT)
        super().__init__(wait_until(self._node, f"{program} on the accessibility bus"))
        # A program is on the bus before the pointer can reach its window.
        wait_until(lambda: windows_of(self.process.pid), f"a window of {program}")

    def _node(self):
        if self.process.poll() is not None:
            raise AssertionError(f"Ended with {self.process.returncode}:\n{self.log}")
        desktop = Atspi.get_desktop(0)
        desktop.clear_cache()
        for index in range(desktop.get_child_count()):
            node = desktop.get_child_at_index(index)
            if node and node.get_process_id() == self.process.pid and node.get_child_count():
                node.set_cache_mask(Atspi.Cache.NONE)
                return node
        return None

    @property
    def log(self):
        return self.log_path.read_text(errors="replace")

    def wait_ended(self):
        """Waits for the program to exit, and returns its exit status."""
        return self.process.wait(PATIENCE)

    def end(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()

    def __enter__(self):
        return self

    def __exit__(self, *_reason):
        self.end()


def stop_after(test, app):
    """Kills `app` after the test. If the test has failed, saves a picture of the screen and prints
    the log and the elements."""
    def end():
        outcome = test._outcome.result
        failed = [getattr(case, "test_case", case) for case, _ in outcome.failures + outcome.errors]
        if test in failed:
            picture = screenshot(f"failed-{test.id()}")
            print(f"Screen: {picture}\nLog:\n{app.log}")
            if app.process.poll() is None:
                print(app.tree())
        app.end()
    test.addCleanup(end)
    return app


def openings():
    """The links passed to the browser, in order, each with its start-up identifier. The identifier
    is empty in the foreground, and has the time 0 in the background."""
    path = pathlib.Path(os.environ["SESSION_OPENED_LINKS"])
    lines = path.read_text().splitlines() if path.exists() else []
    return [tuple(line.split("\t")) for line in lines]


def opened_links():
    """The links passed to the browser, in order."""
    return [link for link, _ in openings()]
