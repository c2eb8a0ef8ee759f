// Pairing: the page introduces itself to the player with a random code and
// waits for the player's approval. The code is shown large so that the user
// can match it with the one the player asks about.
import { h, fill } from "../dom.js";
import { icon } from "../icons.js";

export function render(container, { code, name, reachable, onNewCode }) {
  fill(
    container,
    h(
      "div",
      { class: "pairing-card" },
      h("div", { class: "brand" }, icon("disc"), h("span", {}, "Velora Remote")),
      h("h1", {}, reachable === false ? "Looking for the player…" : "Pair with the player"),
      h(
        "p",
        { class: "pairing-text", id: "pairing-state" },
        reachable === false
          ? `The player at ${location.host} does not answer yet. This page keeps trying.`
          : "Approve this remote on the player. It asks about this code:",
      ),
      h("p", { class: "pairing-code", id: "pairing-code", "aria-label": "Pairing code" }, String(code)),
      h("p", { class: "pairing-name" }, name),
      h("div", { class: "spinner", "aria-hidden": "true" }),
      h("button", { type: "button", class: "secondary", onclick: onNewCode }, "Use a new code"),
    ),
  );
}
