#!/usr/bin/python3
"""How often SplitTouchingObjects2d counts two discs right, by how far they overlap and how rough their outline is.

    PYTHONPATH=build/release/python benchmarks/split_counts.py [PICTURE]

Pairs of discs of radius 12 in any direction; their centres are (2 - overlap) radii apart. The outline is moved by smooth
noise of a standard deviation in pixels. A row for each overlap: how many of 100 pairs are two objects at a contrast of 1.
A PICTURE, which ends in .png or .svg, gets a curve for each roughness; that needs python3-matplotlib.
"""

import sys

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


def draw(overlaps, shares, picture):
    import matplotlib
    matplotlib.use("Agg")  # no screen is needed
    from matplotlib import pyplot

    figure, axes = pyplot.subplots(figsize=(7, 4), layout="constrained")
    for roughness, counts in shares.items():
        axes.plot(overlaps, counts, marker="o", label=f"{roughness:g} pixels" if roughness else "smooth")
    axes.set_xlabel("overlap (radii)")
    axes.set_ylabel("pairs counted as two (%)")
    axes.set_ylim(0, 102)
    axes.grid(True, alpha=0.3)
    axes.legend(title="outline moved by")
    figure.savefig(picture, dpi=100)


def main():
    overlaps, roughnesses = (0.1, 0.3, 0.5, 0.7, 0.9), (0, 0.5, 1.0, 1.5)
    shares = {roughness: [] for roughness in roughnesses}
    random = np.random.default_rng(1)
    print("overlap   " + "".join(f"{roughness:>8} px" for roughness in roughnesses))
    for overlap in overlaps:
        counts = [sum(np.asarray(rix.split_touching_objects_2d(pair(random, overlap, roughness))).max() == 2
                      for _ in range(PAIRS)) for roughness in roughnesses]
        print(f"{overlap:<10}" + "".join(f"{count:>11}" for count in counts))
        for roughness, count in zip(roughnesses, counts):
            shares[roughness].append(100 * count / PAIRS)
    if len(sys.argv) > 1:
        draw(overlaps, shares, sys.argv[1])


if __name__ == "__main__":
    main()
