#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Runs the browser tests. Needs node, npm and Chromium, which scripts/test.sh installs. Arguments go
# to `node --test`.
set -eu
cd "$(dirname "$0")"
npm ci --no-audit --no-fund
exec node --test --test-reporter=spec "$@"
