// SPDX-License-Identifier: Apache-2.0
import assert from "node:assert/strict";
import { existsSync } from "node:fs";
import { dirname, join } from "node:path";
import { describe, test } from "node:test";
import { names, optionTexts, selectedName, textsOf, useBrowser, withReport } from "./browser.mjs";
import { DATA_NAMES, fillTemplate, template, writeData, writeReport } from "./fill_template.mjs";
import * as data from "./report_data.mjs";

useBrowser();

const ERROR_PAGE = writeData(data.smallResults());
const CLEAN_PAGE = writeData(data.cleanResults());
const open = (action, options = {}) => withReport(ERROR_PAGE, options, action);

async function colours(page, selector) {
  const text = await page.locator(selector).evaluate((element) => getComputedStyle(element).backgroundColor);
  return text.match(/\d+/g).map(Number);
}

describe("banner", () => {
  const cases = [
    { result: "ERROR", path: ERROR_PAGE, strongest: 0 },
    { result: "SUCCESS", path: CLEAN_PAGE, strongest: 1 }];
  for (const { result, path, strongest } of cases) {
    for (const colorScheme of ["light", "dark"]) {
      test(`${result} colours header and result area, ${colorScheme}`, () => withReport(path, { colorScheme }, async (page, seen) => {
        assert.match(await page.getByRole("heading", { name: "Validation result" }).textContent(), new RegExp(result));
        for (const selector of [".page-header", ".result-area"]) {
          const channels = await colours(page, selector);
          assert.equal(channels.indexOf(Math.max(...channels)), strongest, `${selector}: ${channels}`);
        }
        assert.deepEqual(seen.errors.concat(seen.alerts), []);
      }));
    }
  }

  test("tells when the report was made", () => open(async (page) => {
    const text = await page.locator(".time-stamp").textContent();
    assert.equal(text.replace(/\s+/g, " ").trim(), "Creation timestamp: 24.11.2025 09:30:15");
  }));
});

describe("list", () => {
  test("both views count, list and explain what they show", () => open(async (page) => {
    assert.deepEqual(await textsOf(page, "label"), ["View filter:", "Result Filter:", "Search findings:"]);
    assert.deepEqual(await textsOf(page, "#view-filter option"), ["Files", "Rules"]);
    assert.deepEqual(await optionTexts(page), ["All(4)", "Success(1)", "Error(1)", "Warning(1)", "Info(1)"]);
    assert.deepEqual(await names(page), [data.MAIN, data.BROKEN, data.INCLUDED, data.CLEAN]);
    assert.equal(await page.locator(".detail h3").textContent(), "Rules validated according to the file:");

    await page.getByLabel("View filter:").selectOption("Rules");
    assert.deepEqual(await optionTexts(page), ["All(5)", "Success(1)", "Error(1)", "Warning(2)", "Info(1)"]);
    assert.deepEqual(await textsOf(page, "#rows .status-text"), ["Error", "Warning", "Warning", "Info", "Success"]);
    assert.equal(await selectedName(page), data.ITEMS);
    assert.equal(await page.locator(".detail h3").textContent(), "Files validated according to the rule:");
  }));

  const filters = [
    { value: "all", found: [data.MAIN, data.BROKEN, data.INCLUDED, data.CLEAN] },
    { value: "success", found: [data.CLEAN] }, { value: "failed", found: [data.MAIN] },
    { value: "warning", found: [data.BROKEN] }, { value: "info", found: [data.INCLUDED] }];
  test("every result filter lists its rows and selects the first", () => open(async (page) => {
    for (const { value, found } of filters) {
      await page.getByLabel("Result Filter:").selectOption(value);
      assert.deepEqual(await names(page), found, value);
      assert.equal(await selectedName(page), found[0], value);
      assert.equal(await page.locator(".detail h2").textContent(), found[0], value);
    }
  }));

  test("a filter without rows says so and clears the details", () => withReport(CLEAN_PAGE, {}, async (page) => {
    await page.getByLabel("Result Filter:").selectOption("failed");
    assert.deepEqual(await textsOf(page, "#rows tr"), ["Not found"]);
    assert.equal(await page.locator("#detail").innerHTML(), "");
  }));

  test("icons come from the icon font", () => open(async (page) => {
    assert.ok(await page.evaluate(() => document.fonts.check("16px 'NAX icons'", "\uE101")));
    const glyphs = await textsOf(page, "#rows .icon");
    assert.deepEqual(glyphs, ["\uE102", "\uE103", "\uE104", "\uE101"]);
    assert.ok(await page.locator("#rows .icon").first().isVisible());
    assert.deepEqual(await page.locator(".page-header img").evaluate((logo) => [logo.naturalWidth, logo.naturalHeight]), [55, 27]);
  }));
});

