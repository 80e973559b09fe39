#!/usr/bin/env bash
# Makes docs/report.png, the picture of a report in README.md: the page
# `gcuschema report` writes for the sample document, at its maps, as headless
# Chromium draws it (the page is shown in a frame scrolled to the maps).
# Usage: scripts/report-screenshot.sh [BUILD_DIR] (default: build)
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-build}
tool="$root/$build/tools/gcuschema/gcuschema"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$tool" sample --inputs 24 -o "$work/config.bin"
"$tool" report "$work/config.bin" -o "$work/config.html"
printf '%s\n' '<!DOCTYPE html>' \
  '<html><body style="margin:0"><iframe src="config.html#s-maps" scrolling="no"' \
  ' style="width:1100px;height:900px;border:0"></iframe></body></html>' >"$work/frame.html"
chromium --headless --disable-gpu --no-sandbox --user-data-dir="$work/profile" --hide-scrollbars \
  --screenshot="$root/docs/report.png" --window-size=1100,900 "file://$work/frame.html" 2>/dev/null
echo "$root/docs/report.png: $(stat -c %s "$root/docs/report.png") bytes"
