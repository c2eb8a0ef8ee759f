// A genre: its albums and playlists.
import { h } from "../dom.js";
import { albumCard, grid, detailScreen, section, chips } from "../widgets.js";
import { plural } from "../format.js";
import * as api from "../api.js";
import * as store from "../store.js";

export const title = "Genre";

export function render(view, params, scope) {
  detailScreen(view, scope, ["#/library/genres", "Genres"], "genre", {
    matches: (g) => g.id === params.id,
    ask: () => {
      // The list tells a genre the player no longer has.
      if (!Array.isArray(store.get("genres"))) api.library("genres").catch(() => {});
      return api.library("genres", { index: 0, count: -1, id: params.id });
    },
    missing: "This genre is no longer in the library.",
    gone: ["genres", (list) => list.some((g) => g.id === params.id)],
    draw: (genre) => {
      const albums = genre.albums || [];
      const playlists = genre.playlists || [];
      return [
        h(
          "header",
          { class: "detail-head compact" },
          h("div", { class: "detail-text" }, h("p", { class: "kicker" }, "Genre"), h("h1", { class: "detail-title" }, genre.name), h("p", { class: "detail-meta" }, plural(albums.length, "album"))),
        ),
        grid(albums, albumCard, "No albums in this genre."),
        playlists.length ? section("Playlists", chips(playlists, "playlist")) : null,
      ];
    },
  });
}
