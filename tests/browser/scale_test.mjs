// SPDX-License-Identifier: Apache-2.0
// 100,000 findings: what is shown is checked, how long it takes is printed.
import assert from "node:assert/strict";
import { test } from "node:test";
import { selectedName, useBrowser, withReport } from "./browser.mjs";
import { writeData } from "./fill_template.mjs";
import { manyResults } from "./report_data.mjs";

useBrowser();

test("100,000 findings", async (context) => {
  const path = writeData(manyResults(100_000, 1000, 33));
  const timed = async (what, action) => {
    const start = performance.now();
    await action();
    context.diagnostic(`${what}: ${Math.round(performance.now() - start)} ms`);
  };
  let start = performance.now();
  await withReport(path, {}, async (page, seen) => {
    context.diagnostic(`opened: ${Math.round(performance.now() - start)} ms`);
    const elements = () => page.locator("*").count();
    assert.ok(await elements() < 3000, `${await elements()} elements`);
    assert.match(await page.locator("#page-text").textContent(), /1.200 of 1,000/);
    await timed("End key in the list", async () => {
      await page.locator(".row-button").first().focus();
      await page.keyboard.press("End");
      assert.match(await selectedName(page), /landscape_998\.xml$/);
    });
    await timed("rules view", async () => {
      await page.getByLabel("View filter:").selectOption("rules");
      assert.match(await page.locator(".facts").textContent(), /3,031 findings in 1,000 files/);
    });
    assert.match(await page.locator("#detail > .more").textContent(), /30 of 1,000 files/);
    for (const [query, found] of [["000000099999", "All(1)"], ["9b1f6a30", "All(33)"], ["nowhere", "All(0)"]]) {
      await timed(`search for ${query}`, async () => {
        await page.getByLabel("Search findings:").fill(query);
        await page.waitForFunction((text) => document.querySelector("#result-filter option").textContent === text, found);
      });
    }
    assert.ok(await elements() < 3000);
    assert.deepEqual(seen.errors.concat(seen.alerts), []);
  });
});
