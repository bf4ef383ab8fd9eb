// What speaks for the values and against them: the sky, neighbours, witnesses of the light, uncertainty.

/** The band of a row, and of which camera where several have one of that name. */
function bandCell(row, rows) {
  const alike = new Set(rows.filter((other) => other.band === row.band).map((other) => other.camera));
  const nm = finite(row.wavelength_nm) && row.wavelength_nm > 0 ? `${number(row.wavelength_nm)} nm` : "";
  const name = row.band || nm || row.camera || "Band";
  const more = [name === nm ? "" : nm, alike.size > 1 ? row.camera : ""].filter(Boolean).join("; ");
  return [name, more ? small(more) : null];
}

/** Each text once, with the bands that it is said of: [[text, bands]]. */
function saidOf(rows, textsOf) {
  const bands = new Map();
  rows.forEach((row) => textsOf(row).filter(Boolean).forEach((text) => {
    bands.set(text, (bands.get(text) || new Set()).add(row.band || row.camera));
  }));
  return [...bands].map(([text, names]) => [text, [...names]]);
}

/** Sentences, each once; the bands are named where it is not said of all. */
function sentences(rows, textsOf) {
  const all = new Set(rows.map((row) => row.band || row.camera)).size;
  return saidOf(rows, textsOf).map(([text, bands]) => (bands.length === all ? sentence(text) : `${bands.join(", ")}: ${sentence(text)}`));
}

const kSky = { clear: "Clear", overcast: "Overcast", broken: "Broken clouds", unknown: "Not known" };
const kChoice = { raw: "as they were read", steady: "steadied" };

/** How a light sensor leans: [degrees forward, degrees to the right]. */
function leanText([forward, right]) {
  return `${number(Math.abs(forward), 2)}° ${forward < 0 ? "backward" : "forward"}, ${number(Math.abs(right), 2)}° to the ${right < 0 ? "left" : "right"}`;
}

function skyTable(rigs) {
  const hasMount = rigs.some((rig) => rig.mount_deg);
  const columns = [["Cameras"], ["Sky"], ["Jitter as read", true], ["Jitter steadied", true], ["Readings used"], ["Sensor leans"]];
  const rows = rigs.map((rig) => {
    const jitter = rig.jitter || {};
    return [
      rig.cameras.join(", ") || "All cameras",
      [kSky[rig.state] || rig.state || "Not known", ...[rig.reason, rig.type_reason].filter(Boolean).map((text) => small(sentence(text)))],
      percent(jitter.raw),
      percent(jitter.steady),
      kChoice[rig.choice] || rig.choice || "–",
      rig.mount_deg ? leanText(rig.mount_deg) : "–",
    ];
  });
  const shown = (list) => (hasMount ? list : list.slice(0, -1));
  return table(shown(columns), rows.map(shown), "The sky during the flight, as the readings of the light tell it. Jitter is the scatter of the readings from one capture to the next, as a standard deviation.");
}

/** A share, and beneath it what it was in the raw images. */
function stepCell(step) {
  if (!finite(step.corrected) && !finite(step.raw)) return "–";
  return [percent(step.corrected), small(`raw ${percent(step.raw)}`)];
}

function overlapsTable(bands) {
  const kinds = [["all", "All pairs"], ["along", "Along a line"], ["across", "Across lines"], ["same_heading", "Same heading"], ["opposite_heading", "Opposite heading"]]
    .filter(([kind]) => bands.some((band) => finite(band[kind].corrected) || finite(band[kind].raw)));
  return table([["Band"], ["Pairs", true], ...kinds.map(([, title]) => [title, true])], bands.map((band) => [
    bandCell(band, bands),
    finite(band.pairs) ? band.pairs.toLocaleString("en") : "–",
    ...kinds.map(([kind]) => stepCell(band[kind])),
  ]), "The median step in brightness where two corrected images show the same ground; beneath it, that of the raw images.");
}

function witnessTable(rows) {
  const when = (row) => {
    const sun = finite(row.sun_elevation_deg) ? `sun\u00a0${number(row.sun_elevation_deg)}°` : "";
    return [finite(row.time_unix) ? clock(row.time_unix) : "–", sun ? small(sun) : null];
  };
  const unit = "W/m²/nm";
  return table([["Band"], ["Time, UTC"], [`Clear sky, ${unit}`, true], [`Light sensor, ${unit}`, true], [`Panel, ${unit}`, true], ["Sensor / clear sky", true], ["Panel / clear sky", true], ["Panel / sensor", true]], rows.map((row) => [
    bandCell(row, rows), when(row),
    number(row.clear_sky),
    [number(row.sensor), finite(row.sensor) && !row.is_absolute ? small("in its own unit") : null],
    ...["panel", "sensor_ratio", "panel_ratio", "panel_to_sensor"].map((key) => number(row[key])),
  ]));
}

function uncertaintyTable(rows) {
  return table([["Band"], ["Systematic", true], ["Random", true], ["Combined", true]], rows.map((row) => [
    bandCell(row, rows), percent(row.systematic), percent(row.random), percent(row.combined),
  ]), "Relative standard uncertainties of the corrected values.");
}

const kTermKinds = { pixel: "not counted above" };

/** The terms of all bands, each once with its values; opens on demand. */
function termList(rows) {
  const terms = new Map(); // name and kind: [band, value]
  rows.forEach((row) => row.terms.forEach((term) => {
    const key = [term.name || "a term without a name", kTermKinds[term.kind] || term.kind].filter(Boolean).join(", ");
    terms.set(key, [...(terms.get(key) || []), [row.band || row.camera, percent(term.value)]]);
  }));
  if (terms.size === 0) return null;
  return el("details", {}, el("summary", {}, "The terms"), el("ul", {}, [...terms].map(([key, values]) => {
    const isOfAll = values.length === rows.length && values.every(([, value]) => value === values[0][1]);
    return el("li", {}, `${key}: ${isOfAll ? values[0][1] : values.map(([band, value]) => `${band} ${value}`).join(", ")}`);
  })));
}

/** A section with these parts, shown. */
function fill(id, ...parts) {
  show(id);
  bodyOf(id).append(...parts.flat().filter(Boolean));
}

function fillEvidence() {
  const { sky, overlaps, witnesses, uncertainty } = data;
  if (sky.length > 0) {
    show("sky");
    document.getElementById("sky").append(skyTable(sky));
  }
  if (overlaps && overlaps.bands.length > 0) fill("neighbours", overlapsTable(overlaps.bands));
  if (witnesses.length > 0) {
    fill("witnesses", witnessTable(witnesses), sentences(witnesses, (row) => [row.verdict]).map((text) => el("p", { class: "verdict" }, text)));
  }
  if (uncertainty.length > 0) {
    const missing = sentences(uncertainty, (row) => row.not_included);
    fill("uncertainty", uncertaintyTable(uncertainty), termList(uncertainty),
      missing.length > 0 ? [el("h3", {}, "Not included"), el("ul", { class: "plain" }, missing.map((text) => el("li", {}, text)))] : null);
  }
}
