# SPDX-License-Identifier: Apache-2.0
"""What faults_test, kill_test and disk_test run, and how they tell whether an output folder is whole."""
import hashlib
import json
import os
import pathlib
import re
import shutil
import sqlite3
import subprocess
import xml.dom.minidom
import zipfile

DATES = re.compile(r"\d\d-\d\d-\d{4} \d\d-\d\d-\d\d")
STAMPS = re.compile(rb"\d{4}-\d\d-\d\d(T[\d:]+Z?)?|\b\d\d:\d\d:\d\d\b")
PLACES = re.compile(rb"/[^\s\"'<>]*/UILandscape\.db")
# What a run may leave when it is killed, and when removing it was made to fail.
LEFTOVER = re.compile(r"^\.landscape-validator\.(lock|work)|-journal$|\.part(\.[^.]*)?$")
RULES = """<ValidationRules><Rule id="1001" name="Own" type="Info" lang="SQL" msg="m" params=""
 solution="s" body="INSERT INTO ValidationResults (RuleId, ResultDescription, UUID, file_id)
 SELECT '@ruleid', '@message ' || name, uuid, file_id FROM Services LIMIT 1"/></ValidationRules>"""
ACTIONS = """<Actions><JsonRequest id="2001" name="Own" msg="m" output="own.json"
 body="SELECT name FROM Services ORDER BY name"/></Actions>"""
FORMATS = ["json=out.json", "sarif=out.sarif", "junit=out.xml", "github=out.github", "text=out.txt"]

SCENARIOS = {  # arguments, and whether an earlier run's folder is there
    "load": (["-o", "out", "clean_landscape.xml", "faulty_landscape.xml"], False),
    "again": (["-o", "out", "clean_landscape.xml", "faulty_landscape.xml"], True),
    "formats": (["-o", "out", "--json", "--rules", "rules.xml", "--actions", "actions.xml"]
                + [text for name in FORMATS for text in ("--output-file", name)]
                + ["--baseline", "known.json", "--prune-baseline", "--write-baseline", "new.json",
                   "faulty_landscape.xml"], True),
    "collect": (["collect", "-o", "out", "--config-dir", "settings"], True),
    "validate-collect": (["-o", "out", "--collect", "--json", "--config-dir", "settings",
                          "clean_landscape.xml"], True),
}


def prepare(tool, examples, folder):
    """The input, and in `folder`/out an earlier run over other input than the scenarios'."""
    for file in pathlib.Path(examples).glob("*.xml"):
        shutil.copy(file, folder)
    (folder / "rules.xml").write_text(RULES)
    (folder / "actions.xml").write_text(ACTIONS)
    (folder / "settings/NAX/Common").mkdir(parents=True)
    (folder / "settings/NAX/Common/options.xml").write_text("<Options/>\n")
    old = "<Landscape updated='' version='1' generator='old'/>\n"
    (folder / "old.xml").write_text(old)
    shutil.copytree(folder, folder.parent / "fresh")
    run(tool, ["-o", "other", "--write-baseline", "known.json", "faulty_include.xml"], folder)
    shutil.rmtree(folder / "other")
    formats = SCENARIOS["formats"][0]
    run(tool, formats[:formats.index("--baseline")] + [
        "--write-baseline", "new.json", "--collect", "--config-dir", "settings", "old.xml"], folder)
    # A second summary of the same second would take its place.
    summary, = (folder / "out").glob("Data_*")
    summary.rename(summary.with_name("Data_01-02-2023 04-05-06_.xml"))


def run(tool, arguments, folder, environment=None, timeout=60, **more):
    """Ends as the program ends; raises TimeoutExpired when it hangs."""
    everything = {"PATH": os.environ["PATH"], "HOME": str(folder), "TMPDIR": str(folder / "tmp"),
                  "LC_ALL": "C.UTF-8", **{name: value for name, value in os.environ.items()
                                          if name.endswith("SAN_OPTIONS") or name == "LD_LIBRARY_PATH"}, **(environment or {})}
    (folder / "tmp").mkdir(exist_ok=True)
    result = subprocess.run([tool, *arguments], cwd=folder, env=everything, capture_output=True,
                            timeout=timeout, check=False, **more)
    result.stdout = result.stdout.replace(str(folder).encode(), b"FOLDER")
    return result


def query_all(path):
    """Every row of a database, and what its check says. A journal is rolled back by it."""
    with sqlite3.connect(path) as connection:
        connection.text_factory = bytes
        check = connection.execute("PRAGMA integrity_check").fetchall()
        rows = []
        for name, sql in sorted(connection.execute(
                "SELECT name, sql FROM sqlite_master WHERE type = 'table'")):
            rows.append((name, sql, connection.execute(
                'SELECT * FROM "%s"' % name.decode()).fetchall()))
    connection.close()
    return check == [(b"ok",)], repr(rows)


def content(path):
    """What a file says, whenever it was written."""
    name = path.name
    if name == "UILandscape.db":
        whole, rows = query_all(path)
        return rows if whole else "BROKEN"
    if name.endswith(".zip"):
        with zipfile.ZipFile(path) as archive:
            return repr([(entry.filename, entry.file_size) for entry in archive.infolist()])
    data = path.read_bytes()
    return hashlib.sha256(data if name.endswith(".bak") else PLACES.sub(
        b"", STAMPS.sub(b"", data))).hexdigest()


def files_of(folder):
    return {str(path.relative_to(folder)): path for path in sorted(folder.rglob("*"))
            if path.is_file() and path.parent != folder / "tmp"}


def snapshot(folder):
    """Name without date -> set of contents."""
    result = {}
    for name, path in files_of(folder).items():
        if name.endswith("-journal"):
            continue  # gone as soon as the database is read
        result.setdefault(DATES.sub("DATE", name), set()).add(content(path))
    return result


def is_document(path):
    """Whether a document of a format or an archive is whole, also one that tells of a failure."""
    try:
        if path.suffix == ".zip":
            with zipfile.ZipFile(path) as archive:
                return bool(archive.namelist())
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


def check_folder(folder, earlier, after, database, rolled_back=True):
    """What is wrong with a folder in which a run has failed or was killed: `earlier` and `after` are
    the snapshots before it and after a run without fault, `database` the bytes of the earlier one."""
    problems = []
    kept = database is None
    files = files_of(folder)
    for name, path in files.items():
        plain = DATES.sub("DATE", name)
        if LEFTOVER.search(name.rpartition("/")[2]) or ".landscape-validator.work/" in name:
            continue
        known = earlier.get(plain, set()) | after.get(plain, set())
        if plain.endswith("out/UILandscape.db"):
            kept = kept or path.read_bytes() == database
            if rolled_back and content(path) == "BROKEN":
                problems.append(name + ": integrity check")
        elif name.endswith(".bak"):
            kept = kept or path.read_bytes() == database
            if not query_all(path)[0]:
                problems.append(name + ": integrity check")
        elif not known:
            problems.append(name + ": left over")
        elif content(path) not in known and not is_document(path):
            problems.append(name + ": neither the earlier file nor a whole new one")
    names = {DATES.sub("DATE", name) for name in files}
    for name in earlier:
        if name not in names and name in after and not name.endswith("UILandscape.db"):
            problems.append(name + ": lost")
    if not kept:
        problems.append("the earlier database is lost")
    return problems


def leftovers(folder):
    return sorted(name for name in files_of(folder) if LEFTOVER.search(name.rpartition("/")[2])
                  or ".landscape-validator.work/" in name) + sorted(
        str(path.name) for path in (folder / "tmp").glob("landscape-validator-*"))
