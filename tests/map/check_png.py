"""Checks a map drawn by vestra-map: the PNG has the requested size, and
the middle of the page, inside the frame and away from the legend and the
scale bar, shows the fix's star and bearing lines in their colours.
Usage: python3 check_png.py FILE WIDTH HEIGHT; prints what is wrong."""
import sys

import numpy as np
from osgeo import gdal

path, width, height = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
gdal.UseExceptions()
ds = gdal.Open(path)
if (ds.RasterXSize, ds.RasterYSize) != (width, height):
    sys.exit(f"{path}: {ds.RasterXSize}x{ds.RasterYSize}, expected {width}x{height}")
rgb = np.dstack([ds.GetRasterBand(b).ReadAsArray() for b in (1, 2, 3)])
middle = rgb[height // 4:3 * height // 4, width // 4:3 * width // 4]


def pixels(colour):
    return int(np.all(middle == np.array(colour, dtype=np.uint8), axis=2).sum())


# The colours of gmt_map.cpp: fix star and bearing lines.
for name, colour, least in (("fix star", (255, 255, 0), 30),
                            ("bearing lines", (31, 95, 191), 300)):
    if pixels(colour) < least:
        sys.exit(f"{path}: {pixels(colour)} pixels of the {name} in the middle")
