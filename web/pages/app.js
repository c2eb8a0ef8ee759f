// The web remote's entry point: a quiet "looking for the player" state, then
// pairing if the player wants it, then the screens, the player bar and the
// connection banner, driven by the address's hash (#/now, #/library/albums,
// #/album/<id>, #/history, ...). Also the keyboard, focus and the offline
// shell's service worker.
import { h, fill } from "./js/dom.js";
import { icon } from "./js/icons.js";
import { clock } from "./js/format.js";
import { cover, coverKey } from "./js/widgets.js";
import { artworkFor } from "./js/artwork.js";
import { createScope } from "./js/scope.js";
import * as api from "./js/api.js";
import * as store from "./js/store.js";
import * as cmd from "./js/commands.js";
import * as pairing from "./js/screens/pairing.js";
import * as nowplaying from "./js/screens/nowplaying.js";
import * as library from "./js/screens/library.js";
import * as album from "./js/screens/album.js";
import * as artist from "./js/screens/artist.js";
import * as playlist from "./js/screens/playlist.js";
import * as genre from "./js/screens/genre.js";
import * as queue from "./js/screens/queue.js";
import * as sound from "./js/screens/sound.js";
import * as settings from "./js/screens/settings.js";
import * as account from "./js/screens/account.js";
import * as downloads from "./js/screens/downloads.js";
import * as scan from "./js/screens/scan.js";
import * as history from "./js/screens/history.js";

const NAV = [
  { path: "now", name: "Now playing", icon: "nowplaying", screen: nowplaying },
  { path: "library", name: "Library", icon: "library", screen: library },
  { path: "queue", name: "Queue", icon: "queue", screen: queue },
  { path: "sound", name: "Sound", icon: "sound", screen: sound },
  { path: "settings", name: "Settings", icon: "settings", screen: settings },
];

// Screens reached from another one, and the nav entry they belong to; those
// of the library show one item, named by the address (#/album/<id>), those
// of the settings stand alone (#/history).
const DETAIL = {
  album: { screen: album, under: "library" },
  artist: { screen: artist, under: "library" },
  playlist: { screen: playlist, under: "library" },
  mood: { screen: playlist, under: "library" },
  genre: { screen: genre, under: "library" },
  account: { screen: account, under: "settings", alone: true },
  downloads: { screen: downloads, under: "settings", alone: true },
  scan: { screen: scan, under: "settings", alone: true },
  history: { screen: history, under: "settings", alone: true },
};

// How long the player may take to approve a new code by itself before the
// pairing screen shows it: it says "not yet" to the first ask, then approves.
const PAIRING_DELAY = 1200;

const el = {
  shell: document.getElementById("shell"),
  nav: document.getElementById("nav"),
  view: document.getElementById("view"),
  mini: document.getElementById("mini"),
  pairing: document.getElementById("pairing"),
  looking: document.getElementById("looking"),
  connection: document.getElementById("connection"),
};

let scope = null;
// The module of the screen on show.
let shownScreen = null;
let paired = false;
let away = false;

