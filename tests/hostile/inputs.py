# SPDX-License-Identifier: Apache-2.0
"""Hostile landscape files. Each function yields the file's bytes in pieces, so that none of them is
ever in memory as a whole."""

import gzip
import io
import zipfile

HEAD = b'<?xml version="1.0" encoding="UTF-8"?>\n'
OPEN = b'<Landscape updated="2024-03-05T14:07:09Z" version="1" generator="g">\n'
UUID = b"b7d10000-1000-4000-8000-%012d"
WORKSPACE = b'<Workspaces><Workspace uuid="' + UUID % 1 + b'" name="w">'
WORKSPACE_END = b"</Workspace></Workspaces>"
CLOSE = b"</Landscape>\n"
MIB = 1 << 20


def landscape(*content, head=HEAD):
    """A document with this content of the root: bytes or generators."""
    yield head + OPEN
    for part in content:
        yield from [part] if isinstance(part, bytes) else part
    yield CLOSE


def repeated(piece, count):
    """`piece` is bytes, or makes them of the number."""
    make = piece if callable(piece) else lambda _: piece
    for first in range(0, count, 10_000):
        yield b"".join(make(n) for n in range(first, min(count, first + 10_000)))


def filled(size):
    for first in range(0, size, MIB):
        yield b"x" * min(MIB, size - first)


def doctype(declarations, content=b"", name=b"Landscape"):
    return [HEAD + b"<!DOCTYPE " + name + b" [" + declarations + b"]>\n" + OPEN + content + CLOSE]


def laughs(levels, use, sign=b"&", copies=10):
    mark = b"% " if sign == b"%" else b""
    # A parameter entity's name inside a literal is written as a character reference.
    ref = b"&#37;" if sign == b"%" else b"&"
    text = b"<!ENTITY " + mark + b"e0 'lol'>"
    for level in range(1, levels):
        text += b"<!ENTITY %se%d '%s'>" % (mark, level, (ref + b"e%d;" % (level - 1)) * copies)
    last = levels - 1
    if sign == b"%":
        return doctype(text + b"%%e%d;" % last)
    return doctype(text, use % (b"&e%d;" % last))


def memo(*content):
    service = b'<Services><Service type="URL" uuid="' + UUID % 2 + b'" name="s"><Memo>'
    return landscape(service, *content, b"</Memo></Service></Services>")


def attribute(*value):
    return landscape(b'<Workspaces><Workspace uuid="' + UUID % 1 + b'" name="w" description="',
                     *value, b'"/></Workspaces>')


def nested(opening, closing, depth):
    return landscape(WORKSPACE, repeated(opening, depth), repeated(closing, depth), WORKSPACE_END)


def nodes(depth):
    return nested(lambda n: b'<Node uuid="' + UUID % (n + 10) + b'" name="n">', b"</Node>", depth)


def attributes(count, make):
    return landscape(b"<Workspaces><Workspace ", repeated(make, count), b"/></Workspaces>")


def includes(urls):
    return landscape(b"<Includes>", repeated(lambda n: b'<Include url="%s"/>\n' % urls[n],
                                             len(urls)), b"</Includes>")


SMALL = b"".join(landscape(
    "<!-- ä --><?pi x?><Services><Service type='URL' uuid='".encode() + UUID % 2
    + "' name='Größe &amp; &#x20AC;'><Memo xml:space='preserve'>ä<![CDATA[<x>]]></Memo>"
      "</Service></Services>\n".encode()))


def encoded(name, mark=b"", declared=None):
    text = SMALL.decode().replace("UTF-8", declared or name)
    return [mark + text.encode(name)]


def zipped():
    out = io.BytesIO()
    with zipfile.ZipFile(out, "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("landscape.xml", SMALL)
    return [out.getvalue()]


def in_memo(data):
    return memo(data)


def write(path, pieces):
    with open(path, "wb") as file:
        for piece in pieces:
            file.write(piece)


def gzipped():
    return [gzip.compress(SMALL)]
