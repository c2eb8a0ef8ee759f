// The streaming account's stash and its downloads. The player pushes no
// download progress, so while this screen is open it asks for the downloads
// twice a second as long as one is running, and every few seconds otherwise
// (another remote may start one). Rows are kept by SKU and updated in place:
// a button is not replaced under a finger between two answers.
import { h, fill } from "../dom.js";
import { icon } from "../icons.js";
import { backLink, cover, link } from "../widgets.js";
import { clock, plural } from "../format.js";
import * as app from "../playerapp.js";

export const title = "Downloads";

// Nothing here comes from the library: a change of it need not draw the
// screen anew (what it shows is asked for again anyway).
export const keepOnLibraryChange = true;

const STATES = { idle: "Not downloaded", downloading: "Downloading", paused: "Paused", done: "Downloaded" };
// What each state allows, as the player moves a download between them.
const ACTIONS = {
  idle: ["start", "remove"],
  downloading: ["pause", "cancel"],
  paused: ["resume", "cancel"],
  done: ["library", "remove"],
};
const LABELS = { start: "Download", pause: "Pause", resume: "Resume", cancel: "Cancel", remove: "Remove", library: "Add to library" };
// How often the login and the whole stash are read again; in between only the
// downloads are, for their progress.
const WHOLE_EVERY = 4000;
let said = { text: "", tone: "", at: 0 };

