// The lifetime of one screen: store subscriptions, timers and anything else
// made through a scope end together when the user leaves the screen.
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
    // Runs fn when the screen goes away (an observer to disconnect, a
    // position to remember).
    add(fn) {
      stops.push(fn);
    },
    dispose() {
      while (stops.length) stops.pop()();
    },
  };
}
