#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs the program over a table of command lines: arguments, exit code, a text on each stream.
set -u
tool=$1
examples=$2
. "$(dirname "$0")/check.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
clean=$examples/clean_landscape.xml
faulty=$examples/faulty_landscape.xml
printf '<Landscape' >broken.xml
cp "$clean" validate
cp "$clean" "with 'quote.xml"
: >plain-file
cp "$clean" ./-dash.xml
cp "$clean" $'caf\xe9.xml'
mkfifo pipe

check 'clean' 0 'No findings.' '' "$clean"
check 'default folder' 0 'landscape-report/UILandscape.db' '' "$clean"
check 'named command' 0 'No findings.' '' validate "$clean"
check 'faulty' 1 'rule 32' '' -o r "$faulty"
check 'included file' 1 'faulty_include.xml' '' --output=r "$faulty"
check 'never fails' 0 'errors' '' -o r --fail-on never "$faulty"
check 'not well-formed' 1 'broken.xml' '' -o r broken.xml
cp "$faulty" 'http:x.xml'
check 'name like a URL' 1 'Checked 2 files' '' -o r 'http:x.xml'
check 'quote in a name' 0 'No findings.' '' -o r "with 'quote.xml"
check 'file named like the command' 0 'No findings.' '' -o r ./validate
check 'missing file' 2 '' "cannot read 'none.xml': No such file" -o r none.xml
check 'missing after good' 2 '0 errors, 1 warning' "cannot read 'none.xml'" -o r "$clean" none.xml
check 'missing before bad' 2 'errors' "cannot read 'none.xml'" -o r none.xml "$faulty"
check 'folder as file' 2 'broken.xml' 'not UTF-8' -o r .
check 'no file' 2 '' 'FILE' validate
check 'nothing' 2 '' 'FILE is required'
check 'version of the command' 0 'landscape-validator 0.' '' validate --version
check 'file behind the dashes' 1 'Checked 2 files' '' -o r "$clean" -- -dash.xml
check 'level as a number' 2 '' '--fail-on' --fail-on 3 "$clean"
check 'help names the options' 0 '--fail-on LEVEL' '' -h
check 'name that is not UTF-8' 2 '' 'not UTF-8' -o r $'caf\xe9.xml'
check 'unknown option' 2 '' '--colour' --colour "$clean"
check 'bad level' 2 '' '--fail-on' --fail-on fatal "$clean"
check 'bad number' 2 '' '--keep-backups' --keep-backups -1 "$clean"
check 'output is a file' 2 '' 'plain-file' -o plain-file "$clean"
mkdir piped && mkfifo piped/UILandscape.db
check 'a pipe as database' 2 '' 'is not a file' -o piped "$clean"
check 'controls in a wrong option' 2 '' '--no?[2J' $'--no\e[2J' "$clean"
check 'output below a file' 2 '' 'plain-file/r' -o plain-file/r "$clean"
check 'help' 0 'Exit codes' '' --help
check 'help of the command' 0 '--keep-backups' '' validate --help
for words in "-o r $clean" 'schema ddl' 'rules list' --show-config --help; do
  "$tool" $words >/dev/full 2>err.txt
  [ $? -eq 2 ] && grep -q 'written.*: No space left' err.txt || failed=$((failed + 1))
done
"$tool" -o r --output-file json=after.json --format text "$clean" 2>err.txt | true
[ "${PIPESTATUS[0]}" -eq 2 ] && grep -q 'Broken pipe' err.txt && [ -s after.json ] ||
  failed=$((failed + 1))
# Can be opened, and not be read.
mkdir unread && ln -s /proc/self/mem unread/mem.xml
check 'unread configuration' 2 '' "mem.xml': Input/output error" --config unread/mem.xml "$clean"
check 'unread baseline' 2 '' "mem.xml': Input/output error" --baseline unread/mem.xml "$clean"
check 'unread rules' 2 '' 'mem.xml" cannot be read: Input/output error' rules check unread/mem.xml
check 'unread landscape' 1 'cannot be read: Input/output error' '' -o r unread

check 'version' 0 'landscape-validator 0.' '' --version

# What is no file must not hold the run up.
printf '<Landscape updated="1"><Includes><Include url="pipe"/><Include url="/dev/zero"/>' >devices.xml
printf '<Include url=" broken.xml "/><Include url=" "/></Includes></Landscape>' >>devices.xml
check 'devices as includes' 1 'a device or a pipe' '' -o r devices.xml
check 'white space around a url' 1 'Checked 4 files' '' -o r devices.xml
check 'a pipe as file' 0 'No findings.' '' -o r <(cat "$clean")

