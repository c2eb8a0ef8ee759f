// A tiny element builder, so screens read as the markup they produce.
//   h("button", { class: "primary", onclick: play }, icon("play"), "Play")
// Attributes starting with "on" become listeners, "dataset" fills data-*,
// false/null/undefined attributes and children are left out.
//
// Listeners go through one dispatcher per event type that calls whatever the
// element's handler is now, so morph() can hand a kept element the handlers
// of its newer copy (a queue row's index, a track's list).
export function h(tag, attrs, ...children) {
  const el = document.createElement(tag);
  for (const [key, value] of Object.entries(attrs || {})) {
    if (value === false || value === null || value === undefined) continue;
    if (key.startsWith("on") && typeof value === "function") {
      listen(el, key.slice(2), value);
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

function listen(el, type, fn) {
  el.handlers ||= {};
  if (!(type in el.handlers)) el.addEventListener(type, (event) => el.handlers[type] && el.handlers[type](event));
  el.handlers[type] = fn;
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

// Like fill(), but keeps the elements that are already there wherever the new
// content has the same element in the same place (or the same data-key), and
// changes only what differs. A redraw pushed by the player then leaves focus,
// scroll positions, a row being used and images already decoded alone.
export function patch(el, ...children) {
  const next = document.createElement(el.nodeName);
  append(next, children);
  morphChildren(el, next);
  return el;
}

const SVG = "http://www.w3.org/2000/svg";
const keyOf = (node) => (node.nodeType === 1 ? node.getAttribute("data-key") : null);
const same = (a, b) => a.nodeType === b.nodeType && a.nodeName === b.nodeName && keyOf(a) === keyOf(b);

function morphChildren(target, next) {
  const keyed = new Map();
  for (const child of target.childNodes) {
    const key = keyOf(child);
    if (key !== null) keyed.set(key, child);
  }
  let at = target.firstChild;
  for (const wanted of [...next.childNodes]) {
    const key = keyOf(wanted);
    let kept = key !== null ? keyed.get(key) : at && same(at, wanted) ? at : null;
    if (kept && !same(kept, wanted)) kept = null;
    if (kept) {
      keyed.delete(key);
      if (kept === at) at = at.nextSibling;
      else target.insertBefore(kept, at);
      morph(kept, wanted);
    } else {
      target.insertBefore(wanted, at);
    }
  }
  while (at) {
    const following = at.nextSibling;
    at.remove();
    at = following;
  }
}

// Makes `target` look like `next`, an element of the same kind.
function morph(target, next) {
  if (target.nodeType !== 1) {
    if (target.nodeValue !== next.nodeValue) target.nodeValue = next.nodeValue;
    return;
  }
  for (const { name } of [...target.attributes]) if (!next.hasAttribute(name)) target.removeAttribute(name);
  for (const { name, value } of [...next.attributes]) if (target.getAttribute(name) !== value) target.setAttribute(name, value);
  for (const [type, fn] of Object.entries(next.handlers || {})) listen(target, type, fn);
  if (target.handlers) for (const type of Object.keys(target.handlers)) if (!next.handlers || !(type in next.handlers)) target.handlers[type] = null;
  if (target.nodeName === "INPUT" || target.nodeName === "TEXTAREA") {
    // What the person is typing or dragging wins over the player's value.
    if (document.activeElement !== target && target.value !== next.value) target.value = next.value;
    if (target.checked !== next.checked) target.checked = next.checked;
    target.disabled = next.disabled;
    return;
  }
  // Pictures and drawn icons are replaced whole when they differ at all.
  if (target.namespaceURI === SVG) {
    if (target.outerHTML !== next.outerHTML) target.replaceWith(next);
    return;
  }
  morphChildren(target, next);
}
