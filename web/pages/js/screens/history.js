// What the player played lately, most recent first; a track plays again from
// there. The player records a track as it starts and does not push the
// history, so the list is read again whenever the feed says the player moved
// to another track.
import { h, fill } from "../dom.js";
import { backLink, cover, loading } from "../widgets.js";
import { plural } from "../format.js";
import { playItem } from "../commands.js";
import { trackMenuButton } from "../menu.js";
import * as store from "../store.js";
import * as app from "../playerapp.js";

export const title = "History";

// Nothing here comes from the library: a change of it need not draw the
// screen anew (what it shows is asked for again anyway).
export const keepOnLibraryChange = true;

export function render(view, params, scope) {
  const meta = h("p", { class: "detail-meta", id: "history-meta" });
  const body = h("div", { id: "history-list" }, loading());
  fill(view, backLink("#/settings", "Settings"), h("h1", { class: "screen-title" }, "History"), meta, body);

  let asked = 0;
  let shown = null;
  const load = async () => {
    const mine = ++asked;
    let reply = null;
    try {
      reply = await app.history();
    } catch {
      // Said below.
    }
    if (mine !== asked) return;
    if (!reply || !reply.ok) {
      fill(body, h("p", { class: "empty" }, reply ? "The player did not report its history." : "The player did not answer."));
      return;
    }
    draw((shown = reply.entries));
  };

  const draw = (entries) => {
    meta.textContent = entries.length ? `${plural(entries.length, "track")}, most recent first` : "";
    if (entries.length === 0) {
      fill(body, h("p", { class: "empty" }, "Nothing has played yet. What plays from now on shows up here."));
      return;
    }
    const albums = store.get("albums") || [];
    fill(
      body,
      h(
        "ol",
        { class: "tracks history" },
        entries.map((entry, index) => {
          const album = albums.find((a) => a.name === entry.album);
          return h(
            "li",
            { class: "track", dataset: { trackId: entry.trackid } },
            h(
              "button",
              { class: "track-main", type: "button", "aria-label": `Play ${entry.title}`, onclick: () => playItem(entry.trackid, 0) },
              cover(album || { name: entry.album || entry.title }, "album", "thumb"),
              h(
                "span",
                { class: "track-text" },
                h("span", { class: "track-title" }, entry.title || entry.trackid),
                h("span", { class: "track-sub" }, [entry.artist, entry.album].filter(Boolean).join(" · ")),
              ),
              h("span", { class: "track-time" }, index === 0 ? "latest" : earlier(entry.secondsBeforeLast)),
            ),
            trackMenuButton({
              id: entry.trackid,
              name: entry.title,
              artistname: entry.artist,
              albumname: entry.album,
              albumid: album && album.id,
              artistid: album && album.artistid,
            }),
          );
        }),
      ),
    );
    mark();
  };

  // The track playing now is marked, as in the other track lists.
  const mark = () => {
    const current = store.get("playback", {}).trackid;
    for (const row of body.querySelectorAll(".track")) row.classList.toggle("current", row.dataset.trackId === current);
  };

  let playing = store.get("playback", {}).trackid;
  scope.on("playback", (playback) => {
    mark();
    if (playback && playback.trackid && playback.trackid !== playing) load();
    playing = playback && playback.trackid;
  });
  // Covers come with the album list, which may arrive after the history.
  scope.on("albums", () => shown && draw(shown));
  load();
}

// How long before the latest entry one started: "3 min earlier".
function earlier(seconds) {
  const s = Number(seconds);
  if (!Number.isFinite(s) || s < 60) return "<1 min earlier";
  const minutes = Math.round(s / 60);
  if (minutes < 60) return `${minutes} min earlier`;
  const hours = Math.round(minutes / 60);
  return hours < 48 ? `${hours} h earlier` : `${Math.round(hours / 24)} days earlier`;
}
