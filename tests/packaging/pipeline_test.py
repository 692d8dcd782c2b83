# SPDX-License-Identifier: Apache-2.0
"""usage: pipeline_test.py PROGRAM EXAMPLES

Reads every pipeline in EXAMPLES/ci with a YAML parser and runs each of its validator's command lines
as a shell would, on the example landscapes, in a folder that is laid out as the pipeline expects. The
files that later steps take must then be there."""
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree

import yaml


def texts(node):
    """Every text in a YAML document."""
    if isinstance(node, dict):
        node = list(node.values())
    if isinstance(node, list):
        return [text for child in node for text in texts(child)]
    return [node] if isinstance(node, str) else []


def run(pipeline, program, examples):
    with pipeline.open(encoding="utf-8") as file:
        found = texts(yaml.safe_load(file))
    commands = [line for text in found for line in text.splitlines()
                if line.startswith("landscape-validator ")]
    assert commands, f"{pipeline.name} runs no validator"
    with tempfile.TemporaryDirectory() as name:
        work = pathlib.Path(name)
        (work / "landscapes").mkdir()
        for landscape in examples.glob("*.xml"):
            shutil.copy(landscape, work / "landscapes")
        environment = {**os.environ, "PATH": f"{program.parent}:{os.environ['PATH']}"}
        for command in commands:
            done = subprocess.run(["sh", "-ec", command], cwd=work, env=environment,
                                  capture_output=True, text=True, timeout=60, check=False)
            assert done.returncode == 1, f"{command}: {done.returncode}\n{done.stderr}"
            if "--format github" in command:
                assert "::error " in done.stdout, done.stdout
        for text in found:
            if text.endswith(".sarif"):
                assert json.loads((work / text).read_text(encoding="utf-8"))["runs"][0]["results"]
            elif text.endswith(".junit.xml"):
                root = xml.etree.ElementTree.parse(work / text).getroot()
                assert next(root.iter("failure"), None) is not None
            elif text == "landscape-report":
                assert (work / text / "ValidationResults.htm").stat().st_size > 0
    return len(commands)


def main():
    program, examples = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
    pipelines = sorted((examples / "ci").glob("*.yml"))
    subprocess.run(["yamllint", "-d", "{extends: default, rules: {line-length: {max: 110}, "
                    "document-start: disable}}", *pipelines], check=True)
    assert len(pipelines) >= 2
    for pipeline in pipelines:
        print(f"{pipeline.name}: {run(pipeline, program, examples)} command lines run")


if __name__ == "__main__":
    main()
