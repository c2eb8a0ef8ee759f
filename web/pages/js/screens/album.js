// One album: its cover and tracks; a track plays the album from there.
import { h } from "../dom.js";
import { icon } from "../icons.js";
import { length, plural, quality } from "../format.js";
import { cover, detailScreen, trackList, link } from "../widgets.js";
import * as api from "../api.js";
import { playItem } from "../commands.js";

export const title = "Album";

export function render(view, params, scope) {
  detailScreen(view, scope, ["#/library/albums", "Albums"], "album", {
    matches: (album) => album.id === params.id,
    ask: () => api.library("album", { id: params.id }),
    missing: "This album is no longer in the library.",
    draw: (album) => {
      const tracks = album.tracks || [];
      const count = Number(album.trackcount) || tracks.length;
      const seconds = Number(album.duration) || tracks.reduce((sum, t) => sum + (Number(t.duration) || 0), 0);
      return [
        h(
          "header",
          { class: "detail-head" },
          cover(album, "album", "cover detail-cover"),
          h(
            "div",
            { class: "detail-text" },
            h("p", { class: "kicker" }, "Album"),
            h("h1", { class: "detail-title" }, album.name || "Untitled"),
            album.artistid
              ? link(`#/artist/${encodeURIComponent(album.artistid)}`, { class: "detail-artist" }, album.artistname)
              : h("p", { class: "detail-artist" }, album.artistname || ""),
            h("p", { class: "detail-meta" }, [plural(count, "track"), length(seconds), quality(tracks[0])].filter(Boolean).join(" · ")),
            album.info ? h("p", { class: "detail-info" }, album.info) : null,
            h(
              "div",
              { class: "actions" },
              h("button", { class: "primary", type: "button", id: "album-play", "data-needs-player": "", onclick: () => playItem(album.id, 0) }, icon("play"), "Play"),
            ),
          ),
        ),
        trackList(tracks, { scope, onPick: (track, index) => playItem(album.id, index) }),
      ];
    },
  });
}
