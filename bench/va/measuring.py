"""What the scripts of this folder share: where they work, and how a command is measured."""
import os
import shutil
import statistics
import subprocess
import sys
import time


def install_missing(packages):
    """Installs the Debian packages of the programs that are missing; `packages` maps programs to packages."""
    missing = [package for program, package in packages.items() if shutil.which(program) is None]
    if missing:
        subprocess.run(["apt-get", "install", "-y", "-q", *missing], check=True)


def place():
    """The folder for temporary files: $TMPDIR, or memory where there is some, since disks vary."""
    return os.environ.get("TMPDIR") or ("/dev/shm" if os.access("/dev/shm", os.W_OK) else None)


def measure(command, folder):
    """Runs to success in `folder`; seconds that passed, and processor seconds."""
    start = time.perf_counter()
    child = subprocess.Popen(command, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    message = child.stderr.read()
    _, status, usage = os.wait4(child.pid, 0)
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode != 0:
        sys.exit(f"{command}: {message.decode()}")
    return time.perf_counter() - start, usage.ru_utime + usage.ru_stime


def medians(rounds, step):
    """Of the seconds that passed, and of processor seconds."""
    return tuple(statistics.median(measured[step][kind] for measured in rounds) for kind in (0, 1))
