#!/usr/bin/env python3
"""Measures vdiffl-w32.exe against zstd --patch-from, bsdiff and xdelta3.

usage: bench/delta/run.py BUILD_FOLDER [SCALE] [--huge]

Makes three corpora of changed files, diffs every pair with all four programs in turn, checks that
vpatchl-w32.exe makes the new file again, and prints sums of sizes, the ratio of our sum to the sum of the
best of the others for each file, and processor time. SCALE 1 takes a few minutes. --huge adds the peak
memory of a pair of 500 MB files. On Debian, missing programs are installed.
"""
import filecmp
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

TARGETS = {"assets": 0.92, "small": 0.95, "large": 0.64}
TOOLS = ("vdiffl", "zstd", "bsdiff", "xdelta3")


def install_missing():
    missing = [name for name in TOOLS[1:] if shutil.which(name) is None]
    if missing:
        subprocess.run(["apt-get", "install", "-y", "-q", *missing], check=True)


def run(command):
    """Runs to success; returns seconds of processor time and peak resident megabytes."""
    child = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    message = child.stderr.read()
    _, status, usage = os.wait4(child.pid, 0)
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode != 0:
        sys.exit(f"{command}: {message.decode()}")
    return usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1000


class Programs:
    def __init__(self, build):
        dist = pathlib.Path(build) / "dist"
        self.diff = dist / "tools/NorvanePatch/bin/vdiffl-w32.exe"
        self.patch = dist / "VAConverter/bin/vpatchl-w32.exe"

    def command(self, tool, old, new, out):
        window = max(old.stat().st_size + new.stat().st_size, 1024).bit_length()
        return {
            "vdiffl": [self.diff, old, new, out],
            "zstd": ["zstd", "-19", "-q", "-f", *([f"--long={window}"] if window > 23 else []),
                     f"--patch-from={old}", new, "-o", out],
            "bsdiff": ["bsdiff", old, new, out],
            "xdelta3": ["xdelta3", "-9", "-e", "-f", "-s", old, new, out],
        }[tool]


def measure(programs, corpus, work):
    sizes = dict.fromkeys(TOOLS, 0)
    seconds = dict.fromkeys((*TOOLS, "vpatchl"), 0.0)
    best = 0
    pairs = sorted(corpus.iterdir())
    for pair in pairs:
        old, new = pair / "old", pair / "new"
        made = {}
        for tool in TOOLS:
            seconds[tool] += run(programs.command(tool, old, new, work / tool))[0]
            made[tool] = (work / tool).stat().st_size
            sizes[tool] += made[tool]
        best += min(made[tool] for tool in TOOLS[1:])
        seconds["vpatchl"] += run([programs.patch, old, work / "vdiffl", work / "again"])[0]
        if not filecmp.cmp(new, work / "again", shallow=False):
            sys.exit(f"{pair}: the patched file differs")
    report(corpus.name, len(pairs), sizes, seconds, best)


def report(name, count, sizes, seconds, best):
    print(f"{name}: {count} changed files; best of the others for each file: {best} bytes")
    for tool in TOOLS:
        print(f"  {tool:8} {sizes[tool]:>10} bytes  {seconds[tool]:8.2f} s")
    print(f"  ratio to the best {sizes['vdiffl'] / best:.3f} (wanted {TARGETS[name]}), "
          f"time to bsdiff's {seconds['vdiffl'] / seconds['bsdiff']:.2f} (wanted 0.33), "
          f"vpatchl {seconds['vpatchl']:.2f} s", flush=True)


def measure_huge(programs, generator, work):
    run([generator, work / "huge", "huge"])
    old, new = work / "huge/old", work / "huge/new"
    spent, peak = run(programs.command("vdiffl", old, new, work / "diff"))
    print(f"two 500 MB files: vdiffl {spent:.1f} s, peak {peak:.0f} MB (wanted 2000), "
          f"diff {(work / 'diff').stat().st_size} bytes")
    spent, peak = run([programs.patch, old, work / "diff", work / "again"])
    same = filecmp.cmp(new, work / "again", shallow=False)
    print(f"  vpatchl {spent:.1f} s, peak {peak:.0f} MB, {'right' if same else 'WRONG'}")


def main():
    arguments = [a for a in sys.argv[1:] if a != "--huge"]
    if not arguments:
        sys.exit(__doc__)
    install_missing()
    build = pathlib.Path(arguments[0])
    generator = build / "bench/delta/make_corpora"
    programs = Programs(build)
    with tempfile.TemporaryDirectory() as folder:
        work = pathlib.Path(folder)
        run([generator, work / "corpora", arguments[1] if len(arguments) > 1 else "1"])
        for name in TARGETS:
            measure(programs, work / "corpora" / name, work)
        if "--huge" in sys.argv:
            measure_huge(programs, generator, work)


if __name__ == "__main__":
    main()
