"use strict";
// The page's behaviour: units, filters, sorting, and charts that are drawn when they come into view. All
// figures of the files stand in the tables of the page itself; without this script nothing of them is lost but
// the drawings.
(() => {
  const data = JSON.parse(document.getElementById("data").textContent);
  const dark = matchMedia("(prefers-color-scheme: dark)");
  const colour = (name) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();
  let unit = "clocks";

  // --- figures ---------------------------------------------------------------------------------
  const figure = (value) => {
    if (!Number.isFinite(value)) return "-";
    const size = Math.abs(value);
    if (value !== 0 && (size < 0.0001 || size > 1e7)) return value.toExponential(2);
    return value.toFixed(size < 0.1 ? 4 : size < 1 ? 3 : size < 10 ? 2 : size < 100 ? 1 : 0);
  };
  // clocks an element into the chosen unit; bytes an element and MHz may be unknown (0)
  const convert = (clocks, bytes, mhz) => {
    if (unit === "clocks") return clocks;
    const nanoseconds = mhz > 0 ? clocks * 1000 / mhz : NaN;
    if (unit === "ns") return nanoseconds;
    if (unit === "GB/s") return bytes > 0 ? bytes / nanoseconds : NaN;
    return 1000 / nanoseconds;
  };
  const unitText = (element) => unit === "GB/s" ? "GB/s" : unit === "Mpx/s" ? `M${element}/s` : `${unit}/${element}`;
  const bytesText = (bytes) => {
    const units = ["B", "KiB", "MiB", "GiB"];
    let i = 0;
    while (bytes >= 1024 && i < 3) { bytes /= 1024; ++i; }
    return `${Number.isInteger(bytes) || bytes >= 100 ? bytes.toFixed(0) : bytes.toFixed(1)} ${units[i]}`;
  };

  // --- tables ----------------------------------------------------------------------------------
  const keyOf = (row, column) => {
    const cell = row.cells[column];
    const number = cell.dataset.v === undefined ? NaN : Number(cell.dataset.v);
    return Number.isNaN(number) ? cell.textContent.trim() : number;
  };
  const compareKeys = (a, b) => {
    const numbers = typeof a === "number" && typeof b === "number";
    if (numbers) return a - b;
    if (typeof a !== typeof b) return typeof a === "number" ? -1 : 1;  // what has no figure comes last
    return a.localeCompare(b, "en");
  };
  const sortBy = (table, column) => {
    const heads = [...table.tHead.rows[0].cells];
    const up = heads[column].getAttribute("aria-sort") !== "ascending";
    heads.forEach((head, i) => head.querySelector("button") &&
      head.setAttribute("aria-sort", i !== column ? "none" : up ? "ascending" : "descending"));
    const body = table.tBodies[0];
    const rows = [...body.rows].map((row) => [keyOf(row, column), row]);
    rows.sort((a, b) => (up ? 1 : -1) * compareKeys(a[0], b[0]));
    body.append(...rows.map((pair) => pair[1]));
  };
  document.querySelectorAll("table.sortable").forEach((table) => {
    [...table.tHead.rows[0].cells].forEach((head, column) => {
      const button = head.querySelector("button");
      if (button) button.addEventListener("click", () => sortBy(table, column));
    });
  });

  // --- filters ---------------------------------------------------------------------------------
  const words = (text) => text.toLowerCase().split(/\s+/).filter(Boolean);
  const holds = (text, wanted) => wanted.every((word) => text.includes(word));
  const tell = (status, shown, all, noun) => {
    document.getElementById(status).textContent = `${shown} of ${all} ${noun} shown`;
  };
  const later = (action) => {
    let timer = 0;
    return () => { clearTimeout(timer); timer = setTimeout(action, 120); };
  };
  document.querySelectorAll("input[data-table]").forEach((input) => {
    const rows = [...document.getElementById(input.dataset.table).tBodies[0].rows];
    const texts = rows.map((row) => row.textContent.toLowerCase());
    const verdict = document.getElementById(`${input.dataset.table}-verdict`);
    const apply = () => {
      const wanted = words(input.value);
      let shown = 0;
      rows.forEach((row, i) => {
        const good = holds(texts[i], wanted) && (!verdict || !verdict.value || row.dataset.verdict === verdict.value);
        row.hidden = !good;
        shown += good;
      });
      tell(`${input.dataset.table}-status`, shown, rows.length, "rows");
    };
    input.addEventListener("input", later(apply));
    if (verdict) verdict.addEventListener("change", apply);
    apply();
  });
  const articles = [...document.querySelectorAll("article")];
  const find = document.getElementById("find");
  if (find) {
    const texts = articles.map((article) => article.textContent.toLowerCase());
    const apply = () => {
      const wanted = words(find.value);
      let shown = 0;
      articles.forEach((article, i) => {
        const good = holds(texts[i], wanted);
        article.hidden = !good;
        shown += good;
      });
      tell("find-status", shown, articles.length, "functions");
    };
    find.addEventListener("input", later(apply));
    apply();
  }

  // --- charts ----------------------------------------------------------------------------------
  const seriesColour = (i) => colour(`--s${i % 6}`);
  const dashes = [[], [6, 4], [2, 3], [10, 4, 2, 4]];
  const marks = ["circle", "rect", "triangle", "rectRot", "crossRot", "star"];
  const axis = (title) => ({
    title: { display: true, text: title, color: colour("--soft") },
    ticks: { color: colour("--soft") },
    grid: { color: colour("--grid") },
  });
  const common = () => ({
    animation: false, responsive: true, maintainAspectRatio: false, normalized: true,
    plugins: { legend: { labels: { color: colour("--ink"), usePointStyle: true, boxHeight: 7 } } },
  });
  // Where the caches end, as lines over the curves.
  const cacheLines = {
    id: "caches",
    afterDatasetsDraw(chart, _, options) {
      const { ctx, chartArea: area, scales } = chart;
      ctx.save();
      ctx.font = "11px system-ui, sans-serif";
      ctx.fillStyle = ctx.strokeStyle = colour("--soft");
      ctx.setLineDash([3, 3]);
      for (const [name, bytes] of options.list || []) {
        if (bytes < scales.x.min || bytes > scales.x.max) continue;
        const x = scales.x.getPixelForValue(bytes);
        ctx.beginPath();
        ctx.moveTo(x, area.top);
        ctx.lineTo(x, area.bottom);
        ctx.stroke();
        ctx.fillText(name, x + 3, area.top + 10);
      }
      ctx.restore();
    },
  };
  const valueOf = (point) => convert(point.c, point.b, point.m);

  const curve = (canvas, view) => {
    const scales = { y: { ...axis(unitText(view.u)), beginAtZero: true } };
    const isCurve = view.n > 1;
    if (isCurve) {
      const named = new Map();
      view.s.forEach((series) => series.p.forEach((p) => named.has(p.x) || named.set(p.x, p.z)));
      const xs = [...named.keys()].sort((a, b) => a - b);
      scales.x = { ...axis(view.x === "bytes" ? "bytes of all test data" : view.z), type: "logarithmic",
        min: xs[0] / 1.6, max: xs[xs.length - 1] * 1.6,
        afterBuildTicks: (scale) => { scale.ticks = xs.map((value) => ({ value })); } };
      scales.x.ticks.callback = (value) => view.x === "bytes" ? [named.get(value), bytesText(value)] : named.get(value);
    } else {
      scales.x = axis("");
    }
    const datasets = view.s.map((series, i) => ({
      label: series.l, borderColor: seriesColour(i), backgroundColor: seriesColour(i), borderWidth: isCurve ? 2 : 0,
      borderDash: dashes[Math.floor(i / 6) % 4], pointStyle: marks[i % 6], pointRadius: 4, tension: 0, maxBarThickness: 48,
      data: isCurve ? series.p.map((p) => ({ x: p.x, y: valueOf(p), p })) : series.p.map((p) => valueOf(p)),
    }));
    const options = common();
    options.scales = scales;
    options.plugins.caches = { list: view.x === "bytes" ? data.runs[view.s[0].r].caches : [] };
    options.plugins.legend.display = view.s.length > 1;
    options.plugins.tooltip = { callbacks: {
      title: (items) => items[0].raw && items[0].raw.p ? items[0].raw.p.z : items[0].label,
      label: (item) => `${item.dataset.label || "figure"}: ${figure(item.parsed.y)} ${unitText(view.u)}`,
    } };
    const labels = isCurve ? undefined : [view.s[0].p[0].z || "figure"];
    return new Chart(canvas, { type: isCurve ? "line" : "bar", data: { labels, datasets }, options, plugins: [cacheLines] });
  };

  // Samples of each row side by side, in the order in which they were taken; above the smallest, in percent.
  const strips = (canvas, view) => {
    const rows = [];
    view.s.forEach((series) => series.p.forEach((p) => p.q && rows.push([series, p])));
    const passes = new Map();
    const heights = [];
    rows.forEach(([, p], place) => p.q.forEach(([pass, above], i) => {
      const count = p.q.length;
      const x = place + 0.1 + 0.8 * (count > 1 ? i / (count - 1) : 0.5);
      if (!passes.has(pass)) passes.set(pass, []);
      passes.get(pass).push({ x, y: above / 100 });
      heights.push(above / 100);
    }));
    heights.sort((a, b) => a - b);
    // A few samples that were far off must not flatten all others: they may lie beyond the top.
    const wanted = Math.max(2, Math.min(heights[heights.length - 1], 3 * heights[Math.floor(heights.length * 0.9)] + 1));
    const power = 10 ** Math.floor(Math.log10(wanted));
    const top = [1, 2, 3, 4, 5, 6, 8, 10].map((factor) => factor * power).find((value) => value >= wanted);
    const options = common();
    options.scales = { y: { ...axis("% above the smallest"), min: 0, max: top },
      x: { ...axis(""), min: 0, max: rows.length,
        afterBuildTicks: (scale) => { scale.ticks = rows.map((_, i) => ({ value: i + 0.5 })); } } };
    options.scales.x.ticks.callback = (value) => {
      const row = rows[Math.floor(value)];
      return row ? (view.s.length > 1 && rows.length <= 9 ? [row[1].z, row[0].l].filter(Boolean) : row[1].z) : "";
    };
    options.scales.x.grid = { display: false };
    options.plugins.legend.display = passes.size > 1;
    options.plugins.tooltip = { enabled: false };
    options.events = [];
    const datasets = [...passes.keys()].sort((a, b) => a - b).map((pass, i) => ({
      label: `pass ${pass}`, data: passes.get(pass), pointRadius: 1.7, pointStyle: "circle",
      backgroundColor: seriesColour(i) + "b0", borderWidth: 0,
    }));
    return new Chart(canvas, { type: "scatter", data: { datasets }, options });
  };

  // One row run by run, with the medians between its steps.
  const overTime = (canvas, row) => {
    const levels = row.p.map((_, i) => {
      const behind = row.s.filter(([at]) => at <= i);
      return behind.length ? behind[behind.length - 1][2] : row.s.length ? row.s[0][1] : NaN;
    });
    const options = common();
    options.scales = { x: axis(""), y: axis(`clocks/${row.u}`) };
    options.plugins.legend.display = row.s.length > 0;
    options.plugins.tooltip = { callbacks: { label: (item) => `${item.dataset.label}: ${figure(item.parsed.y)}` } };
    const line = (i) => ({ borderColor: seriesColour(i), backgroundColor: seriesColour(i), borderWidth: 2, tension: 0 });
    const datasets = [{ ...line(0), label: "figure", data: row.p.map((p) => p[1]), pointRadius: 4,
      pointStyle: row.p.map((p) => p[2] ? "crossRot" : "circle") }];
    if (row.s.length) {
      datasets.push({ ...line(1), label: "level", data: levels, stepped: "middle", pointRadius: 0, borderDash: dashes[1],
        pointStyle: "line" });
    }
    return new Chart(canvas, { type: "line", data: { labels: row.p.map((p) => data.past.runs[p[0]]), datasets }, options });
  };

  const kinds = { curve, strips, past: overTime };
  const drawn = new Map();
  const draw = (canvas) => {
    const views = canvas.dataset.kind === "past" ? data.past.rows : data.views;
    drawn.set(canvas, kinds[canvas.dataset.kind](canvas, views[Number(canvas.dataset.view)]));
  };
  const erase = (canvas) => { drawn.get(canvas).destroy(); drawn.delete(canvas); };
  // Only what is near the window has a chart: two thousand rows are as light as twenty.
  const watcher = new IntersectionObserver((entries) => entries.forEach(({ target, isIntersecting }) => {
    if (isIntersecting && !drawn.has(target)) draw(target);
    if (!isIntersecting && drawn.has(target)) erase(target);
  }), { rootMargin: "600px" });
  document.querySelectorAll("canvas").forEach((canvas) => watcher.observe(canvas));
  const redraw = () => [...drawn.keys()].forEach((canvas) => { erase(canvas); draw(canvas); });
  dark.addEventListener("change", redraw);

  // --- rows over time --------------------------------------------------------------------------
  if (data.past) {
    const one = document.getElementById("past-one");
    const canvas = one.querySelector("canvas");
    const runs = document.getElementById("past-runs").tBodies[0];
    const show = (number) => {
      const row = data.past.rows[number];
      document.getElementById("past-name").textContent = row.n;
      runs.replaceChildren(...row.p.map(([run, clocks, result]) => {
        const line = document.createElement("tr");
        [data.past.runs[run], figure(clocks), result || "OK"].forEach((text, i) => {
          const cell = document.createElement(i ? "td" : "th");
          if (i === 0) cell.scope = "row";
          if (i === 1) cell.className = "n";
          cell.textContent = text;
          line.append(cell);
        });
        return line;
      }));
      canvas.dataset.view = number;
      one.hidden = false;
      if (drawn.has(canvas)) { erase(canvas); draw(canvas); }
    };
    document.querySelectorAll("button[data-past]").forEach((button) => button.addEventListener("click", () => {
      show(Number(button.dataset.past));
      one.scrollIntoView({ block: "nearest" });
    }));
    // What changed most, or else the first.
    const heights = data.past.rows.map((row) => Math.max(0, ...row.s.map((step) => Math.abs(Math.log(step[2] / step[1])))));
    show(heights.indexOf(Math.max(...heights)));
  }

  const units = document.getElementById("unit");
  if (units) {
    const cells = [...document.querySelectorAll("td[data-c]")];
    const names = [...document.querySelectorAll(".unit")];
    units.addEventListener("change", () => {
      unit = units.value;
      cells.forEach((cell) => {
        const value = convert(Number(cell.dataset.c), Number(cell.dataset.b), Number(cell.dataset.m));
        cell.firstChild.textContent = figure(value);
      });
      names.forEach((name) => { name.textContent = unitText(name.dataset.e); });
      redraw();
    });
  }
})();
