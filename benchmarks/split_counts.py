#!/usr/bin/python3
"""How often SplitTouchingObjects2d counts two discs right, by how far they overlap and how rough their outline is.

    PYTHONPATH=build/release/python benchmarks/split_counts.py

Pairs of discs of radius 12 in any direction; their centres are (2 - overlap) radii apart. The outline is moved by smooth
noise of a standard deviation in pixels. A row for each overlap: how many of 100 pairs are two objects at a contrast of 1.
"""

import numpy as np
from scipy import ndimage

import rix

RADIUS, SIDE, PAIRS = 12, 64, 100


def pair(random, overlap, roughness):
    """The largest connected part of two discs."""
    rows, columns = np.indices((SIDE, SIDE))
    angle = random.uniform(0, np.pi)
    centre = SIDE / 2 + random.uniform(-1, 1, 2)
    offset = np.array([np.sin(angle), np.cos(angle)]) * RADIUS * (2 - overlap) / 2
    height = np.max([RADIUS - np.hypot(rows - y, columns - x) for y, x in (centre - offset, centre + offset)], axis=0)
    noise = ndimage.gaussian_filter(random.standard_normal((SIDE, SIDE)), 2)
    objects = ndimage.binary_fill_holes(height + noise / noise.std() * roughness > 0)
    labels = ndimage.label(objects)[0]
    return labels == np.argmax(np.bincount(labels.ravel())[1:]) + 1


def main():
    roughnesses = (0, 0.5, 1.0, 1.5)
    random = np.random.default_rng(1)
    print("overlap   " + "".join(f"{roughness:>8} px" for roughness in roughnesses))
    for overlap in (0.1, 0.3, 0.5, 0.7, 0.9):
        counts = [sum(np.asarray(rix.split_touching_objects_2d(pair(random, overlap, roughness))).max() == 2
                      for _ in range(PAIRS)) for roughness in roughnesses]
        print(f"{overlap:<10}" + "".join(f"{count:>11}" for count in counts))


if __name__ == "__main__":
    main()
