# SPDX-License-Identifier: Apache-2.0
"""Runs the program in a folder of its own, and reads each format with somebody else's parser."""
import json
import pathlib
import subprocess
import sys
import tempfile

import jsonschema
import junitparser

TOOL = pathlib.Path(sys.argv[1]).resolve()
ROOT = pathlib.Path(__file__).resolve().parents[2]
FINDINGS_SCHEMA = json.loads((ROOT / "docs/findings.schema.json").read_text())

UUID = "00000000-0000-4000-8000-%012d"
GUID_FREE = "a&#10;b&#9;%c,:]]&gt;&quot;\u009b\U0001F600"  # ends lines, quotes, colours a terminal


def landscape(content):
    return f'<?xml version="1.0" encoding="UTF-8"?>\n<Landscape updated="2026-01-01">{content}</Landscape>\n'


def services(*uuids):
    """One service a line, from line 3 on: rule 30 (info) for each; rule 6 for repeated ids."""
    return ("<Services>\n"
            + "".join(f'<Service type="URL" uuid="{uuid}"/>\n' for uuid in uuids) + "</Services>")


FILES = {
    "clean.xml": landscape(""),
    "infos.xml": landscape(services(UUID % 1, UUID % 2)),
    "twins.xml": landscape(services(UUID % 3, UUID % 3)),
    "invalid.xml": landscape('<Routers><Router name="r"/></Routers>'),
    "odd %#ü'.xml": landscape(services(GUID_FREE)),
    "sub/main.xml": landscape('<Includes><Include url="../infos.xml"/><Include url="gone.xml"/>'
                              '<Include url="https://example.invalid/a b.xml"/></Includes>'),
    "broken.xml": "<Landscape><Services>\n",
    "many.xml": landscape("\n".join(f"<Wrong{i}/>" for i in range(130))),
}


class Folder:
    """The files above in a scratch folder, in which the program is run."""

    def __enter__(self):
        self._scratch = tempfile.TemporaryDirectory()
        self.path = pathlib.Path(self._scratch.name)
        for name, text in FILES.items():
            self.write(name, text)
        return self

    def __exit__(self, *_):
        self._scratch.cleanup()

    def write(self, name, text):
        target = self.path / name
        target.parent.mkdir(exist_ok=True)
        target.write_text(text, encoding="utf-8")

    def read(self, name):
        return (self.path / name).read_text(encoding="utf-8")

    def run(self, *arguments, cwd="."):
        done = subprocess.run([TOOL, "validate", *arguments], cwd=self.path / cwd,
                              capture_output=True, check=False, stdin=subprocess.DEVNULL)
        return done.returncode, done.stdout.decode(), done.stderr.decode()

    def findings(self, *arguments, cwd="."):
        """Runs with JSON on standard output; exit code and document."""
        code, out, _ = self.run("-f", "json", *arguments, cwd=cwd)
        document = json.loads(out)
        jsonschema.Draft202012Validator(FINDINGS_SCHEMA).validate(document)
        assert document["exitCode"] == code, (document["exitCode"], code)
        return code, document


def cases_of(junit):
    """(class, name, kinds of result, their messages) of each test case."""
    read = junitparser.JUnitXml.fromstring(junit.encode())
    return [(case.classname, case.name, [type(r).__name__ for r in case.result],
             [r.message for r in case.result]) for suite in read for case in suite]
