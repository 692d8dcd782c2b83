// SPDX-License-Identifier: Apache-2.0
// What holds for every report. NAX_REPORT_DIR names a folder that the product wrote; without it the
// sample is checked.
import assert from "node:assert/strict";
import { existsSync, readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { dirname, join, resolve } from "node:path";
import { test } from "node:test";
import { names, optionTexts, selectedName, textsOf, useBrowser, withReport } from "./browser.mjs";
import { writeData } from "./fill_template.mjs";
import { smallResults } from "./report_data.mjs";

useBrowser();

const GIVEN = process.env.NAX_REPORT_DIR;
const PAGE = GIVEN ? join(resolve(GIVEN), "ValidationResults.htm") : writeData(smallResults());
const AXE = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");
const countIn = (label) => Number(label.match(/^(?:All|Success|Error|Warning|Info)\((\d+)\)$/)[1]);

test("the page stands with its companions and is filled", () => {
  for (const name of ["NAXUILandscape_Validator_style.css", "NAX-icons.woff", "naxlogo_nax_quelin_10.png"]) {
    assert.ok(existsSync(join(dirname(PAGE), name)), name);
  }
  assert.doesNotMatch(readFileSync(PAGE, "utf8"), /"replacementholder\.\w+"|>replacementholder\.\w+</);
});

test("it opens with a result, a time and the first row selected", () => withReport(PAGE, {}, async (page, seen) => {
  assert.match(await page.locator("#result").textContent(), /^(ERROR|SUCCESS)$/);
  assert.match(await page.locator(".time-stamp").textContent(), /Creation timestamp:\s+\S+\s+\S+/);
  assert.equal(await selectedName(page), (await names(page))[0]);
  assert.deepEqual(seen.alerts.concat(seen.errors), []);
}));

test("counts, rows and details agree in both views and every filter", () => withReport(PAGE, {}, async (page, seen) => {
  let failed = 0;
  for (const view of ["files", "rules"]) {
    await page.getByLabel("View filter:").selectOption(view);
    const counts = (await optionTexts(page)).map(countIn);
    assert.equal(counts[0], counts.slice(1).reduce((sum, number) => sum + number), view);
    failed += counts[2];
    for (const [position, value] of ["all", "success", "failed", "warning", "info"].entries()) {
      await page.getByLabel("Result Filter:").selectOption(value);
      const rows = page.locator("#rows tr[data-position]");
      assert.equal(await rows.count(), Math.min(200, counts[position]), `${view} ${value}`);
      if (counts[position] === 0) {
        assert.deepEqual(await textsOf(page, "#rows tr"), ["Not found"]);
        assert.equal(await page.locator("#detail").textContent(), "");
        continue;
      }
      await rows.last().locator("button").click();
      assert.equal(await page.locator(".detail h2").textContent(), await selectedName(page));
      if (value !== "success" && value !== "all") {
        assert.ok(await page.locator(".section").count() > 0, `${view} ${value} ${await selectedName(page)}`);
      }
    }
  }
  assert.equal(await page.locator("#result").textContent(), failed > 0 ? "ERROR" : "SUCCESS");
  assert.deepEqual(seen.alerts.concat(seen.errors), []);
}));

test("the list is worked from the keyboard", () => withReport(PAGE, {}, async (page) => {
  await page.getByLabel("View filter:").selectOption("rules");
  const all = await names(page);
  await page.locator(".highlighted-row button").focus();
  await page.keyboard.press("End");
  assert.equal(await selectedName(page), all.at(-1));
  await page.keyboard.press("Home");
  await page.keyboard.press("ArrowDown");
  assert.equal(await selectedName(page), all[Math.min(1, all.length - 1)]);
}));

for (const colorScheme of ["light", "dark"]) {
  test(`axe finds nothing, ${colorScheme}`, () => withReport(PAGE, { colorScheme }, async (page) => {
    await page.evaluate(AXE);
    const { violations } = await page.evaluate(() => globalThis.axe.run());
    assert.deepEqual(violations.map(({ id, impact }) => `${impact} ${id}`), []);
  }));
}

test("without JavaScript it says what to read instead", () => withReport(PAGE, { javaScriptEnabled: false, waitFor: ".noscript" },
  async (page) => {
    assert.match(await page.locator(".noscript").innerText(), /need JavaScript/);
    assert.ok(await page.locator("#report").isHidden());
  }));

if (GIVEN && existsSync(join(dirname(PAGE), "FilterAllRules.json"))) {
  test("exported JSON files say what the page says", () => withReport(PAGE, {}, async (page) => {
    for (const [view, name] of [["files", "FilterAllFiles"], ["rules", "FilterAllRules"]]) {
      const rows = JSON.parse(readFileSync(join(dirname(PAGE), name + ".json"), "utf8"));
      await page.getByLabel("View filter:").selectOption(view);
      assert.equal(countIn((await optionTexts(page))[0]), rows.length, name);
    }
  }));
}
