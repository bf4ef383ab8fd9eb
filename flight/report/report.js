// Fills the page's sections from its data.

const data = JSON.parse(document.getElementById("data").textContent);
const bodyOf = (id) => document.querySelector(`#${id} .body`);
const show = (id) => document.getElementById(id).removeAttribute("hidden");
const hasTimes = finite(data.start_unix);
const time = { start: data.start_unix, seconds: data.duration_s };
const kUnit = "sensor units"; // what a light sensor states has the maker's own unit

function shortened(curves) {
  const most = Math.max(0, ...curves.map((curve) => curve.points));
  return most > data.most_points
    ? el("p", { class: "note" }, `Of ${most.toLocaleString("en")} values a line, at most ${data.most_points.toLocaleString("en")} are drawn; the peaks are among them.`)
    : null;
}

function change(curve) {
  const [least, greatest] = extent(curve.y);
  return least > 0 ? greatest / least - 1 : NaN;
}

function fillHeader() {
  const { done, kept, failed, not_reached: notReached } = data.totals;
  const all = done + kept + failed + notReached;
  document.getElementById("title").textContent = hasTimes ? `Flight of ${date(data.start_unix)}` : "Flight";
  document.title = hasTimes ? `Radiometric correction, ${date(data.start_unix)}` : "Radiometric correction";
  document.getElementById("subtitle").textContent = `Corrected images in ${data.folder}`;
  const notices = document.getElementById("notices");
  const notice = (kind, mark, ...words) => notices.append(el("p", { class: `notice ${kind}` }, el("span", { class: "mark", "aria-hidden": "true" }, mark), el("span", {}, ...words)));
  const toProblems = (text) => el("a", { href: "#problems" }, text);
  if (failed > 0) notice("bad", "✕", `${count(failed, "image", "images")} could not be corrected. `, toProblems("See why"));
  if (notReached > 0) notice("warn", "!", `${count(notReached, "image has", "images have")} not been reached yet: the run was stopped, or was one part of the flight.`);
  if (data.warnings.length > 0) notice("warn", "!", `${count(data.warnings.length, "warning", "warnings")}. `, toProblems("Read"));
  if (all === 0) notice("warn", "!", "The plan names no images.");
  if (all > 0 && failed === 0 && notReached === 0) notice("good", "✓", "All images are corrected.");

  const levelled = data.light.filter((series) => series.corrected.y.length > 1);
  const most = levelled.reduce((a, b) => (a && change(a.corrected) >= change(b.corrected) ? a : b), null);
  const elevation = extent(data.sun_elevation_deg.flatMap((curve) => curve.y));
  const steps = data.overlaps || {};
  const totals = [
    finite(steps.corrected) ? ["Neighbouring images differ by", percent(steps.corrected), [finite(steps.raw) ? `raw: ${percent(steps.raw)}` : "", finite(steps.pairs) ? `median of ${count(steps.pairs, "pair", "pairs")}` : ""].filter(Boolean).join("; ")] : null,
    ["Images corrected", (done + kept).toLocaleString("en"), [`of ${all.toLocaleString("en")}`, kept > 0 ? `${kept.toLocaleString("en")} kept from before` : ""].filter(Boolean).join("; ")],
    ["Images failed", failed.toLocaleString("en"), failed > 0 ? `${percent(failed / all)} of all` : ""],
    ["Cameras", data.cameras.length.toLocaleString("en"), count(data.cameras.reduce((sum, c) => sum + (c.bands || []).length, 0), "band", "bands")],
    hasTimes ? ["Duration", duration(data.duration_s), `from ${clock(data.start_unix)} to ${clock(data.start_unix + data.duration_s)} UTC`] : null,
    finite(data.area_m2) ? ["Area", area(data.area_m2), "inside the outline of the positions"] : null,
    most ? ["Light changed by", percent(change(most.corrected)), `least to greatest irradiance, ${most.label}`] : null,
    elevation[0] <= elevation[1] ? ["Sun above horizon", `${range(elevation, 3)}°`, "refraction included"] : null,
  ];
  document.getElementById("totals").append(...totals.filter(Boolean).map(([name, value, note]) => el("div", {}, el("dt", {}, name), el("dd", {}, value, note ? small(note) : null))));
}

function scaleKey(name, scale) {
  return scale ? el("span", { class: "scale" }, `${name}: ${number(scale[0], 4)}`, el("i", { class: "grey" }), number(scale[1], 4)) : null;
}

function sayLeftOut(section, count, text) {
  if (count > 0) bodyOf(section).append(el("p", {}, text.replace("{}", count)));
}

