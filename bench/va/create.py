#!/usr/bin/env python3
"""Measures va create, add and repack against tar, zip and cp.

usage: bench/va/create.py BUILD_FOLDER [ROUNDS]

Makes the three corpora of run.py (3,000 members of 230 MB; 50,000 of 65 MB; 20 of 350 MB) as folders, in memory. Runs
each program on each in turn, ROUNDS times (5), and prints medians of the seconds that passed and of processor seconds, and for
each limit the median of the rounds' ratios. 'add' adds one member of 1 KB to the archive of 50,000; its peer writes
and flushes as many bytes as that archive's index has. 'repack' reads a plain archive. Takes some 2 GB below $TMPDIR, by default in memory.
"""
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile

import corpora
import measuring

RECORD = 296  # bytes of an index record

# corpus, step of ours, step of the peer, largest ratio, and of what: 0 for seconds, 1 for processor seconds
LIMITS = [
    ("assets", "create plain", "tar -cf", 1.1, 0),
    ("large", "create plain", "tar -cf", 1.1, 0),
    ("small", "create plain", "tar -cf", 1.5, 0),
    ("assets", "create all -j2", "zip -1", 0.45, 0),
    ("assets", "create all -j1", "zip -1", 0.75, 0),
    ("small", "add", "write index", 2.0, 0),
    ("assets", "repack plain", "cp", 1.3, 0),
    ("large", "repack plain", "cp", 1.3, 0),
    ("small", "repack plain", "cp", 1.3, 0),
]


def steps_of(name, va, work, members):
    steps = {
        "create plain": [va, "create", "-qf", "--compress=none", "plain.va", "in"],
        "create plain -j1": [va, "create", "-qf", "-j1", "--compress=none", "one.va", "in"],
        "tar -cf": ["tar", "-cf", "in.tar", "in"],
        "create all -j2": [va, "create", "-qf", "-j2", "--compress=all", "all.va", "in"],
        "create all -j1": [va, "create", "-qf", "-j1", "--compress=all", "all1.va", "in"],
        "repack plain": [va, "repack", "-qf", "--compress=none", "plain.va", "-o", "repacked.va"],
        "cp": ["cp", "plain.va", "copy.va"],
        "zip -1": ["sh", "-c", "rm -f in.zip; exec zip -q -1 -r in.zip in"],
    }
    if name == "small":
        (work / "one.dat").write_bytes(os.urandom(1000))
        subprocess.run([va, "create", "-q", "--compress=none", "many.va", "in"], cwd=work, check=True)
        steps["add"] = [va, "add", "-q", "many.va", "one.dat"]
        steps["write index"] = ["dd", "if=/dev/zero", "of=index", f"bs={RECORD * members}", "count=1", "conv=fsync"]
    return steps


def measure(name, va, work, count):
    members = corpora.make_side(name, work / "in")
    subprocess.run([va, "create", "-q", "--compress=none", "plain.va", "in"], cwd=work, check=True)
    steps = list(steps_of(name, va, work, members).items())
    rounds = []
    for number in range(count):
        first = number % len(steps)
        rounds.append({step: measuring.measure(words, work) for step, words in steps[first:] + steps[:first]})
    subprocess.run([va, "test", "-q", "plain.va", "all.va"], cwd=work, check=True)
    subprocess.run(["cmp", "all.va", "all1.va"], cwd=work, check=True)
    print(f"{name}: median seconds, processor seconds")
    for step, _ in steps:
        seconds, processor = measuring.medians(rounds, step)
        print(f"  {step:18} {seconds:8.3f} {processor:8.3f}")
    for corpus, ours, theirs, limit, what in LIMITS:
        if corpus != name:
            continue
        ratio, processor = (statistics.median(r[ours][i] / max(r[theirs][i], 1e-4) for r in rounds) for i in (0, 1))
        missed = "" if (ratio, processor)[what] <= limit else "  MISSED"
        print(f"  {ours + ' / ' + theirs:26} {ratio:6.2f}  (wanted {limit}){missed}  processor: {processor:.2f}")
    sys.stdout.flush()


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    measuring.install_missing({"zip": "zip"})
    va = str((pathlib.Path(sys.argv[1]) / "dist/VAConverter/bin/va").resolve())
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    for name in corpora.NAMES:
        with tempfile.TemporaryDirectory(dir=measuring.place()) as folder:
            measure(name, va, pathlib.Path(folder), count)


if __name__ == "__main__":
    main()
