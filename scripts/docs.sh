#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds the documentation into build/docs/site: a site of the pages in docs/ that needs no network,
# with the reference of the exported headers. A warning of either generator fails. With --test every
# page is then opened in a browser and every link followed.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
ensure_packages "${docs_packages[@]}"

pages=build/docs/pages
rm -rf build/docs
mkdir -p "$pages/site"
# What the pages name outside of docs/ stands beside them on the site.
cp -r docs/. examples "$pages"
cp CHANGELOG.md CONTRIBUTING.md LICENSE SECURITY.md "$pages"
cp packaging/site/*.css packaging/site/*.js "$pages/site"
sed -i -E 's#\]\((\.\./|docs/)#](#g' "$pages"/*.md

# Doxygen reports every member without a comment, but what a signature says needs none.
NAX_VERSION=$(sed -n 's/^project(naxfewxmldb VERSION \([^ ]*\).*/\1/p' CMakeLists.txt) \
  NAX_DOCS_OUTPUT=$pages doxygen Doxyfile 2>build/docs/doxygen.log
if grep -v ': warning: Member .* is not documented\.$' build/docs/doxygen.log >&2; then
  echo "docs.sh: doxygen has warnings" >&2
  exit 1
fi

NAX_DOCS_PAGES=$pages mkdocs build --quiet --strict --site-dir "$PWD/build/docs/site"
echo "build/docs/site/index.html: $(find build/docs/site -name '*.html' | wc -l) pages"

if [ "${1:-}" = --test ]; then
  if ! command -v node >/dev/null || ! command -v npm >/dev/null; then
    ensure_packages nodejs npm
  fi
  ensure_packages chromium
  [ -d tests/browser/node_modules ] || (cd tests/browser && npm ci --no-audit --no-fund >/dev/null)
  NAX_DOCS_SITE=$PWD/build/docs/site node --test --test-reporter=spec tests/docs/
fi
