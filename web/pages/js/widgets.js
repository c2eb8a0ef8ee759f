// Pieces that several screens share: covers, album cards, track lists.
import { h, fill, patch } from "./dom.js";
import { icon } from "./icons.js";
import { artworkFor } from "./artwork.js";
import { clock } from "./format.js";
import { trackMenuButton } from "./menu.js";
import * as store from "./store.js";
import * as cmd from "./commands.js";

// A key that changes when an item's picture becomes known, so that views
// which redraw only on change notice a late cover.
export function coverKey(item, kind) {
  if (!item) return "";
  const src = artworkFor(item, kind);
  return `${item.id}|${src ? src.length : 0}`;
}

// A square cover; a drawn placeholder with the item's initial when the
// player has no picture for it.
export function cover(item, kind, className = "cover") {
  const src = artworkFor(item, kind);
  if (src) return h("img", { class: className, src, alt: "", loading: "lazy", decoding: "async" });
  const name = (item && (item.name || item.albumname)) || "";
  return h(
    "div",
    { class: `${className} cover-empty`, "aria-hidden": "true", style: `--hue:${hue(name)}` },
    name.trim().charAt(0).toUpperCase() || icon("disc"),
  );
}

function hue(text) {
  let sum = 0;
  for (const ch of text) sum = (sum * 31 + ch.charCodeAt(0)) % 360;
  return sum;
}

export function link(href, attrs, ...children) {
  return h("a", { href, ...attrs }, ...children);
}

// One card of a grid: a cover, a title and, when given, a second line.
export function card(href, attrs, coverNode, title, sub) {
  return link(
    href,
    attrs,
    coverNode,
    h("span", { class: "card-title" }, title),
    sub === undefined ? null : h("span", { class: "card-sub" }, sub),
  );
}

// One card of an album grid.
export function albumCard(album) {
  return card(`#/album/${encodeURIComponent(album.id)}`, { class: "card", dataset: { albumId: album.id, key: album.id } }, cover(album, "album"), album.name || "Untitled", album.artistname || "");
}

// Whether the player sent an item's own picture (or where to fetch it).
export function hasOwnCover(item) {
  const data = item.artworkdata;
  return Boolean(data && (data.imagedata || data.url));
}

export function grid(items, makeCard, emptyText) {
  if (!items || items.length === 0) return h("p", { class: "empty" }, emptyText);
  return h(
    "div",
    { class: "grid" },
    items.map((item) => {
      const made = makeCard(item);
      if (item && item.id !== undefined && !made.dataset.key) made.dataset.key = String(item.id);
      return made;
    }),
  );
}

// A list of tracks; `onPick(track, index)` plays one. Each row ends with the
// track's menu (`menu(track, index)` adds to what it is told, e.g. where a
// queue entry stands); `lead` and `extra` add controls before and after the
// row's main button. Rows are keyed by track id (and which repeat of it this
// is), so a redraw keeps the rows that stay. The current track is marked,
// and follows the player while the screen's scope lives.
export function trackList(tracks, { scope, onPick, showAlbum = false, numbered = true, lead, extra, menu } = {}) {
  const list = h("ol", { class: "tracks" });
  const seen = new Map();
  tracks.forEach((track, index) => {
    const repeat = seen.get(track.id) || 0;
    seen.set(track.id, repeat + 1);
    const play = () => onPick && onPick(track, index);
    list.append(
      h(
        "li",
        { class: "track", dataset: { trackId: track.id, key: `${track.id}#${repeat}` } },
        lead ? lead(track, index) : null,
        h(
          "button",
          { class: "track-main", type: "button", "data-needs-player": "", onclick: play },
          numbered ? h("span", { class: "track-no" }, String(index + 1)) : cover(track, "track", "thumb"),
          h(
            "span",
            { class: "track-text" },
            h("span", { class: "track-title" }, track.name || "Untitled"),
            h(
              "span",
              { class: "track-sub" },
              showAlbum ? [track.artistname, track.albumname].filter(Boolean).join(" · ") : track.artistname || "",
            ),
          ),
          h("span", { class: "track-time" }, clock(track.duration)),
        ),
        extra ? extra(track, index) : null,
        trackMenuButton(track, { play, ...(menu ? menu(track, index) : {}) }),
      ),
    );
  });
  markCurrent(list);
  // A redraw keeps the rows of the first list and drops this one: only a
  // list on the page is marked.
  if (scope) scope.on("playback", () => list.isConnected && markCurrent(list));
  return list;
}

