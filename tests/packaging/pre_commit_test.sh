#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# usage: pre_commit_test.sh PROGRAM: commits landscapes to a scratch repository that uses our hook, with
# the real pre-commit: a clean one passes, a faulty one does not, and no report is left to commit.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
PATH=$(dirname "$(realpath "$1")"):$PATH
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export PATH HOME=$work PRE_COMMIT_HOME=$work/cache GIT_CONFIG_NOSYSTEM=1
git config --global user.name test
git config --global user.email test@example.invalid
git config --global init.defaultBranch main

hooks=$work/hooks
git init -q "$hooks"
(cd "$root" && cp --parents .pre-commit-hooks.yaml packaging/pre-commit.sh "$hooks")
git -C "$hooks" add -A
git -C "$hooks" commit -qm hooks

git init -q "$work/landscapes"
cd "$work/landscapes"
cat >.pre-commit-config.yaml <<YAML
repos:
  - repo: $hooks
    rev: $(git -C "$hooks" rev-parse HEAD)
    hooks:
      - id: landscape-validator
YAML
pre-commit install >/dev/null
cp "$root/examples/clean_landscape.xml" .
git add -A
git commit -qm clean >"$work/log" 2>&1 || { cat "$work/log"; echo "the clean landscape was refused"; exit 1; }
cp "$root"/examples/faulty_*.xml .
git add -A
if git commit -qm faulty >"$work/log" 2>&1; then
  cat "$work/log"
  echo "the faulty landscape was let in"
  exit 1
fi
grep -q 'Redundant UUIDs in Items repository' "$work/log" || { cat "$work/log"; exit 1; }
[[ $(git log --format=%s) == clean && -z $(git ls-files --others) ]]
echo "pre-commit let the clean landscape in and kept the faulty one out"
