#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""formats_test.py TOOL: the real program, driven by tables of arguments."""
import collections
import json
import sys
import unittest
import urllib.parse

import jsonschema
from support import FILES, FINDINGS_SCHEMA, ROOT, UUID, Folder, cases_of, landscape, services

FORMATS = ["text", "json", "sarif", "junit", "github"]
EXAMPLE = str(ROOT / "examples/faulty_landscape.xml")

# Arguments, exit code, text on standard output, text on standard error; None for an empty stream.
COMMAND_LINES = [
    (["-f", "json", "clean.xml"], 0, '"findings": []', "Checked 1 file"),
    (["-f", "sarif", "clean.xml"], 0, '"results": []', "No findings."),
    (["-f", "junit", "clean.xml"], 0, 'failures="0"', "Report: "),
    (["-f", "github", "clean.xml"], 0, None, "Database: "),
    (["-f", "text", "-f", "text", "clean.xml"], 0, "No findings.", None),
    (["-f", "github", "invalid.xml"], 1, "::error file=invalid.xml,line=2,title=", "2 warnings"),
    (["--output-file", "json=o.json", "invalid.xml"], 1, None, "2 warnings"),
    (["--output-file", "json=-", "invalid.xml"], 1, '"exitCode": 1', "2 warnings"),
    (["-f", "text", "--output-file", "json=o.json", "clean.xml"], 0, "No findings.", None),
    (["-f", "json", "-f", "text", "clean.xml"], 2, None, "cannot both go to standard output"),
    (["-f", "yaml", "clean.xml"], 2, None, "'yaml' is no format"),
    (["--output-file", "json", "clean.xml"], 2, None, "FORMAT=FILE"),
    (["--output-file", "json=", "clean.xml"], 2, None, "FORMAT=FILE"),
    (["--output-file", "yaml=o", "clean.xml"], 2, None, "'yaml' is no format"),
    (["--output-file", "json=a", "--output-file", "json=b", "clean.xml"], 2, None, "second file"),
    (["--output-file", "json=a", "--output-file", "sarif=./a", "clean.xml"], 2, None, "twice"),
    (["--output-file", "json=a.file", "--output-file", "sarif=a.link", "clean.xml"], 2, None, "twice"),
    (["--output-file", "json=" + "n" * 300, "clean.xml"], 2, None, "No findings."),
    (["--output-file", "json=landscape-report/UILandscape.db", "clean.xml"], 2, None, "of this run"),
    (["--rules", "none.rules", "--output-file", "json=o", "clean.xml"], 2, None, "none.rules"),
    (["--output-file", "json=none/o", "-f", "text", "clean.xml"], 2, "No findings.", "none/o"),
    (["--output-file", "text=none/o", "-f", "json", "clean.xml"], 2, '"exitCode": 2', "none/o"),
    (["--output-file", "json=sub", "clean.xml"], 2, None, "It is a folder"),
    (["--output-file", "json=clean.xml", "clean.xml"], 2, None, "is a file to validate"),
    (["--output-file", "json=infos.xml", "sub/main.xml"], 2, None, "is a file to validate"),
    (["--output-file", "json=/dev/full", "clean.xml"], 2, None, "No space left"),
    (["--min-severity", "warning", "infos.xml"], 0, '2 findings below "warning" are not shown', None),
    (["--min-severity", "warning", "--fail-on", "info", "infos.xml"], 1, "No findings to show", None),
    (["--min-severity", "error", "invalid.xml"], 1, "lacks the required", None),
    (["--min-severity", "error", "-f", "junit", "infos.xml"], 0, 'failures="0"', "2 findings below"),
    (["--min-severity", "error", "-f", "github", "infos.xml"], 0, None, "2 findings below"),
    (["--min-severity", "never", "infos.xml"], 2, None, "--min-severity"),
    (["-f", "github", "none.xml"], 2, "::error file=none.xml,", "cannot read 'none.xml'"),
    (["-f", "json", "-o", "clean.xml", "infos.xml"], 2, '"exitCode": 2', "output folder"),
    (["--baseline", "none.json", "clean.xml"], 2, None, "No such file"),
    (["--prune-baseline", "clean.xml"], 2, None, "--baseline FILE"),
    (["--write-baseline", "clean.xml", "clean.xml"], 2, None, "'clean.xml': line 1: "),
    (["--write-baseline", "none/b", "clean.xml"], 2, "No findings.", "none/b"),
]

# Files, and how many of their findings are errors, warnings and infos; the exit code.
RUNS = [
    (["clean.xml"], (0, 0, 0), 0),
    (["infos.xml", "twins.xml"], (0, 1, 4), 0),
    (["invalid.xml", "clean.xml"], (2, 1, 0), 1),
    (["clean.xml", "invalid.xml"], (2, 1, 0), 1),
    (["none.xml", "infos.xml"], (1, 0, 2), 2),
    (["infos.xml", "none.xml"], (1, 0, 2), 2),
    (["broken.xml", "infos.xml"], (1, 0, 2), 1),
    (["sub/main.xml"], (1, 0, 3), 1),
    (["odd %#ü'.xml"], (1, 1, 1), 1),
    (["many.xml"], (101, 0, 0), 1),
    ([EXAMPLE], (28, 24, 3), 1),
]


