// SPDX-License-Identifier: Apache-2.0
// Reads a JSON report and writes its findings as workflow commands, with the writer that runners
// come with.
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";

const { issueCommand } = createRequire(import.meta.url)("@actions/core/lib/command.js");
const report = JSON.parse(readFileSync(0, "utf8"));
for (const finding of report.findings) {
  const command = finding.severity === "info" ? "notice" : finding.severity;
  const title = (finding.ruleId < 0 ? "" : `Rule ${finding.ruleId}: `) + finding.ruleName;
  const line = finding.line === null ? {} : { line: finding.line };
  issueCommand(command, { file: finding.file, ...line, title }, finding.text);
}
