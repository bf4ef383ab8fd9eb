// Cameras, sunlight, masked pixels, problems.

/** columns: [heading, isNumber]; rows: lists of cells (text, element or list of them). On a phone each row is a block. */
function table(columns, rows, caption) {
  const kind = (column) => (column[1] ? "number" : null);
  return el("table", { class: columns.length > 6 ? "dense" : null },
    caption ? el("caption", {}, caption) : null,
    el("thead", {}, el("tr", {}, columns.map((c) => el("th", { class: kind(c), scope: "col" }, c[0])))),
    el("tbody", {}, rows.map((row) => el("tr", {}, row.map((cell, i) => el("td", { class: kind(columns[i]), "data-label": columns[i][0] }, cell))))));
}

const small = (text) => el("small", {}, text);

function bandText(bands) {
  return (bands || []).map((band, i) => {
    const name = band.name || `Band ${i + 1}`;
    if (!finite(band.wavelength_nm) || band.wavelength_nm === 0) return name;
    return `${name} ${number(band.wavelength_nm)} nm${band.fwhm_nm > 0 ? ` (${number(band.fwhm_nm, 2)} nm wide)` : ""}`;
  }).join(", ");
}

function missingText(missing) {
  return Object.entries(missing || {}).map(([type, words]) => (words.length > 0 ? `${typeName(type)} would need: ${words.map(missingName).join(", ")}` : `${typeName(type)}: lacks nothing`));
}

function sensitivityCell(camera) {
  const source = camera.sensitivity_source;
  const kinds = { target: "from a reflectance target", maker: "stated by the maker", file: "from a file" };
  const values = (camera.sensitivity || []).map((value) => number(value, 4)).join(", ");
  if (!values) return ["Not known", small("the factor from corrected values to reflectance is missing")];
  return [values, ["none", "camera"].includes(camera.correction_type) ? null : small("corrected value at reflectance 1"), source ? small([kinds[source.kind] || source.kind, source.text].filter(Boolean).join(": ")) : null];
}

function exposureText(camera) {
  const parts = [];
  if (camera.iso_range) parts.push(`ISO ${range(camera.iso_range, 2)}`);
  if (camera.f_number_range) parts.push(`f/${range(camera.f_number_range, 2)}`);
  return parts.join(", ");
}

function camerasTable(cameras) {
  return table([["Camera"], ["Bands"], ["Images", true], ["Correction"], ["Sensitivity"]], cameras.map((camera) => {
    const [name, meaning] = kTypes[camera.correction_type] || [camera.correction_type || "unknown", ""];
    const size = finite(camera.width) ? `${camera.width.toLocaleString("en")} × ${camera.height.toLocaleString("en")} pixels` : "";
    const corrected = camera.done + camera.kept;
    const steps = camera.steps.map((s) => stepName(s.name) + (s.images < corrected ? ` (${s.images.toLocaleString("en")} of ${count(corrected, "image", "images")})` : "")).join(", ");
    return [
      [camera.name || camera.model || camera.id, small([size, exposureText(camera)].filter(Boolean).join("; "))],
      bandText(camera.bands),
      finite(camera.images) ? camera.images.toLocaleString("en") : "–",
      [name, small(meaning), steps ? small(`Taken out or masked: ${steps}`) : null, ...missingText(camera.missing).map(small)],
      sensitivityCell(camera),
    ];
  }));
}

/** The names that cameras give to light of this wavelength. */
function bandAt(nm, cameras) {
  const names = cameras.flatMap((camera) => camera.bands || []).filter((band) => Math.abs(band.wavelength_nm - nm) < 0.5 && band.name).map((band) => band.name);
  return [...new Set(names)].join(", ");
}

