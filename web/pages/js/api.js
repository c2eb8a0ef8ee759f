// Everything the page says to the player goes through here: plain GET
// requests (and one POST) against the player's own address, the pairing
// handshake, and the "status" long poll that brings every change the player
// pushes. What arrives is written into the store; screens never see HTTP.
import * as store from "./store.js";
import { learn } from "./artwork.js";

const SESSION_KEY = "velora.remote.session";
const PROTOCOL_VERSION = 1;

let session = loadSession();

function loadSession() {
  try {
    const saved = JSON.parse(localStorage.getItem(SESSION_KEY) || "null");
    if (saved && Number.isInteger(saved.code) && typeof saved.name === "string") return saved;
  } catch {
    // A damaged entry is replaced below.
  }
  return null;
}

function saveSession() {
  localStorage.setItem(SESSION_KEY, JSON.stringify(session));
}

// A fresh identity: the player keys remote clients by this number.
export function newSession() {
  const code = 100000 + Math.floor(Math.random() * 900000);
  session = { code, name: defaultName(), token: null };
  saveSession();
  return session;
}

export function currentSession() {
  return session || newSession();
}

function defaultName() {
  const ua = navigator.userAgent;
  const platform = /Android/.test(ua)
    ? "Android"
    : /iPhone|iPad/.test(ua)
      ? "iOS"
      : /Mac OS X/.test(ua)
        ? "Mac"
        : /Windows/.test(ua)
          ? "Windows"
          : /Linux/.test(ua)
            ? "Linux"
            : "browser";
  // The player keeps at most 39 characters of a name.
  return `Web remote (${platform})`.slice(0, 39);
}

// Query text with every value percent-encoded. The order is kept: some
// routes read optional keys by their position, and the token always goes last.
function queryText(params) {
  const parts = [];
  for (const [key, value] of Object.entries(params)) {
    if (value === undefined || value === null) continue;
    parts.push(`${encodeURIComponent(key)}=${encodeURIComponent(String(value))}`);
  }
  return parts.join("&");
}

function parseBody(text) {
  if (!text) return null;
  try {
    return JSON.parse(text);
  } catch {
    return text;
  }
}

// One GET. Resolves with { status, data } for any HTTP answer; rejects when
// the player cannot be reached. The token goes along unless withToken is
// false (library views answer in the reply only to requests without one).
export async function request(path, params = {}, { withToken = true, timeout = 10000 } = {}) {
  const all = { ...params };
  if (withToken && session && session.token) all.token = session.token;
  const query = queryText(all);
  const url = `/${path}${query ? `?${query}` : ""}`;
  const response = await fetch(url, {
    cache: "no-store",
    signal: AbortSignal.timeout(timeout),
  });
  const data = parseBody(await response.text());
  return { status: response.status, data };
}

// Fire and forget, for commands whose effect comes back through "status".
export function send(path, params = {}) {
  return request(path, params).catch((err) => {
    console.warn(`${path} failed`, err);
    return { status: 0, data: null };
  });
}

// ---------------------------------------------------------------- pairing

// Asks the player to accept this page until it does. The player may ask its
// user first, so this can take a while; onWaiting is told each time it has not
// answered yet. Resolves with the approval (token, name, product).
export async function pair({ onWaiting } = {}) {
  for (;;) {
    // Read each time: the user may pick a new code while this waits.
    const me = currentSession();
    let reply = null;
    try {
      reply = await request(
        "authenticate",
        { name: me.name, code: me.code, version: PROTOCOL_VERSION },
        { withToken: false, timeout: 5000 },
      );
    } catch {
      reply = null;
    }
    const answer = reply && reply.status === 200 ? reply.data : null;
    if (answer && answer.authstatus === true && answer.disconnected !== true && me === session) {
      session.token = answer.token;
      saveSession();
      store.set("host", { name: answer.name || "", product: answer.product || "" });
      return answer;
    }
    if (onWaiting) onWaiting({ reachable: answer !== null, code: me.code, name: me.name });
    await sleep(answer ? 500 : 1500);
  }
}

// Tells the player to let this page go, and forgets the identity.
export async function unpair() {
  if (session) {
    // Cleared first, so the player's own notice of this disconnect is not
    // taken for one it started.
    session.token = null;
    await request("disconnect", { code: session.code }, { withToken: false }).catch(() => {});
  }
  localStorage.removeItem(SESSION_KEY);
  session = null;
}

// ---------------------------------------------------------------- state documents

const playbackKeys = {
  volumelevel: "volume",
  mutestate: "mute",
  playbackmode: "mode",
};

// Library document keys and the store keys that hold them. "tracks" is the
// player's queue; "track" its current track.
const libraryKeys = {
  track: "track",
  tracks: "queue",
  playnext: "playnext",
  albums: "albums",
  artists: "artists",
  genres: "genres",
  genre: "genre",
  playlists: "playlists",
  playlist: "playlist",
  moods: "moods",
  album: "album",
  artist: "artist",
  search: "search",
  artwork: "artwork",
};