# Memos where the schema has none are rows like any other.
printf '<Landscape updated="1"><Memo>stray</Memo><Services><Service type="URL" uuid=""><Memo>a</Memo>' \
  >memo.xml
printf '<Memo>b</Memo></Service></Services></Landscape>' >>memo.xml
check 'stray memos' 1 'rule 12' '' -o memo memo.xml
[ "$(sqlite3 memo/UILandscape.db 'SELECT group_concat("") FROM (SELECT "" FROM Memos ORDER BY 1)')" = \
  a,b,stray ] || failed=$((failed + 1))

"$tool" -o r "$clean" >&- 2>err.txt
[ $? -eq 2 ] || failed=$((failed + 1))

# A second run into a folder that the first one holds says so and changes nothing.
mkdir -p held
(
  exec 9>held/.landscape-validator.lock
  flock 9
  check 'folder in use' 2 '' 'another run is writing' -o held "$clean"
  [ ! -e held/UILandscape.db ] && [ "$failed" -eq 0 ]
) || failed=$((failed + 1))

# No colour codes in a file, whatever stands in the landscape.
printf '<Landscape updated="1" a="\xc2\x9b31m"><Routers><Router uuid="&#x9;x" name="n" router="r"/>' \
  >escape.xml
printf '</Routers></Landscape>' >>escape.xml
"$tool" -o r escape.xml | grep -q $'\x1b' && failed=$((failed + 1))

# Support files: those of the last run, whole or not at all.
export NAXFEWXMLDB_WINDIR=$work/win NAXFEWXMLDB_PROGRAMDATA=$work/data
mkdir -p cfg/NAX/Common twins/a twins/b
cp "$clean" twins/a/l.xml
cp "$faulty" twins/b/L.xml
echo settings >cfg/NAX/Common/settings.xml
check 'collect without a run' 2 '' "there is no folder 'c'" collect -o c
mkdir c
check 'collect from an empty folder' 2 '' 'UILandscape.db' collect -o c
check 'collect a file from an empty folder' 0 'Landscape_files/clean_landscape.xml' '' \
  collect -o c "$clean"
rm -r c
check 'validate and collect' 1 'Support archive: ' '' --collect -o c --config-dir cfg twins/a/l.xml twins/b/L.xml
rm c/LandscapeValidation.zip
check 'list' 0 'NAX_Common/settings.xml' '' collect -o c --config-dir cfg --list
check 'list tells what is missing' 0 'naxroute.ini' '' collect --output=c --list
[ ! -e c/LandscapeValidation.zip ] || failed=$((failed + 1))
check 'collect' 0 'Support archive: ' '' collect -o c --config-dir cfg
7z x -bd -bso0 -pnax -ounpacked c/LandscapeValidation.zip </dev/null &&
  cmp unpacked/Database/UILandscape.db c/UILandscape.db &&
  cmp unpacked/Landscape_files/l.xml "$clean" &&
  cmp "unpacked/Landscape_files/L (2).xml" "$faulty" &&
  cmp unpacked/NAX_Common/settings.xml cfg/NAX/Common/settings.xml || failed=$((failed + 1))
check 'collect a missing file' 2 'Support archive: ' "cannot collect 'none.xml'" collect -o c none.xml
check 'a line end in a name' 2 'Support archive: ' "cannot collect 'a?b'" collect -o c $'a\nb'
mkdir elsewhere
(cd elsewhere && ! "$tool" collect -o ../c 2>err.txt | grep -q 'Landscape_files/l.xml  from' &&
  grep -q "Collect from the run's folder" err.txt) || failed=$((failed + 1))
# Behind a link, ".." is the folder that the system finds there.
mkdir -p far/away
cp -r c far/c
rm far/c/LandscapeValidation.zip
ln -s far/away link
check 'a folder behind a link' 0 'far/c/LandscapeValidation.zip' '' collect -o link/../c "$clean"
[ -e far/c/LandscapeValidation.zip ] || failed=$((failed + 1))

# A database that a killed run left in the middle of a transaction: its copy is whole.
cut_short() {
  rm -rf cut
  cp -r far/c cut
  sqlite3 cut/UILandscape.db >/dev/null 2>&1 <<'END'
PRAGMA cache_size = 1;
BEGIN;
CREATE TABLE half AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n LIMIT 2000)
  SELECT i, hex(zeroblob(200)) FROM n;
