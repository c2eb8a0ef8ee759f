// The player application's screens: account, downloads, scan and history,
// driven from the paired page and checked against what the host itself
// reports. e2e.mjs runs this with its page, host and helpers.
export async function run({ page, host, check, until, begin, show, shot, PHONE, DESKTOP }) {
  await page.setViewportSize(PHONE);
  const text = async (selector) => (await page.locator(selector).textContent()).trim();
  const number = async (locator) => Number(await locator.getAttribute("aria-valuenow"));
  const login = async () => (await host.get("getLogin")).data?.username;

  begin("account: logging in on the remote logs the host in");
  if (await login()) await host.get("logout?which=");
  await show("#/settings", () => page.locator("#settings-account").waitFor());
  await page.locator("#settings-account").click();
  await page.locator("#account-form").waitFor();
  await page.locator("#account-user").fill("demo");
  await page.locator("#account-password").fill("demo");
  await page.locator("#account-login").click();
  await until("the host to report user demo", async () => (await login()) === "demo");
  await until("the screen to name the user", async () => (await text("#account-state")) === "Logged in as demo");
  await shot("account", PHONE);

  begin("downloads: a stash item's progress advances on screen; pause, resume, done");
  await show("#/downloads", () => page.locator(".stash-item").first().waitFor());
  const stash = (await host.get("getStash")).data?.items || [];
  const rows = page.locator(".stash-item");
  check((await rows.evaluateAll((els) => els.map((e) => e.dataset.sku))).join() === stash.map((i) => i.sku).join(), "the page does not list the host's stash");
  const sku = await rows.filter({ has: page.locator('[data-action="start"]') }).first().getAttribute("data-sku");
  const item = page.locator(`.stash-item[data-sku="${sku}"]`);
  const bar = item.locator('[role="progressbar"]');
  const hostState = async () => (await host.get("getDownloadStatus")).data?.downloads?.find((d) => d.sku === sku)?.state;
  await item.locator('[data-action="start"]').click();
  const first = await until("progress on screen", async () => ((p) => p > 0 && p < 100 && p)(await number(bar)));
  await until("the progress to advance", async () => (await number(bar)) > first, { interval: 100 });
  await item.locator('[data-action="pause"]').click();
  await until("the host to hold the download paused", async () => (await hostState()) === "paused");
  await until("the row to say paused", async () => (await item.getAttribute("data-state")) === "paused");
  await shot("downloads", PHONE);
  await item.locator('[data-action="resume"]').click();
  await until("the download to finish on screen", async () => (await item.getAttribute("data-state")) === "done" && (await hostState()) === "done");

  begin("scan: progress shows, cancel stops it, a second scan completes");
  await show("#/scan", () => page.locator("#scan-start:enabled").waitFor());
  const scanBar = page.locator("#scan-progress");
  for (const finish of [false, true]) {
    await page.locator("#scan-start").click();
    await until("the scan's progress", async () => ((p) => p >= 20 && p < 100)(await number(scanBar)) && (await text("#scan-state")) === "Scanning");
    if (finish) break;
    await page.locator("#scan-cancel").click();
    await until("the host to stop the scan", async () => /cancel/i.test((await host.get("scanGetProgress")).data?.message));
    await until("the screen to say it stopped", async () => (await text("#scan-state")) === "Stopped" && (await page.locator("#scan-start").isEnabled()));
  }
  await shot("scan", PHONE);
  await until("the scan's result", async () => (await text("#scan-state")) === "Complete" && (await number(scanBar)) === 100, { timeout: 20000 });
  check((await text("#scan-message")) === (await host.get("scanGetProgress")).data?.message, "the page does not show the host's scan result");

  begin("history: the host's history is listed, and a track in it plays");
  const played = (await host.get("getHistory")).data?.history || [];
  check(played.length > 0, "the host has no history to show");
  const entries = page.locator("#history-list .track");
  await show("#/history", () => entries.first().waitFor());
  const ids = await entries.evaluateAll((els) => els.map((e) => e.dataset.trackId));
  check(ids.join() === played.map((e) => e.trackid).join(), `the page lists ${ids} for ${played.map((e) => e.trackid)}`);
  const pick = (await host.playback())?.trackid === ids[ids.length - 1] ? 0 : ids.length - 1;
  await entries.nth(pick).locator("button.track-main").click();
  await until("the host to play the track", async () => (await host.playback())?.trackid === ids[pick]);
  await until("the history to show it first and marked", async () => (await entries.first().getAttribute("data-track-id")) === ids[pick] && (await entries.first().getAttribute("class")).includes("current"));
  await shot("history", PHONE);

  begin("account: logging out on the remote logs the host out");
  await show("#/account", () => page.locator("#account-logout").waitFor());
  await page.locator("#account-logout").click();
  await until("the host to report nobody", async () => (await login()) === "");
  await page.locator("#account-form").waitFor();
  await page.setViewportSize(DESKTOP);
}
