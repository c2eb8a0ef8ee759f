// The web remote's offline shell. It keeps the page's own files (the page,
// its scripts and styles, the manifest and the icons) so that the page opens
// while the player is down, says it is looking for it, and finds it when it
// returns. It never touches anything the player answers: every other request,
// the "changes" long poll above all, goes past it untouched.
//
// Each file is fetched from the player first and the copy kept is used only
// when the player does not answer, so an updated remote shows up on the next
// load with no version to bump. A new VERSION drops every older copy.
//
// The served remote is usually bundled: index.html loads one script and one
// style sheet named by a hash of their content (app.3GLYSLSW.js). Such a file
// never changes, so a kept copy is used at once; a new page names new ones,
// and keeping that page drops the bundles it no longer names.
const VERSION = 2;
const CACHE = `velora-shell-v${VERSION}`;
// Besides these, whatever script and style sheet the page itself names.
const CORE = ["./", "manifest.webmanifest", "icons/icon-192.png", "icons/icon-512.png"];
const HASHED = /^(app|style)\.[A-Za-z0-9]{8,}\.(js|css)$/;
// How long the player may take to start answering before the kept copy is
// used: a player that vanished from the network leaves connections hanging.
const NETWORK_WAIT = 4000;

const scopePath = new URL(self.registration.scope).pathname;

// The page's own files, by path below the scope; all without a query.
function isShell(url) {
  if (url.origin !== self.location.origin || url.search || !url.pathname.startsWith(scopePath)) return false;
  const file = url.pathname.slice(scopePath.length);
  return (
    file === "" ||
    file === "index.html" ||
    /^(app\.js|style\.css|manifest\.webmanifest)$/.test(file) ||
    HASHED.test(file) ||
    /^js\/[\w/.-]+\.js$/.test(file) ||
    /^icons\/[\w.-]+\.png$/.test(file)
  );
}

// The page is kept under one name, however it was asked for.
function keyOf(url) {
  const key = new URL(url.pathname, url);
  if (key.pathname === `${scopePath}index.html`) key.pathname = scopePath;
  return key.href;
}

const fileOf = (url) => new URL(url).pathname.slice(scopePath.length);

// The same-origin scripts and style sheets a page names.
function namedBy(html) {
  const files = new Set();
  for (const m of html.matchAll(/<(?:script|link)\b[^>]*?\b(?:src|href)="([^"]+\.(?:js|css))"/g)) {
    const url = new URL(m[1], self.registration.scope);
    if (isShell(url)) files.add(fileOf(url.href));
  }
  return files;
}

async function keep(cache, url, response) {
  if (!response.ok || response.type !== "basic") return;
  const key = keyOf(url);
  if (key !== new URL(scopePath, self.location.origin).href) {
    await cache.put(key, response);
    return;
  }
  // A new page: its bundles are kept first, then those it replaced dropped.
  const html = await response.clone().text();
  await cache.put(key, response);
  const named = namedBy(html);
  for (const file of named) {
    const fileUrl = new URL(file, self.registration.scope);
    if (!(await cache.match(keyOf(fileUrl)))) await fetch(fileUrl, { cache: "default" }).then((r) => keep(cache, fileUrl, r), () => {});
  }
  for (const request of await cache.keys()) {
    const file = fileOf(request.url);
    if (HASHED.test(file) && !named.has(file)) await cache.delete(request);
  }
}

self.addEventListener("install", (event) => {
  event.waitUntil(
    (async () => {
      const cache = await caches.open(CACHE);
      // One file missing must not cost the others.
      await Promise.all(CORE.map((file) => {
        const url = new URL(file, self.registration.scope);
        return fetch(url, { cache: "no-store" }).then((r) => keep(cache, url, r), () => {});
      }));
      await self.skipWaiting();
    })(),
  );
});

self.addEventListener("activate", (event) => {
  event.waitUntil(
    (async () => {
      for (const name of await caches.keys()) {
        if (name.startsWith("velora-shell-") && name !== CACHE) await caches.delete(name);
      }
      await self.clients.claim();
    })(),
  );
});

// The page names the files it loaded before this worker took over; those not
// kept yet are fetched once.
self.addEventListener("message", (event) => {
  const list = event.data && Array.isArray(event.data.keep) ? event.data.keep : [];
  event.waitUntil(
    (async () => {
      const cache = await caches.open(CACHE);
      for (const text of list) {
        let url;
        try {
          url = new URL(text);
        } catch {
          continue;
        }
        if (!isShell(url) || (await cache.match(keyOf(url)))) continue;
        // A hashed file the page just loaded is in the browser's own cache.
        const mode = HASHED.test(fileOf(url.href)) ? "default" : "no-store";
        await fetch(url, { cache: mode }).then((r) => keep(cache, url, r), () => {});
      }
    })(),
  );
});

self.addEventListener("fetch", (event) => {
  const request = event.request;
  const url = new URL(request.url);
  if (request.method !== "GET" || !isShell(url)) return;
  event.respondWith(fromPlayerFirst(event, url));
});

async function fromPlayerFirst(event, url) {
  const cache = await caches.open(CACHE);
  // A hashed name always holds the same content: no need to ask.
  if (HASHED.test(fileOf(url.href))) {
    const kept = await cache.match(keyOf(url));
    if (kept) return kept;
    const response = await withTimeout(fetch(event.request), NETWORK_WAIT);
    event.waitUntil(keep(cache, url, response.clone()));
    return response;
  }
  try {
    const response = await withTimeout(fetch(event.request, { cache: "no-store" }), NETWORK_WAIT);
    event.waitUntil(keep(cache, url, response.clone()));
    return response;
  } catch (err) {
    const kept = await cache.match(keyOf(url));
    if (kept) return kept;
    throw err;
  }
}

function withTimeout(promise, ms) {
  return new Promise((resolve, reject) => {
    const timer = setTimeout(() => reject(new Error("the player did not answer")), ms);
    promise.then(
      (value) => {
        clearTimeout(timer);
        resolve(value);
      },
      (err) => {
        clearTimeout(timer);
        reject(err);
      },
    );
  });
}
