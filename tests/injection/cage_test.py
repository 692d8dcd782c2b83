#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""cage_test.py TOOL MEMORY: what rules and actions of others attempt through the real program. MEMORY is how
many MB one run may take beyond a harmless one."""
import contextlib
import os
import pathlib
import sqlite3
import subprocess
import sys
import tempfile
import time
import unittest
from xml.sax.saxutils import quoteattr

TOOL, MEMORY = str(pathlib.Path(sys.argv[1]).resolve()), int(sys.argv[2])
# Under a sanitizer it takes so long to fill the memory that the time may well be over first.
SANITIZED = MEMORY > 400
PATIENCE = "5" if SANITIZED else "30"
EXAMPLE = str(pathlib.Path(__file__).resolve().parents[2] / "examples/clean_landscape.xml")
INSERT = "INSERT INTO ValidationResults (RuleId, ResultDescription, UUID, file_id) "
GOOD = INSERT + "SELECT @ruleid, 'whole', uuid, file_id FROM Services"
ENDLESS = "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c) "
TIME, SIZE = "stopped: the time limit", "stopped: it needs more than 128 MB"
TABLE = "not allowed: CREATE of a table, an index or a view"
FUNCTION = "not allowed: a table-valued function"

# Bodies, and what their one finding tells behind "Runtime error". Refused before they run.
REFUSED = [
    ("ATTACH 'INJECTED.db' AS o", "not allowed: ATTACH"),
    ("ATTACH DATABASE 'file:INJECTED.db?mode=rwc' AS o", "not allowed: ATTACH"),
    ("ATTACH ':memory:' AS temp2", "not allowed: ATTACH"),
    ("DETACH temp", "not allowed: DETACH temp"),
    ("VACUUM main INTO 'INJECTED.db'", "not allowed: VACUUM"),
    ("VACUUM", "not allowed: VACUUM"),
    ("DROP TABLE IF EXISTS nowhere", "not allowed: VACUUM, or a CREATE or DROP of what is there"),
    *((f"PRAGMA {name}", "not allowed: PRAGMA " + name.split()[0].split("(")[0].removeprefix("main."))
      for name in ("writable_schema = ON", "journal_mode = WAL", "temp_store_directory = '.'", "hard_heap_limit = 0",
                   "soft_heap_limit = 0", "main.user_version = 7", "query_only = 0", "trusted_schema = 1", "database_list",
                   "table_info(Files)", "wal_checkpoint", "schema_version = 1", "recursive_triggers = 1", "optimize")),
    *((f"SELECT * FROM {name}", FUNCTION) for name in
      ("pragma_database_list", "pragma_table_info('Files')", "pragma_hard_heap_limit(0)", "dbstat")),
    # Not there in the library that Debian builds; a program of somebody else may have them.
    *((f"SELECT * FROM {name}", "no such table: " + name.split("(")[0]) for name in
      ("sqlite_dbpage", "generate_series(1, 9)", "fsdir('.')", "zipfile('INJECTED')", "csv('x')", "completion('x')")),
    ("SELECT load_extension('INJECTED')", "not allowed: the function load_extension"),
    ("SELECT fts3_tokenizer('simple', x'00')", "not allowed: the function fts3_tokenizer"),
    ("SELECT sqlite_log(1, 'x')", "not allowed: the function sqlite_log"),
    *((f"SELECT {call}", "no such function: " + call.split("(")[0]) for call in
      ("writefile('INJECTED', 'x')", "readfile('/etc/passwd')", "edit('x', 'touch INJECTED')", "shell('x')")),
    ("CREATE TABLE INJECTED (x)", TABLE), ("CREATE TABLE INJECTED AS SELECT 1", TABLE),
    ("CREATE TEMP TABLE Services (uuid)", TABLE), ("CREATE TEMP VIEW Services AS SELECT 1", TABLE),
    ("CREATE VIEW INJECTED AS SELECT 1", TABLE), ("CREATE UNIQUE INDEX INJECTED ON Files (uri)", TABLE),
    ("CREATE VIRTUAL TABLE INJECTED USING fts5(x)", TABLE), ("CREATE VIRTUAL TABLE temp.i USING rtree(a, b, c)", TABLE),
    ("CREATE TRIGGER i AFTER INSERT ON Files BEGIN SELECT 1", "not allowed: CREATE TRIGGER"),
    ("CREATE TEMP TRIGGER i AFTER INSERT ON ValidationResults BEGIN SELECT 1", "not allowed: CREATE TRIGGER"),
    ("DROP TABLE Files", "not allowed: DROP of a table"), ("DROP TABLE temp.ValidationResults", "not allowed: DROP of"),
    ("/*x*/DROP/**/TABLE/*y*/Files", "not allowed: DROP of a table"),
    ("DROP TABLE IF EXISTS main.ValidationResults", "not allowed: DROP of a table"),
    ("ALTER TABLE Files RENAME TO INJECTED", "not allowed: ALTER TABLE Files"),
    ("ALTER TABLE Files ADD COLUMN INJECTED", "not allowed: ALTER TABLE Files"),
    ("ALTER TABLE Files DROP COLUMN name", "not allowed: ALTER TABLE Files"),
    ("INSERT INTO Files (uri) VALUES ('INJECTED')", "not allowed: INSERT into Files"),
    ("INSERT INTO main.ValidationResults (RuleId) VALUES ('100')", "not allowed: INSERT into main.ValidationResults"),
    ("UPDATE Services SET name = 'INJECTED'", "not allowed: UPDATE of Services"),
    ("UPDATE main.ValidationResults SET ResultId = '1'", "not allowed: UPDATE of main.ValidationResults"),
    ("WITH x AS (SELECT 1) DELETE FROM Files", "not allowed: DELETE from Files"),
    ("DELETE FROM main.ValidationResults", "not allowed: DELETE from main.ValidationResults"),
    ("REPLACE INTO Rules (pk, RuleId) VALUES (1, '100')", "not allowed: "),
    ("UPDATE sqlite_schema SET sql = ''", "table sqlite_master may not be modified"),
    ("INSERT INTO sqlite_master (name) VALUES ('INJECTED')", TABLE),
    ("DELETE FROM sqlite_temp_schema", "table sqlite_temp_master may not be modified"),
    *((word, f"not allowed: {word.split()[0]}") for word in ("BEGIN", "BEGIN EXCLUSIVE", "COMMIT", "ROLLBACK",
                                                             "SAVEPOINT s", "REINDEX", "ANALYZE")),
    ("RELEASE s", "not allowed: SAVEPOINT"), ("ROLLBACK TO s", "not allowed: SAVEPOINT"),
    ("EXPLAIN DROP TABLE Files", "not allowed: DROP of a table"), ("EXPLAIN " + GOOD, "not allowed: EXPLAIN"),
    (GOOD + "; DROP TABLE Files", "statement 2 of 2: not allowed: DROP"),
    (GOOD + "; /* ; */ DROP TABLE Files", "statement 3 of 3: "),
    (GOOD + ", (SELECT load_extension('x'))", "not allowed: the function load_extension"),
    ("-- " + GOOD, "no statement inserts"), ("SELECT sql FROM sqlite_master", "no statement inserts"),
    ("SELECT ?1, :name, @name, $name", "the placeholder ?1 is not known"),
    ("SELECT " + "(" * 5000 + "1" + ")" * 5000, "parser stack overflow"),
    ("SELECT 1" + "+1" * 5000, "Expression tree is too large"),
    ("SELECT " + "abs(" * 900 + "1" + ")" * 900, "parser stack overflow"),
    ("SELECT 1" + " UNION ALL SELECT 1" * 600, "too many terms in compound SELECT"),
    ("SELECT 1" + ", 1" * 3000, "too many columns"),
    ("SELECT '" + "x" * 1_000_100 + "'", "string or blob too big"),
    ("SELECT 'a' LIKE 'a'" + " OR 'a' LIKE 'a'" * 20, "not allowed: more than 20 searches in texts"),
    ("SELECT " + "abs(1) + " * 250 + "abs(1)", "not allowed: more than 250 calls of functions"),
]

# Refused, or failing, once they run: each in a run of its own, whose memory and time are measured.
HEAVY = [
    (ENDLESS + "SELECT count(*) FROM c", TIME),
    (INSERT + ENDLESS + "SELECT @ruleid, x, '', '' FROM c", TIME),
    (INSERT + ENDLESS + "SELECT @ruleid, x || hex(zeroblob(45000)), '', '' FROM c", SIZE),
    ("WITH RECURSIVE c(n, x) AS (SELECT 1, 'x' UNION SELECT n + 1, n || hex(zeroblob(45000)) FROM c) "
     "SELECT count(*) FROM c WHERE x = 'y' ORDER BY x", SIZE),
    (ENDLESS + "SELECT count(*) FROM (SELECT x || hex(zeroblob(45000)) AS b FROM c ORDER BY b)", SIZE),
    (ENDLESS + "SELECT count(DISTINCT x || hex(zeroblob(45000))) FROM c", SIZE),
    # Many small pieces, of which SQLite does not count all that they take.
    (ENDLESS + "SELECT count(*) FROM (SELECT x FROM c ORDER BY x)", SIZE),
    ("WITH a0 AS (SELECT 1 AS x)" + "".join(f", a{n + 1} AS (SELECT p.x FROM a{n} p, a{n} q)" for n in range(30))
     + " SELECT * FROM a30", SIZE),
    # Without a jump nobody looks at the clock.
    ("WITH t(b) AS MATERIALIZED (SELECT hex(zeroblob(45000))) SELECT "
     + ",".join(["max(" + "b," * 120 + "b)"] * 240) + " FROM (SELECT b COLLATE NOCASE AS b FROM t)", SIZE),
    *((f"WITH t(b) AS MATERIALIZED (SELECT hex(zeroblob(45000))) SELECT {name}(b, replace(hex(zeroblob(5000)), '0', '1') "
       "|| '0') FROM t", "string or blob too big") for name in ("trim", "ltrim", "rtrim")),
    (INSERT + ENDLESS + "SELECT @ruleid, hex(zeroblob(40000)), '', '' FROM c LIMIT 640", "stopped: its findings take 51264000"),
    (ENDLESS + "SELECT sum(x) OVER (ORDER BY x) FROM c", TIME),
    ("SELECT count(*) FROM " + ", ".join(f"Services s{n}" for n in range(12)), TIME),
    (ENDLESS + "SELECT group_concat(x) FROM c", TIME),
    (ENDLESS + "SELECT json_group_array(x) FROM c", TIME),
    ("SELECT count(*) FROM json_tree('" + "[" * 900 + "]" * 900 + "') a, json_tree('" + "[" * 900 + "]" * 900
     + "') b, Services c, Services d, Services e", TIME),
    ("SELECT json('" + "[" * 90000 + "')", "malformed JSON"),
    *((f"SELECT length({call})", "string or blob too big") for call in
      ("randomblob(1000000000)", "zeroblob(1000000000)", "hex(zeroblob(190000))",
       "replace(hex(zeroblob(9000)), '0', hex(zeroblob(9000)))")),
    (GOOD + " WHERE printf('%.*c', 2147483647, 'x') <> ''", "string or blob too big"),
    ("SELECT format('" + "%.49999c" * 9000 + "', 'x')", "string or blob too big"),
    ("SELECT hex(zeroblob(45000)) LIKE '" + "%0" * 120 + "b'", "no statement inserts"),
    ("SELECT hex(zeroblob(45000)) GLOB '" + "*0" * 120 + "b'", "no statement inserts"),
    ("SELECT '" + "a" * 5000 + "' LIKE '" + "%" * 300 + "b'", "LIKE or GLOB pattern too complex"),
    ("SELECT hex(zeroblob(45000)) REGEXP '((0{0,99}){0,99}){0,99}b'", "regexp: pattern and text are too large"),
]

OUTPUTS = ["../INJECTED.json", "/INJECTED.json", "a/INJECTED.json", "a\\INJECTED.json", "INJECTED.json ", ".INJECTED.json",
           "INJECTED.json/..", "$(touch INJECTED).json", "INJECTED\u202e.json", "UILandscape.db", "ValidationResults.htm"]


class Cage(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.base = pathlib.Path(scratch.name)

    def rules(self, bodies):
        """Each body between two rules that do no harm; where the attempts stand in the file."""
        lines = ["<ValidationRules>"]
        for number, body in enumerate([GOOD] + [b for body in bodies for b in (body, GOOD)]):
            lines.append(f'<Rule id="{100 + number}" name="rule {number}" type="Info" msg="%s" body={quoteattr(body)}/>')
        (self.base / "attempts.xml").write_text("\n".join(lines + ["</ValidationRules>"]), encoding="utf-8")

    def run_tool(self, *arguments):
        """Exit code, both streams, MB at the peak, seconds."""
        start = time.monotonic()
        with open(self.base / "output", "wb") as output:
            process = subprocess.Popen([TOOL, *arguments], cwd=self.base, stdout=output, stderr=subprocess.STDOUT,
                                       stdin=subprocess.DEVNULL)
            _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        text = (self.base / "output").read_text(encoding="utf-8")
        return process.returncode, text, usage.ru_maxrss / 1024, time.monotonic() - start

    def validate(self, *more):
        return self.run_tool("validate", "--no-config", "-o", "out", "--keep-backups", "0", *more, EXAMPLE)

    def rows(self):
        """All tables but the results; the results by rule; what the database says of itself."""
        with contextlib.closing(sqlite3.connect(self.base / "out/UILandscape.db")) as database:
            self.assertEqual(database.execute("PRAGMA integrity_check").fetchall(), [("ok",)])
            schema = database.execute("SELECT type, name, sql FROM sqlite_master ORDER BY 2").fetchall()
            tables = {name: database.execute(f'SELECT * FROM "{name}"').fetchall() for kind, name, _ in schema
                      if kind == "table" and name not in ("Rules", "ValidationResults", "Files")}
            tables["Files"] = database.execute("SELECT uri, indx, name FROM Files").fetchall()
            results = {}
            for rule, code, text in database.execute("SELECT RuleId, ResultId, ResultDescription FROM "
                                                     "ValidationResults ORDER BY pk"):
                results.setdefault(int(rule), []).append((code, text))
            return schema, tables, results

    def check_run(self, table, before):
        """Runs the bodies of the table and looks at what remains."""
        self.rules([body for body, _ in table])
        # What is to end at another bound must not end at this one on a busy machine.
        limit = "0.5" if table[0][1].startswith(TIME) else PATIENCE
        code, text, memory, seconds = self.validate("--no-built-in-rules", "--rules", "attempts.xml", "--rule-timeout", limit)
        self.assertEqual(code, 1 if any(told for _, told in table) else 0, text[:2000])
        schema, tables, results = self.rows()
        self.assertEqual((schema, tables), before[:2])
        whole = [("6", "whole")] * len(before[1]["Services"])
        for number, (body, told) in enumerate(table):
            with self.subTest(body[:200]):
                self.assertEqual((results[100 + 2 * number], results[102 + 2 * number]), (whole, whole))
                if told:
                    [(result, failure)] = results[101 + 2 * number]
                    self.assertEqual(result, "2")
                    self.assertTrue(failure.startswith("Runtime error\n" + told) or
                                    (SANITIZED and failure.startswith("Runtime error\n" + TIME)), failure[:300])
        self.assertEqual(list(self.base.rglob("*INJECTED*")) + list(pathlib.Path(EXAMPLE).parent.glob("*INJECTED*")), [])
        self.assertEqual(sorted(os.listdir(self.base)), ["attempts.xml", "out", "output"])
        return memory, seconds

    def harmless(self):
        self.rules([])
        code, text, memory, _ = self.validate("--no-built-in-rules", "--rules", "attempts.xml")
        self.assertEqual(code, 0, text)
        return memory, self.rows()

    def test_refused(self):
        _, before = self.harmless()
        self.check_run(REFUSED, before)
        _, text, _, _ = self.run_tool("rules", "check", "--no-built-in-rules", "attempts.xml")
        for number, (body, told) in enumerate(REFUSED):
            self.assertIn(f"attempts.xml:{3 + 2 * number}: body: {told}", text, body[:200])

    def test_heavy(self):
        little, before = self.harmless()
        for attempt in HEAVY:
            memory, seconds = self.check_run([attempt], before)
            if "MEASURE" in os.environ:
                print(f"{memory - little:6.0f} MB {seconds:5.1f} s  {attempt[0][:90]}")
            self.assertLess(memory, little + MEMORY, attempt[0][:200])
            self.assertLess(seconds, 30, attempt[0][:200])

    def test_flood(self):
        """A rule that finds too much hides nothing of what the others have found."""
        self.rules([INSERT + ENDLESS + "SELECT @ruleid, x, '', '' FROM c LIMIT 3000"])
        code, text, _, _ = self.validate("--no-built-in-rules", "--rules", "attempts.xml", "--limit", "findings=2500")
        results = self.rows()[2]
        services = len(results[100])
        self.assertEqual((code, len(results[101]), len(results[102])), (2, 2500 - 2 * services, services), text)

    def test_actions(self):
        little, before = self.harmless()
        write = lambda output, body: (self.base / "actions.xml").write_text(
            f"<Actions><JsonRequest id='9' name='n' output={quoteattr(output)} body={quoteattr(body)}/></Actions>",
            encoding="utf-8")
        for output in OUTPUTS:
            write(output, "SELECT 1 AS one")
            code, text, _, _ = self.validate("--actions", "actions.xml")
            self.assertEqual((code, "actions.xml:1: output" in text), (2, True), text)
        for body, told in REFUSED[:1] + REFUSED[4:7] + HEAVY[:1] + HEAVY[3:5] + [
                (GOOD, "near \"INSERT\": syntax error"), ("SELECT 1) UNION SELECT * FROM (SELECT 2", ""),
                ("SELECT load_extension('x') AS x", "not allowed: the function load_extension"),
                ("SELECT * FROM pragma_database_list", FUNCTION),
                (ENDLESS + "SELECT x, hex(zeroblob(45000)) AS z FROM c", "stopped: its result is longer than 256 MB")]:
            write("INJECTED.json", body)
            code, text, memory, _ = self.validate("--no-built-in-rules", "--actions", "actions.xml", "--rule-timeout",
                                                  "0.5" if told == TIME else PATIENCE)
            self.assertLess(memory, little + MEMORY + 100, body)  # a result of 256 MB stands in it
            if told:
                self.assertEqual((code, "action 9 wrote no INJECTED.json: " in text), (2, True), (body, text))
            self.assertTrue(told == "" or told.startswith("not allowed") or told in text or
                            (SANITIZED and TIME in text), (body, text))
            self.assertEqual(list(self.base.rglob("*INJECTED*")) if told else [], [])
            self.assertEqual(self.rows()[1], before[1])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
