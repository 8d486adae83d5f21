"""From a file to a plot: how bright is a cell, from its edge to its middle? Cell by cell in an editor that knows `# %%`
(or in a notebook, where the last line of a cell shows its picture), or whole:

    PYTHONPATH=build/release/python python3 examples/python/tour.py FOLDER
"""

# %% A file, and what we know of it: a hologram of a cell in saline, 0.107 micrometres a pixel.
import pathlib
import sys

import matplotlib
import numpy as np

import rix

if "ipykernel" not in sys.modules:
    matplotlib.use("Agg")  # no windows
import matplotlib.pyplot as plt

here = pathlib.Path(__file__).parent
folder = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 and "ipykernel" not in sys.modules else "results")
folder.mkdir(parents=True, exist_ok=True)

hologram = rix.Image(rix.imread(here.parent / "images" / "cell.png"), spacing=0.107, spatial_unit="um")
hologram

# %% Numbers of the whole image, as a table.
rix.image_statistics(hologram, measures="Minimum, Maximum, Mean, StandardDeviation").to_pandas()

# %% Parts by the names of axes keep their place in the world, arithmetic goes through the library.
corner = hologram.isel(y=slice(0, 200), x=slice(0, 200))
print("noise beside the cell:", round(corner.std(), 2))
even = hologram.astype(np.float32) - corner.mean()

# %% Fringes and noise away: lengths in micrometres, because the image knows its spacing.
smooth = rix.gaussian_filter_2d(even, 0.3, 0.3, length_unit="WORLD")

# %% The cell: the one large object that is left.
bright = rix.auto_thresholding_bright(smooth, threshold_criterion="FACTORISATION").output_binary_image
whole = rix.fill_holes_2d(rix.opening_2d(bright, structuring_element="DISK", radius=1, length_unit="WORLD"))
labels = rix.labeling_2d(whole)
table = rix.label_analysis(labels, hologram, measures="Area, EquivalentDiameter, Circularity, Mean")
cell = int(np.argmax(table["Area"]))
print(f"{int(labels.max())} object(s); the cell: {table['Area'][cell]:.1f} {table.units['Area']}, "
      f"{table['EquivalentDiameter'][cell]:.2f} {table.units['EquivalentDiameter']} wide, "
      f"circularity {table['Circularity'][cell]:.3f}")

# %% Is that what we meant? A picture says it.
outlined = rix.overlay(hologram, labels)
rix.imwrite(folder / "tour-outline.png", outlined)
outlined

# %% How far each of its pixels is from the edge, in micrometres; then the mean brightness of each half micrometre.
depth = rix.distance_map_2d(whole, length_unit="WORLD").output_distance_image
inside = labels.array == cell + 1
ring = (depth.array[inside] / 0.5).astype(int)
values = even.array[inside]
profile = np.bincount(ring, values) / np.bincount(ring)

# %% The plot.
figure, (left, right) = plt.subplots(1, 2, figsize=(9, 3.6))
extent = [0, hologram.shape[1] * 0.107, hologram.shape[0] * 0.107, 0]
left.imshow(outlined, extent=extent)
left.set_xlabel("x [um]")
left.set_ylabel("y [um]")
right.plot(0.25 + 0.5 * np.arange(len(profile)), profile, "o-")
right.set_xlabel("distance from the edge [um]")
right.set_ylabel("mean brightness above the background")
figure.tight_layout()
figure.savefig(folder / "tour.png", dpi=100)
