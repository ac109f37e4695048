#!/usr/bin/python3
"""Runs clang-tidy on every source of ours in a build folder's compile database.

A source is skipped when it was clean before and nothing that counts has changed since: its own
bytes, those of the headers that its object was built from, the checks, and its command line.
The build folder must be built, since Ninja's record of headers is what tells them.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
CACHE = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache")
STAMPS = CACHE / "vellumcap-tidy"
STAMPS_KEPT = 4000


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def headers_of_objects(build):
    """Object -> the files of the repository that it was compiled from, as Ninja knows them."""
    headers = {}
    current = []
    for line in output_of("ninja", "-C", str(build), "-t", "deps").splitlines():
        if line.startswith("    "):
            path = pathlib.Path(os.path.normpath(build / line.strip()))
            if path.is_relative_to(ROOT):
                current.append(path)
        elif ": #deps" in line:
            current = headers.setdefault(line.split(":")[0], [])
    return headers


def object_of(entry):
    arguments = shlex.split(entry["command"])
    return arguments[arguments.index("-o") + 1]


def stamp_of(entry, headers, common):
    key = hashlib.sha256(common)
    key.update(entry["command"].replace(str(ROOT), "").encode())
    for path in sorted({pathlib.Path(entry["file"]), *headers}):
        key.update(str(path.relative_to(ROOT)).encode())
        key.update(path.read_bytes())
    return STAMPS / key.hexdigest()


def check(build, source):
    return subprocess.run(
        ["clang-tidy", "--quiet", "-p", str(build), source],
        capture_output=True, text=True, stdin=subprocess.DEVNULL)


def forget_old_stamps():
    stamps = sorted(STAMPS.iterdir(), key=lambda stamp: stamp.stat().st_mtime, reverse=True)
    for stamp in stamps[STAMPS_KEPT:]:
        stamp.unlink(missing_ok=True)


def main():
    build = (ROOT / sys.argv[1]).resolve()
    database = json.loads((build / "compile_commands.json").read_text())
    headers = headers_of_objects(build)
    common = (ROOT / ".clang-tidy").read_bytes() + output_of("clang-tidy", "--version").encode()
    STAMPS.mkdir(parents=True, exist_ok=True)

    to_check = {}
    ours = [entry for entry in database
            if not pathlib.Path(entry["file"]).is_relative_to(build)]
    for entry in ours:
        stamp = stamp_of(entry, headers.get(object_of(entry), []), common)
        if stamp.exists():
            stamp.touch()
        else:
            to_check[entry["file"]] = stamp
    print(f"{len(ours)} sources, {len(to_check)} to check", flush=True)

    failed = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        jobs = {pool.submit(check, build, source): source for source in to_check}
        for job in concurrent.futures.as_completed(jobs):
            source = jobs[job]
            if job.result().returncode == 0:
                to_check[source].touch()
            else:
                failed += 1
                # A clang-tidy that was killed says nothing by itself.
                print(f"{source}: status {job.result().returncode}\n"
                      f"{job.result().stdout or job.result().stderr}", flush=True)
    forget_old_stamps()
    if failed:
        sys.exit(f"clang-tidy: {failed} of {len(to_check)} sources have faults")


main()
