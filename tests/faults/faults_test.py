#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Makes the n-th operation of each kind fail, alone or with all later ones, for n = 1, 2, ... until
a run passes untouched, and looks at what is left. Usage: faults_test.py TOOL SHIM EXAMPLES [--sweep]
[--full] [--only TEXT] [--jobs N]"""
import argparse
import concurrent.futures
import errno
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

import scenarios

KINDS = {
    "open": ["EACCES", "EMFILE", "ENOSPC"],
    "read": ["EIO", "EMFILE"],
    "write": ["ENOSPC", "EIO"],
    "close": ["EDQUOT"],
    "sync": ["EIO"],
    "rename": ["EACCES", "EIO"],
    "remove": ["EACCES"],
    "folder": ["EACCES", "ENOSPC"],
    "db-open": ["EACCES", "EMFILE"],
    "db-read": ["EIO", "0"],
    "db-write": ["ENOSPC", "EIO"],
    "db-sync": ["EIO"],
    "db-delete": ["EACCES"],
    "db-lock": ["EBUSY", "EIO"],
}
# SQLite's own words, and those of the archive's writer.
DATABASE_CAUSES = ["disk I/O error", "database or disk is full", "database is locked",
                   "unable to open database file", "malformed", "file is not a database"]
# What cannot be removed, or looked for to be removed, stays.
LEAVES_FILES = ("remove", "folder", "db-delete")


class Sweep:
    def __init__(self, options, base):
        self.options = options
        self.base = base
        self.turns = 0
        template = base / "earlier"
        template.mkdir()
        scenarios.prepare(options.tool, options.examples, template)
        self.expected = {name: self.clean_run(name) for name in scenarios.SCENARIOS}

    def template(self, scenario):
        return self.base / ("earlier" if scenarios.SCENARIOS[scenario][1] else "fresh")

    def clean_run(self, scenario):
        folder = self.base / ("clean-" + scenario)
        shutil.copytree(self.template(scenario), folder, symlinks=True)
        earlier = scenarios.snapshot(folder)
        result = scenarios.run(self.options.tool, scenarios.SCENARIOS[scenario][0], folder)
        if result.returncode == 2:
            sys.exit("%s fails without a fault:\n%s" % (scenario, result.stderr.decode()))
        database = folder.parent / "earlier/out/UILandscape.db"
        return {"result": result, "earlier": earlier, "after": scenarios.snapshot(folder),
                "database": database.read_bytes() if scenarios.SCENARIOS[scenario][1] else None}

    def run_series(self, scenario, kind, mode, error):
        """All n of one kind; (runs, faults, problems)."""
        runs, problems, n, outcomes = 0, [], 1, {0: 0, 1: 0, 2: 0}
        while True:
            where = "%s %s:%d%s %s" % (scenario, kind, n, mode, error)
            folder = pathlib.Path(tempfile.mkdtemp(dir=self.base))
            shutil.copytree(self.template(scenario), folder, dirs_exist_ok=True, symlinks=True)
            failed, code, found = self.run_one(folder, scenario, kind, "%d%s" % (n, mode), error)
            for problem in found:
                print("FAILED: %s: %s" % (where, problem), flush=True)
            problems += found
            runs += 1
            outcomes[code] = outcomes.get(code, 0) + 1
            shutil.rmtree(folder, ignore_errors=True)
            if failed == 0 or len(problems) > 20:
                return runs, outcomes, problems
            n += 1 if n < self.options.dense else max(
                1, self.options.stride or int(n * self.options.growth))

    def run_one(self, folder, scenario, kind, which, error):
        expected = self.expected[scenario]
        counts = folder.with_suffix(".counts")
        number = 0 if error == "0" else getattr(errno, error)
        arguments = scenarios.SCENARIOS[scenario][0]
        try:
            result = scenarios.run(self.options.tool, arguments, folder, {
                "LD_PRELOAD": self.options.shim, "NAX_FAULT": kind + ":" + which,
                "NAX_FAULT_ERRNO": str(number), "NAX_FAULT_COUNTS": str(counts)})
        except subprocess.TimeoutExpired:
            return 1, -1, ["hangs"]
        if not counts.exists():
            return 1, result.returncode, ["ended by %d:\n%s" % (
                result.returncode, result.stderr.decode(errors="replace")[-2000:])]
        lines = [line.split() for line in counts.read_text().splitlines()]
        counts.unlink()
        failed = sum(int(line[2]) for line in lines if line[0] == kind)
        problems = self.judge(folder, expected, result, kind, number, failed)
        if problems or self.options.sweep or self.takes_turn():
            problems += self.run_again(folder, scenario, kind)
        if problems:
            problems[-1] += "\n    exit %d, err: %s" % (
                result.returncode, result.stderr.decode(errors="replace")[:600])
        return failed, result.returncode, problems

    def takes_turn(self):
        self.turns += 1
        return self.turns % 4 == 0

    def judge(self, folder, expected, result, kind, number, failed):
        earlier, after = expected["earlier"], expected["after"]
        left = [] if kind in LEAVES_FILES else scenarios.leftovers(folder)
        if kind.startswith("db-"):
            left = [name for name in left if not name.endswith("-journal")]
        problems = ["left over: " + name for name in left]
        if result.returncode not in (0, 1, 2):
            return problems + ["ended by %d" % result.returncode]
        if result.returncode == 2:
            text = result.stderr.decode(errors="replace")
            causes = DATABASE_CAUSES if kind.startswith("db-") else []
            if os.strerror(number) not in text and not any(cause in text for cause in causes):
                problems.append("no cause in the message")
            return problems + scenarios.check_folder(folder, earlier, after, expected["database"])
        if kind in ("read", "folder") and os.strerror(number) in result.stdout.decode():
            # A landscape that cannot be read is a finding, and settings that cannot are told.
            return problems
        clean = expected["result"]
        if result.returncode != clean.returncode or result.stdout != clean.stdout:
            problems.append("another exit code or output than without the fault")
        now = scenarios.snapshot(folder)
        for name in sorted(set(now) | set(after)):
            if now.get(name) != after.get(name) and not scenarios.LEFTOVER.search(name) \
                    and ".work/" not in name and not (failed and self.is_kept(name, kind, now, after)):
                problems.append(name + ": not as without the fault")
        return problems

    @staticmethod
    def is_kept(name, kind, now, after):
        """An old file too many, when it could not be removed."""
        return kind in LEAVES_FILES and now.get(name, set()) >= after.get(name, set())

    def run_again(self, folder, scenario, kind):
        """The next ordinary run works and clears up."""
        expected = self.expected[scenario]
        if scenario == "collect" and not (folder / "out/UILandscape.db").exists():
            return ["there is nothing to collect from any more"]
        result = scenarios.run(self.options.tool, scenarios.SCENARIOS[scenario][0], folder)
        problems = []
        if result.returncode != expected["result"].returncode:
            problems.append("the next run ends with %d: %s" % (
                result.returncode, result.stderr.decode(errors="replace")[:600]))
        now = scenarios.snapshot(folder)
        for name in expected["after"]:
            # Its baseline tells what the runs before have told it.
            same = expected["after"][name] <= now.get(name, set()) or name in (
                "new.json", "known.json") or name.startswith("out.")
            if not same:
                problems.append("after the next run, %s is another" % name)
        return problems + ["the next run leaves " + name for name in scenarios.leftovers(folder)]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("tool")
    parser.add_argument("shim")
    parser.add_argument("examples")
    parser.add_argument("--full", action="store_true", help="every error number, load, too")
    parser.add_argument("--sweep", action="store_true",
                        help="all scenarios but load, n growing by half, each with a next run")
    parser.add_argument("--only", default="", help="parts of series' names, as 'load|open:'")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--dense", type=int, default=3, help="every n up to this one")
    parser.add_argument("--stride", type=int, default=0, help="then every so many")
    parser.add_argument("--growth", type=float, help="or by so much of n; 4, or 0.5 in a sweep")
    options = parser.parse_args()
    options.tool, options.shim = map(os.path.abspath, (options.tool, options.shim))
    options.sweep = options.sweep or options.full
    options.growth = options.growth or (0.5 if options.sweep else 4)
    options.only = options.only.split("|")
    start = time.time()
    with tempfile.TemporaryDirectory() as base:
        sweep = Sweep(options, pathlib.Path(base))
        series = [(scenario, kind, mode, error) for scenario in scenarios.SCENARIOS
                  for kind, errors in KINDS.items() for mode in ("", "+")
                  for error in (errors if options.full else errors[:1])
                  if (mode, error) != ("+", "EBUSY")  # is waited for, five minutes long
                  # An earlier run makes it harder, and what fails for good is the simpler fault.
                  if options.full or (scenario != "load" and (mode == "" or scenario == "formats"))
                  if options.sweep or scenario in ("formats", "collect") or
                  (scenario == "validate-collect" and not kind.startswith("db-"))]
        series = [one for one in series if any(
            text in "%s %s:%s %s" % one for text in options.only)]
        total, outcomes, problems = 0, {}, []
        with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
            for runs, codes, found in pool.map(lambda one: sweep.run_series(*one), series):
                total += runs
                problems += found
                for code, count in codes.items():
                    outcomes[code] = outcomes.get(code, 0) + count
    print("%d series, %d runs with a fault (%s), %d problems, %.0f s" % (
        len(series), total - len(series), ", ".join(
            "%d ended with %d" % (count, code) for code, count in sorted(outcomes.items())),
        len(problems), time.time() - start))
    return 1 if problems or total == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
