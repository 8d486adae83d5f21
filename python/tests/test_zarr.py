"""OME-Zarr of ours in zarr, and files of zarr here."""

import json

import numpy as np
import pytest

import rix
from support import random_array

try:
    import numcodecs
    import zarr
except ImportError:
    numcodecs = zarr = None

pytestmark = pytest.mark.skipif(zarr is None, reason="could not import 'zarr'")

DTYPES = [np.uint8, np.int8, np.uint16, np.int16, np.uint32, np.int32, np.float32, np.float64, np.complex64, np.complex128]


def compressors():
    return [None, numcodecs.Zlib(4), numcodecs.GZip(1), numcodecs.Zstd(3), numcodecs.Blosc("lz4", 5, 1),
            numcodecs.Blosc("zstd", 3, 2), numcodecs.Blosc("zlib", 1, 0), numcodecs.Blosc("blosclz", 9, 1),
            numcodecs.Blosc("lz4hc", 9, 2)]


@pytest.mark.parametrize("compression", [None, "none", "deflate", "zstd"])
def test_ours_in_zarr(tmp_path, compression):
    path = tmp_path / "a.ome.zarr"
    for dtype in DTYPES:
        array = random_array(dtype, (4, 2, 6, 70, 131))
        rix.imwrite(path, rix.Image(array, "tczyx", spacing={"z": 3, "y": 0.5, "x": 0.25}, spatial_unit="µm"), compression=compression)
        group = zarr.open_group(str(path), mode="r")
        np.testing.assert_array_equal(group["0"][:], array, err_msg=str(np.dtype(dtype)))
        image = group.attrs["multiscales"][0]
        assert image["version"] == "0.4" and [axis["name"] for axis in image["axes"]] == list("tczyx")
        assert [axis["type"] for axis in image["axes"]] == ["time", "channel", "space", "space", "space"]
        assert image["axes"][4]["unit"] == "micrometer"
        assert image["datasets"][0]["coordinateTransformations"][0]["scale"] == [1, 1, 3, 0.5, 0.25]
    with pytest.raises(rix.FileError, match="LZW"):
        rix.imwrite(path, array, axes="tczyx", compression="lzw")


def test_pyramid_and_labels_in_zarr(tmp_path):
    path = tmp_path / "a.zarr"
    array = random_array(np.uint16, (600, 900))
    rix.imwrite(path, array, pyramid=True)
    labels = (array[:300] > 50).astype(np.uint8)
    rix.imwrite(path / "labels" / "bright", rix.Image(labels, interpretation="label"))
    group = zarr.open_group(str(path), mode="r")
    levels = [group[entry["path"]] for entry in group.attrs["multiscales"][0]["datasets"]]
    assert [level.shape for level in levels] == [(600, 900), (300, 450), (150, 225)]
    means = array.astype(np.float64).reshape(300, 2, 450, 2).mean((1, 3))
    np.testing.assert_array_equal(levels[1][:], np.floor(means + 0.5))
    np.testing.assert_array_equal(rix.imread(path, select="level=1").array, levels[1][:])
    assert rix.imread(path, select="level=2").spacing == (4, 4)
    assert group["labels"].attrs["labels"] == ["bright"]
    np.testing.assert_array_equal(group["labels/bright/0"][:], labels)


@pytest.mark.parametrize("separator", [".", "/"])
def test_arrays_of_zarr(tmp_path, separator):
    count = 0
    for dtype in DTYPES + [bool]:
        for order in "<>":
            compressor = compressors()[count % 9]
            array = random_array(dtype, (11, 33, 47)).astype(np.dtype(dtype).newbyteorder(order))
            path = tmp_path / f"{count}.zarr"
            count += 1
            stored = zarr.open_array(str(path), mode="w", shape=array.shape, chunks=(4, 20, 47), dtype=array.dtype,
                                     compressor=compressor, fill_value=1, dimension_separator=separator)
            stored[:9] = array[:9]
            image = rix.imread(path)
            array[9:] = 1
            np.testing.assert_array_equal(image.array, array, err_msg=f"{array.dtype} {compressor}")
            part = rix.imread(path, select="z=3:9,y=19:22,x=-7:")
            np.testing.assert_array_equal(part.array, array[3:9, 19:22, -7:])
    for dtype in (np.int64, np.uint64, np.float16):
        path = tmp_path / f"{np.dtype(dtype)}.zarr"
        array = np.arange(35).reshape(5, 7).astype(dtype)
        zarr.save_array(str(path), array)
        np.testing.assert_array_equal(rix.imread(path).array, array)
    zarr.open_array(str(path), mode="w", shape=(5, 7), order="F", dtype="u1")[:] = 1
    with pytest.raises(rix.FileError, match='"F"'):
        rix.imread(path)


def test_images_of_zarr(tmp_path):
    """All axes that the format allows, in its order."""
    for axes in ("yx", "zyx", "cyx", "tyx", "czyx", "tzyx", "tcyx", "tczyx"):
        array = random_array(np.uint8, tuple("tczyx".index(axis) + 2 for axis in axes))
        path = tmp_path / f"{axes}.zarr"
        group = zarr.open_group(str(path), mode="w")
        group.create_dataset("scale0", data=array, chunks=tuple(2 for _ in axes))
        types = {"t": "time", "c": "channel"}
        units = {"t": {"unit": "second"}, "c": {}}
        scale = [float("tczyx".index(axis) + 1) for axis in axes]
        group.attrs["multiscales"] = [{
            "version": "0.4",
            "axes": [{"name": axis, "type": types.get(axis, "space"), **units.get(axis, {"unit": "nanometer"})}
                     for axis in axes],
            "datasets": [{"path": "scale0", "coordinateTransformations": [{"type": "scale", "scale": scale}]}]}]
        image = rix.imread(path)
        np.testing.assert_array_equal(image.array.transpose([image.axes.index(axis) for axis in axes]), array)
        assert image.spatial_unit == "nm" and image.spacing[-2:] == (4, 5)
        assert json.loads((path / ".zattrs").read_text())["multiscales"][0]["version"] == "0.4"
