// Numbers, times and words for people; elements.

const finite = (value) => typeof value === "number" && Number.isFinite(value);

/** With this many significant digits at least, and all digits before the point. */
function number(value, digits = 3) {
  if (!finite(value)) return "–";
  const size = Math.abs(value);
  if (size !== 0 && (size >= 1e9 || size < 1e-4)) return value.toExponential(digits - 1).replace("e", " × 10^").replace("^+", "^");
  if (size >= 10 ** (digits - 1)) return Math.round(value).toLocaleString("en");
  return value.toLocaleString("en", { minimumSignificantDigits: digits, maximumSignificantDigits: digits });
}

const count = (value, one, many) => `${value.toLocaleString("en")} ${value === 1 ? one : many}`;

function percent(share) {
  if (!finite(share)) return "–";
  if (share === 0) return "0 %";
  if (share < 0.0001) return "< 0.01 %";
  return `${(100 * share).toLocaleString("en", { maximumSignificantDigits: share < 0.1 ? 2 : 3 })} %`;
}

const iso = (unix) => new Date(unix * 1000).toISOString();
const date = (unix) => iso(unix).slice(0, 10);
const clock = (unix) => iso(unix).slice(11, 19);
const dateAndTime = (unix) => `${date(unix)} ${clock(unix)} UTC`;

function duration(seconds) {
  const total = seconds < 3600 ? Math.round(seconds) : 60 * Math.round(seconds / 60);
  const hours = Math.floor(total / 3600);
  const minutes = Math.floor((total % 3600) / 60);
  if (hours >= 48) return `${number(total / 86400)} days`;
  if (hours > 0) return `${hours} h ${minutes} min`;
  return minutes > 0 ? `${minutes} min ${total % 60} s` : `${total} s`;
}

function area(squareMetres) {
  if (squareMetres >= 1e6) return `${number(squareMetres / 1e6)} km²`;
  return squareMetres >= 1e4 ? `${number(squareMetres / 1e4)} ha` : `${number(squareMetres)} m²`;
}

function range([least, greatest], digits = 3) {
  const from = number(least, digits);
  const to = number(greatest, digits);
  return from === to ? from : `${from} to ${to}`;
}

const kTypes = {
  "none": ["None", "unusable pixels are masked, values stay as stored"],
  "camera": ["Camera", "proportional to radiance at the camera"],
  "irradiance": ["Irradiance", "divided by the light sensor's reading"],
  "sun-angle": ["Sun angle", "divided by the reading, levelled by the sun's position"],
  "sun-angle-absolute": ["Sun angle, absolute", "as sun angle, by the light sensor's own attitude"],
};
const kMissing = {
  "sun-irradiance": "readings of a light sensor",
  "sun-irradiance-orientation": "orientation of the light sensor",
  "capture-time": "capture time",
};
const typeName = (word) => (kTypes[word] || [word || "unknown"])[0];
const missingName = (word) => kMissing[word] || word;

/** By the names that correctors have in the records. */
const kSteps = {
  IntensityShift: "8 bits made 16",
  GammaRelinearisation: "tone curve",
  BadPixelMasking: "defective pixels",
  BadExposureMasking: "saturated and dark pixels",
  DarkCurrent: "dark level",
  Vignetting: "vignetting",
  ColorMatrix: "colour matrix",
  MicaSenseRedEdgeOpticalCamera: "exposure and sensitivity, row by row",
  AirinovMultispec4COpticalCameraV2_32: "sensitivity",
  ParrotSequoiaBias: "bias",
  ParrotSequoiaOpticalCameraV1: "exposure and sensitivity",
  ParrotSequoiaOpticalCameraV2: "exposure and sensitivity, pixel by pixel",
  BasicOpticalCamera: "exposure and sensitivity",
  SunSensor: "light sensor",
  CalibrationTarget: "reflectance target",
  ConvertNanToNodata: "pixels without a value",
};

/** What an application's correctors call themselves stays as it is. */
const stepName = (name) => kSteps[name] || name || "a step without a name";

/** Reasons are parts of sentences in the files. */
const sentence = (text) => text.charAt(0).toUpperCase() + text.slice(1) + (/[.!?]$/.test(text) ? "" : ".");

const baseName = (path) => String(path || "").split(/[\\/]/).pop();

/** An element; texts become text nodes and are never read as markup. */
function el(tag, attributes, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes || {})) {
    if (value !== undefined && value !== null) element.setAttribute(name, value);
  }
  element.append(...children.flat().filter((child) => child !== null && child !== undefined));
  return element;
}
