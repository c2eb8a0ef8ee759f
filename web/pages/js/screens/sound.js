// The four sound stages: each can be switched on or off and has presets; the
// equalizer shows its bands, the IRC stage has a gain.
import { h, fill, patch } from "../dom.js";
import * as store from "../store.js";
import { STAGES, setStageEnabled, selectPreset, setIrcGain } from "../commands.js";
import { toggle } from "../widgets.js";

export const title = "Sound";

export function render(view, params, scope) {
  const cards = STAGES.map((stage) => {
    const card = h("section", { class: "panel stage", id: `stage-${stage.key}` });
    const draw = () => patch(card, stageContent(stage, store.get(stage.key) || {}));
    draw();
    scope.on(stage.key, draw);
    return card;
  });
  fill(view, h("h1", { class: "screen-title" }, "Sound"), h("div", { class: "panels" }, cards));
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
      toggle(enabled ? "On" : "Off", enabled, (on) => setStageEnabled(stage, on), { "aria-label": `${stage.name} on`, "data-needs-player": "" }),
    ),
    h("p", { class: "panel-sub" }, current ? `Preset: ${current.name}${enabled ? "" : " (used when on)"}` : "No preset chosen"),
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
                "data-needs-player": "",
                onclick: () => selectPreset(stage, preset),
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

// The bands of an EQ preset on a logarithmic frequency axis (20 Hz to
// 20 kHz): one hump per band at its centre frequency, as wide as its
// bandwidth (in octaves), with the numbers listed below. A band carries no
// gain ("bband" is its bandwidth), so the humps share one height rather
// than suggest boosts the preset does not hold.
const SVG = "http://www.w3.org/2000/svg";
const LOW = Math.log10(20);
const HIGH = Math.log10(20000);

function svg(tag, attrs) {
  const el = document.createElementNS(SVG, tag);
  for (const [k, v] of Object.entries(attrs)) el.setAttribute(k, String(v));
  return el;
}

function xOf(frequency, width) {
  const f = Math.min(20000, Math.max(20, frequency));
  return ((Math.log10(f) - LOW) / (HIGH - LOW)) * width;
}

function bands(paramset) {
  if (paramset.length === 0) return h("p", { class: "empty small" }, "Flat: no bands.");
  const width = 320;
  const height = 70;
  const chart = svg("svg", { viewBox: `0 0 ${width} ${height + 14}`, class: "band-chart", role: "img", "aria-label": "Equalizer bands" });
  for (const f of [100, 1000, 10000]) {
    const x = xOf(f, width);
    chart.append(svg("line", { x1: x, x2: x, y1: 0, y2: height, class: "grid-line" }));
    const label = svg("text", { x, y: height + 12, class: "axis-label", "text-anchor": "middle" });
    label.textContent = f >= 1000 ? `${f / 1000}k` : String(f);
    chart.append(label);
  }
  chart.append(svg("line", { x1: 0, x2: width, y1: height, y2: height, class: "grid-line" }));
  for (const band of paramset) {
    const centre = Number(band.fband) || 1000;
    const octaves = Math.max(0.2, Number(band.bband) || 1);
    const points = [];
    for (let i = 0; i <= 48; ++i) {
      const x = (i / 48) * width;
      const f = 10 ** (LOW + (i / 48) * (HIGH - LOW));
      const distance = Math.log2(f / centre) / octaves;
      points.push(`${x.toFixed(1)},${(height - (height - 8) * Math.exp(-2 * distance * distance)).toFixed(1)}`);
    }
    chart.append(svg("polyline", { points: points.join(" "), class: "band-curve" }));
  }
  return h(
    "div",
    { class: "bands" },
    chart,
    h(
      "ul",
      { class: "band-list" },
      paramset.map((band) => h("li", {}, h("strong", {}, `${hz(band.fband)} Hz`), ` Q ${band.qband} · ${band.bband} oct`)),
    ),
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
      "data-needs-player": "",
      oninput: (e) => (out.textContent = `${e.target.value} dB`),
      onchange: (e) => setIrcGain(Number(e.target.value)),
    }),
    out,
  );
}
