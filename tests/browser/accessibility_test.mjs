// SPDX-License-Identifier: Apache-2.0
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { test } from "node:test";
import { useBrowser, withReport } from "./browser.mjs";
import { writeData } from "./fill_template.mjs";
import { BROKEN, cleanResults, manyResults, smallResults } from "./report_data.mjs";

useBrowser();

const AXE = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");
const long = smallResults();
long.RulesDependingOnFile[0].Result = "x ".repeat(5000);

const PAGES = [
  { name: "error", path: writeData(smallResults()), hash: "#view=files&status=warning&name=" + encodeURIComponent(BROKEN) },
  { name: "search", path: writeData(smallResults()), hash: "#view=rules&search=router" },
  { name: "long text", path: writeData(long) },
  { name: "success", path: writeData(cleanResults()) },
  { name: "nothing found", path: writeData(cleanResults()), hash: "#result=failed" },
  { name: "paged", path: writeData(manyResults(5000, 500, 33)), hash: "#view=files" },
];

for (const { name, path, hash } of PAGES) {
  for (const colorScheme of ["light", "dark"]) {
    for (const width of [1366, 390]) {
      test(`axe: ${name}, ${colorScheme}, ${width}`, () => withReport(path, { hash, colorScheme, viewport: { width, height: 800 } }, async (page) => {
        await page.evaluate(AXE);
        const { violations, passes } = await page.evaluate(() => globalThis.axe.run());
        assert.ok(passes.length > 20);
        assert.deepEqual(violations.map(({ id, impact, nodes }) => `${impact} ${id}: ${nodes.map(({ html }) => html.slice(0, 120))}`), []);
        assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth), "scrolls sideways");
      }));
    }
  }
}
