#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs the build to a scratch prefix and builds a consumer against what was installed, once
# through the CMake package and once through pkg-config.
set -euo pipefail
build=$1
compiler=$2
sanitizers=$3
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >/dev/null
flags=()
[ -z "$sanitizers" ] || flags=(-fsanitize="$sanitizers")

cmake -S "$here/consumer" -B "$work/cmake" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
  -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_CXX_FLAGS="${flags[*]}" >/dev/null
cmake --build "$work/cmake" >/dev/null
XDG_DATA_HOME=$work/data "$work/cmake/consumer"

pc=$(dirname "$(find "$work/prefix" -name naxfewxmldb.pc)")
read -ra from_pc <<<"$(PKG_CONFIG_PATH=$pc pkg-config --cflags --libs naxfewxmldb)"
"$compiler" -std=c++20 "${flags[@]}" "$here/consumer/main.cpp" "${from_pc[@]}" -o "$work/consumer"
libs=$(dirname "$(find "$work/prefix" -name libnaxfewxmldb.so)")
XDG_DATA_HOME=$work/data LD_LIBRARY_PATH=$libs "$work/consumer"

"$work/prefix/bin/landscape-validator" --version

for file in share/man/man1/landscape-validator.1 share/man/man3/naxfewxmldb.3 \
  share/bash-completion/completions/landscape-validator \
  share/zsh/vendor-completions/_landscape-validator \
  share/doc/naxfewxmldb/{LICENSE,README.md,docs/index.md,examples/clean_landscape.xml}; do
  [ -s "$work/prefix/$file" ] || { echo "not installed: $file"; exit 1; }
done
cmake --install "$build" --prefix "$work/runtime" --component runtime >/dev/null
"$work/runtime/bin/landscape-validator" --version
if find "$work/runtime" -name '*.h' -o -name '*.so' -o -name '*.cmake' | grep .; then
  echo "development files in the runtime component"
  exit 1
fi
