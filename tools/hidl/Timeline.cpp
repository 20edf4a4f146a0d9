#include "Timeline.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <stdexcept>
#include <utility>

namespace zuv_hidl {

using nlohmann::json;

namespace {

struct Section {
    int64_t pid = 0, tid = 0;
    std::string name, call, kind;  // call: the name without the side
    double begin = 0, end = 0;
    json args;
};

// "IFoo::op (client)" -> {"IFoo::op", "client"}.
std::pair<std::string, std::string> splitSide(const std::string& name) {
    const size_t open = name.rfind(" (");
    if (open == std::string::npos || name.back() != ')') return {name, "other"};
    return {name.substr(0, open), name.substr(open + 2, name.size() - open - 3)};
}

}  // namespace

json buildTimeline(const std::vector<std::string>& traceFiles) {
    std::map<int64_t, std::string> processNames;
    std::map<std::pair<int64_t, int64_t>, std::string> threadNames;
    std::vector<Section> sections;
    for (const std::string& path : traceFiles) {
        std::ifstream in(path);
        if (!in) throw std::runtime_error("cannot read " + path);
        json doc = json::parse(in, nullptr, false);
        if (doc.is_discarded() || !doc.contains("traceEvents"))
            throw std::runtime_error(path + " is not a trace (Chrome trace JSON with traceEvents)");
        std::map<std::pair<int64_t, int64_t>, std::vector<Section>> open;
        for (const json& e : doc["traceEvents"]) {
            const std::string ph = e.value("ph", "");
            const int64_t pid = e.value("pid", int64_t{0}), tid = e.value("tid", int64_t{0});
            if (ph == "M") {
                const std::string n = e.contains("args") ? e["args"].value("name", "") : "";
                if (e.value("name", "") == "process_name") processNames[pid] = n;
                if (e.value("name", "") == "thread_name") threadNames[{pid, tid}] = n;
                continue;
            }
            threadNames.emplace(std::make_pair(pid, tid), "");
            Section s;
            s.pid = pid;
            s.tid = tid;
            s.name = e.value("name", "");
            std::tie(s.call, s.kind) = splitSide(s.name);
            s.begin = e.value("ts", 0.0);
            s.args = e.value("args", json::object());
            if (ph == "B") {
                open[{pid, tid}].push_back(s);
            } else if (ph == "E") {
                auto& stack = open[{pid, tid}];
                if (stack.empty()) continue;
                Section done = stack.back();
                stack.pop_back();
                done.end = e.value("ts", done.begin);
                sections.push_back(done);
            } else if (ph == "X") {
                s.end = s.begin + e.value("dur", 0.0);
                sections.push_back(s);
            }
        }
    }
    std::sort(sections.begin(), sections.end(),
              [](const Section& a, const Section& b) { return a.begin < b.begin; });

    // A client section caused the first server section of the same call in
    // another process that starts inside it (or, for oneway calls, soon
    // after it returned).
    json links = json::array();
    std::vector<bool> taken(sections.size(), false);
    for (size_t c = 0; c < sections.size(); ++c) {
        const Section& client = sections[c];
        if (client.kind != "client") continue;
        for (size_t s = 0; s < sections.size(); ++s) {
            const Section& server = sections[s];
            if (taken[s] || server.kind != "server" || server.call != client.call ||
                server.pid == client.pid || server.begin < client.begin)
                continue;
            if (server.begin > client.end + 1e6) break;
            taken[s] = true;
            links.push_back({{"client", c}, {"server", s}});
            break;
        }
    }

    json out = {{"processes", json::array()}, {"sections", json::array()}, {"links", links}};
    for (const auto& [key, name] : threadNames) {
        const std::string process = processNames.count(key.first) ? processNames[key.first] : "";
        out["processes"].push_back(
                {{"pid", key.first}, {"tid", key.second}, {"process", process}, {"thread", name}});
    }
    for (const Section& s : sections) {
        out["sections"].push_back({{"pid", s.pid},
                                   {"tid", s.tid},
                                   {"name", s.name},
                                   {"kind", s.kind},
                                   {"begin", s.begin},
                                   {"end", s.end},
                                   {"args", s.args}});
    }
    return out;
}

namespace {

// Draws with SVG elements built by script, so the page needs nothing but
// itself; the data sits in the page as JSON.
const char* const kPage = R"HTML(<!DOCTYPE html>
<html><head><meta charset="utf-8"><title>zuv_hidl timeline</title>
<style>
body { font: 12px sans-serif; margin: 8px; }
#detail { position: fixed; right: 8px; top: 8px; background: #ffd; border: 1px solid #999;
          padding: 4px 8px; white-space: pre; display: none; }
.section.client { fill: #4a90d9; } .section.server { fill: #5cb85c; }
.section.passthrough { fill: #f0ad4e; } .section.other { fill: #aaa; }
.section:hover { stroke: #000; }
.link { stroke: #d9534f; stroke-width: 1; marker-end: url(#arrow); }
.lane-label { font-size: 11px; } .process-label { font-weight: bold; }
</style></head><body>
<h3>Calls across processes</h3>
<p>Blue: client, green: server, orange: passthrough; a red line runs from each call to the
server section it caused. Hover a box for details.</p>
<div id="detail"></div>
<svg id="timeline" xmlns="http://www.w3.org/2000/svg"></svg>
<script id="data" type="application/json">@DATA@</script>
<script>
(function () {
  const data = JSON.parse(document.getElementById('data').textContent);
  const NS = 'http://www.w3.org/2000/svg';
  const svg = document.getElementById('timeline');
  const detail = document.getElementById('detail');
  const labelW = 260, width = 1100, laneH = 24, top = 30;
  function el(name, attrs, parent) {
    const e = document.createElementNS(NS, name);
    for (const k in attrs) e.setAttribute(k, attrs[k]);
    (parent || svg).appendChild(e);
    return e;
  }
  const defs = el('defs', {});
  const marker = el('marker', {id: 'arrow', markerWidth: 6, markerHeight: 6, refX: 5, refY: 3,
                               orient: 'auto'}, defs);
  el('path', {d: 'M0,0 L6,3 L0,6 z', fill: '#d9534f'}, marker);
  let t0 = Infinity, t1 = -Infinity;
  for (const s of data.sections) { t0 = Math.min(t0, s.begin); t1 = Math.max(t1, s.end); }
  if (!isFinite(t0)) { t0 = 0; t1 = 1; }
  const span = Math.max(t1 - t0, 1);
  const x = t => labelW + (t - t0) / span * width;
  const laneY = {};
  let y = top, lastPid = null;
  for (const p of data.processes) {
    if (p.pid !== lastPid) {
      const g = el('g', {'class': 'process', 'data-pid': p.pid});
      const label = el('text', {'class': 'process-label', x: 4, y: y + 14}, g);
      label.textContent = (p.process || 'process') + ' (pid ' + p.pid + ')';
      y += laneH;
      lastPid = p.pid;
    }
    const lane = el('g', {'class': 'lane', 'data-pid': p.pid, 'data-tid': p.tid});
    el('rect', {x: labelW, y: y, width: width, height: laneH - 2, fill: '#f4f4f4'}, lane);
    const label = el('text', {'class': 'lane-label', x: 16, y: y + 15}, lane);
    label.textContent = (p.thread || 'thread') + ' ' + p.tid;
    laneY[p.pid + '/' + p.tid] = y;
    y += laneH;
  }
  const ms = span / 1000;
  const axis = el('text', {x: labelW, y: 16});
  axis.textContent = '0 ms';
  const axisEnd = el('text', {x: labelW + width, y: 16, 'text-anchor': 'end'});
  axisEnd.textContent = ms.toFixed(3) + ' ms';
  const boxes = [];
  data.sections.forEach(function (s, i) {
    const ly = laneY[s.pid + '/' + s.tid];
    const r = el('rect', {'class': 'section ' + s.kind, 'data-index': i, 'data-name': s.name,
                          x: x(s.begin), y: ly + 2, width: Math.max(x(s.end) - x(s.begin), 1.5),
                          height: laneH - 6});
    const text = s.name + '\n' + s.kind + ' in pid ' + s.pid + ', thread ' + s.tid +
                 '\nstart ' + ((s.begin - t0) / 1000).toFixed(3) + ' ms, ' +
                 ((s.end - s.begin)).toFixed(1) + ' us' +
                 (Object.keys(s.args || {}).length ? '\n' + JSON.stringify(s.args) : '');
    el('title', {}, r).textContent = text;
    r.addEventListener('mouseenter', function () { detail.textContent = text; detail.style.display = 'block'; });
    r.addEventListener('mouseleave', function () { detail.style.display = 'none'; });
    boxes.push({x: x(s.begin), y: ly + laneH / 2});
  });
  for (const l of data.links) {
    const a = boxes[l.client], b = boxes[l.server];
    el('line', {'class': 'link', 'data-client': l.client, 'data-server': l.server,
                x1: a.x, y1: a.y, x2: b.x, y2: b.y});
  }
  svg.setAttribute('width', labelW + width + 20);
  svg.setAttribute('height', y + 10);
  document.body.setAttribute('data-drawn', data.sections.length);
})();
</script></body></html>
)HTML";

}  // namespace

std::string timelineHtml(const json& timeline) {
    std::string data = timeline.dump();
    // "</" would end the script element early.
    for (size_t at = data.find("</"); at != std::string::npos; at = data.find("</", at + 3))
        data.replace(at, 2, "<\\/");
    std::string page = kPage;
    page.replace(page.find("@DATA@"), 6, data);
    return page;
}

}  // namespace zuv_hidl
