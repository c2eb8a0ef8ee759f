// The player application's own requests: its streaming account, the
// account's stash and downloads, scans of local files and the play history.
// None of this comes through the change feed: the player answers in the
// reply, and a download's or a scan's progress is known only by asking again.
// Each call resolves with { ok, status, data }, and rejects only when the
// player cannot be reached.
import { request } from "./api.js";
import * as store from "./store.js";

async function ask(path, params = {}) {
  const { status, data } = await request(path, params);
  return { ok: status === 200, status, data: data && typeof data === "object" ? data : {}, text: typeof data === "string" ? data : "" };
}

// ---------------------------------------------------------------- account

// The login routes take the name of the streaming service as "which"; the
// player names it in its login report, so it is learnt there, not assumed.
let service = "";

// Who is logged in: { user } ("" when nobody).
export async function account() {
  const reply = await ask("getLogin");
  if (reply.ok && typeof reply.data.service === "string") service = reply.data.service;
  return { ...reply, user: reply.ok ? String(reply.data.username || "") : "" };
}

// 200: logged in; 401: the service refused the name and password; 503: the
// player could not reach the streaming server.
export const login = (username, password) => ask("login", { username, password, which: service });
export const logout = () => ask("logout", { which: service });

// ---------------------------------------------------------------- stash and downloads

// The stash: { items: [{ sku, title, mediaId, trackCount, state, progress }] }.
// It fails while no one is logged in.
export const stash = () => ask("getStash");
// Every download under way, paused or done, with its progress (0..100).
export const downloads = () => ask("getDownloadStatus");
// The tracks a stash item brings: { items: [{ id, title, artist, duration }] }.
export const stashTracks = (sku) => ask("getItemsForSkuId", { sku });

// What can be done with a stash item, by route.
const DOWNLOAD_ACTIONS = {
  start: "startDownload",
  pause: "pauseDownload",
  resume: "resumeDownload",
  cancel: "cancelDownload",
  remove: "removeDownload",
};
export const downloadAction = (action, sku) => ask(DOWNLOAD_ACTIONS[action], { sku });
// A finished download joins the library; the reply names its folder.
export const addToLibrary = (sku) => ask("addToLibrary", { id: sku });

// ---------------------------------------------------------------- scanning

export const startScan = () => ask("scanLocalAudioFiles");
// { percentComplete, message }
export const scanProgress = () => ask("scanGetProgress");
export const cancelScan = () => ask("scanCancel");

// ---------------------------------------------------------------- history

// Most recent first: [{ trackid, title, artist, album, secondsBeforeLast }].
export async function history() {
  const reply = await ask("getHistory");
  return { ...reply, entries: Array.isArray(reply.data.history) ? reply.data.history : [] };
}

// ---------------------------------------------------------------- polling

// Calls `probe` for as long as the screen's scope lives, one call at a
// time: `fast` ms after a call that says something is moving (resolves
// truthy), `slow` ms after one that does not. now() asks at once, as after
// the user changed something.
const awayNow = () => (store.get("connection") || {}).state === "reconnecting";

export function keepAsking(scope, probe, { fast = 500, slow = 4000 } = {}) {
  let due = 0;
  let asking = false;
  let again = false;
  const tick = async () => {
    // While the player is away the connection banner retries for everyone.
    if (asking || Date.now() < due || awayNow()) return;
    asking = true;
    again = false;
    let moving = false;
    try {
      moving = await probe();
    } catch {
      // The player is out of reach; the connection banner says so.
    }
    asking = false;
    due = again ? 0 : Date.now() + (moving ? fast : slow);
  };
  scope.every(100, tick);
  tick();
  return {
    now() {
      // A question already out may have left before the change.
      again = asking;
      due = 0;
      tick();
    },
  };
}
