"""Files of ours in other programs, and files of theirs here."""

import warnings

import numpy as np
import pytest

import rix
from support import random_array

DTYPES = [bool, np.uint8, np.int8, np.uint16, np.int16, np.uint32, np.int32, np.float32, np.float64, np.complex64,
          np.complex128]


@pytest.mark.parametrize("compression", ["deflate", "lzw", "zstd"])
@pytest.mark.parametrize("name", ["a.tif", "a.ome.tif"])
def test_pages_of_tiff_in_tifffile(tmp_path, name, compression):
    """Packed; the matrix of formats has the others."""
    tifffile = pytest.importorskip("tifffile")
    if compression in ("lzw", "zstd"):
        pytest.importorskip("imagecodecs")  # tifffile unpacks these with it
    for dtype in DTYPES:
        array = random_array(dtype, (4, 2, 6, 7, 9))
        rix.imwrite(tmp_path / name, rix.Image(array, "tczyx", spacing=0.5), compression=compression)
        with tifffile.TiffFile(tmp_path / name) as file:
            assert len(file.pages) == 48
            series = file.series[0]
            read = np.transpose(series.asarray(), [series.axes.lower().index(axis) for axis in "tczyx"])
            np.testing.assert_array_equal(read, array, err_msg=str(np.dtype(dtype)))
            np.testing.assert_array_equal(file.pages[47].asarray(), array[-1, -1, -1])


def test_tiff_of_tifffile_with_doubts(tmp_path):
    tifffile = pytest.importorskip("tifffile")
    path = tmp_path / "a.tif"
    array = random_array(np.uint16, (3, 2, 5, 7, 9))
    tifffile.imwrite(path, array, metadata={"axes": "TZCYX", "truncated": True})
    image = rix.imread(path)
    np.testing.assert_array_equal(image.array.transpose([image.axes.index(axis) for axis in "tzcyx"]), array)
    tifffile.imwrite(path, array)
    with pytest.warns(UserWarning, match="doesn't tell what its 3 axes"):
        assert rix.imread(path).shape == (30, 7, 9)


def test_nifti_of_nibabel(tmp_path):
    nibabel = pytest.importorskip("nibabel")
    array = random_array(np.int16, (4, 5, 6))  # x, y, z there
    affine = np.array([[0, -2, 0, 10], [3, 0, 0, -20], [0, 0, 4, 30], [0, 0, 0, 1.0]])
    for kind, name in ((nibabel.Nifti1Image, "a.nii"), (nibabel.Nifti2Image, "b.nii.gz")):
        given = kind(array, affine)
        given.header.set_xyzt_units("mm", "sec")
        nibabel.save(given, tmp_path / name)
        image = rix.imread(tmp_path / name)
        np.testing.assert_array_equal(image.array, array.T)
        assert image.spacing == (4, 2, 3) and image.spatial_unit == "mm" and image.origin == (30, 20, -10)
        assert image.directions == ((0, -1, 0), (1, 0, 0), (0, 0, 1))
        rix.imwrite(tmp_path / name, image)
        back = nibabel.load(tmp_path / name)
        np.testing.assert_array_equal(back.get_fdata(), array)
        np.testing.assert_array_equal(back.affine, affine)
        given = kind(array * 0.5 - 3, affine)
        given.set_data_dtype(np.int16)
        nibabel.save(given, tmp_path / name)
        np.testing.assert_allclose(rix.imread(tmp_path / name).array.T, nibabel.load(tmp_path / name).get_fdata(),
                                   rtol=1e-6)


def test_arrays_and_pictures(tmp_path):
    imageio = pytest.importorskip("imageio")
    for dtype in DTYPES:
        array = random_array(dtype, (4, 5, 6))
        np.save(tmp_path / "b.npy", np.asfortranarray(array).astype(np.dtype(dtype).newbyteorder(">")))
        np.testing.assert_array_equal(rix.imread(tmp_path / "b.npy").array, array)
    mask = random_array(bool)
    for name in ("a.pbm", "a.tif"):
        rix.imwrite(tmp_path / name, mask)
        np.testing.assert_array_equal(np.asarray(imageio.imread(tmp_path / name)) > 0, mask, err_msg=name)
    smooth = np.repeat(np.arange(0, 240, 10, dtype=np.uint8)[:, None], 32, axis=1)
    rix.imwrite(tmp_path / "b.jpg", smooth)
    size = (tmp_path / "b.jpg").stat().st_size
    rix.imwrite(tmp_path / "b.jpg", smooth, quality=20)
    assert (tmp_path / "b.jpg").stat().st_size < size
    with pytest.raises(rix.RuleError, match="quality=0"):
        rix.imwrite(tmp_path / "b.jpg", smooth, quality=0)
    with pytest.raises(rix.FileError, match="greys of a binary image"):
        rix.imwrite(tmp_path / "b.jpg", mask)


