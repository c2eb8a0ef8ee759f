// Inline icons: 24×24 outlines drawn for this remote, coloured by
// currentColor so they follow the text around them.
const paths = {
  play: '<path d="M8 5.5v13l10.5-6.5z" fill="currentColor" stroke="none"/>',
  pause: '<path d="M7 5h3.5v14H7zM13.5 5H17v14h-3.5z" fill="currentColor" stroke="none"/>',
  next: '<path d="M6 6l8.5 6L6 18z" fill="currentColor" stroke="none"/><path d="M17.5 6v12"/>',
  previous: '<path d="M18 6l-8.5 6L18 18z" fill="currentColor" stroke="none"/><path d="M6.5 6v12"/>',
  volume: '<path d="M4 9.5h3.5L12 5.5v13l-4.5-4H4z" fill="currentColor"/><path d="M15.5 9a4 4 0 010 6M18 6.5a7.5 7.5 0 010 11"/>',
  mute: '<path d="M4 9.5h3.5L12 5.5v13l-4.5-4H4z" fill="currentColor"/><path d="M16 9.5l5 5M21 9.5l-5 5"/>',
  minus: '<path d="M6 12h12"/>',
  plus: '<path d="M6 12h12M12 6v12"/>',
  inorder: '<path d="M4 7h12M4 12h12M4 17h8"/><path d="M18 14v6l3-3"/>',
  repeat: '<path d="M5 11V9a2 2 0 012-2h11l-3-3M19 13v2a2 2 0 01-2 2H6l3 3"/>',
  repeatone: '<path d="M5 11V9a2 2 0 012-2h11l-3-3M19 13v2a2 2 0 01-2 2H6l3 3"/><path d="M11.5 10.5l1.5-1v5"/>',
  shuffle: '<path d="M3 7h3.5c4.5 0 6.5 10 11 10H21M3 17h3.5c1.6 0 2.8-1.3 3.8-3M13.7 10c1-1.7 2.2-3 3.8-3H21"/><path d="M18.5 4.5L21 7l-2.5 2.5M18.5 14.5L21 17l-2.5 2.5"/>',
  nowplaying: '<circle cx="12" cy="12" r="8.5"/><circle cx="12" cy="12" r="2.5"/>',
  library: '<path d="M4.5 4v16M9 4v16"/><path d="M13 4.8l3.8-.8 3.4 15.4-3.8.8z"/>',
  queue: '<path d="M4 6h16M4 11h16M4 16h9"/><path d="M16 14.5v5l4-2.5z" fill="currentColor"/>',
  sound: '<path d="M6 4v16M12 4v16M18 4v16"/><path d="M4 9h4M10 15h4M16 7h4" stroke-width="3"/>',
  settings: '<circle cx="12" cy="12" r="3"/><path d="M12 2.5v3M12 18.5v3M2.5 12h3M18.5 12h3M5.3 5.3l2.1 2.1M16.6 16.6l2.1 2.1M5.3 18.7l2.1-2.1M16.6 7.4l2.1-2.1"/>',
  search: '<circle cx="10.5" cy="10.5" r="6"/><path d="M15 15l5.5 5.5"/>',
  back: '<path d="M15 5l-7 7 7 7"/>',
  up: '<path d="M6 15l6-6 6 6"/>',
  down: '<path d="M6 9l6 6 6-6"/>',
  disc: '<circle cx="12" cy="12" r="9"/><circle cx="12" cy="12" r="2"/><path d="M12 6.5a5.5 5.5 0 015.5 5.5"/>',
  more: '<circle cx="12" cy="5.5" r="1.6" fill="currentColor" stroke="none"/><circle cx="12" cy="12" r="1.6" fill="currentColor" stroke="none"/><circle cx="12" cy="18.5" r="1.6" fill="currentColor" stroke="none"/>',
  close: '<path d="M6 6l12 12M18 6L6 18"/>',
  grip: '<path d="M5 9h14M5 15h14"/>',
  playnext: '<path d="M4 6h10M4 11h10M4 16h6"/><path d="M15 13.5v7l5.5-3.5z" fill="currentColor"/>',
  addqueue: '<path d="M4 6h12M4 11h12M4 16h7"/><path d="M18 13v7M14.5 16.5h7"/>',
  addlist: '<path d="M4 6h11M4 11h11M4 16h6"/><path d="M17 19.5V11l3.5 1.2"/><circle cx="15.2" cy="19.5" r="1.9" fill="currentColor"/>',
  album: '<rect x="3.5" y="3.5" width="17" height="17" rx="2"/><circle cx="12" cy="12" r="4"/><circle cx="12" cy="12" r="0.8" fill="currentColor"/>',
  artist: '<circle cx="12" cy="8.5" r="4"/><path d="M4.5 20c1.2-3.8 4-5.5 7.5-5.5s6.3 1.7 7.5 5.5"/>',
  edit: '<path d="M4 20h4L19 9l-4-4L4 16z"/><path d="M13.5 6.5l4 4"/>',
  trash: '<path d="M4.5 7h15M9.5 7V4.5h5V7M6.5 7l1 13h9l1-13"/><path d="M10.5 11v5.5M13.5 11v5.5"/>',
  tracks: '<path d="M9 17.5V5l10-2v12.5"/><circle cx="6.5" cy="17.5" r="2.5"/><circle cx="16.5" cy="15.5" r="2.5"/>',
  speaker: '<rect x="6" y="3" width="12" height="18" rx="2"/><circle cx="12" cy="14.5" r="3.2"/><circle cx="12" cy="7.5" r="1.2"/>',
};

export function icon(name, label) {
  const span = document.createElement("span");
  span.className = `icon icon-${name}`;
  if (label) {
    span.setAttribute("role", "img");
    span.setAttribute("aria-label", label);
  } else {
    span.setAttribute("aria-hidden", "true");
  }
  span.innerHTML =
    '<svg viewBox="0 0 24 24" width="24" height="24" fill="none" stroke="currentColor" ' +
    `stroke-width="1.8" stroke-linecap="round" stroke-linejoin="round">${paths[name] || ""}</svg>`;
  return span;
}
