#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""baseline_test.py TOOL: what is known, what is new, what is gone."""
import json
import sys
import unittest

from support import FILES, UUID, Folder, cases_of, landscape, services

# Content of a baseline file, and what the message about it says.
MALFORMED = [
    ("", "line 1: "),
    ("\n\n<Landscape/>", "line 3: "),
    ("[]", "an object is expected"),
    ("{}", '"version" is missing'),
    ('{"version": 2}', "version 1"),
    ('{"version": 1, "finding": []}', '"finding" is not known'),
    ('{"version": 1, "findings": {}}', "must be a list"),
    ('{"version": 1,\n"findings": [\n{"rule": 30}]}', 'line 3: "findings", entry 1: "text"'),
    ('{"version": 1,\n"findings": [\n{"rule": 30,\n"text": 5}]}', 'line 3: '),
    ('{"version": 1, "findings": [{"rule": "x", "text": "t"}]}', '"rule" must be'),
    ('{"version": 1, "findings": [{"rule": "-5", "text": "t"}]}', '"rule" must be'),
    ('{"version": 1, "findings": [{"rule": 30, "text": "t", "count": 0}]}', '"count" must be'),
    ('{"version": 1, "findings": [{"rule": 30, "text": "t", "count": 18446744073709551615}]}',
     '"count" must be'),
    ('{"version": 1,\n"suppressions": [{"rule": 30},\n{"rule": 30, "reason": "r"}]}', "line 2: "),
    ('{"version": 1,\n"suppressions": [{"rule": 30, "reason": " "}]}', '"reason" is missing'),
    ('{"version": 1,\n"suppressions": [{"rule": 30, "flie": "x", "reason": "r"}]}', '"flie"'),
]


def states(document):
    return sorted((f["file"], f["ruleId"], f["baselineState"]) for f in document["findings"])


def new_texts(document):
    return [f["text"] for f in document["findings"] if f["baselineState"] == "new"]


