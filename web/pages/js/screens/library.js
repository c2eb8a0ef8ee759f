// The library: albums, artists, playlists, genres and moods as grids, all
// tracks page by page, and a search over all of them. Each tab asks the
// player for its list when shown, and is shown again where it was left.
import { h, fill, patch } from "../dom.js";
import { icon } from "../icons.js";
import { plural } from "../format.js";
import { cover, card, albumCard, grid, link, follow, trackList, markCurrent, loading, section, chips, hasOwnCover } from "../widgets.js";
import { ask, notice } from "../menu.js";
import * as api from "../api.js";
import * as store from "../store.js";
import { playItem, createPlaylist } from "../commands.js";

export const title = "Library";

const TABS = [
  { key: "albums", name: "Albums" },
  { key: "artists", name: "Artists" },
  { key: "tracks", name: "Tracks" },
  { key: "playlists", name: "Playlists" },
  { key: "genres", name: "Genres" },
  { key: "moods", name: "Moods" },
  { key: "search", name: "Search" },
];

const ALL = { index: 0, count: -1 };

// Where each tab was scrolled to when it was left.
const scrolled = new Map();

export function render(view, params, scope) {
  const tab = TABS.find((t) => t.key === params.tab) || TABS[0];
  const body = h("div", { class: "library-body" });
  const tabs = h(
    "nav",
    { class: "tabs", "aria-label": "Library sections" },
    TABS.map((t) =>
      link(`#/library/${t.key}`, { class: "tab", "aria-current": t === tab ? "page" : false }, t.key === "search" ? icon("search") : null, t.name),
    ),
  );
  fill(view, h("h1", { class: "screen-title" }, "Library"), tabs, body);
  // On a phone the later tabs sit past the edge: bring the chosen one in.
  const chosen = tabs.querySelector("[aria-current]");
  const [c, t] = [chosen.getBoundingClientRect(), tabs.getBoundingClientRect()];
  tabs.scrollLeft += c.left + c.width / 2 - (t.left + t.width / 2);
  views[tab.key](body, params, scope);
  scope.add(() => scrolled.set(tab.key, window.scrollY));
  if (tab.key !== "search") restoreScroll(scrolled.get(tab.key));
}

// Scrolls back to where the tab was once its content is tall enough (a list
// may still be on its way from the player); gives up after 2 s. The app
// scrolls a new screen to the top after drawing it, so this starts a frame
// later.
function restoreScroll(y) {
  if (!y) return;
  const until = Date.now() + 2000;
  const attempt = () => {
    const room = document.documentElement.scrollHeight - window.innerHeight;
    if (room >= y || Date.now() > until) window.scrollTo(0, Math.min(y, room));
    else requestAnimationFrame(attempt);
  };
  requestAnimationFrame(attempt);
}

// The grid tabs: how each asks for its list (kept in the store under the
// tab's name) and how it draws one card.
const GRIDS = {
  albums: { ask: (body) => api.loadAlbums({ first: cardsPerRow(body) }), card: albumCard, empty: "The library has no albums." },
  artists: {
    ask: () => api.library("artists", ALL),
    card: (artist) =>
      card(
        `#/artist/${encodeURIComponent(artist.id)}`,
        { class: "card artist" },
        cover(artistCoverItem(artist), "album", "cover round-cover"),
        artist.name,
        plural(Number(artist.albumcount) || (artist.albums || []).length, "album"),
      ),
    empty: "The library has no artists.",
  },
  playlists: {
    ask: () => api.library("playlist", ALL),
    card: (p) =>
      card(
        `#/playlist/${encodeURIComponent(p.id)}`,
        { class: "card" },
        cover(firstTrackItem(p), "track"),
        p.name,
        plural(Number(p.trackcount) || (p.tracks || []).length, "track"),
      ),
    empty: "No playlists yet.",
  },
  genres: {
    ask: () => api.library("genres"),
    card: (g) =>
      card(
        `#/genre/${encodeURIComponent(g.id)}`,
        { class: "card" },
        cover(hasOwnCover(g) ? g : (g.albums || [])[0] || g, "album"),
        g.name,
        plural((g.albums || []).length, "album"),
      ),
    empty: "No genres.",
  },
  moods: {
    ask: () => api.library("mood"),
    card: (m) => card(`#/mood/${encodeURIComponent(m.id)}`, { class: "card" }, cover(m, "mood"), m.name),
    empty: "No moods.",
  },
};

