// End-to-end test of the web remote: the real reference host on a loopback
// port, its pages in headless Chromium, and checks on both sides — what the
// page shows, and what the host reports over its own HTTP interface.
//
//   node e2e.mjs --host <velora-host> --chromium <browser> --out <artifacts dir>
//
// Exits 0 when every step passed; otherwise prints the failed step, the tail
// of the host's console and a screenshot path, and exits 1.
import { spawn } from "node:child_process";
import { existsSync, mkdtempSync, mkdirSync, rmSync, writeFileSync } from "node:fs";
import net from "node:net";
import os from "node:os";
import path from "node:path";
import { fileURLToPath, pathToFileURL } from "node:url";
import { chromium } from "playwright-core";

const args = parseArgs(process.argv.slice(2));
const OUT = path.resolve(args.out || "web-e2e-artifacts");
const SHOTS = path.join(OUT, "screenshots");
const PHONE = { width: 390, height: 844 };
const DESKTOP = { width: 1366, height: 860 };
const LAUNCH_FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-background-networking",
  "--disable-component-update", "--disable-sync", "--no-first-run", "--disable-quic"];

function parseArgs(list) {
  return Object.fromEntries(list.flatMap((a, i) => (i % 2 ? [] : [[a.replace(/^--/, ""), list[i + 1]]])));
}

let step = "start";
const log = (text) => console.log(`[e2e] ${text}`);
function begin(name) {
  step = name;
  log(`— ${name}`);
}

class Failure extends Error {}
function check(ok, message) {
  if (!ok) throw new Failure(message);
}

async function until(what, probe, { timeout = 10000, interval = 200 } = {}) {
  const end = Date.now() + timeout;
  let last;
  for (;;) {
    try {
      last = await probe();
      if (last) return last;
    } catch (err) {
      last = err;
    }
    if (Date.now() > end) throw new Failure(`timed out after ${timeout} ms waiting for ${what} (last: ${describe(last)})`);
    await new Promise((r) => setTimeout(r, interval));
  }
}

const describe = (value) => (value instanceof Error ? value.message : String(JSON.stringify(value)).slice(0, 300));

// ---------------------------------------------------------------- the host

// A base port whose ten successors are free too, so the host lands on it.
async function freeBasePort() {
  for (let attempt = 0; attempt < 50; ++attempt) {
    const base = 20000 + Math.floor(Math.random() * 30000);
    let allFree = true;
    for (let p = base; p < base + 10 && allFree; ++p) allFree = await portFree(p);
    if (allFree) return base;
  }
  throw new Failure("no free block of ten ports found");
}

const portFree = (port) =>
  new Promise((resolve) => {
    const server = net.createServer().once("error", () => resolve(false));
    server.listen(port, "0.0.0.0", () => server.close(() => resolve(true)));
  });

class Host {
  constructor(exe, basePort, cacheDir, extraArgs = []) {
    Object.assign(this, { exe, basePort, cacheDir, extraArgs, lines: [], port: 0 });
  }

  // The host runs strict, as it does for its users: the test reads its state
  // as a second remote client paired with it.
  async start() {
    this.proc = spawn(this.exe, ["--port", String(this.basePort), "--cache", this.cacheDir, ...this.extraArgs], {
      stdio: ["pipe", "pipe", "pipe"],
    });
    this.exited = new Promise((resolve) => this.proc.once("exit", (code, signal) => resolve({ code, signal })));
    for (const stream of [this.proc.stdout, this.proc.stderr]) {
      let partial = "";
      stream.setEncoding("utf8");
      stream.on("data", (chunk) => {
        partial += chunk;
        const parts = partial.split("\n");
        partial = parts.pop();
        for (const line of parts) this.lines.push(line);
      });
    }
    const from = this.lines.length;
    const port = await until("the host to print its address", () => {
      for (const line of this.lines.slice(from)) {
        const m = /http:\/\/[^\s/]+:(\d+)\//.exec(line);
        if (m) return (this.port = Number(m[1]));
      }
      return 0;
    }, { timeout: 60000 });
    this.token = null;
    if (!this.extraArgs.includes("prompt")) await this.pairSelf();
    return port;
  }

  // Pairs the test's own client (the host approves at once). Its token goes in
  // a header, so that library replies still come back in the reply itself.
  async pairSelf() {
    const code = 100000 + Math.floor(Math.random() * 800000);
    let token = null;
    await until("the host to approve the test's own client", async () => {
      const { data } = await this.get(`authenticate?name=e2e&code=${code}&version=1`, token ? { Authorization: `Bearer ${token}` } : {});
      token = data?.token || token;
      return data?.authstatus === true;
    });
    this.token = token;
  }

