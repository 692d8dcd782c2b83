# SPDX-License-Identifier: Apache-2.0
# Sourced by the other scripts: installs Debian packages that are missing.

build_packages=(g++ cmake ninja-build pkg-config libxml2-dev libxslt1-dev libsqlite3-dev libzip-dev
                libcli11-dev libfmt-dev xsltproc
                libcurl4-openssl-dev libssl-dev libtomlplusplus-dev nlohmann-json3-dev)
test_packages=(libgtest-dev sqlite3 p7zip-full openssl python3 python3-jsonschema
               python3-junitparser)
check_packages=(clang-format clang-tidy)

# Completions and manual pages in the shells and formatters that people have.
test_packages+=(bash-completion bsdextrautils man-db mandoc shellcheck python3-yaml yamllint zsh)
# For bench_parts, which clang-tidy reads too.
test_packages+=(libbenchmark-dev libre2-dev)
# For what a run starts and writes.
test_packages+=(strace)
package_packages=(binutils dpkg-dev file lintian python3 python3-jsonschema)
docs_packages=(doxygen mkdocs)
coverage_packages=(gcovr python3)

# ensure_packages NAME...: does nothing, not even ask the network, when all are there.
ensure_packages() {
  local missing=() name
  for name in "$@"; do
    dpkg-query -W -f='${Status}' "$name" 2>/dev/null | grep -q 'ok installed' || missing+=("$name")
  done
  if [ ${#missing[@]} -eq 0 ]; then
    return 0
  fi
  echo "Installing: ${missing[*]}" >&2
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
      echo "These packages are missing and only root can install them: ${missing[*]}" >&2
      return 1
    fi
    as_root=(sudo)
  fi
  "${as_root[@]}" apt-get update -qq >&2 &&
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
      apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
}

# build PRESET [TARGET...]: configures once and builds what changed; its output only on failure.
build_preset() {
  local preset=$1 log
  shift
  log=$(mktemp)
  if { [ -f "build/$preset/build.ninja" ] || cmake --preset "$preset"; } >"$log" 2>&1 &&
    cmake --build --preset "$preset" ${1:+--target "$@"} >>"$log" 2>&1; then
    rm -f "$log"
    return 0
  fi
  cat "$log" >&2
  rm -f "$log"
  return 1
}
