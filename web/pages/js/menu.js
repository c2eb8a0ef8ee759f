// The track menu (play now, play next, add to queue or to a playlist, go to
// the album or artist), small dialogs that ask before something is lost or
// for a name, and a short notice of what a command did.
//
// A menu lives outside the screen, at the end of the page: whatever the
// player pushes redraws the screen under it, never the menu. It closes when
// a choice is made, on Escape, a tap beside it, or leaving the screen.
import { h, patch } from "./dom.js";
import { icon } from "./icons.js";
import * as store from "./store.js";
import * as api from "./api.js";
import * as cmd from "./commands.js";

let open = null;

function closeMenu({ restoreFocus = true } = {}) {
  if (!open) return;
  const { layer, anchor, stop } = open;
  open = null;
  stop();
  layer.remove();
  if (anchor) anchor.setAttribute("aria-expanded", "false");
  if (restoreFocus && anchor && anchor.isConnected) anchor.focus({ preventScroll: true });
}

// Leaving the screen (the back button, a link) drops what was asked there.
window.addEventListener("hashchange", () => {
  closeMenu({ restoreFocus: false });
  for (const dialog of document.querySelectorAll("dialog.dialog[open]")) dialog.close("cancel");
});

// Opens a menu for `anchor` (the button that opens it) with a heading and
// entries { label, icon, run } (or { note }). Returns show(heading, entries,
// step), which puts other entries in place (the playlists to add to; a new
// step moves focus to its first entry, a redraw of the same one does not),
// and on(key, fn), which follows the store while the menu is open.
function openMenu(anchor, heading, entries) {
  closeMenu({ restoreFocus: false });
  const panel = h("div", { class: "menu", role: "menu", "aria-label": heading.title });
  const layer = h("div", { class: "menu-layer", onclick: (e) => e.target === layer && closeMenu() }, panel);
  const stops = [];
  open = { layer, anchor, stop: () => stops.forEach((s) => s()) };

  const show = (head, items, step = true) => {
    patch(
      panel,
      h("div", { class: "menu-head" }, h("span", { class: "menu-title" }, head.title), head.sub ? h("span", { class: "menu-sub" }, head.sub) : null),
      items.map((item) =>
        item.note
          ? h("p", { class: "menu-note" }, item.note)
          : h(
              "button",
              {
                type: "button",
                role: "menuitem",
                class: "menu-item",
                "data-needs-player": item.local ? false : "",
                onclick: () => item.run(),
              },
              icon(item.icon || "more"),
              h("span", {}, item.label),
            ),
      ),
    );
    const first = panel.querySelector("[role=menuitem]");
    if (step && first) first.focus({ preventScroll: true });
  };

  panel.addEventListener("keydown", (e) => {
    const items = [...panel.querySelectorAll("[role=menuitem]")];
    const at = items.indexOf(document.activeElement);
    const go = (i) => items.length && items[(i + items.length) % items.length].focus();
    if (e.key === "Escape") closeMenu();
    else if (e.key === "ArrowDown") go(at + 1);
    else if (e.key === "ArrowUp") go(at - 1);
    else if (e.key === "Home") go(0);
    else if (e.key === "End") go(-1);
    else if (e.key === "Tab") closeMenu();
    else return;
    e.preventDefault();
  });

  document.body.append(layer);
  if (anchor) anchor.setAttribute("aria-expanded", "true");
  place(layer, panel, anchor);
  show(heading, entries);
  return { show, on: (key, fn) => stops.push(store.on(key, fn)) };
}

// Beside the button on a wide screen; a sheet along the bottom on a phone
// (by the style sheet), where a finger reaches it.
function place(layer, panel, anchor) {
  if (window.innerWidth < 800 || !anchor) return;
  layer.classList.add("popover");
  const box = anchor.getBoundingClientRect();
  const width = 280;
  panel.style.left = `${Math.max(8, Math.min(window.innerWidth - width - 8, box.right - width))}px`;
  if (box.bottom + 340 < window.innerHeight || box.top < 340) panel.style.top = `${box.bottom + 4}px`;
  else panel.style.bottom = `${window.innerHeight - box.top + 4}px`;
}

