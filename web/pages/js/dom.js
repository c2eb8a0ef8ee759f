// A tiny element builder, so screens read as the markup they produce.
//   h("button", { class: "primary", onclick: play }, icon("play"), "Play")
// Attributes starting with "on" become listeners, "dataset" fills data-*,
// false/null/undefined attributes and children are left out.
export function h(tag, attrs, ...children) {
  const el = document.createElement(tag);
  for (const [key, value] of Object.entries(attrs || {})) {
    if (value === false || value === null || value === undefined) continue;
    if (key.startsWith("on") && typeof value === "function") {
      el.addEventListener(key.slice(2), value);
    } else if (key === "dataset") {
      Object.assign(el.dataset, value);
    } else if (key === "value" || key === "checked" || key === "disabled") {
      el[key] = value;
    } else {
      el.setAttribute(key, value === true ? "" : String(value));
    }
  }
  append(el, children);
  return el;
}

function append(el, children) {
  for (const child of children) {
    if (child === null || child === undefined || child === false) continue;
    if (Array.isArray(child)) append(el, child);
    else el.append(child instanceof Node ? child : String(child));
  }
}

// Replaces everything inside `el`.
export function fill(el, ...children) {
  el.replaceChildren();
  append(el, children);
  return el;
}
