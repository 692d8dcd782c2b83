// SPDX-License-Identifier: Apache-2.0
// The three public scripts: refused, served as published, and tampered with.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { test } from "node:test";
import JSZip from "jszip";
import { textsOf, useBrowser, withReport } from "./browser.mjs";
import { DATA_NAMES, template, writeData } from "./fill_template.mjs";
import { smallResults } from "./report_data.mjs";

useBrowser();

const PAGE = writeData(smallResults());
const LOCATIONS = [...template().matchAll(/src="(https:\/\/[^"]+\/npm\/([^@"]+)@([\d.]+)\/([^"]+))"/g)]
  .map(([, url, name, version, path]) => ({ url, name, version, path }));

const readPackage = (name, path) => readFileSync(new URL(`node_modules/${name}/${path}`, import.meta.url));

function serveScripts(change = (body) => body) {
  return (route) => {
    const { name, path } = LOCATIONS.find(({ url }) => url === route.request().url());
    return route.fulfill({ body: change(readPackage(name, path)), contentType: "text/javascript",
      headers: { "Access-Control-Allow-Origin": "*" } });
  };
}

test("versions are pinned to the packages that are served here", () => {
  assert.equal(LOCATIONS.length, 3);
  for (const { name, version } of LOCATIONS) {
    assert.equal(JSON.parse(readPackage(name, "package.json")).version, version, name);
  }
});

test("without a network the results are shown and saving is off, with a hint", () => withReport(PAGE, {}, async (page, seen) => {
  assert.ok(await page.getByRole("button", { name: "Save results as zip" }).isDisabled());
  assert.ok(await page.locator("#save-hint").isVisible());
  assert.equal(await page.locator("#rows tr").count(), 4);
  assert.deepEqual(seen.requests.sort(), LOCATIONS.map(({ url }) => url).sort());
  assert.deepEqual(seen.errors, []);
}));

test("with the scripts the results are saved as a zip of the four texts", () => withReport(PAGE, { serve: serveScripts(), acceptDownloads: true },
  async (page, seen) => {
    await page.waitForFunction(() => window.jQuery && window.JSZip && window.saveAs);
    assert.equal(await page.evaluate(() => window.jQuery.fn.jquery), "3.6.0");
    assert.ok(await page.locator("#save-hint").isHidden());
    const [download] = await Promise.all([page.waitForEvent("download"),
      page.getByRole("button", { name: "Save results as zip" }).click()]);
    const zip = await JSZip.loadAsync(readFileSync(await download.path()));
    assert.deepEqual(Object.keys(zip.files).sort(), DATA_NAMES.map((name) => name + ".json"));
    for (const name of DATA_NAMES) {
      assert.equal(await zip.file(name + ".json").async("string"), JSON.stringify(smallResults()[name]), name);
    }
    assert.deepEqual(seen.errors.concat(seen.alerts), []);
  }));

test("with jQuery sections slide and end up folded or unfolded", () => withReport(PAGE, { serve: serveScripts() }, async (page, seen) => {
  await page.waitForFunction(() => window.jQuery);
  const toggle = page.locator(".section-toggle").first();
  const body = page.locator(".section-body").first();
  for (const clicks of [1, 1, 3, 2]) {
    for (let click = 0; click < clicks; ++click) {
      await toggle.click();
    }
    await page.waitForFunction(() => window.jQuery(":animated").length === 0);
    assert.equal(await body.isVisible(), await toggle.getAttribute("aria-expanded") === "true", String(clicks));
    assert.equal(await body.evaluate((element) => element.style.display), "");
  }
  assert.deepEqual(seen.errors, []);
}));

test("scripts that are not the published ones are not run", () => {
  const serve = serveScripts((body) => Buffer.concat([body, Buffer.from("\nwindow.tampered = true;")]));
  return withReport(PAGE, { serve }, async (page) => {
    await page.waitForTimeout(300);
    assert.equal(await page.evaluate(() => typeof window.jQuery + typeof window.JSZip + typeof window.saveAs + window.tampered),
      "undefinedundefinedundefinedundefined");
    assert.deepEqual(await textsOf(page, "#result"), ["ERROR"]);
  });
});
