#!/usr/bin/env python3
"""Measures va against xdelta3, tar, zstd, 7z and unzip.

usage: bench/va/run.py BUILD_FOLDER [ROUNDS] [CORPUS ...]

Makes three corpora in memory (assets: 3,000 members of 230 MB; small: 50,000 members of 65 MB; large: 20 members
of 350 MB), each with its next version (5 % of the members changed, some added, removed and moved), as folders,
archives with and without compression, tars and zips. Runs every program on each in turn, ROUNDS times (5). Prints
medians of the seconds that passed and of processor seconds, sizes of what was written, and for each limit the median
of the rounds' ratios of seconds, and of processor seconds with one worker. Each patch of va is applied by VAConverter,
and the result compared with the new folder; so are the extracted members. On Debian, missing peers are installed.
Takes some 3 GB below $TMPDIR, by default in memory.
"""
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile

import corpora
import measuring

ALL = corpora.NAMES
PEERS = {"xdelta3": "xdelta3", "zstd": "zstd", "7z": "p7zip-full", "unzip": "unzip"}  # and their packages

# corpora, step, step that it is compared with, largest ratio of their seconds
LIMITS = [
    (("assets",), "diff", "xdelta3 -9 va", 0.3),
    (("assets",), "diff", "xdelta3 tar", 0.8),
    (("small", "large"), "diff", "xdelta3 -9 va", 0.5),
    (ALL, "apply", "xdelta3 -d", 1.0),
    (ALL, "extract plain -j1", "tar -x", 1.0),
    (ALL, "extract plain", "tar -x", 0.8),
    (ALL, "extract", "zstd -d, tar -x", 0.8),
    (ALL, "test", "7z t", 0.5),
    (("small",), "list", "unzip -l", 0.6),
    (("assets",), "diff", "diff -j1", 0.6),
    (("assets",), "test", "test -j1", 0.6),
]


