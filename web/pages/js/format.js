// Seconds as m:ss or h:mm:ss; anything that is not a positive number is 0:00.
export function clock(seconds) {
  let s = Math.floor(Number(seconds));
  if (!Number.isFinite(s) || s < 0) s = 0;
  const hours = Math.floor(s / 3600);
  const minutes = Math.floor((s % 3600) / 60);
  const rest = String(s % 60).padStart(2, "0");
  return hours > 0 ? `${hours}:${String(minutes).padStart(2, "0")}:${rest}` : `${minutes}:${rest}`;
}

// "1 h 12 min" or "43 min", for album and playlist lengths.
export function length(seconds) {
  const minutes = Math.round(Number(seconds) / 60) || 0;
  if (minutes < 60) return `${minutes} min`;
  return `${Math.floor(minutes / 60)} h ${minutes % 60} min`;
}

export function plural(n, word) {
  return `${n} ${word}${n === 1 ? "" : "s"}`;
}

// "FLAC · 96 kHz", from whatever the track carries.
export function quality(track) {
  if (!track) return "";
  const parts = [];
  if (track.fileType) parts.push(track.fileType);
  const rate = Number(track.sampleRate);
  if (rate > 0) parts.push(`${Number((rate / 1000).toFixed(1))} kHz`);
  if (Number(track.mqa) === 1) parts.push("MQA");
  return parts.join(" · ");
}
