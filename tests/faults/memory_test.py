#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Fails allocations, processes and threads of the real program, one run a fault. --sites fails the first
allocation of every distinct call stack, --every each N-th, --sample (what the build runs) the first
ones and N others chosen by the seed; each alone, and some with all that follow. Whatever fails: the
run ends with 2 and names the cause, or every output is that of a run without faults."""
import collections
import random
import resource
import subprocess
import sys

import driver

CAUSES = ["out of memory", "not enough memory", "cannot allocate memory", "resource temporarily"]
SCENARIOS = ["formats", "validate-collect", "entities", "rules", "collect", "registry", "open"]
# These start programs, and only processes are failed in them unless all call stacks are asked for.
STARTERS = ("registry", "open")


def measure(bench, scenario):
    """How often each kind happens in a run without fault, and the first allocation of each stack."""
    place, _, counts = bench.run_with_fault(scenario, "memory:0")
    sites = place.with_suffix(".sites")
    bench.run_with_fault(scenario, "memory:0", {"NAX_FAULT_SITES": str(sites)})
    return {kind: seen for kind, (seen, _) in counts.items()}, sorted(
        int(line.split()[0]) for line in sites.read_text().splitlines())


def plans(scenario, counts, sites, options, generator):
    if scenario in STARTERS and not options.sites:
        chosen = []
    elif options.sites:
        chosen = sites[options.skip:]
    elif options.every:
        chosen = range(1, counts["memory"] + 1, options.every)
    else:
        chosen = [1, 2, 3, 5, 9, *generator.sample(sites, min(options.sample, len(sites)))]
        if scenario == "collect":
            # Those of the archive, whose libraries do not all look at what they were given.
            chosen += sites[-64:]
    for at, number in enumerate(chosen):
        yield "memory:%d" % number
        if at % 8 == 0:
            yield "memory:%d+" % number
    for kind in ("process", "thread"):
        # How often a child's end is asked for depends on the time that it takes.
        numbers = range(1, counts.get(kind, 0) + 1)
        for number in [*numbers[:4], *generator.sample(numbers[4:], min(4, len(numbers[4:])))]:
            yield "%s:%d" % (kind, number)
        if numbers:
            yield kind + ":1+"


def check(bench, scenario, plan, environment=None, **more):
    """One run; what came of it."""
    try:
        place, result, counts = bench.run_with_fault(scenario, plan, environment, **more)
    except subprocess.TimeoutExpired:
        bench.tell(scenario + " " + plan, ["hangs"])
        return "hangs"
    # What the fault took may be the memory for clearing away.
    problems = bench.judge(scenario, place, result, CAUSES, may_leave="")
    if problems or len(bench.codes) % 41 == 0:
        problems += bench.run_again(scenario, place)
    bench.tell(scenario + " " + plan, problems, result)
    if problems:
        return "wrong"
    if result.returncode == 2:
        return "ended with 2 and the cause" if counts else "ended at once with 2 and the cause"
    return "as without a fault" if counts[plan.split(":")[0]][1] else "not reached"


def check_limits(bench, scenario, steps):
    """Runs in ever more address space, from the least in which the program starts at all."""
    def limited(size):
        return lambda: resource.setrlimit(resource.RLIMIT_AS, (size, size))
    place, least = bench.place(scenario), 16 << 20
    while bench.run(place, ["--version"], {"LD_PRELOAD": bench.shim},
                    preexec_fn=limited(least)).returncode != 0:
        least += 1 << 20
    return ["in little memory " + check(bench, scenario, "memory:0",
                                        preexec_fn=limited(least + (step * 3 << 20) // 2))
            for step in range(steps)]


def add_options(parser):
    parser.add_argument("--sites", action="store_true")
    parser.add_argument("--skip", type=int, default=0, help="so many sites")
    parser.add_argument("--every", type=int)
    parser.add_argument("--sample", type=int, default=5)
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(1_000_000))
    parser.add_argument("--only", choices=SCENARIOS, action="append")


def test(bench, options, for_each):
    generator = random.Random(options.seed)
    for scenario in options.only or SCENARIOS:
        counts, sites = measure(bench, scenario)
        outcomes = for_each(lambda plan, name=scenario: check(bench, name, plan),
                            plans(scenario, counts, sites, options, generator))
        if scenario == "validate-collect":
            outcomes += check_limits(bench, scenario, 40 if options.sites or options.every else 4)
        print("%s: %d allocations, %d call stacks; runs: %s" % (
            scenario, counts["memory"], len(sites), ", ".join(
                "%d %s" % (count, what)
                for what, count in sorted(collections.Counter(outcomes).items()))), flush=True)
    return bench.finish("seed %d" % options.seed)


if __name__ == "__main__":
    sys.exit(driver.main(__doc__, add_options, test, with_shim=True))
