#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# What pre-commit runs with the changed files: the report stays out of the work tree.
set -eu
if ! command -v landscape-validator >/dev/null; then
  echo "landscape-validator is not installed (docs/packages.md tells how)" >&2
  exit 2
fi
exec landscape-validator validate --output "$(git rev-parse --absolute-git-dir)/landscape-report" "$@"
