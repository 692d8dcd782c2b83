#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The commands about rules and schema, the choice of rules, and files of rules good and bad.
set -u
tool=$1
examples=$2
. "$(dirname "$0")/check.sh"
# A run that ends with 2 must not have made it.
untouched=new
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1

# rule ID NAME TYPE BODY [MORE]: a rule's element.
rule() {
  printf '<Rule id="%s" name="%s" type="%s" msg="found %%s" body="%s" %s/>\n' \
    "$1" "$2" "$3" "$4" "${5-}"
}
rules() { printf '<ValidationRules>\n%s\n</ValidationRules>' "$(cat)"; }
insert='INSERT INTO ValidationResults (RuleId, ResultDescription, UUID, file_id) SELECT'
all_services="$insert @ruleid, printf('@message', name), uuid, file_id FROM Services"

clean=$examples/clean_landscape.xml
faulty=$examples/faulty_landscape.xml
rule 100 'All services' Info "$all_services" | rules >good.xml
rule 101 'Evil' Error "$all_services; DROP TABLE Files" | rules >evil.xml
rule 0 'Items as rule zero' Error \
  "$insert @ruleid, 'x', uuid, file_id FROM Items LIMIT 1" | rules >zero.xml
rule 102 'Endless' Info \
  'WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x FROM c) SELECT count(*) FROM c' |
  rules >endless.xml

# Files that no run accepts: content of <ValidationRules>, then what is told of it.
while IFS='|' read -r content told; do
  printf '<ValidationRules>\n%s\n</ValidationRules>' "$content" >bad.xml
  check "bad rule: $content" 2 '' "$told" -o new --rules good.xml --rules bad.xml "$clean"
  check "bad rule, bad file first" 2 '' "$told" -o new --rules bad.xml --rules good.xml "$clean"
  check "bad rule, checked: $content" 1 "$told" '' rules check bad.xml good.xml
done <<END
<Rule name="n" type="Info" msg="m" body="b"/>|bad.xml:2: attribute "id" is missing
<Rule id="200" name="" type="Info" msg="m" body="b"/>|bad.xml:2: attribute "name" is empty
<Rule id="200" name="n" type="info" msg="m" body="b"/>|bad.xml:2: type "info" is none of
<Rule id="200" name="n" type="Info" msg="m"/>|bad.xml:2: attribute "body" is missing
<Rule id="-1" name="n" type="Info" msg="m" body="b"/>|bad.xml:2: id "-1" is not a number
<Rule id="007" name="n" type="Info" msg="m" body="b"/>|bad.xml:2: id "007" is not a number
<Rule id="8" name="n" type="Info" msg="m" body="b"/>|bad.xml:2: id "8" is taken: a built-in one
<Rule id="100" name="n" type="Info" msg="m" body="b"/>|id "100" is taken
<Rule id="200" name="All services" type="Info" msg="m" body="b"/>|name "All services" is taken
<Rule id="200" name="n" type="Info" msg="m" body="b" Msg="m"/>|bad.xml:2: attribute "Msg" is not
<rule id="200"/>|bad.xml:2: element "rule" is not known
<Rule|bad.xml:3: not well-formed
END
printf '<Rules/>' >root.xml
check 'wrong root' 2 '' 'root.xml:1: the root element is "Rules"' -o new --rules root.xml "$clean"
check 'no such file' 2 '' 'none.xml: cannot be read: No such' -o new --rules none.xml "$clean"
check 'a folder' 2 '' 'cannot be read: It is a folder' -o new --rules . "$clean"
check 'actions as rules' 2 '' 'give it with --actions' -o new \
  --rules "$examples/rules/hosts-action.xml" "$clean"
check 'rules as actions' 2 '' 'give it with --rules' -o new --actions good.xml "$clean"

for id in 33 -1 x 08; do
  check "unknown id $id" 2 '' "--disable-rule $id: there is no" -o new "--disable-rule=$id" "$clean"
  check "unknown id $id" 2 '' "--only-rule $id: there is no" -o new "--only-rule=$id" "$clean"
  check "unknown id $id" 2 '' "--severity $id: there is no" -o new "--severity=$id=info" "$clean"
done
check 'built-in rule left out' 2 '' 'no such rule' -o new --no-built-in-rules --only-rule 8 "$clean"
check 'no level' 2 '' 'expected is ID=error' -o new --severity 8 "$clean"
for time in 0 nan -1 1e9; do
  check "time limit $time" 2 '' '--rule-timeout' -o new "--rule-timeout=$time" "$clean"
done

