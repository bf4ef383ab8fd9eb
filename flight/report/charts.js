// Curves against time, and histograms.

const charts = [];   // functions that draw, again when the colour scheme changes
const drawn = [];

const color = (name) => getComputedStyle(document.documentElement).getPropertyValue(`--${name}`).trim();

/** A colour near that of the light for each curve, no two alike; and a dash, for who sees no colours. */
function stylesFor(curves) {
  const spare = ["teal", "brown", "pink", "grey", "blue", "green", "red", "purple"];
  const dashes = [[], [7, 4], [2, 3], [10, 3, 2, 3], [14, 5], [4, 2]];
  const taken = new Set();
  return curves.map((curve, index) => {
    const nm = curve.wavelength_nm;
    let name = !finite(nm) ? "grey" : nm < 500 ? "blue" : nm < 600 ? "green" : nm < 690 ? "red" : nm < 760 ? "purple" : "brown";
    if (taken.has(name)) name = spare.find((other) => !taken.has(other)) || spare[index % spare.length];
    taken.add(name);
    return { color: `c-${name}`, dash: dashes[index % dashes.length] };
  });
}

/** A sample of a line, as it is drawn. */
function lineSample(style, width) {
  const svg = document.createElementNS("http://www.w3.org/2000/svg", "svg");
  svg.setAttribute("width", 34);
  svg.setAttribute("height", 10);
  svg.setAttribute("aria-hidden", "true");
  const line = document.createElementNS("http://www.w3.org/2000/svg", "line");
  for (const [name, value] of Object.entries({ x1: 0, y1: 5, x2: 34, y2: 5, "stroke-dasharray": style.dash.join(" ") })) {
    line.setAttribute(name, value);
  }
  line.style.stroke = `var(--${style.color})`;
  line.style.strokeWidth = `${width}px`;
  svg.append(line);
  return svg;
}

function setDefaults() {
  Chart.defaults.font.family = getComputedStyle(document.body).fontFamily;
  Chart.defaults.font.size = 13;
  Chart.defaults.color = color("muted");
  Chart.defaults.locale = "en";
  Chart.defaults.animation = false;
  Chart.defaults.maintainAspectRatio = false;
  Chart.defaults.plugins.legend.display = false;
  Chart.defaults.plugins.tooltip.displayColors = false;
  Chart.defaults.plugins.tooltip.backgroundColor = color("ink");
  Chart.defaults.plugins.tooltip.titleColor = color("paper");
  Chart.defaults.plugins.tooltip.bodyColor = color("paper");
}

function drawAll() {
  drawn.splice(0).forEach((chart) => chart.destroy());
  setDefaults();
  charts.forEach((draw) => drawn.push(draw()));
}

/** A canvas that is told in words to who does not see it. */
function canvasIn(frame, words) {
  const canvas = el("canvas", { role: "img", "aria-label": words });
  frame.append(canvas);
  return canvas;
}

function axis(title, more = {}) {
  return {
    title: { display: Boolean(title), text: title, color: color("muted"), font: { size: 13 } },
    grid: { color: color("grid"), borderColor: color("rule"), tickLength: 4 },
    ...more,
  };
}

const kTimeSteps = [1, 2, 5, 10, 20, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 10800, 21600, 43200, 86400, 172800, 604800];

/** Round times of the day, as many as there is room for. */
function timeTicks(scale, startUnix) {
  const room = Math.max(2, Math.floor(scale.width / 80));
  const span = scale.max - scale.min;
  const step = kTimeSteps.find((s) => span / s <= room) || 604800 * Math.ceil(span / 604800 / room);
  const ticks = [];
  const first = Math.ceil((startUnix + scale.min) / step - 1e-9) * step;
  for (let t = first; t <= startUnix + scale.max + 1e-6; t += step) ticks.push({ value: t - startUnix });
  return ticks;
}

