#!/usr/bin/env bash
# The demo's timeline as a browser draws it: headless Chromium loads the page,
# and the DOM it rendered must hold a lane for every thread of every traced
# process and a line from a client section to a server section.
#   timeline_in_browser.sh BUILD_DIR
set -euo pipefail
build_dir=$1
browser=$(command -v chromium || command -v chromium-browser || true)
if [[ -z $browser ]]; then
  echo "SKIP: chromium is not installed (scripts/install-deps.sh installs it)"
  exit 77
fi
work=$(mktemp -d "${TMPDIR:-/tmp}/zuv-timeline.XXXXXX")
trap 'rm -rf "$work"' EXIT
ZUV_DEMO_OUT=$work/out "$(dirname "$0")/../../scripts/demo.sh" "$build_dir" >"$work/demo.log" 2>&1 ||
  { cat "$work/demo.log"; exit 1; }
timeout 120 "$browser" --headless --no-sandbox --disable-gpu --disable-background-networking \
  --disable-component-update --disable-sync --no-first-run --user-data-dir="$work/profile" \
  --dump-dom "file://$work/out/timeline.html" >"$work/dom.html" 2>"$work/browser.log" ||
  { cat "$work/browser.log"; exit 1; }
python3 - "$work/dom.html" "$work"/out/fingerprint_*.json <<'PY'
import json, re, sys
dom = open(sys.argv[1], encoding="utf-8").read()
threads = set()
for path in sys.argv[2:]:
    for e in json.load(open(path))["traceEvents"]:
        threads.add((e["pid"], e["tid"]))
lanes = set((int(p), int(t)) for p, t in re.findall(r'<g class="lane" data-pid="(\d+)" data-tid="(\d+)"', dom))
assert lanes == threads, f"lanes {sorted(lanes)} != threads {sorted(threads)}"
processes = set(int(p) for p in re.findall(r'<g class="process" data-pid="(\d+)"', dom))
assert processes == {p for p, _ in threads}, f"process labels {processes}"
kinds = dict((int(i), k) for k, i in re.findall(r'<rect class="section (\w+)" data-index="(\d+)"', dom))
links = re.findall(r'<line class="link" data-client="(\d+)" data-server="(\d+)"', dom)
assert any(kinds.get(int(c)) == "client" and kinds.get(int(s)) == "server" for c, s in links), "no client/server link drawn"
print(f"{len(lanes)} lanes, {len(kinds)} sections, {len(links)} links drawn")
PY
