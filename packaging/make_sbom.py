# SPDX-License-Identifier: Apache-2.0
"""usage: make_sbom.py BUILD SOURCE VERSION ROOT

Prints the bill of materials of the runtime package as CycloneDX 1.5 JSON: what the program and the
library under ROOT (the files about to be packed) are linked with, what was compiled into them from
headers (as the compiler's own dependency files of BUILD tell), and the resources that SOURCE embeds.
Nothing is listed by hand, so nothing can be forgotten. The same files give the same text;
SOURCE_DATE_EPOCH, when set, is its date."""
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys
import time
import urllib.parse
import uuid

# Headers of the language and the system: what they need at run time is linked, and listed as such.
TOOLCHAIN = re.compile(r"(libc6|libstdc\+\+-\d+|linux-libc|libgcc-\d+)-dev$")
SUPPLIER = {"name": "naxfewxmldb maintainers"}
OWN = [{"license": {"id": "Apache-2.0"}}]


def output(*command, **options):
    return subprocess.run(command, check=True, capture_output=True, text=True, **options).stdout


def hashes(path):
    return [{"alg": "SHA-256", "content": hashlib.sha256(path.read_bytes()).hexdigest()}]


def owner(path):
    """The Debian package of a file, which the loader may name by its place before /usr was merged."""
    real = os.path.realpath(path)
    for name in (path, real, real.removeprefix("/usr"), "/usr" + path):
        found = subprocess.run(["dpkg-query", "-S", name], capture_output=True, text=True, check=False)
        if found.returncode == 0:
            return found.stdout.split(": ")[0].split(",")[0]
    sys.exit(f"make_sbom.py: no package owns {path}")


def needed(path):
    return re.findall(r"\(NEEDED\).*\[(.*)\]", output("readelf", "-d", path))


def linked(paths, folder):
    """The files that the loader takes, by the names that they are asked for; our own excepted."""
    found = {}
    for path in paths:
        text = output("ldd", path, env={**os.environ, "LD_LIBRARY_PATH": str(folder)})
        for name, file in re.findall(r"^\s*(\S+) (?:=> (/\S+) )?\(0x", text, re.MULTILINE):
            file = file or name
            if file.startswith("/") and "naxfewxmldb" not in name:
                found[os.path.basename(name)] = file
        if "not found" in text:
            sys.exit(f"make_sbom.py: {text}")
    return found


def compiled_in(build):
    """Packages whose headers went into the objects."""
    headers = set(re.findall(r"^ +(/usr/include/\S+)$", output("ninja", "-C", build, "-t", "deps"),
                             re.MULTILINE))
    names = set()
    ordered = sorted(headers)
    for at in range(0, len(ordered), 200):
        names |= {line.split(": ")[0].split(",")[0]
                  for line in output("dpkg-query", "-S", *ordered[at:at + 200]).splitlines()}
    return {name for name in names if not TOOLCHAIN.match(name.split(":")[0])}


def licences(package):
    """The names that Debian's copyright file gives them, which are not all SPDX ids."""
    path = pathlib.Path("/usr/share/doc", package.split(":")[0], "copyright")
    text = path.read_text(encoding="utf-8", errors="replace") if path.exists() else ""
    names = sorted({name.strip() for name in re.findall(r"^License: *(\S.*)$", text, re.MULTILINE)})
    return [{"license": {"name": name}} for name in names or [f"see {path} of the Debian package"]]


def component(package, how):
    fields = output("dpkg-query", "-W", "-f", "${Package}\n${Version}\n${Architecture}\n"
                    "${source:Package}\n${source:Version}\n${Maintainer}", package).split("\n")
    name, version, architecture, source, source_version, maintainer = fields
    quoted = urllib.parse.quote(version, safe="")
    purl = f"pkg:deb/debian/{urllib.parse.quote(name, safe='')}@{quoted}?arch={architecture}"
    return {"type": "library", "bom-ref": purl, "supplier": {"name": maintainer}, "name": name,
            "version": version, "licenses": licences(package), "purl": purl,
            "properties": [{"name": "debian:source", "value": f"{source} {source_version}"},
                           {"name": "naxfewxmldb:linkage", "value": how}]}


def embedded_files(build, source):
    """Each with the folder that its name is relative to: written by hand, or made by the build."""
    text = (source / "src/resources/resources.cmake").read_text(encoding="utf-8")
    text = text.replace('"${rules_page}"', "LandscapeValidationRules.htm")
    for name in re.findall(r"^ +\d+ (?:MY_TEXTINCLUDE|RT_RCDATA) ([^ )\n]+)", text, re.MULTILINE):
        base = next(base for base in (source, build) if (base / "src" / name).exists())
        yield base / "src" / name, base


