"""What a rix.Image does by itself, against NumPy on its array."""

import io

import numpy as np
import pytest
import rix

SPACING, ORIGIN = (2.0, 0.5, 0.25), (10.0, 20.0, 30.0)


def volume(dtype=np.uint8):
    array = np.random.default_rng(4).integers(0, 200, (4, 5, 6)).astype(dtype)
    return rix.Image(array, spacing=SPACING, origin=ORIGIN, spatial_unit="mm")


def test_parts_keep_their_place_in_the_world():
    image = volume()
    part = image[{"z": 3, "x": slice(1, 6, 2)}]
    np.testing.assert_array_equal(part.array, image.array[3, :, 1:6:2])
    assert np.shares_memory(part.array, image.array)
    assert (part.axes, part.spacing, part.origin) == ("yx", (0.5, 0.5), (20.0, 30.25)) and part.spatial_unit == "mm"
    assert image[1:3, ..., -1].origin == (12.0, 20.0)
    assert image.isel(z=slice(2, 3)).origin == (14.0, 20.0, 30.0)
    # Along oblique axes a step moves the origin by the axis' vector.
    turned = rix.Image(image.array, spacing=SPACING, directions=[[0, 1, 0], [-1, 0, 0], [0, 0, 1]])
    assert turned[0:1, 2:, 1:].origin == (0.0, 0.25, -1.0)
    movie = rix.Image(np.zeros((2, 3, 4, 5), np.uint8), "tcyx", color_interpretation="rgb")
    assert movie.frame(1).axes == "cyx" and movie.frame(1).color_interpretation == rix.ColorInterpretation.RGB
    assert movie.channel(-1).axes == "tyx" and movie.channel(0).color_interpretation == rix.ColorInterpretation.UNKNOWN
    for wrong in ({"q": 1}, {"z": 4}, {"z": slice(3, 3)}, {"z": slice(None, None, -1)}, (1, 2, 3), (1, 2, 3, 4), [1, 2]):
        with pytest.raises(rix.RuleError):
            image[wrong]


def test_arithmetic_and_comparisons_are_the_librarys():
    image, other = volume(), volume(np.uint8) * 2
    wide = image.array.astype(float)
    np.testing.assert_array_equal((image + image).array, 2 * wide)  # 8 bits would overflow
    np.testing.assert_array_equal((image - other).array, -wide)
    np.testing.assert_array_equal((3 + image * 2).array, 3 + wide * 2)
    np.testing.assert_array_equal((300 - image).array, 300 - wide)
    np.testing.assert_allclose((image.astype(np.float32) / 7).array, wide / 7, rtol=1e-6)
    np.testing.assert_allclose((7 / (image + 1)).array, 7 / (wide + 1), rtol=1e-6)
    bright = image >= 100
    assert bright.interpretation == rix.Interpretation.BINARY and bright.spacing == SPACING
    np.testing.assert_array_equal(bright.array, image.array >= 100)
    np.testing.assert_array_equal((image < image.array[::-1]).array, image.array < image.array[::-1])
    np.testing.assert_array_equal((bright & (image < 150)).array, (wide >= 100) & (wide < 150))
    np.testing.assert_array_equal((~bright).array, wide < 100)
    for operation in (lambda: image + "x", lambda: image < None):
        with pytest.raises(TypeError):
            operation()
    assert image == image and image != volume() and image in {image}


def test_types_and_statistics():
    image = volume()
    for dtype in (bool, np.uint16, np.int32, np.float64, np.complex64):
        assert image.astype(dtype).dtype == dtype
        np.testing.assert_array_equal(image.astype(dtype).array, image.array.astype(dtype))
    assert rix.labeling_3d(image > 100).astype(np.uint32).interpretation == rix.Interpretation.LABEL
    with pytest.raises(rix.DataTypeError):
        image.astype("U3")
    for name in ("mean", "std", "sum", "min", "max"):
        assert getattr(image, name)() == pytest.approx(getattr(image.array.astype(float), name)())


def test_pictures_for_notebooks():
    pytest.importorskip("rix._rendering")
    plane = rix.Image(np.arange(12, dtype=np.uint8).reshape(3, 4))
    data = plane._repr_png_()
    assert data.startswith(b"\x89PNG")
    pil = pytest.importorskip("PIL.Image")
    picture = np.asarray(pil.open(io.BytesIO(data)))
    assert picture.shape[:2] == (3, 4) and picture.min() == 0 and picture.max() == 255


def test_to_xarray_and_back():
    pytest.importorskip("xarray")
    image = volume()
    array = image.to_xarray()
    assert array.dims == ("z", "y", "x") and array.coords["y"].attrs["units"] == "mm"
    np.testing.assert_allclose(array.coords["z"], [10, 12, 14, 16])
    back = rix.box_filter_3d(array, 1, 1, 1)
    np.testing.assert_array_equal(back.coords["x"], array.coords["x"])
