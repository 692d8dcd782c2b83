# SPDX-License-Identifier: Apache-2.0
"""What the tests of faults share: the runs, what they are compared with, and whether what they leave
is whole. A run without fault tells what is expected; a template folder holds what is there before."""
import argparse
import collections
import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import threading
import time
import types
import xml.dom.minidom
import zipfile

DATES = re.compile(r"\d\d-\d\d-\d{4} \d\d-\d\d-\d\d")
# What differs between runs that say the same: times, folders, and the archive's size by its times.
STAMPS = re.compile(rb"\d{4}-\d\d-\d\d(T[\d:.]+Z?)?|\d\d-\d\d-\d{4} \d\d-\d\d-\d\d|\b\d\d:\d\d:\d\d\b"
                    rb"|/[^\s\"'<>]*/(?=out/)|\.zip \(\d+ bytes")
# What a run may leave when it is killed, and when removing it was made to fail.
LEFTOVER = re.compile(r"\.landscape-validator\.(lock|work/.*)$|-journal$|\.part(\.[^./]*)?$")
DATABASE_CAUSES = ["disk I/O error", "database or disk is full", "database is locked",
                   "unable to open database file", "malformed", "file is not a database"]
FORMATS = [text for name in ("json=out.json", "sarif=out.sarif", "junit=out.xml",
                             "github=out.github", "text=out.txt") for text in ("--output-file", name)]
SETTINGS = ["--config-dir", "settings"]
INPUT = {
    "rules.xml": """<ValidationRules><Rule id="1001" name="Own" type="Info" lang="SQL" msg="m" params=""
 solution="s" body="INSERT INTO ValidationResults (RuleId, ResultDescription, UUID, file_id)
 SELECT '@ruleid', '@message ' || name, uuid, file_id FROM Services LIMIT 1"/></ValidationRules>""",
    "actions.xml": """<Actions><JsonRequest id="2001" name="Own" msg="m" output="own.json"
 body="SELECT name FROM Services ORDER BY name"/></Actions>""",
    "settings/NAX/Common/options.xml": "<Options/>\n",
    "old.xml": "<Landscape updated='' version='1' generator='old'/>\n",
    "entities.xml": '<!DOCTYPE Landscape [<!ENTITY name "&#65;&#66;">]><Landscape><Services>'
                    '<Service uuid="&name;" type="none" name="&name;"/></Services></Landscape>',
    "broken.xml": "<Landscape><Workspaces>",
    "bin/reg": "#!/bin/sh\n"
               "printf '\\r\\n%s\\r\\n    %s    REG_SZ    value\\r\\n' \"$2\" \"$4\"\n",
    "bin/xdg-open": "#!/bin/sh\n",
}
Scenario = collections.namedtuple("Scenario", "arguments earlier environment", defaults=({},))
SCENARIOS = {  # earlier: whether the folder of an earlier run is there
    "load": Scenario(["-o", "out", "clean_landscape.xml", "faulty_landscape.xml"], False),
    "again": Scenario(["-o", "out", "clean_landscape.xml", "faulty_landscape.xml"], True),
    "formats": Scenario(["-o", "out", "--json", "--rules", "rules.xml", "--actions", "actions.xml",
                         *FORMATS, "--baseline", "known.json", "--prune-baseline",
                         "--write-baseline", "new.json", "faulty_landscape.xml"], True),
    "collect": Scenario(["collect", "-o", "out", *SETTINGS], True),
    "validate-collect": Scenario(["-o", "out", "--collect", "--json", *SETTINGS,
                                  "clean_landscape.xml"], True),
    "entities": Scenario(["-o", "out", "entities.xml", "broken.xml"], False),
    "rules": Scenario(["rules", "check", "rules.xml", "actions.xml", "rules/depth.xml",
                       "rules/hosts.xml"], False),
    "registry": Scenario(["collect", "-o", "out"], True, {"NAXFEWXMLDB_REG": "reg"}),
    "open": Scenario(["-o", "out", "--open", "clean_landscape.xml"], True),
    "disk": Scenario(["-o", "out", "--json", "--collect", *SETTINGS, "--output-file",
                      "sarif=out/out.sarif", "clean_landscape.xml", "faulty_landscape.xml"], True),
    "killed": Scenario(["-o", "out", "--keep-backups", "30", "--json", "--collect", *SETTINGS,
                        *FORMATS, "--write-baseline", "new.json", "clean_landscape.xml",
                        "faulty_landscape.xml"], True),
}


