// Capture positions, coloured by irradiance.

// Dark to light (viridis without its darkest end, Smith and van der Walt 2015): even steps to the eye,
// and without colours too.
const kRamp = [[71, 44, 122], [59, 81, 139], [44, 113, 142], [33, 144, 141], [39, 173, 129], [92, 200, 99], [170, 220, 50], [253, 231, 37]];

function rampColor(share) {
  const at = Math.min(Math.max(share, 0), 1) * (kRamp.length - 1);
  const low = Math.min(Math.floor(at), kRamp.length - 2);
  return `rgb(${kRamp[low].map((c, i) => Math.round(c + (kRamp[low + 1][i] - c) * (at - low))).join(",")})`;
}

/** One metre is as long on both axes: the range of one of them is widened. */
function equalAxes(chart, box) {
  const { width, height } = chart.chartArea;
  if (!(width > 0 && height > 0)) return;
  const perPixel = Math.max((box.x[1] - box.x[0]) / width, (box.y[1] - box.y[0]) / height, 0.01) * 1.08;
  const around = ([a, b], pixels) => ({ min: (a + b - perPixel * pixels) / 2, max: (a + b + perPixel * pixels) / 2 });
  Object.assign(chart.options.scales.x, around(box.x, width));
  Object.assign(chart.options.scales.y, around(box.y, height));
  chart.update("none");
}

function mapChart(frame, map, valueName, words) {
  const canvas = canvasIn(frame, words);
  const box = { x: extent(map.x), y: extent(map.y) };
  const [least, greatest] = extent(map.value);
  const share = (value) => (greatest > least ? (value - least) / (greatest - least) : 0.5);
  const radius = map.x.length > 600 ? 3 : map.x.length > 100 ? 4.5 : 6;
  const ends = (index, last) => index === 0 || index === last;
  const ticks = { maxRotation: 0, maxTicksLimit: 7, includeBounds: false, callback: (value) => value.toLocaleString("en") };
  charts.push(() => {
    const last = map.x.length - 1;
    const chart = new Chart(canvas, {
      type: "scatter",
      data: {
        datasets: [{
          data: map.x.map((x, i) => ({ x, y: map.y[i] })),
          showLine: true,
          borderWidth: 0.75,
          borderColor: color("raw"),
          pointRadius: (c) => (ends(c.dataIndex, last) ? radius + 4 : radius),
          pointStyle: (c) => (c.dataIndex === 0 ? "triangle" : c.dataIndex === last ? "rect" : "circle"),
          pointBackgroundColor: map.value.map((v) => (finite(v) ? rampColor(share(v)) : color("raw"))),
          pointBorderColor: (c) => color(ends(c.dataIndex, last) ? "ink" : "muted"),
          pointBorderWidth: (c) => (ends(c.dataIndex, last) ? 2 : radius > 3 ? 1 : 0),
        }],
      },
      options: {
        parsing: false,
        onResize: (resized) => setTimeout(() => { if (resized.ctx) equalAxes(resized, box); }, 0),
        scales: {
          // Of one size whatever the labels are, so that widening a range cannot change the room for it.
          x: axis("east, m", { type: "linear", ticks, afterFit: (scale) => { scale.height = 48; } }),
          y: axis("north, m", { type: "linear", ticks, afterFit: (scale) => { scale.width = 66; } }),
        },
        plugins: {
          tooltip: {
            callbacks: {
              title: (items) => (items.length && finite(map.time_unix[items[0].dataIndex]) ? dateAndTime(map.time_unix[items[0].dataIndex]) : ""),
              label: (item) => {
                const place = `${number(item.parsed.x)} m east, ${number(item.parsed.y)} m north`;
                const value = map.value[item.dataIndex];
                return finite(value) ? [place, `${valueName}: ${number(value, 4)}`] : place;
              },
            },
          },
        },
      },
    });
    equalAxes(chart, box);
    return chart;
  });
}

/** What the colours stand for. */
function colorKey(map, valueName) {
  const [least, greatest] = extent(map.value);
  if (!(greatest >= least)) return null;
  const bar = el("i", { class: "ramp" });
  bar.style.background = `linear-gradient(to right, ${kRamp.map((_, i) => rampColor(i / (kRamp.length - 1))).join(",")})`;
  return el("span", {}, `${valueName}: `, el("span", { class: "scale" }, number(least, 3), bar, number(greatest, 3)));
}
