# SPDX-License-Identifier: Apache-2.0
"""usage: package_test.py FOLDER [SCHEMAS]: reads the packages of FOLDER. The bill of materials must
be what the loader and Debian say of the packed files, and the pages must link nothing that is not
there. SCHEMAS is a folder with the published schemas of CycloneDX, to hold the bill against."""
import hashlib
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import urllib.parse

faults = []


def expect(what, right):
    if not right:
        faults.append(what)
        print(f"FAILED: {what}")


def output(*command, **options):
    return subprocess.run(command, check=True, capture_output=True, text=True, **options).stdout


def linkage(item):
    return {entry["name"]: entry["value"] for entry in item.get("properties", [])}.get(
        "naxfewxmldb:linkage")


def shared_packages(root):
    """Asked of the loader again, file by file, with Debian's own list of what a package holds."""
    library = next(root.glob("usr/lib/*/libnaxfewxmldb.so.?.?.?"))
    loaded = output("ldd", root / "usr/bin/landscape-validator",
                    env={"LD_LIBRARY_PATH": str(library.parent)})
    files = {pathlib.Path(name).resolve() for name in re.findall(r"(/\S+) \(0x", loaded)}
    files = {str(file) for file in files if root not in file.parents}
    found = set()
    for file in files:
        named = [file, file.removeprefix("/usr")]
        found |= {line.split(":")[0] for name in named
                  for line in subprocess.run(["dpkg", "-S", name], capture_output=True, text=True,
                                             check=False).stdout.splitlines()}
    return found


def check_bill(root, schemas):
    doc = root / "usr/share/doc/landscape-validator"
    bill = json.loads((doc / "landscape-validator.cdx.json").read_text(encoding="utf-8"))
    listed = bill["components"] + [part for item in bill["components"]
                                   for part in item.get("components", [])]
    dynamic = {item["name"]: item for item in listed if linkage(item) == "dynamic"}
    loaded = shared_packages(root)
    expect(f"linked packages: {sorted(loaded ^ set(dynamic))}", loaded == set(dynamic) and loaded)
    for name, item in dynamic.items():
        installed = output("dpkg-query", "-W", "-f", "${Version} ${Maintainer}", name)
        expect(f"{name}: version and supplier",
               installed == f"{item['version']} {item['supplier']['name']}")
        expect(f"{name}: purl", urllib.parse.unquote(item["purl"]).startswith(
            f"pkg:deb/debian/{name}@{item['version']}?arch="))
        expect(f"{name}: licence", item["licenses"])
    # Debian's own tool has read the same files for the package's dependencies.
    depends = output("dpkg-deb", "-f", next(root.parent.glob("landscape-validator_*.deb")), "Depends")
    direct = {re.sub(r"t64$", "", text.split()[0]) for text in depends.split(", ")}
    expect(f"dependencies of the package: {direct - loaded}", direct <= loaded)
    headers = {item["name"] for item in listed if linkage(item) == "compiled in from headers"}
    expect(f"headers: {headers}", {"libcli11-dev", "nlohmann-json3-dev"} <= headers)
    expect("headers of linked libraries are not listed twice", not headers & {"libxml2-dev"})
    embedded = [item for item in listed if linkage(item) == "embedded"]
    expect("embedded resources", any("NAX-icons.woff" in item["name"] for item in embedded) and
           len(embedded) == 11)
    for item, file in ((item, next(root.glob(pattern))) for name, pattern in (
            ("landscape-validator", "usr/bin/landscape-validator"),
            ("libnaxfewxmldb", "usr/lib/*/libnaxfewxmldb.so.?.?.?"))
                       for item in listed if item["name"] == name):
        expect(f"{item['name']}: digest", item["hashes"][0]["content"] ==
               hashlib.sha256(file.read_bytes()).hexdigest())
    references = {item["bom-ref"] for item in listed} | {"package"}
    used = {ref for entry in bill["dependencies"] for ref in [entry["ref"], *entry["dependsOn"]]}
    expect(f"dangling references: {used - references}", used <= references)
    expect("every linked package is used by something",
           {item["bom-ref"] for item in dynamic.values()} <=
           {ref for entry in bill["dependencies"] for ref in entry["dependsOn"]})
    if schemas:
        check_schema(bill, schemas)
    return len(listed)


def check_schema(bill, schemas):
    import jsonschema
    store = {}
    for name in ("bom-1.5", "spdx", "jsf-0.82"):
        text = json.loads((schemas / f"{name}.SNAPSHOT.schema.json").read_text(encoding="utf-8"))
        store[text["$id"]] = text
        store[f"http://cyclonedx.org/schema/{name}.SNAPSHOT.schema.json"] = text
    schema = store["http://cyclonedx.org/schema/bom-1.5.SNAPSHOT.schema.json"]

    def no_more_items(_, allowed, instance, parent):
        # The module's own function fails over items that cannot be sorted.
        if isinstance(parent.get("items"), list) and allowed is False and \
                len(instance) > len(parent["items"]):
            yield jsonschema.ValidationError("too many items")

    validator = jsonschema.validators.extend(jsonschema.Draft7Validator,
                                             {"additionalItems": no_more_items})
    resolver = jsonschema.RefResolver(schema["$id"], schema, store)
    for error in validator(schema, resolver=resolver).iter_errors(bill):
        expect(f"schema: {'/'.join(map(str, error.path))}: {error.message[:200]}", False)


def check_links(doc):
    """Every page that is installed links only what is installed with it."""
    links = 0
    for page in doc.rglob("*.md"):
        for target in re.findall(r"\]\(([^)#:\s]+)(?:#[^)]*)?\)", page.read_text(encoding="utf-8")):
            links += 1
            expect(f"{page.name} links {target}", (page.parent / target).exists())
    expect("the pages link each other", links > 50)
    return links


def main():
    folder = pathlib.Path(sys.argv[1]).resolve()
    schemas = pathlib.Path(sys.argv[2]) if len(sys.argv) > 2 else None
    with tempfile.TemporaryDirectory() as scratch:
        packed = next(folder.glob("landscape-validator_*.deb"))
        (pathlib.Path(scratch) / packed.name).symlink_to(packed)
        root = pathlib.Path(scratch).resolve() / "root"
        output("dpkg-deb", "-x", packed, root)
        components = check_bill(root, schemas)
        links = check_links(root / "usr/share/doc/landscape-validator")
    print(f"{components} components, {links} links"
          f"{', schema held' if schemas else ''}; {len(faults)} failed")
    return 1 if faults else 0


sys.exit(main())
