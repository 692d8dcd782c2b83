# SPDX-License-Identifier: Apache-2.0
"""usage: pages_test.py PROGRAM SOURCE

Tries the pages as a reader would: runs the command lines that README.md and docs/ show, in a folder of
its own for each page, and compares what the pages show of the output; loads the configuration files and
baselines that they show; and looks for options that only the pages or only the program knows."""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

# First words of command lines that other tests try, or that would install something.
ELSEWHERE = re.compile(r"(scripts/.*|sudo|cmake|podman|\.|xmllint|xsltproc|fpath=.*)$")
TRIED = {"landscape-validator", "sqlite3"}
FORMATS = {"JSON": "json", "SARIF": "sarif", "JUnit": "junit", "Workflow": "github", "Text": "text"}
RULES = '<ValidationRules><Rule id="200" name="n" type="Info" msg="m" body="SELECT 1"/></ValidationRules>'


class Page:
    def __init__(self, program, source, path, work):
        self.examples, self.path, self.work = source / "examples", path, work
        self.environment = {**os.environ, "HOME": str(work), "TZ": "UTC", "LC_ALL": "C.UTF-8",
                            "PATH": f"{program.parent}:{os.environ['PATH']}"}
        self.faults, self.ran = [], 0
        self.lay_out()

    def lay_out(self):
        """What the pages take for granted: the examples, and files of the names that they use."""
        shutil.copytree(self.examples, self.work / "examples")
        for name in ("clean_landscape.xml", "faulty_landscape.xml", "faulty_include.xml"):
            shutil.copy(self.examples / name, self.work)
        for name in ("landscape.xml", "central.xml", "local.xml", "a.xml", "conf/a.xml"):
            (self.work / name).parent.mkdir(exist_ok=True)
            shutil.copy(self.examples / "clean_landscape.xml", self.work / name)
        (self.work / "site-rules.xml").write_text(RULES, encoding="utf-8")
        (self.work / "mirror").mkdir()
        self.run("landscape-validator -o report landscape.xml")
        text = self.path.read_text(encoding="utf-8")
        for shown in re.findall(r"```toml\n(.*?)```", text, re.DOTALL):
            (self.work / "landscape-validator.toml").write_text(shown, encoding="utf-8")
        self.environment.update(re.findall(r"`(LANDSCAPE_VALIDATOR_\w+)=(\w+)`", text))

    def run(self, command):
        self.ran += 1
        done = subprocess.run(["bash", "-c", command], cwd=self.work, env=self.environment, timeout=120,
                              stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
        if done.returncode not in (0, 1):
            self.faults.append(f"{command}\n  ends with {done.returncode}: {done.stderr}")
        return done.stdout + done.stderr

    def expect(self, command, printed, shown):
        """Each line that is shown stands in what was printed, in this order; "..." skips lines."""
        position = 0
        for line in shown:
            if line.strip() and line.strip() != "...":
                found = printed.find(line.rstrip(), position)
                if found < 0:
                    self.faults.append(f"{command}\n  does not print: {line}")
                    continue
                position = found + len(line.rstrip())

    def session(self, lines):
        """Runs the command lines of a block; what follows one is what it prints."""
        command, shown = None, []
        for line in [*lines, None]:
            text = line[2:] if line is not None and line.startswith("$ ") else line
            word = re.sub(r"^(\w+=\S* )+", "", text).split(" ")[0] if text else ""
            if line is not None and not (text != line or word in TRIED or
                                         ELSEWHERE.match(word)):
                shown.append(line)
                continue
            if command is not None:
                self.expect(command, self.run(command), shown)
            # Lines with brackets and FILE show what may be written, not what is.
            tried = word in TRIED and not re.search(r" [\[|] |\[[a-z-]|\bFILE\b", text)
            command, shown = (text if tried else None), []

    def block(self, language, lines, heading):
        if language == "json" and '"findings"' in "".join(lines) and "..." not in "".join(lines):
            (self.work / "shown.json").write_text("\n".join(lines), encoding="utf-8")
            self.run("landscape-validator --baseline shown.json landscape.xml")
        elif self.path.name == "formats.md" and heading in FORMATS:
            folder = "examples/" if heading == "Text" else ""
            self.expect(heading, self.run(
                f"landscape-validator -f {FORMATS[heading]} {folder}faulty_landscape.xml"), lines)
        elif language in ("", "sh", "console"):
            self.session(lines)

    def read(self):
        language, lines, heading = None, [], ""
        for line in self.path.read_text(encoding="utf-8").splitlines():
            if line.startswith("```"):
                if language is None:
                    language, lines = line[3:], []
                else:
                    self.block(language, lines, heading)
                    language = None
            elif language is not None:
                lines.append(line)
            elif line.startswith("#"):
                heading = line.lstrip("# ").split(" ")[0]


def option_faults(program, pages):
    """Options of the program without a word in the pages, and of the pages' tables without an option."""
    known = set()
    for command in ("validate", "collect", "rules list", "rules explain", "rules check", "schema print"):
        text = subprocess.run([program, *command.split(), "--help"], capture_output=True, text=True,
                              check=True).stdout
        known.update(re.findall(r"^ +(?:-\w,)?(--[a-z-]+)", text, re.MULTILINE))
    written = "\n".join(page.read_text(encoding="utf-8") for page in pages if page.name != "performance.md")
    rows = "\n".join(re.findall(r"^\| `-[^|]*\|", written, re.MULTILINE))
    assert len(known) > 30, known
    return ([f"in no page: {option}" for option in known if not re.search(f"{option}(?![a-z-])", written)] +
            [f"no such option: {option}" for option in re.findall(r"--[a-z-]+", rows)
             if option not in known])


def main():
    program, source = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
    paths = [source / "README.md", *sorted((source / "docs").glob("*.md"))]
    faults, ran = option_faults(program, paths), 0
    for path in paths:
        if path.name == "writing-rules.md":  # tried line by line in a test of its own
            continue
        with tempfile.TemporaryDirectory() as name:
            page = Page(program, source, path, pathlib.Path(name))
            page.read()
            ran += page.ran
            faults += [f"{path.name}: {fault}" for fault in page.faults]
    print("\n".join(faults))
    print(f"{ran} command lines run, {len(faults)} faults")
    return 1 if faults or ran < 30 else 0


if __name__ == "__main__":
    sys.exit(main())
