#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Full, small and read-only file systems, quotas and limits of the system itself.
Usage: disk_test.py TOOL EXAMPLES [--all]"""
import errno
import os
import pathlib
import resource
import shutil
import subprocess
import sys
import tempfile

import scenarios

INSIDE = "--inside"
STEP = 1 if "--all" in sys.argv else 2  # every size and count, or every other one
NOBODY = 65534
ARGUMENTS = ["-o", "disk/out", "--json", "--collect", "--config-dir", "settings", "--output-file",
             "sarif=disk/out.sarif", "clean_landscape.xml", "faulty_landscape.xml"]
CAUSES = ["disk I/O error", "database or disk is full", "unable to open database file"]


class Disk:
    """Runs over an earlier run on `folder`/disk, and what is wrong afterwards."""

    def __init__(self, tool, examples, base):
        self.tool = tool
        self.base = base
        self.folder = base / "work"
        self.folder.mkdir()
        scenarios.prepare(tool, examples, self.folder)
        self.disk = self.folder / "disk"
        self.disk.mkdir()
        self.earlier_files = base / "earlier"
        shutil.move(self.folder / "out", self.earlier_files)
        self.problems, self.runs, self.failed = [], 0, 0
        for name in ("out", "disk/out"):
            shutil.copytree(self.earlier_files, self.folder / name)
        self.database = (self.folder / "out/UILandscape.db").read_bytes()
        self.before = scenarios.snapshot(self.folder)
        self.clean = self.run_tool()
        self.after = scenarios.snapshot(self.folder)
        self.empty()

    def empty(self):
        shutil.rmtree(self.disk / "out", ignore_errors=True)
        (self.disk / "out.sarif").unlink(missing_ok=True)

    def refill(self):
        self.empty()
        shutil.copytree(self.earlier_files, self.disk / "out")

    def run_tool(self, arguments=None, **more):
        return scenarios.run(self.tool, arguments or ARGUMENTS, self.folder, **more)

    def check(self, what, numbers, arguments=None, must_fail=False, **more):
        """One run that may fail, with one of the causes. Its outcome."""
        result = self.run_tool(arguments, **more)
        text = result.stderr.decode(errors="replace")
        self.runs += 1
        problems = []
        if result.returncode == 2:
            self.failed += 1
            causes = [os.strerror(number) for number in numbers] + CAUSES
            if not any(cause in text for cause in causes):
                problems.append("no cause in the message")
        elif result.returncode != self.clean.returncode or must_fail:
            problems.append("ends with %d" % result.returncode)
        problems += scenarios.check_folder(self.folder, self.before, self.after, self.database)
        problems += ["leaves " + name for name in scenarios.leftovers(self.folder)
                     if not name.endswith("-journal")]
        self.tell(what, problems, text)
        return result.returncode

    def tell(self, what, problems, text=""):
        self.problems += ["%s: %s" % (what, problem) for problem in problems]
        if problems:
            self.problems[-1] += "\n    " + text[:600]

    def next_works(self, what):
        result = self.run_tool()
        wrong = [name for name in scenarios.leftovers(self.folder)]
        if result.returncode != self.clean.returncode:
            wrong.append("the next run ends with %d" % result.returncode)
        self.tell(what, wrong, result.stderr.decode(errors="replace"))


def limits(disk):
    for size in [1, 4, 16, 32, 64, 96, 128, 192, 256, 384, 512][::STEP]:
        disk.refill()
        disk.check("files of up to %d kB" % size, [errno.EFBIG],
                   preexec_fn=lambda size=size: resource.setrlimit(
                       resource.RLIMIT_FSIZE, (size * 1024, resource.RLIM_INFINITY)))
        disk.next_works("after files of up to %d kB" % size)
    # To look at an object the sanitizers open a pipe, and take it for none when they cannot.
    sanitized = b"__ubsan_handle" in pathlib.Path(disk.tool).read_bytes()
    for count in range(7, 24, STEP) if not sanitized else ():
        disk.refill()
        disk.check("%d open files" % count, [errno.EMFILE],
                   preexec_fn=lambda count=count: resource.setrlimit(
                       resource.RLIMIT_NOFILE, (count, count)))
        disk.next_works("after %d open files" % count)
    disk.refill()
    (disk.disk / "out/UILandscape.db").unlink()
    os.mkfifo(disk.disk / "out/UILandscape.db")
    for arguments in (None, ["collect", "-o", "disk/out"]):
        result = disk.run_tool(arguments)  # which must not wait for the pipe
        disk.tell("a pipe in the database's place", [] if result.returncode == 2 and
                  b"is not a file" in result.stderr else ["ends with %d" % result.returncode])
    disk.refill()
    disk.check("/dev/full", [errno.ENOSPC], ["--output-file", "json=/dev/full", *ARGUMENTS], True)


def ordinary_user(disk):
    """A folder that the user may not write to. Root may write to everything, so it becomes nobody."""
    disk.refill()
    kept = scenarios.snapshot(disk.folder)
    changed = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if os.getuid() == 0 else {}
    # Where nobody may go: to the program and its library, and into the folders above the output.
    program = disk.base / "program"
    program.mkdir()
    library = [line.split()[2] for line in subprocess.run(
        ["ldd", disk.tool], capture_output=True, text=True, check=True).stdout.splitlines()
        if "libnaxfewxmldb" in line]
    for file in [disk.tool, *library]:
        shutil.copy(file, program)
    environment = {"LD_LIBRARY_PATH": str(program)}
    for folder in (disk.base, disk.folder, disk.disk):
        folder.chmod(0o755)
    (disk.folder / "tmp").chmod(0o777)
    (disk.disk / "out").chmod(0o555)
    tool, disk.tool = disk.tool, str(program / pathlib.Path(disk.tool).name)
    try:
        disk.check("a folder with rights 0555", [errno.EACCES],
                   must_fail=True, environment=environment, **changed)
        disk.check("a folder to be made in one with rights 0755 of others", [errno.EACCES],
                   ["-o", "disk/out/below", "clean_landscape.xml"], True,
                   environment=environment, **changed)
    finally:
        disk.tool = tool
        (disk.disk / "out").chmod(0o755)
    if scenarios.snapshot(disk.folder) != kept:
        disk.tell("a folder with rights 0555", ["something was changed"])


def mount(*arguments):
    subprocess.run(["mount", *arguments], check=True)


def file_systems(disk):
    """Inside a name space of our own, whose mounts end with it."""
    place = str(disk.disk)
    sizes = ["size=%dk" % size for size in (192, 256, 320, 384, 448, 512, 576, 640, 768, 1024,
                                            1536, 2048, 4096)]
    for option in sizes[::STEP] + ["nr_inodes=%d" % count for count in range(12, 44, 2 * STEP)]:
        mount("-t", "tmpfs", "-o", option, "none", place)
        try:
            disk.refill()
        except (OSError, shutil.Error):
            pass  # no room for an earlier run either
        else:
            disk.check("tmpfs, " + option, [errno.ENOSPC])
            mount("-o", "remount,size=16m,nr_inodes=1000", place)
            disk.next_works("after tmpfs, " + option)
        subprocess.run(["umount", place], check=True)
    disk.refill()
    kept = scenarios.snapshot(disk.folder)
    mount("--bind", place, place)
    mount("-o", "remount,ro,bind", place)
    disk.check("a read-only file system", [errno.EROFS], must_fail=True)
    disk.check("a new folder on a read-only file system", [errno.EROFS],
               ["-o", "disk/new", "clean_landscape.xml"], True)
    disk.check("collect on a read-only file system", [errno.EROFS], ["collect", "-o", "disk/out"],
               True)
    if scenarios.snapshot(disk.folder) != kept:
        disk.tell("a read-only file system", ["something was changed"])
    subprocess.run(["umount", place], check=True)


def main():
    tool, examples = map(os.path.abspath, sys.argv[1:3])
    inside = INSIDE in sys.argv
    with tempfile.TemporaryDirectory() as base:
        disk = Disk(tool, examples, pathlib.Path(base))
        if inside:
            file_systems(disk)
        else:
            limits(disk)
            ordinary_user(disk)
    for problem in disk.problems:
        print("FAILED:", problem)
    print("%s: %d runs, %d of them failed as they must; %d problems" % (
        "file systems" if inside else "limits", disk.runs, disk.failed, len(disk.problems)))
    code = 1 if disk.problems or disk.failed == 0 else 0
    if inside:
        return code
    own_mounts = ["unshare", "-m"] if os.getuid() == 0 else ["unshare", "-rm"]
    if subprocess.run([*own_mounts, "mount", "-t", "tmpfs", "none", "/mnt"], capture_output=True,
                      check=False).returncode != 0:
        print("NOT CHECKED: full and read-only file systems. Nothing can be mounted here, neither "
              "as root nor in a name space of the user's own.")
        return code
    sys.stdout.flush()
    return subprocess.run([*own_mounts, sys.executable, *sys.argv, INSIDE],
                          check=False).returncode or code


if __name__ == "__main__":
    sys.exit(main())