class Baseline(unittest.TestCase):
    def test_malformed(self):
        for text, message in MALFORMED:
            for option in ["--baseline", "--write-baseline"]:
                with self.subTest(text, option=option), Folder() as folder:
                    folder.write("b.json", text)
                    code, out, err = folder.run(option, "b.json", "infos.xml")
                    self.assertEqual((code, out), (2, ""))
                    self.assertIn("'b.json': ", err)
                    self.assertIn(message, err)
                    self.assertEqual(folder.read("b.json"), text)
                    self.assertFalse((folder.path / "landscape-report").exists())

    def test_not_utf8(self):
        with Folder() as folder:
            (folder.path / "b.json").write_bytes(b'{"version": 1, "findings": ["\xff"]}')
            code, out, err = folder.run("--baseline", "b.json", "clean.xml")
            self.assertEqual((code, out), (2, ""))
            self.assertIn("line 1: ", err)
            self.assertIn("larger than 128 MB", folder.run("--baseline", "/dev/zero", "clean.xml")[2])

    def test_known_findings_pass(self):
        """Whatever is found is known afterwards, from wherever the program is started."""
        for files in (["twins.xml", "infos.xml"], ["invalid.xml"], ["broken.xml", "sub/main.xml"],
                      ["odd %#ü'.xml"], ["many.xml"]):
            with self.subTest(files), Folder() as folder:
                limit = ["--fail-on", "info"]
                self.assertEqual(folder.run(*limit, "--write-baseline", "b.json", *files)[0], 0)
                first = folder.read("b.json")
                self.assertEqual(folder.run(*limit, "--write-baseline", "b.json", *files)[0], 0)
                self.assertEqual(folder.read("b.json"), first)
                self.assertNotIn('"line"', first)
                for cwd, prefix in (".", ""), ("sub", "../"), (".", f"{folder.path}/"):
                    code, document = folder.findings(
                        *limit, "--baseline", prefix + "b.json", *(prefix + f for f in files), cwd=cwd)
                    self.assertEqual(code, 0)
                    self.assertEqual({f["baselineState"] for f in document["findings"]}, {"known"})
                    self.assertEqual(document["baseline"]["noLongerFound"], [])
                    self.assertEqual(document["counts"]["known"], len(document["findings"]))
                for name in files:
                    folder.write(name, FILES[name].replace("<Landscape", "\n<Landscape", 1))
                self.assertEqual(folder.run(*limit, "--baseline", "b.json", *files)[0], 0)

    def test_every_format_knows(self):
        with Folder() as folder:
            folder.run("--write-baseline", "b.json", "twins.xml")
            folder.write("twins.xml", landscape(services(UUID % 3, UUID % 3, UUID % 4)))
            run = lambda name: folder.run("--baseline", "b.json", "-f", name, "twins.xml")[1]
            results = json.loads(run("sarif"))["runs"][0]["results"]
            self.assertEqual([(r["baselineState"], len(r["suppressions"])) for r in results],
                             [("unchanged", 1)] * 3 + [("new", 0)])
            self.assertEqual(run("github").count("\n"), 1)
            kinds = {name.split(":")[0]: kind for _, name, kind, _ in cases_of(run("junit"))}
            self.assertEqual((kinds["rule 6"], kinds["rule 30"]), (["Skipped"], ["Failure"]))
            text = run("text")
            self.assertIn("3 known findings are not shown.", text)
            self.assertIn(UUID % 4, text)
            self.assertNotIn(UUID % 3, text)

    def test_copies_are_counted(self):
        with Folder() as folder:
            same = UUID % 7
            folder.write("a.xml", landscape(services(same, same)))
            folder.run("--write-baseline", "b.json", "a.xml")
            folder.write("a.xml", landscape(services(same, same, same)))
            code, document = folder.findings("--fail-on", "info", "--baseline", "b.json", "a.xml")
            fresh = [f for f in document["findings"] if f["baselineState"] == "new"]
            self.assertEqual(code, 1)
            self.assertEqual({f["line"] for f in fresh if f["ruleId"] == 30}, {5})
            folder.write("a.xml", landscape(services(same)))
            code, document = folder.findings("--fail-on", "info", "--baseline", "b.json", "a.xml")
            gone = {(e["ruleId"], e["count"]) for e in document["baseline"]["noLongerFound"]}
            self.assertEqual(code, 0)
            self.assertIn((30, 1), gone)

    def test_counted_violations(self):
        """Beyond the first hundred of a file violations are a number, which may not grow."""
        with Folder() as folder:
            wrong = lambda numbers: landscape("\n".join(f"<Wrong{i}/>" for i in numbers))
            folder.run("--write-baseline", "b.json", "many.xml")
            for numbers, code, fresh in ((range(130), 0, 0), (range(131), 1, 1), (range(1, 130), 0, 0),
                                         (range(50, 130), 0, 0), ([999, *range(1, 130)], 1, 1)):
                with self.subTest(len(numbers)):
                    folder.write("many.xml", wrong(numbers))
                    got, document = folder.findings("--baseline", "b.json", "many.xml")
                    self.assertEqual((got, len(new_texts(document))), (code, fresh))

    def test_prune(self):
        with Folder() as folder:
            base = ["--baseline", "b.json", "--prune-baseline"]
            folder.run("--write-baseline", "b.json", "twins.xml", "infos.xml", "invalid.xml")
            whole = folder.read("b.json")
            folder.write("twins.xml", FILES["clean.xml"])
            kept = (["infos.xml", "invalid.xml"],               # not all files of the baseline
                    ["twins.xml", "infos.xml", "none.xml"],     # one that cannot be read
                    ["none.xml", "twins.xml", "infos.xml"],
                    ["twins.xml", "infos.xml", "broken.xml"])
            for files in kept:
                folder.run(*base, *files)
                self.assertEqual(folder.read("b.json"), whole, files)
            (folder.path / "infos.xml").rename(folder.path / "away.xml")
            self.assertEqual(folder.run(*base, "infos.xml", "twins.xml", "invalid.xml")[0], 2)
            self.assertEqual(folder.read("b.json"), whole)
            (folder.path / "away.xml").rename(folder.path / "infos.xml")
            listed = folder.run("--baseline", "b.json", "infos.xml", "twins.xml", "invalid.xml")[1]
            self.assertIn("no longer occur", listed)
            self.assertEqual(folder.read("b.json"), whole)
            code, document = folder.findings(*base, "infos.xml", "twins.xml", "invalid.xml")
            self.assertEqual((code, document["baseline"]["pruned"]), (0, True))
            left = {entry["file"] for entry in json.loads(folder.read("b.json"))["findings"]}
            self.assertEqual(left, {"infos.xml", "invalid.xml"})
            (folder.path / "infos.xml").unlink()
            folder.run(*base, "invalid.xml", "twins.xml")
            left = {entry["file"] for entry in json.loads(folder.read("b.json"))["findings"]}
            self.assertEqual(left, {"invalid.xml"})

    def test_prune_with_chosen_rules(self):
        """Entries of rules that did not run stay; those of rules that did are gone."""
        for choice, left in ((["--only-rule", "30"], {6}), (["--disable-rule", "30"], {30}),
                             (["--disable-rule", "schema"], set()), (["--only-rule", "schema"], {6, 30}),
                             (["--min-severity", "error"], set())):
            with self.subTest(choice), Folder() as folder:
                folder.run("--write-baseline", "b.json", "twins.xml")
                folder.write("twins.xml", FILES["clean.xml"])
                folder.run("--baseline", "b.json", "--prune-baseline", *choice, "twins.xml")
                kept = json.loads(folder.read("b.json"))["findings"]
                self.assertEqual({entry["rule"] for entry in kept}, left)

    def test_one_file_under_two_names(self):
        with Folder() as folder:
            folder.run("--write-baseline", "b.json", "twins.xml")
            first = folder.read("b.json")
            (folder.path / "link.json").symlink_to("b.json")
            for name in ("./b.json", "link.json", str(folder.path / "b.json")):
                code, _, err = folder.run("--baseline", "b.json", "--write-baseline", name,
                                          "--prune-baseline", "twins.xml", "infos.xml")
                self.assertEqual((code, err), (0, ""), name)
                self.assertIn("infos.xml", folder.read("b.json"))
                folder.write("b.json", first)
            code, _, err = folder.run("--baseline", "b.json", "--output-file", "json=link.json", "twins.xml")
            self.assertEqual(code, 2)
            self.assertIn("twice", err)
            self.assertEqual(folder.read("b.json"), first)

    def test_suppressions(self):
        entries = [{"rule": 30, "file": "infos.xml", "uuid": UUID % 1, "reason": "a test entry"},
                   {"rule": 6, "reason": "twins are wanted"},
                   {"rule": 0, "file": "infos.xml", "reason": "never needed"}]
        with Folder() as folder:
            folder.write("b.json", json.dumps({"version": 1, "suppressions": entries}))
            files = ["infos.xml", "twins.xml"]
            code, document = folder.findings("--baseline", "b.json", "--fail-on", "warning", *files)
            self.assertEqual((code, document["counts"]["suppressed"]), (0, 2))
            self.assertEqual({f["reason"] for f in document["findings"]},
                             {"a test entry", "twins are wanted", None})
            self.assertEqual([s["reason"] for s in document["baseline"]["unusedSuppressions"]],
                             ["never needed"])
            folder.run("--write-baseline", "b.json", *files)
            written = json.loads(folder.read("b.json"))
            self.assertEqual(len(written["suppressions"]), 3)
            self.assertNotIn(6, [entry["rule"] for entry in written["findings"]])
            folder.run("--baseline", "b.json", "--write-baseline", "sub/c.json", *files)
            moved = json.loads(folder.read("sub/c.json"))
            self.assertIn("../infos.xml", [entry.get("file") for entry in moved["suppressions"]])
            code, document = folder.findings("--baseline", "sub/c.json", "--fail-on", "info", *files)
            self.assertEqual((code, new_texts(document)), (0, []))

    def test_unread_files_are_never_known(self):
        with Folder() as folder:
            code, _, _ = folder.run("--write-baseline", "b.json", "infos.xml", "none.xml")
            self.assertEqual(code, 2)
            files = {entry["file"] for entry in json.loads(folder.read("b.json"))["findings"]}
            self.assertEqual(files, {"infos.xml"})
            self.assertEqual(folder.run("--baseline", "b.json", "infos.xml", "none.xml")[0], 2)
            (folder.path / "infos.xml").unlink()
            folder.run("--write-baseline", "b.json", "twins.xml", "infos.xml")
            files = {entry["file"] for entry in json.loads(folder.read("b.json"))["findings"]}
            self.assertEqual(files, {"infos.xml", "twins.xml"})


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
