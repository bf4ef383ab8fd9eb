#!/usr/bin/python3
"""Corrects RedEdge images with numpy and GDAL, written down plainly from the formulas.

numpy_flight.py INPUT_FOLDER OUTPUT_FOLDER
numpy_flight.py --compare FOLDER OTHER_FOLDER

The result is reflectance, by the light sensor and the maker's constant, in float TIFFs without
metadata. One thread corrects image after image: it takes pixels and XMP from GDAL and EXIF from the
TIFF's directories, and makes each vignetting map again. It prints the seconds that this took, by the
clock and of the processor, without the start of Python and its modules.
--compare refuses images of the same name whose values differ.
"""

import pathlib
import struct
import sys
import time
import xml.etree.ElementTree

sys.dont_write_bytecode = True  # it would make a folder among the sources
from numpy_chain import correct  # imported before numpy, because it limits numpy to one thread

try:
    import numpy as np
    from osgeo import gdal
except ImportError:
    sys.exit(77)

gdal.UseExceptions()

TOLERANCE = 1e-5
NO_DATA = -10000.0
FULL_SCALE = 65536.0
# Of the maker's sensitivity: what a level surface of reflectance 1 has after division by the irradiance.
MAKERS_CONSTANT = 655.36

BLACK_LEVEL_REPEAT = 0xC619
BLACK_LEVEL = 0xC61A
EXIF_DIRECTORY = 0x8769
EXPOSURE_TIME = 0x829A
F_NUMBER = 0x829D
ISO_SPEED = 0x8833
# Type of a TIFF entry -> struct's letter and values an item; text and the like are left out.
TYPES = {3: ("H", 1), 4: ("I", 1), 5: ("I", 2)}


def directory(data, start, order):
    """Entries of a TIFF directory: tag -> list of numbers, fractions divided out."""
    entries = {}
    (count,) = struct.unpack_from(order + "H", data, start)
    for at in range(start + 2, start + 2 + 12 * count, 12):
        tag, kind, items = struct.unpack_from(order + "HHI", data, at)
        if kind not in TYPES:
            continue
        letter, each = TYPES[kind]
        layout = f"{order}{items * each}{letter}"
        if struct.calcsize(layout) > 4:
            (place,) = struct.unpack_from(order + "I", data, at + 8)
        else:
            place = at + 8
        values = struct.unpack_from(layout, data, place)
        entries[tag] = values if each == 1 else [n / d for n, d in zip(values[::2], values[1::2])]
    return entries


def tiff_tags(path):
    data = path.read_bytes()
    order = "<" if data[:2] == b"II" else ">"
    tags = directory(data, struct.unpack_from(order + "I", data, 4)[0], order)
    tags.update(directory(data, tags[EXIF_DIRECTORY][0], order))
    return tags


def xmp_values(dataset):
    """Property's name, without its namespace -> text, or the list of texts."""
    text = dataset.GetMetadata("xml:XMP")[0]
    root = xml.etree.ElementTree.fromstring(text[text.index("<x:xmpmeta") : text.rindex("<?xpacket")])
    values = {}
    for description in root.iter("{http://www.w3.org/1999/02/22-rdf-syntax-ns#}Description"):
        for name, value in description.attrib.items():
            values[name.partition("}")[2]] = value
        for child in description:
            items = child.iter("{http://www.w3.org/1999/02/22-rdf-syntax-ns#}li")
            values[child.tag.partition("}")[2]] = [item.text for item in items]
    return values


def parameters(path, dataset):
    tags = tiff_tags(path)
    xmp = xmp_values(dataset)
    width, height = dataset.RasterXSize, dataset.RasterYSize
    rows, columns = tags[BLACK_LEVEL_REPEAT]
    pattern = np.reshape(tags[BLACK_LEVEL], (rows, columns))
    dark = np.tile(pattern, (-(-height // rows), -(-width // columns)))[:height, :width]
    _, k1, k2 = map(float, xmp["RadiometricCalibration"])
    return {
        "width": width,
        "height": height,
        "dark": dark,
        "least": 0.0,
        "largest": 65520.0,
        "no_data": NO_DATA,
        "bad_pixels": [[int(word) for word in pair.split(",")] for pair in xmp["InvalidPixel"]],
        "center": [float(word) for word in xmp["VignettingCenter"]],
        "vignetting": [1.0] + [float(word) for word in xmp["VignettingPolynomial"]],
        "exposure": tags[EXPOSURE_TIME][0],
        "k1": k1,
        "k2": k2,
        "f_number": tags[F_NUMBER][0],
        "iso": tags[ISO_SPEED][0],
        "sensitivity": float(xmp["BandSensitivity"]),
        "samples": FULL_SCALE * float(xmp["Irradiance"]) * MAKERS_CONSTANT,
    }


def correct_file(path, output):
    dataset = gdal.Open(str(path))
    result = correct(dataset.ReadAsArray(), parameters(path, dataset))
    height, width = result.shape
    target = gdal.GetDriverByName("GTiff").Create(str(output), width, height, 1, gdal.GDT_Float32)
    target.GetRasterBand(1).SetNoDataValue(NO_DATA)
    target.GetRasterBand(1).WriteArray(result.astype(np.float32))


def correct_folder(folder, output):
    output.mkdir(parents=True, exist_ok=True)
    clock, processor = time.monotonic(), time.process_time()
    for path in sorted(folder.glob("*.tif")):
        correct_file(path, output / path.name)
    print(time.monotonic() - clock, time.process_time() - processor)


def compare(folder, other):
    names = sorted({path.name for path in folder.glob("*.tif")} & {path.name for path in other.glob("*.tif")})
    if not names:
        sys.exit(f"no image is both in {folder} and in {other}")
    for name in names:
        a, b = (gdal.Open(str(place / name)).ReadAsArray().astype(np.float64) for place in (folder, other))
        if not np.array_equal(a == NO_DATA, b == NO_DATA):
            sys.exit(f"{name}: numpy and the command differ in which pixels have no value")
        difference = np.max(np.abs(a / b - 1.0))
        if not difference <= TOLERANCE:
            sys.exit(f"{name}: numpy and the command differ by {difference:.1e} of a value")


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    first, second = map(pathlib.Path, sys.argv[-2:])
    (compare if "--compare" in sys.argv else correct_folder)(first, second)


main()