check 'beside the built-in ones' 0 'and 34 rules' '' -o r --rules good.xml "$clean"
check 'instead of them' 0 'and 1 rule.' '' -o r --rules good.xml --no-built-in-rules "$clean"
check 'no rule at all' 0 'and 0 rules' '' -o r --no-built-in-rules "$clean"
check 'nothing to check' 2 '' 'nothing is left to check' -o r --no-built-in-rules --disable-rule schema "$faulty"
check 'severity' 1 'ERROR         9  rule 100' '' -o r --rules good.xml --severity 100=error "$clean"
[ "$(sqlite3 r/UILandscape.db "SELECT r.Type || v.Type || v.ResultId FROM Rules r JOIN ValidationResults v
  USING (RuleId) WHERE RuleId = '100' LIMIT 1")" = ErrorError0 ] || failed=$((failed + 1))
check 'severity of a built-in rule' 0 'INFO          1  rule 8 ' '' -o r --only-rule 8 \
  --severity 8=info "$faulty"
check 'left out' 1 'and 32 rules' '' -o r --disable-rule 8 "$faulty"
grep -q 'rule 8 ' out.txt && failed=$((failed + 1))
[ "$(sqlite3 r/UILandscape.db "SELECT count(*) FROM Rules WHERE RuleId = '8'")" = 0 ] ||
  failed=$((failed + 1))
check 'schema only' 1 'violations of the schema' '' -o r --only-rule schema "$faulty"
check 'schema as a warning' 0 'WARNING schema' '' -o r --only-rule schema \
  --severity schema=warning "$faulty"
check 'the same, below the threshold' 1 'WARNING schema' '' -o r --only-rule schema \
  --severity schema=warning --fail-on warning "$faulty"
printf '<Landscape' >broken-landscape.xml
for choice in --disable-rule=schema --severity=schema=info --only-rule=8; do
  check "a broken file fails with $choice" 1 'cannot be used' '' -o r "$choice" broken-landscape.xml
done

check 'denied' 1 'Runtime error statement 2 of 2: not allowed' '' -o r --rules evil.xml \
  --rules good.xml "$clean"
check 'the others run on' 1 'rule 100 line 33: found Ledger, test' '' -o r --all --rules evil.xml \
  --rules good.xml "$clean"
grep -q 'rule 101 line' out.txt && failed=$((failed + 1))
check 'stopped' 1 'stopped: the time limit is over (0.5 s)' '' -o r --rules endless.xml \
  --rule-timeout 0.5 "$clean"
check 'known by its table, not by its id' 1 'rule 0   line 8: x' '' -o r --rules zero.xml \
  --no-built-in-rules "$clean"

printf '<Actions><JsonRequest id="9" name="n" output="%s" body="%s"/></Actions>' \
  a.json 'SELECT 1 AS one' >action.xml
check 'action' 0 'No findings.' '' -o r --actions action.xml "$clean"
[ "$(cat r/a.json)" = '[{"one":1}]' ] || failed=$((failed + 1))
sed 's/SELECT 1/SELECT none/' action.xml >failing.xml
check 'failing action' 2 'No findings.' 'action 9 wrote no a.json: no such column: none' -o r \
  --actions failing.xml "$clean"
[ ! -e r/a.json ] && grep -q 'FilterAllRules' r/ValidationResults.htm || failed=$((failed + 1))
for output in ../a.json /a.json a.txt UILandscape.db .json FilterAllRules.json; do
  sed "s|a.json|$output|" action.xml >escaping.xml
  check "output $output" 2 '' "escaping.xml:1: output \"$output\"" -o new --actions escaping.xml \
    "$clean"
done

cat >parts.xml <<END
<Actions><JsonRequest id="9" name="n" output="a.json" body="SELECT 1 AS a; SELECT 2 AS a;"/>
<JsonRequest id="10" name="m" output="a_1.json" body="SELECT 1 AS a"/></Actions>
END
check 'a numbered file' 2 '' 'output "a_1.json" is taken' -o new --actions parts.xml "$clean"

check 'list' 0 '        8  error    Redundant UUIDs in Items' '' rules list
check 'list of one' 0 '      100  info     All services' '' rules list --rules good.xml
check 'explain' 0 'How to mend it' '' rules explain 32
check 'explain schema' 0 'schema: Validation against XSD' '' rules explain schema
check 'explain ones own' 0 'From: good.xml:2' '' rules explain 100 --rules good.xml
check 'explain none' 2 '' "there is no rule '100'" rules explain 100
check 'check' 0 'Checked 1 rule and 1 action: no faults.' '' rules check good.xml action.xml
check 'check tells denials' 1 'evil.xml:2: body: statement 2 of 2: not allowed' '' rules check evil.xml
check 'check against one another' 1 'is taken' '' rules check good.xml good.xml
check 'check of what stands alone' 0 'no faults' '' rules check --no-built-in-rules zero.xml
check 'check reads the others' 2 'Checked 1 rule' 'none.xml: cannot be read' rules check none.xml good.xml
check 'check of nothing' 2 '' 'FILE is required' rules check
check 'no command' 2 '' 'subcommand is required' rules

