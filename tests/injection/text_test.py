#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""text_test.py TOOL: every text of landscape files crossed with every output of the real program."""
import collections
import contextlib
import html.parser
import json
import os
import pathlib
import pty
import re
import sqlite3
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ET
import zipfile

from fields import NAME_PAYLOADS, PAYLOADS, Schema, include_file, landscape, marker, odd_files, rules_file

TOOL = str(pathlib.Path(sys.argv[1]).resolve())
EXAMPLES = [str(path) for path in sorted((pathlib.Path(__file__).resolve().parents[2] / "examples").glob("*.xml"))]
FORMATS = ["text", "json", "sarif", "junit", "github"]
# What moves a terminal's cursor, changes its state, ends a line or turns the order of letters.
CONTROL = re.compile("[\0-\x08\x0b-\x1f\x7f-\x9f\xad\u061c\u180e\u200b\u200e\u200f\u2028-\u202e\u2060-\u206f\ufeff\ufff9-\ufffb\U000e0000-\U000e007f]")
MARK = re.compile(r"Q(\d\d)F(\d\d\d)Q")
# What build servers take for a command to themselves.
COMMAND = re.compile(r"^\s*::|##|\n\s*::")
COLUMNS = {"index": "indx", "transaction": "trans"}
TABLES = {"Landscape": "Landscape", "Memo": "Memos", "Configuration": "Configuration"}
# Not stored: a table of its own for neither; a file's index is the program's, and its URL has
# been resolved.
NOT_STORED = {("Include", "index"), ("Include", "url"), ("Workspaces", "default"), ("Routers", "default")}
# Places of odd_files that findings quote.
ODD_QUOTED = {"901", "905", "907", "908", "909"}
RULES = ["--rules", "../rules.xml"]
# Calls by which a program reaches beyond itself.
CALLS = ("execve,execveat,open,openat,creat,mkdir,mkdirat,rename,renameat,renameat2,link,linkat,symlink,symlinkat,"
         "unlink,unlinkat,rmdir,chmod,fchmodat,connect")


class Page(html.parser.HTMLParser):
    """Counts the elements with their attributes, those of the summary's rows by name only."""

    def __init__(self, text):
        super().__init__()
        self.elements, self.script = collections.Counter(), ""
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        if tag not in ("tr", "td"):
            self.elements[tag, tuple(attrs)] += 1
        elif attrs:
            self.elements["attributes of " + tag] += 1

    def handle_data(self, data):
        self.script += data if self.lasttag == "script" else ""

    def literals(self):
        """The JSON texts of the page as they stand there."""
        return re.findall(r'^  (?:EllipseResult|FilterAll\w+|RulesDependingOnFile): ("(?:[^"\\\n]|\\.)*"),?$', self.script, re.M)


def shape(value):
    """The keys of a document, values aside."""
    if isinstance(value, dict):
        return {(key,) + path for key, inner in value.items() for path in shape(inner) or {()}}
    return set().union(*map(shape, value)) if isinstance(value, list) else set()


def query(folder, sql):
    with contextlib.closing(sqlite3.connect(folder / "UILandscape.db")) as database:
        return database.execute(sql).fetchall()


