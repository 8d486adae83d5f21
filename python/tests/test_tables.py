"""Tables of measures."""

import numpy as np
import pytest

import rix
from support import blobs, run_script


def measured():
    labels = rix.labeling_2d(rix.Image(blobs(), spacing=0.5, spatial_unit="mm"))
    return labels, rix.label_analysis(labels, measures="Area, Barycenter")


def test_table_is_a_dict_of_arrays():
    labels, table = measured()
    assert list(table) == ["Frame", "Label", "Area", "BarycenterX", "BarycenterY"]
    count = labels.array.max()
    assert all(isinstance(column, np.ndarray) and column.shape == (count,) for column in table.values())
    assert table["Label"].dtype == np.int64 and table["Area"].dtype == np.float64
    np.testing.assert_allclose(table["Area"], np.bincount(labels.array.ravel())[1:] * 0.25)
    assert table.units["Area"] == "mm^2" and table.units["BarycenterX"] == "mm" and table.units["Label"] == ""
    assert table.descriptions["Area"] and "Area [mm^2]" in repr(table)


def test_pandas():
    pandas = pytest.importorskip("pandas")
    _, table = measured()
    frame = table.to_pandas()
    assert isinstance(frame, pandas.DataFrame) and list(frame.columns) == list(table)
    assert frame.attrs["units"]["Area"] == "mm^2" and frame.attrs["descriptions"]["Area"]
    np.testing.assert_array_equal(frame["Area"], table["Area"])


def test_without_pandas():
    assert "pandas" in run_script("""
        import sys
        sys.modules["pandas"] = None
        import numpy as np, rix
        try:
            rix.intensity_extrema(np.ones((3, 3), np.uint8)).to_pandas()
        except rix.RunError as error:
            print(error)
    """)


def test_thresholds_are_arrays():
    image = np.stack([blobs(seed=seed) * np.uint8(100 + 50 * seed) for seed in (1, 2)])
    result = rix.auto_thresholding_value(image, axes="tyx", threshold_criterion="FACTORISATION")
    assert result["threshold"].shape == (2,) and result["threshold"].dtype == np.float64
