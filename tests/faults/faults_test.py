#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Makes the n-th operation of each kind fail, alone or with all later ones, for n = 1, 2, ... until
a run passes untouched, and looks at what is left."""
import errno
import os
import subprocess
import sys

import driver

KINDS = {
    "open": ["EACCES", "EMFILE", "ENOSPC"],
    "read": ["EIO", "EMFILE"],
    "write": ["ENOSPC", "EIO"],
    "close": ["EDQUOT"],
    "sync": ["EIO"],
    "rename": ["EACCES", "EIO"],
    "remove": ["EACCES"],
    "folder": ["EIO", "EACCES", "ENOSPC"],
    "db-open": ["EACCES", "EMFILE"],
    "db-read": ["EIO", "0"],
    "db-write": ["ENOSPC", "EIO"],
    "db-sync": ["EIO"],
    "db-delete": ["EACCES"],
    "db-lock": ["EBUSY", "EIO"],
}
SCENARIOS = ["load", "again", "formats", "collect", "validate-collect"]
# What cannot be removed, or looked for to be removed, stays.
LEAVES_FILES = ("remove", "folder", "db-delete")
# A file is read more than once, and only the run as a whole tells where.
ALL_READS = ("again", "read")
# What was to be kept is lost: nobody gets over that.
MUST_FAIL = ("write", "close", "sync", "rename", "db-write", "db-sync")


def run_one(bench, options, scenario, kind, which, error):
    """Whether a fault was met, and how many problems there are."""
    where = "%s %s:%s %s" % (scenario, kind, which, error)
    number = 0 if error == "0" else getattr(errno, error)
    try:
        place, result, counts = bench.run_with_fault(
            scenario, kind + ":" + which, {"NAX_FAULT_ERRNO": str(number)})
    except subprocess.TimeoutExpired:
        bench.tell(where, ["hangs"])
        return True, 1
    if counts is None:
        problems, failed = ["the program was ended at once"], 1
    else:
        failed, on_database = counts.get(kind, (0, 0))[1], kind.startswith("db-")
        problems = bench.judge(
            scenario, place, result,
            ([os.strerror(number)] if number else []) + (
                driver.DATABASE_CAUSES if on_database else []),
            may_leave="" if kind in LEAVES_FILES else "-journal$" if on_database else "^$",
            # A landscape that cannot be read is a finding; settings that may not be read are told.
            finding={"read": (os.strerror(number), 1), "folder": ("Permission denied", 0)}.get(kind),
            may_keep=failed and kind in LEAVES_FILES, must_fail=failed and kind in MUST_FAIL)
    if problems or options.sweep or len(bench.codes) % 4 == 0:
        problems += bench.run_again(scenario, place)
    bench.tell(where, problems, result if failed else None)
    return failed, len(problems)


def series_of(options):
    for scenario in SCENARIOS:
        for kind, errors in KINDS.items():
            for mode in ("", "+"):
                for error in errors if options.full else errors[:1]:
                    if (mode, error) == ("+", "EBUSY"):
                        continue  # is waited for, five minutes long
                    # An earlier run makes it harder, and what fails for good is the simpler fault.
                    if not options.full and (scenario == "load" or mode and scenario != "formats"):
                        continue
                    if options.sweep or scenario in ("formats", "collect") or (
                            scenario == "validate-collect" and not kind.startswith("db-")) or (
                            (scenario, kind) == ALL_READS):
                        yield scenario, kind, mode, error


def add_options(parser):
    parser.add_argument("--full", action="store_true", help="every error number, load, too")
    parser.add_argument("--sweep", action="store_true",
                        help="all scenarios but load, n growing by half, each with a next run")
    parser.add_argument("--only", default="", help="parts of series' names, as 'load|open:'")
    parser.add_argument("--dense", type=int, default=3, help="every n up to this one")
    parser.add_argument("--stride", type=int, default=0, help="then every so many")
    parser.add_argument("--growth", type=float, help="or by so much of n; 4, or 0.5 in a sweep")


def test(bench, options, for_each):
    options.sweep = options.sweep or options.full
    growth = options.growth or (0.5 if options.sweep else 4)
    series = [one for one in series_of(options) if any(
        text in "%s %s:%s %s" % one for text in options.only.split("|"))]

    def run_series(one):
        scenario, kind, mode, error = one
        n, failed, found = 1, True, 0
        while failed and found <= 20:
            failed, problems = run_one(bench, options, scenario, kind, "%d%s" % (n, mode), error)
            found += problems
            n += 1 if n < options.dense or (scenario, kind) == ALL_READS else max(1, options.stride or int(n * growth))

    for_each(run_series, series)
    return bench.finish("%d series" % len(series))


if __name__ == "__main__":
    sys.exit(driver.main(__doc__, add_options, test, with_shim=True))
