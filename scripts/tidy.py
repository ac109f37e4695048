#!/usr/bin/python3
"""Runs clang-tidy on the sources of this repository in a build folder's compile database.

    tidy.py BUILD            checks the changed sources, several in one run
    tidy.py BUILD --single   checks all sources, each in a run of its own

Clang-tidy spends most of its time on headers, so sources are joined to a few files, each of which
is checked with the flags of all of its sources. Sources that define the same name are not joined.
A joined file that does not compile is split into halves, which are checked again. Only --single
finds a using-declaration that is unused in one source.

A source is skipped if it was clean before and none of these has changed since: its bytes, the
headers from which its object was built, the checks, and its command line. The build folder must be
up to date, because the headers are taken from Ninja's records.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
CACHE = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache")
STAMPS = CACHE / "vellumcap-tidy"
STAMPS_KEPT = 4000
SOURCES_TOGETHER = 48

# Definitions that begin in the first column; the contents of namespaces are not indented.
DEFINITIONS = (
    re.compile(r"^(?:class|struct|enum(?: class)?|union) (\w+)", re.M),
    re.compile(r"^using (\w+) =", re.M),
    re.compile(r"^#define (\w+)", re.M),
    re.compile(r"^(?!using|namespace|template|friend)[A-Za-z][\w:<>,*& ]*[ *&](\w+)(?:\(|\[\w*\]| =|;|\{)",
               re.M),
)
DIAGNOSTIC = re.compile(r"^(?P<file>/[^:]+):(?P<line>\d+):(?P<rest>\d+: (?:error|warning|note): .*)")


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def headers_of_objects(build):
    """The files of the repository from which each object was compiled, by Ninja's records."""
    headers = {}
    current = []
    for line in output_of("ninja", "-C", str(build), "-t", "deps").splitlines():
        if line.startswith("    "):
            path = pathlib.Path(os.path.normpath(build / line.strip()))
            if path.is_relative_to(ROOT) and not path.is_relative_to(build):
                current.append(path)
        elif ": #deps" in line:
            current = headers.setdefault(line.split(":")[0], [])
    return headers


class Source:
    """A source of this repository with its compiler flags."""

    def __init__(self, entry, build, headers, common):
        self.path = pathlib.Path(entry["file"])
        arguments = shlex.split(entry["command"])
        self.object = arguments[arguments.index("-o") + 1]
        self.flags = self._flags(arguments)
        self.text = self.path.read_text()
        self.names = {name for pattern in DEFINITIONS for name in pattern.findall(self.text)}
        self.names.discard("main")
        key = hashlib.sha256(common)
        key.update(" ".join(self.flags).replace(str(ROOT), "").encode())
        for path in sorted({self.path, *headers.get(self.object, [])}):
            key.update(str(path.relative_to(ROOT)).encode())
            key.update(path.read_bytes())
        self.stamp = STAMPS / key.hexdigest()

    @staticmethod
    def _flags(arguments):
        """The flags that matter to clang-tidy, each with its value in one word."""
        while not arguments[0].endswith("++"):
            arguments = arguments[1:]
        words = iter(arguments[1:])
        flags = []
        for word in words:
            if word == "-isystem":
                flags.append(f"-isystem{next(words)}")
            elif word in ("-include", "-o", "-c"):
                next(words)
            elif not word.startswith(("-O", "-Winvalid-pch", "-fpch-preprocess")):
                flags.append(word)
        return flags


def batches_of(sources):
    """The sources in lists without a name twice in a list."""
    batches = []
    for source in sources:
        for batch in batches:
            if (len(batch) < SOURCES_TOGETHER
                    and not any(source.names & other.names for other in batch)):
                batch.append(source)
                break
        else:
            batches.append([source])
    return batches


def joined(batch):
    """The text of the batch, and the (source, line) of each of its lines."""
    lines, origins, included = [], [], set()
    for index, source in enumerate(batch):
        lines.append(f"#undef main\n#define main main{index}" if index else "")
        origins += [(source, 1)] * (2 if index else 1)
        depth, own = 0, set()
        for number, line in enumerate(source.text.splitlines(), 1):
            depth += line.startswith("#if") - line.startswith("#endif")
            if depth == 0 and line.startswith("#include"):
                own.add(line)
                if line in included:
                    line = ""
            lines.append(line)
            origins.append((source, number))
        included |= own
    return "\n".join(lines) + "\n", origins