function timeAxis(startUnix, seconds) {
  const long = seconds > 86400;
  return axis(long ? "date and time, UTC" : "time of day, UTC", {
    type: "linear",
    min: 0,
    max: Math.max(seconds, 1),
    afterBuildTicks: (scale) => { scale.ticks = timeTicks(scale, startUnix); },
    ticks: {
      autoSkip: false,
      maxRotation: 0,
      callback: (value) => (long ? iso(startUnix + value).slice(5, 16).replace("T", " ") : clock(startUnix + value)),
    },
  });
}

const points = (curve) => curve.x.map((x, i) => ({ x, y: curve.y[i] }));

/** The least and greatest value, found without spreading thousands of arguments. */
const extent = (values) => values.reduce(([a, b], v) => (finite(v) ? [Math.min(a, v), Math.max(b, v)] : [a, b]), [Infinity, -Infinity]);

/** lines: [{curve, style, width, name}]; time: {start, seconds}. */
function timeChart(frame, lines, unit, time, words, yOptions = {}) {
  const canvas = canvasIn(frame, words);
  charts.push(() => new Chart(canvas, {
    type: "line",
    data: {
      datasets: lines.map((line) => ({
        label: line.name,
        data: points(line.curve),
        borderColor: color(line.style.color),
        backgroundColor: color(line.style.color),
        borderWidth: line.width,
        borderDash: line.style.dash,
        pointRadius: line.curve.x.length > 40 ? 0 : 2,
        pointHitRadius: 8,
        clip: 4, // points at the edge are whole
      })),
    },
    options: {
      parsing: false,
      interaction: { mode: "nearest", axis: "x", intersect: false },
      scales: {
        x: timeAxis(time.start, time.seconds),
        y: axis(unit, { grace: "8%", ticks: { maxTicksLimit: 6 }, ...yOptions }),
      },
      plugins: {
        tooltip: {
          callbacks: {
            title: (items) => (items.length ? dateAndTime(time.start + items[0].parsed.x) : ""),
            label: (item) => `${item.dataset.label}: ${number(item.parsed.y, 4)} ${unit}`,
          },
        },
      },
    },
  }));
}

function legend(lines) {
  return el("ul", { class: "legend" }, lines.map((line) => el("li", {}, lineSample(line.style, line.width), line.name)));
}

/** counts over equal steps from..to; mean: a line, or null. */
function histogramChart(frame, histogram, mean, words) {
  const canvas = canvasIn(frame, words);
  const step = (histogram.to - histogram.from) / histogram.counts.length;
  const centre = (i) => histogram.from + (i + 0.5) * step;
  const meanLine = {
    id: "mean",
    afterDatasetsDraw({ ctx, chartArea, scales }) {
      if (!finite(mean)) return;
      const x = scales.x.getPixelForValue(mean);
      ctx.save();
      ctx.strokeStyle = color("ink");
      ctx.setLineDash([5, 4]);
      ctx.beginPath();
      ctx.moveTo(x, chartArea.top);
      ctx.lineTo(x, chartArea.bottom);
      ctx.stroke();
      ctx.restore();
    },
  };
  charts.push(() => new Chart(canvas, {
    type: "bar",
    data: { datasets: [{ data: histogram.counts.map((y, i) => ({ x: centre(i), y })), backgroundColor: `${color("accent")}99`, barPercentage: 1, categoryPercentage: 1 }] },
    plugins: [meanLine],
    options: {
      parsing: false,
      scales: {
        x: axis("corrected value", { type: "linear", min: histogram.from, max: histogram.to, offset: false, ticks: { maxTicksLimit: 5, maxRotation: 0, includeBounds: false } }),
        y: axis("pixels", { beginAtZero: true, ticks: { maxTicksLimit: 4, precision: 0 } }),
      },
      plugins: {
        tooltip: {
          callbacks: {
            title: (items) => (items.length ? `${number(items[0].parsed.x - step / 2, 4)} to ${number(items[0].parsed.x + step / 2, 4)}` : ""),
            label: (item) => count(item.parsed.y, "pixel", "pixels"),
          },
        },
      },
    },
  }));
}
