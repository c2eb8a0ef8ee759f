#!/usr/bin/env bash
# Runs the web remote's end-to-end test: installs the pinned Playwright
# client into the build tree (npm ci, only when the lock file changed), then
# drives the real velora-host in headless Chromium.
#
#   run-e2e.sh <tests/web source folder> <work folder in the build tree> <velora-host>
#
# A machine without Node.js, npm or Chromium fails here with the reason; the
# test never skips.
set -euo pipefail

src=$1
work=$2
host=$3

fail() {
  echo "web.e2e: FAIL: $*" >&2
  exit 1
}

command -v node >/dev/null || fail "Node.js (node) is not installed; run scripts/install-deps.sh --tests"
command -v npm >/dev/null || fail "npm is not installed; run scripts/install-deps.sh --tests"
browser=${VELORA_CHROMIUM:-}
if [[ -z $browser ]]; then
  for candidate in /usr/bin/chromium /usr/bin/chromium-browser; do
    if [[ -x $candidate ]]; then
      browser=$candidate
      break
    fi
  done
fi
[[ -n $browser && -x $browser ]] || fail "Chromium is not installed (looked for /usr/bin/chromium); run scripts/install-deps.sh --tests"
[[ -x $host ]] || fail "velora-host not found at $host"
node_major=$(node -p 'process.versions.node.split(".")[0]')
((node_major >= 18)) || fail "Node.js 18 or newer is needed, found $(node --version)"

mkdir -p "$work"
if ! cmp -s "$src/package-lock.json" "$work/package-lock.json" || [[ ! -d $work/node_modules/playwright-core ]]; then
  cp "$src/package.json" "$src/package-lock.json" "$work/"
  echo "web.e2e: installing playwright-core into $work"
  (cd "$work" && PLAYWRIGHT_SKIP_BROWSER_DOWNLOAD=1 npm ci --no-audit --no-fund --loglevel=error) ||
    fail "npm ci failed (is the npm registry reachable?)"
fi
# The test and the checks it loads from files beside it.
rm -f "$work"/*.mjs
cp "$src"/*.mjs "$work/"

rm -rf "$work/artifacts"
exec node "$work/e2e.mjs" --host "$host" --chromium "$browser" --out "$work/artifacts"
