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

// ---------------------------------------------------------------- the queue

// Whether the player edits its queue for remotes (seek, append, play next,
// remove, clear): true, false, or undefined until asked. A player whose library
// predates these routes answers some other error, which means no as well.
export function canEditQueue() {
  return store.get("queueSupport") === true;
}

async function probeQueue() {
  try {
    const { status } = await request("queue");
    store.set("queueSupport", status === 200);
  } catch {
    // Unreachable: the feed says so, and the next pairing asks again.
  }
}

// The index of a queue entry the person picked at `hint`, in the queue as it
// is now: another remote may have changed it since the row was drawn. -1
// when that track has left the queue.
export function queueIndexOf(trackId, hint) {
  const queue = store.get("queue") || [];
  if (queue[hint] && queue[hint].id === trackId) return hint;
  let best = -1;
  queue.forEach((t, i) => {
    if (t && t.id === trackId && (best < 0 || Math.abs(i - hint) < Math.abs(best - hint))) best = i;
  });
  return best;
}

export function seek(seconds) {
  const position = Math.max(0, Number(seconds) || 0);
  // The bar stays where it was let go until the player's own position comes.
  store.patch("playback", { elapsed: position });
  return send("queue/seek", { position: position.toFixed(1) });
}

export const appendToQueue = (trackId) => send("queue/append", { itemid: trackId });
export const removeFromQueue = (index) => send("queue/remove", { index });
export const clearQueue = () => send("queue/clear");

// The player itself puts the track after the current one, so one that is
// queued already (or is playing) needs no care here.
export const playNext = (trackId) => send("queue/next", { itemid: trackId });

// ---------------------------------------------------------------- playlists

export const addToPlaylist = (playlistId, itemId) => send("addItemToPlaylist", { playlistUuid: playlistId, itemUuid: itemId });
export const removeFromPlaylist = (playlistId, trackId) => send("removeItemFromPlaylist", { playlistUuid: playlistId, itemUuid: trackId });

// Resolves with the new playlist (id and name), or null when the player
// refused. The list of playlists learns it at once, so that its screen can
// open before the player's own list comes through the feed.
export async function createPlaylist(name) {
  const { status, data } = await send("createPlaylist", { name });
  const made = status === 200 && Array.isArray(data) ? data[0] : null;
  if (!made || !made.id) return null;
  const list = store.get("playlists");
  if (Array.isArray(list) && !list.some((p) => p.id === made.id)) store.set("playlists", [...list, made]);
  return made;
}

// "info" goes along empty (which keeps it) because the player reads the name
// only as the third key.
export const renamePlaylist = (id, name) => send("library/setPlaylistInfo", { id, info: "", name });
export const deletePlaylist = (id) => send("deletePlaylist", { uuid: id });

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

// The player sets the stage on or off with the preset: a stage that is off
// stays off, with the preset ready for when it is switched on.
export function selectPreset(stage, preset) {
  const enabled = (store.get(stage.key) || {}).enabled === true;
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
  const asks = [send("playback/getplayerstate"), refreshQueue(), probeQueue()];
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
