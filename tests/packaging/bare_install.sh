#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# usage: bare_install.sh FOLDER [BARE]: installs the packages of FOLDER with apt on a Debian 12 that
# has nothing but its minimum, uses them there as an ordinary user, and removes them without a trace.
# BARE is a folder with such a Debian; without it debootstrap makes one. Needs root.
set -euo pipefail
packages=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf --one-file-system "$work"' EXIT
if [[ -n ${2:-} ]]; then
  cp -a "$2" "$work/bare"
else
  debootstrap --variant=minbase bookworm "$work/bare" >"$work/log" 2>&1 || { tail "$work/log"; exit 1; }
fi
bare=$work/bare
cp -L /etc/resolv.conf "$bare/etc/resolv.conf"
cp "$packages"/*.deb "$bare/tmp"

inside() { chroot "$bare" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 "$@"; }
quiet() { inside "$@" >"$work/log" 2>&1 || { tail -n 30 "$work/log"; echo "failed: $*"; exit 1; }; }
expect() { # CODE COMMAND...
  local code=$1 actual=0
  shift
  inside "$@" >"$work/out" 2>&1 || actual=$?
  [[ $actual -eq $code ]] || { cat "$work/out"; echo "$* ended with $actual, not with $code"; exit 1; }
}

quiet apt-get update
quiet env DEBIAN_FRONTEND=noninteractive sh -c 'apt-get install -y --no-install-recommends /tmp/*.deb'

as_user=(setpriv --reuid=1000 --regid=1000 --clear-groups env HOME=/tmp/home)
quiet install -d -o 1000 -g 1000 /tmp/home
examples=/usr/share/doc/landscape-validator/examples
expect 0 "${as_user[@]}" landscape-validator --version
expect 0 "${as_user[@]}" landscape-validator -o /tmp/home/clean "$examples/clean_landscape.xml"
expect 1 "${as_user[@]}" landscape-validator -o /tmp/home/faulty "$examples/faulty_landscape.xml"
expect 2 "${as_user[@]}" landscape-validator /tmp/home/none.xml
[[ -s $bare/tmp/home/faulty/ValidationResults.htm ]]
inside ldconfig -p >"$work/out"
grep -q libnaxfewxmldb.so.0.1 "$work/out" || { echo "the loader does not know the library"; exit 1; }
quiet dpkg --verify landscape-validator libnaxfewxmldb-dev

quiet env DEBIAN_FRONTEND=noninteractive sh -c \
  'apt-get purge -y --auto-remove landscape-validator libnaxfewxmldb-dev'
left=$(find "$bare" -xdev \( -iname '*landscape-validator*' -o -iname '*naxfewxmldb*' \) \
  -not -path "$bare/tmp/*" -not -path "$bare/var/cache/*" -not -path "$bare/var/log/*")
[[ -z $left ]] || { printf 'left behind:\n%s\n' "$left"; exit 1; }
echo "packages install, run and go on a bare Debian 12"
