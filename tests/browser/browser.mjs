// SPDX-License-Identifier: Apache-2.0
// One browser per test file, and a page as a reader has it: from a local file, without a network.
import { after, before } from "node:test";
import { chromium } from "playwright-core";

const FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
  "--disable-background-networking", "--disable-component-update", "--disable-sync"];

let browser;

export function useBrowser() {
  before(async () => {
    browser = await chromium.launch({ executablePath: process.env.CHROMIUM || "/usr/bin/chromium", args: FLAGS });
  });
  after(() => browser.close());
}

/**
 * Opens a page and waits for its results. `serve` answers requests to the network, which are refused
 * without it. What the page reported on its own is collected in `seen`.
 */
export async function openReport(path, { hash = "", serve, waitFor = "#report:not([hidden])", ...options } = {}) {
  const context = await browser.newContext({ viewport: { width: 1366, height: 768 }, ...options });
  const page = await context.newPage();
  const seen = { alerts: [], errors: [], requests: [] };
  page.on("dialog", (dialog) => {
    seen.alerts.push(dialog.message());
    return dialog.dismiss();
  });
  page.on("pageerror", (error) => seen.errors.push(String(error)));
  await context.route((url) => url.protocol !== "file:", (route) => {
    seen.requests.push(route.request().url());
    return serve ? serve(route) : route.abort("internetdisconnected");
  });
  await page.goto("file://" + path + hash);
  await page.waitForSelector(waitFor, { state: "attached" });
  return { page, seen, close: () => context.close() };
}

export async function withReport(path, options, action) {
  const report = await openReport(path, options);
  try {
    return await action(report.page, report.seen);
  } finally {
    await report.close();
  }
}

export const textsOf = (page, selector) => page.locator(selector).allTextContents();

export const optionTexts = (page) => textsOf(page, "#result-filter option");

export const names = (page) => textsOf(page, "#rows .name-cell");

export const selectedName = (page) => page.locator("#rows .highlighted-row .name-cell").textContent();