class Bench:
    """Folders to run in, and what is found wrong in them. Each thread has a folder of its own."""

    def __init__(self, tool, shim, examples, base):
        self.tool, self.shim, self.base = os.path.abspath(tool), shim, base
        self.local, self.lock, self.names = threading.local(), threading.Lock(), iter(range(1 << 30))
        self.known, self.codes, self.problems, self.start = {}, [], 0, time.time()
        fresh, earlier = base / "fresh", base / "earlier"
        shutil.copytree(examples, fresh)
        for name, text in INPUT.items():
            (fresh / name).parent.mkdir(parents=True, exist_ok=True)
            (fresh / name).write_text(text)
        for program in (fresh / "bin").iterdir():
            program.chmod(0o755)
        shutil.copytree(fresh, earlier)
        self.run(earlier, ["-o", "other", "--write-baseline", "known.json", "faulty_include.xml"])
        shutil.rmtree(earlier / "other")
        formats = SCENARIOS["formats"].arguments
        self.run(earlier, formats[:formats.index("--baseline")] + [
            "--write-baseline", "new.json", "--collect", *SETTINGS, "old.xml"])
        # A second summary of the same second would take its place.
        summary, = (earlier / "out").glob("Data_*")
        summary.rename(summary.with_name("Data_01-02-2023 04-05-06_.xml"))
        self.database = (earlier / "out/UILandscape.db").read_bytes()

    def template(self, name):
        return self.base / ("earlier" if SCENARIOS[name].earlier else "fresh")

    def place(self, name):
        """This thread's folder, as it is before a run."""
        place = getattr(self.local, "place", None)
        if place is None:
            with self.lock:
                place = self.local.place = self.base / ("bench%d" % next(self.names))
        shutil.rmtree(place, ignore_errors=True)
        shutil.copytree(self.template(name), place, symlinks=True)
        return place

    def run(self, place, what, environment=None, timeout=300, **more):
        """`what` is a scenario or arguments. Ends as the program ends; TimeoutExpired when it hangs."""
        arguments, special = (what, {}) if isinstance(what, list) else (
            SCENARIOS[what].arguments, SCENARIOS[what].environment)
        kept = {name: value for name, value in os.environ.items()
                if name.endswith("SAN_OPTIONS") or name == "LD_LIBRARY_PATH"}
        everything = {"PATH": "%s/bin:%s" % (place, os.environ["PATH"]), "HOME": str(place), "TZ": "UTC",
                      "TMPDIR": str(place / "tmp"), "LC_ALL": "C.UTF-8", "LD_BIND_NOW": "1",
                      **kept, **special, **(environment or {})}
        (place / "tmp").mkdir(exist_ok=True)
        result = subprocess.run([self.tool, *arguments], cwd=place, env=everything, timeout=timeout,
                                stdin=subprocess.DEVNULL, capture_output=True, check=False, **more)
        result.told = result.returncode, STAMPS.sub(
            b"", result.stdout).replace(str(place).encode(), b"")
        result.said = result.stderr.decode(errors="replace")
        return result

    def run_with_fault(self, name, fault, environment=None, **more):
        """Place, result and {kind: (seen, failed)}; None instead when the program was ended at once."""
        place = self.place(name)
        counts = place.with_suffix(".counts")
        counts.unlink(missing_ok=True)
        result = self.run(place, name, {"LD_PRELOAD": self.shim, "NAX_FAULT": fault,
                                        "NAX_FAULT_COUNTS": str(counts), **(environment or {})}, **more)
        lines = [line.split() for line in counts.read_text().splitlines()] if counts.exists() else []
        return place, result, {kind: (int(seen), int(failed)) for kind, seen, failed in lines} or None

    def expected(self, name):
        """A run without fault, and the snapshots before and after it."""
        with self.lock:
            if name not in self.known:
                place = self.base / ("clean-" + name)
                shutil.copytree(self.template(name), place, symlinks=True)
                before, result = snapshot(place), self.run(place, name)
                if result.returncode not in (0, 1):
                    sys.exit("%s fails without a fault:\n%s" % (name, result.said))
                self.known[name] = types.SimpleNamespace(
                    told=result.told, before=before, after=snapshot(place))
            return self.known[name]

    def tell(self, where, problems, result=None):
        """Keeps the run's exit code, and prints what is wrong with it."""
        if result:
            self.codes.append(result.returncode)
            if problems:
                problems[-1] += "\n    exit %d, err: %s" % (result.returncode, result.said[-600:])
        for problem in problems:
            print("FAILED: %s: %s" % (where, problem), flush=True)
        self.problems += len(problems)

    def finish(self, what):
        """Prints the sum; the exit code of the test."""
        print("%s: %d runs with a fault (%s), %d problems, %.0f s" % (what, len(self.codes), ", ".join(
            "%d ended with %d" % (count, code)
            for code, count in sorted(collections.Counter(self.codes).items())),
            self.problems, time.time() - self.start), flush=True)
        return 1 if self.problems or not self.codes else 0

    def judge(self, name, place, result, causes, may_leave="^$", finding=None, may_keep=False,
              must_fail=False):
        """What is wrong after a run with a fault: it ends with 2 and one of the causes, tells the
        `finding` (a text) and ends with its code, or is as without the fault (with old files too many
        when it may keep them)."""
        expected = self.expected(name)
        problems = ["left over: " + left for left in leftovers(place)
                    if not re.search(may_leave, left)]
        if result.returncode == 2:
            if not any(cause.lower() in result.said.lower() for cause in causes):
                problems.append("no cause in the message")
            return problems + self.check_folder(name, place)
        if must_fail or result.returncode not in (0, 1):
            return problems + ["ended with %d" % result.returncode]
        told = result.stdout.decode()
        if "text=out.txt" in SCENARIOS[name].arguments and (place / "out.txt").exists():
            told += (place / "out.txt").read_text()
        if finding and finding[0] in told and result.returncode == finding[1]:
            return problems + [
                file + ": not whole" for file, path in files_of(place).items()
                if file.startswith("out.") and not is_document(path)
                or file == "out/UILandscape.db" and not query_all(path)[0]]
        if result.told != expected.told:
            problems.append("another exit code or output than without the fault")
        now, after = snapshot(place), expected.after
        return problems + ["%s: not as without the fault" % file for file in sorted({*now, *after})
                           if now.get(file) != after.get(file) and not LEFTOVER.search(file)
                           and not (may_keep and now.get(file, set()) >= after.get(file, set()))]

    def check_folder(self, name, place, rolled_back=True, kept=False):
        """What is wrong after a run that failed or was killed: each file is the earlier or a whole new
        one. `kept`: the earlier database is looked for elsewhere."""
        before, after = self.expected(name).before, self.expected(name).after
        problems, files = [], files_of(place)
        kept = kept or not SCENARIOS[name].earlier
        for file, path in files.items():
            known = before.get(DATES.sub("DATE", file), set()) | after.get(
                DATES.sub("DATE", file), set())
            if LEFTOVER.search(file):
                continue
            if file.endswith("out/UILandscape.db") or file.endswith(".bak"):
                kept = kept or path.read_bytes() == self.database
                if (rolled_back or file.endswith(".bak")) and not query_all(path)[0]:
                    problems.append(file + ": integrity check")
            elif not known:
                problems.append(file + ": left over")
            elif content(path) not in known and not is_document(path):
                problems.append(file + ": neither the earlier file nor a whole new one")
        names = {DATES.sub("DATE", file) for file in files}
        problems += [file + ": lost" for file in before if file not in names and file in after
                     and not file.endswith("UILandscape.db")]
        return problems + ([] if kept else ["the earlier database is lost"])

    def run_again(self, name, place):
        """What is wrong with the next ordinary run, which works and clears up."""
        if SCENARIOS[name].arguments[0] == "collect" and not (place / "out/UILandscape.db").exists():
            return ["there is nothing to collect from any more"]
        expected, result, now = self.expected(name), self.run(place, name), snapshot(place)
        # With a baseline it tells what the runs before have told it.
        pruned = "--baseline" in SCENARIOS[name].arguments
        problems = ["after the next run, %s is another" % file for file, known in expected.after.items()
                    if not known <= now.get(file, set())
                    and not (pruned and file.startswith(("new.json", "known.json", "out.")))]
        if result.returncode != expected.told[0]:
            problems.append("the next run ends with %d: %s" % (result.returncode, result.said[-600:]))
        return problems + ["the next run leaves " + left for left in leftovers(place)]


