#!/usr/bin/env bash
# The timeline as a browser draws it. Headless Chromium opens the demo's page
# with #selftest, which makes the page zoom, pan, drag, filter, sort and click a row
# by script and write what it then showed into the DOM; the dump must show a
# lane per traced thread, whole process names, a fit to the calls, zooms that
# narrow the view, labels on wide boxes and a table that filters and jumps.
# A made-up trace of thousands of calls, failures and a peer's death checks
# the failure marks and that drawing stays fast; a screenshot of the demo's
# page must not be blank.
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

browse() {  # browse OUTPUT_ARG URL: one headless run at a fixed window size
  timeout 60 "$browser" --headless --no-sandbox --disable-gpu --disable-background-networking \
    --disable-component-update --disable-sync --no-first-run --hide-scrollbars \
    --user-data-dir="$work/profile" --window-size=1280,900 "$@" 2>"$work/browser.log" ||
    { cat "$work/browser.log"; exit 1; }
}

# A process whose name is a long command line, one known only by its
# 15-character comm, 3000 calls of which some fail, and a peer's death.
python3 - "$work/big.json" <<'PY'
import json, sys
long_name = "/vendor/bin/hw/vendor.zuv.hardware.fingerprint@1.0-service --instance default"
ev = [{"name": "process_name", "ph": "M", "pid": 1, "tid": 1, "args": {"name": long_name}},
      {"name": "process_name", "ph": "M", "pid": 2, "tid": 2, "args": {"name": "fingerprint_cli"}}]
t = 1000.0
for i in range(1500):
    op = "IZuvExtendedFingerprint::%s" % ("processRequest" if i % 3 else "getConfigValue")
    fails = i % 50 == 7
    ev.append({"name": op + " (client)", "ph": "B", "ts": t, "pid": 2, "tid": 2 + i % 2})
    ev.append({"name": op + " (server)", "ph": "B", "ts": t + 5, "pid": 1, "tid": 10 + i % 2})
    ev.append({"name": op + " (server)", "ph": "E", "ts": t + 30, "pid": 1, "tid": 10 + i % 2})
    ev.append({"name": op + " (client)", "ph": "E", "ts": t + 40, "pid": 2, "tid": 2 + i % 2,
               "args": {"status": "DEAD_OBJECT: the service died" if fails else "OK"}})
    t += 60
ev.append({"name": "peer pid 1 died", "ph": "i", "s": "p", "ts": t, "pid": 2, "tid": 2,
           "args": {"peer": 1}})
json.dump({"traceEvents": ev}, open(sys.argv[1], "w"))
PY
"$build_dir/tools/hidl/zuv_hidl" timeline "$work/big.json" -o "$work/big.html" >/dev/null

browse --dump-dom "file://$work/out/timeline.html#selftest" >"$work/demo-dom.html"
browse --dump-dom "file://$work/big.html#selftest" >"$work/big-dom.html"
browse --screenshot="$work/shot.png" "file://$work/out/timeline.html" >/dev/null

python3 - "$work" "$work"/out/fingerprint_*.json <<'PY'
import html, json, re, struct, sys, zlib
work = sys.argv[1]

def selftest(path):
    m = re.search(r'<pre id="selftest">(.*?)</pre>', open(path, encoding="utf-8").read(), re.S)
    assert m and m.group(1), f"{path}: the page's self-test wrote nothing"
    return json.loads(html.unescape(m.group(1)))

def check_page(r, calls, names):
    f = r["fitStats"]
    assert r["sections"] == len(calls) and r["rows"] == min(len(calls), 1000), (r["sections"], r["rows"])
    for pid, name in names.items():
        assert f"{name} (pid {pid})" in f["processLabels"], (name, f["processLabels"])
    # The first view spans the calls, not the time before them.
    span = r["t1"] - r["t0"]
    assert r["fit"]["start"] <= r["t0"] and r["fit"]["end"] >= r["t1"], r["fit"]
    assert r["fit"]["end"] - r["fit"]["start"] < span * 1.1, r["fit"]
    fit = r["fit"]["end"] - r["fit"]["start"]
    assert r["spanAfterWheel"] < fit and r["spanAfterPlus"] < r["spanAfterWheel"], r
    assert r["spanAfterMinus"] > r["spanAfterPlus"] and r["panned"] > 0 and r["dragged"] < 0, r
    assert abs(r["spanAfterFit"] - fit) < 1e-6 * fit, (r["spanAfterFit"], fit)
    assert f["linksDrawn"] > 0, "no client/server link drawn"
    assert r["worstDrawMs"] < 250, f"a redraw took {r['worstDrawMs']} ms"
    # Filtering by an operation leaves its rows only; a row click shows its box.
    expect = sum(1 for c in calls if c == r["filter"])
    assert r["filteredOps"] == [r["filter"]] * min(expect, 1000), (r["filter"], r["filteredOps"][:5])
    c = r["clickStats"]
    assert r["selected"] == r["clicked"] and r["rowSelected"] and c["highlighted"], r
    assert c["labelledSelected"], "the clicked call's box has no label"
    d = r["durationsSorted"]
    assert d == sorted(d, reverse=True) and len(d) == r["rows"], d[:5]
    return r

