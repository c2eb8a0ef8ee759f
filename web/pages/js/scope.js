// The lifetime of one screen: store subscriptions and timers made through a
// scope end together when the user leaves the screen.
import * as store from "./store.js";

export function createScope() {
  const stops = [];
  return {
    on(key, fn) {
      stops.push(store.on(key, fn));
    },
    every(ms, fn) {
      const id = setInterval(fn, ms);
      stops.push(() => clearInterval(id));
    },
    dispose() {
      while (stops.length) stops.pop()();
    },
  };
}
