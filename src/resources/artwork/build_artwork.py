#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Draws the report page's icon font and logo from the SVG files beside this script.

    python3 build_artwork.py        (needs the Debian package python3-fonttools)

Reads icons/*.svg and logo.svg: filled paths, painted by the even-odd rule. Writes NAX-icons.woff and
naxlogo_nax_quelin_10.png into the folder above; the build embeds them as they are committed. The
code points below are known to the report page.
"""
import struct
import xml.etree.ElementTree as ElementTree
import zlib
from pathlib import Path

from fontTools.fontBuilder import FontBuilder
from fontTools.misc.transform import Transform
from fontTools.pens.basePen import BasePen
from fontTools.pens.cu2quPen import Cu2QuPen
from fontTools.pens.recordingPen import RecordingPen
from fontTools.pens.reverseContourPen import ReverseContourPen
from fontTools.pens.transformPen import TransformPen
from fontTools.pens.ttGlyphPen import TTGlyphPen
from fontTools.svgLib.path import parse_path

SOURCES = Path(__file__).resolve().parent
TARGETS = SOURCES.parent
CODE_POINTS = {
    "success": 0xE101, "failed": 0xE102, "warning": 0xE103, "info": 0xE104,
    "chevron": 0xE105, "search": 0xE106, "download": 0xE107, "save": 0xE108,
}
UNITS = 1200
ICON_BOX = 24
CURVE_STEPS = 16
SAMPLES = 8  # per pixel and direction
SVG = "{http://www.w3.org/2000/svg}"


class PolygonPen(BasePen):
    """Keeps each contour as a list of points; curves become short lines."""

    def __init__(self):
        super().__init__(None)
        self.contours = []

    def _moveTo(self, point):
        self.contours.append([point])

    def _lineTo(self, point):
        self.contours[-1].append(point)

    def _curveToOne(self, first, second, end):
        start = self._getCurrentPoint()
        for step in range(1, CURVE_STEPS + 1):
            t = step / CURVE_STEPS
            weights = ((1 - t) ** 3, 3 * t * (1 - t) ** 2, 3 * t * t * (1 - t), t ** 3)
            points = (start, first, second, end)
            self.contours[-1].append(tuple(
                sum(weight * point[axis] for weight, point in zip(weights, points))
                for axis in (0, 1)))


def read_paths(file):
    return [(path.get("fill"), path.get("d")) for path in ElementTree.parse(file).iter(SVG + "path")]


def polygons_of(path):
    pen = PolygonPen()
    parse_path(path, pen)
    return pen.contours


def is_inside(point, polygon):
    x, y = point
    inside = False
    for (x1, y1), (x2, y2) in zip(polygon, polygon[1:] + polygon[:1]):
        if (y1 > y) != (y2 > y) and x < x1 + (y - y1) * (x2 - x1) / (y2 - y1):
            inside = not inside
    return inside


def signed_area(polygon):
    return sum(x1 * y2 - x2 * y1
               for (x1, y1), (x2, y2) in zip(polygon, polygon[1:] + polygon[:1])) / 2


def contours_of(path):
    recording = RecordingPen()
    parse_path(path, recording)
    contour = []
    for step in recording.value:
        contour.append(step)
        if step[0] in ("closePath", "endPath"):
            yield contour
            contour = []


def draw_glyph(path):
    """Fonts fill by winding: contours inside others must run the other way round."""
    glyph = TTGlyphPen(None)
    flip = Transform(UNITS / ICON_BOX, 0, 0, -UNITS / ICON_BOX, 0, UNITS)
    polygons = polygons_of(path)
    for polygon, contour in zip(polygons, contours_of(path)):
        depth = sum(is_inside(polygon[0], other) for other in polygons if other is not polygon)
        pen = TransformPen(Cu2QuPen(glyph, max_err=1), flip)
        if (signed_area(polygon) > 0) != (depth % 2 == 0):
            pen = ReverseContourPen(pen)
        for name, points in contour:
            getattr(pen, name)(*points)
    return glyph.glyph()


def build_font():
    names = [".notdef", *CODE_POINTS]
    glyphs = {".notdef": TTGlyphPen(None).glyph()}
    for name in CODE_POINTS:
        [(_, path)] = read_paths(SOURCES / "icons" / f"{name}.svg")
        glyphs[name] = draw_glyph(path)
    font = FontBuilder(UNITS, isTTF=True)
    font.setupGlyphOrder(names)
    font.setupCharacterMap({code: name for name, code in CODE_POINTS.items()})
    font.setupGlyf(glyphs)
    font.setupHorizontalMetrics({name: (UNITS, 0) for name in names})
    font.setupHorizontalHeader(ascent=UNITS, descent=0)
    font.setupNameTable({"familyName": "NAX icons", "styleName": "Regular"})
    font.setupOS2(sTypoAscender=UNITS, usWinAscent=UNITS, usWinDescent=0)
    font.setupPost()
    font.updateHead(created=0, modified=0)  # the same sources give the same bytes
    font.font.recalcTimestamp = False
    font.font.flavor = "woff"
    font.save(TARGETS / "NAX-icons.woff")


def covered_samples(polygons, x, y):
    offsets = [(index + 0.5) / SAMPLES for index in range(SAMPLES)]
    return sum(sum(is_inside((x + dx, y + dy), polygon) for polygon in polygons) % 2
               for dy in offsets for dx in offsets)


def paint(pixel, colour, share):
    """`colour` over `pixel`, both with alpha from 0 to 1, not premultiplied."""
    alpha = share + pixel[3] * (1 - share)
    if alpha == 0:
        return pixel
    mixed = [(c * share + p * pixel[3] * (1 - share)) / alpha for c, p in zip(colour, pixel)]
    return (*mixed, alpha)


def build_logo():
    root = ElementTree.parse(SOURCES / "logo.svg").getroot()
    width, height = int(root.get("width")), int(root.get("height"))
    pixels = [[(0, 0, 0, 0)] * width for _ in range(height)]
    for fill, path in read_paths(SOURCES / "logo.svg"):
        colour = [int(fill[index:index + 2], 16) for index in (1, 3, 5)]
        polygons = polygons_of(path)
        for y in range(height):
            for x in range(width):
                share = covered_samples(polygons, x, y) / SAMPLES ** 2
                pixels[y][x] = paint(pixels[y][x], colour, share)
    rows = b"".join(
        b"\0" + bytes(channel for r, g, b, a in row
                      for channel in (round(r), round(g), round(b), round(a * 255)))
        for row in pixels)
    (TARGETS / "naxlogo_nax_quelin_10.png").write_bytes(
        b"\x89PNG\r\n\x1a\n"
        + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0))
        + chunk(b"IDAT", zlib.compress(rows, 9))
        + chunk(b"IEND", b""))


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


if __name__ == "__main__":
    build_font()
    build_logo()