const appliers = {
  playback(doc) {
    const change = {};
    if (doc.playbackstate && typeof doc.playbackstate === "object") {
      Object.assign(change, doc.playbackstate, { receivedAt: Date.now() });
    }
    for (const [key, name] of Object.entries(playbackKeys)) {
      if (key in doc) change[name] = doc[key];
    }
    store.patch("playback", change);
  },
  library(doc) {
    for (const [key, name] of Object.entries(libraryKeys)) {
      if (!(key in doc)) continue;
      // A view usually arrives twice, in the reply and through the status
      // poll; the second copy would only redraw the same screen.
      if (sameJson(store.get(name), doc[key])) continue;
      const kind = key === "albums" || key === "album" ? "album" : key;
      learn(doc[key], kind);
      store.set(name, doc[key]);
    }
  },
  settings(doc) {
    store.patch("settings", doc);
  },
  disconnect(doc) {
    if (session && doc.token && doc.token === session.token) {
      session.token = null;
      saveSession();
      store.set("disconnected", { fromRemote: doc.fromremote === true });
    }
  },
  updated(doc) {
    if (doc.all) store.set("updated", Date.now());
  },
};
for (const stage of ["equalizer", "irc", "ac", "ooyh"]) {
  appliers[stage] = (doc) => store.patch(stage, doc);
}

function sameJson(a, b) {
  if (a === undefined || a === null || typeof a !== "object") return false;
  return JSON.stringify(a) === JSON.stringify(b);
}

// Applies the documents of one "status" delivery (or of a reply that carries
// one of them). Empty documents mean "no change" and are skipped.
export function applyDocuments(docs) {
  if (!docs || typeof docs !== "object") return;
  for (const [name, doc] of Object.entries(docs)) {
    if (!doc || typeof doc !== "object" || Array.isArray(doc)) continue;
    if (Object.keys(doc).length === 0) continue;
    if (appliers[name]) appliers[name](doc);
  }
}

// A library view: the reply is the library document, which the player filled
// while it answered. The same document may reach the status poll first; both
// are applied, so screens just watch the store.
export async function library(view, params = {}) {
  const { status, data } = await request(`library/${view}`, params, { withToken: false });
  if (status === 200 && data && typeof data === "object" && !Array.isArray(data)) {
    applyDocuments({ library: data });
  }
  return { status, data };
}

// Tracks inside albums, playlists and the queue come without pictures; their
// covers are those of the album list, fetched once per page.
let albumsAsked = false;
export function ensureAlbumCovers() {
  if (albumsAsked || Array.isArray(store.get("albums"))) return;
  albumsAsked = true;
  library("albums", { index: 0, count: -1 }).catch(() => {
    albumsAsked = false;
  });
}

// The playback "get" requests answer with the playback document.
export async function playbackQuery(what) {
  const { status, data } = await request(`playback/${what}`);
  if (status === 200 && data && typeof data === "object") applyDocuments({ playback: data });
}

// ---------------------------------------------------------------- status poll

let polling = false;

// Long-polls "status" for as long as the page lives: 304 means nothing
// changed within the player's second, so the next poll goes out at once; 200
// carries the documents. When the player cannot be reached the poll backs off
// (0.5 s doubling to 8 s) and the connection state says "reconnecting";
// onReturn runs once the player answers again.
export function startStatusPoll({ onReturn } = {}) {
  if (polling) return;
  polling = true;
  (async () => {
    let delay = 500;
    let lost = false;
    while (polling) {
      try {
        const sent = Date.now();
        const response = await fetch("/status", { cache: "no-store", signal: AbortSignal.timeout(15000) });
        if (response.status !== 304 && response.status !== 200) throw new Error(`status ${response.status}`);
        if (lost) {
          lost = false;
          store.patch("connection", { state: "online", retryIn: 0 });
          if (onReturn) await onReturn();
        }
        delay = 500;
        if (response.status === 200) applyDocuments(await statusBody(response));
        // A 304 normally takes the player's whole second. One that comes back
        // at once means the player is shutting down; a short pause keeps the
        // page from hammering it until it is gone.
        else if (Date.now() - sent < 100) await sleep(250);
      } catch (err) {
        if (!polling) break;
        lost = true;
        store.patch("connection", { state: "reconnecting", retryIn: delay });
        await sleep(delay);
        delay = Math.min(delay * 2, 8000);
      }
    }
  })();
}

export function stopStatusPoll() {
  polling = false;
}

// Very large deliveries come compressed (zlib) as application/octet-stream.
async function statusBody(response) {
  const type = response.headers.get("content-type") || "";
  if (type.includes("octet-stream")) {
    const stream = response.body.pipeThrough(new DecompressionStream("deflate"));
    return JSON.parse(await new Response(stream).text());
  }
  return parseBody(await response.text());
}

export function sleep(ms) {
  return new Promise((resolve) => setTimeout(resolve, ms));
}
