#!/usr/bin/env python3
"""Measures what VArchive costs for each small file, against tar.

usage: bench/archive/tar.py BUILD_FOLDER [ROUNDS]

Adds and extracts 50,000 files of 1,300 bytes in 500 folders, in memory ($TMPDIR or /dev/shm), each round in
the other order. Prints medians of the seconds that passed and of the rounds' ratios.
"""
import os
import pathlib
import random
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

FILES, FOLDERS, SIZE = 50000, 500, 1300
LIMITS = [("add", "tar -cf", 1.5), ("extract", "tar -xf", 1.0)]


def make_files(folder):
    source = random.Random(1)
    for number in range(FILES):
        path = folder / f"folder{number % FOLDERS:03}" / f"file{number:05}.txt"
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(source.randbytes(SIZE))


def seconds_of(command, folder):
    start = time.perf_counter()
    subprocess.run(command, cwd=folder, stdout=subprocess.DEVNULL, check=True)
    return time.perf_counter() - start


def run_round(varchive, work, number):
    archive, tar = str(work / "x.va"), str(work / "x.tar")
    for path in (archive, tar):
        pathlib.Path(path).unlink(missing_ok=True)
    steps = [
        [("add", [varchive, "-r", "-k", "a", archive, "*"]), ("tar -cf", ["tar", "-cf", tar, "."])],
        [("extract", [varchive, "-r", "-k", "e", archive, "*"]), ("tar -xf", ["tar", "-xf", tar])],
    ]
    seconds = {}
    for folder, group in zip(("source", "out"), steps):
        for name, command in group if number % 2 == 0 else reversed(group):
            shutil.rmtree(work / "out", ignore_errors=True)
            (work / "out").mkdir()
            seconds[name] = seconds_of(command, work / folder)
    return seconds


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    varchive = str((pathlib.Path(sys.argv[1]) / "dist/VAConverter/bin/VArchive").resolve())
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    place = os.environ.get("TMPDIR") or ("/dev/shm" if os.access("/dev/shm", os.W_OK) else None)
    with tempfile.TemporaryDirectory(dir=place) as folder:
        work = pathlib.Path(folder)
        make_files(work / "source")
        rounds = [run_round(varchive, work, number) for number in range(count)]
    for step in rounds[0]:
        print(f"{step:10} {statistics.median(r[step] for r in rounds):8.3f} s")
    for ours, theirs, limit in LIMITS:
        ratio = statistics.median(r[ours] / r[theirs] for r in rounds)
        print(f"{ours} / {theirs}: {ratio:.2f}  (wanted {limit}){'' if ratio <= limit else '  MISSED'}")


if __name__ == "__main__":
    main()