class Formats(unittest.TestCase):
    def test_command_lines(self):
        for arguments, exit_code, out, err in COMMAND_LINES:
            with self.subTest(arguments), Folder() as folder:
                (folder.path / "a.link").symlink_to("a.file")
                folder.write("a.file", "")
                got = folder.run(*arguments)
                self.assertEqual(got[0], exit_code, got)
                for wanted, stream in ((out, got[1]), (err, got[2])):
                    self.assertEqual(wanted is None, stream == "", stream)
                    self.assertIn(wanted or "", stream)
                for name, text in FILES.items():
                    self.assertEqual(folder.read(name), text)
                self.assertEqual(list(folder.path.glob("**/*.tmp")), [])

    def test_formats_tell_the_same(self):
        for files, counts, exit_code in RUNS:
            with self.subTest(files), Folder() as folder:
                outputs = [f"--output-file={name}=o.{name}" for name in FORMATS]
                code, out, _ = folder.run(*outputs, *files)
                self.assertEqual((code, out), (exit_code, ""))
                document = json.loads(folder.read("o.json"))
                jsonschema.Draft202012Validator(FINDINGS_SCHEMA).validate(document)
                told = document["counts"]
                self.assertEqual((told["errors"], told["warnings"], told["infos"]), counts)
                self.assertEqual(len(document["findings"]), sum(counts))
                self.check_sarif(document, json.loads(folder.read("o.sarif"))["runs"][0])
                self.check_junit(document, cases_of(folder.read("o.junit")))
                self.check_github(document, folder.read("o.github"))
                text = folder.read("o.text")
                self.assertFalse([c for c in text if ord(c) < 32 and c != "\n" or 127 <= ord(c) < 160])

    def check_sarif(self, document, run):
        self.assertEqual(run["invocations"][0]["executionSuccessful"], document["exitCode"] != 2)
        failures = [n["message"]["text"] for n in run["invocations"][0]["toolExecutionNotifications"]
                    if n["level"] == "error"]
        self.assertEqual(failures, [e["message"] for e in document["errors"]])
        self.assertEqual([rule["defaultConfiguration"]["level"].replace("note", "info")
                          for rule in run["tool"]["driver"]["rules"]],
                         [rule["severity"] for rule in document["rules"]])
        for result, finding in zip(run["results"], document["findings"], strict=True):
            self.assertEqual(result["message"]["text"], finding["text"])
            self.assertEqual(result["level"].replace("note", "info"), finding["severity"])
            rule = run["tool"]["driver"]["rules"][result["ruleIndex"]]
            self.assertEqual((rule["id"], rule["name"]), (result["ruleId"], finding["ruleName"]))
            place = result["locations"][0]["physicalLocation"]
            self.assertEqual(place.get("region", {}).get("startLine"), finding["line"])
            uri = place["artifactLocation"]["uri"]
            self.assertNotRegex(uri, r"[^!-~]|%(?![0-9A-F]{2})")
            path = urllib.parse.unquote(urllib.parse.urlsplit(uri).path)
            if finding["file"].startswith("https:"):
                self.assertEqual(uri, finding["file"])
            else:
                self.assertEqual(path, finding["file"])

    def check_junit(self, document, cases):
        self.assertEqual(len(cases), len({case[:2] for case in cases}))
        files = [file["file"] for file in document["files"]]
        self.assertEqual(collections.Counter(case[0] for case in cases),
                         {file: len(document["rules"]) for file in files})
        skipped = [file["file"] for file in document["files"] if file["status"] == "skipped"]
        wanted = {(f["file"], f["ruleId"]) for f in document["findings"] if f["file"] not in skipped}
        failed = {(c[0], int(c[1].split()[1][:-1]) if c[1].startswith("rule ") else -1)
                  for c in cases if set(c[2]) & {"Failure", "Error"}}
        self.assertEqual(failed, wanted)
        unread = {file["file"] for file in document["files"] if file["status"] == "unreadable"}
        self.assertEqual({case[0] for case in cases if "Error" in case[2]}, unread)

    def check_github(self, document, text):
        commands = {"error": "error", "warning": "warning", "info": "notice"}
        failed = [error["file"] for error in document["errors"]]
        wanted = ["::error file=" + file for file in failed]
        wanted += ["::" + commands[f["severity"]] for f in document["findings"]
                   if f["file"] not in failed]
        lines = text.splitlines()
        self.assertEqual(len(lines), len(wanted), text)
        for line, begin in zip(lines, wanted):
            self.assertTrue(line.startswith(begin), line)

    def test_texts_survive(self):
        """What is hard to write stays what it was, except where a format cannot hold it."""
        with Folder() as folder:
            _, document = folder.findings("odd %#ü'.xml")
            finding = next(f for f in document["findings"] if f["ruleId"] == 12)
            self.assertEqual(finding["uuid"], 'a\nb\t%c,:]]>"\u009b\U0001F600')
            _, junit, _ = folder.run("-f", "junit", "odd %#ü'.xml")
            self.assertIn(finding["text"], [m for case in cases_of(junit) for m in case[3]])
            for name in ["json", "sarif", "junit", "github", "text"]:
                _, out, _ = folder.run("-f", name, "odd %#ü'.xml")
                self.assertFalse([c for c in out if 127 <= ord(c) < 160 or c == "\x1b"], name)

    def test_order_and_fingerprints(self):
        """The order of the files changes nothing but theirs; lines do not change a fingerprint."""
        with Folder() as folder:
            files = ["infos.xml", "twins.xml", "invalid.xml", "broken.xml"]
            prints = lambda d: sorted((f["file"], f["fingerprint"]) for f in d["findings"])
            _, first = folder.findings(*files)
            _, second = folder.findings(*reversed(files))
            self.assertEqual(prints(first), prints(second))
            self.assertEqual(first, folder.findings(*files)[1])
            self.assertEqual(len(prints(first)), len(set(prints(first))))
            ranks = ["error", "warning", "info"]
            order = [ranks.index(f["severity"]) for f in first["findings"]]
            self.assertEqual(order, sorted(order))
            for name in files:
                folder.write(name, FILES[name].replace("<Landscape", "\n\n<Landscape", 1))
            _, moved = folder.findings(*files)
            self.assertEqual(prints(first), prints(moved))
            self.assertNotEqual(first, moved)

    def test_without_schema_check(self):
        """A file is read all the same: its status, and what is said of it, stay what they are."""
        for choice in (["--disable-rule", "schema"], ["--only-rule", "30"]):
            with self.subTest(choice), Folder() as folder:
                code, document = folder.findings(*choice, "invalid.xml", "infos.xml")
                self.assertEqual(code, 0)
                self.assertEqual({f["status"] for f in document["files"]}, {"valid"})
                self.assertFalse(document["rules"][0]["ran"])
                _, junit, _ = folder.run("-f", "junit", *choice, "invalid.xml", "infos.xml")
                kinds = {name.split(":")[0]: kind for _, name, kind, _ in cases_of(junit)}
                self.assertEqual((kinds["schema"], kinds["rule 30"]), (["Skipped"], ["Failure"]))
                code, document = folder.findings(*choice, "broken.xml")
                self.assertEqual((code, document["files"][0]["status"]), (1, "unreadable"))

    def test_schema_severity(self):
        for level, fail_on, wanted in (("warning", "error", 0), ("warning", "warning", 1),
                                       ("info", "warning", 0), ("info", "info", 1)):
            with self.subTest(level, fail_on=fail_on), Folder() as folder:
                code, document = folder.findings("--severity", "schema=" + level, "--only-rule",
                                                 "schema", "--fail-on", fail_on, "invalid.xml")
                self.assertEqual((code, document["rules"][0]["severity"]), (wanted, level))
                self.assertEqual({f["severity"] for f in document["findings"]}, {level})

    def test_entries_without_uuid(self):
        """They stand under no file on the page, but people must find the line."""
        with Folder() as folder:
            folder.write("empty.xml", landscape(
                '\n<Workspaces><Workspace uuid="">\n<Node uuid=""/></Workspace></Workspaces>'))
            _, document = folder.findings("clean.xml", "empty.xml")
            found = {f["ruleId"]: (f["file"], f["line"]) for f in document["findings"]}
            self.assertEqual((found[23], found[25]), (("empty.xml", 3), ("empty.xml", 4)))
            self.assertIn("empty.xml, line 3: ", folder.run("--all", "clean.xml", "empty.xml")[1])

    def test_many_results(self):
        with Folder() as folder:
            folder.write("big.xml", landscape(services(*(UUID % i for i in range(5001)))))
            _, out, err = folder.run("-f", "sarif", "big.xml")
            run = json.loads(out)["runs"][0]
            self.assertEqual(len(run["results"]), 5001)
            self.assertIn("5001", run["invocations"][0]["toolExecutionNotifications"][0]["message"]["text"])
            self.assertIn("5001 results", err)

    def test_output_files_are_replaced_whole(self):
        with Folder() as folder:
            target = folder.path / "real.json"
            target.write_text("old")
            target.chmod(0o640)
            (folder.path / "link.json").symlink_to("real.json")
            folder.run("--output-file", "json=link.json", "clean.xml")
            self.assertTrue((folder.path / "link.json").is_symlink())
            self.assertEqual(json.loads(target.read_text())["findings"], [])
            self.assertEqual(target.stat().st_mode & 0o777, 0o640)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