def query_all(path):
    """Whether a database is whole, and every row of it. A journal is rolled back by it."""
    connection = sqlite3.connect(path)
    try:
        connection.text_factory = bytes
        check = connection.execute("PRAGMA integrity_check").fetchall()
        return check == [(b"ok",)], repr([
            (name, sql, connection.execute('SELECT * FROM "%s"' % name.decode()).fetchall())
            for name, sql in sorted(connection.execute(
                "SELECT name, sql FROM sqlite_master WHERE type = 'table'"))])
    except sqlite3.Error as error:
        return False, str(error)
    finally:
        connection.close()


def names_in(path):
    with zipfile.ZipFile(path) as archive:
        return [(entry.filename, entry.file_size) for entry in archive.infolist()]


def content(path):
    """What a file says, whenever it was written."""
    if path.name == "UILandscape.db":
        whole, rows = query_all(path)
        return rows if whole else "BROKEN"
    try:
        data = path.read_bytes()
        return repr(names_in(path)) if path.suffix == ".zip" else hashlib.sha256(
            data if path.suffix == ".bak" else STAMPS.sub(b"", data)).hexdigest()
    except zipfile.BadZipFile:
        return "BROKEN"


def files_of(folder):
    return {str(path.relative_to(folder)): path for path in sorted(folder.rglob("*"))
            if path.is_file() and path.parent != folder / "tmp"}


