#!/usr/bin/python3
"""Runs a command in a private desktop, and removes the desktop afterwards.

    tests/e2e/session.py [--scale 2] [--keep] [--timeout SECONDS] COMMAND [ARGUMENT...]

The desktop has an X server on a free display, a window manager, a session bus that can start only
the accessibility bus, and home folders in a temporary folder. Its browser writes each link to the
file $SESSION_OPENED_LINKS: one line with the link, a tab, and the start-up identifier that the
browser was given. Any number of sessions can run at once.
"""

import argparse
import ctypes
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import time

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

READY_WITHIN = 60  # seconds
PR_SET_PDEATHSIG = 1
PR_SET_CHILD_SUBREAPER = 36
libc = ctypes.CDLL(None)

BUS_CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir={folder}</listen>
  <servicedir>{services}</servicedir>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""

FONTS = """<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "fonts.dtd">
<fontconfig>
  <include ignore_missing="yes">/etc/fonts/fonts.conf</include>
  <match>
    <test name="family"><string>sans-serif</string></test>
    <edit name="family" mode="prepend" binding="strong"><string>Inter</string></edit>
  </match>
</fontconfig>
"""

BROWSER = """#!/bin/sh
printf '%s\\t%s\\n' "$1" "${{DESKTOP_STARTUP_ID-}}${{XDG_ACTIVATION_TOKEN-}}" >> '{links}'
"""

BROWSER_ENTRY = """[Desktop Entry]
Type=Application
Name=Recording Browser
Exec="{browser}" %u
MimeType=x-scheme-handler/http;x-scheme-handler/https;
NoDisplay=true
"""

BROWSER_DEFAULTS = """[Default Applications]
x-scheme-handler/http=recording-browser.desktop
x-scheme-handler/https=recording-browser.desktop
"""

# Variables that refer to the surrounding desktop, or change how programs look.
FOREIGN_VARIABLES = ("QT_", "XDG_", "DBUS_", "GTK_", "GDK_", "LC_", "LANG", "DISPLAY", "WAYLAND_",
                     "SESSION_MANAGER", "DESKTOP_", "XAUTHORITY", "AT_SPI_", "GNOME_", "KDE_")


def wait_until(condition, what):
    deadline = time.monotonic() + READY_WITHIN
    while not condition():
        if time.monotonic() > deadline:
            raise TimeoutError(f"No {what} within {READY_WITHIN} s")
        time.sleep(0.02)


def end_with_parent():
    libc.prctl(PR_SET_PDEATHSIG, signal.SIGTERM)


