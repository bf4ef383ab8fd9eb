// Cameras, sunlight, masked pixels, problems.

/** columns: [heading, isNumber]; rows: lists of cells (text, element or list of them). On a phone each row is a block. */
function table(columns, rows, caption) {
  const kind = (column) => (column[1] ? "number" : null);
  return el("table", {},
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
  return Object.entries(missing || {}).map(([type, words]) => `${typeName(type)} would need: ${words.map(missingName).join(", ")}`);
}

function sensitivityCell(camera) {
  const source = camera.sensitivity_source;
  const kinds = { target: "from a reflectance target", maker: "stated by the maker", file: "from a file" };
  const values = (camera.sensitivity || []).map((value) => number(value, 4)).join(", ");
  if (!values) return ["Not known", small("values are proportional to reflectance, with an unknown factor")];
  return [values, small("corrected value at reflectance 1"), source ? small([kinds[source.kind] || source.kind, source.text].filter(Boolean).join(": ")) : null];
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
    const steps = camera.steps.map((s) => stepName(s.name)).join(", ");
    return [
      [camera.name || camera.model || camera.id, small([size, exposureText(camera)].filter(Boolean).join("; "))],
      bandText(camera.bands),
      finite(camera.images) ? camera.images.toLocaleString("en") : "–",
      [name, small(meaning), steps ? small(`Steps: ${steps}`) : null, ...missingText(camera.missing).map(small)],
      sensitivityCell(camera),
    ];
  }));
}

function sunlightTable(sunlight) {
  const models = { fit: "fitted to the readings of this flight", physical: "clear-sky model, not measured", given: "given by the user" };
  return table([["Wavelength"], ["Direct part of the light", true], ["Standard error", true], ["Where from"]], sunlight.map((band) => [
    `${number(band.wavelength_nm)} nm`,
    percent(band.fraction),
    finite(band.standard_error) ? `± ${(100 * band.standard_error).toLocaleString("en", { maximumSignificantDigits: 2 })} %` : "not known",
    models[band.model] || band.model || "not known",
  ]), "The part of the irradiance that comes straight from the sun; the rest comes from the sky.");
}

function maskedTable(cameras) {
  const measured = cameras.filter((camera) => finite(camera.masked_share));
  const most = Math.max(...measured.map((camera) => camera.masked_share), 1e-9);
  return table([["Camera"], ["Masked share", true], [""], ["Most in one image"]], measured.map((camera) => {
    const bar = el("b", {});
    bar.style.width = `${(100 * camera.masked_share) / most}%`;
    return [
      camera.name || camera.id,
      percent(camera.masked_share),
      el("span", { class: "meter", "aria-hidden": "true" }, bar),
      camera.worst_masked && camera.worst_masked.share > 0
        ? [percent(camera.worst_masked.share), small(camera.worst_masked.file)] : "none masked",
    ];
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
    target.picture ? el("img", { src: target.picture, alt: `The target in ${baseName(target.image)}, outlined`, loading: "lazy" })
      : el("div", { class: "noimage" }, "No picture"),
    el("div", {},
      el("h4", {}, target.id || target.type || "Target"),
      target.used ? el("span", { class: "status-good" }, "✓ Used for the sensitivity")
        : el("span", { class: "status-warn" }, `Not used${target.remark ? `: ${target.remark}` : ""}`),
      el("dl", { class: "facts" }, facts.filter((f) => f[1]).map(([name, value]) => [el("dt", {}, name), el("dd", {}, value)]).flat())),
    plots);
}
