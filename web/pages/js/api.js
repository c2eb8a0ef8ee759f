// Everything the page says to the player goes through here: plain GET
// requests (and one POST) against the player's own address, the pairing
// handshake, and the "changes" feed that brings every change the player
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
// the player cannot be reached, after `timeout` ms, or when `signal` aborts.
// The token goes in the query unless withToken is false (library views
// answer in the reply only to requests without one there), and in an
// Authorization header always: a strict player asks every request for it,
// and reads the header only when the query has none. `token` is the
// session's unless named (pairing and letting go send their own).
export async function request(
  path,
  params = {},
  { withToken = true, token = session ? session.token : null, timeout = 10000, signal = null } = {},
) {
  const all = { ...params };
  if (withToken && token) all.token = token;
  const query = queryText(all);
  const url = `/${path}${query ? `?${query}` : ""}`;
  const stop = new AbortController();
  const timer = setTimeout(() => stop.abort(), timeout);
  const cancel = () => stop.abort();
  if (signal) signal.addEventListener("abort", cancel, { once: true });
  try {
    const headers = token ? { Authorization: `Bearer ${token}` } : {};
    const response = await fetch(url, { cache: "no-store", signal: stop.signal, headers });
    const data = parseBody(await response.text());
    // Pairing and the feed read their own refusals.
    if (response.status === 401 && token && !OWN_REFUSALS.has(path) && refusesToken(data)) pairingGone(token);
    return { status: response.status, data };
  } finally {
    clearTimeout(timer);
    if (signal) signal.removeEventListener("abort", cancel);
  }
}

// Fire and forget, for commands whose effect comes back through the feed.
export function send(path, params = {}) {
  return request(path, params).catch((err) => {
    console.warn(`${path} failed`, err);
    return { status: 0, data: null };
  });
}

// ---------------------------------------------------------------- pairing

// Asks the player to accept this page until it does. The player may ask its
// user first, so this can take a while; onWaiting is told each time it has not
// approved yet (reachable: whether it answered at all). Resolves with the
// approval (token, name, product).
//
// The player hands out a code's token with its first answer. A strict one
// hands it out only then and asks every later call for it, so it is kept
// (as `ticket` until approved) and sent along.
export async function pair({ onWaiting } = {}) {
  let misses = 0;
  let refusals = 0;
  let rejections = 0;
  await afterRecentDrops();
  for (;;) {
    // Read each time: the user may pick a new code while this waits.
    const me = currentSession();
    trying();
    let reply = null;
    try {
      reply = await request(
        "authenticate",
        { name: me.name, code: me.code, version: PROTOCOL_VERSION },
        { token: me.ticket || me.token || null, timeout: PROBE_TIMEOUT },
      );
    } catch {
      reply = null;
    }
    const answer = reply && reply.status === 200 && isObject(reply.data) ? reply.data : null;
    if (reply) reached();
    let delay;
    if (answer && me === session) {
      if (answer.authstatus === true && answer.disconnected !== true) {
        session.token = session.ticket = answer.token;
        saveSession();
        store.set("host", { name: answer.name || "", product: answer.product || "" });
        return answer;
      }
      if (answer.disconnected === true || (me.token && answer.token === me.token)) {
        // The player still knows this code under the token it approved, yet
        // no longer approves it: it let this page go while the page was
        // closed or away, and will not ask its user about that code again.
        newSession();
      } else if (typeof answer.token === "string" && answer.token !== me.ticket) {
        me.token = null;
        me.ticket = answer.token;
        saveSession();
      }
    } else if (reply && reply.status === 401 && me === session) {
      // The player will not hear this code (its token is lost, or the code
      // is someone else's): start over under a fresh one, at a growing pace.
      newSession();
      delay = RETRY_STEPS[Math.min(rejections++, RETRY_STEPS.length - 1)];
    }
    // A player that approves by itself does so just after its first answer
    // to a new code, so the first few asks follow quickly.
    delay ??= reply ? (refusals++ < 4 ? 150 : 500) : RETRY_STEPS[Math.min(misses++, RETRY_STEPS.length - 1)];
    if (!reply) missed(delay);
    const now = currentSession();
    const reachable = answer !== null || (reply !== null && reply.status === 401);
    if (onWaiting) onWaiting({ reachable, code: now.code, name: now.name });
    await pause(delay);
  }
}

