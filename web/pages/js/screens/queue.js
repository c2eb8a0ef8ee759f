// The queue: what the player will play, in order, with the current track
// marked. A track plays from there; the arrows move it one place.
import { h, fill } from "../dom.js";
import { icon } from "../icons.js";
import { length, plural } from "../format.js";
import { trackList } from "../widgets.js";
import * as api from "../api.js";
import * as store from "../store.js";
import { playItem, moveTrack, refreshQueue } from "../commands.js";

export const title = "Queue";

export function render(view, params, scope) {
  const list = h("div", { class: "queue-list" });
  const meta = h("p", { class: "detail-meta" });
  const upNext = h("div", {});
  fill(view, h("h1", { class: "screen-title" }, "Queue"), meta, list, upNext);

  const draw = () => {
    const queue = store.get("queue");
    if (!Array.isArray(queue)) {
      fill(list, h("p", { class: "empty loading" }, "Loading…"));
      refreshQueue();
      return;
    }
    const seconds = queue.reduce((sum, t) => sum + (Number(t.duration) || 0), 0);
    meta.textContent = queue.length ? `${plural(queue.length, "track")} · ${length(seconds)}` : "";
    if (queue.length === 0) {
      fill(list, h("p", { class: "empty" }, "The queue is empty. Play an album from the library."));
      return;
    }
    const mover = (track, index) =>
      h(
        "span",
        { class: "row-actions" },
        h("button", { class: "round small", type: "button", "aria-label": `Move ${track.name} up`, disabled: index === 0, onclick: () => moveTrack(track.id, index - 1) }, icon("up")),
        h("button", { class: "round small", type: "button", "aria-label": `Move ${track.name} down`, disabled: index === queue.length - 1, onclick: () => moveTrack(track.id, index + 1) }, icon("down")),
      );
    fill(list, trackList(queue, { scope, numbered: false, showAlbum: true, extra: mover, onPick: (t, index) => playItem(t.id, index) }));
  };

  const drawUpNext = () => {
    const next = store.get("playnext");
    if (!Array.isArray(next) || next.length === 0) {
      fill(upNext);
      return;
    }
    fill(upNext, h("section", { class: "section" }, h("h2", {}, "Play next"), trackList(next, { scope, numbered: false, showAlbum: true, onPick: (t) => playItem(t.id, 0) })));
  };

  draw();
  drawUpNext();
  scope.on("queue", draw);
  scope.on("playnext", drawUpNext);
  scope.on("albums", draw);
  // Until the player has pushed it, ask for the list of next tracks.
  if (!Array.isArray(store.get("playnext"))) api.library("playnext").catch(() => {});
}
