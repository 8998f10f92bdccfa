#!/usr/bin/env python3
"""List the cameras, open one, set it up, grab ten frames and save one (NumPy and the standard
library only). Usage: grab.py [CAMERA] [OUTPUT.pgm]; CAMERA as `vorla-cl -c` takes it."""
import sys

import numpy as np
import vorla

for index, record in enumerate(vorla.cameras()):
    print(index, record["FriendlyName"], record["DeviceID"].rsplit("#", 1)[-1])

selection = sys.argv[1] if len(sys.argv) > 1 else None
output = sys.argv[2] if len(sys.argv) > 2 else "frame.pgm"
with vorla.open(selection) as cam:
    cam.features["Width"] = 640
    cam.features["Height"] = 480
    cam.features["PixelFormat"] = "Mono8"
    print("exposure", cam.features["ExposureTime"], cam.features.feature("ExposureTime").unit)
    for frame in cam.grab(count=10):
        print(f"frame {frame.frame_number}: {frame.shape} {frame.dtype}, mean {frame.mean():.1f}")
        last = frame
    with open(output, "wb") as pgm:  # a binary PGM: a text header, then the pixels
        pgm.write(b"P5 %d %d 255\n" % (last.shape[1], last.shape[0]))
        pgm.write(np.ascontiguousarray(last).tobytes())
print("saved", output)