.shell kill -9 $PPID
END
  [ -s cut/UILandscape.db-journal ] || failed=$((failed + 1))
}
cut_short
md5sum cut/UILandscape.db* >before.txt
check 'list after a killed run' 2 '' 'UILandscape.db-journal' collect -o cut --list
md5sum cut/UILandscape.db* | cmp - before.txt || failed=$((failed + 1))
check 'collect after a killed run' 0 'Support archive: ' '' collect -o cut "$clean"
rm -rf unpacked
7z x -bd -bso0 -pnax -ounpacked cut/LandscapeValidation.zip </dev/null
[ "$(sqlite3 unpacked/Database/UILandscape.db 'PRAGMA integrity_check')" = ok ] ||
  failed=$((failed + 1))

# The next run's backup of it is whole, too; of one that held nothing yet none is made.
integrity() { sqlite3 "$1" 'PRAGMA integrity_check'; }
cut_short
check 'run after a killed run' 0 'No findings.' '' -o cut "$clean"
[ "$(integrity cut/UILandscape.db_*.bak)" = ok ] && [ "$(integrity cut/UILandscape.db)" = ok ] ||
  failed=$((failed + 1))
rm cut/*.bak
: >cut/UILandscape.db
check 'run after one that was killed at once' 0 'No findings.' '' -o cut "$clean"
[ -z "$(find cut -name '*.bak')" ] || failed=$((failed + 1))

# Without room for its copy the earlier database stays all the same.
cp cut/UILandscape.db whole.db
bash -c 'trap "" XFSZ; ulimit -f 4 && exec "$0" -o cut "$1"' "$tool" "$clean" >out.txt 2>err.txt
[ $? -eq 2 ] && cmp whole.db cut/UILandscape.db_*.bak || failed=$((failed + 1))

# Who reads the database while it is to be stored is waited for.
rm -rf cut
mkfifo slow
"$tool" -o cut slow >out.txt 2>err.txt &
# Not before its first write is done, which would wait for the reader, too.
for _ in $(seq 200); do
  [ -s cut/UILandscape.db ] && [ ! -e cut/UILandscape.db-journal ] || sleep 0.1
done
sqlite3 -readonly cut/UILandscape.db >/dev/null <<END
BEGIN;
SELECT count(*) FROM sqlite_master;
.shell cat '$clean' >slow; sleep 2
COMMIT;
END
wait $! && grep -q 'No findings.' out.txt || failed=$((failed + 1))

# A folder of the user's own stays as it is, and what a killed collection has left goes.
mkdir -p c/Registry c/.landscape-validator.work/support/Registry
: >c/Registry/mine
check 'a folder is called like one in the archive' 0 'Support archive: ' '' collect -o c
[ -e c/Registry/mine ] && [ ! -e c/.landscape-validator.work ] || failed=$((failed + 1))
rm -r c/Registry
cp c/LandscapeValidation.zip earlier.zip

# A full disk and an interrupted collection leave a whole archive and nothing else.
ls -A c >before.txt
bash -c 'ulimit -f 4 && exec "$0" collect -o c' "$tool" >out.txt 2>err.txt
[ $? -eq 2 ] && grep -q 'cannot collect' err.txt &&
  7z t -bd -bso0 -pnax c/LandscapeValidation.zip </dev/null && ls -A c | cmp - before.txt ||
  failed=$((failed + 1))
cp earlier.zip c/LandscapeValidation.zip
printf '#!/bin/sh\n: >"%s/asked"\nexec sleep 1000\n' "$work" >hang
chmod +x hang
NAXFEWXMLDB_REG=$work/hang "$tool" collect -o c 2>err.txt >out.txt &
for _ in $(seq 100); do [ -e asked ] || sleep 0.1; done
kill -TERM $!
wait $!
[ $? -eq 2 ] && grep -q 'cancelled' err.txt && cmp c/LandscapeValidation.zip earlier.zip &&
  ls -A c | cmp - before.txt || failed=$((failed + 1))

# Another program's transaction is waited for.
sqlite3 c/UILandscape.db 'BEGIN EXCLUSIVE' ".shell touch '$work/held'; sleep 2" &
for _ in $(seq 100); do [ -e held ] || sleep 0.1; done
"$tool" collect -o c >out.txt 2>err.txt && ! [ -s err.txt ] || failed=$((failed + 1))
wait

# Once the archive is there, one signal is enough, whatever else is waited for.
rm c/LandscapeValidation.zip
"$tool" -o c --collect --output-file json=pipe "$clean" >out.txt 2>err.txt &
run=$!
for _ in $(seq 100); do [ -e c/LandscapeValidation.zip ] || sleep 0.1; done
sleep 1
kill -TERM $run
for _ in $(seq 100); do [ -e /proc/$run/exe ] && sleep 0.1; done
kill -KILL $run 2>/dev/null
wait $run
[ $? -eq 143 ] || failed=$((failed + 1))

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
