// One artist: their albums. The player answers with the albums alone; the
// covers come from the album list, which is fetched too if not yet here.
import { h } from "../dom.js";
import { albumCard, grid, detailScreen } from "../widgets.js";
import { plural } from "../format.js";
import * as api from "../api.js";
import * as store from "../store.js";

export const title = "Artist";

export function render(view, params, scope) {
  // A pushed artist item (with its albums) serves as well as the reply.
  scope.on("artist", (artist) => {
    if (artist && artist.id === params.id && Array.isArray(artist.albums)) {
      store.set("artistAlbums", { id: params.id, name: artist.name, albums: artist.albums });
    }
  });

  detailScreen(view, scope, ["#/library/artists", "Artists"], "artistAlbums", {
    matches: (v) => v.id === params.id,
    missing: "This artist is no longer in the library.",
    gone: ["artists", (list) => list.some((a) => a.id === params.id)],
    ask: async () => {
      if (!Array.isArray(store.get("albums"))) api.library("albums", { index: 0, count: -1 }).catch(() => {});
      const reply = await api.request("library/artist", { id: params.id }, { withToken: false });
      if (reply.status === 200 && Array.isArray(reply.data)) {
        store.set("artistAlbums", { id: params.id, albums: reply.data });
      }
      return reply;
    },
    draw: ({ name, albums }) => {
      const known = (store.get("artists") || []).find((a) => a.id === params.id);
      const artistName = name || (known && known.name) || (albums[0] && albums[0].artistname) || "Artist";
      return [
        h(
          "header",
          { class: "detail-head compact" },
          h("div", { class: "detail-text" }, h("p", { class: "kicker" }, "Artist"), h("h1", { class: "detail-title" }, artistName), h("p", { class: "detail-meta" }, plural(albums.length, "album"))),
        ),
        grid(albums, albumCard, "No albums by this artist."),
      ];
    },
  });
  // Redraw once covers arrive with the album list.
  scope.on("albums", () => {
    const current = store.get("artistAlbums");
    if (current && current.id === params.id) store.set("artistAlbums", current);
  });
}