def test_files_without_header(tmp_path):
    path = tmp_path / "a.raw"
    image = rix.Image(random_array(np.complex64, (3, 4, 5)), "tyx", spacing={"x": 0.5}, spatial_unit="mm")
    back = rix.imread(path, select=rix.imwrite(path, image))
    np.testing.assert_array_equal(back.array, image.array)
    assert (back.axes, back.spacing, back.spatial_unit) == ("tyx", image.spacing, "mm")
    assert rix.imwrite(tmp_path / "a.tif", image) is None
    with pytest.raises(rix.FileError, match="in 600 bytes; the file has 480 bytes"):
        rix.imread(path, select="type=uint8,axes=y20x30")
    with pytest.raises(rix.RuleError, match="leaves the sizes open"):
        rix.imread(path, select="type=uint8")


def test_how_files_are_read(tmp_path):
    path = tmp_path / "a.tif"
    rix.imwrite(path, rix.Image(random_array(np.uint8), spacing=0.5, spatial_unit="mm"))
    assert rix.imread(path).spacing == (0.5, 0.5)
    assert rix.imread(path, calibration=None).spacing == (1, 1)
    given = rix.imread(path, calibration={"spacing": (2, 3), "spatial_unit": "um"})
    assert given.spacing == (2, 3) and given.spatial_unit == "um"
    assert rix.imread(path, calibration=7).spacing == (7, 7)
    with pytest.raises(rix.RuleError, match="nothing"):
        rix.imread(path, calibration="nothing")
    with pytest.raises(rix.FileError, match="take 391 bytes of memory; at most 390"):
        rix.imread(path, maximum_size=390)
    with pytest.raises(rix.FileError, match="no place for.*spacing"):
        rix.imwrite(tmp_path / "a.npy", rix.imread(path))
    rix.imwrite(tmp_path / "a.npy", rix.imread(path), drop_metadata=True)
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        np.save(tmp_path / "b.npy", np.zeros((2, 3, 4, 5)))
        with pytest.raises(UserWarning, match="4 axes"):
            rix.imread(tmp_path / "b.npy")


def test_selections(tmp_path):
    array = random_array(np.uint16, (3, 2, 5, 7, 9))
    image = rix.Image(array, "tczyx", spacing={"x": 0.25, "z": 2.5, "t": 3}, spatial_unit="mm")
    for name in ("a.tif", "a.ome.tif", "a.nrrd", "a.nii.gz"):
        path = tmp_path / name
        rix.imwrite(path, image)
        part = rix.imread(path, select="t=-1,c=1,z=1:4,x=2:5")
        assert part.axes == "zyx" and part.spatial_unit == "mm" and part.spacing == (2.5, 1, 0.25)
        assert part.origin == (2.5, 0, 0.5)
        np.testing.assert_array_equal(part.array, array[-1, 1, 1:4, :, 2:5])
        np.testing.assert_array_equal(rix.imread(f"{path}[t=0,c=:,z=-1]").array, array[0, :, -1])
        with pytest.raises(rix.RuleError, match="has a selection already"):
            rix.imread(f"{path}[t=0]", select="t=0")
        with pytest.raises(rix.RuleError, match="The selection 'z=a' has 'a' for an index"):
            rix.imread(path, select="z=a")
        with pytest.raises(rix.FileError, match="z goes from 0 to 4"):
            rix.imread(path, select="z=5")
    np.save(tmp_path / "rgb.npy", array[0, 0])
    assert rix.imread(tmp_path / "rgb.npy", select="axes=yxc,c=3").shape == (5, 7)


def test_series_of_tifffile(tmp_path):
    tifffile = pytest.importorskip("tifffile")
    stacks = [random_array(np.uint8, (4, 7, 9)), random_array(np.uint16, (2, 3, 5, 6))]
    for name, ome in (("a.ome.tif", True), ("a.tif", False)):
        with tifffile.TiffWriter(tmp_path / name, ome=ome) as file:
            file.write(stacks[0], photometric="minisblack", metadata={"axes": "TYX"})
            file.write(stacks[1], photometric="minisblack", metadata={"axes": "ZCYX"})
        np.testing.assert_array_equal(rix.imread(tmp_path / name, select="series=0").array, stacks[0])
        np.testing.assert_array_equal(rix.imread(tmp_path / name, select="series=1").array,
                                      stacks[1].transpose(1, 0, 2, 3))
        with pytest.raises(rix.FileError, match="2 images: the selection series=0"):
            rix.imread(tmp_path / name)
    stack = random_array(np.uint8, (6, 7, 9))
    tifffile.imwrite(tmp_path / "b.tif", stack)
    image = rix.imread(tmp_path / "b.tif", select="axes=t2zyx,t=1")
    assert image.axes == "zyx"
    np.testing.assert_array_equal(image.array, stack[3:])
