# SPDX-License-Identifier: Apache-2.0
"""Runs of the program beside each other: whatever they share, the outcome is that of whole runs."""
import json
import os
import pathlib
import re
import sqlite3
import subprocess
import sys
import tempfile
import time

from web_server import Server

TOOL, EXAMPLES = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
MANY, FEW, ENTRIES = 16, 4, 200
IN_USE = "another run is writing into"
failures = []


def expect(name, got, wanted):
    if got != wanted:
        failures.append(name)
        print(f"FAILED: {name}: got {got!r}, wanted {wanted!r}")


def start(*arguments, **environment):
    return subprocess.Popen([TOOL, *map(str, arguments)], env={**os.environ, **environment}, text=True,
                            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)


def finish(runs):
    """Exit codes, and both streams of each."""
    outputs = [run.communicate(timeout=300) for run in runs]
    return [run.returncode for run in runs], outputs


def landscape(number):
    """Its nodes and its one finding bear the number."""
    nodes = "".join(f'<Node uuid="{number:08x}-0000-4000-8000-{node:012x}" name="run {number:02}"/>'
                    for node in range(ENTRIES))
    return (f'<Landscape updated="1"><Workspaces><Workspace uuid="{number:08x}-0000-4000-9000-'
            f'000000000000" name="run {number:02}">{nodes}</Workspace></Workspaces></Landscape>')


def write_landscapes():
    for number in range(MANY):
        pathlib.Path(f"run {number:02}.xml").write_text(landscape(number), encoding="utf-8")


def owners(file):
    """The runs that a finished database tells of; more than one, or a broken file, is a fault."""
    with sqlite3.connect(f"file:{file}?mode=ro", uri=True) as database:
        if database.execute("PRAGMA integrity_check").fetchall() != [("ok",)]:
            return ["broken"]
        rows = database.execute("SELECT name, count(*) FROM Nodes WHERE name LIKE 'run %' "
                                "GROUP BY name").fetchall()
        results = database.execute("SELECT count(*) FROM Files WHERE ResultId IS NULL").fetchone()[0]
    return [name if (count, results) == (ENTRIES, 0) else f"part of {name}" for name, count in rows]


def named(file):
    return set(re.findall(r"run \d\d", pathlib.Path(file).read_text(encoding="utf-8")))


def check_folder(name, folder, runs, started):
    """The folder holds what `runs` finished runs made, each whole, and the newest page and summary are alike."""
    folder = pathlib.Path(folder)
    databases = [folder / "UILandscape.db", *folder.glob("UILandscape.db_*.bak")]
    found = [owners(database) for database in databases]
    expect(f"{name}: databases", (len(found), [o for o in found if len(o) != 1 or o[0] not in started]),
           (runs, []))
    newest = max(folder.glob("Data_*.xml"), key=lambda file: file.stat().st_mtime_ns)
    expect(f"{name}: page", named(folder / "ValidationResults.htm"), set(found[0]))
    expect(f"{name}: summary", newest.read_text(encoding="utf-8").rstrip()[-13:], "</ReportData>")
    expect(f"{name}: left behind", [f.name for f in folder.iterdir()
                                    if f.name.startswith(".") or f.name.endswith("-journal")], [])


def separate_folders():
    """With one configuration folder, one trace folder and one file of findings between them."""
    os.makedirs("settings/naxfewxmldb")
    os.mkdir("traces")
    pathlib.Path("settings/naxfewxmldb/registry.ini").write_text(
        "[HKEY_CURRENT_USER\\Software\\NAX\\NAXLogon\\Options]\nNaxLogonTraceLevel = dword:00000001\n",
        encoding="utf-8")
    faulty = EXAMPLES + "/faulty_landscape.xml"
    shared = ["--output-file", "json=all.json", "--write-baseline", "all.baseline", "--collect"]
    runs = [start("-o", f"out {n:02}", "--config-dir", "settings", *shared, f"run {n:02}.xml", faulty,
                  NAXFEWXMLDB_TRACE_DIR="traces") for n in range(MANY)]
    codes, outputs = finish(runs)
    expect("separate folders", codes, [0] * MANY)  # what a run writes as known is known
    told = {re.sub(r"(run|out) \d\d|\d+ bytes", "", out + err) for out, err in outputs}
    expect("separate folders: all say the same", told if len(told) > 1 else 1, 1)
    for number in range(MANY):
        check_folder(f"separate {number}", f"out {number:02}", 1, [f"run {number:02}"])
    for file in ("all.json", "all.baseline"):
        json.loads(pathlib.Path(file).read_text(encoding="utf-8"))
    expect("shared file of findings", len(named("all.json")), 1)
    for trace in pathlib.Path("traces").iterdir():
        text = trace.read_text(encoding="utf-8")
        expect(f"{trace}: one banner", text.count("Trace File"), 1)
        expect(f"{trace}: runs", len(set(re.findall(r"out \d\d", text))) < 2, True)


