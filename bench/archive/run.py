#!/usr/bin/env python3
"""Measures VArchive against zip, unzip and 7z.

usage: bench/archive/run.py BUILD_FOLDER [ROUNDS] [CORPUS ...]

Makes three corpora (assets: 3,000 mixed files of 200 MB; small: 50,000 files in 1,000 folders; large: 20
files of 20 MB) and runs every program on each in turn, ROUNDS times (5). Prints medians of the seconds that
passed and, for each limit, the median of the rounds' ratios. What VArchive extracts is compared with the
corpus. On Debian, missing programs are installed. Takes some 3 GB below $TMPDIR, by default in memory: a disk
that has just lost 50,000 files may take longer to make new ones than any of the programs.
"""
import filecmp
import os
import pathlib
import random
import shutil
import statistics
import struct
import subprocess
import sys
import tempfile
import time

PACKAGES = {"zip": "zip", "unzip": "unzip", "7z": "p7zip-full"}

# what VArchive does, what the other does, the largest ratio of their seconds; 1 where it shall be faster
LIMITS = [
    ("add", "zip -0", 1.5),
    ("add -c", "zip -6", 1.0),
    ("extract", "unzip -0", 1.0),
    ("extract", "7z x -mx0", 1.0),
    ("extract -c", "unzip -6", 1.0),
    ("list", "unzip -l", 1.0),
]


def install_missing():
    missing = [package for name, package in PACKAGES.items() if shutil.which(name) is None]
    if missing:
        subprocess.run(["apt-get", "install", "-y", "-q", *missing], check=True)


