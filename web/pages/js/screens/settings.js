// Player settings: the audio output device and the MQA, upsampling and DSP
// switches; and this remote's pairing.
import { h, fill } from "../dom.js";
import { icon } from "../icons.js";
import * as store from "../store.js";
import { selectOutput, setSettingsValues } from "../commands.js";
import { toggle } from "../widgets.js";
import { currentSession } from "../api.js";

export const title = "Settings";

export function render(view, params, scope, app) {
  const output = h("section", { class: "panel", id: "settings-output" });
  const values = h("section", { class: "panel", id: "settings-values" });
  const remote = h("section", { class: "panel", id: "settings-remote" });
  fill(view, h("h1", { class: "screen-title" }, "Settings"), h("div", { class: "panels" }, output, values, remote));

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
