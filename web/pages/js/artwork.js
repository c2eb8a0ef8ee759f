// Cover art. Items carry "artworkdata": the picture itself in base64
// ("imagedata"), a web address ("url"), or only a digest ("sha1") of a picture
// the player sent before. Pictures are remembered by the player's artwork path
// and by album, so an album's tracks and its artist page find the cover that
// came with the album list.
const known = new Map();

const PNG = [0x89, 0x50, 0x4e, 0x47];
const JPEG = [0xff, 0xd8, 0xff];

// The media type of base64 image data, from its first bytes.
export function imageType(base64) {
  let head;
  try {
    head = atob(base64.slice(0, 8));
  } catch {
    return null;
  }
  const starts = (magic) => magic.every((byte, i) => head.charCodeAt(i) === byte);
  if (starts(PNG)) return "image/png";
  if (starts(JPEG)) return "image/jpeg";
  return null;
}

function sourceOf(data) {
  if (!data || typeof data !== "object") return null;
  if (typeof data.imagedata === "string" && data.imagedata.length > 0) {
    const type = imageType(data.imagedata);
    return type ? `data:${type};base64,${data.imagedata}` : null;
  }
  if (typeof data.url === "string" && data.url.length > 0) return data.url;
  if (typeof data.sha1 === "string") return known.get(`sha1:${data.sha1}`) || null;
  return null;
}

function keysOf(item) {
  const keys = [];
  if (item.artwork) keys.push(`path:${item.artwork}`);
  if (item.artworkdata && item.artworkdata.id) keys.push(`art:${item.artworkdata.id}`);
  return keys;
}

// Learns the pictures of an item and of everything nested in it (an album's
// tracks, a genre's albums, ...). `kind` says what the item is ("album",
// "track", ...).
export function learn(item, kind) {
  if (!item || typeof item !== "object") return;
  if (Array.isArray(item)) {
    for (const entry of item) learn(entry, kind);
    return;
  }
  const src = sourceOf(item.artworkdata);
  if (src) {
    for (const key of keysOf(item)) known.set(key, src);
    if (kind === "album" && item.id) known.set(`album:${item.id}`, src);
    // A track's picture is its album's cover unless the album brings its own.
    if (kind !== "album" && item.albumid && !known.has(`album:${item.albumid}`)) {
      known.set(`album:${item.albumid}`, src);
    }
    if (item.artworkdata && item.artworkdata.sha1) known.set(`sha1:${item.artworkdata.sha1}`, src);
  }
  if (Array.isArray(item.tracks)) learn(item.tracks, "track");
  if (Array.isArray(item.albums)) learn(item.albums, "album");
  if (Array.isArray(item.playlists)) learn(item.playlists, "playlist");
}

// The picture to show for an item, or null when the player has none.
export function artworkFor(item, kind) {
  if (!item) return null;
  const direct = sourceOf(item.artworkdata);
  if (direct) return direct;
  for (const key of keysOf(item)) {
    if (known.has(key)) return known.get(key);
  }
  if (kind === "album" && known.has(`album:${item.id}`)) return known.get(`album:${item.id}`);
  if (item.albumid && known.has(`album:${item.albumid}`)) return known.get(`album:${item.albumid}`);
  return null;
}
