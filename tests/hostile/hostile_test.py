#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Hostile landscape files against the program itself: exit code, message, peak memory, time.

    hostile_test.py PROGRAM [--full] [--table]

Without --full sizes are such that each refusal happens just the same, in seconds. --full takes the
biggest, and --table prints what was measured in Markdown."""

import json
import os
import resource
import shutil
import subprocess
import sys
import tempfile
import time
import xml.parsers.expat

from inputs import (CLOSE, HEAD, MIB, OPEN, SMALL, UUID, WORKSPACE, WORKSPACE_END, attribute,
                    attributes, doctype, encoded, filled, gzipped, includes, landscape, laughs,
                    memo, nested, nodes, repeated, write, zipped)

FULL = "--full" in sys.argv
PROGRAM = os.path.abspath(sys.argv[1])
# Sanitizers keep several times the memory and time of the program for themselves.
SANITIZED = subprocess.run(["grep", "-q", "__asan_init\\|__tsan_init", PROGRAM],
                           check=False).returncode == 0
BIG = 100 * MIB if FULL else 11 * MIB
MEMORY = 400
SECONDS = 120

LOOP = b"<!ENTITY a '&b;'><!ENTITY b '&a;'>"
SECRET = b"SECRET-CONTENT"
EXTERNAL = "external entities are not loaded"
EXPANDS = "expand into too much text"


def limit(name, what=""):
    return [f'{what}, which is the limit "{name}". --limit {name}=NUMBER raises it.']


def external(declaration, use=b"<Workspaces>&e;</Workspaces>"):
    return lambda: doctype(declaration, use)


def many(piece, count, full):
    return repeated(piece, full if FULL else count)


# name, input, exit code, pieces of the message, further options
ROWS = [
    ("billion laughs in text", lambda: laughs(30, b"<Workspaces>%s</Workspaces>"), 1, [EXPANDS]),
    ("billion laughs in an attribute", lambda: laughs(30, b'<Workspaces default="%s"/>'), 1,
     [EXPANDS]),
    ("billion laughs of parameter entities", lambda: laughs(30, b"", b"%"), 1, ["line 2"]),
    ("billion laughs of empty parameter entities",
     lambda: [b"".join(laughs(30, b"", b"%")).replace(b"lol", b" ")], 1, ["too much text"]),
    ("quadratic blowup", lambda: doctype(b"<!ENTITY e '" + b"x" * 90_000 + b"'>",
                                         b"<Workspaces>" + b"&e;" * 50_000 + b"</Workspaces>"), 1,
     ["too much text"]),
    ("default values for every element",
     lambda: landscape(many(b"<x/>", 100_000, 1_000_000), head=HEAD + b"<!DOCTYPE Landscape ["
                       b"<!ATTLIST x a CDATA '" + b"x" * 90_000 + b"'>]>"), 1, ["too much text"]),
    ("entity loop", lambda: doctype(LOOP, b"<Workspaces>&a;</Workspaces>"), 1, [EXPANDS]),
    ("entity loop in an attribute", lambda: doctype(LOOP, b'<Workspaces default="&a;"/>'), 1,
     [EXPANDS]),
    ("external entity, file", external(b"<!ENTITY e SYSTEM 'secret.txt'>"), 1, [EXTERNAL]),
    ("external entity, file: URL", external(b"<!ENTITY e SYSTEM 'file:///etc/passwd'>"), 1,
     [EXTERNAL]),
    ("external entity, http:", external(b"<!ENTITY e SYSTEM 'http://127.0.0.1:9/e'>"), 1,
     [EXTERNAL]),
    ("external entity, share", external(b"<!ENTITY e SYSTEM '\\\\127.0.0.1\\e'>"), 1, ["line"]),
    ("external entity in an attribute",
     external(b"<!ENTITY e SYSTEM 'secret.txt'>", b'<Workspaces default="&e;"/>'), 1, [EXTERNAL]),
    ("external parameter entity", external(b"<!ENTITY % p SYSTEM 'secret.dtd'> %p;"), 1,
     [EXTERNAL]),
    ("external subset", lambda: [HEAD + b"<!DOCTYPE Landscape SYSTEM 'secret.dtd'>" + OPEN +
                                 b"<Workspaces>&e;</Workspaces>" + CLOSE], 1, ['line 3: Entity "e" not defined']),
    ("xi:include", lambda: landscape(b"<i:include xmlns:i='http://www.w3.org/2001/XInclude' "
                                     b"href='secret.txt' parse='text'/>"), 1, ["is not expected"]),
    ("xsi:schemaLocation", lambda: [HEAD + OPEN.replace(
        b">", b" xmlns:x='http://www.w3.org/2001/XMLSchema-instance' "
              b"x:noNamespaceSchemaLocation='http://127.0.0.1:9/s.xsd'>", 1) + CLOSE], 0, []),
    ("10,000 levels of nodes", lambda: nodes(10_000), 0, ["10001 entries"]),
    ("300 levels of nodes and an entity",
     lambda: [b"".join(nodes(300)).replace(b"<Landscape", b"<!DOCTYPE Landscape [<!ENTITY e ''>]><Landscape", 1)],
     1, ["declares entities. Only without them"]),
    ("1,000,000 levels of unknown elements", lambda: nested(b"<x>", b"</x>", 1_000_000), 1,
     limit("depth")),
    ("1,000,000 levels of unknown elements, allowed",
     lambda: nested(b"<x>", b"</x>", 1_000_000 if FULL else 150_000), 1, ["is not expected"],
     ["--limit", "depth=2000000"]),
    ("1,000,000 attributes", lambda: attributes(1_000_000, lambda n: b'a%d="" ' % n), 1,
     limit("attributes")),
    ("1,000,000 times the same attribute", lambda: attributes(1_000_000, lambda _: b'a="" '), 1,
     limit("attributes")),
    ("the same attribute twice", lambda: [SMALL.replace(b"generator=", b"updated=")], 1,
     ["line 2"]),
    ("default attributes by the thousand",
     lambda: doctype(b"<!ATTLIST Landscape " + b" ".join(b"a%d CDATA ''" % n
                                                         for n in range(5_000)) + b">"), 1,
     limit("attributes")),
    ("2,000 namespaces in force",
     lambda: nested(lambda n: b'<x xmlns:p%d="u">' % n, b"</x>", 2_000), 1,
     limit("attributes", "namespaces declared at one place")),
    ("100 MB attribute", lambda: attribute(filled(BIG)), 1, limit("tag-size")),
    ("100 MB name", lambda: landscape(b"<x", filled(BIG), b"/>"), 1, limit("tag-size")),
    ("100 MB end tag", lambda: landscape(b"<x></x", filled(BIG), b">"), 1, limit("tag-size")),
    ("100 MB text", lambda: memo(filled(BIG)), 1, limit("text-size")),
    ("100 MB text in pieces", lambda: memo(repeated(b"x" * MIB + b"<!-- -->", BIG // MIB)), 1,
     limit("text-size")),
    ("100 MB memo around elements", lambda: memo(repeated(b"x" * MIB + b"<x/>", BIG // MIB)), 1,
     ["1 violation of the schema"]),
    ("100 MB CDATA section", lambda: memo(b"<![CDATA[", filled(BIG), b"]]>"), 1,
     limit("text-size")),
    ("100 MB comment", lambda: landscape(b"<!--", filled(BIG), b"-->"), 1, limit("text-size")),
    ("100 MB processing instruction", lambda: landscape(b"<?p ", filled(BIG), b"?>"), 1,
     limit("text-size")),
    ("100 MB document type", lambda: [HEAD, b"<!DOCTYPE Landscape [<!--", *filled(BIG), b"-->]>",
                                      OPEN, CLOSE], 1, limit("doctype-size")),
    ("1,000,000 different names", lambda: landscape(many(lambda n: b"<n%d/>" % n, 30_000,
                                                         1_000_000)), 1, limit("names")),
    ("1,000,000 different targets", lambda: landscape(many(lambda n: b"<?n%d?>" % n, 30_000,
                                                           1_000_000)), 1, limit("names")),
    ("a file beyond --limit file-size", lambda: landscape(repeated(b"<!-- -->\n", 2_000)), 1,
     limit("file-size", "more than 10,240 bytes"), ["--limit", "file-size=10KB"]),
    ("10,000,000 unknown elements", lambda: landscape(many(b"<x/>\n", 20_000, 10_000_000)), 1,
     ["10000000 violations" if FULL else "20000 violations"]),
    ("200,000 faulty items",
     lambda: landscape(WORKSPACE, many(b"<Item/>\n", 5_000, 200_000), WORKSPACE_END), 1,
     ["400000 violations" if FULL else "10000 violations"]),
    ("more findings than --limit findings",
     lambda: landscape(WORKSPACE, many(b"<Item/>\n", 400, 2_000_000), WORKSPACE_END), 2,
     limit("findings", "more than 200000 findings" if FULL else "more than 300 findings"),
     [] if FULL else ["--limit", "findings=300"]),
    ("long texts in findings", lambda: landscape(
        WORKSPACE, many(lambda n: b'<Node name="" uuid="%d' % (n // 2) + b"x" * 1_000_000 + b'"/>', 2, 20),
        WORKSPACE_END), 2, limit("findings", "more than 5000 findings"),
     ["--limit", "findings=5000"]),
    ("includes with long URLs", lambda: includes([b"%d" % n + "ä".encode() * 4_000_000 for n in range(4)]),
     1, ["its URL has more than 10,000 bytes"]),
    ("1,000,000 missing includes of 10,000", lambda: includes(
        [b"m%d.xml" % n for n in range(1_000_000 if FULL else 300)]), 1,
     limit("files", "has 10000 files" if FULL else "has 100 files"),
     [] if FULL else ["--limit", "files=100"]),
    ("one include 1,000,000 times", lambda: includes([b"m.xml"] * (1_000_000 if FULL else 50_000)),
     1, ["cannot be read: No such file"]),
    ("an unknown encoding", lambda: encoded("latin-1", declared="X-NOBODY"), 1, ["line 1"]),
    ("UTF-7", lambda: encoded("utf-7", declared="UTF-7"), 0, ["1 entr"]),
    ("EBCDIC", lambda: encoded("cp037"), 0, ["1 entr"]),
    ("ASCII, declared UTF-16", lambda: [b'<?xml version="1.0" encoding="UTF-16"?><Landscape/>'], 1,
     ["line 1"]),
    ("bytes of 0xFF", lambda: [b"\xFF" * 1_000], 1, ["line 1"]),
    ("an empty file", lambda: [], 1, ["is empty"]),
    ("no XML", lambda: [b"\n{}"], 1, ["line 2: The document has no outermost element"]),
    ("a byte-order mark", lambda: [b"\xEF\xBB\xBF"], 1, ["empty"]),
    ("gzip", gzipped, 1, ["line 1"]),
    ("zip", zipped, 1, ["line 1"]),
    ("HTML", lambda: [b"<!DOCTYPE html><html><body><p>" + SMALL[len(HEAD):] + b"<br></html>"], 1,
     ["line"]),
    ("UTF-16 without mark", lambda: encoded("utf-16-le", declared="UTF-16"), 0, ["1 entr"]),
    ("UTF-16 LE", lambda: encoded("utf-16-le", b"\xFF\xFE", "UTF-16"), 0, ["1 entr"]),
    ("UTF-16 BE", lambda: encoded("utf-16-be", b"\xFE\xFF", "UTF-16"), 0, ["1 entr"]),
    ("UTF-16, odd length", lambda: [b"".join(encoded("utf-16-le", b"\xFF\xFE", "UTF-16"))[:-1]], 1,
     ["line"]),
    ("UTF-16, lone surrogate", lambda: ["\uFEFF".encode("utf-16-le") + SMALL.decode().replace(
        "UTF-8", "UTF-16").replace("ö", "\uD800").encode("utf-16-le", "surrogatepass")], 1,
     ["line 3"]),
    ("UTF-32", lambda: encoded("utf-32-le", b"\xFF\xFE\0\0", "UTF-32"), 0, ["1 entr"]),
    ("Latin-1", lambda: [SMALL.decode().replace("€", "").replace("UTF-8", "ISO-8859-1").encode(
        "latin-1")], 0, ["1 entr"]),
]

FAILURES = []


def fail(name, *what):
    FAILURES.append(name)
    print(f"FAILED {name}:", *what, flush=True)


def run(folder, arguments, stdin=None):
    """Exit code, output, peak memory in MB, seconds."""
    start = time.monotonic()
    with open(f"{folder}/out", "wb") as out:
        process = subprocess.Popen(
            [PROGRAM, "validate", "--no-config", "-o", "report", *arguments], cwd=folder,
            stdout=out, stderr=subprocess.STDOUT, stdin=stdin or subprocess.DEVNULL,
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CPU, (600, 600)))
        _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    shutil.rmtree(f"{folder}/report", ignore_errors=True)
    with open(f"{folder}/out", encoding="utf-8") as out:
        return (process.returncode, out.read(), usage.ru_maxrss // 1024,
                usage.ru_utime + usage.ru_stime, time.monotonic() - start)


def check_rows(folder):
    for name, make, code, pieces, *options in ROWS:
        write(f"{folder}/landscape.xml", make())
        size = os.path.getsize(f"{folder}/landscape.xml")
        found, text, memory, seconds, elapsed = run(folder,
                                                    (options[0] if options else []) +
                                                    ["landscape.xml"])
        missing = [piece for piece in pieces if piece not in text]
        if found != code or missing or SECRET.decode() in text:
            fail(name, f"exit code {found}, missing {missing} in\n{text[:2000]}")
        if code == 1 and "landscape.xml" not in text:
            fail(name, "does not name the file")
        if not SANITIZED and (memory > MEMORY or seconds > SECONDS or len(text) > 3_000_000):
            fail(name, f"{memory} MB, {seconds:.1f} s, {len(text)} bytes of output")
        if "--table" in sys.argv:
            told = next((line.strip() for line in text.splitlines() if pieces and
                         pieces[0] in line), "").replace("|", "\\|")
            print(f"| {name} | {size / 1e6:.1f} MB | {seconds:.1f} s | {memory} MB | {found} | "
                  f"{told[:160]} |", flush=True)


def is_well_formed(data):
    try:
        xml.parsers.expat.ParserCreate(namespace_separator=' ').Parse(data, True)
        return True
    except (xml.parsers.expat.ExpatError, LookupError):
        return False


def statuses(folder, files):
    for name, data in files.items():
        write(f"{folder}/many/{name}", [data])
    code, text, *_ = run(folder, ["-f", "json", "--limit", "files=100000"] +
                         [f"many/{name}" for name in files])
    shutil.rmtree(f"{folder}/many")
    os.mkdir(f"{folder}/many")
    text = text[text.find("{"):]
    found = json.JSONDecoder().raw_decode(text)[0]["files"] if text else []
    return code, {os.path.basename(row["file"]): row["status"] for row in found}


def check_verdicts(folder):
    """Whether a file is well-formed is what another parser says, for a file that is damaged at
    every byte."""
    files = {}
    files["nul-last.xml"] = SMALL + b"\0"
    files["nul-rest.xml"] = SMALL + b"\n\0<Landscape/>"
    for at in range(len(SMALL) - 1):
        files[f"cut{at}.xml"] = SMALL[:at] if at < len(SMALL) - 1 else SMALL + b"<"
        files[f"nul{at}.xml"] = SMALL[:at] + b"\0" + SMALL[at:]
        files[f"bit{at}.xml"] = SMALL[:at] + bytes([SMALL[at] ^ (1 << at % 8)]) + SMALL[at + 1:]
    for number, bad in enumerate((b"\x80", b"\xC3", b"\xC0\x80", b"\xE0\x80\xAF", b"\xED\xA0\x80",
                                  b"\xF5\x80\x80\x80", b"\xEF\xBF\xBF", b"\x01", b"&#0;",
                                  b"&#xD800;", b"&#x110000;", b"&nobody;")):
        for place in (b"<!-- ", b"<?pi ", b"name='", b"'preserve'>", b"<![CDATA[", b"<Serv",
                      b"</Memo"):
            at = SMALL.find(place) + len(place)
            files[f"bad{number}-{at}.xml"] = SMALL[:at] + bad + SMALL[at:]
    code, found = statuses(folder, files)
    if code != 1 or len(found) != len(files):
        fail("damaged files", f"exit code {code}, {len(found)} of {len(files)} files")
    for name, data in files.items():
        # A file without its last tag or byte is no more whole, whatever else it may be.
        expected = is_well_formed(data)
        if (found.get(name) != "unreadable") != expected:
            fail(name, f"is {found.get(name)}, but another parser says well-formed={expected}:",
                 data)
    return len(files), sum(map(is_well_formed, files.values()))


def check_includes(folder):
    count = 1_000 if FULL else 60
    chain = 10_000 if FULL else 300
    names = [b"i%d.xml" % n for n in range(count)]
    for name in names:
        write(f"{folder}/many/{name.decode()}", includes(names))
    for n in range(chain):
        write(f"{folder}/many/c{n}.xml", includes([b"c%d.xml" % (n + 1)]))
    shutil.copy(f"{folder}/many/c0.xml", f"{folder}/many/c{chain}.xml")
    table = []
    for name, first, expected, pieces, options in (
            (f"{count} files that each include all", "i0.xml", 0, [f"Checked {count} files"], []),
            (f"a chain of {chain} files", "c0.xml", 1, limit("files"),
             ["--limit", f"files={chain - 5}"]),
            ("a file that includes itself", f"c{chain}.xml", 0, ["Checked"],
             ["--limit", "files=20000"])):
        code, text, memory, seconds, _ = run(folder, options + [f"many/{first}"])
        missing = [piece for piece in pieces if piece not in text]
        if code != expected or missing or (not SANITIZED and memory > MEMORY):
            fail(name, f"exit code {code}, {memory} MB, missing {missing} in\n{text[-1500:]}")
        table.append(f"| {name} | | {seconds:.1f} s | {memory} MB | {code} | |")
    if "--table" in sys.argv:
        print("\n".join(table))


def check_endless(folder):
    """What never ends is read no further than its first fault, and a pipe like any file."""
    with open("/dev/zero", "rb") as zeros:
        for name, arguments, stdin in (("/dev/zero", ["/dev/zero"], None),
                                       ("endless standard input",
                                        ["--limit", "file-size=1MB", "-"], zeros)):
            code, text, memory, seconds, _ = run(folder, arguments, stdin)
            if code != 1 or "cannot be used" not in text or (not SANITIZED and memory > MEMORY):
                fail(name, f"exit code {code}, {memory} MB, {seconds:.1f} s\n{text[:1000]}")
    read, write_end = os.pipe()
    os.write(write_end, SMALL)
    os.close(write_end)
    with os.fdopen(read, "rb") as pipe:
        code, text, *_ = run(folder, ["/dev/stdin"], pipe)
        if code != 0 or "1 entr" not in text:
            fail("a pipe", code, text)


def check_words(folder):
    write(f"{folder}/landscape.xml", [SMALL])
    for word, piece in (("depth", "NAME=NUMBER"), ("nobody=1", "attributes, tag-size"),
                        ("depth=0", "whole number"), ("depth=1x", "whole number"),
                        ("depth=-1", "whole number"), ("depth=99999999999999999999", "whole")):
        code, text, *_ = run(folder, ["--limit", word, "landscape.xml"])
        if code != 2 or piece not in text:
            fail(f"--limit {word}", code, text)


def main():
    with tempfile.TemporaryDirectory() as folder:
        os.mkdir(f"{folder}/many")
        write(f"{folder}/secret.txt", [SECRET])
        write(f"{folder}/secret.dtd", [b"<!ENTITY e '" + SECRET + b"'>"])
        check_rows(folder)
        check_includes(folder)
        check_endless(folder)
        check_words(folder)
        damaged, whole = check_verdicts(folder)
    print(f"{len(ROWS)} hostile files; {damaged} damaged ones, {whole} of them well-formed; "
          f"{len(FAILURES)} failures")
    return 1 if FAILURES or damaged < 1_000 or whole == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
