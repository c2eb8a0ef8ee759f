// A playlist, or a mood (the player answers a mood with a playlist of its
// tracks under the mood's id). A track plays the list from there. A playlist
// can be renamed and deleted here, and a track taken out of it.
import { h } from "../dom.js";
import { icon } from "../icons.js";
import { length, plural } from "../format.js";
import { cover, detailScreen, trackList } from "../widgets.js";
import { ask, notice } from "../menu.js";
import * as api from "../api.js";
import * as store from "../store.js";
import { playItem, renamePlaylist, deletePlaylist } from "../commands.js";

export const title = "Playlist";

export function render(view, params, scope) {
  const mood = params.kind === "mood";
  const listKey = mood ? "moods" : "playlists";
  detailScreen(view, scope, mood ? ["#/library/moods", "Moods"] : ["#/library/playlists", "Playlists"], "playlist", {
    matches: (p) => p.id === params.id,
    redrawOn: ["albums"],
    ask: () => {
      // The list tells a playlist that another remote deleted.
      if (!Array.isArray(store.get(listKey))) api.library(mood ? "mood" : "playlist", mood ? {} : { index: 0, count: -1 }).catch(() => {});
      return api.library(mood ? "mood" : "playlist", { id: params.id });
    },
    missing: mood ? "This mood is no longer in the library." : "This playlist is no longer in the library.",
    gone: [listKey, (list) => list.some((p) => p.id === params.id)],
    draw: (playlist) => {
      const tracks = playlist.tracks || [];
      const moodItem = mood ? (store.get("moods") || []).find((m) => m.id === params.id) : null;
      const seconds = Number(playlist.duration) || tracks.reduce((sum, t) => sum + (Number(t.duration) || 0), 0);
      const name = playlist.name || (moodItem && moodItem.name) || "Untitled";
      return [
        h(
          "header",
          { class: "detail-head" },
          cover(moodItem || (playlist.artworkdata && playlist.artworkdata.imagedata ? playlist : tracks[0] || playlist), "track", "cover detail-cover"),
          h(
            "div",
            { class: "detail-text" },
            h("p", { class: "kicker" }, mood ? "Mood" : "Playlist"),
            h("h1", { class: "detail-title" }, name),
            h("p", { class: "detail-meta" }, `${plural(tracks.length, "track")} · ${length(seconds)}`),
            playlist.info ? h("p", { class: "detail-info" }, playlist.info) : null,
            h(
              "div",
              { class: "actions" },
              h("button", { class: "primary", type: "button", id: "playlist-play", "data-needs-player": "", disabled: tracks.length === 0, onclick: () => playItem(playlist.id, 0) }, icon("play"), "Play"),
              mood ? null : h("button", { class: "secondary", type: "button", id: "playlist-rename", "data-needs-player": "", onclick: () => rename(playlist.id, name) }, icon("edit"), "Rename"),
              mood ? null : h("button", { class: "secondary", type: "button", id: "playlist-delete", "data-needs-player": "", onclick: () => remove(playlist.id, name) }, icon("trash"), "Delete"),
            ),
          ),
        ),
        tracks.length
          ? trackList(tracks, {
              scope,
              showAlbum: true,
              numbered: false,
              onPick: (t, index) => playItem(playlist.id, index),
              menu: mood ? undefined : (track) => ({ playlist: { id: playlist.id, name } }),
            })
          : h("p", { class: "empty" }, mood ? "No tracks." : "No tracks yet: add some with a track's menu."),
      ];
    },
  });
}

async function rename(id, name) {
  const wanted = await ask({ title: "Rename playlist", input: { label: "Name", value: name }, confirm: "Rename" });
  if (!wanted || wanted === name) return;
  const { status } = await renamePlaylist(id, wanted);
  if (status !== 200) notice("The player did not rename the playlist.", true);
}

async function remove(id, name) {
  if (!(await ask({ title: "Delete playlist?", text: `“${name}” will be gone from the player. Its tracks stay in the library.`, confirm: "Delete", danger: true }))) return;
  const { status } = await deletePlaylist(id);
  if (status === 200) {
    notice(`Deleted “${name}”`);
    location.hash = "#/library/playlists";
  } else {
    notice("The player did not delete the playlist.", true);
  }
}
