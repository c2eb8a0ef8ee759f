// The queue: what the player will play, in order, with the current track
// marked. A track plays from there; an entry is moved by dragging its handle
// (finger or mouse) or with its arrow buttons, and removed from its menu;
// the whole queue can be cleared.
import { h, fill, patch } from "../dom.js";
import { icon } from "../icons.js";
import { length, plural } from "../format.js";
import { trackList } from "../widgets.js";
import { ask, notice } from "../menu.js";
import * as api from "../api.js";
import * as store from "../store.js";
import { playItem, moveTrack, refreshQueue, canEditQueue, clearQueue } from "../commands.js";

export const title = "Queue";

export function render(view, params, scope) {
  const list = h("div", { class: "queue-list" });
  const meta = h("p", { class: "detail-meta" });
  const tools = h("div", { class: "queue-tools" });
  const upNext = h("div", {});
  fill(view, h("div", { class: "screen-head" }, h("h1", { class: "screen-title" }, "Queue"), tools), meta, list, upNext);

  let drag = null;
  let waiting = false;

  const draw = () => {
    // A list redrawn under the finger would lose the entry being dragged.
    if (drag) {
      waiting = true;
      return;
    }
    const queue = store.get("queue");
    if (!Array.isArray(queue)) {
      fill(list, h("p", { class: "empty loading" }, "Loading…"));
      refreshQueue();
      return;
    }
    const seconds = queue.reduce((sum, t) => sum + (Number(t.duration) || 0), 0);
    meta.textContent = queue.length ? `${plural(queue.length, "track")} · ${length(seconds)}` : "";
    patch(
      tools,
      canEditQueue() && queue.length
        ? h("button", { type: "button", class: "secondary", id: "queue-clear", "data-needs-player": "", onclick: confirmClear }, icon("trash"), "Clear")
        : null,
    );
    if (queue.length === 0) {
      fill(list, h("p", { class: "empty" }, "The queue is empty. Play an album from the library."));
      return;
    }
    const handle = (track, index) =>
      h("span", { class: "drag-handle", "aria-hidden": "true", title: "Drag to move", "data-needs-player": "", onpointerdown: (e) => startDrag(e, index) }, icon("grip"));
    const mover = (track, index) =>
      h(
        "span",
        { class: "row-actions" },
        h("button", { class: "round small", type: "button", "data-needs-player": "", "aria-label": `Move ${track.name} up`, disabled: index === 0, onclick: () => moveTrack(track.id, index - 1) }, icon("up")),
        h("button", { class: "round small", type: "button", "data-needs-player": "", "aria-label": `Move ${track.name} down`, disabled: index === queue.length - 1, onclick: () => moveTrack(track.id, index + 1) }, icon("down")),
      );
    const rows = trackList(queue, {
      scope,
      numbered: false,
      showAlbum: true,
      lead: handle,
      extra: mover,
      menu: (track, index) => ({ queueIndex: index }),
      onPick: (t, index) => playItem(t.id, index),
    });
    if (list.firstChild && list.firstChild.nodeName === "OL") patch(list, rows);
    else fill(list, rows);
  };

  async function confirmClear() {
    if (await ask({ title: "Clear the queue?", text: "Every track leaves the queue, and the player stops.", confirm: "Clear", danger: true })) {
      const { status } = await clearQueue();
      if (status !== 200) notice("The player did not clear the queue.", true);
    }
  }

  // Dragging an entry: the row follows the pointer, the others make room,
  // and near the top or bottom of the screen the page scrolls along.
  function startDrag(e, from) {
    if (drag || (e.pointerType === "mouse" && e.button !== 0)) return;
    const handle = e.currentTarget;
    const rows = [...list.querySelectorAll(".track")];
    const row = rows[from];
    if (!row) return;
    e.preventDefault();
    handle.setPointerCapture(e.pointerId);
    const middle = (r) => {
      const box = r.getBoundingClientRect();
      return box.top + window.scrollY + box.height / 2;
    };
    drag = { pointer: e.pointerId, from, to: from, rows, row, mids: rows.map(middle), height: row.getBoundingClientRect().height, startY: e.clientY + window.scrollY, y: e.clientY };
    row.classList.add("dragging");
    list.classList.add("reordering");

    const follow = () => {
      const y = drag.y + window.scrollY;
      const dy = y - drag.startY;
      const centre = drag.mids[from] + dy;
      let to = from;
      drag.mids.forEach((mid, i) => {
        if (i > from && centre > mid) to = i;
        if (i < from && centre < mid && to >= from) to = i;
      });
      drag.to = to;
      rows.forEach((r, i) => {
        let shift = 0;
        if (i === from) shift = dy;
        else if (i > from && i <= to) shift = -drag.height;
        else if (i < from && i >= to) shift = drag.height;
        r.style.transform = shift ? `translateY(${shift}px)` : "";
      });
    };
    const scroll = () => {
      if (!drag) return;
      const bottom = window.innerHeight - (document.querySelector("#nav")?.offsetHeight || 0) - (document.querySelector("#mini")?.offsetHeight || 0);
      const step = drag.y < 90 ? -10 : drag.y > bottom - 60 ? 10 : 0;
      if (step) {
        window.scrollBy(0, step);
        follow();
      }
      drag.frame = requestAnimationFrame(scroll);
    };
    const move = (ev) => {
      if (ev.pointerId !== drag.pointer) return;
      drag.y = ev.clientY;
      follow();
    };
    const end = (ev) => {
      if (ev.pointerId !== drag.pointer) return;
      const { to, frame } = drag;
      cancelAnimationFrame(frame);
      handle.removeEventListener("pointermove", move);
      handle.removeEventListener("pointerup", end);
      handle.removeEventListener("pointercancel", end);
      for (const r of rows) r.style.transform = "";
      row.classList.remove("dragging");
      list.classList.remove("reordering");
      drag = null;
      if (ev.type === "pointerup" && to !== from) {
        // Shown at once; the player's queue comes back through the feed and
        // redraws it as the player has it.
        const ol = row.parentNode;
        ol.insertBefore(row, to > from ? rows[to].nextSibling : rows[to]);
        moveTrack(row.dataset.trackId, to);
      }
      if (waiting) {
        waiting = false;
        draw();
      }
    };
    handle.addEventListener("pointermove", move);
    handle.addEventListener("pointerup", end);
    handle.addEventListener("pointercancel", end);
    drag.frame = requestAnimationFrame(scroll);
  }

  const drawUpNext = () => {
    const next = store.get("playnext");
    if (!Array.isArray(next) || next.length === 0) {
      fill(upNext);
      return;
    }
    patch(upNext, h("section", { class: "section" }, h("h2", {}, "Play next"), trackList(next, { scope, numbered: false, showAlbum: true, onPick: (t) => playItem(t.id, 0) })));
  };

  draw();
  drawUpNext();
  scope.on("queue", draw);
  scope.on("queueSupport", draw);
  scope.on("playnext", drawUpNext);
  scope.on("albums", draw);
  scope.add(() => drag && cancelAnimationFrame(drag.frame));
  // Until the player has pushed it, ask for the list of next tracks.
  if (!Array.isArray(store.get("playnext"))) api.library("playnext").catch(() => {});
}
