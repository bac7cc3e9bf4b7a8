#!/usr/bin/env python3
"""Runs clang-tidy-16 over our files in a build's compile commands: tidy.py BUILD_DIR FOLDER...

A file that was clean before is not analysed again: what it depends on is its preprocessed text, the options and the
checks, and their hash is kept in the user's cache folder. Findings of any file end with status 1."""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import shlex
import subprocess
import sys
import time

TIDY = "clang-tidy-16"
KEEP_SECONDS = 30 * 24 * 3600


def cache_folder():
    base = os.environ.get("XDG_CACHE_HOME") or os.path.join(os.path.expanduser("~"), ".cache")
    folder = pathlib.Path(base) / "vantiflux-tidy"
    folder.mkdir(parents=True, exist_ok=True)
    for stamp in folder.iterdir():
        if time.time() - stamp.stat().st_mtime > KEEP_SECONDS:
            stamp.unlink(missing_ok=True)
    return folder


def preprocessed(entry):
    """The text that the compiler sees, comments included because they carry NOLINT."""
    words = shlex.split(entry["command"])
    if os.path.basename(words[0]) == "ccache":
        words = words[1:]
    words[words.index("-o") + 1] = "-"
    words[words.index("-c")] = "-E"
    return subprocess.run(words + ["-C"], cwd=entry["directory"], stdout=subprocess.PIPE, check=True).stdout


def checks_for(root, file):
    """All configuration that applies to a file: its folder's and those above it."""
    text = b""
    folder = file.parent
    while True:
        config = folder / ".clang-tidy"
        if config.exists():
            text += config.read_bytes()
        if folder == root:
            return text
        folder = folder.parent


def analyse(root, build, version, cache, entry):
    file = pathlib.Path(entry["file"])
    # A clone elsewhere is the same code, so the place of the tree is left out.
    text = b"\0".join([version, checks_for(root, file), entry["command"].encode(), preprocessed(entry)])
    stamp = cache / hashlib.sha256(text.replace(str(root).encode(), b".")).hexdigest()
    if stamp.exists():
        stamp.touch()
        return file, True, ""
    run = subprocess.run([TIDY, "--quiet", "-p", build, str(file)], capture_output=True, text=True)
    if run.returncode == 0:
        stamp.touch()
        return file, False, ""
    told = [line for line in run.stderr.splitlines(True) if not line.rstrip().endswith("generated.")]
    return file, False, run.stdout + "".join(told)


def main():
    build, folders = sys.argv[1], sys.argv[2:]
    root = pathlib.Path.cwd()
    entries = json.loads(pathlib.Path(build, "compile_commands.json").read_text())
    places = [root / folder for folder in folders]
    ours = [e for e in entries if any(pathlib.Path(e["file"]).is_relative_to(place) for place in places)]
    if not ours:
        sys.exit("tidy.py: no file of ours in the compile commands")
    version = subprocess.run([TIDY, "--version"], capture_output=True, check=True).stdout
    cache = cache_folder()
    known = bad = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        jobs = [pool.submit(analyse, root, build, version, cache, entry) for entry in ours]
        for job in concurrent.futures.as_completed(jobs):
            file, was_known, findings = job.result()
            known += was_known
            if findings:
                bad += 1
                print(f"{file.relative_to(root)}:\n{findings}", flush=True)
    print(f"{len(ours)} files, {known} of them unchanged since they were found clean, {bad} with findings")
    sys.exit(1 if bad else 0)


main()