// The menu of one track. `play` plays it as its row does (an album from
// there, a queue entry); `queueIndex` is where a queue row stands, which adds
// "remove from queue"; `playlist` ({ id, name }) the playlist it is shown in,
// which adds taking it out of there.
function openTrackMenu(anchor, track, { play, queueIndex, playlist } = {}) {
  const heading = { title: track.name || "Untitled", sub: [track.artistname, track.albumname].filter(Boolean).join(" · ") };
  const done = (text) => (reply) => {
    if (reply && reply.status === 200) notice(text);
    else notice("The player did not do that.", true);
  };
  const act = (fn) => () => {
    closeMenu();
    fn();
  };
  const entries = [{ label: "Play now", icon: "play", run: act(() => (play ? play() : cmd.playItem(track.id, 0))) }];
  if (cmd.canEditQueue()) {
    entries.push(
      { label: "Play next", icon: "playnext", run: act(() => cmd.playNext(track.id).then(done("Plays next"))) },
      { label: "Add to queue", icon: "addqueue", run: act(() => cmd.appendToQueue(track.id).then(done("Added to the queue"))) },
    );
  }
  entries.push({ label: "Add to playlist…", icon: "addlist", local: true, run: () => pickPlaylist(menu, heading, track, done) });
  if (cmd.canEditQueue() && queueIndex !== undefined) {
    entries.push({
      label: "Remove from queue",
      icon: "close",
      run: act(() => {
        const index = cmd.queueIndexOf(track.id, queueIndex);
        if (index >= 0) cmd.removeFromQueue(index).then(done("Removed from the queue"));
      }),
    });
  }
  if (playlist) {
    entries.push({
      label: `Remove from “${playlist.name}”`,
      icon: "trash",
      run: act(() => cmd.removeFromPlaylist(playlist.id, track.id).then(done(`Removed from “${playlist.name}”`))),
    });
  }
  // Not to the screen the menu was opened on.
  const here = (kind, id) => location.hash === `#/${kind}/${encodeURIComponent(id)}`;
  if (track.albumid && !here("album", track.albumid)) entries.push({ label: "Go to album", icon: "album", local: true, run: act(() => go(`#/album/${encodeURIComponent(track.albumid)}`)) });
  if (track.artistid && !here("artist", track.artistid)) entries.push({ label: "Go to artist", icon: "artist", local: true, run: act(() => go(`#/artist/${encodeURIComponent(track.artistid)}`)) });
  const menu = openMenu(anchor, heading, entries);
}

function go(hash) {
  location.hash = hash;
}

// The second step of "add to playlist": the player's playlists, and a new one.
function pickPlaylist(menu, heading, track, done) {
  const head = { title: "Add to playlist", sub: track.name };
  const draw = (step = true) => {
    const list = store.get("playlists");
    const entries = [{ label: "New playlist…", icon: "plus", run: () => newPlaylistWith(track, done) }];
    if (!Array.isArray(list)) entries.push({ note: "Loading the playlists…" });
    else if (list.length === 0) entries.push({ note: "No playlists yet." });
    else {
      for (const p of list) {
        entries.push({
          label: p.name || "Untitled",
          icon: "addlist",
          run: () => {
            closeMenu();
            cmd.addToPlaylist(p.id, track.id).then(done(`Added to “${p.name}”`));
          },
        });
      }
    }
    menu.show(head, entries, step);
  };
  draw();
  menu.on("playlists", () => draw(false));
  if (!Array.isArray(store.get("playlists"))) api.library("playlist", { index: 0, count: -1 }).catch(() => {});
}

async function newPlaylistWith(track, done) {
  closeMenu();
  const name = await ask({ title: "New playlist", input: { label: "Name", value: "" }, confirm: "Create" });
  if (!name) return;
  const made = await cmd.createPlaylist(name);
  if (!made) return notice("The player did not make the playlist.", true);
  cmd.addToPlaylist(made.id, track.id).then(done(`Added to “${made.name || name}”`));
}

// The button that opens a track's menu, for the end of a row.
export function trackMenuButton(track, options) {
  const button = h("button", {
    type: "button",
    class: "round track-more",
    "aria-haspopup": "menu",
    "aria-label": `More for ${track.name || "this track"}`,
    onclick: (e) => openTrackMenu(e.currentTarget, track, options),
  });
  button.append(icon("more"));
  return button;
}

// ---------------------------------------------------------------- dialogs

// Asks in a small dialog. With `input` it resolves with the text typed (or
// null when cancelled); without, with true or false.
export function ask({ title, text, confirm = "OK", danger = false, input }) {
  return new Promise((resolve) => {
    const field = input
      ? h("input", { type: "text", class: "dialog-input", value: input.value || "", "aria-label": input.label, placeholder: input.label, maxlength: "200", autocomplete: "off", required: true })
      : null;
    const dialog = h(
      "dialog",
      { class: "dialog", "aria-label": title },
      h(
        "form",
        { method: "dialog" },
        h("h2", {}, title),
        text ? h("p", {}, text) : null,
        field,
        h(
          "div",
          { class: "dialog-buttons" },
          h("button", { type: "button", class: "secondary", value: "cancel", onclick: () => dialog.close("cancel") }, "Cancel"),
          h("button", { type: "submit", class: danger ? "primary danger" : "primary", value: "ok" }, confirm),
        ),
      ),
    );
    dialog.addEventListener("close", () => {
      dialog.remove();
      if (dialog.returnValue !== "ok") resolve(input ? null : false);
      else resolve(input ? field.value.trim() || null : true);
    });
    document.body.append(dialog);
    dialog.showModal();
    if (field) {
      field.focus();
      field.select();
    }
  });
}

// ---------------------------------------------------------------- notices

let noticeTimer = 0;

export function notice(text, failed = false) {
  let box = document.getElementById("notice");
  if (!box) {
    box = h("div", { id: "notice", class: "notice", role: "status", "aria-live": "polite" });
    document.body.append(box);
  }
  box.textContent = text;
  box.classList.toggle("failed", failed);
  box.classList.add("shown");
  clearTimeout(noticeTimer);
  noticeTimer = setTimeout(() => box.classList.remove("shown"), 2500);
}
