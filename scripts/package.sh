#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds the Debian packages into build/package/packages and has lintian check them: an error or a
# warning fails. With --install-test they are also installed on a bare Debian in a folder, and tried
# there (tests/packaging/bare_install.sh; needs root and a Debian mirror).
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
ensure_packages "${build_packages[@]}" "${package_packages[@]}"

mkdir -p build
# A package that is built again from the same commit is the same, byte for byte.
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct 2>/dev/null || date +%s)
export SOURCE_DATE_EPOCH
cmake --preset package >build/package.log 2>&1 || { cat build/package.log >&2; exit 1; }
build_preset package
rm -rf build/package/packages
umask 022
cpack --config build/package/CPackConfig.cmake -B build/package/packages >build/package.log 2>&1 ||
  { cat build/package.log >&2; exit 1; }
rm -rf build/package/packages/_CPack_Packages

as_user=()
[ "$(id -u)" -ne 0 ] || as_user=(--allow-root)
lintian "${as_user[@]}" --fail-on error,warning --tag-display-limit 0 --info \
  --suppress-tags initial-upload-closes-no-bugs build/package/packages/*.deb

# What was packed, read again: how it was built, and its bill of materials.
packed=build/package/packed
rm -rf "$packed"
for package in build/package/packages/*.deb; do dpkg-deb -x "$package" "$packed"; done
tests/packaging/hardening_test.sh "$packed/usr/bin/landscape-validator" \
  "$(find "$packed/usr/lib" -name 'libnaxfewxmldb.so.*' -type f)" "$packed/usr/include" -- packaged
schemas=tests/packaging/node_modules/@cyclonedx/cyclonedx-library/res/schema
[ -d "$schemas" ] || ! command -v npm >/dev/null ||
  (cd tests/packaging && npm ci --no-audit --no-fund >/dev/null)
[ -d "$schemas" ] || schemas=
/usr/bin/python3 -B tests/packaging/package_test.py build/package/packages ${schemas:+"$schemas"}
ls -l build/package/packages/*.deb
if [ "${1:-}" = --install-test ]; then
  ensure_packages debootstrap
  tests/packaging/bare_install.sh build/package/packages
fi
