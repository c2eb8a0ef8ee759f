// What the remote asks the player to do. Each command goes out at once; the
// player's answer comes back through the change feed, so nothing here changes
// the store except where waiting for the round trip would make a control feel
// stuck (the volume slider).
import { send, request } from "./api.js";
import * as store from "./store.js";

// The player's transport states.
export const STOPPED = 0;
export const PLAYING = 1;
export const PAUSED = 2;

// Play modes, in the order the mode button steps through them.
export const MODES = [
  { code: 0, name: "In order", icon: "inorder" },
  { code: 1, name: "Repeat all", icon: "repeat" },
  { code: 2, name: "Repeat one", icon: "repeatone" },
  { code: 3, name: "Shuffle", icon: "shuffle" },
];

export function modeOf(code) {
  return MODES.find((m) => m.code === Number(code)) || MODES[0];
}

export function isPlaying() {
  return Number(store.get("playback", {}).state) === PLAYING;
}

// Plays a collection (album, playlist, mood) from the track at `index`, or
// jumps to a track of the queue.
export function playItem(itemId, index = 0) {
  return send("playback/play", { itemid: itemId, item: index });
}

export function togglePlay() {
  const playback = store.get("playback", {});
  if (Number(playback.state) === PLAYING) return send("playback/pause", { itemid: playback.trackid || "" });
  // An empty item with index -1 resumes whatever is queued.
  return send("playback/play", { itemid: "", item: -1 });
}

export const next = () => send("playback/next");
export const previous = () => send("playback/previous");

export function setVolume(level) {
  const volume = Math.max(0, Math.min(100, Math.round(level)));
  store.patch("playback", { volume });
  return send("playback", { volume });
}

export function toggleMute() {
  const muted = store.get("playback", {}).mute === true;
  return send("playback", { mute: muted ? "false" : "true" });
}

export function cycleMode() {
  const current = modeOf(store.get("playback", {}).mode);
  const following = MODES[(MODES.indexOf(current) + 1) % MODES.length];
  return send("playback/mode", { mode: following.code });
}

// Moves a queue entry; the token goes along as the third key, which the
// player needs before it takes the track id.
export function moveTrack(trackId, position) {
  return send("playback/move", { trackid: trackId, position });
}

// The four sound stages: route word, set-preset route, and label.
export const STAGES = [
  { key: "equalizer", setRoute: "setEQ", name: "Equalizer" },
  { key: "ooyh", setRoute: "setHP", name: "Headphones" },
  { key: "ac", setRoute: "setAC", name: "AC" },
  { key: "irc", setRoute: "setIRC", name: "IRC" },
];

export function setStageEnabled(stage, enabled) {
  return send(stage.key, { enable: enabled ? "true" : "false" });
}

export function selectPreset(stage, preset, enabled = true) {
  return send(stage.setRoute, { enable: enabled ? "1" : "0", preset: preset.id });
}

export function setIrcGain(gain) {
  return send("irc", { gain: Math.round(gain) });
}

export function selectOutput(name) {
  return send("settings/output", { name });
}

export function setSettingsValues({ mqa, upsample, dsp }) {
  return send("settings/values", { mqa: mqa ? 1 : 0, upsample: upsample ? 1 : 0, dsp: dsp ? 1 : 0 });
}

// Asks the player to push everything the remote shows; it comes back
// through the feed.
export async function refreshAll() {
  const asks = [send("playback/getplayerstate"), refreshQueue()];
  for (const stage of STAGES) {
    asks.push(send(`${stage.key}/state`), send(`${stage.key}/list`), send(`${stage.key}/getpreset`));
  }
  asks.push(send("irc/gain"), send("settings/output"), send("settings/values"));
  await Promise.all(asks);
}

// The queue reaches the feed only when the player pushes it; until it has,
// ask for it, once at a time. The answer (without pictures) must not replace
// a pushed one.
let queueAsked = null;
export function refreshQueue() {
  if (Array.isArray(store.get("queue"))) return Promise.resolve();
  queueAsked ||= request("getNowPlaying")
    .then(({ status, data }) => {
      if (status === 200 && Array.isArray(data) && !Array.isArray(store.get("queue"))) store.set("queue", data);
    })
    .catch(() => {
      // The feed notices a player that went away.
    })
    .finally(() => (queueAsked = null));
  return queueAsked;
}

// The track the player is on, kept by the API layer as the feed moves.
export function currentTrack() {
  return store.get("track") || null;
}
