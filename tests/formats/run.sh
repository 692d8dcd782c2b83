#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# run.sh TOOL: compares the formats with what their makers publish. Needs node, npm and Debian's
# modules for Python, which scripts/test.sh installs.
set -eu
tool=$(realpath "$1")
cd "$(dirname "$0")"
npm ci --no-audit --no-fund
exec /usr/bin/python3 -B published_test.py "$tool"
