// Pieces that several screens share: covers, album cards, track lists.
import { h, fill } from "./dom.js";
import { icon } from "./icons.js";
import { artworkFor } from "./artwork.js";
import { clock } from "./format.js";
import * as store from "./store.js";

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
  return card(`#/album/${encodeURIComponent(album.id)}`, { class: "card", dataset: { albumId: album.id } }, cover(album, "album"), album.name || "Untitled", album.artistname || "");
}

// Whether the player sent an item's own picture (or where to fetch it).
export function hasOwnCover(item) {
  const data = item.artworkdata;
  return Boolean(data && (data.imagedata || data.url));
}

export function grid(items, makeCard, emptyText) {
  if (!items || items.length === 0) return h("p", { class: "empty" }, emptyText);
  return h("div", { class: "grid" }, items.map(makeCard));
}

// A list of tracks; `onPick(track, index)` plays one. The current track is
// marked, and follows the player while the screen's scope lives.
export function trackList(tracks, { scope, onPick, showAlbum = false, numbered = true, extra } = {}) {
  const list = h("ol", { class: "tracks" });
  tracks.forEach((track, index) => {
    list.append(
      h(
        "li",
        { class: "track", dataset: { trackId: track.id } },
        h(
          "button",
          { class: "track-main", type: "button", onclick: () => onPick && onPick(track, index) },
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
      ),
    );
  });
  const mark = () => {
    const current = store.get("playback", {}).trackid;
    for (const row of list.children) row.classList.toggle("current", row.dataset.trackId === current);
  };
  mark();
  if (scope) scope.on("playback", mark);
  return list;
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
  return h("ul", { class: "chips" }, items.map((item) => h("li", {}, link(`#/${screen}/${encodeURIComponent(item.id)}`, { class: "chip" }, item.name))));
}

// A screen of one item under a link back to its list: `back` is
// [href, text], the rest as for follow().
export function detailScreen(view, scope, [backHref, backText], key, options) {
  const body = h("div", {});
  fill(view, backLink(backHref, backText), body);
  follow(scope, body, key, options);
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
// `matches` it), redrawing when it changes, after asking the player for it
// with `ask`. The answer may come in the reply or through the change feed;
// either lands in the store.
export function follow(scope, container, key, { matches = () => true, draw, ask, redrawOn = [], missing = "The player has nothing to show here." }) {
  let drawn = false;
  const show = (value) => {
    if (value === undefined || value === null || !matches(value)) return;
    drawn = true;
    fill(container, draw(value));
  };
  fill(container, loading());
  show(store.get(key));
  scope.on(key, show);
  for (const other of redrawOn) scope.on(other, () => show(store.get(key)));
  const giveUp = (text) => {
    if (!drawn) fill(container, h("p", { class: "empty" }, text));
  };
  ask()
    .then(({ status, data }) => {
      if (status !== 200) giveUp(typeof data === "string" && data ? data : missing);
      else setTimeout(() => giveUp(missing), 6000);
    })
    .catch(() => giveUp("The player did not answer."));
}
