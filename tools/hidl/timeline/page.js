// The timeline page: the calls of several processes on one canvas, and a
// table of them. Only what is in view is drawn, so thousands of sections
// zoom and pan without stalling the page. The data is the JSON zuv_hidl put
// in the page; nothing is fetched.
(function () {
  'use strict';
  const data = JSON.parse(document.getElementById('data').textContent);
  const sections = data.sections || [];
  const links = data.links || [];
  const deaths = data.deaths || [];
  const canvas = document.getElementById('canvas');
  const ctx = canvas.getContext('2d');
  const tip = document.getElementById('tip');
  const filterBox = document.getElementById('filter');
  const tbody = document.querySelector('#calls tbody');

  const ROW_H = 18, LANE_PAD = 3, AXIS_H = 22, FONT = '11px sans-serif';
  const HEAD_FONT = 'bold 12px sans-serif', HEAD_LINE = 16;
  const COLORS = {client: '#4a90d9', server: '#5cb85c', passthrough: '#f0ad4e', other: '#999'};
  const MAX_ROWS = 1000;  // table rows built at once; a filter narrows the rest

  // ---- Data: process names, lanes, rows within a lane ----
  const processName = {};
  for (const p of data.processes || []) {
    if (p.process && !processName[p.pid]) processName[p.pid] = p.process;
  }
  const processLabel = pid => (processName[pid] || 'process') + ' (pid ' + pid + ')';

  let t0 = Infinity, t1 = -Infinity;
  for (const s of sections) {
    t0 = Math.min(t0, s.begin);
    t1 = Math.max(t1, s.end);
  }
  if (!isFinite(t0)) {
    for (const d of deaths) { t0 = Math.min(t0, d.ts); t1 = Math.max(t1, d.ts); }
  }
  if (!isFinite(t0)) { t0 = 0; t1 = 1; }
  if (t1 - t0 < 1) t1 = t0 + 1;

  const groups = [];  // one per process: its threads' lanes
  const laneByKey = {};
  for (const p of data.processes || []) {
    let g = groups.length && groups[groups.length - 1].pid === p.pid ? groups[groups.length - 1]
                                                                    : null;
    if (!g) { g = {pid: p.pid, label: processLabel(p.pid), lanes: []}; groups.push(g); }
    const lane = {pid: p.pid, tid: p.tid, label: (p.thread || 'thread') + ' ' + p.tid,
                  rowEnds: [], rows: []};
    g.lanes.push(lane);
    laneByKey[p.pid + '/' + p.tid] = lane;
  }
  // Sections arrive sorted by start; each takes the first row of its lane
  // that is free by then, so nested and overlapping calls stack and a row
  // never overlaps itself (which hit-testing relies on).
  sections.forEach(function (s, i) {
    s.index = i;
    s.dur = s.end - s.begin;
    s.process = processLabel(s.pid);
    let lane = laneByKey[s.pid + '/' + s.tid];
    if (!lane) {
      lane = {pid: s.pid, tid: s.tid, label: 'thread ' + s.tid, rowEnds: [], rows: []};
      laneByKey[s.pid + '/' + s.tid] = lane;
      groups.push({pid: s.pid, label: processLabel(s.pid), lanes: [lane]});
    }
    let r = 0;
    while (r < lane.rowEnds.length && lane.rowEnds[r] > s.begin) r++;
    if (r === lane.rowEnds.length) { lane.rowEnds.push(0); lane.rows.push([]); }
    lane.rowEnds[r] = s.end;
    lane.rows[r].push(s);
    s.lane = lane;
    s.row = r;
  });

  // ---- Layout (depends on the canvas width: long process names wrap) ----
  let width = 800, labelW = 120, height = 100;
  function wrap(text, maxW) {
    const lines = [];
    let line = '';
    for (const ch of text) {
      if (line && ctx.measureText(line + ch).width > maxW) { lines.push(line); line = ''; }
      line += ch;
    }
    lines.push(line);
    return lines;
  }
  function layout() {
    width = Math.max(canvas.parentElement.clientWidth, 300);
    ctx.font = FONT;
    labelW = 60;
    for (const g of groups) {
      for (const l of g.lanes) labelW = Math.max(labelW, ctx.measureText(l.label).width + 16);
    }
    labelW = Math.min(labelW, 220);
    ctx.font = HEAD_FONT;
    let y = AXIS_H;
    for (const g of groups) {
      g.y = y;
      g.lines = wrap(g.label, width - 8);
      g.h = g.lines.length * HEAD_LINE + 4;
      y += g.h;
      for (const l of g.lanes) {
        l.y = y;
        l.h = Math.max(l.rows.length, 1) * ROW_H + 2 * LANE_PAD;
        y += l.h;
      }
      g.bottom = y;
    }
    height = y + 4;
    const dpr = window.devicePixelRatio || 1;
    canvas.width = Math.round(width * dpr);
    canvas.height = Math.round(height * dpr);
    canvas.style.height = height + 'px';
    ctx.setTransform(dpr, 0, 0, dpr, 0, 0);
  }

  // ---- View: the time range in the plot ----
  const view = {start: t0, end: t1};
  const plotW = () => width - labelW;
  const xOf = t => labelW + (t - view.start) / (view.end - view.start) * plotW();
  const tOf = x => view.start + (x - labelW) / plotW() * (view.end - view.start);
  const MIN_SPAN = 0.05;  // us: deeper than this shows nothing more
  const maxSpan = () => (t1 - t0) * 20;

  function fit() {
    const pad = (t1 - t0) * 0.02;
    view.start = t0 - pad;
    view.end = t1 + pad;
  }
  function zoomAt(t, factor) {
    const span = view.end - view.start;
    const next = Math.min(Math.max(span * factor, MIN_SPAN), maxSpan());
    view.start = t - (t - view.start) * next / span;
    view.end = view.start + next;
  }
  function pan(fraction) {
    const d = (view.end - view.start) * fraction;
    view.start += d;
    view.end += d;
  }
  function show(s) {
    const span = Math.min(Math.max(s.dur * 3, 2), maxSpan());
    const mid = (s.begin + s.end) / 2;
    view.start = mid - span / 2;
    view.end = mid + span / 2;
  }

  // ---- Drawing ----
  function fmt(us, step) {
    const abs = Math.abs(step || us);
    if (abs >= 1e6) return (us / 1e6).toFixed(Math.max(0, -Math.floor(Math.log10(abs / 1e6)))) + ' s';
    if (abs >= 1e3) return (us / 1e3).toFixed(Math.max(0, -Math.floor(Math.log10(abs / 1e3)))) + ' ms';
    return us.toFixed(Math.max(0, -Math.floor(Math.log10(abs || 1)))) + ' us';
  }
  const widthCache = new Map();
  function textW(text) {
    let w = widthCache.get(text);
    if (w === undefined) { w = ctx.measureText(text).width; widthCache.set(text, w); }
    return w;
  }
  let hatch = null;
  function failedFill() {
    if (hatch) return hatch;
    const tile = document.createElement('canvas');
    tile.width = tile.height = 8;
    const t = tile.getContext('2d');
    t.fillStyle = '#e05555';
    t.fillRect(0, 0, 8, 8);
    t.strokeStyle = '#8b0000';
    t.lineWidth = 2;
    t.beginPath();
    t.moveTo(-2, 10); t.lineTo(10, -2);
    t.moveTo(6, 10); t.lineTo(10, 6);
    t.stroke();
    hatch = ctx.createPattern(tile, 'repeat');
    return hatch;
  }

  let selected = -1;
  const stats = {};  // what the last draw showed; the self-test reads it
  function draw() {
    const began = performance.now();
    ctx.clearRect(0, 0, width, height);
    ctx.textBaseline = 'middle';
    const right = width;
    // Axis and grid.
    const span = view.end - view.start;
    const raw = span / Math.max(plotW() / 110, 1);
    const mag = Math.pow(10, Math.floor(Math.log10(raw)));
    const step = [1, 2, 5, 10].map(m => m * mag).find(v => v >= raw);
    ctx.font = FONT;
    ctx.fillStyle = '#444';
    ctx.strokeStyle = '#e4e4e4';
    ctx.lineWidth = 1;
    for (let t = Math.ceil((view.start - t0) / step) * step; t0 + t <= view.end; t += step) {
      const x = Math.round(xOf(t0 + t)) + 0.5;
      if (x < labelW) continue;
      ctx.beginPath(); ctx.moveTo(x, AXIS_H - 4); ctx.lineTo(x, height); ctx.stroke();
      ctx.fillText(fmt(t, step), x + 3, AXIS_H / 2);
    }
    // Process headers and lanes.
    stats.processLabels = [];
    stats.lanes = [];
    for (const g of groups) {
      ctx.fillStyle = '#e6e9ee';
      ctx.fillRect(0, g.y, right, g.h);
      ctx.fillStyle = '#111';
      ctx.font = HEAD_FONT;
      g.lines.forEach((line, n) => ctx.fillText(line, 4, g.y + 2 + HEAD_LINE * (n + 0.5)));
      stats.processLabels.push(g.label);
      ctx.font = FONT;
      g.lanes.forEach(function (l, n) {
        ctx.fillStyle = n % 2 ? '#f7f7f7' : '#fcfcfc';
        ctx.fillRect(0, l.y, right, l.h);
        ctx.fillStyle = '#333';
        ctx.save();
        ctx.beginPath(); ctx.rect(0, l.y, labelW - 4, l.h); ctx.clip();
        ctx.fillText(l.label, 12, l.y + LANE_PAD + ROW_H / 2);
        ctx.restore();
        stats.lanes.push(l.pid + '/' + l.tid);
      });
    }
    ctx.save();
    ctx.beginPath(); ctx.rect(labelW, AXIS_H, plotW(), height); ctx.clip();
    // Links from each client call to the server section it caused, under
    // the boxes so a narrow box is not hidden by its arrow.
    // One path for all of them, and one link per client pixel column:
    // zoomed out, thousands of links would paint the same smear slowly.
    let linksDrawn = 0;
    const seen = new Set(), lines = new Path2D(), heads = new Path2D();
    for (const k of links) {
      const a = sections[k.client], b = sections[k.server];
      if (!a || !b || !a.lane || !b.lane) continue;
      const xa = Math.round(xOf(a.begin)), xb = Math.round(xOf(b.begin));
      if (Math.max(xa, xb) < labelW || Math.min(xa, xb) > right) continue;
      const ya = a.lane.y + LANE_PAD + a.row * ROW_H + ROW_H / 2;
      const yb = b.lane.y + LANE_PAD + b.row * ROW_H + ROW_H / 2;
      if (seen.has(xa)) continue;
      seen.add(xa);
      lines.moveTo(xa, ya);
      lines.lineTo(xb, yb);
      const angle = Math.atan2(yb - ya, xb - xa);
      heads.moveTo(xb, yb);
      heads.lineTo(xb - 6 * Math.cos(angle - 0.4), yb - 6 * Math.sin(angle - 0.4));
      heads.lineTo(xb - 6 * Math.cos(angle + 0.4), yb - 6 * Math.sin(angle + 0.4));
      heads.closePath();
      linksDrawn++;
    }
    ctx.strokeStyle = ctx.fillStyle = '#d9534f';
    ctx.stroke(lines);
    ctx.fill(heads);
    // Sections: only those in view; several in one pixel are drawn once.
    let drawn = 0, failedDrawn = 0, highlighted = null;
    const labelled = [];
    for (const g of groups) {
      for (const l of g.lanes) {
        l.rows.forEach(function (row, r) {
          const y = l.y + LANE_PAD + r * ROW_H;
          let lastPixel = -1;
          for (const s of row) {
            if (s.end < view.start || s.begin > view.end) continue;
            // Whole pixels: crisp edges, and a sliver keeps its colour.
            const x0 = Math.round(Math.max(xOf(s.begin), labelW - 1));
            const w = Math.max(Math.round(Math.min(xOf(s.end), right + 1)) - x0, 1);
            if (w === 1 && x0 === lastPixel && !s.failed && s.index !== selected) continue;
            lastPixel = x0;
            ctx.fillStyle = s.failed ? failedFill() : (COLORS[s.kind] || COLORS.other);
            ctx.fillRect(x0, y + 1, w, ROW_H - 2);
            drawn++;
            if (s.failed) failedDrawn++;
            if (s.index === selected) highlighted = {x: x0, y: y, w: w};
            if (w < 24) continue;
            let text = s.call || s.name;
            if (textW(text) > w - 6) text = text.slice(text.lastIndexOf('::') + 2);
            if (textW(text) > w - 6) continue;
            ctx.fillStyle = s.failed ? '#fff' : '#000';
            ctx.fillText(text, Math.max(x0, labelW) + 3, y + ROW_H / 2);
            labelled.push(s.index);
          }
        });
      }
    }
    // A peer's death: a mark across the lanes of the process that saw it,
    // and of the peer too when its trace is here.
    let deathsDrawn = 0;
    for (const d of deaths) {
      const x = xOf(d.ts);
      if (x < labelW || x > right) continue;
      const marked = groups.filter(gr => gr.pid === d.pid || gr.pid === (d.args || {}).peer);
      if (marked.length) deathsDrawn++;
      ctx.strokeStyle = ctx.fillStyle = '#c00';
      ctx.lineWidth = 2;
      for (const g of marked) {
        const top = g.y + g.h;
        ctx.beginPath(); ctx.moveTo(x, top); ctx.lineTo(x, g.bottom); ctx.stroke();
        ctx.beginPath(); ctx.moveTo(x - 5, top); ctx.lineTo(x + 5, top); ctx.lineTo(x, top + 8);
        ctx.fill();
      }
      ctx.lineWidth = 1;
    }
    if (highlighted) {
      ctx.strokeStyle = '#000';
      ctx.lineWidth = 2;
      ctx.strokeRect(highlighted.x - 1, highlighted.y, highlighted.w + 2, ROW_H);
      ctx.strokeStyle = '#ffcc00';
      ctx.lineWidth = 1;
      ctx.strokeRect(highlighted.x - 2.5, highlighted.y - 1.5, highlighted.w + 5, ROW_H + 3);
    }
    ctx.restore();
    Object.assign(stats, {drawn, failedDrawn, labelled, linksDrawn, deathsDrawn,
                          highlighted: !!highlighted, ms: performance.now() - began});
  }
  let pending = false;
  function redraw() {
    if (pending) return;
    pending = true;
    requestAnimationFrame(function () { pending = false; draw(); });
  }

  // ---- Pointer and keys ----
  function sectionAt(px, py) {
    if (px < labelW) return null;
    for (const g of groups) {
      for (const l of g.lanes) {
        if (py < l.y + LANE_PAD || py >= l.y + l.h - LANE_PAD) continue;
        const row = l.rows[Math.floor((py - l.y - LANE_PAD) / ROW_H)];
        if (!row) return null;
        const t = tOf(px), slack = 3 * (view.end - view.start) / plotW();
        // Rows never overlap themselves: the last start at or before t.
        let lo = 0, hi = row.length - 1, found = -1;
        while (lo <= hi) {
          const mid = (lo + hi) >> 1;
          if (row[mid].begin <= t + slack) { found = mid; lo = mid + 1; } else hi = mid - 1;
        }
        if (found >= 0 && row[found].end >= t - slack) return row[found];
        return null;
      }
    }
    return null;
  }
  function describe(s) {
    const args = Object.keys(s.args || {}).length ? '\n' + JSON.stringify(s.args) : '';
    return s.name + '\n' + s.kind + ' in ' + s.process + ', thread ' + s.tid + '\nstart +' +
           fmt(s.begin - t0) + ', took ' + fmt(s.dur) + '\noutcome: ' +
           (s.outcome || 'OK/unknown') + args;
  }
  function pointer(e) {
    const r = canvas.getBoundingClientRect();
    return {x: e.clientX - r.left, y: e.clientY - r.top};
  }
  canvas.addEventListener('wheel', function (e) {
    e.preventDefault();
    const p = pointer(e);
    const lines = e.deltaMode === 1 ? 16 : e.deltaMode === 2 ? 400 : 1;
    // A sideways scroll (trackpad, or shift+wheel) pans instead.
    if (Math.abs(e.deltaX) > Math.abs(e.deltaY)) {
      pan(e.deltaX * lines / plotW());
      redraw();
      return;
    }
    zoomAt(p.x < labelW ? (view.start + view.end) / 2 : tOf(p.x),
           Math.exp(e.deltaY * lines * 0.002));
    redraw();
  }, {passive: false});
  let drag = null;
  canvas.addEventListener('mousedown', function (e) {
    drag = {x: e.clientX, start: view.start, end: view.end, moved: false};
    canvas.focus();
  });
  window.addEventListener('mousemove', function (e) {
    if (drag) {
      const dx = e.clientX - drag.x;
      if (Math.abs(dx) > 2) { drag.moved = true; canvas.classList.add('dragging'); }
      const dt = dx / plotW() * (drag.end - drag.start);
      view.start = drag.start - dt;
      view.end = drag.end - dt;
      tip.style.display = 'none';
      redraw();
      return;
    }
    if (e.target !== canvas) { tip.style.display = 'none'; return; }
    const p = pointer(e);
    const s = sectionAt(p.x, p.y);
    const g = groups.find(gr => p.y >= gr.y && p.y < gr.bottom);
    const d = !s && g && deaths.find(dd => (dd.pid === g.pid || (dd.args || {}).peer === g.pid) &&
                                              Math.abs(xOf(dd.ts) - p.x) <= 4);
    const text = s ? describe(s) : d ? d.name + ' at +' + fmt(d.ts - t0) + '\n' +
                                           JSON.stringify(d.args || {})
                                     : g && p.x < labelW ? g.label : '';
    if (!text) { tip.style.display = 'none'; return; }
    tip.textContent = text;
    tip.style.display = 'block';
    tip.style.left = Math.min(e.clientX + 14, window.innerWidth - tip.offsetWidth - 4) + 'px';
    tip.style.top = (e.clientY + 14) + 'px';
  });
  window.addEventListener('mouseup', function (e) {
    if (!drag) return;
    const clicked = !drag.moved;
    drag = null;
    canvas.classList.remove('dragging');
    if (clicked && e.target === canvas) {
      const p = pointer(e);
      const s = sectionAt(p.x, p.y);
      select(s ? s.index : -1, false);
    }
  });
  document.addEventListener('keydown', function (e) {
    if (e.target === filterBox || e.ctrlKey || e.metaKey || e.altKey) return;
    const mid = (view.start + view.end) / 2;
    switch (e.key) {
      case '+': case '=': case 'w': zoomAt(mid, 0.5); break;
      case '-': case '_': case 's': zoomAt(mid, 2); break;
      case 'a': case 'ArrowLeft': pan(-0.2); break;
      case 'd': case 'ArrowRight': pan(0.2); break;
      case '0': case 'f': fit(); break;
      default: return;
    }
    e.preventDefault();
    redraw();
  });
  window.addEventListener('resize', function () { layout(); redraw(); });

  // ---- Table ----
  let sortKey = 'begin', sortDir = 1;
  function rowText(s) {
    return (s.call + ' ' + s.kind + ' ' + s.process + ' ' + (s.outcome || 'OK/unknown'))
        .toLowerCase();
  }
  function fillTable() {
    const terms = filterBox.value.toLowerCase().split(/\s+/).filter(Boolean);
    const rows = sections.filter(s => terms.every(t => rowText(s).includes(t)));
    rows.sort(function (a, b) {
      const va = sortKey === 'outcome' ? (a.outcome || 'OK/unknown') : a[sortKey];
      const vb = sortKey === 'outcome' ? (b.outcome || 'OK/unknown') : b[sortKey];
      return (va < vb ? -1 : va > vb ? 1 : a.index - b.index) * sortDir;
    });
    const body = document.createDocumentFragment();
    for (const s of rows.slice(0, MAX_ROWS)) {
      const tr = document.createElement('tr');
      tr.dataset.index = s.index;
      if (s.failed) tr.classList.add('failed');
      if (s.index === selected) tr.classList.add('selected');
      const cells = [[s.call], [s.kind], [s.process], [((s.begin - t0) / 1000).toFixed(3), 'num'],
                     [s.dur.toFixed(1), 'num'], [s.outcome || 'OK/unknown', 'outcome']];
      for (const [text, cls] of cells) {
        const td = document.createElement('td');
        td.textContent = text;
        if (cls) td.className = cls;
        tr.appendChild(td);
      }
      body.appendChild(tr);
    }
    tbody.replaceChildren(body);
    document.getElementById('count').textContent = rows.length + ' of ' + sections.length +
        ' sections' + (rows.length > MAX_ROWS ? '; the first ' + MAX_ROWS +
                                                  ' are listed, a filter narrows them' : '');
    for (const th of document.querySelectorAll('#calls th')) {
      th.textContent = th.textContent.replace(/ [\u25b2\u25bc]$/, '') +
          (th.dataset.key === sortKey ? (sortDir > 0 ? ' \u25b2' : ' \u25bc') : '');
    }
  }
  function select(index, jump) {
    selected = index;
    for (const tr of tbody.querySelectorAll('tr.selected')) tr.classList.remove('selected');
    const tr = tbody.querySelector('tr[data-index="' + index + '"]');
    if (tr) tr.classList.add('selected');
    // A row click brings its box into view; a box click leaves the page
    // where it is (its row is marked, not scrolled to).
    if (jump && sections[index]) {
      show(sections[index]);
      canvas.scrollIntoView({block: 'nearest'});
    }
    redraw();
  }
  filterBox.addEventListener('input', fillTable);
  document.querySelector('#calls thead').addEventListener('click', function (e) {
    const key = e.target.dataset && e.target.dataset.key;
    if (!key) return;
    sortDir = key === sortKey ? -sortDir : 1;
    sortKey = key;
    fillTable();
  });
  tbody.addEventListener('click', function (e) {
    const tr = e.target.closest('tr');
    if (tr) select(Number(tr.dataset.index), true);
  });

  const failedCount = sections.filter(s => s.failed).length;
  const count = (n, one, many) => n + ' ' + (n === 1 ? one : many);
  document.getElementById('summary').textContent =
      count(sections.length, 'section', 'sections') + ' in ' +
      count(groups.length, 'process', 'processes') +
      ' over ' + fmt(t1 - t0) + ' from the first one' +
      (failedCount ? ', ' + failedCount + ' failed' : '') +
      (deaths.length ? ', ' + count(deaths.length, 'peer death', 'peer deaths') : '');
  layout();
  fit();
  fillTable();
  draw();
  document.body.setAttribute('data-drawn', sections.length);

  // ---- Self-test (#selftest): a scripted zoom, filter and click whose
  // results a headless browser's DOM dump carries to the test. ----
  if (location.hash !== '#selftest') return;
  const snapshot = () => Object.assign({}, stats, {labelled: stats.labelled.length,
                                                  labelledSelected: stats.labelled.includes(selected)});
  const out = {t0: t0, t1: t1, sections: sections.length, fit: {start: view.start, end: view.end},
               fitStats: snapshot()};
  const spanNow = () => view.end - view.start;
  const r = canvas.getBoundingClientRect();
  canvas.dispatchEvent(new WheelEvent('wheel', {deltaY: -300, clientX: r.left + labelW + plotW() / 2,
                                                 clientY: r.top + 30, bubbles: true,
                                                 cancelable: true}));
  out.spanAfterWheel = spanNow();
  const key = k => document.dispatchEvent(new KeyboardEvent('keydown', {key: k, bubbles: true}));
  key('+');
  out.spanAfterPlus = spanNow();
  key('-');
  out.spanAfterMinus = spanNow();
  const startBeforePan = view.start;
  key('d');
  out.panned = view.start - startBeforePan;
  const mouse = (type, target, dx) => target.dispatchEvent(new MouseEvent(type, {
    clientX: r.left + labelW + plotW() / 2 + dx, clientY: r.top + 30, bubbles: true}));
  const startBeforeDrag = view.start;
  mouse('mousedown', canvas, 0);
  mouse('mousemove', window, 100);
  mouse('mouseup', window, 100);
  out.dragged = view.start - startBeforeDrag;
  key('0');
  out.spanAfterFit = spanNow();
  // Draw time across zoom levels, from the whole trace to one call.
  let worst = 0;
  for (let i = 0; i < 12; i++) { zoomAt((t0 + t1) / 2, 0.5); draw(); worst = Math.max(worst, stats.ms); }
  fit();
  draw();
  worst = Math.max(worst, stats.ms);
  out.worstDrawMs = worst;
  out.rows = tbody.rows.length;
  const op = sections.length ? sections[0].call : '';
  filterBox.value = op;
  filterBox.dispatchEvent(new Event('input'));
  out.filter = op;
  out.filteredOps = Array.from(tbody.rows, tr => tr.cells[0].textContent);
  const first = tbody.rows[0];
  if (first) {
    first.cells[0].click();
    draw();
    out.clicked = Number(first.dataset.index);
    out.selected = selected;
    out.rowSelected = first.classList.contains('selected');
    out.view = {start: view.start, end: view.end};
    out.clickStats = snapshot();
  }
  // Hover the first failed call: its tooltip names the outcome.
  const bad = sections.find(s => s.failed);
  if (bad) {
    select(bad.index, true);
    draw();
    const y = bad.lane.y + LANE_PAD + bad.row * ROW_H + ROW_H / 2;
    const x = (Math.max(xOf(bad.begin), labelW) + Math.min(xOf(bad.end), width)) / 2;
    const at = canvas.getBoundingClientRect();
    canvas.dispatchEvent(new MouseEvent('mousemove', {clientX: at.left + x, clientY: at.top + y,
                                                      bubbles: true}));
    out.failedTip = tip.textContent;
  }
  filterBox.value = '';
  filterBox.dispatchEvent(new Event('input'));
  document.querySelector('#calls th[data-key="dur"]').click();
  document.querySelector('#calls th[data-key="dur"]').click();
  out.durationsSorted = Array.from(tbody.rows, tr => Number(tr.cells[4].textContent));
  document.getElementById('selftest').textContent = JSON.stringify(out);
})();