// Marks the rows of the track the player is on; the position ticks every
// second, so the rows are only walked when the track changes.
export function markCurrent(list, force = false) {
  const current = store.get("playback", {}).trackid || "";
  if (!force && list.dataset.current === current) return;
  list.dataset.current = current;
  for (const row of list.querySelectorAll(".track")) row.classList.toggle("current", row.dataset.trackId === current);
}

export function backLink(href, text) {
  return link(href, { class: "back" }, icon("back"), text);
}

// A titled part of a screen.
export function section(name, content) {
  return h("section", { class: "section" }, h("h2", {}, name), content);
}

// Items as a row of named links to their screens, e.g. chips(playlists, "playlist").
export function chips(items, screen) {
  return h("ul", { class: "chips" }, items.map((item) => h("li", { dataset: { key: item.id } }, link(`#/${screen}/${encodeURIComponent(item.id)}`, { class: "chip" }, item.name))));
}

// A screen of one item under a link back to its list: `back` is
// [href, text], the rest as for follow(); what the player does not know (any
// more) is said in words, with the way back.
export function detailScreen(view, scope, [backHref, backText], key, options) {
  const body = h("div", {});
  fill(view, backLink(backHref, backText), body);
  follow(scope, body, key, { ...options, back: [backHref, `Back to ${backText.toLowerCase()}`] });
}

// "This album is no longer in the library", and a way back.
function goneNote(text, [href, label]) {
  return h("div", { class: "gone", role: "status" }, h("p", {}, text), link(href, { class: "secondary" }, icon("back"), label));
}

export function loading(text = "Loading…") {
  return h("p", { class: "empty loading" }, text);
}

// A labelled on/off switch.
export function toggle(label, checked, onChange, attrs = {}) {
  const input = h("input", {
    type: "checkbox",
    role: "switch",
    checked: !!checked,
    onchange: (e) => onChange(e.target.checked),
    ...attrs,
  });
  return h("label", { class: "switch" }, input, h("span", { class: "switch-track", "aria-hidden": "true" }), h("span", {}, label));
}

// Shows the view that the store keeps under `key` once it is there (and
// `matches` it), redrawing in place when it changes, after asking the player
// for it with `ask`. The answer may come in the reply or through the change
// feed; either lands in the store. `gone` = [list key, has(list)] tells from
// a list the player keeps whether the item still exists.
export function follow(scope, container, key, { matches = () => true, draw, ask, redrawOn = [], missing = "The player has nothing to show here.", back, gone }) {
  let drawn = false;
  let lost = false;
  const show = (value) => {
    if (lost || value === undefined || value === null || !matches(value)) return;
    if (drawn) patch(container, draw(value));
    else fill(container, draw(value));
    drawn = true;
  };
  // The item is gone for good when the player says so; a reply that did not
  // come only stands until the item does.
  const giveUp = (text) => {
    if (drawn && text !== missing) return;
    lost ||= text === missing;
    fill(container, back ? goneNote(text, back) : h("p", { class: "empty" }, text));
  };
  fill(container, loading());
  show(store.get(key));
  scope.on(key, show);
  for (const other of redrawOn) scope.on(other, () => show(store.get(key)));
  if (gone) {
    const [listKey, has] = gone;
    const check = () => {
      const list = store.get(listKey);
      if (Array.isArray(list) && !has(list)) giveUp(missing);
    };
    scope.on(listKey, check);
    check();
  }
  ask()
    .then(({ status }) => {
      if (status === 404) giveUp(missing);
      else if (status !== 200) giveUp("The player could not show this just now.");
      else setTimeout(() => !drawn && giveUp(missing), 6000);
    })
    .catch(() => giveUp("The player did not answer."));
}