  // A GET from the test itself, as a second remote client would make it.
  async get(route, headers = {}) {
    const all = this.token ? { Authorization: `Bearer ${this.token}`, ...headers } : headers;
    const response = await fetch(`http://127.0.0.1:${this.port}/${route}`, { headers: all, signal: AbortSignal.timeout(5000) });
    const text = await response.text();
    let data = text || null;
    try {
      data = text ? JSON.parse(text) : null;
    } catch {}
    return { status: response.status, data };
  }

  // The host's playback state: the reply is its playback document.
  async playback() {
    return (await this.get("playback/getplayerstate")).data?.playbackstate || null;
  }

  async stop() {
    if (!this.proc || this.proc.exitCode !== null) return this.exited;
    this.proc.kill("SIGINT");
    const timer = setTimeout(() => this.proc.kill("SIGKILL"), 8000);
    const result = await this.exited;
    clearTimeout(timer);
    return result;
  }
}

// ---------------------------------------------------------------- two remotes

function setSlider(el, v) {
  el.value = String(v);
  el.dispatchEvent(new Event("input", { bubbles: true }));
  el.dispatchEvent(new Event("change", { bubbles: true }));
}

// What a page shows for `probe` (a selector, and the attribute read, or its
// text); runs in the page.
function probeValue({ selector, attr }) {
  const el = document.querySelector(selector);
  if (!el) return null;
  if (attr === "checked") return String(el.checked);
  return attr ? el.getAttribute(attr) : el.textContent.trim();
}

const probeSource = (probe) => `(${probeValue})(${JSON.stringify(probe)})`;

// Runs in the other remote: notes the time its page first shows something
// other than `before`, as the page draws it rather than when a poll of the
// test's happens to look.
function watchFor([source, before]) {
  window.shownAt = 0;
  const read = new Function(`return ${source}`);
  const observer = new MutationObserver(() => {
    if (read() === before) return;
    window.shownAt = Date.now();
    observer.disconnect();
  });
  observer.observe(document.body, { subtree: true, childList: true, attributes: true, characterData: true });
}

// Makes a change on the first remote with `act` and returns the time from
// the user's input there to the other remote showing it (ms), or Infinity
// when it did not within 3 s. Both must then agree, so the next change starts
// from what both show.
async function mirrored(act, probe) {
  const before = await peer.evaluate(probeSource(probe));
  await peer.evaluate(watchFor, [probeSource(probe), before]);
  await page.evaluate(() => (window.actedAt = 0));
  await act();
  if (!(await peer.waitForFunction(() => window.shownAt > 0, null, { timeout: 3000 }).then(() => true, () => false))) {
    log(`the other remote still shows ${probe.selector} as ${describe(before)} 3 s after the change`);
    return Infinity;
  }
  const took = (await peer.evaluate(() => window.shownAt)) - (await page.evaluate(() => window.actedAt));
  await until(`both remotes to agree on ${probe.selector}`, async () => {
    const [mine, theirs] = await Promise.all([page.evaluate(probeSource(probe)), peer.evaluate(probeSource(probe))]);
    return mine === theirs && theirs !== before;
  }, { timeout: 3000, interval: 50 });
  return took;
}

const seconds = (ms) => `${(ms / 1000).toFixed(2)} s`;
const median = (list) => [...list].sort((a, b) => a - b)[Math.floor(list.length / 2)];

// ---------------------------------------------------------------- the test

const host = new Host(args.host, await freeBasePort(), mkdtempSync(path.join(os.tmpdir(), "velora-e2e-cache-")));
mkdirSync(SHOTS, { recursive: true });
let browser, page, peer, prompting, outage = false;
const pageErrors = [];

async function shot(name, viewport) {
  await page.setViewportSize(viewport);
  // No hover highlight from the last click in the picture.
  await page.mouse.move(viewport.width - 1, 1);
  await page.waitForTimeout(350);
  await page.screenshot({ path: path.join(SHOTS, `${name}-${viewport === PHONE ? "phone" : "desktop"}.png`) });
}

// A remote of its own: a browser context keeps its own storage, so each
// pairs as a separate client.
async function remote(viewport) {
  const opened = await (await browser.newContext({ viewport, colorScheme: "dark" })).newPage();
  // Whether the pairing screen ever showed since the page (re)loaded.
  await opened.addInitScript(() => new MutationObserver(() => (window.pairingShown ||= document.getElementById("pairing")?.hidden === false))
    .observe(document, { subtree: true, childList: true, attributes: true, attributeFilter: ["hidden"] }));
  opened.on("pageerror", (err) => pageErrors.push(err.message));
  // Failed requests are reported with their address by the response hook;
  // the console's own line about them names no address.
  opened.on("console", (msg) => {
    if (msg.type() === "error" && !msg.text().startsWith("Failed to load resource")) pageErrors.push(msg.text());
  });
  opened.on("response", (response) => {
    const url = new URL(response.url());
    // While the host is deliberately down and coming back, or has just let
    // the page go, failed requests are what the page has to cope with, not faults.
    if (response.status() >= 400 && url.pathname !== "/favicon.ico" && !outage) {
      pageErrors.push(`${response.status()} from ${url.pathname}${url.search}`);
    }
  });
  return opened;
}

