#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Fails allocations, processes and threads of the real program, one run a fault.

usage: memory_test.py PROGRAM SHIM EXAMPLES [--sites | --every N | --sample N] [--seed N] [--only NAME]

--sites fails the first allocation of every distinct call stack, --every each N-th, --sample (what
the build runs) the first ones and N others chosen by the seed. Each is failed alone, and some with
all that follow. Whatever fails: the run ends with 2 and a message that names the cause, or every
output is that of a run without faults; a file of the report is that of the earlier run or of a
whole new one; the database passes integrity_check; the next run works.
"""

import argparse
import concurrent.futures
import hashlib
import json
import os
import pathlib
import random
import re
import resource
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import threading
import xml.etree.ElementTree

STAMP = re.compile(r"\d{2}-\d{2}-\d{4} \d{2}-\d{2}-\d{2}")
NOISE = re.compile(rb"\d{2}[-.]\d{2}[-.]\d{4} \d{2}[-:]\d{2}[-:]\d{2}|\d{4}-\d\d-\d\dT[\d:.]+Z?"
                   rb'|time="[\d.]+"|\d\d:\d\d:\d\d|\d+ bytes')
CAUSE = re.compile(r"out of memory|not enough memory|cannot allocate memory|resource temporarily",
                   re.IGNORECASE)

FORMATS = [f"--output-file={name}={name}.out" for name in ("json", "sarif", "junit", "github")]
SCENARIOS = {
    # name: (arguments, folder of an earlier run)
    "validate": (["-o", "report", "--json", "in/faulty_landscape.xml"], True),
    "formats": (["-o", "report", *FORMATS, "--write-baseline", "baseline.json", "--collect",
                 "in/clean_landscape.xml"], False),
    "entities": (["-o", "report", "in/entities.xml", "in/broken.xml"], False),
    "rules": (["rules", "check", "in/rules/site-rules.xml"], False),
    "collect": (["collect", "-o", "report"], True),
    # These start programs, and only processes are failed in them unless all call stacks are asked for.
    "registry": (["collect", "-o", "report"], True),
    "open": (["-o", "report", "--open", "in/clean_landscape.xml"], True),
}
STARTERS = ("registry", "open")
REGISTRY = """#!/bin/sh
printf '\\r\\n%s\\r\\n    %s    REG_SZ    value\\r\\n' "$2" "$4"
"""
WORKING = tuple(f"report/{name}" for name in ("Database/", "Landscape_files/", "Registry/",
                                                "Sys_files/", ".landscape-validator"))
ENTITIES = ('<!DOCTYPE Landscape [<!ENTITY name "&#65;&#66;">]><Landscape><Services>'
            '<Service uuid="&name;" type="none" name="&name;"/></Services></Landscape>')


class Bench:
    def __init__(self, program, shim, examples, folder):
        self.program, self.shim, self.folder = program, shim, folder
        self.local = threading.local()
        self.names = iter(range(1_000_000))
        self.template = folder / "template"
        shutil.copytree(examples, self.template / "in")
        (self.template / "in" / "entities.xml").write_text(ENTITIES)
        (self.template / "in" / "broken.xml").write_text("<Landscape><Workspaces>")
        (self.template / "home").mkdir()
        (self.template / "in" / "bin").mkdir()
        for name, text in ("reg", REGISTRY), ("xdg-open", "#!/bin/sh\n"):
            program = self.template / "in" / "bin" / name
            program.write_text(text)
            program.chmod(0o755)
        self.earlier = folder / "earlier"
        shutil.copytree(self.template, self.earlier)
        self.run(self.earlier, ["-o", "report", "--json", "in/clean_landscape.xml"], {})
        # A run within the same second would write over it.
        for summary in (self.earlier / "report").glob("Data_*"):
            summary.rename(summary.with_name("Data_00-00-0000 00-00-00_.xml"))

    def run(self, place, arguments, environment, limit=None):
        full = {"PATH": f"{place}/in/bin:{os.environ['PATH']}", "HOME": str(place / "home"), "TZ": "UTC",
                "LC_ALL": "C.UTF-8", "LD_BIND_NOW": "1"}
        if (place / "in" / "registry").exists():
            full["NAXFEWXMLDB_REG"] = "reg"
        if environment:
            full |= {"LD_PRELOAD": str(self.shim)} | environment
        return subprocess.run([self.program, *arguments], cwd=place, env=full, timeout=300,
                              stdin=subprocess.DEVNULL, capture_output=True, check=False,
                              preexec_fn=limit)

    def prepare(self, scenario):
        """A folder of this thread's, as it is before a run."""
        place = getattr(self.local, "place", None)
        if place is None:
            place = self.local.place = self.folder / f"bench{next(self.names)}"
        shutil.rmtree(place, ignore_errors=True)
        shutil.copytree(self.earlier if SCENARIOS[scenario][1] else self.template, place)
        if scenario == "registry":
            (place / "in" / "registry").touch()
        return place