describe("details", () => {
  test("a click highlights the row and shows one section per rule", () => open(async (page) => {
    await page.getByText(data.BROKEN, { exact: true }).first().click();
    assert.equal(await page.locator(".highlighted-row").count(), 1);
    assert.equal(await selectedName(page), data.BROKEN);
    assert.deepEqual(await textsOf(page, ".section-name"), [data.ROUTERS, data.SCHEMA_RULE]);
    assert.match(await page.locator(".section-body").first().textContent(), /svc-2 references/);
    const link = page.locator(".solution-link").first();
    assert.match(await link.getAttribute("href"), /^LandscapeValidationRules\.htm#name-service-references-to-non-existing-router$/);
    assert.match(await link.getAttribute("rel"), /noopener/);
  }));

  test("sections fold and unfold, one by one and all at once", () => open(async (page) => {
    const toggle = page.locator(".section-toggle").first();
    const body = page.locator(".section-body").first();
    assert.equal(await toggle.getAttribute("aria-expanded"), "true");
    await toggle.click();
    assert.equal(await toggle.getAttribute("aria-expanded"), "false");
    assert.ok(await body.isHidden());
    await page.getByRole("button", { name: "Expand all" }).click();
    assert.equal(await page.locator(".section-body:visible").count(), 2);
    await page.getByRole("button", { name: "Collapse all" }).click();
    assert.equal(await page.locator(".section-body:visible").count(), 0);
  }));

  test("long lists are paged", () => open(async (page) => {
    const more = page.locator(".section .more").first();
    assert.match(await more.textContent(), /^50 of 60 findings/);
    assert.equal(await page.locator(".finding").count(), 50);
    await more.getByRole("button", { name: "Show 10 more" }).click();
    assert.equal(await page.locator(".finding").count(), 60);
    assert.match(await more.textContent(), /^60 of 60 findings/);
    assert.ok(await more.getByRole("button").isHidden());
  }));

  test("the rules view groups by file; a rule that passed says so", () => open(async (page) => {
    await page.getByLabel("View filter:").selectOption("rules");
    await page.getByText(data.ROUTERS, { exact: true }).first().click();
    assert.deepEqual(await textsOf(page, ".section-name"), [data.MAIN, data.BROKEN]);
    await page.getByText(data.LDAP, { exact: true }).first().click();
    assert.equal(await page.locator(".section").count(), 0);
    assert.match(await page.locator("#detail").textContent(), /reported no file.*Validation passed/);
  }));
});

describe("search and address", () => {
  test("search limits list, counts and details, and marks what it found", () => open(async (page) => {
    await page.getByLabel("Search findings:").fill("ITEM-59");
    await page.waitForFunction(() => document.querySelectorAll("#rows tr").length === 1);
    assert.deepEqual(await optionTexts(page), ["All(1)", "Success(0)", "Error(1)", "Warning(0)", "Info(0)"]);
    assert.deepEqual(await textsOf(page, "mark"), ["item-59"]);
    assert.match(await page.locator(".facts").textContent(), /1 finding in 1 rule \(of 61, limited by the search\)/);
    await page.getByLabel("Search findings:").fill("strong>");
    await page.waitForFunction(() => document.querySelector(".not-found") !== null);
  }));

  test("the address reopens view, filter, search and selection", () => open(async (page) => {
    await page.getByLabel("View filter:").selectOption("rules");
    await page.getByLabel("Result Filter:").selectOption("warning");
    await page.getByLabel("Search findings:").fill("broken");
    await page.waitForFunction(() => location.hash.includes("search=broken"));
    await page.getByText(data.SCHEMA_RULE, { exact: true }).first().click();
    await page.waitForFunction(() => location.hash.includes("XSD"));
    const hash = await page.evaluate(() => location.hash);
    await open(async (again) => {
      assert.equal(await again.getByLabel("View filter:").inputValue(), "rules");
      assert.equal(await again.getByLabel("Result Filter:").inputValue(), "warning");
      assert.equal(await again.getByLabel("Search findings:").inputValue(), "broken");
      assert.equal(await selectedName(again), data.SCHEMA_RULE);
    }, { hash });
  }));

  test("an address that asks for nonsense opens the default view", () => open(async (page, seen) => {
    assert.equal(await page.getByLabel("View filter:").inputValue(), "files");
    assert.equal(await page.getByLabel("Result Filter:").inputValue(), "all");
    assert.equal(await selectedName(page), data.MAIN);
    assert.deepEqual(seen.errors, []);
  }, { hash: "#view=constructor&result=__proto__&name=%E0%A4%A&status=" }));
});

test("everything can be reached and used from the keyboard", () => open(async (page) => {
  const focused = () => page.evaluate(() => document.activeElement.id || document.activeElement.className);
  const visited = [];
  for (let step = 0; step < 6; ++step) {
    await page.keyboard.press("Tab");
    visited.push(await focused());
  }
  // The disabled zip control is passed over; the list is one stop, its rows belong to the arrow keys.
  assert.deepEqual(visited.slice(0, 5), ["view-filter", "result-filter", "search", "download", "row-button"]);
  await page.locator(".row-button").first().focus();
  for (const [key, name] of [["ArrowDown", data.BROKEN], ["End", data.CLEAN], ["ArrowUp", data.INCLUDED],
    ["Home", data.MAIN], ["PageDown", data.CLEAN], ["PageUp", data.MAIN], ["ArrowUp", data.MAIN]]) {
    await page.keyboard.press(key);
    assert.equal(await selectedName(page), name, key);
    assert.equal(await page.evaluate(() => document.activeElement.textContent), name, key);
  }
  await page.keyboard.press("Tab");
  await page.keyboard.press("Tab");
  await page.keyboard.press("Tab");
  assert.equal(await focused(), "section-toggle");
  await page.keyboard.press("Enter");
  assert.equal(await page.locator(".section-toggle").first().getAttribute("aria-expanded"), "false");
  await page.keyboard.press("Space");
  assert.equal(await page.locator(".section-toggle").first().getAttribute("aria-expanded"), "true");
}));

test("the support archive is offered beside the page; asking for a missing one keeps the report", () => open(async (page) => {
  const link = page.getByRole("link", { name: "LandscapeValidation.zip" });
  assert.equal(await link.getAttribute("href"), "LandscapeValidation.zip");
  assert.equal(await link.getAttribute("rel"), "noopener");
  assert.ok(await page.getByText("The archive is there once support files have been collected.").isVisible());
  await page.getByLabel("View filter:").selectOption("rules");
  const [other] = await Promise.all([page.context().waitForEvent("page"), link.click()]);
  await other.close();
  assert.match(page.url(), /ValidationResults\.htm/);
  assert.equal(await selectedName(page), data.ITEMS);
}));

test("the template names every placeholder once, data inside quotes", () => {
  const found = [...template().matchAll(/(.)replacementholder\.(\w+)(.)/gi)].map(([, before, name, after]) => before + name + after);
  assert.deepEqual(found.sort(), ['"ellipseresult"', '"filterallfiles"', '"filterallrules"', '"rulesdependingonfile"',
    ">creationdate<", ">creationtime<", ">noscriptsummary<"]);
});

test("what cannot be read is named, and the rest is shown", async () => {
  const words = { EllipseResult: /^Error loading ellipseResult\.json data: ./ };
  for (const broken of DATA_NAMES) {
    const results = data.smallResults();
    const texts = Object.fromEntries(DATA_NAMES.filter((name) => name !== broken)
      .map((name) => [name, JSON.stringify(results[name])]));
    await withReport(writeReport(fillTemplate(texts)), {}, async (page, seen) => {
      await page.waitForTimeout(100);
      assert.equal(seen.alerts.length, 1, broken);
      assert.match(seen.alerts[0], words[broken] || new RegExp(`^Error fetching ${broken}\\.json$`));
      assert.deepEqual(seen.errors, [], broken);
      assert.ok(await page.locator("#rows tr").count() > 0, broken);
    });
  }
});

test("a template that was never filled still opens", () => withReport(writeReport(fillTemplate({})), {}, async (page, seen) => {
  await page.waitForTimeout(100);
  assert.equal(seen.alerts.length, 4);
  assert.deepEqual(seen.errors, []);
  assert.deepEqual(await textsOf(page, "#rows tr"), ["Not found"]);
}));

test("without style sheet and font the page stays readable", () => withReport(
  writeData(data.smallResults(), { without: ["NAXUILandscape_Validator_style.css", "NAX-icons.woff"] }), {}, async (page) => {
    assert.equal(await page.locator("#rows").evaluate((rows) => getComputedStyle(rows.closest(".columns")).display), "grid");
    assert.ok(await page.locator("#rows .icon").first().isHidden());
    assert.ok(await page.locator("#list-keys").evaluate((element) => element.offsetWidth <= 1));
    assert.ok(await page.getByText("Error", { exact: true }).first().isVisible());
  }));

test("paper shows what is folded and no controls", () => open(async (page) => {
  await page.getByRole("button", { name: "Collapse all" }).click();
  await page.emulateMedia({ media: "print" });
  await page.evaluate(() => dispatchEvent(new Event("beforeprint")));
  assert.equal(await page.locator(".section-body:visible").count(), 2);
  assert.ok(await page.locator("#filters").isHidden());
  assert.equal(await page.locator("#print-filters").textContent(), "View: Files, result: All");
  await page.evaluate(() => dispatchEvent(new Event("afterprint")));
  assert.equal(await page.locator(".section-body:visible").count(), 0);
}));

test("without JavaScript there is a summary", async () => {
  const noscript = "<div class=\"result-error\"><p>Result: <strong>ERROR</strong></p></div>\n<table><thead><tr><th>Status</th>"
    + "<th>Name</th><th>Results</th></tr></thead><tbody><tr><td>Warning</td><td>" + "Redundant".repeat(40)
    + "</td><td>1000000</td></tr></tbody></table>";
  const options = { javaScriptEnabled: false, waitFor: ".noscript", viewport: { width: 390, height: 800 } };
  for (const [summary, cells] of [[noscript, 3], ["", 0]]) {
    const path = writeData(data.smallResults(), { noscript: summary });
    assert.ok(existsSync(join(dirname(path), "NAX-icons.woff")));
    await withReport(path, options, async (page) => {
      assert.equal(await page.locator(".noscript td").count(), cells);
      assert.match(await page.locator(".noscript p").first().innerText(), /need JavaScript/);
      assert.ok(await page.locator(".noscript p").first().isVisible());
      assert.ok(await page.locator("#loading").isHidden());
      assert.ok(await page.locator("#report").isHidden());
      assert.match(await page.locator(".noscript p").first().innerText(), /UILandscape\.db beside this page holds all results/);
      if (cells > 0) {
        const lines = (text) => page.locator(".noscript").getByText(text, { exact: true }).evaluate((cell) => {
          const range = document.createRange();
          range.selectNodeContents(cell);
          return range.getClientRects().length;
        });
        assert.deepEqual([await lines("Status"), await lines("Warning"), await lines("Results"), await lines("1000000")], [1, 1, 1, 1]);
        const [red, green] = (await page.locator(".result-error").evaluate((element) => getComputedStyle(element).color)).match(/\d+/g);
        assert.ok(Number(red) > 2 * Number(green));
      }
    });
  }
});
