// SPDX-License-Identifier: Apache-2.0
// Opens every page of the built documentation from its folder, without a network. NAX_DOCS_SITE
// names the folder (scripts/docs.sh --test).
import assert from "node:assert/strict";
import { readdirSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import { pathToFileURL } from "node:url";
import { openReport, textsOf, useBrowser, withReport } from "../browser/browser.mjs";

const site = process.env.NAX_DOCS_SITE;
assert.ok(site, "NAX_DOCS_SITE names the folder of the site");
const names = readdirSync(site, { recursive: true, withFileTypes: true })
  .filter((entry) => entry.isFile())
  .map((entry) => join(entry.parentPath ?? entry.path, entry.name));
const files = new Set(names.map((name) => pathToFileURL(name).href));
// The page for what is not found names its companions from the root of a server.
const pages = names.filter((name) => name.endsWith(".html") && !name.endsWith("/404.html"));

useBrowser();

test("each page opens without a request, an error or a dead link", async () => {
  const ids = new Map();
  const links = [];
  const faults = [];
  const { page, seen, close } = await openReport(pages[0], { waitFor: "body" });
  page.on("console", (message) => {
    if (["error", "warning"].includes(message.type())) {
      faults.push(`${page.url()}: ${message.text()}`);
    }
  });
  page.on("requestfailed", (request) => {
    if (request.failure().errorText !== "net::ERR_ABORTED") { // by going to the next page
      faults.push(`${page.url()}: not loaded: ${request.url()}`);
    }
  });
  for (const name of pages) {
    const url = pathToFileURL(name).href;
    await page.goto(url);
    const found = await page.evaluate(() => ({
      ids: [...document.querySelectorAll("[id], a[name]")].map((node) => node.id || node.name),
      links: [...document.querySelectorAll("a[href]")].map((node) => node.href),
      text: document.body.innerText.trim().length,
    }));
    ids.set(url, new Set(found.ids));
    links.push(...found.links.map((link) => [url, link]));
    if (found.text === 0) {
      faults.push(`${url}: empty`);
    }
  }
  for (const [from, link] of links) {
    const [target, anchor] = link.split("#");
    if (!target.startsWith("file:")) {
      continue;
    }
    if (!files.has(target.split("?")[0])) {
      faults.push(`${from}: dead link to ${link}`);
    } else if (anchor && ids.has(target) && !ids.get(target).has(decodeURIComponent(anchor))) {
      faults.push(`${from}: no such place: ${link}`);
    }
  }
  await close();
  assert.deepEqual([...new Set(faults)], []);
  assert.deepEqual(seen.errors, []);
  assert.deepEqual(seen.requests, []);
  assert.ok(pages.length > 10 && links.length > 100, `${pages.length} pages, ${links.length} links`);
});

test("the search finds a page from the folder", async () => {
  await withReport(join(site, "index.html"), { waitFor: "[role=search] input" }, async (page) => {
    await page.fill("[role=search] input[name=q]", "regexpi");
    await page.press("[role=search] input[name=q]", "Enter");
    await page.waitForSelector("#mkdocs-search-results article");
    const titles = await textsOf(page, "#mkdocs-search-results h3");
    assert.ok(titles.some((title) => title.includes("Regular expressions")), titles.join(", "));
    await page.click("#mkdocs-search-results article:first-child a");
    assert.notEqual(new URL(page.url()).pathname.split("/").pop(), "search.html");
  });
});

test("the navigation reaches every page of the documentation", async () => {
  await withReport(join(site, "index.html"), { waitFor: "nav" }, async (page) => {
    const reached = await page.evaluate(() =>
      [...document.querySelectorAll("nav a[href]")].map((node) => node.href.split("#")[0]));
    const written = pages.filter((name) => !/\/(api\/|search\.html$)/.test(name));
    const missing = written.filter((name) => !reached.includes(pathToFileURL(name).href));
    assert.deepEqual(missing, []);
    assert.ok(reached.some((link) => link.endsWith("/api/index.html")));
  });
});
