// The everyday screens on a phone, each step checked on the host over its own
// HTTP interface, as a second client would see it.
export async function run({ page, host, check, until, begin, log, shot, show, PHONE }) {
  await page.setViewportSize(PHONE);
  const queue = async () => (await host.get("getNowPlaying")).data || [];
  // Every list of this route comes under "tracks".
  const list = async (id, count = -1) => (await host.get(`getLocalLibrary?id=${id}&index=0&count=${count}`)).data;
  const item = (name) => page.locator(".menu .menu-item", { hasText: name });
  // Clicks what opens a dialog, types `text` into it (when given) and confirms.
  const dialog = async (selector, text) => {
    await page.locator(selector).click();
    if (text) await page.locator("dialog input").fill(text);
    await page.locator("dialog .primary").click();
  };
  const scrollY = () => page.evaluate(() => window.scrollY);
  const elapsed = async () => (await host.playback()).elapsed;
  check((await host.get("queue")).status === 200, "the host does not offer its queue to remotes");
  const album = (await list("albums", 1)).tracks[0];
  const albumHash = `#/album/${encodeURIComponent(album.id)}`;
  const playAlbum = () => host.get(`playback/play?itemid=${encodeURIComponent(album.id)}&item=0`);
  await playAlbum();

  begin("seek: a tap on the bar and an arrow key move the host's position");
  const bar = page.locator("#np-seek");
  await show("#/now", () => until("a duration", async () => Number(await bar.getAttribute("aria-valuemax")) > 60));
  const [box, duration] = [await bar.boundingBox(), Number(await bar.getAttribute("aria-valuemax"))];
  await page.mouse.click(box.x + box.width * 0.6, box.y + box.height / 2);
  await until("the host at 60 % of the track", async () => Math.abs((await elapsed()) - duration * 0.6) < 4);
  const before = await elapsed();
  await bar.press("ArrowRight");
  await until("the host 5 s further", async () => (await elapsed()) >= before + 4.5, { timeout: 2500 });

  begin("track menu: add to queue and play next change the host's queue");
  const rows = page.locator(".tracks .track");
  await show(albumHash, () => rows.nth(3).waitFor());
  const [third, fourth] = [await rows.nth(2).getAttribute("data-track-id"), await rows.nth(3).getAttribute("data-track-id")];
  const length = (await queue()).length;
  await rows.nth(2).locator(".track-more").click();
  await shot("track-menu", PHONE);
  await item("Add to queue").click();
  await until("the track at the end of the queue", async () => ((q) => q.length === length + 1 && q.at(-1).id === third)(await queue()));
  await rows.nth(3).locator(".track-more").click();
  await item("Play next").click();
  // The host keeps it in its play-next list, ahead of the rest of the queue.
  const upNext = async () => (await host.get("library/playnext")).data?.playnext || [];
  await until("the track first in the host's play-next list", async () => (await upNext())[0]?.id === fourth);

  begin("queue: remove an entry, then clear it after asking");
  await show("#/queue", () => until("the queue's rows", async () => (await page.locator(".queue-list .track").count()) === length + 1));
  await page.locator(".queue-list .track .track-more").last().click();
  await item("Remove from queue").click();
  await until("the entry gone from the host", async () => (await queue()).length === length);
  await shot("queue-edit", PHONE);
  await dialog("#queue-clear");
  await until("an empty queue on the host", async () => (await queue()).length === 0);
  await playAlbum();

  begin("Tracks view: a page at a time, the rest on scrolling");
  const tracks = page.locator("#all-tracks .track");
  const total = (await list("tracks", 1)).totalCount;
  await show("#/library/tracks", () => tracks.first().waitFor());
  check((await tracks.count()) < total, `all ${total} tracks drawn at once`);
  await until(`all ${total} tracks`, async () => (await page.evaluate(() => window.scrollTo(0, document.body.scrollHeight)), (await tracks.count()) === total));

  begin("pushed changes keep the scroll position and an open menu");
  await page.evaluate(() => window.scrollTo(0, 1500));
  await page.waitForTimeout(2200); // the position ticks meanwhile
  check(Math.abs((await scrollY()) - 1500) < 2, `the Tracks view moved to ${await scrollY()} while playing`);
  await show(albumHash, () => rows.nth(4).waitFor());
  await page.evaluate(() => window.scrollTo(0, 300));
  await rows.nth(4).locator(".track-more").click();
  await Promise.all([host.get(`queue/append?itemid=${third}`), host.get("playback?volume=31")]);
  await page.waitForTimeout(1200);
  check((await page.locator(".menu").isVisible()) && Math.abs((await scrollY()) - 300) < 2, "a pushed change closed the menu or moved the album screen");

  begin("playlists: create, rename and delete round-trip through the host");
  const find = async (name) => (await list("playlists")).tracks.find((p) => p.name === name);
  await show("#/library/playlists", () => dialog("#playlist-new", "Phone mix"));
  const made = await until("the new playlist on the host", () => find("Phone mix"));
  await until("the new playlist's screen", async () => page.url().endsWith(`#/playlist/${made.id}`));
  await dialog("#playlist-rename", "Phone mix 2");
  await until("the new name on the host and the page", async () => (await find("Phone mix 2")) && (await page.locator(".detail-title").textContent()) === "Phone mix 2");
  await shot("playlist", PHONE);
  await dialog("#playlist-delete");
  await until("the playlist gone from the host", async () => !(await find("Phone mix 2")));

  begin("phone layout: the chosen tab in view, touch targets of 44 px");
  await show("#/library/search", () => page.locator("#search-input").waitFor());
  const tab = await page.locator('.tab[aria-current="page"]').boundingBox();
  check(tab.x >= 0 && tab.x + tab.width <= PHONE.width, `the Search tab sits at ${tab.x}..${tab.x + tab.width}`);
  const smallest = (selector) => page.locator(selector).evaluateAll((els) => Math.min(...els.map((e) => Math.min(e.offsetWidth, e.offsetHeight))));
  const targets = { "#/library/search": [".tab"], "#/now": ["#np-volume-down", "#np-volume-up", "#np-seek"], "#/queue": [".queue-list .round.small", ".drag-handle"], [albumHash]: [".detail-artist", ".back", ".track-more"] };
  for (const [hash, selectors] of Object.entries(targets)) {
    await show(hash, () => page.locator(selectors[0]).first().waitFor());
    for (const selector of selectors) check((await smallest(selector)) >= 44, `${selector} on ${hash} is smaller than 44 px`);
  }

  begin("back from an album returns to the same place in the grid");
  await show("#/library/albums", () => page.locator(".card[data-album-id]").nth(12).waitFor());
  await page.evaluate(() => window.scrollTo(0, 700));
  await page.mouse.click(PHONE.width / 4, PHONE.height / 2); // the card in the middle of the screen
  await page.locator(".detail-title").waitFor();
  await page.goBack();
  await until("the grid scrolled back to 700", async () => Math.abs((await scrollY()) - 700) < 2);

  begin("an unknown album is said in words, with the way back");
  // On a remote of its own: the player's 404 here is no fault of the page.
  const other = await (await page.context().browser().newContext({ viewport: PHONE })).newPage();
  await other.goto(`http://127.0.0.1:${host.port}/#/album/no-such-album`);
  const said = await other.locator(".gone").textContent({ timeout: 20000 });
  check(/no longer in the library/.test(said) && (await other.locator('.gone a[href="#/library/albums"]').count()) === 1, `the page says "${said}"`);
  await other.context().close();
  log("features: seek, menu, queue, Tracks view, playlists, phone layout and pushed changes checked");
}
