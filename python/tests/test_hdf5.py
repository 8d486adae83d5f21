"""HDF5 data sets of ours in h5py, and of h5py here."""

import numpy as np
import pytest

import rix
from support import random_array

try:
    import h5py
except ImportError:
    h5py = None

pytestmark = pytest.mark.skipif(h5py is None, reason="could not import 'h5py'")

DTYPES = [np.uint8, np.int8, np.uint16, np.int16, np.uint32, np.int32, np.float32, np.float64, np.complex64, np.complex128]


@pytest.mark.parametrize("compression", [None, "deflate"])
def test_ours_in_h5py(tmp_path, compression):
    path = tmp_path / "a.h5"
    for dtype in DTYPES:
        array = random_array(dtype, (4, 2, 6, 70, 131))
        rix.imwrite(f"{path}:/raw/data", rix.Image(array, "tczyx", spacing={"z": 3, "y": 0.5, "x": 0.25}, spatial_unit="µm"),
                    compression=compression)
        with h5py.File(path) as file:
            data = file["raw/data"]
            np.testing.assert_array_equal(data[...], array, err_msg=str(np.dtype(dtype)))
            assert [axis.label for axis in data.dims] == list("tczyx")
            assert list(data.attrs["element_size_um"]) == [3, 0.5, 0.25]
            assert data.compression == ("gzip" if compression else None)
    with pytest.raises(rix.FileError, match="deflate"):
        rix.imwrite(path, array, axes="tczyx", compression="lzw")


def test_theirs_here(tmp_path):
    path = tmp_path / "b.h5"
    array = random_array(np.uint16, (7, 33, 45))
    with h5py.File(path, "w") as file:
        file.create_dataset("packed", data=array.astype(">u2"), chunks=(3, 10, 16), compression="gzip", shuffle=True,
                            fletcher32=True).attrs["element_size_um"] = np.array([2, 0.5, 0.25], np.float32)
        file.create_dataset("mask", data=array[0] > 300)
        file.create_dataset("complex", data=random_array(np.complex64, (5, 6)))
        file.create_dataset("half", data=np.linspace(0, 1, 30, dtype=np.float16).reshape(5, 6))
        file.create_dataset("wide", data=array[0].astype(np.int64) - 7)
        file.create_dataset("too wide", data=np.full((2, 2), 2**40))
        holes = file.create_dataset("holes", (20, 30), "u1", chunks=(8, 8), fillvalue=7)
        holes[3, 4] = 9
        named = file.create_dataset("named", data=random_array(np.uint8, (2, 3, 8, 9, 3)))
        for axis, letter in zip(named.dims, "tzyxc"):
            axis.label = letter
        file.create_dataset("tagged", data=random_array(np.uint8, (3, 8, 9))).attrs["axistags"] = \
            '{"axes": [{"key": "c"}, {"key": "y"}, {"key": "x"}]}'
        file["text"] = "hello"
        file["link"] = h5py.ExternalLink("c.h5", "/x")
    with h5py.File(path) as file:
        for name in ("packed", "mask", "complex", "half", "wide", "holes", "tagged"):
            np.testing.assert_array_equal(rix.imread(f"{path}:/{name}").array, file[name][...], err_msg=name)
        np.testing.assert_array_equal(rix.imread(f"{path}:packed", select="z=2:5,x=20").array[..., 0], file["packed"][2:5, :, 20])
        np.testing.assert_array_equal(rix.imread(f"{path}:named", select="t=1").array.reshape(3, 3, 8, 9),
                                      np.moveaxis(file["named"][1], -1, 0))
    assert rix.imread(f"{path}:/packed").spacing == (2, 0.5, 0.25)
    assert rix.imread(f"{path}:/mask").interpretation.name == "BINARY"
    for name, reason in {"text": "texts", "link": "no data set '/link'", "too wide": "32 bits", "none": "no data set"}.items():
        with pytest.raises(rix.FileError, match=reason):
            rix.imread(f"{path}:/{name}")
    with pytest.raises(rix.FileError, match="several data sets.*/packed.*uint16 of 7 x 33 x 45"):
        rix.imread(path)