function gridTab(key, { ask: askFor, card: makeCard, empty }) {
  return (body, params, scope) =>
    follow(scope, body, key, {
      matches: Array.isArray,
      draw: (items) => grid(items, makeCard, empty),
      ask: () => askFor(body),
    });
}

const views = {
  ...Object.fromEntries(Object.entries(GRIDS).map(([key, tab]) => [key, gridTab(key, tab)])),

  // The playlists, and a button that makes a new one and opens it.
  playlists(body, params, scope) {
    const list = h("div", {});
    const create = async () => {
      const name = await ask({ title: "New playlist", input: { label: "Name", value: "" }, confirm: "Create" });
      if (!name) return;
      const made = await createPlaylist(name);
      if (made) location.hash = `#/playlist/${encodeURIComponent(made.id)}`;
      else notice("The player did not make the playlist.", true);
    };
    fill(body, h("div", { class: "list-actions" }, h("button", { type: "button", class: "secondary", id: "playlist-new", "data-needs-player": "", onclick: create }, icon("plus"), "New playlist")), list);
    gridTab("playlists", GRIDS.playlists)(list, params, scope);
  },

  tracks: tracksTab,

  search(body, params, scope) {
    const results = h("div", { class: "search-results" });
    const input = h("input", {
      type: "search",
      id: "search-input",
      placeholder: "Artists, albums, tracks",
      "aria-label": "Search the library",
      value: params.q || "",
      autocomplete: "off",
    });
    let timer = 0;
    let asked = "";
    const run = () => {
      const term = input.value.trim();
      if (term === asked) return;
      asked = term;
      history.replaceState(null, "", `#/library/search${term ? `?q=${encodeURIComponent(term)}` : ""}`);
      if (!term) {
        fill(results);
        return;
      }
      fill(results, loading("Searching…"));
      api
        .library("search", { param: term })
        .then(() => drawFound())
        .catch(() => fill(results, h("p", { class: "empty" }, "The player did not answer.")));
    };
    input.addEventListener("input", () => {
      clearTimeout(timer);
      timer = setTimeout(run, 300);
    });
    const form = h("form", { class: "search", role: "search", onsubmit: (e) => (e.preventDefault(), clearTimeout(timer), run()) }, icon("search"), input);
    fill(body, form, results);
    const drawFound = () => {
      const found = store.get("search");
      if (found && found.search === asked) patch(results, searchResults(found, scope));
    };
    scope.on("search", drawFound);
    scope.on("albums", drawFound);
    if (input.value) run();
    setTimeout(() => input.focus(), 0);
  },
};

// ---------------------------------------------------------------- tracks

// All tracks, sorted by artist, album and number, a page at a time: the next
// page is asked for as the end of the list comes near. What was loaded stays
// for the next visit (until the library changes), so coming back from an
// album finds the list as long as it was.
const PAGE = 100;
let loaded = null; // { etag, tracks, total }
store.on("updated", () => (loaded = null));