def one_folder_while_one_runs():
    """The first run waits for its landscape in a pipe, so the others find its folder in use."""
    expect("before", finish([start("-o", "one", "run 00.xml")])[0], [0])
    earlier = sqlite3.connect("one/UILandscape.db")
    names = "SELECT DISTINCT name FROM Nodes"
    expect("the earlier database", earlier.execute(names).fetchall(), [("run 00",)])
    os.mkfifo("run 01.pipe")
    first = start("-o", "one", "run 01.pipe")
    while not os.path.exists("one/UILandscape.db-journal") and first.poll() is None:
        time.sleep(0.01)
    reader = sqlite3.connect("file:one/UILandscape.db?mode=ro", uri=True)
    table = [
        ("a second run", ["-o", "one", "run 02.xml"], 2, IN_USE),
        ("the same folder by another name", ["-o", "./settings/../one/", "run 02.xml"], 2, IN_USE),
        ("a run that collects", ["-o", "one", "--collect", "run 02.xml"], 2, IN_USE),
        ("collect", ["collect", "-o", "one"], 2, IN_USE),
        ("a run elsewhere", ["-o", "elsewhere", "run 02.xml"], 0, ""),
    ]
    # Who opened it before the run sees a journal beside it, which is not its own.
    expect("the same during the run", earlier.execute(names).fetchall(), [("run 00",)])
    codes, outputs = finish([start(*arguments) for _, arguments, _, _ in table])
    for (name, _, wanted, text), code, (out, err) in zip(table, codes, outputs):
        expect(f"beside a run: {name}", (code, text in out + err), (wanted, True))
    pathlib.Path("run 01.pipe").write_text(landscape(1), encoding="utf-8")
    expect("the first run", finish([first])[0], [0])
    reader.close()
    earlier.close()
    check_folder("beside a run", "one", 2, ["run 00", "run 01"])
    expect("collect afterwards", finish([start("collect", "-o", "one")])[0], [0])


def one_folder_again_and_again():
    """One after the other or together: nothing of a run that ended well is lost, also not to another of the same second."""
    done = set()
    finished = 0
    for numbers in ([0], [1], [2], [3], range(4, 8), range(8, 12), range(12, 16)):
        codes, outputs = finish([start("-o", "busy", "--keep-backups", 99, f"run {n:02}.xml")
                                 for n in numbers])
        for number, code, (_, err) in zip(numbers, codes, outputs):
            expect(f"busy {number}: {err}", code in (0, 2) and (IN_USE in err) == (code == 2), True)
            done |= {f"run {number:02}"} if code == 0 else set()
        expect("one of them got through", codes.count(0) > 0, True)
        finished += codes.count(0)
        check_folder(f"busy {numbers}", "busy", finished, done)


def reader_beside():
    """Who reads the earlier database goes on reading it whole while a run takes its place."""
    expect("before the reader", finish([start("-o", "read", "run 00.xml")])[0], [0])
    reader = sqlite3.connect("file:read/UILandscape.db?mode=ro", uri=True)
    rows = reader.execute("SELECT name FROM Nodes")
    expect("first row", rows.fetchone()[0], "run 00")
    expect("beside a reader", finish([start("-o", "read", "run 01.xml")])[0], [0])
    expect("the rest", {row[0] for row in rows.fetchall()}, {"run 00"})
    reader.close()
    check_folder("beside a reader", "read", 2, ["run 00", "run 01"])


def remote_cache():
    """Sixteen runs fill one cache; afterwards each file of it serves a run without the server."""
    server = Server()

    def answer(handler):
        time.sleep(0.05)
        handler.send_text(200, landscape(3), ETag='"1"')

    for number in range(FEW):
        server.answers[f"/{number}.xml"] = answer
    includes = "".join(f'<Include url="{server.url(f"/{number}.xml")}"/>' for number in range(FEW))
    pathlib.Path("central.xml").write_text(
        f'<Landscape updated="1"><Includes>{includes}</Includes></Landscape>', encoding="utf-8")
    options = ["--remote-includes", "--remote-cache", "cache", "central.xml", "--fail-on", "never"]
    quiet = {"no_proxy": "*"}
    codes, outputs = finish([start("-o", f"remote {n}", *options, **quiet) for n in range(MANY)])
    expect("shared cache", codes, [0] * MANY)
    told = {re.sub(r"remote \d+", "", out) for out, _ in outputs}
    expect("shared cache: all say the same", len(told), 1)
    expect("shared cache: files", sorted(p.suffix for p in pathlib.Path("cache").iterdir()),
           [".cached"] * FEW)
    server.stop()
    codes, outputs = finish([start("-o", "remote", *options, **quiet)])
    expect("from the cache", (codes, "Checked 5 files" in outputs[0][0]), ([0], True))


def main():
    with tempfile.TemporaryDirectory() as scratch:
        os.chdir(scratch)
        write_landscapes()
        for scenario in (separate_folders, one_folder_while_one_runs, one_folder_again_and_again,
                         reader_beside, remote_cache):
            begun = time.monotonic()
            scenario()
            print(f"{scenario.__name__}: {time.monotonic() - begun:.1f} s")
        os.chdir("/")
    print(f"{len(failures)} failed")
    return 1 if failures else 0


sys.exit(main())
