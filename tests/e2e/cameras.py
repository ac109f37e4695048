"""Cameras without hardware in a session (see session.py). Starts PipeWire and WirePlumber in the
session; cameras can be added, controlled and removed.

    with cameras.Cameras() as rig:
        camera = rig.add("cam.a", "Camera A", picture="code.png")
        camera.freeze()
"""

import ctypes
import json
import os
import pathlib
import signal
import subprocess

import desktop
import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

FOLDER = desktop.FOLDER / "cameras"
PR_SET_PDEATHSIG = 1
libc = ctypes.CDLL(None)

# Disables sound and the machine's cameras. Bluetooth is disabled because it makes WirePlumber exit
# where systemd's run folder is missing.
CONFIGURATION = {
    "main.lua.d": """alsa_monitor.enabled = false
v4l2_monitor.enabled = false
libcamera_monitor.enabled = false
""",
    "bluetooth.lua.d": """bluez_monitor.enabled = false
bluez_midi_monitor = { enabled = false }
""",
}


def look_for_cameras_by(portal):
    """For programs started after this call, also by the bus: "1" hides all cameras, "" shows those
    of the session."""
    os.environ["VELLUMCAP_CAMERA_PORTAL"] = portal
    Gio.bus_get_sync(Gio.BusType.SESSION).call_sync(
        "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "UpdateActivationEnvironment",
        GLib.Variant("(a{ss})", ({"VELLUMCAP_CAMERA_PORTAL": portal},)), None,
        Gio.DBusCallFlags.NONE, -1, None)


def end_with_parent():
    libc.prctl(PR_SET_PDEATHSIG, signal.SIGKILL)


def spawn(*command, **options):
    with open(FOLDER / f"{pathlib.Path(command[0]).name}.log", "ab") as log:
        return subprocess.Popen(command, stderr=log, preexec_fn=end_with_parent, **options)


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


class Camera:
    """Each call returns when the camera has carried it out; readers notice it later."""

    def __init__(self, name, description, modes, picture, properties):
        self.name = name
        command = [desktop.BIN / "virtual_camera", name, description, *modes]
        if picture:
            command += ["--picture", picture]
        for key, value in properties.items():
            command += ["--property", f"{key}={value}"]
        self.process = spawn(*command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
                             env={**os.environ, "QT_QPA_PLATFORM": "offscreen"})
        self._expect("ready")

    def freeze(self):
        """Sends no more frames, but stays listed."""
        self._command("freeze")

    def thaw(self):
        self._command("thaw")

    def show(self, picture):
        self._command(f"image {pathlib.Path(picture).resolve()}")

    def set_modes(self, *modes):
        """Replaces the formats. A camera in use disappears and returns."""
        self._command(" ".join(("formats", *modes)))

    def refuse(self):
        """Fails for each reader that opens it after this call."""
        self._command("refuse")

    def unplug(self):
        self.process.kill()
        self.process.communicate()

    def links(self):
        """The number of streams linked to it."""
        # Changes during the dump are appended as further lists.
        objects = json.loads(output("pw-dump", "--no-colors").replace("\n]\n[\n", ",\n"))
        infos = {each["id"]: each.get("info") or {} for each in objects}
        ids = [number for number, info in infos.items()
               if info.get("props", {}).get("node.name") == self.name]
        return sum(info.get("output-node-id") in ids for info in infos.values())

    def _command(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        self._expect(f"done {line}")

    def _expect(self, answer):
        for line in self.process.stdout:
            if line == answer + "\n":
                return
        raise AssertionError(f"The camera {self.name} ended before it said {answer!r}")


class Cameras:
    """Programs started after this object was created see its cameras."""

    def __init__(self):
        look_for_cameras_by("")
        for folder, text in CONFIGURATION.items():
            path = FOLDER / "config" / "wireplumber" / folder
            path.mkdir(parents=True, exist_ok=True)
            (path / "80-cameras.lua").write_text(text)
        self.environment = {**os.environ, "XDG_CONFIG_HOME": str(FOLDER / "config"),
                            "XDG_STATE_HOME": str(FOLDER / "state")}
        self.plugged = []
        self.start_pipewire()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.end()

    def start_pipewire(self):
        socket = pathlib.Path(os.environ["XDG_RUNTIME_DIR"]) / "pipewire-0"
        socket.unlink(missing_ok=True)  # left by a killed daemon
        self.daemon = spawn("pipewire", env=self.environment)
        desktop.wait_until(socket.exists, "PipeWire")
        self.manager = spawn("wireplumber", env=self.environment)
        desktop.wait_until(
            lambda: 'metadata.name = "default"' in subprocess.run(
                ["pw-cli", "ls", "Metadata"], capture_output=True, text=True, check=False).stdout,
            "WirePlumber")

    def stop_pipewire(self):
        for process in (self.manager, self.daemon):
            process.kill()
            process.wait()

    def add(self, name, description, *modes, picture=None, properties=None):
        """Adds a camera; returns when PipeWire lists it. A mode is "YUY2:1280x720@30", for
        example."""
        camera = Camera(name, description, modes or ("YUY2:1280x720@30",), picture,
                        properties or {})
        self.plugged.append(camera)
        return camera

    def end(self):
        for camera in self.plugged:
            camera.unplug()
        self.stop_pipewire()
        look_for_cameras_by("1")
