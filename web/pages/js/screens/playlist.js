// A playlist, or a mood (the player answers a mood with a playlist of its
// tracks under the mood's id). A track plays the list from there.
import { h } from "../dom.js";
import { icon } from "../icons.js";
import { length, plural } from "../format.js";
import { cover, detailScreen, trackList } from "../widgets.js";
import * as api from "../api.js";
import * as store from "../store.js";
import { playItem } from "../commands.js";

export const title = "Playlist";

export function render(view, params, scope) {
  const mood = params.kind === "mood";
  detailScreen(view, scope, mood ? ["#/library/moods", "Moods"] : ["#/library/playlists", "Playlists"], "playlist", {
    matches: (p) => p.id === params.id,
    redrawOn: ["albums"],
    ask: () => api.library(mood ? "mood" : "playlist", { id: params.id }),
    missing: mood ? "The player has no tracks for this mood." : "The player does not know this playlist.",
    draw: (playlist) => {
      const tracks = playlist.tracks || [];
      const moodItem = mood ? (store.get("moods") || []).find((m) => m.id === params.id) : null;
      const seconds = Number(playlist.duration) || tracks.reduce((sum, t) => sum + (Number(t.duration) || 0), 0);
      return [
        h(
          "header",
          { class: "detail-head" },
          cover(moodItem || (playlist.artworkdata && playlist.artworkdata.imagedata ? playlist : tracks[0] || playlist), "track", "cover detail-cover"),
          h(
            "div",
            { class: "detail-text" },
            h("p", { class: "kicker" }, mood ? "Mood" : "Playlist"),
            h("h1", { class: "detail-title" }, playlist.name || (moodItem && moodItem.name) || "Untitled"),
            h("p", { class: "detail-meta" }, `${plural(tracks.length, "track")} · ${length(seconds)}`),
            playlist.info ? h("p", { class: "detail-info" }, playlist.info) : null,
            h(
              "div",
              { class: "actions" },
              h("button", { class: "primary", type: "button", disabled: tracks.length === 0, onclick: () => playItem(playlist.id, 0) }, icon("play"), "Play"),
            ),
          ),
        ),
        trackList(tracks, { scope, showAlbum: true, numbered: false, onPick: (t, index) => playItem(playlist.id, index) }),
      ];
    },
  });
}