class Course:
    """One corpus and the steps that are measured on it."""

    def __init__(self, name, dist, work):
        self.name, self.work = name, work
        self.va = str(dist / "VAConverter/bin/va")
        self.converter = str(dist / "VAConverter/bin/VAConverter")
        archiver = str(dist / "VAConverter/bin/VArchive")
        corpora.make_sides(name, work / "old", work / "new")
        for side in ("old", "new"):
            for letters, ending in (("-c", "va"), (None, "plain.va")):
                words = [archiver, "-r", "-k", *([letters] if letters else []), "a", f"{work}/{side}.{ending}", "*"]
                subprocess.run(words, cwd=work / side, check=True, stdout=subprocess.DEVNULL)
            subprocess.run(["tar", "--sort=name", "-cf", f"{work}/{side}.tar", "-C", work / side, "."], check=True)
        subprocess.run(["zstd", "-q", "old.tar", "-o", "old.tar.zst"], cwd=work, check=True)
        subprocess.run(["7z", "a", "-tzip", "-bso0", "-bsp0", work / "old.zip", "."], cwd=work / "old", check=True)

    def steps(self):
        """The words of each step; the last one is the file or folder that it writes, if it writes one."""
        extract = [self.va, "extract", "-q"]
        xdelta = ["xdelta3", "-q", "-f", "-e"]
        return {
            "diff": [self.va, "diff", "-q", "-f", "old.va", "new.va", "-o", "made.patch.va"],
            "diff -j1": [self.va, "diff", "-q", "-f", "-j1", "old.va", "new.va", "-o", "one.patch.va"],
            "diff plain": [self.va, "diff", "-q", "-f", "old.plain.va", "new.plain.va", "-o", "plain.patch.va"],
            "diff folders": [self.va, "diff", "-q", "-f", "old", "new", "-o", "folders.patch.va"],
            "xdelta3 -9 va": [*xdelta, "-9", "-s", "old.va", "new.va", "va9.xdelta"],
            "xdelta3 -9 plain": [*xdelta, "-9", "-s", "old.plain.va", "new.plain.va", "plain9.xdelta"],
            "xdelta3 tar": [*xdelta, "-s", "old.tar", "new.tar", "tar.xdelta"],
            "apply": [self.va, "apply", "-q", "-f", "old.va", "first.patch.va", "-o", "applied.va"],
            "apply -j1": [self.va, "apply", "-q", "-f", "-j1", "old.va", "first.patch.va", "-o", "applied1.va"],
            "apply folders": [self.va, "apply", "-q", "-f", "old.va", "content.patch.va", "-o", "applied2.va"],
            "xdelta3 -d": ["xdelta3", "-q", "-f", "-d", "-s", "old.va", "first.xdelta", "decoded.va"],
            "xdelta3 -d tar": ["xdelta3", "-q", "-f", "-d", "-s", "old.tar", "tar.first.xdelta", "decoded.tar"],
            "extract plain": [*extract, "old.plain.va", "-C", "out"],
            "extract plain -j1": [*extract, "-j1", "old.plain.va", "-C", "out"],
            "extract": [*extract, "old.va", "-C", "out"],
            "extract -j1": [*extract, "-j1", "old.va", "-C", "out"],
            "tar -x": ["tar", "-xf", "old.tar", "-C", "out"],
            "zstd -d, tar -x": ["sh", "-c", 'zstd -dcq old.tar.zst | tar -xf - -C "$0"', "out"],
            "test": [self.va, "test", "-q", "old.va"],
            "test -j1": [self.va, "test", "-q", "-j1", "old.va"],
            "7z t": ["7z", "t", "-bso0", "-bsp0", "old.zip"],
            "list": [self.va, "list", "old.va"],
            "unzip -l": ["unzip", "-l", "old.zip"],
        }

    def make_patches(self):
        """What the steps that apply patches apply. The second patch promises contents, not the archive's bytes."""
        for words in ([self.va, "diff", "-q", "old.va", "new.va", "-o", "first.patch.va"],
                      [self.va, "diff", "-q", "old.va", "new", "-o", "content.patch.va"],
                      ["xdelta3", "-q", "-e", "-9", "-s", "old.va", "new.va", "first.xdelta"],
                      ["xdelta3", "-q", "-e", "-9", "-s", "old.tar", "new.tar", "tar.first.xdelta"]):
            subprocess.run(words, cwd=self.work, check=True)

    def round(self, number):
        """Each round begins with another step: the first one finds the memory cold."""
        steps = list(self.steps().items())
        first = number % len(steps)
        measured = {}
        for step, words in steps[first:] + steps[:first]:
            shutil.rmtree(self.work / "out", ignore_errors=True)
            (self.work / "out").mkdir()
            measured[step] = measuring.measure(words, self.work)
        return measured

    def check(self):
        for patch in ("made", "plain", "folders"):
            subprocess.run([self.converter, "patchapply", "old.va", f"{patch}.patch.va", "-"], cwd=self.work, check=True,
                           stdout=subprocess.DEVNULL)
            subprocess.run([self.va, "compare", "--stat", "old-tmp.va", "new"], cwd=self.work, check=True,
                           stdout=subprocess.DEVNULL)
        for result in ("applied", "applied1", "applied2"):
            subprocess.run([self.va, "compare", "--stat", f"{result}.va", "new"], cwd=self.work, check=True,
                           stdout=subprocess.DEVNULL)
        for archive in ("old.va", "old.plain.va"):
            shutil.rmtree(self.work / "out")
            subprocess.run([self.va, "extract", "-q", archive, "-C", "out"], cwd=self.work, check=True)
            subprocess.run(["diff", "-rq", "old", "out"], cwd=self.work, check=True)

    def report(self, rounds):
        print(f"{self.name}: median seconds, processor seconds, bytes written")
        for step, words in self.steps().items():
            seconds, processor = measuring.medians(rounds, step)
            written = self.work / words[-1]
            size = f"{written.stat().st_size:12}" if written.is_file() else ""
            print(f"  {step:18} {seconds:8.3f} {processor:8.3f} {size}")
        for corpora, ours, theirs, limit in LIMITS:
            if self.name not in corpora:
                continue
            ratio = statistics.median(r[ours][0] / r[theirs][0] for r in rounds)
            one = ours if ours + " -j1" not in rounds[0] else ours + " -j1"
            single = statistics.median(r[one][1] / r[theirs][1] for r in rounds)
            print(f"  {ours + ' / ' + theirs:34} {ratio:6.2f}  (wanted {limit}){'' if ratio <= limit else '  MISSED'}"
                  + (f"  one worker, processor: {single:.2f}" if one != theirs else ""))
        sys.stdout.flush()


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    measuring.install_missing(PEERS)
    dist = (pathlib.Path(sys.argv[1]) / "dist").resolve()
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    for name in sys.argv[3:] or corpora.NAMES:
        with tempfile.TemporaryDirectory(dir=measuring.place()) as folder:
            course = Course(name, dist, pathlib.Path(folder))
            course.make_patches()
            rounds = [course.round(number) for number in range(count)]
            course.check()
            course.report(rounds)


if __name__ == "__main__":
    main()
