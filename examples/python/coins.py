"""Coins: threshold, label, measure, overlay. Run it whole, or cell by cell in an editor that knows `# %%`.

    PYTHONPATH=build/release/python python3 examples/python/coins.py FOLDER
"""

# %% A photograph. Files keep their calibration; this one has none, but we know that a pixel is 0.2 mm wide.
import pathlib
import sys

import numpy as np

import rix

here = pathlib.Path(__file__).parent
folder = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else "results")
folder.mkdir(parents=True, exist_ok=True)

coins = rix.Image(rix.imread(here.parent / "images" / "coins.png"), spacing=0.2, spatial_unit="mm")
print(coins)

# %% The light falls from one side: take away what varies slowly. The difference of unsigned images is signed.
smooth = rix.box_filter_2d(coins, 5, 5, auto_scale=True)
light = rix.box_filter_2d(smooth, 151, 151, auto_scale=True)
even = smooth - light

# %% Threshold. Several results come by name: a binary image, and the threshold that was chosen.
bright = rix.auto_thresholding_bright(even, threshold_criterion="FACTORISATION")
print("threshold:", bright.output_measurement["threshold"])
rix.imwrite(folder / "python-coins-binary.png", bright.output_binary_image)

# %% Label: every coin gets a number.
labels = rix.labeling_2d(bright.output_binary_image, neighborhood="CONNECTIVITY_8")
print("coins:", labels.array.max())

# %% Measure. Names, presets and formulas; units follow from the calibration.
table = rix.label_analysis(labels, coins, measures="Area, EquivalentDiameter, Circularity, Mean")
for name, unit in table.units.items():
    print(f"{name:20} {unit:5} {table[name].min():8.3f} to {table[name].max():8.3f}")

# %% The rest is NumPy: keep the coins that are wider than 9 mm.
is_wide = np.concatenate([[False], table["EquivalentDiameter"] > 9])
wide = rix.Image(np.where(is_wide[labels], labels, 0).astype(np.uint8), interpretation="label", **labels.calibration)

# %% Look at them.
rix.imwrite(folder / "python-coins-wide.png", rix.overlay(coins, wide, numbers=True))
