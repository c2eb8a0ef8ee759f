// Draws the web remote's app icons (a record in the accent colour on the
// page's dark background) and writes them as PNG files into
// web/pages/icons/. Plain Node with zlib: no image library needed.
//
//   node tools/make-icons.mjs
//
// The PNG files are kept in the repository; run this again after changing
// the drawing or the colours (the page's --bg and --accent).
import { mkdirSync, writeFileSync } from "node:fs";
import path from "node:path";
import { fileURLToPath } from "node:url";
import zlib from "node:zlib";

const OUT = path.join(path.dirname(fileURLToPath(import.meta.url)), "..", "web", "pages", "icons");
const BG = [0x11, 0x13, 0x17];
const ACCENT = [0xe0, 0xa8, 0x4e];
const SHINE = [0xf2, 0xc9, 0x82];
const GROOVE = [0xb9, 0x85, 0x33];

// Each icon: its size, the disc's radius as a share of the size, and whether
// the background fills the square (maskable and Apple icons are cut by the
// system) or is a rounded square of its own.
const ICONS = [
  { file: "icon-192.png", size: 192, disc: 0.34, fullBleed: false },
  { file: "icon-512.png", size: 512, disc: 0.34, fullBleed: false },
  // The system may cut a maskable icon to a circle of 80 % of its width.
  { file: "icon-maskable-512.png", size: 512, disc: 0.3, fullBleed: true },
  { file: "apple-touch-icon.png", size: 180, disc: 0.32, fullBleed: true },
];

// The colour at a point, in units of the icon's width (0..1); null outside.
function paint(x, y, { disc, fullBleed }) {
  if (!fullBleed && !insideRoundedSquare(x, y, 0.04, 0.22)) return null;
  const dx = x - 0.5;
  const dy = y - 0.5;
  const r = Math.hypot(dx, dy) / disc;
  if (r > 1) return BG;
  if (r < 0.1) return BG; // the spindle hole
  if (r < 0.36) return ACCENT; // the label
  if (r < 0.42) return BG;
  // A highlight over the upper right quarter, as light on vinyl.
  const angle = Math.atan2(-dy, dx);
  if (r > 0.55 && r < 0.86 && angle > 0.2 && angle < 1.25) return SHINE;
  // Two grooves.
  if (Math.abs(r - 0.62) < 0.018 || Math.abs(r - 0.8) < 0.018) return GROOVE;
  return ACCENT;
}

function insideRoundedSquare(x, y, margin, radius) {
  const lo = margin + radius;
  const hi = 1 - margin - radius;
  const cx = Math.min(Math.max(x, lo), hi);
  const cy = Math.min(Math.max(y, lo), hi);
  return Math.hypot(x - cx, y - cy) <= radius && x >= margin && x <= 1 - margin && y >= margin && y <= 1 - margin;
}

// RGBA pixels, each the average of 4×4 samples so edges are smooth.
function draw(icon) {
  const { size } = icon;
  const pixels = Buffer.alloc(size * size * 4);
  const n = 4;
  for (let py = 0; py < size; ++py) {
    for (let px = 0; px < size; ++px) {
      const sum = [0, 0, 0, 0];
      for (let sy = 0; sy < n; ++sy) {
        for (let sx = 0; sx < n; ++sx) {
          const colour = paint((px + (sx + 0.5) / n) / size, (py + (sy + 0.5) / n) / size, icon);
          if (!colour) continue;
          for (let c = 0; c < 3; ++c) sum[c] += colour[c];
          sum[3] += 1;
        }
      }
      const at = (py * size + px) * 4;
      const alpha = sum[3] / (n * n);
      for (let c = 0; c < 3; ++c) pixels[at + c] = sum[3] ? Math.round(sum[c] / sum[3]) : 0;
      pixels[at + 3] = Math.round(alpha * 255);
    }
  }
  return pixels;
}

const CRC_TABLE = Array.from({ length: 256 }, (_, n) => {
  let c = n;
  for (let k = 0; k < 8; ++k) c = c & 1 ? 0xedb88320 ^ (c >>> 1) : c >>> 1;
  return c >>> 0;
});

function crc32(bytes) {
  let c = 0xffffffff;
  for (const b of bytes) c = CRC_TABLE[(c ^ b) & 0xff] ^ (c >>> 8);
  return (c ^ 0xffffffff) >>> 0;
}

function chunk(type, data) {
  const length = Buffer.alloc(4);
  length.writeUInt32BE(data.length);
  const body = Buffer.concat([Buffer.from(type, "ascii"), data]);
  const crc = Buffer.alloc(4);
  crc.writeUInt32BE(crc32(body));
  return Buffer.concat([length, body, crc]);
}

// An 8-bit RGBA PNG; every row unfiltered.
function png(size, pixels) {
  const header = Buffer.alloc(13);
  header.writeUInt32BE(size, 0);
  header.writeUInt32BE(size, 4);
  header.set([8, 6, 0, 0, 0], 8);
  const rows = Buffer.alloc(size * (size * 4 + 1));
  for (let y = 0; y < size; ++y) pixels.copy(rows, y * (size * 4 + 1) + 1, y * size * 4, (y + 1) * size * 4);
  return Buffer.concat([
    Buffer.from([0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a]),
    chunk("IHDR", header),
    chunk("IDAT", zlib.deflateSync(rows, { level: 9 })),
    chunk("IEND", Buffer.alloc(0)),
  ]);
}

mkdirSync(OUT, { recursive: true });
for (const icon of ICONS) {
  const file = path.join(OUT, icon.file);
  writeFileSync(file, png(icon.size, draw(icon)));
  console.log(`wrote ${path.relative(process.cwd(), file)} (${icon.size}×${icon.size})`);
}