function fillLooks() {
  if (data.quick_looks.length === 0) return;
  show("looks");
  data.quick_looks.forEach((look) => {
    const isExtra = (i) => look.tiles.length > 3 && i % 2 === 1;
    const tile = (uri, alt, i) => (uri ? el("img", { src: uri, alt, class: isExtra(i) ? "extra" : null }) : el("div", { class: isExtra(i) ? "none extra" : "none" }, "no picture"));
    const when = (t) => (finite(t.time_unix) ? clock(t.time_unix) : "");
    const strip = el("div", { class: "strip" },
      el("span", { class: "side" }, "Raw"), look.tiles.map((t, i) => tile(t.before, `${look.label}, raw, ${baseName(t.file)}`, i)),
      el("span", { class: "side" }, "Corrected"), look.tiles.map((t, i) => tile(t.after, `${look.label}, corrected, ${baseName(t.file)}`, i)),
      el("span", { class: "side empty" }, hasTimes ? "UTC" : ""), look.tiles.map((t, i) => el("span", { class: isExtra(i) ? "when extra" : "when", title: t.file }, when(t))));
    if (look.tiles.length < 5) strip.classList.add(`of${look.tiles.length}`);
    bodyOf("looks").append(el("div", { class: "look" }, el("h4", {}, look.label), strip,
      el("div", { class: "scales" }, scaleKey("Raw, stored values", look.before_scale), scaleKey("Corrected values", look.after_scale))));
  });
  sayLeftOut("looks", data.bands_left_out, "The pictures of the other {} bands are left out.");
}

function fillLight() {
  const series = data.light.filter((s) => s.raw.x.length > 0);
  const body = bodyOf("light");
  const hasSunlight = data.sunlight.length > 0;
  document.querySelectorAll(".sun").forEach((element) => { element.hidden = !hasSunlight; });
  if (hasSunlight) document.querySelector(".sun.body").append(sunlightTable(data.sunlight, data.cameras));
  if (series.length === 0) {
    document.querySelector("#light .intro").hidden = true;
    body.append(el("p", {}, "The images state no readings of a light sensor: changes of the light are not taken out."));
    return;
  }
  const raw = { color: "raw", dash: [3, 3] };
  const styles = stylesFor(series);
  const grid = el("div", { class: series.length > 1 ? "grid" : "" });
  let isLevelled = false;
  series.forEach((s, i) => {
    const plot = el("div", { class: "plot" });
    const lines = [{ curve: s.raw, style: raw, width: 1.3, name: "raw reading" }];
    if (s.corrected.x.length > 0) {
      isLevelled = true;
      lines.push({ curve: s.corrected, style: { color: styles[i].color, dash: [] }, width: 2, name: "corrected" });
    }
    const words = `Irradiance in ${s.label} against time, ${range(extent(s.raw.y))} ${kUnit}`;
    grid.append(el("figure", {}, el("h4", {}, s.label), legend(lines), plot));
    timeChart(plot, lines, kUnit, time, words);
  });
  body.append(grid, el("p", { class: "note" }, "Irradiance is in the light sensor's own unit; only its changes matter to the correction."));
  if (!isLevelled) body.append(el("p", { class: "note" }, "The readings were used as they are: no correction for the sun angle was made."));
  const shortNote = shortened(series.map((s) => s.raw));
  if (shortNote) body.append(shortNote);
}

function curveFigure(lines, title, unit, words, yOptions) {
  const plot = el("div", { class: "plot" });
  const curves = lines.map((line) => line.curve);
  timeChart(plot, lines, unit, time, `${words}, ${range(extent(curves.flatMap((c) => c.y)))} ${unit}`, yOptions);
  return el("figure", {}, title ? el("h4", {}, title) : null, lines.length > 1 ? legend(lines) : null, plot);
}

/** One chart of all curves, which are alike. */
function curvesChart(curves, title, unit, words, yOptions) {
  const styles = stylesFor(curves);
  const lines = curves.map((curve, i) => ({ curve, style: curves.length > 1 ? styles[i] : { color: "accent", dash: [] }, width: 1.8, name: curve.label }));
  const figure = curveFigure(lines, title, unit, words, yOptions);
  figure.append(...[shortened(curves)].filter(Boolean));
  return figure;
}

/** A chart for each curve: drawn into one, curves that jump would hide each other. */
function curveCharts(curves, unit, words, yOptions) {
  const styles = stylesFor(curves);
  const figures = curves.map((curve, i) => curveFigure([{ curve, style: { color: styles[i].color, dash: [] }, width: 1.5, name: curve.label }], curve.label, unit, words, yOptions));
  return el("div", {}, el("div", { class: curves.length > 1 ? "grid" : "" }, figures), shortened(curves));
}

