#!/usr/bin/env python3
"""Measures compact patches against xdelta3, zstd and bsdiff over tars.

usage: bench/va/compact.py BUILD_FOLDER [--no-bsdiff] [CORPUS ...]

Corpora: assets, small and large are those of run.py with more that was added: members that resemble old ones, and
large files made of long stretches of other files, old or new, with some bytes of their own. freeciv, wesnoth, lincity
and colobot are the data of two releases of these games, packages of Debian that apt downloads into a folder
of its own. Prints bytes, seconds and processor seconds of each program, in one run, and the ratios that are wanted.
Each patch is applied, and expanded and compared with what 'va diff' writes. Takes some 3 GB below $TMPDIR, by default
in memory; bsdiff takes 17 times the old side.
"""
import os
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile

import corpora
import measuring

RELEASES = {  # package, the two releases
    "freeciv": ("freeciv-data", "bookworm", "trixie"),
    "wesnoth": ("wesnoth-1.18-data", "trixie", "sid"),
    "lincity": ("lincity-ng-data", "bookworm", "trixie"),
    "colobot": ("colobot-common", "bookworm", "trixie"),
}
# corpus: most of xdelta3's bytes, most of the smallest of the others'
WANTED = {"small": (0.78, 0.95), "large": (0.50, 0.60)}
KEYRING = "/usr/share/keyrings/debian-archive-keyring.gpg"