class Session:
    def __init__(self, scale):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="desktop-"))
        self.scale = scale
        self.environment = {name: value for name, value in os.environ.items()
                            if not name.startswith(FOREIGN_VARIABLES)}
        # Orphaned processes of the session become children of this process, which ends them.
        libc.prctl(PR_SET_CHILD_SUBREAPER, 1)

    def start(self):
        self.make_home()
        self.start_display()
        self.start_bus()
        self.start_window_manager()
        self.start_accessibility()

    def make_home(self):
        set_variable = self.environment.__setitem__
        for variable, name in (("HOME", "home"), ("XDG_DATA_HOME", "data"),
                               ("XDG_CONFIG_HOME", "config"), ("XDG_CACHE_HOME", "cache"),
                               ("XDG_STATE_HOME", "state"), ("XDG_RUNTIME_DIR", "runtime")):
            (self.folder / name).mkdir(mode=0o700)
            set_variable(variable, str(self.folder / name))
        (self.folder / "fonts.conf").write_text(FONTS)
        set_variable("FONTCONFIG_FILE", str(self.folder / "fonts.conf"))
        set_variable("TZ", "UTC")
        set_variable("LC_ALL", "C.UTF-8")
        set_variable("GSETTINGS_BACKEND", "memory")
        set_variable("QT_QPA_PLATFORM", "xcb")
        set_variable("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1")
        # The session has no camera portal, so the program does not see the machine's cameras.
        set_variable("VELLUMCAP_CAMERA_PORTAL", "1")
        if self.scale != 1:
            set_variable("QT_SCALE_FACTOR", str(self.scale))
        set_variable("SESSION_SCALE", str(self.scale))
        set_variable("SESSION_FOLDER", str(self.folder))
        self.make_browser()

    def make_browser(self):
        links = self.folder / "opened-links"
        self.environment["SESSION_OPENED_LINKS"] = str(links)
        browser = self.folder / "browser"
        browser.write_text(BROWSER.format(links=links))
        browser.chmod(0o700)
        applications = self.folder / "data" / "applications"
        applications.mkdir()
        (applications / "recording-browser.desktop").write_text(
            BROWSER_ENTRY.format(browser=browser))
        (self.folder / "config" / "mimeapps.list").write_text(BROWSER_DEFAULTS)

    def spawn(self, *command, **options):
        log = open(self.folder / f"{os.path.basename(command[0])}.log", "wb")
        return subprocess.Popen(
            command, env=self.environment, cwd=self.folder, stdin=subprocess.DEVNULL,
            stdout=log, stderr=subprocess.STDOUT, start_new_session=True,
            preexec_fn=end_with_parent, **options)

    def start_display(self):
        size = f"{1280 * self.scale}x{800 * self.scale}x24"
        reading, writing = os.pipe()
        self.spawn("Xvfb", "-displayfd", str(writing), "-screen", "0", size, "-nolisten", "tcp",
                   "-noreset", pass_fds=[writing])
        os.close(writing)
        with os.fdopen(reading) as answer:  # written when the server listens; empty if it died
            display = answer.readline().strip()
        if not display:
            raise RuntimeError((self.folder / "Xvfb.log").read_text())
        self.environment["DISPLAY"] = f":{display}"

    def start_bus(self):
        services = self.folder / "services"
        services.mkdir()
        shutil.copy("/usr/share/dbus-1/services/org.a11y.Bus.service", services)
        configuration = self.folder / "bus.conf"
        configuration.write_text(BUS_CONFIGURATION.format(folder=self.folder, services=services))
        reading, writing = os.pipe()
        self.spawn("dbus-daemon", f"--config-file={configuration}", "--nofork", "--nopidfile",
                   f"--print-address={writing}", pass_fds=[writing])
        os.close(writing)
        with os.fdopen(reading) as answer:
            self.environment["DBUS_SESSION_BUS_ADDRESS"] = answer.readline().strip()

    def start_window_manager(self):
        self.spawn("openbox", "--sm-disable")

        def is_managed():
            answer = subprocess.run(
                ["xprop", "-root", "-notype", "_NET_SUPPORTING_WM_CHECK"], env=self.environment,
                capture_output=True, text=True, check=False)
            return "window id" in answer.stdout
        wait_until(is_managed, "window manager")

    def start_accessibility(self):
        bus = Gio.DBusConnection.new_for_address_sync(
            self.environment["DBUS_SESSION_BUS_ADDRESS"],
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
            | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        enabled = GLib.Variant("(ssv)", ("org.a11y.Status", "IsEnabled",
                                         GLib.Variant("b", True)))
        # The call starts the service and waits for its reply.
        bus.call_sync("org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties", "Set",
                      enabled, None, Gio.DBusCallFlags.NONE, READY_WITHIN * 1000, None)
        bus.close_sync(None)

    def run(self, command, timeout):
        if command[0].endswith(".py"):
            command = ["/usr/bin/python3", *command]
        process = subprocess.Popen(command, env=self.environment, preexec_fn=end_with_parent)
        try:
            return process.wait(timeout)
        except subprocess.TimeoutExpired:
            print(f"{command}: not finished after {timeout} s", file=sys.stderr)
            return 1

    def end(self, keep):
        end_descendants()
        if keep:
            print(f"Kept {self.folder}", file=sys.stderr)
        else:
            shutil.rmtree(self.folder, ignore_errors=True)


def children_of_this_process():
    return [int(pid) for pid in
            pathlib.Path(f"/proc/self/task/{os.getpid()}/children").read_text().split()]


def end_descendants():
    """Ends and reaps all descendants: this process becomes the parent of each orphan."""
    patience = time.monotonic() + 5
    while children := children_of_this_process():
        how = signal.SIGTERM if time.monotonic() < patience else signal.SIGKILL
        for child in children:
            os.kill(child, how)  # not reaped yet, so its number is not reused
        while True:
            try:
                if os.waitpid(-1, os.WNOHANG)[0] == 0:
                    break
            except ChildProcessError:
                return
        time.sleep(0.02)


def end_on(number, _frame):
    sys.exit(128 + number)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--scale", type=int, default=1, help="device pixels per pixel")
    parser.add_argument("--keep", action="store_true", help="leave the session's folder")
    parser.add_argument("--timeout", type=float, help="seconds until the command is ended")
    parser.add_argument("command", nargs=argparse.REMAINDER)
    arguments = parser.parse_args()
    for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
        signal.signal(number, end_on)

    session = Session(arguments.scale)
    try:
        session.start()
        status = session.run(arguments.command, arguments.timeout)
    finally:
        session.end(arguments.keep)
    sys.exit(status)


main()
