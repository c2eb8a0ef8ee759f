// The player's streaming account: who is logged in, logging in and out. The
// player does not push its login, so the screen asks when it opens, after
// each change, and every few seconds while open: another remote, or the
// player itself, may log in or out meanwhile. The form is built once and only
// shown or hidden, so nothing typed into it is lost to a redraw.
import { h, fill } from "../dom.js";
import { backLink, link } from "../widgets.js";
import * as app from "../playerapp.js";

export const title = "Account";

// Nothing here comes from the library: a change of it need not draw the
// screen anew (what it shows is asked for again anyway).
export const keepOnLibraryChange = true;

export function render(view, params, scope) {
  const state = h("div", { class: "app-state", id: "account-state" }, h("p", { class: "empty small" }, "Asking the player…"));
  const message = h("p", { class: "app-message", id: "account-message", role: "status", "aria-live": "polite" });
  const user = h("input", { id: "account-user", name: "username", autocomplete: "username", autocapitalize: "none", spellcheck: "false", required: true });
  const password = h("input", { id: "account-password", name: "password", type: "password", autocomplete: "current-password", required: true });
  const submit = h("button", { class: "primary", type: "submit", id: "account-login" }, "Log in");
  const form = h(
    "form",
    { class: "app-form", id: "account-form", hidden: true, onsubmit: (e) => (e.preventDefault(), logIn()) },
    h("label", { class: "app-field" }, h("span", {}, "User name"), user),
    h("label", { class: "app-field" }, h("span", {}, "Password"), password),
    h("div", { class: "app-actions" }, submit),
  );
  const logoutButton = h("button", { class: "secondary", type: "button", id: "account-logout", hidden: true, onclick: logOut }, "Log out");
  const stashLink = link("#/downloads", { class: "secondary", hidden: true }, "Stash and downloads");
  fill(
    view,
    backLink("#/settings", "Settings"),
    h("h1", { class: "screen-title" }, "Streaming account"),
    h("section", { class: "panel app-panel" }, state, h("div", { class: "app-actions" }, stashLink, logoutButton), form, message),
  );

  const say = (text, tone = "") => {
    message.textContent = text;
    message.dataset.tone = tone;
  };

  let shown;
  const show = (name) => {
    if (name === shown) return;
    shown = name;
    const known = typeof name === "string";
    logoutButton.hidden = stashLink.hidden = !name;
    form.hidden = !known || !!name;
    fill(
      state,
      !known
        ? h("p", { class: "empty small" }, "The player did not say who is logged in.")
        : name
          ? h("p", { class: "app-lead" }, "Logged in as ", h("strong", { id: "account-name" }, name))
          : h("p", { class: "app-lead" }, "Not logged in. Log in to reach the account's stash and downloads."),
    );
  };

  const poll = app.keepAsking(
    scope,
    async () => {
      const reply = await app.account();
      // One failed answer does not take away a form being filled in.
      if (reply.ok || shown === undefined) show(reply.ok ? reply.user : null);
    },
    { slow: 5000 },
  );

  async function logIn() {
    const name = user.value.trim();
    if (!name || !password.value) return;
    submit.disabled = true;
    say("Logging in…");
    try {
      const reply = await app.login(name, password.value);
      if (reply.ok) {
        password.value = "";
        say("Logged in.", "ok");
        show(name);
      } else if (reply.status === 503) {
        say("The player cannot reach the streaming server. Try again later.", "error");
      } else if (reply.status === 401) {
        say("The streaming service refused this user name and password.", "error");
        password.select();
      } else {
        say(`The player could not log in (${reply.status}).`, "error");
      }
    } catch {
      say("The player did not answer.", "error");
    }
    submit.disabled = false;
    poll.now();
  }

  async function logOut() {
    logoutButton.disabled = true;
    try {
      const reply = await app.logout();
      say(reply.ok ? "Logged out." : `The player could not log out (${reply.status}).`, reply.ok ? "ok" : "error");
      if (reply.ok) show("");
    } catch {
      say("The player did not answer.", "error");
    }
    logoutButton.disabled = false;
    poll.now();
  }
}