class Material:
    """Pieces of files of a few kinds, as asset folders hold them."""

    SIZE = 1 << 22

    def __init__(self):
        self.random = random.Random(4)
        words = [self.word() for _ in range(400)]
        self.kinds = [self.text(words), self.mesh(), self.image(), self.random.randbytes(self.SIZE)]

    def word(self):
        return "".join(self.random.choices("abcdefghijklmnopqrstuvwxyz", k=self.random.randint(2, 11)))

    def text(self, words):
        lines = []
        size = 0
        while size < self.SIZE:
            lines.append(f"{self.random.choice(words):12} \"{' '.join(self.random.choices(words, k=4))}\"\n")
            size += len(lines[-1])
        return "".join(lines).encode()[:self.SIZE]

    def mesh(self):
        x, numbers = 0.0, []
        for _ in range(self.SIZE // 4):
            x += self.random.uniform(-0.25, 0.25)
            numbers.append(round(x, 2))
        return struct.pack(f"<{len(numbers)}f", *numbers)

    def image(self):
        level, pixels = 128, bytearray()
        while len(pixels) < self.SIZE:
            level = (level + self.random.choice((-2, -1, 0, 0, 0, 1, 2))) % 256
            pixels += bytes((level, (level + 3) % 256, (level + 7) % 256, 255)) * self.random.randint(1, 3)
        return bytes(pixels[:self.SIZE])

    def file(self, size):
        kind = self.random.choice(self.kinds)
        content = bytearray()
        while len(content) < size:
            start = self.random.randrange(self.SIZE)
            content += kind[start:start + size - len(content)]
        return content


def make_assets(folder, material):
    sizes = [int(material.random.lognormvariate(0, 1.2) * 1000) for _ in range(3000)]
    scale = 200e6 / sum(sizes)
    for number, size in enumerate(sizes):
        yield folder / f"kind{number % 12}" / f"asset{number:04}.dat", int(size * scale)


def make_small(folder, material):
    for number in range(50000):
        yield folder / f"asset{number % 1000:04}" / f"file{number // 1000:02}.txt", material.random.randint(20, 3000)


def make_large(folder, _material):
    for number in range(20):
        yield folder / f"large{number:02}.dat", 20 * 1000 * 1000


CORPORA = {"assets": make_assets, "small": make_small, "large": make_large}


def make_corpus(folder, layout):
    material = Material()
    for path, size in layout(folder, material):
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(material.file(size))


def seconds_of(command, folder):
    """Runs to success in `folder`; the seconds that passed."""
    start = time.perf_counter()
    done = subprocess.run(command, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, check=False)
    seconds = time.perf_counter() - start
    if done.returncode != 0:
        sys.exit(f"{command}: {done.stderr.decode()}")
    return seconds


def empty(folder):
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir()


def same_trees(one, other):
    compared = filecmp.dircmp(one, other)
    if compared.left_only or compared.right_only:
        return False
    _, different, errors = filecmp.cmpfiles(one, other, compared.common_files, shallow=False)
    return not different and not errors and all(
        same_trees(one / name, other / name) for name in compared.common_dirs)


class Course:
    """One corpus and the steps that are measured on it, in their order."""

    def __init__(self, varchive, corpus, work):
        self.varchive, self.corpus, self.work = varchive, corpus, work
        self.out = work / "out"

    def steps(self):
        va, work = str(self.varchive), str(self.work)
        return [
            [("add", [va, "-r", "-k", "a", f"{work}/plain.va", "*"], self.corpus),
             ("zip -0", ["zip", "-q", "-0", "-r", f"{work}/plain.zip", "."], self.corpus),
             ("7z a -mx0", ["7z", "a", "-mx0", "-bd", f"{work}/plain.7z", "."], self.corpus),
             ("add -c", [va, "-r", "-k", "-c", "a", f"{work}/packed.va", "*"], self.corpus),
             ("zip -6", ["zip", "-q", "-6", "-r", f"{work}/packed.zip", "."], self.corpus)],
            [("list", [va, "-r", "l", f"{work}/plain.va"], work),
             ("unzip -l", ["unzip", "-l", f"{work}/plain.zip"], work),
             ("7z l", ["7z", "l", f"{work}/plain.7z"], work)],
            [("extract", [va, "-r", "-k", "e", f"{work}/plain.va", "*"], self.out),
             ("unzip -0", ["unzip", "-q", f"{work}/plain.zip"], self.out),
             ("7z x -mx0", ["7z", "x", "-bd", f"{work}/plain.7z"], self.out),
             ("extract -c", [va, "-r", "-k", "e", f"{work}/packed.va", "*"], self.out),
             ("unzip -6", ["unzip", "-q", f"{work}/packed.zip"], self.out)],
        ]

    def round(self, number):
        """Each group of steps begins with another one: who comes first finds the memory cold."""
        empty(self.work)
        seconds = {}
        for group in self.steps():
            first = number % len(group)
            for name, command, folder in group[first:] + group[:first]:
                if folder == self.out:
                    empty(self.out)
                os.sync()
                seconds[name] = seconds_of(command, folder)
                if name.startswith("extract") and not same_trees(self.corpus, self.out):
                    sys.exit(f"{self.corpus.name}: {name} gave other files")
        return seconds


def report(name, rounds):
    print(f"{name}: median seconds")
    for step in rounds[0]:
        print(f"  {step:12} {statistics.median(r[step] for r in rounds):8.3f}")
    for ours, theirs, limit in LIMITS:
        if ours == "list" and name != "small":
            continue
        ratio = statistics.median(r[ours] / r[theirs] for r in rounds)
        print(f"  {ours + ' / ' + theirs:24} {ratio:6.2f}  (wanted {limit}){'' if ratio <= limit else '  MISSED'}")
    sys.stdout.flush()


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    install_missing()
    varchive = (pathlib.Path(sys.argv[1]) / "dist/VAConverter/bin/VArchive").resolve()
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    place = os.environ.get("TMPDIR") or ("/dev/shm" if os.access("/dev/shm", os.W_OK) else None)
    with tempfile.TemporaryDirectory(dir=place) as folder:
        for name in sys.argv[3:] or CORPORA:
            corpus = pathlib.Path(folder) / name
            make_corpus(corpus, CORPORA[name])
            course = Course(varchive, corpus, pathlib.Path(folder) / "work")
            report(name, [course.round(number) for number in range(count)])
            shutil.rmtree(corpus)


if __name__ == "__main__":
    main()
