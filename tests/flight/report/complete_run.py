#!/usr/bin/python3
"""Completes what a run left, so that its report has every section.

complete_run.py FOLDER

FOLDER is an output folder. Adds to plan.json, and beside it, what is not there; gives each name a text that
would be a script if a page took it for markup.
"""

import json
import os
import sys

HOSTILE = """"><img src=x onerror="document.title='x'"><script>document.title='x'</script>"""


def write(path, document):
    with open(path, "w", encoding="utf-8") as file:
        json.dump(document, file, indent=1)


def bands_of(plan):
    for camera in plan["cameras"]:
        for band in camera["bands"]:
            yield camera, band


def light_of(plan):
    ids = [camera["id"] for camera in plan["cameras"]]
    none = {"raw": None, "steady": None}
    return {"asked": "auto", "rigs": [
        {"cameras": ids[:-1], "state": "clear", "reason": "The direct part of the light hardly varies.",
         "correction_type": "sun-angle-absolute", "type_reason": "The light sensor's attitude is known.",
         "jitter": {"raw": 0.0213, "steady": 0.0041}, "mount_deg": [1.27, -0.64], "choice": "steady"},
        {"cameras": ids[-1:], "state": "unknown", "reason": "Too few readings.", "correction_type": "irradiance",
         "type_reason": "", "jitter": none, "mount_deg": None, "choice": "raw"}]}


def witnesses_of(plan):
    verdict = "The panel says 12 % less than the light sensor: a shadow on it, or a light sensor that reads too much."
    return [{"path": "in/panel.tif", "time_unix": 1.6e9 + 600 * capture, "camera": camera["id"],
             "camera_name": camera["name"], "band": band["name"], "wavelength_nm": band["wavelength_nm"],
             "sun_elevation_deg": 52.31, "clear_sky": 1.2345, "sensor": 1.2001 if capture == 0 else None,
             "panel": 1.0561, "is_absolute": capture == 0, "sensor_ratio": 0.9721 if capture == 0 else None, "panel_ratio": 0.8555,
             "panel_to_sensor": 0.88 if capture == 0 else None, "verdict": verdict if capture == 0 else ""}
            for capture in range(2) for camera, band in bands_of(plan)]


def uncertainty_of(camera):
    return [{"band": band["name"], "systematic": 0.0214, "random": 0.0061 if b == 0 else None,
             "terms": [{"name": "panel's stated reflectance", "kind": "systematic", "value": 0.01},
                       {"name": "light sensor's jitter", "kind": "random", "value": 0.0061}],
             "not_included": ["Reflectance that depends on the direction of view is not included."]}
            for b, band in enumerate(camera["bands"])]


def overlaps_of(plan):
    step = {"raw": 0.0891, "corrected": 0.0123}
    none = {"raw": None, "corrected": None}
    return {"pairs": 42, "raw": 0.0891, "corrected": 0.0123, "bands": [
        {"camera": camera["id"], "band": band["name"], "wavelength_nm": band["wavelength_nm"], "pairs": 9,
         "all": step, "along": step, "across": step, "same_heading": step, "opposite_heading": none}
        for camera, band in bands_of(plan)]}


def fill(document, key, value):
    """A section needs something to show: an empty list counts as none."""
    if not document.get(key):
        document[key] = value


def spoil(document):
    """Puts the hostile text behind each text that people read."""
    for key, value in document.items() if isinstance(document, dict) else enumerate(document):
        if isinstance(value, (dict, list)):
            spoil(value)
        elif isinstance(value, str) and value and (key in ("band", "reason", "verdict") or isinstance(document, list)):
            document[key] = value + HOSTILE


def main(folder):
    file = os.path.join(folder, "plan.json")
    with open(file, encoding="utf-8") as text:
        plan = json.load(text)
    fill(plan, "light", light_of(plan))
    fill(plan, "witnesses", witnesses_of(plan))
    for camera in plan["cameras"]:
        fill(camera, "uncertainty", uncertainty_of(camera))
    overlaps = os.path.join(folder, "overlaps.json")
    steps = overlaps_of(plan)
    if os.path.exists(overlaps):
        with open(overlaps, encoding="utf-8") as text:
            steps = json.load(text)

    plan["warnings"].append({"path": "in/1.tif", "text": "The light sensor was in a shadow. " + HOSTILE})
    plan["failures"].append({"path": "in/2.tif", "reason": "no light sensor " + HOSTILE})
    spoil(plan["witnesses"])
    spoil(steps)
    for rig in plan["light"]["rigs"]:
        rig["reason"] += HOSTILE
    for camera in plan["cameras"]:
        camera["name"] += HOSTILE
        spoil(camera["uncertainty"])
    write(file, plan)
    write(overlaps, steps)


if __name__ == "__main__":
    main(*sys.argv[1:])
