// The library: albums, artists, playlists, genres and moods as grids, and a
// search over all of them. Each tab asks the player for its list when shown.
import { h, fill } from "../dom.js";
import { icon } from "../icons.js";
import { plural } from "../format.js";
import { cover, albumCard, grid, link, follow, trackList, loading } from "../widgets.js";
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

const views = {
  albums(body, params, scope) {
    follow(scope, body, "albums", {
      matches: Array.isArray,
      draw: (albums) => grid(albums, albumCard, "The library has no albums."),
      ask: () => api.library("albums", ALL),
    });
  },

  artists(body, params, scope) {
    follow(scope, body, "artists", {
      matches: Array.isArray,
      draw: (artists) =>
        grid(
          artists,
          (artist) =>
            link(
              `#/artist/${encodeURIComponent(artist.id)}`,
              { class: "card artist" },
              cover(artistCoverItem(artist), "album", "cover round-cover"),
              h("span", { class: "card-title" }, artist.name),
              h("span", { class: "card-sub" }, plural(Number(artist.albumcount) || (artist.albums || []).length, "album")),
            ),
          "The library has no artists.",
        ),
      ask: () => api.library("artists", ALL),
    });
  },

  playlists(body, params, scope) {
    follow(scope, body, "playlists", {
      matches: Array.isArray,
      draw: (playlists) =>
        grid(
          playlists,
          (p) =>
            link(
              `#/playlist/${encodeURIComponent(p.id)}`,
              { class: "card" },
              cover(firstTrackItem(p), "track"),
              h("span", { class: "card-title" }, p.name),
              h("span", { class: "card-sub" }, plural(Number(p.trackcount) || (p.tracks || []).length, "track")),
            ),
          "No playlists yet.",
        ),
      ask: () => api.library("playlist", ALL),
    });
  },

  genres(body, params, scope) {
    follow(scope, body, "genres", {
      matches: Array.isArray,
      draw: (genres) =>
        grid(
          genres,
          (g) =>
            link(
              `#/genre/${encodeURIComponent(g.id)}`,
              { class: "card" },
              cover(g.artworkdata && (g.artworkdata.imagedata || g.artworkdata.url) ? g : (g.albums || [])[0] || g, "album"),
              h("span", { class: "card-title" }, g.name),
              h("span", { class: "card-sub" }, plural((g.albums || []).length, "album")),
            ),
          "No genres.",
        ),
      ask: () => api.library("genres"),
    });
  },

  moods(body, params, scope) {
    follow(scope, body, "moods", {
      matches: Array.isArray,
      draw: (moods) =>
        grid(
          moods,
          (m) =>
            link(
              `#/mood/${encodeURIComponent(m.id)}`,
              { class: "card" },
              cover(m, "mood"),
              h("span", { class: "card-title" }, m.name),
            ),
          "No moods.",
        ),
      ask: () => api.library("mood"),
    });
  },

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
    artists.length
      ? section("Artists", h("ul", { class: "chips" }, artists.map((a) => h("li", {}, link(`#/artist/${encodeURIComponent(a.id)}`, { class: "chip" }, a.name)))))
      : null,
    albums.length ? section("Albums", grid(albums, albumCard, "")) : null,
    playlists.length
      ? section("Playlists", h("ul", { class: "chips" }, playlists.map((p) => h("li", {}, link(`#/playlist/${encodeURIComponent(p.id)}`, { class: "chip" }, p.name)))))
      : null,
    tracks.length
      ? section("Tracks", trackList(tracks, { scope, numbered: false, showAlbum: true, onPick: (t) => playItem(t.id, 0) }))
      : null,
  ];
}

function section(name, content) {
  return h("section", { class: "section" }, h("h2", {}, name), content);
}

// An artist shows the cover of their first album when they have no picture.
function artistCoverItem(artist) {
  const data = artist.artworkdata;
  if (data && (data.imagedata || data.url)) return artist;
  const first = (artist.albums || [])[0];
  if (first) return first;
  const albums = store.get("albums") || [];
  return albums.find((a) => a.artistid === artist.id) || artist;
}

function firstTrackItem(playlist) {
  const data = playlist.artworkdata;
  if (data && (data.imagedata || data.url)) return playlist;
  return (playlist.tracks || [])[0] || playlist;
}