def snapshot(folder):
    """Name without date -> set of contents."""
    result = {}
    for name, path in files_of(folder).items():
        if not name.endswith("-journal"):  # gone as soon as the database is read
            result.setdefault(DATES.sub("DATE", name), set()).add(content(path))
    return result


def is_document(path):
    """Whether a document of a format or an archive is whole, also one that tells of a failure."""
    try:
        if path.suffix == ".zip":
            return bool(names_in(path))
        if not path.name.startswith("out.") and path.name not in ("new.json", "known.json"):
            return False
        text = path.read_text()
        if path.suffix == ".xml":
            xml.dom.minidom.parseString(text)
        elif path.suffix in (".json", ".sarif"):
            json.loads(text)
        return True
    except (ValueError, zipfile.BadZipFile, xml.parsers.expat.ExpatError):
        return False


def leftovers(folder):
    return sorted(name for name in files_of(folder) if LEFTOVER.search(name)) + sorted(
        path.name for path in (folder / "tmp").glob("landscape-validator-*"))


def main(description, add_options, test, with_shim=False):
    """Reads the options that all have and those of one test, which gets a bench, options, and a way
    to do something for each of many things side by side."""
    parser = argparse.ArgumentParser(description=description)
    for name in ("tool", "shim", "examples") if with_shim else ("tool", "examples"):
        parser.add_argument(name, type=os.path.abspath)
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    add_options(parser)
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(dir=os.environ.get("NAX_FAULT_FOLDER")) as base, \
            concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        bench = Bench(options.tool, getattr(options, "shim", None), options.examples,
                      pathlib.Path(base).resolve())
        sys.exit(test(bench, options, lambda work, things: list(pool.map(work, things))))
