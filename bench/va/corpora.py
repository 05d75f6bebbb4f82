"""The corpora that the scripts of this folder measure on: a folder, and the folder of its next version."""
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "archive"))
from run import Material  # pylint: disable=wrong-import-position

NAMES = ("assets", "small", "large")
CHANGED, ADDED, REMOVED, MOVED = 0.05, 0.01, 0.005, 0.01


def sizes_of(name, random):
    if name == "assets":
        sizes = [int(random.lognormvariate(0, 1.2) * 1000) for _ in range(3000)]
        scale = 230e6 / sum(sizes)
        return [int(size * scale) for size in sizes]
    if name == "small":
        return [random.randint(20, 2600) for _ in range(50000)]
    return [17_500_000] * 20


def fresh(size, material):
    """A content that shares nothing with others: the pieces of all are the same, so their bytes are renamed."""
    return material.file(size).translate(bytes(material.random.sample(range(256), 256)))


def edited(content, material):
    """The next version of a file: edited in a few places, more in larger ones, or now and then made anew."""
    random = material.random
    if random.random() < 0.1:
        return fresh(len(content), material)
    for _ in range(random.randint(1, min(max(len(content) // 2000, 2), 8))):
        at = random.randrange(len(content) + 1)
        cut = random.choice((0, 16, 100))
        content[at:at + cut] = random.randbytes(random.choice((4, 16, 60)))
    return content


def write(folder, name, content):
    path = folder / name
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content)


def named(sizes):
    """A name for each member; fifty share a folder, but there are four at least."""
    return [f"folder{number % max(len(sizes) // 50, 4):04}/member{number:05}.dat" for number in range(len(sizes))]


def make_side(name, folder):
    """Makes one version alone; the number of its members."""
    material = Material()
    sizes = sizes_of(name, material.random)
    for path, size in zip(named(sizes), sizes):
        write(folder, path, fresh(size, material))
    return len(sizes)


def make_sides(name, old, new):
    material = Material()
    random = material.random
    sizes = sizes_of(name, random)
    names = named(sizes)
    count = {kind: max(round(len(sizes) * share), least)
             for kind, share, least in (("changed", CHANGED, 3), ("removed", REMOVED, 1), ("moved", MOVED, 1))}
    chosen = random.sample(range(len(sizes)), sum(count.values()))
    changed = set(chosen[:count["changed"]])
    removed = set(chosen[count["changed"]:count["changed"] + count["removed"]])
    moved = set(chosen[-count["moved"]:])
    for number, size in enumerate(sizes):
        content = fresh(size, material)
        write(old, names[number], content)
        if number in removed:
            continue
        if number in changed:
            content = edited(content, material)
        write(new, f"moved/{number:05}.dat" if number in moved else names[number], content)
    for number in range(max(round(len(sizes) * ADDED), 1)):
        write(new, f"added/member{number:05}.dat", fresh(sizes[number], material))
