// Now playing: the cover, what plays, where it is (a bar that seeks), and
// every transport control. The elements stay put and are updated in place,
// so a slider being dragged is not redrawn under the finger.
import { h, fill } from "../dom.js";
import { icon } from "../icons.js";
import { clock, quality } from "../format.js";
import { cover, coverKey, seekable } from "../widgets.js";
import * as store from "../store.js";
import * as cmd from "../commands.js";

export const title = "Now playing";

export function render(view, params, scope) {
  const art = h("div", { class: "np-art" });
  const name = h("h1", { class: "np-title", id: "np-title" });
  const artist = h("a", { class: "np-artist", id: "np-artist" });
  const album = h("a", { class: "np-album", id: "np-album" });
  const detail = h("p", { class: "np-quality", id: "np-quality" });
  const fillBar = h("div", { class: "progress-fill" });
  const progress = h("div", { class: "progress", id: "np-progress" }, fillBar);
  const bar = h("div", { class: "seek", id: "np-seek", "aria-label": "Position" }, progress);
  const elapsed = h("span", { id: "np-elapsed" }, "0:00");
  // While a place is picked, the time under the bar is that place's.
  let picking = false;
  const preview = (seconds) => {
    picking = seconds !== null;
    if (picking) elapsed.textContent = clock(seconds);
    else drawPlayback();
  };
  const duration = h("span", { id: "np-duration" }, "0:00");
  const playButton = h("button", { class: "round big", type: "button", id: "np-play", "data-needs-player": "", onclick: cmd.togglePlay });
  const modeButton = h("button", { class: "round", type: "button", id: "np-mode", "data-needs-player": "", onclick: cmd.cycleMode });
  const muteButton = h("button", { class: "round", type: "button", id: "np-mute", "data-needs-player": "", onclick: cmd.toggleMute });
  const volumeValue = h("output", { id: "np-volume-value", for: "np-volume" }, "0");
  const slider = h("input", {
    type: "range",
    id: "np-volume",
    min: "0",
    max: "100",
    step: "1",
    "aria-label": "Volume",
    "data-needs-player": "",
    oninput: (e) => (volumeValue.textContent = e.target.value),
    onchange: (e) => cmd.setVolume(Number(e.target.value)),
  });
  const step = (delta) => () => cmd.setVolume(Number(store.get("playback", {}).volume || 0) + delta);

  fill(
    view,
    h(
      "div",
      { class: "np" },
      art,
      h(
        "div",
        { class: "np-info" },
        name,
        h("p", { class: "np-sub" }, artist, h("span", { class: "dot", "aria-hidden": "true" }, " · "), album),
        detail,
        h("div", { class: "np-progress" }, bar, h("div", { class: "np-times" }, elapsed, duration)),
        h(
          "div",
          { class: "transport" },
          modeButton,
          h("button", { class: "round", type: "button", id: "np-previous", "data-needs-player": "", "aria-label": "Previous", onclick: cmd.previous }, icon("previous")),
          playButton,
          h("button", { class: "round", type: "button", id: "np-next", "data-needs-player": "", "aria-label": "Next", onclick: cmd.next }, icon("next")),
          muteButton,
        ),
        h(
          "div",
          { class: "volume" },
          h("button", { class: "round small", type: "button", id: "np-volume-down", "data-needs-player": "", "aria-label": "Volume down", onclick: step(-5) }, icon("minus")),
          slider,
          h("button", { class: "round small", type: "button", id: "np-volume-up", "data-needs-player": "", "aria-label": "Volume up", onclick: step(5) }, icon("plus")),
          volumeValue,
        ),
      ),
    ),
  );

  let shownTrack = null;
  const drawTrack = () => {
    const track = cmd.currentTrack();
    const key = coverKey(track, "track");
    if (key === shownTrack && art.firstChild) return;
    shownTrack = key;
    fill(art, cover(track || { name: "" }, "track", "cover np-cover"));
    name.textContent = track ? track.name || "Untitled" : "Nothing playing";
    artist.textContent = track ? track.artistname || "" : "Pick an album in the library";
    artist.href = track && track.artistid ? `#/artist/${encodeURIComponent(track.artistid)}` : "#/library";
    album.textContent = track ? track.albumname || "" : "";
    album.href = track && track.albumid ? `#/album/${encodeURIComponent(track.albumid)}` : "#/library";
    album.previousSibling.hidden = !(track && track.albumname);
    detail.textContent = quality(track);
  };

  const drawPlayback = () => {
    const p = store.get("playback", {});
    const playing = Number(p.state) === cmd.PLAYING;
    const total = Number(p.duration) || (cmd.currentTrack() || {}).duration || 0;
    const at = Math.min(Number(p.elapsed) || 0, total || Infinity);
    fillBar.style.width = total > 0 ? `${(100 * at) / total}%` : "0%";
    progress.dataset.elapsed = String(at);
    if (!picking) elapsed.textContent = clock(at);
    duration.textContent = clock(total);
    fill(playButton, icon(playing ? "pause" : "play"));
    playButton.setAttribute("aria-label", playing ? "Pause" : "Play");
    const mode = cmd.modeOf(p.mode);
    fill(modeButton, icon(mode.icon));
    modeButton.setAttribute("aria-label", `Play mode: ${mode.name}`);
    modeButton.title = mode.name;
    modeButton.classList.toggle("active", mode.code !== 0);
    const muted = p.mute === true;
    fill(muteButton, icon(muted ? "mute" : "volume"));
    muteButton.setAttribute("aria-label", muted ? "Unmute" : "Mute");
    muteButton.setAttribute("aria-pressed", String(muted));
    if (document.activeElement !== slider && p.volume !== undefined) {
      slider.value = String(p.volume);
      volumeValue.textContent = String(p.volume);
    }
    drawTrack();
  };

  drawPlayback();
  seekable(bar, { scope, preview });
  scope.on("playback", drawPlayback);
  scope.on("track", drawTrack);
  // Covers may arrive after the track, with an album list.
  scope.on("albums", () => {
    shownTrack = null;
    drawTrack();
  });
}
