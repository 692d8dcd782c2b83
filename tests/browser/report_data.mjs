// SPDX-License-Identifier: Apache-2.0
// Results as the export queries give them, small enough to count by hand, and many at once.
const RULES_PAGE = "LandscapeValidationRules.htm";

export const SCHEMA_RULE = "Validation against XSD";
export const ITEMS = "Redundant UUIDs in Items repository";
export const ROUTERS = "Service references to non-existing router";
export const SHARED = "Avoid referencing the same service in multiple workspace items.";
export const LDAP = "Redundant UUIDs in LDAP repository";
export const MAIN = "C:\\Landscapes\\main.xml";
export const INCLUDED = "https://files.example.com/included.xml";
export const BROKEN = "C:\\Landscapes\\broken.xml";
export const CLEAN = "C:\\Landscapes\\clean.xml";

/** A schema finding as the library words it. */
export function schemaFinding(file, issues, total = issues.length) {
  const [first] = issues;
  let text = `<p><strong>File used for validation: </strong> '${file}'\nValidation against XSD scheme: failed!\n\n`
    + `Reason: ${first.reason}\nSource: ${first.source}\nLine: ${first.line}\n</p>`;
  issues.forEach(({ reason, source, line }, index) => {
    text += `<p>\n<strong>Issue # ${index + 1}</strong>: ${reason}\n<strong>Source:</strong> ${source}\n`
      + `<strong>Line:</strong> ${line}\n</p>`;
  });
  return total === issues.length ? text
    : text + `<p>\n<strong><span style="color: red; ">Issue # ...</span>: Only the first ${issues.length} errors `
      + `were displayed; a total of ${total} errors occurred.\n</strong></p>`;
}

const ISSUES = [
  { reason: "The attribute 'updated' is required but missing.", source: "<Landscape version=\"1\">", line: 2 },
  { reason: "The value '76OO' is not a number.", source: "<Messageserver port=\"76OO\"/>", line: 14 },
];

function finding(Status, Result, Name, FileName, Solution = RULES_PAGE) {
  return { Status, Result, Name, Solution, FileName };
}

export function smallResults() {
  const items = Array.from({ length: 60 }, (_, number) => finding("Failed",
    `The UUID item-${number} has been employed redundantly within the Items repository`, ITEMS, MAIN));
  return {
    EllipseResult: [{ Result: "ERROR" }],
    FilterAllRules: [
      { Status: "Success", Name: LDAP }, { Status: "Info", Name: SHARED }, { Status: "Failed", Name: ITEMS },
      { Status: "Warning", Name: ROUTERS }, { Status: "Warning", Name: SCHEMA_RULE }],
    FilterAllFiles: [
      { Status: "Success", Name: CLEAN }, { Status: "Failed", Name: MAIN },
      { Status: "Info", Name: INCLUDED }, { Status: "Warning", Name: BROKEN }],
    RulesDependingOnFile: [
      ...items,
      finding("Warning", "The service: svc-1 references to non-existing router: router-9", ROUTERS, MAIN),
      finding("Warning", "The service: svc-2 references to non-existing router: router-9", ROUTERS, BROKEN),
      finding("Info", "The Service UUID svc-7 referenced more than once", SHARED, INCLUDED, "https://docs.example.com/shared"),
      finding("Warning", schemaFinding(BROKEN, ISSUES, 2), SCHEMA_RULE, BROKEN),
      finding("Success", "Validation passed", LDAP, "")],
  };
}

export function cleanResults() {
  return {
    EllipseResult: [{ Result: "SUCCESS" }],
    FilterAllRules: [ITEMS, LDAP, ROUTERS].map((Name) => ({ Status: "Success", Name })),
    FilterAllFiles: [{ Status: "Success", Name: CLEAN }],
    RulesDependingOnFile: [ITEMS, LDAP, ROUTERS].map((Name) => finding("Success", "Validation passed", Name, "")),
  };
}

export function manyResults(findings, files, rules) {
  const fileNames = Array.from({ length: files }, (_, number) => `\\\\server\\share\\landscapes\\landscape_${number}.xml`);
  const ruleNames = Array.from({ length: rules }, (_, number) => (
    `Redundant UUIDs of kind ${number} in the repository of message servers across all landscapes`));
  const status = (rule) => ["Failed", "Warning", "Info"][rule % 3];
  return {
    EllipseResult: [{ Result: "ERROR" }],
    FilterAllRules: ruleNames.map((Name, rule) => ({ Status: status(rule), Name })),
    FilterAllFiles: fileNames.map((Name, file) => ({ Status: status(file), Name })),
    RulesDependingOnFile: Array.from({ length: findings }, (_, number) => finding(status(number % rules),
      `The UUID 9b1f6a30-0000-4000-8000-${String(number).padStart(12, "0")} has been employed redundantly within the repository`,
      ruleNames[number % rules], fileNames[Math.floor(number / rules) % files])),
  };
}
