// The four sound stages: each can be switched on or off and has presets; the
// equalizer shows its bands, the IRC stage has a gain.
import { h, fill } from "../dom.js";
import * as store from "../store.js";
import { STAGES, setStageEnabled, selectPreset, setIrcGain } from "../commands.js";
import { toggle } from "../widgets.js";
import { send } from "../api.js";

export const title = "Sound";

export function render(view, params, scope) {
  const cards = STAGES.map((stage) => {
    const card = h("section", { class: "panel stage", id: `stage-${stage.key}` });
    const draw = () => fill(card, stageContent(stage, store.get(stage.key) || {}));
    draw();
    scope.on(stage.key, draw);
    return card;
  });
  fill(view, h("h1", { class: "screen-title" }, "Sound"), h("div", { class: "panels" }, cards));
  // Ask again, in case the status poll delivered the stages before this screen.
  for (const stage of STAGES) {
    send(`${stage.key}/state`);
    send(`${stage.key}/list`);
    send(`${stage.key}/getpreset`);
  }
  send("irc/gain");
}

function presetId(preset) {
  return preset && typeof preset === "object" ? preset.id : undefined;
}

function stageContent(stage, doc) {
  const enabled = doc.enabled === true;
  const current = doc.preset && typeof doc.preset === "object" ? doc.preset : null;
  const list = Array.isArray(doc.presetlist) ? doc.presetlist : [];
  const currentId = presetId(current) ?? (typeof doc.id === "number" ? doc.id : undefined);
  return [
    h(
      "header",
      { class: "panel-head" },
      h("h2", {}, stage.name),
      toggle(enabled ? "On" : "Off", enabled, (on) => setStageEnabled(stage, on), { "aria-label": `${stage.name} on` }),
    ),
    h("p", { class: "panel-sub" }, current ? `Preset: ${current.name}` : "No preset chosen"),
    list.length
      ? h(
          "div",
          { class: "presets", role: "group", "aria-label": `${stage.name} presets` },
          list.map((preset) =>
            h(
              "button",
              {
                type: "button",
                class: "preset",
                "aria-pressed": String(preset.id === currentId),
                dataset: { presetId: String(preset.id) },
                onclick: () => selectPreset(stage, preset, true),
              },
              preset.name,
            ),
          ),
        )
      : h("p", { class: "empty small" }, "The player lists no presets."),
    stage.key === "equalizer" && current && Array.isArray(current.paramset) ? bands(current.paramset) : null,
    stage.key === "irc" ? gainControl(doc.gain) : null,
  ];
}

// The bands of an EQ preset, drawn as bars around the 0 dB line: height by
// gain when the band carries one ("order" holds it in this player's
// presets), width by bandwidth.
function bands(paramset) {
  if (paramset.length === 0) return h("p", { class: "empty small" }, "Flat: no bands.");
  const max = Math.max(6, ...paramset.map((b) => Math.abs(Number(b.order) || 0)));
  return h(
    "div",
    { class: "bands", "aria-label": "Equalizer bands" },
    paramset.map((band) => {
      const gain = Number(band.order) || 0;
      const pct = (50 * Math.abs(gain)) / max;
      return h(
        "div",
        { class: "band", title: `${hz(band.fband)}, ${gain > 0 ? "+" : ""}${gain} dB, Q ${band.qband}` },
        h("div", { class: "band-bar" }, h("span", { class: gain >= 0 ? "up" : "down", style: `height:${pct}%` })),
        h("span", { class: "band-label" }, hz(band.fband)),
      );
    }),
  );
}

function hz(value) {
  const f = Number(value) || 0;
  return f >= 1000 ? `${Number((f / 1000).toFixed(1))}k` : `${Math.round(f)}`;
}

function gainControl(gain) {
  const value = Number.isFinite(Number(gain)) ? Number(gain) : 0;
  const out = h("output", { id: "irc-gain-value" }, `${value} dB`);
  return h(
    "label",
    { class: "gain" },
    h("span", {}, "Gain"),
    h("input", {
      type: "range",
      id: "irc-gain",
      min: "-12",
      max: "12",
      step: "1",
      value: String(value),
      oninput: (e) => (out.textContent = `${e.target.value} dB`),
      onchange: (e) => setIrcGain(Number(e.target.value)),
    }),
    out,
  );
}