// "#/album/a%201?x=y" → { path: "album", id: "a 1", query: { x: "y" } }
function parseHash() {
  const raw = location.hash.replace(/^#\/?/, "");
  const [pathText, queryText = ""] = raw.split("?");
  const parts = pathText.split("/").filter(Boolean).map(decodeURIComponent);
  const query = Object.fromEntries(new URLSearchParams(queryText));
  return { path: parts[0] || "now", id: parts[1], query };
}

// Draws the screen the address names. `moved`: the user went somewhere, so
// focus follows to the new screen; a redraw in place keeps it unless it was
// inside the old screen.
function route({ moved = false } = {}) {
  if (!paired) return;
  const { path, id, query } = parseHash();
  let entry = NAV.find((n) => n.path === path);
  let screen;
  let params = { ...query };
  const detail = DETAIL[path];
  if (entry) {
    screen = entry.screen;
    if (path === "library") params.tab = id;
  } else if (detail && (id || detail.alone)) {
    screen = detail.screen;
    entry = NAV.find((n) => n.path === detail.under);
    params = id ? { ...params, id, kind: path } : params;
  } else {
    location.replace("#/now");
    return;
  }
  const hadFocus = el.view.contains(document.activeElement);
  const kept = { view: el.view.scrollTop, page: window.scrollY };
  if (scope) scope.dispose();
  scope = createScope();
  document.body.dataset.screen = path;
  for (const link of el.nav.querySelectorAll("a")) {
    link.toggleAttribute("aria-current", link.dataset.path === entry.path);
    if (link.dataset.path === entry.path) link.setAttribute("aria-current", "page");
  }
  document.title = `${screen.title || entry.name} · Velora Remote`;
  try {
    shownScreen = screen;
    screen.render(el.view, params, scope, app);
  } catch (err) {
    // One screen's fault must not stop the page from following the player.
    console.error(`the ${path} screen failed`, err);
    fill(el.view, h("p", { class: "empty" }, "This screen could not be shown."));
  }
  if (away) holdControls(true);
  if (moved || hadFocus) focusScreen();
  // A redraw of the same address (the library changed, the player came
  // back) keeps the person's place; only going somewhere starts at the top.
  if (moved) {
    el.view.scrollTop = 0;
    window.scrollTo(0, 0);
  } else {
    el.view.scrollTop = kept.view;
    window.scrollTo(0, kept.page);
  }
}

// Moves focus to the screen's heading, or to the view until a screen that
// loads first draws its heading, so keyboards and screen readers follow.
let focusWatch = null;
function focusScreen() {
  if (focusWatch) focusWatch();
  const toHeading = () => {
    const heading = el.view.querySelector("h1");
    if (!heading) return false;
    if (!heading.hasAttribute("tabindex")) heading.tabIndex = -1;
    heading.focus({ preventScroll: true });
    return true;
  };
  if (toHeading()) return;
  el.view.focus({ preventScroll: true });
  const observer = new MutationObserver(() => {
    const at = document.activeElement;
    // The user moved on meanwhile; leave focus where it is.
    if ((at !== el.view && at !== document.body) || toHeading()) stop();
  });
  const timer = setTimeout(() => stop(), 6000);
  const stop = () => {
    observer.disconnect();
    clearTimeout(timer);
    focusWatch = null;
  };
  observer.observe(el.view, { childList: true, subtree: true });
  focusWatch = stop;
}

function drawNav() {
  fill(
    el.nav,
    h("div", { class: "brand" }, icon("disc"), h("span", {}, "Velora")),
    NAV.map((n) => h("a", { href: `#/${n.path}`, class: "nav-link", dataset: { path: n.path } }, icon(n.icon), h("span", {}, n.name))),
  );
}

// The bar along the bottom: what plays, with play/pause and next.
function drawMini() {
  const art = h("div", { class: "mini-art" });
  const text = h("a", { class: "mini-text", href: "#/now" });
  const play = h("button", { class: "round", type: "button", id: "mini-play", onclick: cmd.togglePlay });
  const bar = h("div", { class: "mini-progress" }, h("span", {}));
  fill(el.mini, bar, art, text, h("div", { class: "mini-buttons" }, play, h("button", { class: "round", type: "button", "aria-label": "Next", onclick: cmd.next }, icon("next"))));
  let shown = null;
  const update = () => {
    const p = store.get("playback", {});
    const track = cmd.currentTrack();
    const key = coverKey(track, "track");
    if (key !== shown || !art.firstChild) {
      shown = key;
      fill(art, cover(track || { name: "" }, "track", "cover mini-cover"));
      fill(text, h("span", { class: "mini-title" }, track ? track.name : "Nothing playing"), h("span", { class: "mini-sub" }, track ? track.artistname || "" : ""));
    }
    const playing = Number(p.state) === cmd.PLAYING;
    fill(play, icon(playing ? "pause" : "play"));
    play.setAttribute("aria-label", playing ? "Pause" : "Play");
    const total = Number(p.duration) || 0;
    bar.firstChild.style.width = total > 0 ? `${(100 * Math.min(Number(p.elapsed) || 0, total)) / total}%` : "0%";
    bar.title = `${clock(p.elapsed)} / ${clock(total)}`;
  };
  update();
  store.on("playback", update);
  store.on("track", update);
  store.on("albums", () => {
    shown = null;
    update();
  });
}

// ---------------------------------------------------------------- the player away

// The banner while the player is away: what happens, a live countdown to the
// next try, and a button that tries at once. Only the message is announced.
function drawBanner() {
  el.connection.removeAttribute("role");
  el.connection.removeAttribute("aria-live");
  fill(
    el.connection,
    h("span", { class: "spinner small", "aria-hidden": "true" }),
    h("span", { role: "status", class: "connection-text" }, "Reconnecting to the player…"),
    h("span", { class: "countdown", id: "connection-countdown", "aria-hidden": "true" }),
    h("button", { type: "button", class: "connection-retry", id: "connection-retry", "data-offline-ok": "", onclick: () => api.retryNow({ replace: true }) }, "Retry now"),
  );
}

// Counts down to the next try, in whole seconds; "trying…" while one runs.
function countdownText(state) {
  const left = state.retryAt - Date.now();
  return state.retryAt && left > 0 ? `next try in ${Math.ceil(left / 1000)} s` : "trying…";
}

let ticker = 0;
function drawConnection(state) {
  const lost = state.state !== "online";
  // Before the first answer the whole page says it is looking; the banner is
  // for a player that went away.
  el.connection.hidden = !(lost && paired);
  el.looking.hidden = paired || !el.pairing.hidden;
  if (lost !== away) {
    away = lost;
    document.body.classList.toggle("away", away);
    holdControls(away);
  }
  const tick = () => {
    const now = store.get("connection");
    document.getElementById("connection-countdown").textContent = countdownText(now);
    const retry = document.getElementById("looking-retry");
    // Quiet at first: the reason and the countdown once a few tries failed.
    retry.hidden = now.state === "online" || now.attempts < 3;
    document.getElementById("looking-countdown").textContent = `The player at ${location.host} does not answer yet; ${countdownText(now)}.`;
  };
  tick();
  if (lost && !ticker) ticker = setInterval(tick, 250);
  if (!lost && ticker) ticker = clearInterval(ticker) || 0;
}

// While the player is away nothing that asks it for something can be used:
// every control of the screen and the player bar is disabled, and enabled
// again on its return, apart from those marked data-offline-ok and those the
// screen disabled itself. Screens drawn meanwhile are held the same way.
// The track menu sits outside the view; its player actions are marked.
const CONTROLS = "#view button, #view input, #view select, #view textarea, #mini button, button[data-needs-player]";
function holdControls(hold) {
  for (const control of document.querySelectorAll(CONTROLS)) {
    if (control.closest("[data-offline-ok]")) continue;
    if (hold && !control.disabled) {
      control.disabled = true;
      control.dataset.away = "";
    } else if (!hold && "away" in control.dataset) {
      control.disabled = false;
      delete control.dataset.away;
    }
  }
  if (hold) newControls.observe(document.body, { childList: true, subtree: true });
  else newControls.disconnect();
}
const newControls = new MutationObserver(() => holdControls(true));

// ---------------------------------------------------------------- pairing

let waitingSince = 0;

// The player has not approved this page yet. Unreachable, the page keeps
// looking; reachable, the pairing screen shows the code, unless the player
// approves within a moment, as one that approves by itself does.
function notApproved(info) {
  if (!info.reachable) {
    waitingSince = 0;
    if (!el.pairing.hidden) showPairing(info);
    return;
  }
  waitingSince ||= Date.now();
  if (!el.pairing.hidden || Date.now() - waitingSince >= PAIRING_DELAY) showPairing(info);
}

function showPairing(info) {
  paired = false;
  el.shell.hidden = true;
  el.looking.hidden = true;
  el.connection.hidden = true;
  el.pairing.hidden = false;
  document.body.dataset.screen = "pairing";
  pairing.render(el.pairing, { ...info, onNewCode: () => restartPairing(true) });
}

function showShell() {
  // Focus leaves the pairing screen for the first screen's heading.
  const fromPairing = !el.pairing.hidden;
  paired = true;
  waitingSince = 0;
  el.pairing.hidden = true;
  el.looking.hidden = true;
  el.shell.hidden = false;
  drawConnection(store.get("connection"));
  route({ moved: fromPairing });
}

let pairingRun = null;
// Resolves once the first screen has what it shows; the first pairing asks
// the player for everything else only then, later pairings at once.
let startedNow;
const started = new Promise((resolve) => (startedNow = resolve));
api.afterFirstScreen(started);

// Pairs (again), then shows the screens and asks the player to push
// everything they show; that comes through the feed, which need not wait for
// it. The pairing screen appears only if the player has not approved within
// PAIRING_DELAY of its first answer, so a known remote, or one a player
// approves by itself, comes straight back. Whoever asks while a pairing runs
// waits for that one.
function ensurePaired() {
  if (!pairingRun) {
    pairingRun = (async () => {
      try {
        await api.pair({ onWaiting: notApproved });
        showShell();
        started.then(() => cmd.refreshAll());
      } finally {
        pairingRun = null;
      }
    })();
  }
  return pairingRun;
}

function restartPairing(fresh) {
  if (fresh) api.newSession();
  const me = api.currentSession();
  showPairing({ code: me.code, name: me.name, reachable: true });
  return ensurePaired();
}

const app = {
  async forget() {
    await api.unpair();
    restartPairing(true);
  },
};

// Space plays and pauses, unless the key belongs to what has focus.
function onKey(event) {
  if (event.key !== " " || event.repeat || event.defaultPrevented || event.ctrlKey || event.metaKey || event.altKey) return;
  const target = event.target instanceof Element ? event.target : null;
  if (target && (target.isContentEditable || target.closest("input, textarea, select, button, a[href], [role=slider], [role=button], [role=link]"))) return;
  if (!paired || away) return;
  event.preventDefault();
  cmd.togglePlay();
}

// The offline shell: where the browser allows a service worker (https, or
// this machine itself), it keeps the page's own files, so the page opens and
// looks for the player while the player is down. It is then handed the files
// this page loaded before it took over. On a plain LAN address the page
// works without it.
function keepShell() {
  if (!("serviceWorker" in navigator) || !window.isSecureContext) return;
  navigator.serviceWorker
    .register("sw.js")
    .then(() => navigator.serviceWorker.ready)
    .then((registration) => {
      const files = performance.getEntriesByType("resource").map((e) => e.name);
      registration.active.postMessage({ keep: [location.origin + location.pathname, ...files] });
    })
    .catch((err) => console.warn("no offline shell:", err));
}

// Resolves once the screen on show has drawn what it asked for (nothing of
// it still says "Loading…") and its first pictures have decoded, or after
// 2 s. Whatever the screen does not need (the feed's whole state, the sound
// stages, covers for other screens) waits for that: on a phone's network
// every request made meanwhile delays what the person is looking at.
function firstScreenDrawn() {
  return new Promise((resolve) => {
    let finished = false;
    const finish = () => {
      if (finished) return;
      finished = true;
      observer.disconnect();
      clearTimeout(timer);
      // A screen may draw what just landed on the next frame.
      requestAnimationFrame(() => {
        const pictures = [...el.view.querySelectorAll("img")].slice(0, 12).map((img) => img.decode().catch(() => {}));
        // Once decoded, they are painted on the next frame; then the rest.
        Promise.race([Promise.all(pictures), api.sleep(1000)]).then(() => requestAnimationFrame(() => setTimeout(resolve, 0)));
      });
    };
    const drawn = () => !el.view.querySelector(".loading") && finish();
    const observer = new MutationObserver(drawn);
    const timer = setTimeout(finish, 2000);
    observer.observe(el.view, { childList: true, subtree: true });
    drawn();
  });
}

// Resolves when `ok()` holds after a change of `key`, or after `ms`.
function until(key, ok, ms) {
  return new Promise((resolve) => {
    const done = () => {
      stop();
      clearTimeout(timer);
      resolve();
    };
    const stop = store.on(key, () => ok() && done());
    const timer = setTimeout(done, ms);
  });
}

async function start() {
  fill(el.looking.querySelector(".brand"), icon("disc"), h("span", {}, "Velora Remote"));
  drawNav();
  drawMini();
  drawBanner();
  drawConnection(store.get("connection"));
  store.on("connection", drawConnection);
  document.getElementById("looking-now").addEventListener("click", () => api.retryNow());
  document.addEventListener("keydown", onKey);
  // The player ended this remote's connection: introduce ourselves anew,
  // under the fresh code the API layer drew already.
  store.on("disconnected", () => restartPairing(false));
  // The player's library changed as a whole: screens that follow it by
  // themselves (and hold typed input) say so and are left alone.
  store.on("updated", () => {
    if (!shownScreen || !shownScreen.keepOnLibraryChange) route();
  });
  window.addEventListener("hashchange", () => route({ moved: true }));
  if (document.readyState === "complete") keepShell();
  else window.addEventListener("load", keepShell, { once: true });

  await ensurePaired();
  // The player may have restarted and forgotten this remote, or let it go:
  // pair again. After an outage the feed starts over from the player's whole
  // state, and the screen and everything it shows are asked for afresh.
  const follow = () =>
    api.startChangeFeed({
      onReturn: () => {
        route();
        cmd.refreshAll();
        api.ensureAlbumCovers();
      },
      onUnpaired: ensurePaired,
    });
  // The library's screens show lists they ask for themselves: the feed's
  // whole state (which carries lists too) waits until they are drawn. The
  // others show the player's state, which the feed brings; Now playing then
  // asks for the current track's own cover rather than the album list.
  if (document.body.dataset.screen in DETAIL || document.body.dataset.screen === "library") {
    await firstScreenDrawn();
    follow();
  } else {
    follow();
    await Promise.race([api.firstState(), api.sleep(3000)]);
    const track = cmd.currentTrack();
    if (track && !artworkFor(track, "track")) {
      // Its information comes through the feed, with the picture.
      const pictured = until("track", () => artworkFor(cmd.currentTrack(), "track"), 1500);
      api.library("track", { id: track.id }).catch(() => {});
      await pictured;
    }
    await firstScreenDrawn();
  }
  startedNow();
  api.ensureAlbumCovers();
}

start();
