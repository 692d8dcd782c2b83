#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""published_test.py TOOL: SARIF against its published schema, workflow commands against their
published writer, which run.sh installs from npm."""
import json
import pathlib
import re
import subprocess
import sys
import unittest

import jsonschema
from support import ROOT, Folder

HERE = pathlib.Path(__file__).resolve().parent
SCHEMA = json.loads(
    (HERE / "node_modules/@microsoft/jest-sarif/lib/schemas/sarif-2.1.0-rtm.5.json").read_text())
EXAMPLE = str(ROOT / "examples/faulty_landscape.xml")

RUNS = [["clean.xml"], ["infos.xml", "invalid.xml"], ["none.xml", "twins.xml"], ["none.xml"],
        ["sub/main.xml"], ["odd %#ü'.xml"], ["broken.xml"], ["many.xml"], [EXAMPLE],
        ["--min-severity", "error", "infos.xml"], ["--baseline", "b.json", "twins.xml", "infos.xml"],
        ["--baseline", "none.json", "clean.xml"]]


class Published(unittest.TestCase):
    def test_sarif_schema(self):
        check = jsonschema.Draft4Validator(SCHEMA, format_checker=jsonschema.FormatChecker())
        self.assertFalse(check.is_valid({"version": "2.1.0", "runs": [{}]}))
        for arguments in RUNS:
            with self.subTest(arguments), Folder() as folder:
                folder.run("--write-baseline", "b.json", "infos.xml", "clean.xml", "twins.xml")
                folder.write("twins.xml", folder.read("clean.xml"))
                _, out, _ = folder.run("-f", "sarif", *arguments)
                check.validate(json.loads(out))

    def test_workflow_commands(self):
        for files in (["infos.xml", "twins.xml", "invalid.xml"], ["odd %#ü'.xml"], ["sub/main.xml"]):
            with self.subTest(files), Folder() as folder:
                report = folder.run("-f", "json", *files)[1]
                wanted = subprocess.run(["node", HERE / "github_commands.mjs"], input=report.encode(),
                                        capture_output=True, check=True).stdout.decode()
                self.assertTrue(wanted)
                # What would colour a terminal is not written as it is.
                wanted = re.sub("[\u0080-\u009f]", "?", wanted)
                self.assertEqual(folder.run("-f", "github", *files)[1], wanted)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