export function render(view, params, scope) {
  const summary = h("p", { class: "detail-meta", id: "downloads-summary" });
  const message = h("p", { class: "app-message", id: "downloads-message", role: "status", "aria-live": "polite" });
  const notice = h("div", { id: "downloads-notice" }, h("p", { class: "empty loading" }, "Loading…"));
  const list = h("ul", { class: "stash", id: "stash-list" });
  fill(view, backLink("#/settings", "Settings"), h("h1", { class: "screen-title" }, "Downloads"), summary, message, notice, list);

  const rows = new Map();
  let user = null;
  let stashItems = null;
  let wholeAt = 0;
  const say = (text, tone = "") => {
    message.textContent = text;
    message.dataset.tone = tone;
    said = { text, tone, at: Date.now() };
  };
  // A download joining the library changes the library, and the app may then
  // draw the screen anew: what was just said stays a moment.
  if (Date.now() - said.at < 5000) say(said.text, said.tone);

  const poll = app.keepAsking(scope, async () => {
    if (Date.now() >= wholeAt) {
      wholeAt = Date.now() + WHOLE_EVERY;
      const who = await app.account();
      if (who.ok) user = who.user;
      // Without a login the player has no stash to list.
      const listed = user ? await app.stash() : null;
      stashItems = listed && listed.ok && Array.isArray(listed.data.items) ? listed.data.items : null;
      drawNotice(listed);
    }
    const running = await app.downloads();
    const items = merge(stashItems || [], running.ok && Array.isArray(running.data.downloads) ? running.data.downloads : null);
    draw(items);
    return items.some((item) => item.state === "downloading");
  });
  const again = () => {
    wholeAt = 0;
    poll.now();
  };

  function drawNotice(listed) {
    if (!user) {
      fill(notice, h("div", { class: "app-note" }, h("p", {}, "Log in to the streaming account to see its stash."), link("#/account", { class: "primary", id: "downloads-login" }, "Log in")));
    } else if (!listed || !listed.ok) {
      fill(notice, h("p", { class: "empty" }, "The player did not list the stash."));
    } else if (stashItems.length === 0) {
      fill(notice, h("p", { class: "empty" }, "The stash is empty."));
    } else {
      fill(notice);
    }
  }

  function draw(items) {
    const counts = {};
    for (const item of items) counts[item.state] = (counts[item.state] || 0) + 1;
    summary.textContent = [
      stashItems ? `${plural(stashItems.length, "item")} in the stash${user ? ` of ${user}` : ""}` : "",
      counts.downloading ? `${counts.downloading} downloading` : "",
      counts.paused ? `${counts.paused} paused` : "",
      counts.done ? `${counts.done} downloaded` : "",
    ].filter(Boolean).join(" · ");
    const keep = new Set(items.map((item) => item.sku));
    for (const [sku, row] of rows) {
      if (!keep.has(sku)) {
        row.node.remove();
        rows.delete(sku);
      }
    }
    items.forEach((item, index) => {
      let row = rows.get(item.sku);
      if (!row) rows.set(item.sku, (row = makeRow(item)));
      row.update(item);
      if (list.children[index] !== row.node) list.insertBefore(row.node, list.children[index] || null);
    });
  }

  function makeRow(first) {
    const sub = h("span", { class: "stash-sub" });
    const fillBar = h("div", { class: "progress-fill" });
    const bar = h("div", { class: "progress stash-progress", role: "progressbar", "aria-label": `Download of ${first.title}`, "aria-valuemin": "0", "aria-valuemax": "100" }, fillBar);
    const actions = h("div", { class: "app-actions stash-actions" });
    const tracks = h("ol", { class: "stash-tracks", hidden: true });
    const toggle = h("button", { class: "round stash-toggle", type: "button", "aria-label": `Tracks of ${first.title}`, "aria-expanded": "false", onclick: () => showTracks() }, icon("down"));
    const node = h(
      "li",
      { class: "stash-item", dataset: { sku: first.sku } },
      h(
        "div",
        { class: "stash-head" },
        cover({ id: first.mediaId, name: first.title }, "album", "thumb"),
        h("div", { class: "stash-text" }, h("span", { class: "stash-title" }, first.title || first.sku), sub),
        toggle,
      ),
      bar,
      actions,
      tracks,
    );
    let item = first;
    let drawnState = null;

    const act = async (action) => {
      for (const button of actions.querySelectorAll("button")) button.disabled = true;
      say("");
      try {
        const reply = action === "library" ? await app.addToLibrary(item.sku) : await app.downloadAction(action, item.sku);
        if (!reply.ok) say(`The player could not ${LABELS[action].toLowerCase()} “${item.title}”.`, "error");
        else if (action === "library") say(`“${item.title}” is in the library${reply.data.location ? `, in ${reply.data.location}` : ""}.`, "ok");
      } catch {
        say("The player did not answer.", "error");
      }
      drawnState = null;
      again();
    };

    async function showTracks() {
      const open = tracks.hidden;
      tracks.hidden = !open;
      toggle.setAttribute("aria-expanded", String(open));
      if (!open || tracks.childElementCount) return;
      const reply = await app.stashTracks(item.sku).catch(() => null);
      const list = reply && reply.ok && Array.isArray(reply.data.items) ? reply.data.items : [];
      fill(
        tracks,
        list.length
          ? list.map((t) => h("li", {}, h("span", { class: "track-title" }, t.title || t.id), h("span", { class: "track-time" }, clock(t.duration))))
          : h("li", { class: "empty small" }, "The player listed no tracks for this item."),
      );
    }

    return {
      node,
      update(next) {
        item = next;
        const percent = Math.max(0, Math.min(100, Math.round(Number(next.progress) || 0)));
        const state = STATES[next.state] ? next.state : "idle";
        node.dataset.state = state;
        const count = Number(next.trackCount);
        sub.textContent = [count > 0 ? plural(count, "track") : "", STATES[state] + (state === "downloading" || state === "paused" ? ` ${percent}%` : "")].filter(Boolean).join(" · ");
        bar.hidden = state === "idle";
        bar.setAttribute("aria-valuenow", String(percent));
        fillBar.style.width = `${state === "done" ? 100 : percent}%`;
        if (state !== drawnState) {
          drawnState = state;
          fill(actions, ACTIONS[state].map((action) => h("button", { class: action === "start" || action === "resume" ? "primary" : "secondary", type: "button", dataset: { action }, onclick: () => act(action) }, LABELS[action])));
        }
      },
    };
  }
}

// The stash in its order, each item in the state the download list gives
// it: that list is newer than the stash read last, and an item missing from
// it is not downloading. Downloads not in the stash (listed while logged out)
// come after. Without a download list the stash's own states stand.
function merge(stash, running) {
  const idle = { state: "idle", progress: 0 };
  const bySku = new Map((running || []).map((d) => [d.sku, d]));
  const items = stash.map((item) => ({ ...idle, ...item, ...(running ? bySku.get(item.sku) || idle : {}) }));
  const listed = new Set(stash.map((item) => item.sku));
  for (const d of running || []) if (d && d.sku && !listed.has(d.sku)) items.push(d);
  return items.filter((item) => item && item.sku);
}
