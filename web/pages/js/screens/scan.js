// A scan of the player's local music folders: start it, watch it, cancel it,
// read its outcome. The player pushes no scan progress and does not say
// whether a scan runs, only how far the last one got and what it is doing; so
// while this screen is open it asks, and takes a scan for running while that
// answer moves (or while one it started has not finished). When it stops,
// the last answer is the outcome.
import { h, fill } from "../dom.js";
import { backLink } from "../widgets.js";
import * as app from "../playerapp.js";

export const title = "Local scan";

// Nothing here comes from the library: a change of it need not draw the
// screen anew (what it shows is asked for again anyway).
export const keepOnLibraryChange = true;

// Answers in a row that did not move before a scan is taken for stopped:
// about 10 s of polling.
const STALLED_AFTER = 20;
// What is known of the scan: the last answer, how many in a row were the
// same, whether it runs. It outlives the screen: one drawn anew (coming
// back to it, or the app redrawing it as the library changes) goes on from
// there instead of taking a moving scan for a stopped one. `round` is bumped when a scan is started or
// cancelled from here: an answer asked for before that is older than what is
// known. What is older than a few seconds (a player that went away and came
// back, say) is forgotten.
const watch = { last: null, still: 0, active: false, round: 0, at: 0 };

export function render(view, params, scope) {
  const fillBar = h("div", { class: "progress-fill" });
  const bar = h("div", { class: "progress scan-bar", id: "scan-progress", role: "progressbar", "aria-label": "Scan progress", "aria-valuemin": "0", "aria-valuemax": "100" }, fillBar);
  const percent = h("span", { class: "scan-percent", id: "scan-percent" }, "–");
  const state = h("span", { class: "scan-state", id: "scan-state" }, "Asking the player…");
  const message = h("p", { class: "scan-message", id: "scan-message" });
  const start = h("button", { class: "primary", type: "button", id: "scan-start", onclick: begin }, "Scan now");
  const cancel = h("button", { class: "secondary", type: "button", id: "scan-cancel", hidden: true, onclick: stop }, "Cancel scan");
  const note = h("p", { class: "app-message", id: "scan-note", role: "status", "aria-live": "polite" });
  fill(
    view,
    backLink("#/settings", "Settings"),
    h("h1", { class: "screen-title" }, "Local scan"),
    h(
      "section",
      { class: "panel app-panel" },
      h("header", { class: "panel-head" }, h("h2", {}, "Music folders"), state),
      h("p", { class: "panel-sub" }, "The player looks through its music folders for new, changed and removed files."),
      h("div", { class: "scan-meter" }, bar, percent),
      message,
      h("div", { class: "app-actions" }, start, cancel),
      note,
    ),
  );

  let asked = 0;
  if (Date.now() - watch.at > 5000) Object.assign(watch, { last: null, still: 0, active: false });
  const settle = (running) => Object.assign(watch, { round: watch.round + 1, active: running, last: null, still: 0 });

  const poll = app.keepAsking(scope, async () => {
    const mine = watch.round;
    const reply = await app.scanProgress();
    asked += 1;
    if (mine !== watch.round) return true;
    if (!reply.ok) {
      state.textContent = "Unknown";
      message.textContent = "The player did not report the scan.";
      return false;
    }
    const done = Math.max(0, Math.min(100, Number(reply.data.percentComplete) || 0));
    const text = String(reply.data.message || "");
    const key = `${done}|${text}`;
    if (watch.last !== null && key !== watch.last) {
      watch.active = true;
      watch.still = 0;
    } else if (++watch.still >= STALLED_AFTER) {
      watch.active = false;
    }
    watch.last = key;
    watch.at = Date.now();
    if (done >= 100) watch.active = false;
    show(done, text);
    // The first answers come quickly, to notice a scan that runs already.
    return watch.active || asked < 3;
  });

  function show(done, text) {
    const { active } = watch;
    bar.setAttribute("aria-valuenow", String(Math.floor(done)));
    fillBar.style.width = `${done}%`;
    percent.textContent = `${Math.floor(done)}%`;
    const finished = done >= 100;
    state.textContent = active ? "Scanning" : finished ? "Complete" : text ? "Stopped" : "Idle";
    state.dataset.state = active ? "running" : finished ? "done" : "idle";
    message.textContent = text || (finished ? "The last scan is complete." : "No scan has run since the player started.");
    start.disabled = active;
    cancel.hidden = !active;
  }

  async function begin() {
    start.disabled = true;
    note.textContent = "";
    try {
      const reply = await app.startScan();
      if (reply.ok) settle(true);
      else note.textContent = `The player could not start a scan (${reply.status}).`;
    } catch {
      note.textContent = "The player did not answer.";
    }
    poll.now();
  }

  async function stop() {
    cancel.disabled = true;
    try {
      const reply = await app.cancelScan();
      if (reply.ok) settle(false);
      note.textContent = reply.ok ? "Scan cancelled." : "The player had no scan to cancel.";
    } catch {
      note.textContent = "The player did not answer.";
    }
    cancel.disabled = false;
    poll.now();
  }
}