function tracksTab(body, params, scope) {
  const meta = h("p", { class: "detail-meta", id: "tracks-count" });
  const list = h("ol", { class: "tracks", id: "all-tracks" });
  const more = h("div", { class: "more", "aria-hidden": "true" });
  const status = h("p", { class: "empty small" });
  fill(body, meta, list, more, status);
  let busy = false;
  let gone = false;
  scope.add(() => (gone = true));

  const addRows = (tracks) => {
    const from = list.children.length;
    const rows = trackList(tracks, { numbered: false, showAlbum: true, onPick: (track) => playItem(track.id, 0) });
    for (const row of [...rows.children]) {
      row.dataset.key = `${row.dataset.key}@${from}`;
      list.append(row);
    }
    markCurrent(list, true);
  };
  const describe = () => {
    meta.textContent = loaded ? `${plural(loaded.total, "track")}` : "";
    status.textContent = loaded && loaded.tracks.length < loaded.total ? "Loading more…" : "";
  };
  const next = async () => {
    if (busy || gone || (loaded && loaded.tracks.length >= loaded.total)) return;
    busy = true;
    const index = loaded ? loaded.tracks.length : 0;
    try {
      const { status: code, data } = await api.request("getLocalLibrary", { id: "tracks", index, count: PAGE });
      if (gone) return;
      if (code !== 200 || !data || !Array.isArray(data.tracks)) {
        if (!loaded) fill(status, "The player did not list its tracks.");
        return;
      }
      // The library changed between two pages: start over.
      if (loaded && data.etag !== loaded.etag) {
        loaded = null;
        list.replaceChildren();
        busy = false;
        return next();
      }
      loaded ||= { etag: data.etag, tracks: [], total: 0 };
      loaded.total = Number(data.totalCount) || index + data.tracks.length;
      loaded.tracks.push(...data.tracks);
      addRows(data.tracks);
      describe();
    } catch {
      if (!gone) status.textContent = "The player did not answer.";
    } finally {
      busy = false;
    }
    // A short page may not reach the end of the screen: keep going.
    if (!gone && more.getBoundingClientRect().top < window.innerHeight + 800) next();
  };

  if (loaded) {
    addRows(loaded.tracks);
    describe();
  } else {
    fill(status, loading());
  }
  const watch = new IntersectionObserver((seen) => seen.some((e) => e.isIntersecting) && next(), { rootMargin: "0px 0px 800px 0px" });
  watch.observe(more);
  scope.add(() => watch.disconnect());
  scope.on("playback", () => markCurrent(list));
  // Covers come with the album list; rows drawn before it get theirs now.
  scope.on("albums", () => {
    const byId = new Map((loaded ? loaded.tracks : []).map((t) => [t.id, t]));
    for (const empty of list.querySelectorAll(".thumb.cover-empty")) {
      const track = byId.get(empty.closest(".track").dataset.trackId);
      const fresh = track && cover(track, "track", "thumb");
      if (fresh && fresh.nodeName === "IMG") empty.replaceWith(fresh);
    }
  });
  if (!loaded) next();
}

function searchResults(found, scope) {
  const albums = found.albums || [];
  const artists = found.artists || [];
  const playlists = found.playlists || [];
  const tracks = found.tracks || [];
  if (!albums.length && !artists.length && !playlists.length && !tracks.length) {
    return h("p", { class: "empty" }, `Nothing matches “${found.search}”.`);
  }
  return [
    artists.length ? section("Artists", chips(artists, "artist")) : null,
    albums.length ? section("Albums", grid(albums, albumCard, "")) : null,
    playlists.length ? section("Playlists", chips(playlists, "playlist")) : null,
    tracks.length
      ? section("Tracks", trackList(tracks, { scope, numbered: false, showAlbum: true, onPick: (t) => playItem(t.id, 0) }))
      : null,
  ];
}

// The album list's first page: the first row of the grid at this width, at
// most four cards. Each cover is tens of kilobytes inline, so a short first
// page shows covers soonest; the rest of the row follows with the next page.
function cardsPerRow(body) {
  const probe = h("div", { class: "grid", style: "visibility:hidden;height:0;margin:0" });
  body.append(probe);
  const columns = getComputedStyle(probe).gridTemplateColumns.split(" ").filter(Boolean).length;
  probe.remove();
  return Math.min(4, Math.max(2, columns || 0));
}

// An artist shows the cover of their first album when they have no picture.
function artistCoverItem(artist) {
  if (hasOwnCover(artist)) return artist;
  const first = (artist.albums || [])[0];
  if (first) return first;
  const albums = store.get("albums") || [];
  return albums.find((a) => a.artistid === artist.id) || artist;
}

function firstTrackItem(playlist) {
  if (hasOwnCover(playlist)) return playlist;
  return (playlist.tracks || [])[0] || playlist;
}