def dump(path):
    """The database's content; raises when it is not whole. Rolls back what a run left undone."""
    connection = sqlite3.connect(path)
    try:
        outcome = connection.execute("PRAGMA integrity_check").fetchall()
        if outcome != [("ok",)]:
            raise sqlite3.DatabaseError(f"integrity_check: {outcome[:3]}")
        return "\n".join(connection.iterdump()).encode()
    finally:
        connection.close()


def outputs(place):
    """Every file that a run leaves, by its name without the time, as a digest."""
    found = {}
    for path in sorted(place.rglob("*")):
        name = STAMP.sub("TIME", str(path.relative_to(place)))
        if not path.is_file() or name.startswith("in/"):
            continue
        if path.suffix == ".zip":
            data = b"\n".join(sorted(subprocess.run(
                ["unzip", "-Z1", path], capture_output=True, check=True).stdout.split(b"\n")))
        elif path.name == "UILandscape.db" or path.suffix == ".bak":
            data = dump(path) if path.stat().st_size else b""
        else:
            data = path.read_bytes()
        if name in ("json.out", "sarif.out", "baseline.json"):
            json.loads(data)
        elif name in ("junit.out", "report/Data_TIME_.xml"):
            xml.etree.ElementTree.fromstring(data)
        data = NOISE.sub(b"TIME", data).replace(str(place).encode(), b"PLACE")
        found.setdefault(name, set()).add(hashlib.sha1(data).hexdigest())
    return found