function fillSun() {
  const elevation = data.sun_elevation_deg;
  const tilt = data.sensor_tilt_deg;
  if (elevation.length + tilt.length === 0) return;
  show("sun");
  const grid = el("div", { class: elevation.length > 0 && tilt.length > 0 ? "grid" : "" });
  if (elevation.length > 0) {
    grid.append(curvesChart(elevation, "Sun above the horizon", "degrees", "Elevation of the sun against time"));
  }
  if (tilt.length > 0) {
    grid.append(curvesChart(tilt, "Tilt of the light sensor from level", "degrees", "Tilt of the light sensor against time", { beginAtZero: true }));
  }
  bodyOf("sun").append(grid);
}

function fillMap() {
  const series = data.light.filter((s) => s.map.points > 0);
  const body = bodyOf("map");
  if (series.length === 0) {
    document.querySelector("#map .intro").hidden = true;
    body.append(el("p", {}, "The images state no positions."));
    return;
  }
  const valued = series.filter((s) => s.map.value.some(finite));
  const choices = valued.length > 0 ? valued : series.slice(0, 1);
  const frame = el("div", {});
  const select = el("select", { id: "band" }, choices.map((s, i) => el("option", { value: i }, s.label)));
  const head = el("div", { class: "map-head" });
  let own = null; // the map's place among the charts
  const draw = () => {
    const { map, label } = choices[Number(select.value)];
    const name = `${map.is_levelled ? "Corrected irradiance" : "Irradiance"}, ${kUnit}`;
    const plot = el("div", { class: "plot map" });
    frame.replaceChildren(plot);
    head.replaceChildren(...[
      choices.length > 1 ? el("label", {}, "Band ", select) : null,
      valued.length > 0 ? colorKey(map, name) : el("span", {}, "No readings of light to colour by."),
      el("span", { class: "muted" }, "▲ first, ■ last"),
    ].filter(Boolean));
    const list = charts.length;
    mapChart(plot, map, name, `Map of ${count(map.points, "position", "positions")}, ${label}`);
    const made = charts.splice(list)[0];
    if (own === null) own = charts.push(made) - 1;
    else charts[own] = made;
  };
  select.addEventListener("change", () => { draw(); drawn[own].destroy(); drawn[own] = charts[own](); select.focus(); });
  body.append(head, frame);
  draw();
  if (choices[0].map.points > data.most_points) {
    body.append(el("p", { class: "note" }, `Of ${count(choices[0].map.points, "position", "positions")}, at most ${data.most_points.toLocaleString("en")} are drawn.`));
  }
}

function fillOthers() {
  if (data.cameras.length > 0) {
    show("cameras");
    bodyOf("cameras").append(camerasTable(data.cameras));
  }
  if (data.exposure_ms.length > 0) {
    show("exposure");
    bodyOf("exposure").append(curveCharts(data.exposure_ms, "ms", "Exposure time against time of day", { beginAtZero: true }));
  }
  if (data.targets.length > 0) {
    bodyOf("targets").append(...data.targets.map((target) => targetBlock(target, data.cameras)));
    sayLeftOut("targets", data.targets.filter((target) => target.picture_left_out).length,
      "The pictures of {} targets are left out; they lie with the corrected images.");
  } else {
    document.querySelector("#targets .intro").hidden = true;
    bodyOf("targets").append(el("p", {}, "No target was found in the images."));
  }
  if (data.cameras.some((camera) => finite(camera.masked_share))) {
    show("masked");
    bodyOf("masked").append(maskedTable(data.cameras));
  }
  const body = bodyOf("problems");
  if (data.failures.length > 0) body.append(remarkList("Failures", data.failures, true));
  if (data.warnings.length > 0) body.append(remarkList("Warnings", data.warnings, false));
  if (data.failures.length + data.warnings.length === 0) body.append(el("p", {}, "None."));
  if (data.overlaps_failure) body.append(el("p", { class: "note" }, `How neighbouring images differ is left out. ${data.overlaps_failure}. Correct the images again, and it is measured again.`));
  if (data.damaged_records > 0) body.append(el("p", { class: "note" }, `${count(data.damaged_records, "record", "records")} of the run could not be read; the images concerned count as not reached.`));
  if (data.stray_records > 0) body.append(el("p", { class: "note" }, `${count(data.stray_records, "record", "records")} of images of another plan in this folder are left out.`));
}

fillHeader();
fillLooks();
fillEvidence();
fillLight();
fillSun();
fillMap();
fillOthers();
document.getElementById("contents").append(...[...document.querySelectorAll("main > section:not([hidden])")].map((section) => el("a", { href: `#${section.id}` }, section.querySelector("h2").textContent)));
document.getElementById("footer").append(el("p", {}, `radiometry ${data.library_version || "of unknown version"}. Times are UTC. This page holds all it shows and loads nothing from the network. Charts by Chart.js.`));
drawAll();
matchMedia("(prefers-color-scheme: dark)").addEventListener("change", drawAll);
