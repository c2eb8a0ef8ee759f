// A genre: its albums and playlists.
import { h } from "../dom.js";
import { albumCard, grid, detailScreen, section, chips } from "../widgets.js";
import { plural } from "../format.js";
import * as api from "../api.js";

export const title = "Genre";

export function render(view, params, scope) {
  detailScreen(view, scope, ["#/library/genres", "Genres"], "genre", {
    matches: (g) => g.id === params.id,
    ask: () => api.library("genres", { index: 0, count: -1, id: params.id }),
    missing: "The player does not know this genre.",
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