# Self-contained: nothing the browser would fetch.
page = open(f"{work}/out/timeline.html", encoding="utf-8").read()
assert not re.search(r'\b(src|href)\s*=|https?://|@import|url\(', page), "the page refers outside itself"

# The demo: every traced thread has a lane, names come whole from the trace.
threads, calls, names = set(), [], {}
for path in sys.argv[2:]:
    for e in json.load(open(path))["traceEvents"]:
        threads.add((e["pid"], e["tid"]))
        if e["ph"] == "B":
            calls.append(e["name"].rsplit(" (", 1)[0])
        if e["name"] == "process_name":
            names[e["pid"]] = e["args"]["name"]
demo = check_page(selftest(f"{work}/demo-dom.html"), calls, names)
lanes = {tuple(map(int, l.split("/"))) for l in demo["fitStats"]["lanes"]}
assert lanes == threads, f"lanes {sorted(lanes)} != threads {sorted(threads)}"

# The made-up trace: failures marked, the death drawn, the long name whole.
big_events = json.load(open(f"{work}/big.json"))["traceEvents"]
big_calls = [e["name"].rsplit(" (", 1)[0] for e in big_events if e["ph"] == "B"]
big_names = {e["pid"]: e["args"]["name"] for e in big_events if e["name"] == "process_name"}
big = check_page(selftest(f"{work}/big-dom.html"), big_calls, big_names)
assert big["fitStats"]["failedDrawn"] > 0 and big["fitStats"]["deathsDrawn"] == 1, big["fitStats"]
assert "DEAD_OBJECT: the service died" in big["failedTip"], big.get("failedTip")

# The screenshot: the window's size, and boxes in the client and server colours.
png = open(f"{work}/shot.png", "rb").read()
assert png[:8] == b"\x89PNG\r\n\x1a\n", "the screenshot is not a PNG"
w, h, depth, ctype = struct.unpack(">IIBB", png[16:26])
assert (w, h, depth) == (1280, 900, 8) and ctype in (2, 6), (w, h, depth, ctype)
idat, pos = b"", 8
while pos < len(png):
    n, kind = struct.unpack(">I4s", png[pos:pos + 8])
    if kind == b"IDAT":
        idat += png[pos + 8:pos + 8 + n]
    pos += 12 + n
raw, bpp = zlib.decompress(idat), 3 if ctype == 2 else 4
stride, prev, colours = w * bpp, bytearray(w * bpp), set()
for y in range(h):
    f, line = raw[y * (stride + 1)], bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
    for i in range(stride):
        a = line[i - bpp] if i >= bpp else 0
        b, c = prev[i], prev[i - bpp] if i >= bpp else 0
        p = a + b - c
        pred = [0, a, b, (a + b) // 2,
                a if abs(p - a) <= abs(p - b) and abs(p - a) <= abs(p - c) else b if abs(p - b) <= abs(p - c) else c][f]
        line[i] = (line[i] + pred) & 0xFF
    colours.update(bytes(line[i:i + 3]) for i in range(0, stride, bpp))
    prev = line
assert len(colours) > 20, f"the screenshot is nearly uniform ({len(colours)} colours)"
for name, rgb in (("client", "4a90d9"), ("server", "5cb85c")):
    assert bytes.fromhex(rgb) in colours, f"no {name} box in the screenshot"
print(f"demo: {len(lanes)} lanes, {demo['sections']} calls, {demo['fitStats']['linksDrawn']} links; "
      f"3000 calls: worst redraw {big['worstDrawMs']:.1f} ms, {big['fitStats']['failedDrawn']} failed drawn; "
      f"screenshot {w}x{h}, {len(colours)} colours")
PY
