// SPDX-License-Identifier: Apache-2.0
// Fills the page's template the way the library does: one pass over the template, so that inserted
// data is never searched, and each text escaped for the place where its placeholder stands.
import { cpSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";

const RESOURCES = new URL("../../src/resources/", import.meta.url);
const COMPANIONS = {
  "report_style.css": "NAXUILandscape_Validator_style.css",
  "NAX-icons.woff": "NAX-icons.woff",
  "naxlogo_nax_quelin_10.png": "naxlogo_nax_quelin_10.png",
};

export const DATA_NAMES = ["EllipseResult", "FilterAllFiles", "FilterAllRules", "RulesDependingOnFile"];

export function escapeForScript(text) {
  return text.replace(/[\\"]/g, "\\$&").replace(/[\n\r\u2028\u2029<>&]/g,
    (character) => "\\u" + character.charCodeAt(0).toString(16).toUpperCase().padStart(4, "0"));
}

export function escapeForHtml(text) {
  return text.replace(/[&<>"']/g, (character) => "&#" + character.charCodeAt(0) + ";");
}

export function template() {
  return readFileSync(new URL("report_page.htm", RESOURCES), "utf8");
}

/** `texts` are JSON texts by name; those left out stay as they are in the template. */
export function fillTemplate(texts, { date = "24.11.2025", time = "09:30:15", noscript = "" } = {}) {
  const values = new Map([
    ["creationdate", escapeForHtml(date)], ["creationtime", escapeForHtml(time)], ["noscriptsummary", noscript]]);
  for (const [name, text] of Object.entries(texts)) {
    values.set(name.toLowerCase(), escapeForScript(text));
  }
  return template().replace(/ReplacementHolder\.(\w+)/gi,
    (whole, name) => values.get(name.toLowerCase()) ?? whole);
}

/** Writes a page with its companions into a new folder; gives the page's path. */
export function writeReport(html, { without = [] } = {}) {
  const folder = mkdtempSync(join(tmpdir(), "report-"));
  process.on("exit", () => rmSync(folder, { recursive: true, force: true }));
  for (const [source, target] of Object.entries(COMPANIONS)) {
    if (!without.includes(target)) {
      cpSync(new URL(source, RESOURCES), join(folder, target));
    }
  }
  const page = join(folder, "ValidationResults.htm");
  writeFileSync(page, html);
  return page;
}

export function writeData(data, options) {
  const texts = Object.fromEntries(Object.entries(data).map(([name, rows]) => [name, JSON.stringify(rows)]));
  return writeReport(fillTemplate(texts, options), options);
}