// Tells the player to let this page go, and forgets the identity.
export async function unpair() {
  if (session) {
    // Cleared first, so the player's own notice of this disconnect is not
    // taken for one it started; a strict player lets go only the client
    // whose token comes along.
    const token = session.token;
    session.token = null;
    await request("disconnect", { code: session.code }, { withToken: false, token }).catch(() => {});
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

// Library keys and the store keys that hold them. The lists are state: the
// feed keeps each at its latest value, and "tracks" is the player's queue.
const libraryLists = {
  tracks: "queue",
  playnext: "playnext",
  albums: "albums",
  artists: "artists",
  genres: "genres",
  playlists: "playlists",
  moods: "moods",
};

// Answers to some client's request, this page's or another remote's: screens
// match the id they asked for. "track" is not among them: see rememberTrack.
const libraryAnswers = {
  album: "album",
  artist: "artist",
  genre: "genre",
  playlist: "playlist",
  search: "search",
  artwork: "artwork",
};

const isObject = (value) => value !== null && typeof value === "object" && !Array.isArray(value);

// A document of the feed merges into what the store holds, or replaces it
// when `fresh` (a whole state).
function merge(key, doc, fresh) {
  store.set(key, { ...(fresh ? {} : store.get(key) || {}), ...doc });
}

// A view usually arrives twice: in the reply to the request that asked for
// it and through the feed. The second copy would only redraw the same screen.
function setView(name, value, kind) {
  if (sameJson(store.get(name), value)) return;
  learn(value, kind);
  store.set(name, value);
}

function sameJson(a, b) {
  if (a === undefined || a === null || typeof a !== "object") return false;
  return JSON.stringify(a) === JSON.stringify(b);
}

const stateAppliers = {
  playback(doc, fresh) {
    const kept = fresh ? {} : store.get("playback") || {};
    let next = { ...kept };
    if (isObject(doc.playbackstate)) {
      // The transport state comes whole: a key it leaves out (the track id
      // once nothing is queued) no longer holds.
      next = {};
      for (const name of Object.values(playbackKeys)) if (name in kept) next[name] = kept[name];
      Object.assign(next, doc.playbackstate);
    }
    for (const [key, name] of Object.entries(playbackKeys)) {
      if (key in doc) next[name] = doc[key];
    }
    store.set("playback", next);
  },
  library(doc, fresh) {
    for (const [key, name] of Object.entries(libraryLists)) {
      if (key === "albums") {
        if (Array.isArray(doc.albums)) updateAlbums(doc.albums);
      } else if (key in doc) setView(name, doc[key], key);
      else if (fresh && store.get(name) != null) store.set(name, null);
    }
    applyAnswers(doc);
  },
  settings: (doc, fresh) => merge("settings", doc, fresh),
};
for (const stage of ["equalizer", "irc", "ac", "ooyh"]) {
  stateAppliers[stage] = (doc, fresh) => merge(stage, doc, fresh);
}

function applyAnswers(doc) {
  for (const [key, name] of Object.entries(libraryAnswers)) {
    if (key in doc) setView(name, doc[key], key === "album" ? "album" : key);
  }
  if ("track" in doc) rememberTrack(doc.track);
}

const eventAppliers = {
  library: applyAnswers,
  updated(doc) {
    if (doc.all) store.set("updated", Date.now());
  },
  disconnect(doc) {
    // A token cleared already means this page asked to be let go itself. A
    // strict player names the client by its code, not its token.
    if (!session || !session.token) return;
    if (doc.token === session.token || (doc.code != null && Number(doc.code) === session.code)) {
      dropPairing(doc.fromremote === true);
    }
  },
};

// The player let this page go, or no longer takes its token: the code is no
// good either (a player does not ask its user again about a code it let go,
// and a strict one refuses a code without its token), so the page pairs again
// under a fresh one. The app shows the pairing screen at once, unless `quiet`
// (the player came back from an outage: it most likely restarted, and
// approves a known remote's new code before that screen would show).
function dropPairing(fromRemote, { quiet = false } = {}) {
  drops.push(Date.now());
  newSession();
  if (!quiet) store.set("disconnected", { fromRemote });
}

// Whether a 401 is the player refusing the token sent, rather than its own
// answer that some request failed (which some routes also give as 401).
const refusesToken = (data) => typeof data === "string" && /^\s*(unauthori[sz]ed|not paired)\b/i.test(data);
const OWN_REFUSALS = new Set(["authenticate", "changes"]);

// Any request refused for its token ends this pairing, once.
function pairingGone(token) {
  if (session && session.token === token) dropPairing(false);
}

// When each pairing of the last minute was dropped. A player that refuses a
// pairing right after approving it must not be asked about a new code
// again and again at once (a prompting one would ask its user each time).
const drops = [];
const DROPS_KEPT_MS = 60000;

function afterRecentDrops() {
  while (drops.length && Date.now() - drops[0] > DROPS_KEPT_MS) drops.shift();
  if (drops.length < 2) return Promise.resolve();
  return pause(RETRY_STEPS[Math.min(drops.length - 2, RETRY_STEPS.length - 1)]);
}

// Track information is pushed when the player moves to a track, but also
// when any remote asks about one; the current track is whichever of them
// the playback state names. The last few are kept by id.
const trackInfo = new Map();
const TRACKS_KEPT = 32;

function rememberTrack(track) {
  if (!isObject(track) || !track.id) return;
  learn(track, "track");
  trackInfo.delete(track.id);
  trackInfo.set(track.id, track);
  if (trackInfo.size > TRACKS_KEPT) trackInfo.delete(trackInfo.keys().next().value);
  showCurrentTrack();
}

// Keeps "track" on the track the player is on: its pushed information, else
// its entry in the queue or the play-next list, else none.
function showCurrentTrack() {
  const id = (store.get("playback") || {}).trackid;
  const inList = (key) => {
    const list = store.get(key);
    return Array.isArray(list) ? list.find((t) => t && t.id === id) : undefined;
  };
  const track = id ? trackInfo.get(id) || inList("queue") || inList("playnext") || null : null;
  if (track !== store.get("track", null)) store.set("track", track);
}

// Whoever writes these, the current track follows.
for (const key of ["playback", "queue", "playnext"]) store.on(key, showCurrentTrack);

// Resolves once the feed's first whole state has landed.
let stateLanded;
const landed = new Promise((resolve) => (stateLanded = resolve));
export const firstState = () => landed;

// Applies one reply of the feed: a whole state replaces what the page holds
// from the feed; then each changed key, then the events in order.
function applyChanges(reply) {
  const fresh = reply.full === true;
  const changes = isObject(reply.changes) ? reply.changes : {};
  if (fresh) trackInfo.clear();
  for (const [name, apply] of Object.entries(stateAppliers)) {
    const doc = isObject(changes[name]) ? changes[name] : null;
    if (doc || fresh) apply(doc || {}, fresh);
  }
  for (const event of Array.isArray(reply.events) ? reply.events : []) {
    if (isObject(event) && isObject(event.value) && eventAppliers[event.document]) {
      eventAppliers[event.document](event.value);
    }
  }
  if (fresh) stateLanded();
}

// The key of the library document that answers each view: lists by their
// name, one item by its kind (a mood's tracks come as a playlist).
function answerKey(view, params) {
  const one = params.id !== undefined;
  const keys = {
    albums: "albums",
    artists: "artists",
    album: "album",
    search: "search",
    playnext: "playnext",
    genres: one ? "genre" : "genres",
    playlist: one ? "playlist" : "playlists",
    mood: one ? "playlist" : "moods",
  };
  return keys[view];
}

// A library view: the reply is the whole library document as the player
// holds it, so only the key that answers this view is taken from it; the
// rest may be older than what the feed brought. The same view comes through
// the feed as well; screens just watch the store.
//
// One item (an album, a playlist, ...) comes through the feed as an event,
// which reaches this page once its feed has a position: asked before that, an
// event could fall before the whole state that starts the feed. So the reply
// is asked to carry it only until then; after, the request goes with the
// token and its reply is empty, instead of the player's whole library
// document, which nothing empties while no "status" poll runs.
export async function library(view, params = {}) {
  if (view === "albums") return loadAlbums();
  const viaFeed = feedLive && params.id !== undefined;
  const { status, data } = await request(`library/${view}`, params, { withToken: viaFeed });
  const key = answerKey(view, params);
  if (status === 200 && isObject(data) && key && key in data) {
    stateAppliers.library({ [key]: data[key] }, false);
  }
  return { status, data };
}

// ---------------------------------------------------------------- the album list

// The album list carries every cover inline, tens of kilobytes each, so it
// comes in pages: first as many as the screen shows at once (`first`), so
// those covers show without waiting for the rest, then the rest a page at a
// time while the page is idle. A page shorter than asked is the last. Every
// screen that needs the list (the grid, covers of tracks elsewhere) shares
// this one load, so the list is asked for once.
//
// Each page the player is asked for becomes its library document's "albums"
// and so reaches every remote through the feed: what the feed brings under
// "albums" is some remote's page, not the list. It only updates the albums
// this page already holds (see updateAlbums).
const ALBUM_PAGE = 8;
let albumsLoad = null;

export function loadAlbums({ first = ALBUM_PAGE } = {}) {
  albumsLoad ||= (async () => {
    const list = [];
    let index = 0;
    let count = Math.max(1, first);
    // Asked again (the library changed, the player came back): the list on
    // show stays whole until the new one is, rather than shrink to a page.
    const progressive = !Array.isArray(store.get("albums"));
    for (;;) {
      const reply = await request("library/albums", { index, count }, { withToken: false });
      const page = reply.status === 200 && isObject(reply.data) ? reply.data.albums : null;
      if (!Array.isArray(page)) {
        albumsLoad = null;
        return reply;
      }
      const known = new Set(list.map((a) => a.id));
      list.push(...page.filter((a) => isObject(a) && !known.has(a.id)));
      learn(page, "album");
      const last = page.length < count;
      if ((progressive || last) && !sameJson(store.get("albums"), list)) store.set("albums", [...list]);
      if (last) return { status: 200, data: { albums: list } };
      index += page.length;
      count = ALBUM_PAGE;
      await firstScreen;
      await idle();
    }
  })().catch((err) => {
    albumsLoad = null;
    throw err;
  });
  return albumsLoad;
}

// Albums the feed brought replace those of the same id in the list.
function updateAlbums(albums) {
  learn(albums, "album");
  const list = store.get("albums");
  if (!Array.isArray(list)) return;
  const byId = new Map(albums.filter(isObject).map((a) => [a.id, a]));
  if (!list.some((a) => byId.has(a.id) && !sameJson(a, byId.get(a.id)))) return;
  store.set("albums", list.map((a) => byId.get(a.id) || a));
}

// The library changed, or the player came back: the list is asked for anew.
function forgetAlbums() {
  albumsLoad = null;
}
store.on("updated", forgetAlbums);

// The rest of the list waits until the first screen has shown what it
// asked for (the app says when).
let firstScreen = Promise.resolve();
export function afterFirstScreen(promise) {
  firstScreen = promise;
}

// Waits until the browser has drawn what came and has nothing else to do.
function idle() {
  return new Promise((resolve) => {
    if (typeof requestIdleCallback === "function") requestIdleCallback(() => resolve(), { timeout: 500 });
    else setTimeout(resolve, 50);
  });
}

// Tracks inside albums, playlists and the queue come without pictures; their
// covers are those of the album list.
export function ensureAlbumCovers() {
  if (albumsLoad || Array.isArray(store.get("albums"))) return;
  loadAlbums().catch(() => {});
}

// ---------------------------------------------------------------- reaching the player

// Pauses between attempts to reach the player grow to 2 s and no further: a
// phone picked up after the player came back finds it at once.
const RETRY_STEPS = [500, 1000, 2000];
// An attempt while the player is away asks for an answer at once; one that
// takes longer than this went nowhere (a host that vanished from the network
// leaves connections hanging instead of refusing them).
const PROBE_TIMEOUT = 5000;
// A one-second tick that comes this late means the device slept.
const SLEPT_MS = 4000;

// "connection" in the store: { state, retryAt, attempts }. state is
// "connecting" until the player first answers, then "online", or
// "reconnecting" once it stopped answering; retryAt is when the next attempt
// starts (0 while one runs), attempts counts them.
let everReached = false;
let attempts = 0;
store.set("connection", { state: "connecting", retryAt: 0, attempts });

function trying() {
  const now = store.get("connection");
  if (now.state === "online") return;
  store.set("connection", { ...now, retryAt: 0, attempts: ++attempts });
}

function missed(delay) {
  store.set("connection", { state: everReached ? "reconnecting" : "connecting", retryAt: Date.now() + delay, attempts });
}

function reached() {
  everReached = true;
  if (store.get("connection").state !== "online") store.set("connection", { state: "online", retryAt: 0, attempts });
}

// Pauses between attempts, which retryNow() cuts short.
const wakers = new Set();
function pause(ms) {
  return new Promise((resolve) => {
    const done = () => {
      clearTimeout(timer);
      wakers.delete(done);
      resolve();
    };
    const timer = setTimeout(done, ms);
    wakers.add(done);
  });
}

// Aborts the feed request in flight, which the feed then sends again.
let replaceFeedRequest = null;

// Tries the player again now. After the device slept or went offline, a
// request in flight may hang on a connection that died with the network, so
// it is replaced too; so is one the user tired of waiting for.
export function retryNow({ replace = false } = {}) {
  for (const done of [...wakers]) done();
  if (replace && replaceFeedRequest) replaceFeedRequest();
}

let watching = false;
function watchForWaking() {
  if (watching) return;
  watching = true;
  let hiddenAt = 0;
  document.addEventListener("visibilitychange", () => {
    if (document.visibilityState === "hidden") hiddenAt = Date.now();
    else retryNow({ replace: Date.now() - hiddenAt > SLEPT_MS });
  });
  window.addEventListener("online", () => retryNow({ replace: true }));
  window.addEventListener("pageshow", (e) => e.persisted && retryNow({ replace: true }));
  // Timers stand still while a phone sleeps, and a hidden tab's run late on
  // purpose; a late tick in a visible page means it just woke up.
  let last = Date.now();
  setInterval(() => {
    const now = Date.now();
    if (now - last > SLEPT_MS && document.visibilityState === "visible") retryNow({ replace: true });
    last = now;
  }, 1000);
}

// ---------------------------------------------------------------- the feed

// The player answers at once when there is news, else after this many
// seconds; a request that takes far longer than that has been lost.
const WAIT_SECONDS = 25;
const FEED_TIMEOUT = (WAIT_SECONDS + 15) * 1000;

let polling = false;
// Whether the feed has a position in the current pairing.
let feedLive = false;

// Follows the player's "changes" feed for as long as the page lives. The
// feed's position (epoch and seq) belongs to one pairing: a new token starts
// over from the whole state. When the player cannot be reached, the
// connection state says "reconnecting" and the feed tries again within 2 s
// (or at once, see retryNow), from the whole state: what the page shows may
// be long out of date. onReturn runs once that state has landed, for the
// screens to ask again for what they show. onUnpaired runs when this page
// holds no approved token (the player forgot it or let it go) and resolves
// once it is paired again.
export function startChangeFeed({ onReturn, onUnpaired } = {}) {
  if (polling) return;
  polling = true;
  watchForWaking();
  (async () => {
    let at = { token: null, epoch: null, seq: 0 };
    let misses = 0;
    while (polling) {
      try {
        const next = await followOnce(at, misses > 0, { onReturn, onUnpaired });
        if (next) {
          at = next;
          misses = 0;
        }
      } catch (err) {
        if (!(err instanceof Missed)) console.error("the change feed failed", err);
        // Start over from the whole state once the player answers.
        at = { token: null, epoch: null, seq: 0 };
        const delay = RETRY_STEPS[Math.min(misses++, RETRY_STEPS.length - 1)];
        missed(delay);
        await pause(delay);
      }
    }
  })();
}

class Missed extends Error {}

// One request of the feed and what follows from its reply. Returns the
// position to ask from next, or null when the request was replaced before
// its answer; throws Missed when the player did not answer.
async function followOnce(at, lost, { onReturn, onUnpaired }) {
  const token = session && session.token;
  if (!token) {
    if (onUnpaired) await onUnpaired();
    else await pause(500);
    return at;
  }
  if (token !== at.token) at = { token, epoch: null, seq: 0 };
  feedLive = at.seq > 0;
  const sent = Date.now();
  const abort = new AbortController();
  let replaced = false;
  replaceFeedRequest = () => {
    replaced = true;
    abort.abort();
  };
  if (lost) trying();
  let reply;
  try {
    reply = await request(
      "changes",
      { since: at.seq, epoch: at.epoch, wait: lost ? 0 : WAIT_SECONDS },
      { token, timeout: lost ? PROBE_TIMEOUT : FEED_TIMEOUT, signal: abort.signal },
    );
  } catch (err) {
    if (replaced) return null;
    throw new Missed(String(err));
  } finally {
    replaceFeedRequest = null;
  }
  if (reply.status !== 200 && reply.status !== 401) throw new Missed(`changes ${reply.status}`);
  reached();
  if (reply.status === 401) {
    // After an outage the player most likely restarted and forgot this
    // page; otherwise it let the page go without it hearing why.
    if (session && session.token === token) dropPairing(false, { quiet: lost });
    return at;
  }
  const body = isObject(reply.data) ? reply.data : {};
  applyChanges(body);
  const next = { token, epoch: body.epoch ?? null, seq: body.seq ?? 0 };
  feedLive = next.seq > 0;
  if (lost) {
    forgetAlbums();
    if (onReturn) await onReturn();
  }
  // Nothing new normally takes the whole wait. An empty reply that comes
  // back at once means the player is shutting down; a short pause keeps
  // the page from hammering it until it is gone.
  if (!lost && !hasNews(body) && Date.now() - sent < 100) await pause(250);
  return next;
}

function hasNews(reply) {
  const changed = isObject(reply.changes) && Object.keys(reply.changes).length > 0;
  return reply.full === true || changed || (Array.isArray(reply.events) && reply.events.length > 0);
}

export function stopChangeFeed() {
  polling = false;
}

export function sleep(ms) {
  return new Promise((resolve) => setTimeout(resolve, ms));
}
