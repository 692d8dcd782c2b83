#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Runs the browser tests; installs Debian's Chromium when it is missing. Arguments go to `node --test`.
set -eu
cd "$(dirname "$0")"
browser="${CHROMIUM:-/usr/bin/chromium}"
if [ ! -x "$browser" ]; then
  apt-get update -q && apt-get install -y -q --no-install-recommends chromium
fi
npm ci --no-audit --no-fund
exec node --test --test-reporter=spec "$@"