def resource(path, base):
    name = str(path.relative_to(base))
    return {"type": "file", "bom-ref": f"resource:{path.name}", "supplier": SUPPLIER, "name": name,
            "hashes": hashes(path), "licenses": OWN,
            "properties": [{"name": "naxfewxmldb:linkage", "value": "embedded"}]}


def remote_scripts(page):
    """What the report page asks the network for when somebody opens it."""
    found = re.findall(r'src="https://cdn\.jsdelivr\.net/npm/([^@"]+)@([^/"]+)/[^"]*"\s+'
                       r'integrity="sha384-([^"]+)"', page.read_text(encoding="utf-8"))
    return [{"type": "library", "bom-ref": f"pkg:npm/{name}@{version}", "name": name,
             "version": version, "scope": "optional", "purl": f"pkg:npm/{name}@{version}",
             "properties": [{"name": "naxfewxmldb:linkage",
                             "value": "not in the package; the report page asks the network for it"},
                            {"name": "naxfewxmldb:integrity", "value": f"sha384-{digest}"}]}
            for name, version, digest in found]


def describe(build, source, version, root):
    program = root / "usr/bin/landscape-validator"
    library = next(path for path in root.glob("usr/lib/**/libnaxfewxmldb.so.*")
                   if not path.is_symlink())
    files = linked([program, library], library.parent)
    packages = {name: owner(file) for name, file in files.items()}
    dynamic = [component(package, "dynamic") for package in sorted(set(packages.values()))]
    sources = {item["properties"][0]["value"] for item in dynamic}
    headers = [item for item in (component(name, "compiled in from headers")
                                 for name in sorted(compiled_in(build)))
               if item["properties"][0]["value"] not in sources]
    embedded = [resource(path, base) for path, base in embedded_files(build, source)]
    remote = remote_scripts(source / "src/resources/report_page.htm")
    refs = {item["name"]: item["bom-ref"] for item in dynamic}
    parts = {"landscape-validator": program, "libnaxfewxmldb": library}
    own = [{"type": "application" if path == program else "library", "bom-ref": name,
            "supplier": SUPPLIER, "name": name, "version": version, "hashes": hashes(path),
            "licenses": OWN} for name, path in parts.items()]
    own[0]["components"] = headers
    own[1]["components"] = embedded

    def uses(path):
        return sorted({refs[packages[name].split(":")[0]] for name in needed(path)
                       if name in packages})

    def uses_of_package(package):
        found = {ref for name, file in files.items() if packages[name] == package
                 for ref in uses(file)}
        return sorted(found - {refs[package.split(":")[0]]})

    bill = {
        "bomFormat": "CycloneDX", "specVersion": "1.5", "version": 1,
        "metadata": {
            "timestamp": time.strftime("%Y-%m-%dT%H:%M:%SZ",
                                       time.gmtime(int(os.environ.get("SOURCE_DATE_EPOCH", time.time())))),
            "tools": {"components": [{"type": "application", "name": "make_sbom.py",
                                      "version": version}]},
            "component": {"type": "application", "bom-ref": "package",
                          "supplier": SUPPLIER, "name": "naxfewxmldb", "version": version,
                          "licenses": OWN},
        },
        "components": own + dynamic + remote,
        "dependencies": [
            {"ref": "package", "dependsOn": ["landscape-validator", "libnaxfewxmldb"]},
            {"ref": "landscape-validator", "dependsOn": ["libnaxfewxmldb"] + uses(program)},
            {"ref": "libnaxfewxmldb", "dependsOn": uses(library)},
            *({"ref": refs[package.split(":")[0]], "dependsOn": uses_of_package(package)}
              for package in sorted(set(packages.values()))),
        ],
        "compositions": [{"aggregate": "complete", "assemblies": ["landscape-validator",
                                                                  "libnaxfewxmldb"]}],
    }
    text = json.dumps(bill, sort_keys=True)
    bill["serialNumber"] = f"urn:uuid:{uuid.uuid5(uuid.NAMESPACE_OID, text)}"
    return bill


def main():
    build, source, root = (pathlib.Path(sys.argv[at]).resolve() for at in (1, 2, 4))
    bill = describe(build, source, sys.argv[3], root)
    print(json.dumps(bill, indent=1, sort_keys=True, ensure_ascii=True))


main()
