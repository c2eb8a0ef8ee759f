// Player settings: links to the player application's own screens (account,
// downloads, scan, history), the audio output device and the MQA, upsampling
// and DSP switches; and this remote's pairing.
import { h, fill } from "../dom.js";
import { icon } from "../icons.js";
import * as store from "../store.js";
import { selectOutput, setSettingsValues } from "../commands.js";
import { toggle } from "../widgets.js";
import { currentSession } from "../api.js";
import { account } from "../playerapp.js";

// The player application's screens, each a row leading to it.
const PLAYER_APP = [
  { path: "account", name: "Account", about: "Log in to the streaming service, or out" },
  { path: "downloads", name: "Downloads", about: "The account's stash and its downloads" },
  { path: "scan", name: "Local scan", about: "Look for new music in the player's folders" },
  { path: "history", name: "History", about: "What played lately" },
];

export const title = "Settings";

export function render(view, params, scope, app) {
  const output = h("section", { class: "panel", id: "settings-output" });
  const values = h("section", { class: "panel", id: "settings-values" });
  const remote = h("section", { class: "panel", id: "settings-remote" });
  const links = PLAYER_APP.map((entry) => {
    const about = h("span", { class: "app-link-sub" }, entry.about);
    const row = h("a", { class: "app-link", href: `#/${entry.path}`, id: `settings-${entry.path}` }, h("span", { class: "app-link-text" }, h("span", { class: "app-link-title" }, entry.name), about), icon("back"));
    return { row, about };
  });
  fill(
    view,
    h("h1", { class: "screen-title" }, "Settings"),
    h("nav", { class: "app-links", "aria-label": "Player application" }, links.map((l) => l.row)),
    h("div", { class: "panels" }, output, values, remote),
  );
  // Who is logged in, under the account's row.
  account()
    .then((reply) => {
      if (reply.ok) links[0].about.textContent = reply.user ? `Logged in as ${reply.user}` : "Not logged in";
    })
    .catch(() => {});

  const draw = () => {
    const settings = store.get("settings") || {};
    const devices = settings.outputdevices || {};
    const list = Array.isArray(devices.list) ? devices.list : [];
    fill(
      output,
      h("header", { class: "panel-head" }, h("h2", {}, "Output device")),
      list.length
        ? h(
            "div",
            { class: "options", role: "radiogroup", "aria-label": "Output device" },
            list.map((name) =>
              h(
                "label",
                { class: "option" },
                h("input", { type: "radio", name: "output", value: name, checked: name === devices.current, onchange: () => selectOutput(name) }),
                icon("speaker"),
                h("span", {}, name),
              ),
            ),
          )
        : h("p", { class: "empty small" }, "Waiting for the player's devices…"),
    );

    const v = settings.values || null;
    const change = (key) => (on) => setSettingsValues({ ...(store.get("settings") || {}).values, [key]: on });
    fill(
      values,
      h("header", { class: "panel-head" }, h("h2", {}, "Playback")),
      v
        ? h(
            "div",
            { class: "switches" },
            toggle("MQA decoding", v.mqa === true, change("mqa"), { id: "set-mqa" }),
            toggle("Upsampling", v.upsample === true, change("upsample"), { id: "set-upsample" }),
            toggle("DSP", v.dsp === true, change("dsp"), { id: "set-dsp" }),
          )
        : h("p", { class: "empty small" }, "Waiting for the player's settings…"),
    );
  };

  const drawRemote = () => {
    const host = store.get("host") || {};
    const me = currentSession();
    fill(
      remote,
      h("header", { class: "panel-head" }, h("h2", {}, "This remote")),
      h(
        "dl",
        { class: "facts" },
        h("dt", {}, "Player"),
        h("dd", {}, [host.product, host.name].filter(Boolean).join(" on ") || "—"),
        h("dt", {}, "Remote name"),
        h("dd", {}, me.name),
        h("dt", {}, "Pairing code"),
        h("dd", {}, String(me.code)),
        h("dt", {}, "Address"),
        h("dd", {}, location.origin),
      ),
      h("button", { type: "button", class: "secondary", onclick: () => app.forget() }, "Forget this player"),
    );
  };

  draw();
  drawRemote();
  scope.on("settings", draw);
  scope.on("host", drawRemote);
}
