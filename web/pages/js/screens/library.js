// The library: albums, artists, playlists, genres and moods as grids, and a
// search over all of them. Each tab asks the player for its list when shown.
import { h, fill } from "../dom.js";
import { icon } from "../icons.js";
import { plural } from "../format.js";
import { cover, card, albumCard, grid, link, follow, trackList, loading, section, chips, hasOwnCover } from "../widgets.js";
import * as api from "../api.js";
import * as store from "../store.js";
import { playItem } from "../commands.js";

export const title = "Library";

const TABS = [
  { key: "albums", name: "Albums" },
  { key: "artists", name: "Artists" },
  { key: "playlists", name: "Playlists" },
  { key: "genres", name: "Genres" },
  { key: "moods", name: "Moods" },
  { key: "search", name: "Search" },
];

const ALL = { index: 0, count: -1 };

export function render(view, params, scope) {
  const tab = TABS.find((t) => t.key === params.tab) || TABS[0];
  const body = h("div", { class: "library-body" });
  fill(
    view,
    h("h1", { class: "screen-title" }, "Library"),
    h(
      "nav",
      { class: "tabs", "aria-label": "Library sections" },
      TABS.map((t) =>
        link(`#/library/${t.key}`, { class: "tab", "aria-current": t === tab ? "page" : false }, t.key === "search" ? icon("search") : null, t.name),
      ),
    ),
    body,
  );
  views[tab.key](body, params, scope);
}

// The grid tabs: how each asks for its list (kept in the store under the
// tab's name) and how it draws one card.
const GRIDS = {
  albums: { ask: () => api.library("albums", ALL), card: albumCard, empty: "The library has no albums." },
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

function gridTab(key, { ask, card: makeCard, empty }) {
  return (body, params, scope) =>
    follow(scope, body, key, {
      matches: Array.isArray,
      draw: (items) => grid(items, makeCard, empty),
      ask,
    });
}

const views = {
  ...Object.fromEntries(Object.entries(GRIDS).map(([key, tab]) => [key, gridTab(key, tab)])),

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
      if (found && found.search === asked) fill(results, searchResults(found, scope));
    };
    scope.on("search", drawFound);
    scope.on("albums", drawFound);
    if (input.value) run();
    setTimeout(() => input.focus(), 0);
  },
};

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