// ---------------------------------------------------------------- seeking

// Makes a progress bar a slider that seeks: a tap or a drag (mouse, pen or
// finger) picks the place, arrow keys move by 5 s. The bar's own fill keeps
// showing the player's position; while a place is being picked a preview
// bar shows it instead, so a position pushed meanwhile does not pull it
// back. Without the player's queue routes it stays a plain progress bar.
// `preview(seconds | null)` hears the place being picked.
export function seekable(el, { preview = () => {}, scope } = {}) {
  if (el.dataset.seekable !== undefined) return;
  el.dataset.seekable = "";
  el.classList.add("seekable");
  const shade = h("span", { class: "seek-preview", "aria-hidden": "true" });
  el.append(shade);
  let picked = null;
  let pointer = null;
  let timer = 0;

  const total = () => Number(store.get("playback", {}).duration) || Number((cmd.currentTrack() || {}).duration) || 0;
  const elapsed = () => Math.min(Number(store.get("playback", {}).elapsed) || 0, total());
  const usable = () => cmd.canEditQueue() && total() > 0;
  const pick = (seconds) => {
    picked = Math.max(0, Math.min(total(), seconds));
    el.classList.add("seeking");
    shade.style.width = `${(100 * picked) / (total() || 1)}%`;
    preview(picked);
    describe();
  };
  const release = (commit) => {
    if (commit && picked !== null) cmd.seek(picked);
    picked = null;
    el.classList.remove("seeking");
    preview(null);
    describe();
  };
  const describe = () => {
    const on = cmd.canEditQueue();
    el.setAttribute("role", on ? "slider" : "progressbar");
    el.toggleAttribute("data-needs-player", on);
    el.classList.toggle("seek-off", !on);
    if (on) el.setAttribute("tabindex", "0");
    else el.removeAttribute("tabindex");
    const t = total();
    const at = picked ?? elapsed();
    el.setAttribute("aria-valuemin", "0");
    el.setAttribute("aria-valuemax", String(Math.round(t)));
    el.setAttribute("aria-valuenow", String(Math.round(at)));
    el.setAttribute("aria-valuetext", `${clock(at)} of ${clock(t)}`);
  };
  const place = (e) => {
    const box = el.getBoundingClientRect();
    return (Math.max(0, Math.min(1, (e.clientX - box.left) / (box.width || 1)))) * total();
  };

  el.addEventListener("pointerdown", (e) => {
    if (!usable() || (e.pointerType === "mouse" && e.button !== 0)) return;
    e.preventDefault();
    pointer = e.pointerId;
    el.setPointerCapture(pointer);
    pick(place(e));
  });
  el.addEventListener("pointermove", (e) => e.pointerId === pointer && pick(place(e)));
  el.addEventListener("pointerup", (e) => {
    if (e.pointerId !== pointer) return;
    pointer = null;
    release(true);
  });
  el.addEventListener("pointercancel", (e) => {
    if (e.pointerId !== pointer) return;
    pointer = null;
    release(false);
  });
  const steps = { ArrowRight: 5, ArrowUp: 5, ArrowLeft: -5, ArrowDown: -5, PageUp: 30, PageDown: -30 };
  el.addEventListener("keydown", (e) => {
    if (!usable()) return;
    const from = picked ?? elapsed();
    if (e.key in steps) pick(from + steps[e.key]);
    else if (e.key === "Home") pick(0);
    else if (e.key === "End") pick(total() - 1);
    else return;
    e.preventDefault();
    // A held key sends one seek when it stops, not one per repeat.
    clearTimeout(timer);
    timer = setTimeout(() => release(true), 350);
  });

  describe();
  const on = scope ? scope.on : store.on;
  on("playback", describe);
  on("queueSupport", describe);
}

// The player bar belongs to the app, which draws it before any screen. Until
// it makes its progress bar seekable itself, this does once it is drawn.
setTimeout(() => {
  const bar = document.querySelector("#mini .mini-progress");
  if (bar) seekable(bar);
}, 0);
