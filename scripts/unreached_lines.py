# SPDX-License-Identifier: Apache-2.0
"""Prints file:line and text of each line that the tests did not reach, from gcovr's JSON report."""

import json
import sys


def main():
    with open(sys.argv[1], encoding="utf-8") as report:
        files = json.load(report)["files"]
    for entry in sorted(files, key=lambda item: item["file"]):
        counts = {}
        for line in (line for line in entry["lines"] if not line["gcovr/noncode"]):
            number = line["line_number"]
            counts[number] = counts.get(number, 0) + line["count"]
        with open(entry["file"], encoding="utf-8") as source:
            text = source.read().split("\n")
        for number in sorted(number for number, count in counts.items() if count == 0):
            print(f"{entry['file']}:{number}: {text[number - 1].strip()}")


if __name__ == "__main__":
    main()
