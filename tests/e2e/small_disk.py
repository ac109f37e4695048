#!/usr/bin/python3
"""Runs a command with a small disk in place of a folder. The folder's contents are copied to it.

    tests/e2e/small_disk.py FOLDER KIBIBYTES COMMAND [ARGUMENT...]

The disk is in memory. Only the command and its children see it; other processes find it below
/proc/PID/root. Needs root rights or permission to create a user namespace, and exits with 77
without them.
"""

import ctypes
import os
import pathlib
import shutil
import sys
import tempfile

CLONE_NEWNS = 0x20000
CLONE_NEWUSER = 0x10000000
MS_REC_PRIVATE = 0x4000 | 1 << 18
libc = ctypes.CDLL(None, use_errno=True)


def check(result):
    if result != 0:
        code = ctypes.get_errno()
        print(f"No disk of its own: {os.strerror(code)}", file=sys.stderr)
        sys.exit(77)


def enter_namespace():
    user, group = os.geteuid(), os.getegid()
    if user == 0:
        check(libc.unshare(CLONE_NEWNS))
    else:
        check(libc.unshare(CLONE_NEWNS | CLONE_NEWUSER))
        process = pathlib.Path("/proc/self")
        (process / "setgroups").write_text("deny")
        (process / "uid_map").write_text(f"{user} {user} 1")
        (process / "gid_map").write_text(f"{group} {group} 1")
    check(libc.mount(None, b"/", None, MS_REC_PRIVATE, None))


def main():
    folder, kibibytes, *command = sys.argv[1:]
    enter_namespace()
    with tempfile.TemporaryDirectory() as kept:
        shutil.copytree(folder, kept, dirs_exist_ok=True)
        check(libc.mount(b"tmpfs", os.fsencode(folder), b"tmpfs", 0,
                         f"size={kibibytes}k".encode()))
        shutil.copytree(kept, folder, dirs_exist_ok=True)
    os.execvp(command[0], command)


main()
