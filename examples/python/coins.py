"""Coins: threshold, label, measure, overlay. Run it whole, or cell by cell in an editor that knows `# %%`.

    PYTHONPATH=build/release/python python3 examples/python/coins.py FOLDER
"""

# %% A photograph, with its calibration if the file has any. Here we know that a pixel is 0.2 mm wide.
import pathlib
import sys

import numpy as np

import rix

here = pathlib.Path(__file__).parent
folder = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else "coins-pictures")
folder.mkdir(parents=True, exist_ok=True)

photograph = rix.imread(here.parent / "images" / "coins.png")
coins = rix.Image(photograph, spacing=0.2, spatial_unit="mm")
print(coins)

# %% Threshold. The result is named: a binary image and the threshold that was chosen.
bright = rix.auto_thresholding_bright(coins, threshold_criterion="ENTROPY")
print("threshold:", bright.output_measurement["threshold"])
rix.imwrite(folder / "coins-binary.png", bright.output_binary_image)

# %% Label: every coin gets a number.
labels = rix.labeling_2d(bright.output_binary_image, neighborhood="CONNECTIVITY_8")
print("objects:", labels.array.max())

# %% Measure. Names and formulas; units follow from the calibration.
table = rix.label_analysis(labels, coins, measures="Area, Barycenter, Mean, Diameter = 2 * sqrt(Area / 3.14159265)")
print("columns:", ", ".join(f"{name} [{unit}]" if unit else name for name, unit in table.units.items()))

# %% What is smaller than a coin is dirt: plain NumPy.
is_coin = table["Area"] > 20
kept = np.concatenate([[0], np.where(is_coin, np.cumsum(is_coin), 0)]).astype(np.uint8)
coins_only = rix.Image(kept[labels], interpretation="label", **labels.calibration)
for label, diameter in zip(kept[1:][is_coin], table["Diameter"][is_coin]):
    print(f"coin {label:2}: {diameter:5.1f} {table.units['Diameter']}")

# %% Look at it.
picture = rix.overlay(coins, coins_only, numbers=True)
rix.imwrite(folder / "coins-numbered.png", picture, axes="yxc", color_interpretation="rgb")

assert is_coin.sum() == 24, "the photograph shows 24 coins"
