#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Full, small and read-only file systems, quotas and limits of the system itself."""
import errno
import os
import pathlib
import resource
import shutil
import subprocess
import sys

import driver

INSIDE = "--inside"
NOBODY = 65534


class Disk:
    """Runs over an earlier run whose output folder may be a file system of its own."""

    def __init__(self, bench):
        self.bench, self.folder = bench, bench.place("disk")
        self.out = self.folder / "out"

    def refill(self):
        for path in self.out.iterdir():
            shutil.rmtree(path) if path.is_dir() else path.unlink()
        shutil.copytree(self.bench.template("disk") / "out", self.out, dirs_exist_ok=True)

    def check(self, what, number, arguments="disk", must_fail=False, **more):
        """One run that may fail, with one of the causes."""
        result = self.bench.run(self.folder, arguments, **more)
        self.bench.tell(what, self.bench.judge(
            "disk", self.folder, result, [os.strerror(number)] + driver.DATABASE_CAUSES,
            may_leave="-journal$", must_fail=must_fail), result)

    def check_unchanged(self, what, rows, number, **more):
        """Runs that must fail before they change anything."""
        kept = driver.snapshot(self.folder)
        for name, arguments in rows:
            self.check(name, number, arguments, True, **more)
        if driver.snapshot(self.folder) != kept:
            self.bench.tell(what, ["something was changed"])

    def next_works(self, what):
        self.bench.tell("after " + what, self.bench.run_again("disk", self.folder))


def limits(disk, step):
    rows = [("files of up to %d kB" % size, errno.EFBIG, resource.RLIMIT_FSIZE,
             (size * 1024, resource.RLIM_INFINITY))
            for size in [1, 4, 16, 32, 64, 96, 128, 192, 256, 384, 512][::step]]
    # To look at an object the sanitizers open a pipe, and take it for none when they cannot.
    if b"__ubsan_handle" not in pathlib.Path(disk.bench.tool).read_bytes():
        rows += [("%d open files" % count, errno.EMFILE, resource.RLIMIT_NOFILE, (count, count))
                 for count in range(8, 24, step)]
    for what, number, limit, values in rows:
        disk.refill()
        disk.check(what, number,
                   preexec_fn=lambda limit=limit, values=values: resource.setrlimit(limit, values))
        disk.next_works(what)
    disk.refill()
    (disk.out / "UILandscape.db").unlink()
    os.mkfifo(disk.out / "UILandscape.db")
    for what in ("disk", "collect"):
        result = disk.bench.run(disk.folder, what)  # which must not wait for the pipe
        if result.returncode != 2 or "is not a file" not in result.said:
            disk.bench.tell("a pipe in the database's place", ["is not told"], result)
    disk.refill()
    disk.check("/dev/full", errno.ENOSPC, [*driver.SCENARIOS["disk"].arguments, "--output-file",
                                           "json=/dev/full"], True)


def ordinary_user(disk):
    """A folder that the user may not write to. Root may write to everything, so it becomes nobody."""
    disk.refill()
    changed = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if os.getuid() == 0 else {}
    # Where nobody may go: to the program and its library, and into the folders above the output.
    program = disk.bench.base / "program"
    program.mkdir()
    library = [line.split()[2] for line in subprocess.run(
        ["ldd", disk.bench.tool], capture_output=True, text=True, check=True).stdout.splitlines()
        if "libnaxfewxmldb" in line]
    tool = disk.bench.tool
    for file in [tool, *library]:
        shutil.copy(file, program)
    disk.bench.base.chmod(0o755)
    (disk.folder / "tmp").chmod(0o777)
    disk.out.chmod(0o555)
    disk.bench.tool = str(program / pathlib.Path(tool).name)
    disk.check_unchanged("a folder with rights 0555", [
        ("a folder with rights 0555", "disk"),
        ("a folder to be made in one with rights 0555", ["-o", "out/below", "clean_landscape.xml"]),
    ], errno.EACCES, environment={"LD_LIBRARY_PATH": str(program)}, **changed)
    disk.bench.tool = tool
    disk.out.chmod(0o755)


def mount(*arguments):
    subprocess.run(["mount", *arguments], check=True)


def file_systems(disk, step):
    """Inside a name space of our own, whose mounts end with it."""
    place = str(disk.out)
    sizes = ["size=%dk" % size for size in (192, 256, 320, 384, 448, 512, 576, 640, 768, 1024,
                                            1536, 2048, 4096)]
    for option in sizes[::step] + ["nr_inodes=%d" % count for count in range(12, 44, 2 * step)]:
        mount("-t", "tmpfs", "-o", option, "none", place)
        try:
            disk.refill()
        except (OSError, shutil.Error):
            pass  # no room for an earlier run either
        else:
            disk.check("tmpfs, " + option, errno.ENOSPC)
            mount("-o", "remount,size=16m,nr_inodes=1000", place)
            disk.next_works("tmpfs, " + option)
        subprocess.run(["umount", place], check=True)
    disk.refill()
    mount("--bind", place, place)
    mount("-o", "remount,ro,bind", place)
    disk.check_unchanged("a read-only file system", [
        ("a read-only file system", "disk"),
        ("a new folder on a read-only file system", ["-o", "out/new", "clean_landscape.xml"]),
        ("collect on a read-only file system", "collect"),
    ], errno.EROFS)
    subprocess.run(["umount", place], check=True)


def add_options(parser):
    parser.add_argument("--all", action="store_true", help="every size and count, not every other one")
    parser.add_argument(INSIDE, action="store_true", help="in a name space of its own already")


def test(bench, options, _):
    disk, step = Disk(bench), 1 if options.all else 2
    if options.inside:
        file_systems(disk, step)
        return bench.finish("file systems") or 2 not in bench.codes
    limits(disk, step)
    ordinary_user(disk)
    code = bench.finish("limits") or 2 not in bench.codes
    own_mounts = ["unshare", "-m"] if os.getuid() == 0 else ["unshare", "-rm"]
    if subprocess.run([*own_mounts, "mount", "-t", "tmpfs", "none", "/mnt"], capture_output=True,
                      check=False).returncode != 0:
        print("NOT CHECKED: full and read-only file systems. Nothing can be mounted here, neither "
              "as root nor in a name space of the user's own.")
        return code
    return subprocess.run([*own_mounts, sys.executable, *sys.argv, INSIDE],
                          check=False).returncode or code


if __name__ == "__main__":
    sys.exit(driver.main(__doc__, add_options, test))
