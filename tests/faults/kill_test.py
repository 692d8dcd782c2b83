#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Kills runs over an earlier finished run at random moments and looks at what they leave.
Usage: kill_test.py TOOL EXAMPLES [--count N] [--seed N]"""
import argparse
import os
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile
import time

import scenarios

ARGUMENTS = (["-o", "out", "--keep-backups", "30", "--json", "--collect", "--config-dir", "settings"]
             + [text for name in scenarios.FORMATS for text in ("--output-file", name)]
             + ["--write-baseline", "new.json", "clean_landscape.xml", "faulty_landscape.xml"])
ROW = 20  # killed runs without a finished one between them


class Killer:
    def __init__(self, options, base):
        self.tool = options.tool
        self.random = random.Random(options.seed)
        self.earlier = base / "earlier"
        self.earlier.mkdir()
        self.folder = base / "work"
        scenarios.prepare(options.tool, options.examples, self.earlier)
        self.before = scenarios.snapshot(self.earlier)
        self.database = (self.earlier / "out/UILandscape.db").read_bytes()
        self.killed = self.finished = 0
        self.length = 0
        for _ in range(3):
            self.restart()
            start = time.time()
            self.code = self.run_whole()
            self.length = max(self.length, time.time() - start)
        self.after = scenarios.snapshot(self.folder)
        if self.code == 2:
            sys.exit("the run fails without being killed")

    def restart(self):
        shutil.rmtree(self.folder, ignore_errors=True)
        shutil.copytree(self.earlier, self.folder)

    def run_whole(self):
        return scenarios.run(self.tool, ARGUMENTS, self.folder).returncode

    def run_killed(self):
        delay = self.random.uniform(0, self.length)
        try:
            scenarios.run(self.tool, ARGUMENTS, self.folder, timeout=delay)  # killed by SIGKILL
            self.finished += 1
        except subprocess.TimeoutExpired:
            self.killed += 1
        return delay

    def check_left(self, finished_before):
        # The killed run's database may need its journal, which only the next run rolls back.
        database = None if self.finished > finished_before else self.database
        return scenarios.check_folder(self.folder, self.before, self.after, database, False)

    def check_next(self):
        """The next run works, and the database from before the killed ones is still there."""
        code = self.run_whole()
        problems = [] if code == self.code else ["the next run ends with %d" % code]
        now = scenarios.snapshot(self.folder)
        problems += ["after the next run, %s is another" % name for name in self.after
                     if not self.after[name] <= now.get(name, set())]
        problems += ["the next run leaves " + name for name in scenarios.leftovers(self.folder)]
        backups = [path.read_bytes() for path in (self.folder / "out").glob("*.bak")]
        if self.database not in backups:
            problems.append("the earlier database is lost")
        if any(not data.startswith(b"SQLite format 3") or data[60:64] != bytes(4)
               for data in backups):
            problems.append("the database of a killed run is kept as a backup")
        return problems

    def one(self):
        self.restart()
        finished = self.finished
        delay = self.run_killed()
        problems = self.check_left(finished) + self.check_next()
        return ["killed after %.1f ms: %s" % (delay * 1000, problem) for problem in problems]

    def row(self):
        """Killed runs that end in nothing do not push out what a finished one has left."""
        self.restart()
        finished = self.finished
        most = 0
        for _ in range(ROW):
            self.run_killed()
            most = max(most, len(scenarios.leftovers(self.folder)))
        problems = self.check_left(finished) + self.check_next()
        return ["%d killed in a row: %s" % (ROW, problem) for problem in problems], most


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("tool")
    parser.add_argument("examples")
    parser.add_argument("--count", type=int, default=25)
    parser.add_argument("--seed", type=int, default=random.randrange(1 << 30))
    options = parser.parse_args()
    options.tool = os.path.abspath(options.tool)
    print("seed", options.seed)
    with tempfile.TemporaryDirectory() as base:
        killer = Killer(options, pathlib.Path(base))
        problems, most = killer.row()
        while killer.killed < options.count and len(problems) < 40:
            problems += killer.one()
    for problem in problems:
        print("FAILED:", problem)
    print("%d runs killed within %.0f ms, %d were faster; at most %d leftovers; %d problems" % (
        killer.killed, killer.length * 1000, killer.finished, most, len(problems)))
    return 1 if problems or killer.killed < options.count else 0


if __name__ == "__main__":
    sys.exit(main())