check 'tables' 0 'CREATE TABLE "ValidationResults"' '' schema ddl
sqlite3 ddl.db <out.txt && [ "$(sqlite3 ddl.db 'SELECT count(*) FROM Services')" = 0 ] ||
  failed=$((failed + 1))
check 'schema' 0 '<xs:element name="Landscape">' '' schema print
sed 's|<xs:attribute name="sncop"|<xs:attribute name="owner"/>&|' out.txt >owner.xsd
sed 's/name="Router"/name="Gate"/; s/ref="Router"/ref="Gate"/' out.txt >gate.xsd
printf '<landscape/>' >no.xsd
sed 's/<Service /<Service owner="me" /' "$clean" >owner.xml
rule 100 'Owners' Info "$insert @ruleid, owner, uuid, file_id FROM Services" | rules >owners.xml
check 'new attribute, own schema' 0 'rule 100 line 33: me' '' -o r --all --schema owner.xsd \
  --rules owners.xml owner.xml
check 'new attribute, old schema' 1 'no such column: owner' '' rules check owners.xml
check 'rules for that schema' 0 'no faults' '' rules check --schema owner.xsd owners.xml
check 'no schema' 2 '' "'no.xsd' is no usable schema" -o new --schema no.xsd "$clean"
sed 's/type="GUID"/type="Gold"/' owner.xsd >gold.xsd
at=$(grep -n -m1 Gold gold.xsd | cut -d: -f1)
check 'a fault and its line' 2 '' "(line $at)" -o new --schema gold.xsd "$clean"
check 'a table is missing' 2 '' 'gives no table Routers' -o new --schema gate.xsd "$clean"
check 'no stylesheet' 2 '' "'owner.xsd' cannot be used" -o new --stylesheet owner.xsd "$clean"
printf '<xsl:stylesheet\n  version=>' >broken.xslt
check 'broken stylesheet' 2 '' "'broken.xslt' cannot be used: line 2: " -o new \
  --stylesheet broken.xslt "$clean"
cat >remote.xslt <<END
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
<xsl:import href="http://stylesheets.invalid/other.xslt"/></xsl:stylesheet>
END
check 'remote stylesheet' 2 '' 'nothing is fetched from a network' -o new \
  --stylesheet remote.xslt "$clean"
mkfifo pipe
# Stylesheets of others: content of the template, then what is told of it.
while IFS='|' read -r content told; do
  cat >other.xslt <<END
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
<xsl:output method="text"/><xsl:template match="/">$content</xsl:template>
<xsl:template name="t"><xsl:text>CREATE TABLE "t" (a TEXT, PRIMARY KEY(a)) </xsl:text></xsl:template>
<xsl:template name="double"><xsl:param name="n"/><xsl:param name="text"/><xsl:value-of select="\$text"/>
<xsl:if test="\$n &gt; 0"><xsl:call-template name="double"><xsl:with-param name="n" select="\$n - 1"/>
<xsl:with-param name="text" select="concat(\$text, \$text)"/></xsl:call-template></xsl:if></xsl:template>
</xsl:stylesheet>
END
  check "stylesheet: $content" 2 '' "'other.xslt' cannot be used: $told" \
    -o new --stylesheet other.xslt "$clean"
done <<'END'
<xsl:call-template name="t"/>; ATTACH DATABASE "new" AS n;|the table "t" cannot be made: not allowed: another statement
CREATE TABLE t AS SELECT 1|the table "t" cannot be made: not allowed: a query
CREATE TABLE "t" (a TEXT CHECK(hex(a)), PRIMARY KEY(a))|the table "t" cannot be made: not allowed: a function
<xsl:for-each select="//@*"><xsl:for-each select="/*/*"><xsl:call-template name="t"/></xsl:for-each></xsl:for-each>|there are
<xsl:value-of select="document('pipe')"/>|The transformation failed.
<xsl:value-of select="count(//@*[count(//@*[. = //@*]) = 0])"/>|The transformation takes more than 20,000,000 steps.
<xsl:call-template name="double"><xsl:with-param name="n" select="40"/><xsl:with-param name="text" select="//@*"/></xsl:call-template>|The transformation takes more than 256 MB of memory.
END
# Schemas of others: what stands in place of an attribute, then what is told of it.
while IFS='|' read -r from to told; do
  sed "s|$from|$to|" owner.xsd >other.xsd
  check "schema: $to" 2 '' "$told" -o new --schema other.xsd "$clean"
done <<'END'
name="sncop"|name="HOST"|the table "Service" cannot be made: duplicate column name: HOST
name="sncop"|name="select"|the table "Service" cannot be filled: near "select"
http://www.w3.org/2001/xml.xsd|pipe|is a pipe or a device
END
check 'missing schema' 2 '' "cannot read 'none.xsd'" schema print --schema none.xsd
"$tool" schema print --schema owner.xsd | cmp - owner.xsd || failed=$((failed + 1))

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
