#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Kills runs over an earlier finished run at random moments and looks at what they leave."""
import random
import subprocess
import sys
import time

import driver

ROW = 20  # killed runs without a finished one between them


class Killer:
    def __init__(self, bench, options):
        self.bench, self.random = bench, random.Random(options.seed)
        self.killed = self.finished = self.length = self.most = 0
        for _ in range(3):
            place = bench.place("killed")
            start = time.time()
            bench.run(place, "killed")
            self.length = max(self.length, time.time() - start)

    def kill(self, count):
        """So many killed runs in the same folder, then one that works, with the database from before
        the killed ones still there."""
        place, finished = self.bench.place("killed"), self.finished
        for _ in range(count):
            delay = self.random.uniform(0, self.length)
            try:
                self.bench.run(place, "killed", timeout=delay)  # ended by SIGKILL
                self.finished += 1
            except subprocess.TimeoutExpired:
                self.killed += 1
            self.most = max(self.most, len(driver.leftovers(place)))
        # The killed run's database may need its journal, which only the next run rolls back.
        problems = self.bench.check_folder("killed", place, False, self.finished > finished)
        problems += self.bench.run_again("killed", place)
        backups = [path.read_bytes() for path in (place / "out").glob("*.bak")]
        if self.bench.database not in backups:
            problems.append("the earlier database is lost")
        if any(not data.startswith(b"SQLite format 3") or data[60:64] != bytes(4)
               for data in backups):
            problems.append("the database of a killed run is kept as a backup")
        self.bench.tell("%d killed, the last after %.1f ms" % (count, delay * 1000), problems)


def add_options(parser):
    parser.add_argument("--count", type=int, default=25)
    parser.add_argument("--seed", type=int, default=random.randrange(1 << 30))


def test(bench, options, _):
    print("seed", options.seed)
    killer = Killer(bench, options)
    killer.kill(ROW)
    while killer.killed < options.count and bench.problems < 40:
        killer.kill(1)
    print("%d runs killed within %.0f ms, %d were faster; at most %d leftovers; %d problems" % (
        killer.killed, killer.length * 1000, killer.finished, killer.most, bench.problems))
    return 1 if bench.problems or killer.killed < options.count else 0


if __name__ == "__main__":
    sys.exit(driver.main(__doc__, add_options, test))