def checked(batch, folder):
    """The messages of clang-tidy for each source of the batch; empty for a clean source."""
    name = hashlib.sha256(" ".join(source.object for source in batch).encode()).hexdigest()[:16]
    text, origins = joined(batch)
    place = folder / name
    place.mkdir(parents=True, exist_ok=True)
    file = place / "joined.cpp"
    file.write_text(text)
    flags = dict.fromkeys(flag for source in batch for flag in source.flags)
    folders = dict.fromkeys(f"-iquote{source.path.parent}" for source in batch)
    (place / "compile_commands.json").write_text(json.dumps([{
        "directory": str(folder.parent), "file": str(file),
        "arguments": ["c++", *flags, *folders, "-c", str(file)]}]))
    run = subprocess.run(
        ["clang-tidy", "--quiet", "-p", str(place), str(file)],
        capture_output=True, text=True, stdin=subprocess.DEVNULL)
    if run.returncode == 0:
        return {source: "" for source in batch}
    if len(batch) > 1 and (run.returncode < 0 or "clang-diagnostic-error" in run.stdout):
        middle = len(batch) // 2
        return {**checked(batch[:middle], folder), **checked(batch[middle:], folder)}

    faults = {source: "" for source in batch}
    current = None
    for line in run.stdout.splitlines():
        match = DIAGNOSTIC.match(line)
        if match and match["file"] == str(file):
            current, number = origins[int(match["line"]) - 1]
            line = f"{current.path}:{number}:{match['rest']}"
        elif match and ": note: " not in line:
            current = batch[0]  # in a header
        if current:
            faults[current] += line + "\n"
    if len(batch) > 1 and any(faults.values()):
        # Joined sources can have faults that none of them has by itself, such as a name that two
        # using-declarations introduce.
        return {source: checked([source], folder)[source] if said else ""
                for source, said in faults.items()}
    if not any(faults.values()):
        # A clang-tidy that was killed prints no diagnostics.
        faults[batch[0]] = f"status {run.returncode}\n{run.stdout}{run.stderr}"
    return faults


def forget_old_stamps():
    stamps = sorted(STAMPS.iterdir(), key=lambda stamp: stamp.stat().st_mtime, reverse=True)
    for stamp in stamps[STAMPS_KEPT:]:
        stamp.unlink(missing_ok=True)


def main():
    if len(sys.argv) < 2 or sys.argv[2:] not in ([], ["--single"]):
        sys.exit("Usage: tidy.py BUILD [--single]")
    build = (ROOT / sys.argv[1]).resolve()
    single = "--single" in sys.argv[2:]
    database = json.loads((build / "compile_commands.json").read_text())
    headers = headers_of_objects(build)
    common = (ROOT / ".clang-tidy").read_bytes() + output_of("clang-tidy", "--version").encode()
    STAMPS.mkdir(parents=True, exist_ok=True)

    ours = [Source(entry, build, headers, common) for entry in database
            if not pathlib.Path(entry["file"]).is_relative_to(build)]
    to_check = []
    for source in ours:
        if source.stamp.exists() and not single:
            source.stamp.touch()
        else:
            to_check.append(source)
    batches = [[source] for source in to_check] if single else batches_of(to_check)
    print(f"{len(ours)} sources, {len(to_check)} to check, in {len(batches)} runs", flush=True)

    failed = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        jobs = [pool.submit(checked, batch, build / "tidy") for batch in batches]
        for job in concurrent.futures.as_completed(jobs):
            for source, said in job.result().items():
                if said:
                    failed += 1
                    print(f"{source.path}:\n{said}", flush=True)
                else:
                    source.stamp.touch()
    forget_old_stamps()
    if failed:
        sys.exit(f"clang-tidy: {failed} of {len(to_check)} sources have faults")


main()
