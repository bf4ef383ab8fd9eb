// What is looked at in the page of a report. Each function gives a list of faults.

/** [red, green, blue, opacity] of a computed colour. */
const rgba = (text) => {
  const [r, g, b, a = 1] = text.match(/[\d.]+/g).map(Number);
  return [r, g, b, a];
};

/** A colour of any notation as "rgb(...)". */
function computed(color) {
  const probe = document.body.appendChild(document.createElement("i"));
  probe.style.color = color;
  const result = getComputedStyle(probe).color;
  probe.remove();
  return result;
}

const over = (top, ground) => top.slice(0, 3).map((c, i) => c * top[3] + ground[i] * (1 - top[3]));

/** Contrast of two colours, 1..21, as the WCAG 2.1 define it. */
const contrast = (a, b) => {
  const luminance = (color) => {
    const [r, g, b2] = color.map((c) => (c / 255 <= 0.04045 ? c / 255 / 12.92 : ((c / 255 + 0.055) / 1.055) ** 2.4));
    return 0.2126 * r + 0.7152 * g + 0.0722 * b2;
  };
  const [light, dark] = [luminance(a), luminance(b)].sort((x, y) => y - x);
  return (light + 0.05) / (dark + 0.05);
};

const groundOf = (element) => {
  const layers = [];
  for (let at = element; at; at = at.parentElement) layers.unshift(rgba(getComputedStyle(at).backgroundColor));
  return layers.reduce((ground, layer) => over(layer, ground), [255, 255, 255]);
};

const shownTexts = () => {
  const texts = [];
  const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
  while (walker.nextNode()) {
    const element = walker.currentNode.parentElement;
    if (walker.currentNode.data.trim() && !element.closest("script, style, noscript") && element.checkVisibility()) texts.push(element);
  }
  return [...new Set(texts)];
};

function faintTexts() {
  const elements = shownTexts();
  const faults = elements.map((element) => {
    const ground = groundOf(element);
    return [contrast(over(rgba(getComputedStyle(element).color), ground), ground), element];
  }).filter(([ratio]) => !(ratio >= 4.5)).map(([ratio, element]) => `contrast ${ratio.toFixed(2)}: ${element.textContent.slice(0, 60)}`);
  const kinds = ["td", "td small", "h1", "h2", "h3", "h4", ".notice.warn", ".intro", "summary", ".kicker", ...(window.innerWidth > 760 ? ["th"] : [])];
  const absent = kinds.filter((kind) => !elements.some((element) => element.matches(kind) || element.closest(kind)));
  return [...faults, ...absent.map((kind) => `no text of ${kind} was seen`)];
}

/** Lines of charts and their words, against the page. */
function faintCharts() {
  const paper = rgba(getComputedStyle(document.body).backgroundColor);
  const faults = [];
  document.querySelectorAll("canvas").forEach((canvas) => {
    const chart = Chart.getChart(canvas);
    if (!chart) return; // blankCharts tells
    const words = chart.options.scales.y.title.color;
    const ratioOf = (color) => contrast(over(rgba(computed(color)), paper), paper);
    if (!(ratioOf(words) >= 4.5)) faults.push(`words of a chart have contrast ${ratioOf(words).toFixed(2)}`);
    chart.data.datasets.filter((set) => typeof set.borderColor === "string").forEach((set) => {
      if (!(ratioOf(set.borderColor) >= 3)) faults.push(`line ${set.label} has contrast ${ratioOf(set.borderColor).toFixed(2)}`);
    });
  });
  return faults;
}

/** Within its axes a chart has more than the lines of its grid. */
function blankCharts() {
  const canvases = [...document.querySelectorAll("canvas")];
  if (canvases.length === 0) return ["there is no chart"];
  return canvases.map((canvas) => {
    const words = canvas.getAttribute("aria-label");
    const chart = Chart.getChart(canvas);
    if (!chart || canvas.width === 0 || canvas.height === 0) return `not drawn: ${words}`;
    const ratio = chart.currentDevicePixelRatio;
    const { left, top, width, height } = chart.chartArea;
    if (!(width > 40 && height > 40)) return `no room: ${words}`;
    const grid = rgba(computed(chart.options.scales.y.grid.color));
    const copy = Object.assign(document.createElement("canvas"), { width: canvas.width, height: canvas.height });
    const context = copy.getContext("2d", { willReadFrequently: true });
    context.drawImage(canvas, 0, 0);
    const pixels = context.getImageData(left * ratio, top * ratio, width * ratio, height * ratio).data;
    let drawn = 0;
    for (let i = 0; i < pixels.length; i += 4) {
      const isGrid = grid.slice(0, 3).every((c, k) => Math.abs(c - pixels[i + k]) < 24);
      if (pixels[i + 3] > 40 && !isGrid) drawn += 1;
    }
    return drawn >= 60 ? null : `blank (${drawn} pixels): ${words}`;
  }).filter(Boolean);
}

function wideElements() {
  const width = window.innerWidth;
  const page = document.scrollingElement.scrollWidth;
  if (page <= width) return [];
  const wide = [...document.querySelectorAll("main *, header *")].filter((e) => e.getBoundingClientRect().right > width + 0.5);
  return [`the page is ${page} px wide in a window of ${width} px`, ...wide.slice(0, 5).map((e) => `too wide: <${e.tagName.toLowerCase()} class="${e.className}">`)];
}

/** Columns that are too narrow break words of their headings. */
function brokenHeadings() {
  const faults = [];
  [...document.querySelectorAll("th")].filter((th) => th.checkVisibility()).forEach((th) => {
    const text = th.firstChild;
    for (const word of text.data.matchAll(/\S+/g)) {
      const range = document.createRange();
      range.setStart(text, word.index);
      range.setEnd(text, word.index + word[0].length);
      if (range.getClientRects().length > 1) faults.push(`a heading is broken: ${th.textContent}`);
    }
  });
  return faults;
}

/** Markup in names is shown as text and never becomes an element. */
function livingNames(text) {
  const faults = [];
  if (document.title === "x") faults.push("a script in a name has run");
  if (document.querySelector("main script, main img:not([src^='data:image/png']), header script, header img, [onerror]")) faults.push("a name became an element");
  ["cameras", "sky", "witnesses", "neighbours", "uncertainty", "problems"].forEach((id) => {
    if (!document.getElementById(id).textContent.includes(text)) faults.push(`the name is not shown as text in #${id}`);
  });
  return faults;
}

/** Words that give away that a value was missing. */
function brokenTexts() {
  return [...document.body.innerText.matchAll(/.*\b(undefined|NaN|null|\[object \w+\])\b.*/g)].map(([line]) => `broken text: ${line.slice(0, 100)}`);
}

function bandsOutOfOrder() {
  return [...document.querySelectorAll("#neighbours table, #uncertainty table, #witnesses table, #cameras table, #light .body:not(.sun)")].map((list) => {
    const found = [...list.querySelectorAll("tbody tr, h4")].map((row) => Number((row.textContent.match(/([\d.]+) nm/) || [])[1])).filter(Number.isFinite);
    return found.every((nm, i) => i === 0 || nm >= found[i - 1]) ? null : `not in order of wavelength: ${found}`;
  }).filter(Boolean);
}

function hiddenSections(ids) {
  return ids.filter((id) => document.getElementById(id).hidden || document.getElementById(id).offsetHeight === 0).map((id) => `#${id} is not shown`);
}