def add_stretches(name, old, new, chance):
    """Adds what resembles other members, and what is made of them."""
    olds = sorted(path for path in old.rglob("*") if path.is_file())
    added = sorted(path for path in (new / "added").iterdir())
    for number in range(max(len(olds) // 100, 1)):
        content = bytearray(chance.choice(olds).read_bytes())
        for _ in range(3):
            at = chance.randrange(len(content) + 1)
            content[at:at + 16] = chance.randbytes(20)
        corpora.write(new, f"similar/member{number:05}.dat", content)
    longest, count = {"assets": (400_000, 4), "small": (2000, 100), "large": (3_000_000, 3)}[name]
    for number in range(count):
        joined = bytearray()
        while len(joined) < 6 * longest:
            source = chance.choice(olds if chance.random() < 0.6 else added).read_bytes()
            start = chance.randrange(max(len(source) - longest, 0) + 1)
            joined += source[start:start + longest] + chance.randbytes(max(longest // 100, 20))
        corpora.write(new, f"joined/member{number:05}.dat", joined)


def make_generated(name, work):
    corpora.make_sides(name, work / "old", work / "new")
    add_stretches(name, work / "old", work / "new", random.Random(5))


def make_released(name, work):
    package, *releases = RELEASES[name]
    for side, release in zip(("old", "new"), releases):
        apt = work / f"apt-{release}"
        for folder in ("lists/partial", "cache/archives/partial"):
            (apt / folder).mkdir(parents=True)
        (apt / "sources.list").write_text(f"deb [signed-by={KEYRING}] http://deb.debian.org/debian {release} main\n")
        (apt / "apt.conf").write_text(f'Dir::Etc::SourceList "{apt}/sources.list";\nDir::Etc::SourceParts "/dev/null";\n'
                                      f'Dir::State::Lists "{apt}/lists";\nDir::Cache "{apt}/cache";\n'
                                      'Acquire::Languages "none";\n')
        environment = {**os.environ, "APT_CONFIG": str(apt / "apt.conf")}
        subprocess.run(["apt-get", "-q", "update"], check=True, env=environment, stdout=subprocess.DEVNULL)
        subprocess.run(["apt-get", "-q", "download", package], cwd=apt, check=True, env=environment,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        unpacked = apt / "unpacked"
        subprocess.run(["dpkg-deb", "-x", *(str(deb) for deb in apt.glob("*.deb")), str(unpacked)], check=True)
        (unpacked / "usr/share").rename(work / side)
        shutil.rmtree(apt)
    # Links, and names that an archive cannot hold, are in neither side.
    for path in sorted(work.glob("*/**/*"), reverse=True):
        if path.is_symlink() or not str(path).isascii():
            path.unlink() if path.is_symlink() or path.is_file() else shutil.rmtree(path)


def compare(name, dist, work, with_bsdiff):
    va = str(dist / "VAConverter/bin/va")
    for side in ("old", "new"):
        subprocess.run([va, "create", "-q", f"{side}.va", side], cwd=work, check=True)
        subprocess.run(["tar", "--sort=name", "--mtime=@0", "--owner=0", "--group=0", "-cf", f"{side}.tar", "-C", side,
                        "."], cwd=work, check=True)
        shutil.rmtree(work / side)
    window = str((work / "old.tar").stat().st_size)
    steps = {
        "va diff": [va, "diff", "-q", "-f", "old.va", "new.va", "-o", "plain.patch.va"],
        "va diff --compact": [va, "diff", "-q", "-f", "old.va", "new.va", "-o", "small.vap"],
        "xdelta3 -9 -B": ["xdelta3", "-q", "-f", "-9", "-B", window, "-e", "-s", "old.tar", "new.tar", "x.xdelta"],
        "zstd -19": ["zstd", "-q", "-f", "-19", "--long=31", "--patch-from", "old.tar", "new.tar", "-o", "z.zst"],
    }
    if with_bsdiff:
        steps["bsdiff"] = ["bsdiff", "old.tar", "new.tar", "b.bsdiff"]
    sizes, seconds = {}, {}
    print(f"{name}: bytes, seconds, processor seconds")
    for step, words in steps.items():
        seconds[step] = measuring.measure(words, work)
        sizes[step] = (work / words[-1]).stat().st_size
        print(f"  {step:18} {sizes[step]:12} {seconds[step][0]:8.2f} {seconds[step][1]:8.2f}", flush=True)
    taken = measuring.measure([va, "apply", "-q", "-f", "old.va", "small.vap", "-o", "result.va"], work)
    print(f"  {'va apply':18} {'':12} {taken[0]:8.2f} {taken[1]:8.2f}")
    subprocess.run(["cmp", "result.va", "new.va"], cwd=work, check=True)
    subprocess.run([va, "expand", "-q", "small.vap", "old.va", "-o", "again.patch.va"], cwd=work, check=True)
    subprocess.run(["cmp", "again.patch.va", "plain.patch.va"], cwd=work, check=True)
    ours, peers = sizes["va diff --compact"], [sizes[step] for step in list(steps)[2:]]
    of_xdelta, of_smallest = WANTED.get(name, (0.93, 0.95))
    time = seconds["va diff --compact"]
    for text, ratio, wanted in (("bytes of xdelta3's", ours / peers[0], of_xdelta),
                                ("bytes of the smallest's", ours / min(peers), of_smallest),
                                ("seconds of va diff's", time[0] / seconds["va diff"][0], 1.3),
                                ("seconds of xdelta3's", time[0] / seconds["xdelta3 -9 -B"][0], 1.0)):
        print(f"  {text:26} {ratio:6.3f}  (wanted {wanted}){'' if ratio <= wanted else '  MISSED'}", flush=True)


def main():
    words = [word for word in sys.argv[1:] if word != "--no-bsdiff"]
    if not words:
        sys.exit(__doc__)
    measuring.install_missing({peer: peer for peer in ("xdelta3", "zstd", "bsdiff")})
    dist = (pathlib.Path(words[0]) / "dist").resolve()
    for name in words[1:] or (*corpora.NAMES, *RELEASES):
        with tempfile.TemporaryDirectory(dir=measuring.place()) as folder:
            work = pathlib.Path(folder)
            (make_released if name in RELEASES else make_generated)(name, work)
            compare(name, dist, work, "--no-bsdiff" not in sys.argv)


if __name__ == "__main__":
    main()