class Scenario:
    def __init__(self, bench, name):
        self.bench, self.name = bench, name
        self.arguments = SCENARIOS[name][0]
        self.tally = {"2 with the cause": 0, "survived": 0, "not reached": 0}
        self.faults = []
        place = bench.prepare(name)
        self.before = outputs(place)
        counts, sites = place / "in" / "counts", place / "in" / "sites"
        result = bench.run(place, self.arguments, {"NAX_FAULT_COUNTS": str(counts)})
        self.good = self.told(place, result)
        self.after = outputs(place)
        self.counts = {line.split()[0]: int(line.split()[1])
                       for line in counts.read_text().splitlines()}
        place = bench.prepare(name)
        bench.run(place, self.arguments, {"NAX_FAULT_SITES": str(sites)})
        self.sites = sorted(int(line.split()[0]) for line in sites.read_text().splitlines())
        if result.returncode not in (0, 1, 2) or not self.sites or not self.counts["memory"]:
            sys.exit(f"{name}: no run without faults: {result.returncode} {result.stderr}")

    @staticmethod
    def told(place, result):
        text = NOISE.sub(b"TIME", result.stdout).replace(str(place).encode(), b"PLACE")
        return result.returncode, hashlib.sha1(text).hexdigest()

    def check(self, plan, environment, limit=None):
        place = self.bench.prepare(self.name)
        counts = place / "in" / "counts"
        result = self.bench.run(place, self.arguments,
                                environment | {"NAX_FAULT_COUNTS": str(counts)}, limit)
        told = self.told(place, result)
        cause = CAUSE.search(result.stderr.decode(errors="replace"))
        problem = ""
        kind = plan.split(":")[0]
        reached = limit or not counts.exists() or not counts.read_text() or any(
            line.startswith(kind + " ") and not line.endswith(" 0")
            for line in counts.read_text().splitlines())
        try:
            found = outputs(place)
        except (sqlite3.Error, subprocess.CalledProcessError, ValueError, SyntaxError) as error:
            found, problem = {}, f"a file is not whole: {error}"
        if problem:
            pass
        elif result.returncode not in (0, 1, 2):
            problem = f"ended with {result.returncode}"
        elif result.returncode == 2 and cause:
            self.tally["2 with the cause"] += 1
            problem = self.compare(found)
        elif told != self.good or found != self.after:
            names = sorted(name for name in found.keys() | self.after.keys()
                           if found.get(name) != self.after.get(name))
            problem = f"told {told[0]} without the cause; differs: {names}"
        else:
            self.tally["survived" if reached else "not reached"] += 1
        if not problem and hash(plan) % 41 == 0:
            following = self.bench.run(place, self.arguments, {})
            if self.told(place, following) != self.good:
                problem = f"the next run: {following.returncode} {following.stderr!r}"
        if problem:
            self.faults.append((plan, problem, result.stderr[-300:].decode(errors="replace")))
        return not problem

    def compare(self, found):
        """After a failed run each file is the earlier one or a whole new one."""
        for name, digests in found.items():
            allowed = self.before.get(name, set()) | self.after.get(name, set())
            if name.endswith((".db", ".bak", ".zip", "-journal", "Data_TIME_.xml", ".lock", ".part")):
                continue  # holds what was there when it was made; outputs has looked if it is whole
            if name.endswith(".out") or name.startswith(WORKING):
                continue  # documents tell what could not be done; work files go with the next run
            if not digests <= allowed:
                return f"{name} is neither the earlier one nor a whole new one"
        lost = sorted(name for name in self.before.keys() - found.keys()
                      if not name.endswith(("UILandscape.db", ".json")))
        return f"lost: {lost}" if lost else ""

    def check_limits(self, steps):
        """Runs in ever more address space, from the least in which the program starts at all."""
        def limited(size):
            return lambda: resource.setrlimit(resource.RLIMIT_AS, (size, size))
        place = self.bench.prepare(self.name)
        least = 16 << 20
        while self.bench.run(place, ["--version"], {"NAX_FAULT": "memory:0"},
                             limited(least)).returncode != 0:
            least += 1 << 20
        for step in range(steps):
            self.check(f"address-space:{step}", {}, limited(least + (step * 3 << 20) // 2))
        return steps

    def plans(self, options, generator):
        total = self.counts["memory"]
        if self.name in STARTERS and not options.sites:
            chosen = []
        elif options.sites:
            chosen = self.sites
        elif options.every:
            chosen = range(1, total + 1, options.every)
        else:
            chosen = [1, 2, 3, 5, 9, *generator.sample(self.sites, min(options.sample,
                                                                         len(self.sites)))]
        for at, number in enumerate(chosen):
            yield f"memory:{number}"
            if at % 8 == 0:
                yield f"memory:{number}+"
        for kind in ("process", "thread"):
            # How often a child's end is asked for depends on the time that it takes.
            numbers = range(1, self.counts.get(kind, 0) + 1)
            for number in [*numbers[:4], *generator.sample(numbers[4:], min(4, len(numbers[4:])))]:
                yield f"{kind}:{number}"
            if kind in self.counts:
                yield f"{kind}:1+"


def main():
    parser = argparse.ArgumentParser()
    for name in ("program", "shim", "examples"):
        parser.add_argument(name, type=pathlib.Path)
    parser.add_argument("--sites", action="store_true")
    parser.add_argument("--every", type=int)
    parser.add_argument("--sample", type=int, default=5)
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(1_000_000))
    parser.add_argument("--only", choices=SCENARIOS, action="append")
    parser.add_argument("--jobs", type=int, default=2)
    options = parser.parse_args()
    generator = random.Random(options.seed)
    bad = 0
    with tempfile.TemporaryDirectory(dir=os.environ.get("NAX_FAULT_FOLDER")) as folder:
        bench = Bench(options.program.resolve(), options.shim.resolve(),
                      options.examples.resolve(), pathlib.Path(folder).resolve())
        for name in options.only or SCENARIOS:
            scenario = Scenario(bench, name)
            with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
                runs = list(pool.map(lambda plan, s=scenario: s.check(plan, {"NAX_FAULT": plan}),
                                     scenario.plans(options, generator)))
            if name == "validate":
                runs += [True] * scenario.check_limits(40 if options.sites or options.every else 4)
            print(f"{name}: {scenario.counts['memory']} allocations, {len(scenario.sites)} call stacks, {len(runs)} runs: "
                  f"{scenario.tally}, {len(scenario.faults)} wrong", flush=True)
            for plan, problem, told in scenario.faults:
                print(f"  NAX_FAULT={plan}: {problem}; it said: {told!r}")
            bad += len(scenario.faults)
    if bad:
        sys.exit(f"{bad} faults were not survived; seed {options.seed}")
    print(f"seed {options.seed}: nothing wrong")


if __name__ == "__main__":
    main()