async function show(hash, ready) {
  await page.evaluate((h) => (location.hash = h), hash);
  await ready();
}

async function main() {
  begin("start velora-host with the sample library");
  await host.start();
  log(`host listens on port ${host.port}`);

  begin("launch Chromium");
  browser = await chromium.launch({ executablePath: args.chromium, headless: true, args: LAUNCH_FLAGS });
  page = await remote(DESKTOP);

  begin("open the web remote and pair");
  await page.goto(`http://127.0.0.1:${host.port}/`);
  await page.locator("#nav").waitFor({ state: "visible", timeout: 20000 });
  const session = await page.evaluate(() => JSON.parse(localStorage.getItem("velora.remote.session")));
  check(session && typeof session.token === "string" && session.token.length > 0, `no token kept after pairing: ${describe(session)}`);
  // The host knows this remote: asking again with its code returns the same token, approved.
  const again = await host.get(`authenticate?name=x&code=${session.code}&version=1`, { Authorization: `Bearer ${session.token}` });
  check(again.data && again.data.token === session.token && again.data.authstatus === true, `host does not list the page as approved: ${describe(again.data)}`);
  check(!(await page.evaluate(() => window.pairingShown)), "the pairing screen showed though the host approves at once");

  begin("installable: the manifest and its icons, a service worker on 127.0.0.1");
  const { url: manifestUrl, errors, data } = await (await page.context().newCDPSession(page)).send("Page.getAppManifest");
  const manifest = JSON.parse(data || "{}");
  check(errors.length === 0 && manifest.name === "Velora Remote" && manifest.display === "standalone" && manifest.icons?.some((i) => i.purpose === "maskable"),
    `manifest at ${manifestUrl}: ${describe({ errors, manifest })}`);
  const appleIcon = await page.evaluate(() => document.querySelector('link[rel="apple-touch-icon"]').href);
  for (const [src, sizes] of [...manifest.icons.map((i) => [new URL(i.src, manifestUrl).href, i.sizes]), [appleIcon, "180x180"]]) {
    const response = await fetch(src);
    const png = Buffer.from(await response.arrayBuffer());
    const type = response.headers.get("content-type");
    check(type === "image/png" && `${png.readUInt32BE(16)}x${png.readUInt32BE(20)}` === sizes, `icon ${src}: ${type}, not a ${sizes} PNG`);
  }
  check(await page.evaluate(async () => (await navigator.serviceWorker.ready).active.scriptURL.endsWith("/sw.js")), "no service worker");

  begin("library: album grid with covers");
  await page.locator('.nav-link[data-path="library"]').click();
  const cards = page.locator(".card[data-album-id]");
  await until("at least ten albums", async () => (await cards.count()) >= 10, { timeout: 15000 });
  const coverSrc = await cards.first().locator("img.cover").getAttribute("src");
  check(/^data:image\/(png|jpeg);base64,/.test(coverSrc || ""), `album cover is not an image data URL: ${String(coverSrc).slice(0, 60)}`);
  const coverOk = await cards.first().locator("img.cover").evaluate((img) => img.complete && img.naturalWidth > 0);
  check(coverOk, "album cover did not decode");
  const libraryUrl = page.url();
  // Covers from a music folder are often JPEG: one made by the browser itself
  // must come out of the page's artwork code as a picture that decodes.
  const jpegOk = await page.evaluate(async () => {
    const canvas = document.createElement("canvas");
    canvas.width = canvas.height = 4;
    const base64 = canvas.toDataURL("image/jpeg").split(",")[1];
    const { artworkFor } = await import("/js/artwork.js");
    const src = artworkFor({ id: "jpeg-probe", artworkdata: { id: "jpeg-probe", imagedata: base64 } }, "album");
    const img = new Image();
    img.src = src;
    await img.decode();
    return src.startsWith("data:image/jpeg;base64,") && img.naturalWidth === 4;
  });
  check(jpegOk, "a JPEG cover does not become a decodable image/jpeg data URL");

  begin("first load: a fresh remote shows covers soon, in few requests and bytes");
  const fresh = await remote(DESKTOP);
  await fresh.addInitScript(() => requestAnimationFrame(function tick() {
    const img = document.querySelector("#view img.cover");
    if (img && img.complete && img.naturalWidth > 0) window.firstCoverAt = performance.now();
    else requestAnimationFrame(tick);
  }));
  await fresh.goto(`http://127.0.0.1:${host.port}/#/library`);
  await fresh.waitForFunction(() => window.firstCoverAt > 0, null, { timeout: 15000 });
  // Requests begun before the cover showed; bytes of those that had ended.
  const load = await fresh.evaluate(() => {
    const at = window.firstCoverAt;
    const before = [...performance.getEntriesByType("navigation"), ...performance.getEntriesByType("resource")].filter((e) => e.startTime <= at);
    return { ms: Math.round(at), requests: before.length, bytes: before.reduce((n, e) => n + (e.responseEnd <= at ? e.transferSize : 0), 0) };
  });
  log(`first cover after ${load.ms} ms (target 800), ${load.requests} requests (target 15), ${(load.bytes / 1024).toFixed(0)} KB (target 400)`);
  // Generous bounds: a loaded machine is slow, not broken.
  check(load.ms < 3000 && load.requests <= 30 && load.bytes < 1024 * 1024, `first load too heavy: ${describe(load)}`);
  await fresh.context().close();

  begin("search finds an album by part of its name");
  const firstAlbumName = (await cards.first().locator(".card-title").textContent()).trim();
  const term = firstAlbumName.split(/\s+/).sort((a, b) => b.length - a.length)[0];
  await page.locator('.tab[href="#/library/search"]').click();
  await page.locator("#search-input").fill(term);
  await until(`search results for "${term}"`, async () => {
    const titles = await page.locator(".search-results .card-title").allTextContents();
    return titles.some((t) => t.trim() === firstAlbumName);
  });

  begin("the other library tabs: each lists its items and the first opens its own screen");
  const detailTitle = () => page.evaluate(() => (document.querySelector(".detail-title") || {}).textContent || "");
  let artistName = "";
  for (const { tab, screen, content } of [
    { tab: "artists", screen: "#/artist/", content: ".card[data-album-id]" },
    { tab: "playlists", screen: "#/playlist/", content: ".tracks .track" },
    { tab: "genres", screen: "#/genre/", content: ".card[data-album-id]" },
    { tab: "moods", screen: "#/mood/", content: ".tracks .track" },
  ]) {
    const firstCard = page.locator(".library-body .card").first();
    await show(`#/library/${tab}`, () => firstCard.waitFor({ timeout: 15000 }));
    const name = (await firstCard.locator(".card-title").textContent()).trim();
    check(name.length > 0, `the first card of ${tab} has no title`);
    const href = await firstCard.getAttribute("href");
    check(href.startsWith(screen), `a card of ${tab} leads to ${href}, not to ${screen}…`);
    if (tab === "artists") artistName = name;
    await firstCard.click();
    await until(`the screen of "${name}" with its contents`, async () => (await detailTitle()).trim() === name && (await page.locator(content).count()) > 0, { timeout: 15000 });
    check((await page.locator(`a.back[href="#/library/${tab}"]`).count()) === 1, `the screen of "${name}" has no link back to ${tab}`);
  }

  begin("search lists a matching artist as a link to the artist");
  await page.goto(libraryUrl);
  await page.locator('.tab[href="#/library/search"]').click();
  await page.locator("#search-input").fill(artistName);
  const artistChip = await until(`an artist link for "${artistName}"`, async () => {
    const chips = await page.locator('.search-results a.chip[href^="#/artist/"]').allTextContents();
    return chips.some((t) => t.trim() === artistName);
  });
  check(artistChip, "no artist link in the search results");
  await page.goto(libraryUrl);
  await cards.first().waitFor();

  begin("open an album");
  const albumId = await cards.first().getAttribute("data-album-id");
  await cards.first().click();
  await page.locator(".detail-title").waitFor();
  const albumName = (await detailTitle()).trim();
  const rows = page.locator(".tracks .track");
  await until("album tracks", async () => (await rows.count()) >= 2);
  const trackIds = await rows.evaluateAll((els) => els.map((e) => e.dataset.trackId));
  const trackTitles = (await rows.locator(".track-title").allTextContents()).map((t) => t.trim());
  log(`album ${albumId}: ${trackTitles.length} tracks`);
  const albumHash = `#/album/${encodeURIComponent(albumId)}`;

  begin("play the album");
  await page.locator("#album-play").click();
  const playing = await until("the host to play the album's first track", async () => {
    const state = await host.playback();
    return state && state.trackid === trackIds[0] && state.state === 1 ? state : null;
  });
  log(`host plays ${playing.trackid}`);
  await until("the playing row to be marked", async () => (await page.locator(".track.current").getAttribute("data-track-id")) === trackIds[0]);

  begin("now playing shows the track and the position advances");
  await page.locator('.nav-link[data-path="now"]').click();
  await until(`title "${trackTitles[0]}"`, async () => (await page.locator("#np-title").textContent()).trim() === trackTitles[0]);
  const elapsedAt = async () => Number(await page.locator("#np-progress").getAttribute("data-elapsed"));
  const first = await until("a first position", async () => ((e) => (Number.isFinite(e) ? { e } : null))(await elapsedAt()));
  await until("the position shown to advance by 2 s", async () => (await elapsedAt()) >= first.e + 2, { timeout: 8000 });
  const hostBefore = await host.playback();
  await page.waitForTimeout(1500);
  const hostAfter = await host.playback();
  check(hostAfter.elapsed > hostBefore.elapsed, `host position did not advance: ${hostBefore.elapsed} → ${hostAfter.elapsed}`);
  check(/\d:\d\d/.test(await page.locator("#np-elapsed").textContent()), "elapsed time is not shown as m:ss");
  await page.waitForTimeout(1200); // let the progress bar grow visibly before the screenshot
  await shot("now-playing", DESKTOP);

  begin("next: the title changes and the host follows");
  await page.locator("#np-next").click();
  await until(`title "${trackTitles[1]}"`, async () => (await page.locator("#np-title").textContent()).trim() === trackTitles[1]);
  const afterNext = await host.playback();
  check(afterNext && afterNext.trackid === trackIds[1], `host is on ${afterNext && afterNext.trackid}, not ${trackIds[1]}`);

  begin("volume: the slider sets the host's volume");
  const before = await host.get("playback/getvolume");
  const oldVolume = before.data && before.data.volumelevel;
  const target = oldVolume === 37 ? 63 : 37;
  await page.locator("#np-volume").evaluate(setSlider, target);
  await until(`host volume ${target}`, async () => (await host.get("playback/getvolume")).data?.volumelevel === target);
  await until("the page to show the volume", async () => (await page.locator("#np-volume-value").textContent()).trim() === String(target));

  begin("mute: the button mutes the host and back");
  for (const wanted of [true, false]) {
    await page.locator("#np-mute").click();
    await until(`host mute ${wanted}`, async () => (await host.get("playback/getmute")).data?.mutestate === wanted);
    await until("the mute button to follow", async () => (await page.locator("#np-mute").getAttribute("aria-pressed")) === String(wanted));
  }

  begin("queue: the album in order, the current track marked, a track moved");
  await page.locator('.nav-link[data-path="queue"]').click();
  const queueRows = page.locator(".queue-list .track");
  await until("the queue to list the album", async () => {
    const ids = await queueRows.evaluateAll((els) => els.map((e) => e.dataset.trackId));
    return ids.join() === trackIds.join();
  });
  await until("the current track marked in the queue", async () => (await page.locator(".queue-list .track.current").getAttribute("data-track-id")) === trackIds[1]);
  await shot("queue", DESKTOP);
  await queueRows.first().getByRole("button", { name: /down$/ }).click();
  await until("the host to move the first track down", async () => {
    const { data } = await host.get("getNowPlaying");
    return Array.isArray(data) && data[0].id === trackIds[1] && data[1].id === trackIds[0];
  });
  await until("the page to show the moved queue", async () => (await queueRows.first().getAttribute("data-track-id")) === trackIds[1]);

  begin("sound: choose an EQ preset and see the host follow");
  await page.locator('.nav-link[data-path="sound"]').click();
  const presets = page.locator("#stage-equalizer .preset");
  await until("at least two EQ presets", async () => (await presets.count()) >= 2);
  const pressed = await presets.evaluateAll((els) => els.map((e) => e.getAttribute("aria-pressed") === "true"));
  const pick = pressed.findIndex((p) => !p);
  const chosen = presets.nth(pick);
  const chosenId = Number(await chosen.getAttribute("data-preset-id"));
  const chosenName = (await chosen.textContent()).trim();
  await chosen.click();
  await until(`host EQ preset "${chosenName}"`, async () => {
    const { status, data } = await host.get("getEQ");
    return status === 200 && data && data.id === chosenId;
  });
  await until("the page to mark the chosen preset", async () => (await chosen.getAttribute("aria-pressed")) === "true");
  await shot("sound", DESKTOP);

  begin("settings: output devices and values");
  await page.locator('.nav-link[data-path="settings"]').click();
  const devices = page.locator('#settings-output input[type="radio"]');
  await until("output devices", async () => (await devices.count()) >= 2);
  const other = await devices.evaluateAll((els) => els.findIndex((e) => !e.checked));
  const deviceName = await devices.nth(other).getAttribute("value");
  await devices.nth(other).check({ force: true });
  await until(`device "${deviceName}" to become current`, async () => {
    const checked = await page.locator('#settings-output input[type="radio"]:checked').getAttribute("value");
    return checked === deviceName;
  });
  await page.locator("#set-mqa").waitFor({ state: "attached" });
  await shot("settings", DESKTOP);

  begin("screenshots of every screen, phone-sized too");
  const screens = [["library", "#/library/albums", cards.nth(9).locator("img")], ["album", albumHash, rows.first()],
    ["now-playing", "#/now", page.locator("#np-title")], ["queue", "#/queue", queueRows.first()],
    ["sound", "#/sound", presets.first()], ["settings", "#/settings", devices.first()]];
  for (const [name, hash, ready] of screens) {
    for (const viewport of name === "library" || name === "album" ? [DESKTOP, PHONE] : [PHONE]) {
      await page.setViewportSize(viewport);
      await show(hash, () => ready.waitFor());
      check(await page.evaluate(() => document.activeElement.matches("#view h1, #view")), `focus did not follow to the ${name} screen`);
      await shot(name, viewport);
    }
  }
  await page.emulateMedia({ colorScheme: "light" });
  check(await page.evaluate(() => getComputedStyle(document.body).backgroundColor) === "rgb(246, 244, 240)", "no light colours for a light preference");
  await shot("settings-light", PHONE);
  await page.emulateMedia({ colorScheme: "dark" });

  begin("a second remote shows every change made on the first within 1 s");
  await show("#/now", () => page.locator("#np-title").waitFor());
  peer = await remote(PHONE);
  await peer.goto(`http://127.0.0.1:${host.port}/#/now`);
  await peer.locator("#nav").waitFor({ state: "visible", timeout: 20000 });
  check(!(await peer.evaluate(() => window.pairingShown)), "the pairing screen showed on the other remote");
  await until("the other remote to show what plays", async () => {
    const [mine, theirs] = await Promise.all([page, peer].map((p) => p.locator("#np-title").textContent()));
    return mine === theirs && (await peer.locator("#np-volume-value").textContent()) === "37";
  });
  // Each change: what the first remote does, and what the other shows of it.
  const slide = (v) => () => page.locator("#np-volume").evaluate(setSlider, v);
  const click = (selector) => () => page.locator(selector).first().click();
  const shows = (selector, attr) => ({ selector, attr });
  const volume = [slide(52), slide(63), slide(23)].map((act) => [act, shows("#np-volume-value")]);
  const mute = [click("#np-mute"), shows("#np-mute", "aria-pressed")];
  const next = [click("#np-next"), shows("#np-title")];
  const mode = [click("#np-mode"), shows("#np-mode", "aria-label")];
  const play = [click("#np-play"), shows("#np-play", "aria-label")];
  // Space plays and pauses unless a control has focus.
  const space = [() => page.evaluate(() => document.activeElement.blur()).then(() => page.keyboard.press("Space")), shows("#np-play", "aria-label")];
  const preset = [click('#stage-equalizer .preset[aria-pressed="false"]'), shows('#stage-equalizer .preset[aria-pressed="true"]')];
  const headphones = [click("#stage-ooyh .switch"), shows("#stage-ooyh input", "checked")];
  const groups = [
    ["#/now", [volume[0], mute, next, mode, volume[1], mute, mode, play, play, space, space, mode, next, mode, volume[2]]],
    ["#/sound", [preset, preset, preset, headphones, headphones]],
    ["#/settings", [
      [click("#settings-output .option:has(input:not(:checked))"), shows("#settings-output input:checked", "value")],
      [click("label.switch:has(#set-mqa)"), shows("#set-mqa", "checked")],
    ]],
  ];
  // The moment of the user's input on the first remote.
  await page.evaluate(() => {
    for (const type of ["click", "change", "keydown"]) document.addEventListener(type, () => (window.actedAt ||= Date.now()), true);
  });
  const latencies = [];
  for (const [hash, changes] of groups) {
    for (const p of [page, peer]) await p.evaluate((h) => (location.hash = h), hash);
    for (const [act, probe] of changes) latencies.push(await mirrored(act, probe));
  }
  const seen = latencies.filter((ms) => ms <= 1000).length;
  log(`changes seen by the other remote within 1 s: ${seen}/${latencies.length}, max latency ${seconds(Math.max(...latencies))}, median ${seconds(median(latencies))}`);
  log(`latencies (ms): ${latencies.map(Math.round).join(" ")}`);
  check(seen === latencies.length, `${latencies.length - seen} changes took longer than 1 s to show on the other remote`);
  await peer.evaluate(() => (location.hash = "#/now"));
  await peer.waitForTimeout(350);
  await peer.screenshot({ path: path.join(SHOTS, "second-remote-phone.png") });

  begin("reloading an album's address shows the album every time");
  await peer.goto(`http://127.0.0.1:${host.port}/${albumHash}`);
  const reloads = [];
  for (let i = 0; i < 20; ++i) {
    const started = Date.now();
    await peer.reload();
    // The page gives up on an album after 6 s; wait past that.
    const outcome = await peer.waitForFunction(
      (name) => {
        const shown = (document.querySelector(".detail-title") || {}).textContent === name && document.querySelector(".tracks .track");
        const missing = /does not know/.test((document.querySelector("#view .empty") || {}).textContent || "");
        return shown ? "shown" : missing ? "missing" : null;
      },
      albumName,
      { timeout: 9000, polling: 50 },
    ).then((h) => h.jsonValue(), () => "nothing");
    reloads.push({ outcome, ms: Date.now() - started });
  }
  const shownCount = reloads.filter((r) => r.outcome === "shown").length;
  log(`album reloads that show "${albumName}": ${shownCount}/${reloads.length}, slowest ${seconds(Math.max(...reloads.map((r) => r.ms)))}`);
  check(shownCount === reloads.length, `reloads that did not show the album: ${describe(reloads.filter((r) => r.outcome !== "shown"))}`);
  await peer.evaluate(() => (location.hash = "#/now"));
  await page.setViewportSize(DESKTOP);

  begin("let go by the host, the page pairs again under a fresh code and its controls work");
  await show("#/now", () => page.locator("#np-volume").waitFor());
  const stored = () => page.evaluate(() => JSON.parse(localStorage.getItem("velora.remote.session")));
  const old = await stored();
  // Refusals of the old token may follow, as they would from a strict host.
  outage = true;
  // The page's own token goes along: a strict host lets only the client itself do this.
  check((await host.get(`disconnect?code=${old.code}`, { Authorization: `Bearer ${old.token}` })).status === 200, "disconnect refused");
  const renewed = await until("the page to pair under a new code", async () => ((s) => s?.token && s.code !== old.code && s)(await stored()), { timeout: 15000 });
  const auth = await host.get(`authenticate?name=x&code=${renewed.code}&version=1`, { Authorization: `Bearer ${renewed.token}` });
  check(auth.data?.authstatus === true && auth.data.token === renewed.token, `the host does not approve the new code: ${describe(auth.data)}`);
  await page.locator("#nav").waitFor({ state: "visible", timeout: 10000 });
  outage = false;
  // Both ways: the slider reaches the host, and a change made elsewhere reaches the page's feed.
  const sent = [];
  const keep = (request) => /^\/(playback|changes)$/.test(new URL(request.url()).pathname) && sent.push(request);
  page.on("request", keep);
  await page.locator("#np-volume").evaluate(setSlider, 44);
  await until("the host at volume 44", async () => (await host.get("playback/getvolume")).data?.volumelevel === 44);
  await host.get("playback?volume=45");
  await until("the page to show volume 45", async () => (await page.locator("#np-volume-value").textContent()).trim() === "45");
  page.off("request", keep);
  // A strict host reads the token of every request from this header.
  const bearers = new Set(await Promise.all(sent.map(async (r) => `${new URL(r.url()).pathname} ${(await r.allHeaders()).authorization}`)));
  check(["/playback", "/changes"].every((p) => bearers.has(`${p} Bearer ${renewed.token}`)), `requests without the new token in their header: ${describe([...bearers])}`);

  begin("the host goes away: the page says so, holds its controls, and comes back with it");
  await show("#/now", () => page.locator("#np-title").waitFor());
  // Each remote's worker keeps the page's own files, and nothing the host answers.
  for (const p of [page, peer]) {
    const kept = await until("the service worker to keep the page's files", () => p.evaluate(async () => {
      const paths = (await Promise.all((await caches.keys()).map(async (c) => (await caches.open(c)).keys()))).flat().map((r) => new URL(r.url).pathname);
      // The script and style sheet the page loads: bundles with hashed names, or the plain modules.
      const named = [document.querySelector("script[type=module]").src, document.querySelector("link[rel=stylesheet]").href].map((u) => new URL(u).pathname);
      return ["/", ...named].every((f) => paths.includes(f)) && paths;
    }));
    check(kept.every((f) => /(\/|\.(js|css|png|webmanifest))$/.test(f)), `the service worker kept a reply of the host: ${describe(kept)}`);
  }
  outage = true;
  const stopped = await host.stop();
  check(stopped.code === 0, `host did not exit cleanly on SIGINT: ${describe(stopped)}`);
  await page.locator("#connection").waitFor({ state: "visible", timeout: 10000 });
  check(/reconnecting/i.test(await page.locator("#connection").textContent()), "the banner does not say it is reconnecting");
  const away = await page.evaluate(() => ["#np-play", "#np-next", "#np-volume", "#mini-play"].filter((s) => !document.querySelector(s).disabled));
  check(away.length === 0, `controls still enabled while the host is away: ${away}`);
  // At least a second before the next try, Retry now tries at once.
  await until("a countdown to the next try", async () => /next try in 2 s/.test(await page.locator("#connection").textContent()), { interval: 50 });
  // Each try asks the feed; the page's modules may be bundled, so count its requests.
  let tries = 0;
  const countTry = (request) => new URL(request.url()).pathname === "/changes" && ++tries;
  page.on("request", countTry);
  await page.locator("#connection-retry").click();
  await until("Retry now to try at once", async () => tries > 0, { timeout: 500, interval: 20 });
  page.off("request", countTry);
  await shot("reconnecting", PHONE);
  await page.setViewportSize(DESKTOP);
  // A fresh load while the host is down: the kept page, looking for it.
  await peer.reload();
  check(/Looking for the player/.test(await peer.locator("#looking").textContent()) && await peer.locator("#looking").isVisible(), "a load while the host is down does not look for it");
  const restarted = Date.now();
  await host.start();
  const listening = Date.now();
  await page.locator("#connection").waitFor({ state: "hidden", timeout: 30000 });
  await peer.locator("#nav").waitFor({ state: "visible", timeout: 30000 });
  log(`both remotes reach the host again ${seconds(Date.now() - listening)} after it listens`);
  check(!(await peer.evaluate(() => window.pairingShown)), "the reloaded remote showed the pairing screen on the host's return");
  check(await page.locator("#np-play").isEnabled(), "the controls stay disabled after the host came back");
  // The restarted host plays nothing, at its own volume: both remotes show
  // that without being reloaded.
  const level = String((await host.get("playback/getvolume")).data.volumelevel);
  for (const [name, p] of [["this remote", page], ["the other remote", peer]]) {
    await until(`${name} to show the restarted host's state`, async () =>
      (await p.locator("#np-title").textContent()).trim() === "Nothing playing" &&
      (await p.locator(".mini-title").textContent()).trim() === "Nothing playing" &&
      (await p.locator("#np-volume-value").textContent()).trim() === level,
    { timeout: 20000 });
  }
  log(`both remotes show the restarted host's state ${seconds(Date.now() - restarted)} after it started again`);
  await show("#/queue", () => page.getByText("The queue is empty.").waitFor());
  outage = false;
  await show(albumHash, () => page.locator("#album-play").waitFor());
  await page.locator("#album-play").click();
  await until("the host to play the album after reconnecting", async () => {
    const state = await host.playback();
    return state && state.state === 1 && state.trackid === trackIds[0];
  });
  await until("the other remote to show the album playing", async () => (await peer.locator("#np-title").textContent()).trim() === trackTitles[0]);

  begin("pairing waits for the player's approval at its console");
  prompting = new Host(args.host, await freeBasePort(), host.cacheDir, ["--approve", "prompt"]);
  await prompting.start();
  const second = await remote(PHONE);
  await second.goto(`http://127.0.0.1:${prompting.port}/`);
  const code = (await second.locator("#pairing-code").textContent()).trim();
  const asked = await until("the host to ask about the page's code", () =>
    prompting.lines.find((l) => /approve/i.test(l) && l.includes(code)),
  );
  log(`host console: ${asked.trim()}`);
  await second.waitForTimeout(1500);
  check(!(await second.locator("#nav").isVisible()), "the page went past pairing before the player approved it");
  await second.mouse.move(PHONE.width - 1, 1);
  await second.screenshot({ path: path.join(SHOTS, "pairing-phone.png") });
  prompting.proc.stdin.write("y\n");
  await second.locator("#nav").waitFor({ state: "visible", timeout: 10000 });
  await second.close();

  // Checks of other parts of the remote, each in a file of its own.
  for (const file of ["features.mjs", "player-app.mjs"].map((f) => path.join(path.dirname(fileURLToPath(import.meta.url)), f))) {
    if (!existsSync(file)) continue;
    await (await import(pathToFileURL(file))).run({ page, host, check, until, begin, log, shot, show, remote, PHONE, DESKTOP });
  }

  check(pageErrors.length === 0, `the page reported errors:\n  ${pageErrors.join("\n  ")}`);
}

