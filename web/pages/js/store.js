// The page's whole state in one place. Screens subscribe to the keys they
// draw; the API layer writes what the player reports. A change is announced
// once per set(), with the new value.
const values = new Map();
const listeners = new Map();

export function get(key, fallback = undefined) {
  return values.has(key) ? values.get(key) : fallback;
}

export function set(key, value) {
  values.set(key, value);
  for (const fn of [...(listeners.get(key) || [])]) {
    try {
      fn(value);
    } catch (err) {
      console.error(`listener of "${key}" failed`, err);
    }
  }
}

// Merges an object into the one stored under `key`.
export function patch(key, partial) {
  set(key, { ...(get(key) || {}), ...partial });
}

// Calls fn on every change of key; returns the function that stops it.
export function on(key, fn) {
  if (!listeners.has(key)) listeners.set(key, new Set());
  listeners.get(key).add(fn);
  return () => listeners.get(key).delete(fn);
}