function sunlightTable(sunlight, cameras) {
  const models = { fit: "fitted to the readings of this flight", "clear sky": "that of a clear sky, not measured", overcast: "none under an overcast sky", physical: "clear-sky model, not measured", given: "given by the user" };
  const ordered = [...sunlight].sort((a, b) => a.wavelength_nm - b.wavelength_nm);
  return table([["Band"], ["Direct part of the light", true], ["Standard error", true], ["Where from"]], ordered.map((band) => [
    [bandAt(band.wavelength_nm, cameras), `${number(band.wavelength_nm)} nm`].filter(Boolean).join(", "),
    finite(band.fraction) ? `${(100 * band.fraction).toFixed(1)} %` : "–",
    finite(band.standard_error) ? `± ${(100 * band.standard_error).toFixed(2)} points` : "not known",
    models[band.model] || band.model || "not known",
  ]), "The part of the irradiance that comes straight from the sun; the rest comes from the sky. Errors are in percentage points.");
}

function maskedTable(cameras) {
  const measured = cameras.filter((camera) => finite(camera.masked_share));
  return table([["Camera"], ["Masked share", true], ["Most in one image", true], ["That image"]], measured.map((camera) => {
    const worst = camera.worst_masked && camera.worst_masked.share > 0 ? camera.worst_masked : null;
    return [camera.name || camera.id, percent(camera.masked_share), worst ? percent(worst.share) : "none", worst ? worst.file : ""];
  }));
}

function remarkList(title, remarks, isBad) {
  return el("div", { class: "problem" }, el("h3", { class: isBad ? "status-bad" : "status-warn" }, title), remarks.map((remark) => {
    const paths = remark.paths.filter(Boolean);
    const head = `${remark.text}${remark.count > 1 ? ` (${remark.count.toLocaleString("en")} times)` : ""}`;
    if (paths.length === 0) return el("p", {}, head);
    const more = remark.count - paths.length;
    return el("details", paths.length <= 5 ? { open: "" } : {}, el("summary", {}, head),
      el("ul", {}, paths.map((path) => el("li", {}, path)), more > 0 ? el("li", {}, `and ${more.toLocaleString("en")} more`) : null));
  }));
}

function histogramsOf(target, frame, bands) {
  target.histogram.filter((h) => h && Array.isArray(h.counts) && h.counts.length > 0 && h.to > h.from).forEach((histogram, band) => {
    const name = bands[band] ? bands[band].name : "";
    const plot = el("div", { class: "plot" });
    const words = `Histogram of the corrected values on the target, ${number(histogram.from, 4)} to ${number(histogram.to, 4)}`;
    frame.append(el("figure", {}, target.histogram.length > 1 && name ? el("h4", {}, name) : null, plot));
    histogramChart(plot, histogram, (target.mean || [])[band], words);
  });
}

function targetBlock(target, cameras) {
  const camera = cameras.find((c) => c.id === target.camera) || {};
  const list = (values, show) => (Array.isArray(values) && values.length > 0 ? values.map(show).join(", ") : "not known");
  const facts = [
    ["Image", target.image],
    ["Camera", camera.name || target.camera],
    ["Found by", target.detector],
    ["Reflectance", list(target.reflectance, (v) => percent(v))],
    ["Mean value", list(target.mean, (v) => number(v, 4))],
    ["Spread", list(target.standard_deviation, (v, i) => `${number(v)}${finite(v) && target.mean && target.mean[i] > 0 ? ` (${percent(v / target.mean[i])} of the mean)` : ""}`)],
    ["Masked", list(target.invalid_share, (v) => percent(v))],
    ["Sensitivity", list(target.sensitivity, (v) => number(v, 4))],
  ];
  const plots = el("div", {});
  histogramsOf(target, plots, camera.bands || []);
  return el("article", { class: "target" },
    target.picture ? el("img", { src: target.picture, alt: `The target in ${baseName(target.image)}, outlined` })
      : el("div", { class: "noimage" }, "No picture"),
    el("div", {},
      el("h4", {}, target.id || target.type || "Target"),
      target.used ? el("span", { class: "status-good" }, "✓ Used for the sensitivity")
        : el("span", { class: "status-warn" }, `Not used${target.remark ? `: ${target.remark}` : ""}`),
      el("dl", { class: "facts" }, facts.filter((f) => f[1]).map(([name, value]) => [el("dt", {}, name), el("dd", {}, value)]).flat())),
    plots);
}