// Stopped from outside (a test timeout): take the host down too.
for (const signal of ["SIGTERM", "SIGINT"]) {
  process.once(signal, () => {
    host.proc?.kill("SIGKILL");
    prompting?.proc?.kill("SIGKILL");
    process.exit(1);
  });
}

let failed = null;
try {
  await main();
} catch (err) {
  failed = err;
}

writeFileSync(path.join(OUT, "host.log"), host.lines.join("\n") + "\n");
if (failed) {
  console.error(`\n[e2e] FAILED at step "${step}": ${failed instanceof Failure ? failed.message : failed.stack || failed}`);
  await page?.screenshot({ path: path.join(SHOTS, "failure.png") }).then(() => console.error(`[e2e] screenshot: ${SHOTS}/failure.png`), () => {});
  if (pageErrors.length) console.error(`[e2e] page errors:\n  ${pageErrors.join("\n  ")}`);
  console.error(`[e2e] last lines of the host's console:\n${host.lines.slice(-25).map((l) => `  | ${l}`).join("\n")}`);
}
await browser?.close().catch(() => {});
await host.stop().catch(() => {});
await prompting?.stop().catch(() => {});
rmSync(host.cacheDir, { recursive: true, force: true });
if (failed) process.exit(1);
log(`passed; screenshots in ${SHOTS}`);
