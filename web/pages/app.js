// The web remote's entry point: pairing first, then the screens, the player
// bar and the connection banner, driven by the address's hash
// (#/now, #/library/albums, #/album/<id>, ...).
import { h, fill } from "./js/dom.js";
import { icon } from "./js/icons.js";
import { clock } from "./js/format.js";
import { cover, coverKey } from "./js/widgets.js";
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

const NAV = [
  { path: "now", name: "Now playing", icon: "nowplaying", screen: nowplaying },
  { path: "library", name: "Library", icon: "library", screen: library },
  { path: "queue", name: "Queue", icon: "queue", screen: queue },
  { path: "sound", name: "Sound", icon: "sound", screen: sound },
  { path: "settings", name: "Settings", icon: "settings", screen: settings },
];

// Screens reached from the library, and the nav entry they belong to.
const DETAIL = {
  album: { screen: album, under: "library" },
  artist: { screen: artist, under: "library" },
  playlist: { screen: playlist, under: "library" },
  mood: { screen: playlist, under: "library" },
  genre: { screen: genre, under: "library" },
};

const el = {
  shell: document.getElementById("shell"),
  nav: document.getElementById("nav"),
  view: document.getElementById("view"),
  mini: document.getElementById("mini"),
  pairing: document.getElementById("pairing"),
  connection: document.getElementById("connection"),
};

let scope = null;
let paired = false;

// "#/album/a%201?x=y" → { path: "album", id: "a 1", query: { x: "y" } }
function parseHash() {
  const raw = location.hash.replace(/^#\/?/, "");
  const [pathText, queryText = ""] = raw.split("?");
  const parts = pathText.split("/").filter(Boolean).map(decodeURIComponent);
  const query = Object.fromEntries(new URLSearchParams(queryText));
  return { path: parts[0] || "now", id: parts[1], query };
}

function route() {
  if (!paired) return;
  const { path, id, query } = parseHash();
  let entry = NAV.find((n) => n.path === path);
  let screen;
  let params = { ...query };
  if (entry) {
    screen = entry.screen;
    if (path === "library") params.tab = id;
  } else if (DETAIL[path] && id) {
    screen = DETAIL[path].screen;
    entry = NAV.find((n) => n.path === DETAIL[path].under);
    params = { ...params, id, kind: path };
  } else {
    location.replace("#/now");
    return;
  }
  if (scope) scope.dispose();
  scope = createScope();
  document.body.dataset.screen = path;
  for (const link of el.nav.querySelectorAll("a")) {
    link.toggleAttribute("aria-current", link.dataset.path === entry.path);
    if (link.dataset.path === entry.path) link.setAttribute("aria-current", "page");
  }
  document.title = `${screen.title || entry.name} · Velora Remote`;
  screen.render(el.view, params, scope, app);
  el.view.scrollTop = 0;
  window.scrollTo(0, 0);
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

function drawConnection(state) {
  const lost = state && state.state === "reconnecting";
  el.connection.hidden = !lost;
  document.body.classList.toggle("offline", !!lost);
  if (lost) {
    const seconds = Math.max(1, Math.round((state.retryIn || 0) / 1000));
    fill(el.connection, h("span", { class: "spinner small", "aria-hidden": "true" }), `Reconnecting to the player… next try in ${seconds} s`);
  }
}

function showPairing(info) {
  paired = false;
  el.shell.hidden = true;
  el.pairing.hidden = false;
  document.body.dataset.screen = "pairing";
  pairing.render(el.pairing, { ...info, onNewCode: () => restartPairing(true) });
}

function showShell() {
  paired = true;
  el.pairing.hidden = true;
  el.shell.hidden = false;
  route();
}

let pairingRun = null;

// Pairs (again), then shows the screens and asks the player to push
// everything they show; that comes through the feed, which need not wait for
// it. The pairing screen appears only if the player does not approve at its
// first answer, so a known remote comes straight back. Whoever asks while a
// pairing runs waits for that one.
function ensurePaired() {
  if (!pairingRun) {
    pairingRun = (async () => {
      try {
        await api.pair({ onWaiting: showPairing });
        showShell();
        cmd.refreshAll();
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

async function start() {
  drawNav();
  drawMini();
  store.on("connection", drawConnection);
  // The player ended this remote's connection: introduce ourselves anew.
  store.on("disconnected", () => restartPairing(true));
  // The player's library changed as a whole: show the current screen afresh.
  store.on("updated", () => route());
  window.addEventListener("hashchange", route);

  await ensurePaired();
  // The player may have restarted and forgotten this remote, or let it go:
  // pair again and redraw the screen. The feed itself starts over from the
  // player's whole state.
  api.startChangeFeed({ onReturn: ensurePaired, onUnpaired: ensurePaired });
  api.ensureAlbumCovers();
}

start();
