"""Cameras without hardware in a session (see session.py): PipeWire and WirePlumber of the session's
own, and any number of cameras that can be plugged in, steered and pulled out.

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

# No sound, none of the cameras of the machine; WirePlumber's Bluetooth part ends it where systemd's
# run folder is missing.
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
    """"1" hides the cameras of the machine from programs that start from now on, "" shows those of
    the session. Programs that the bus starts are told, too."""
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
    """Every call returns when it has taken effect in the camera: who watches learns of it later."""

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
        """Stays listed, but sends no frames."""
        self._command("freeze")

    def thaw(self):
        self._command("thaw")

    def show(self, picture):
        self._command(f"image {pathlib.Path(picture).resolve()}")

    def set_modes(self, *modes):
        """Offers these instead; while somebody watches, it goes and returns."""
        self._command(" ".join(("formats", *modes)))

    def refuse(self):
        """Fails for everybody who wants to watch from now on."""
        self._command("refuse")

    def unplug(self):
        self.process.kill()
        self.process.communicate()

    def links(self):
        """How many streams are linked to it."""
        # What changes meanwhile comes as a further list.
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
    """Programs that start from now on see these cameras."""

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
        socket.unlink(missing_ok=True)  # of one that was killed
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
        """Returns once PipeWire lists it. Modes are such as "YUY2:1280x720@30"."""
        camera = Camera(name, description, modes or ("YUY2:1280x720@30",), picture,
                        properties or {})
        self.plugged.append(camera)
        return camera

    def end(self):
        for camera in self.plugged:
            camera.unplug()
        self.stop_pipewire()
        look_for_cameras_by("1")