class Text(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.scratch.cleanup)
        cls.base = pathlib.Path(cls.scratch.name).resolve()
        for name in ("in", "trace", "trap"):
            (cls.base / name).mkdir()
        cls.schema_text = subprocess.run([TOOL, "schema", "print"], capture_output=True, check=True, text=True).stdout
        cls.schema = Schema(cls.schema_text)
        cls.write_files()
        (cls.base / "rules.xml").write_text(rules_file(), encoding="utf-8")
        cls.report("clean", EXAMPLES)
        cls.code, cls.err = cls.report("out", cls.names, traced=True)
        cls.json = json.loads((cls.base / "out.json").read_bytes())

    @classmethod
    def write_files(cls):
        """All inputs, and what a parser of somebody else reads from them."""
        cls.names, cls.read = [], []
        plain = '<Landscape updated="2026-01-01"><Services><Service uuid="{}"/></Services></Landscape>'
        for number, text in enumerate(PAYLOADS.values()):
            name = re.sub("[/\0]", "\u2215", text).encode()[:200].decode(errors="ignore") + f"{number}.xml"
            cls.write(name, landscape(cls.schema, number, text))
            cls.write(f"include-{number}.xml", include_file(number, text))
            for what, content in odd_files(number, text).items():
                cls.write(f"odd-{number}-{what}.xml", content)
        for number, text in enumerate(NAME_PAYLOADS.values(), len(PAYLOADS)):
            cls.write(text.replace("/", "") + f"{number}.xml", plain.format(marker(number, 999)))

    @classmethod
    def write(cls, name, text):
        (cls.base / "in" / name).write_text(text, encoding="utf-8", newline="", errors="surrogatepass")
        cls.names.append(name)
        with contextlib.suppress(ET.ParseError):
            cls.read.append((name, ET.fromstring(text)))

    @classmethod
    def run_tool(cls, *arguments, prefix=(), **variables):
        environment = dict(os.environ, **variables)
        return subprocess.run([*prefix, TOOL, *arguments], cwd=cls.base / "in", env=environment, check=False,
                              capture_output=True, stdin=subprocess.DEVNULL)

    @classmethod
    def report(cls, folder, names, traced=False):
        outputs = [f"--output-file={name}=../{folder}.{name}" for name in FORMATS]
        prefix = ["strace", "-f", "-y", "-qq", "-s", "9999", "-e", f"trace={CALLS}", "-o", str(cls.base / "calls")]
        options = os.environ.get("ASAN_OPTIONS", "")
        done = cls.run_tool("validate", "--no-config", "-o", f"../{folder}", "--all", "--json", "--collect", *outputs, *RULES,
                            f"--write-baseline=../{folder}.baseline", "--", *names, prefix=prefix if traced else (),
                            NAXFEWXMLDB_TRACE_LEVEL="4" if traced else "0", NAXFEWXMLDB_TRACE_DIR=str(cls.base / "trace"),
                            TMPDIR=str(cls.base / "trap"), ASAN_OPTIONS=options + ":detect_leaks=0")
        return done.returncode, done.stderr.decode()

    def on_terminal(self, *arguments, **variables):
        """What the program shows where standard output and error are a terminal."""
        pid, terminal = pty.fork()
        if pid == 0:
            os.chdir(self.base / "in")
            os.execve(TOOL, [TOOL, *arguments], dict(os.environ, TERM="xterm", **variables))
        shown = b""
        with contextlib.suppress(OSError):  # the end of a terminal is an error
            while data := os.read(terminal, 1 << 16):
                shown += data
        os.close(terminal)
        os.waitpid(pid, 0)
        # The terminal's driver writes CR LF; the rest are the program's colours and progress.
        return re.sub("\r?\x1b\\[(?:[01]|3[136])?[mK]", "", shown.decode().replace("\r\n", "\n"))

    def assert_harmless(self, text, where):
        found = CONTROL.search(text)
        self.assertIsNone(found, found and f"{where}: {text[max(0, found.start() - 80):found.end() + 20]!r}")

    def test_database_holds_every_text_as_it_is(self):
        tables = "SELECT type, name, sql FROM sqlite_master ORDER BY 1, 2"
        self.assertEqual(query(self.base / "out", tables), query(self.base / "clean", tables))
        self.assertEqual(query(self.base / "out", "PRAGMA integrity_check"), [("ok",)])
        seen = collections.Counter()
        for element, attributes in self.schema.attributes.items():
            table = TABLES.get(element, {"Include": "Files", "LDAP": "LDAPS"}.get(element, element + "s"))
            if not attributes or (element, attributes[0]) in NOT_STORED and len(attributes) == 1 \
                    or element == "ServiceTemplate":
                continue
            stored = [a for a in attributes if (element, a) not in NOT_STORED]
            columns = ", ".join(f'"{COLUMNS.get(a, a)}"' for a in stored)
            got = collections.Counter(query(self.base / "out", f"SELECT {columns} FROM {table}"))
            wanted = collections.Counter(tuple(e.get(a) for a in stored) for _, root in self.read
                                         for e in root.iter(element) if "http" not in e.get("url", "")[:4])
            for row, count in wanted.items():
                if None not in row:
                    self.assertEqual(got[row], count, (element, row))
                    seen.update(MARK.findall(" ".join(row)))
        memos = {row[0] for row in query(self.base / "out", 'SELECT "" FROM Services')}
        for _, root in self.read:
            for memo in root.iter("Memo"):
                self.assertIn(memo.text, memos)
                seen.update(MARK.findall(memo.text))
        # Each field of the schema, with each text.
        for field, number in self.schema.numbers.items():
            for payload in range(len(PAYLOADS)):
                if field not in NOT_STORED and field[0] != "ServiceTemplate":
                    self.assertTrue(seen[f"{payload:02d}", f"{number:03d}"], (field, payload))


    def test_rules_see_every_text(self):
        """So that what the formats are asked below is asked of something."""
        told = {(f["ruleId"], mark) for f in self.json["findings"] for mark in MARK.findall(f["text"])}
        for payload in map("{:02d}".format, range(len(PAYLOADS))):
            rules = {rule for rule, (text, _) in told if text == payload}
            self.assertLessEqual({-1, 0, 1, 5, 7, 8, 10, 11, 12, 13, 14, 16, 18, 27, 28}, rules, payload)
        quoted = {field for _, (_, field) in told}
        typed = re.findall(r'name="(\w+)" type="(?:GUID|BOOL|xs:integer|xs:NMTOKEN)"', self.schema_text)
        fields = {f"{n:03d}" for (_, a), n in self.schema.numbers.items() if a in dict.fromkeys(typed) and a != "index"}
        self.assertGreater(len(fields & quoted), 20, fields - quoted)
        beside = {mark for f in self.json["findings"] for mark in MARK.findall(f["text"] + f["file"])}
        self.assertEqual({text for text, field in beside if field == "990"}, {text for text, _ in beside if int(text) < len(PAYLOADS)})
        self.assertLessEqual(ODD_QUOTED, {field for _, field in beside})

    def test_formats_hold_texts_as_texts(self):
        """Nothing that a terminal or a build server obeys; the same structure as of a clean run."""
        for name in ["text", "json", "sarif", "junit", "baseline"]:
            text = (self.base / f"out.{name}").read_bytes().decode()
            self.assert_harmless(text, name)
            self.assertNotRegex(text, COMMAND, name)
        self.assert_harmless(self.err, "standard error")
        texts = [f["text"] for f in self.json["findings"]]
        clean, out = (json.loads((self.base / f"{run}.sarif").read_bytes()) for run in ("clean", "out"))
        # The examples are not below the working folder, and so have no base.
        base = {("runs", "results", "locations", "physicalLocation", "artifactLocation", "uriBaseId"),
                ("runs", "artifacts", "location", "uriBaseId")}
        self.assertEqual(shape(out) - shape(clean) - base, set())
        self.assertEqual([r["message"]["text"] for r in out["runs"][0]["results"]], texts)
        clean, out = (json.loads((self.base / f"{run}.json").read_bytes()) for run in ("clean", "out"))
        self.assertEqual(shape(out) - shape(clean), set())
        clean, out = (ET.parse(self.base / f"{run}.junit") for run in ("clean", "out"))
        tags = lambda tree: {(e.tag, tuple(e.attrib)) for e in tree.iter()}
        self.assertEqual(tags(out) - tags(clean) - {("skipped", ("message",)), ("error", ("message", "type"))}, set())
        stored = "\n".join(" ".join([e.text or "", *e.attrib.values()]) for e in out.iter())
        for text in texts[::7]:
            self.assertIn(re.sub("[\ufffe\uffff]|[\0-\x08\x0b\x0c\x0e-\x1f]", "\ufffd", text), stored)

    def test_every_line_is_the_programs(self):
        commands = (self.base / "out.github").read_bytes().decode().split("\n")
        self.assertEqual(len(commands) - 1, len(self.json["findings"]))
        for line in commands[:-1]:
            self.assertRegex(line, r"^::(error|warning|notice) (file=[^:,]*,)?(line=\d+,)?title=[^:,]*::")
            self.assert_harmless(line, "github")
        shown = lambda name: CONTROL.sub("?", name.replace("\n", "?").replace("\t", "?"))
        titles = {re.sub("##", "#?", re.sub("^(\\s*):(?=:)", r"\1?", shown(f["file"]))) for f in self.json["files"]}
        outer = lambda run: {re.sub(r"\d+", "0", line.replace(f"/{run}", "")) for line in
                             (self.base / f"{run}.text").read_bytes().decode().split("\n") if line[:1].strip()
                             and not (run == "out" and line in titles)}
        paths = re.compile("^(Support archive|Database|Report|Baseline): ")
        self.assertEqual({paths.sub("", line)[:20] for line in outer("out") - outer("clean")
                          if not paths.match(line)} - {"No explicit files in"}, set())

    def test_report_shows_texts_as_texts(self):
        out, clean = self.base / "out", self.base / "clean"
        for path in clean.iterdir():
            if path.suffix in (".css", ".woff", ".png") or path.name == "LandscapeValidationRules.htm":
                self.assertEqual((out / path.name).read_bytes(), path.read_bytes())
        pages = [Page((run / "ValidationResults.htm").read_bytes().decode()) for run in (out, clean)]
        self.assertEqual(pages[0].elements, pages[1].elements)
        files = [json.loads(path.read_bytes()) for path in sorted(out.glob("*.json"))]
        literals = pages[0].literals()
        self.assertEqual(sorted(json.loads(text) for text in literals),
                         sorted(path.read_bytes().decode() for path in out.glob("*.json")))
        self.assertNotRegex("".join(literals), "[<>&\0-\x1f\x7f\u2028\u2029]")
        self.assertEqual([shape(f) for f in files],
                         [shape(json.loads(path.read_bytes())) for path in sorted(clean.glob("*.json"))])
        results = {row["Result"] for row in json.loads((out / "RulesDependingOnFile.json").read_bytes())}
        named = json.dumps(files)
        for payload in range(len(PAYLOADS)):
            for place in (980, 981):
                self.assertIn(marker(payload, place), named)
        self.assertEqual(results, {row[0] for row in query(out, "SELECT ResultDescription FROM ValidationResults")})
        summary = ET.parse(next(out.glob("Data_*.xml"))).getroot()
        rows = query(out, "SELECT count(*) FROM ValidationResults")[0][0]
        self.assertEqual(len(summary), rows)
        for item in summary:
            self.assertEqual((item.tag, item.keys(), len(item), int(item.get("RuleId")) < 1000),
                             ("Item", ["RuleId", "Result", "RunTimeErrorTrace"], 0, True))

    def test_baseline_knows_what_it_wrote(self):
        done = self.run_tool("validate", "--no-config", "-o", "../again", "--baseline", "../out.baseline", "-f", "json", *RULES,
                             "--", *self.names)
        counts = json.loads(done.stdout)["counts"]
        known = {f["baselineState"] for f in self.json["findings"]}
        self.assertEqual((known, counts["known"]), ({None}, len(self.json["findings"])), done.stderr[-2000:])
        self.assertEqual([counts[kind] for kind in ("errors", "warnings", "infos")], [0, 0, 0])

    def test_archive_unpacks_into_its_folder_anywhere(self):
        with zipfile.ZipFile(self.base / "out" / "LandscapeValidation.zip") as archive:
            names = [name for name in archive.namelist() if not name.endswith("/")]
        landscapes = [name for name in names if name.startswith("Landscape_files/")]
        self.assertEqual(len(landscapes), len(self.names))
        for name in names:
            self.assertRegex(name, r'^\w+/[^/\\:*?"<>|]+$')
            self.assertNotIn(name.split("/")[1].strip(". "), ("", ".."))
            self.assert_harmless(name, "archive")

    def test_terminal(self):
        """Summary, progress, messages, trace and lists of a terminal obey nobody else."""
        shown = {
            "run": self.on_terminal("validate", "--no-config", "-o", "../shown", "--all", "--", *self.names, "none\x1b[2J"),
            "trace": self.on_terminal("validate", "--no-config", "-o", "../traced", "--", *self.names[:40:3],
                                      NAXFEWXMLDB_TRACE_LEVEL="4", NAXFEWXMLDB_TRACE_DIR=str(self.base / "none")),
            "collect": self.on_terminal("collect", "--no-config", "-o", "../out", "--list"),
            "rules": self.on_terminal("rules", "list", "--no-config", *RULES),
            "rule": self.on_terminal("rules", "explain", "120", "--no-config", *RULES),
            "trace file": next((self.base / "trace").iterdir()).read_bytes().decode(),
        }
        for what, text in shown.items():
            self.assert_harmless(text, what)
            self.assertGreater(len(set(MARK.findall(text))), {"collect": 0, "rules": 26, "rule": 1}.get(what, 100), what)
            if not what.startswith("trace"):
                self.assertNotRegex(text, COMMAND, what)

    def test_nothing_is_started_and_nothing_written_elsewhere(self):
        self.assertEqual(self.code, 0, self.err)
        started, written = 0, set()
        for line in (self.base / "calls").read_text(errors="replace").splitlines():
            call = re.match(r"\d+ +(\w+)\((.*)", line)
            if call is None or call[1] in ("openat", "open") and not re.search("O_WRONLY|O_RDWR|O_CREAT", line):
                continue
            started += call[1].startswith("execve")
            self.assertNotEqual(call[1], "connect", line)
            if not call[1].startswith("execve"):
                written.update(os.path.join(folder, name) for folder, name in
                               re.findall(r'(?:<([^<>]*)>, )?"((?:[^"\\]|\\.)*)"', call[2]))
        self.assertEqual(started, 1)
        self.assertGreater(len(written), 300)  # each file goes through the archive's folder
        allowed = [str(self.base / name) for name in ("out", "trace", "trap")]
        for name in written:
            path = os.path.normpath(self.base / "in" / name)
            self.assertTrue(path.startswith(tuple(allowed)) or path.startswith("/dev/"), name)
        self.assertEqual(list(self.base.rglob("*INJECTED")), [])
        self.assertEqual(sorted(os.listdir(self.base / "in")), sorted(self.names))

if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
