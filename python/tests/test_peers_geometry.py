"""NumPy's and SciPy's ways to move and resample images beside ours, where both define the same."""

import numpy as np
import pytest

import rix
from support import random_array


@pytest.mark.parametrize("dtype", ["uint8", "int16", "uint32", "float32", "float64"])
def test_projections(dtype):
    a = random_array(dtype, (6, 9, 13))
    for axis, name in enumerate(("PLANS", "ROWS", "COLUMNS")):
        for statistic, peer in {"MAXIMUM": np.max, "MINIMUM": np.min, "INDEX_OF_MAXIMUM": np.argmax}.items():
            np.testing.assert_array_equal(np.squeeze(rix.projection(a, name, statistic), axis), peer(a, axis))
        for statistic, peer in {"MEAN": np.mean, "SUM": np.sum, "MEDIAN": np.median, "STANDARD_DEVIATION": np.std}.items():
            expected = peer(a.astype(np.float64), axis)
            np.testing.assert_allclose(np.squeeze(rix.projection(a, name, statistic), axis), expected, rtol=1e-6)


@pytest.mark.parametrize("dtype", ["uint8", "int16", "float32", "float64", "complex64", "complex128"])
def test_geometry(dtype):
    a = random_array(dtype, (5, 19, 33))  # planes, rows, columns
    for axis, name in enumerate(("PLANS", "ROWS", "COLUMNS")):
        np.testing.assert_array_equal(rix.flip(a, name), np.flip(a, axis))
    # Turns from the first axis to the second, where the last axis of an array is our first.
    for plane, axes in {"XY": (2, 1), "XZ": (2, 0), "YZ": (1, 0)}.items():
        for turns in (-1, 1, 2, 3):
            np.testing.assert_array_equal(rix.rotate_90(a, turns, plane), np.rot90(a, turns, axes))
    for order in ("yxz", "zxy", "zyx", "xzy", "yzx"):
        axes = ["zyx".index(letter) for letter in reversed(order)]
        np.testing.assert_array_equal(rix.permute_axes(a, order + "tc"), a.transpose(axes))
    np.testing.assert_array_equal(rix.shift(a, 7, -3, 11), np.roll(a, (11, -3, 7), (0, 1, 2)))
    np.testing.assert_array_equal(rix.crop(a, first_column=4, first_row=2, columns=20), a[:, 2:, 4:24])
    for policy, mode in {"MIRROR": "symmetric", "CONTINUE": "edge", "FIXED": "constant"}.items():
        margins = dict(before_columns=40, after_columns=1, before_rows=3, after_rows=50, before_planes=2, after_planes=12)
        np.testing.assert_array_equal(rix.pad(a, **margins, border_policy=policy),
                                      np.pad(a, ((2, 12), (3, 50), (40, 1)), mode))
    for axis, name in enumerate(("PLANS", "ROWS", "COLUMNS")):
        np.testing.assert_array_equal(rix.concatenate_images(a, a, axis=name), np.concatenate((a, a), axis))


@pytest.mark.parametrize("dtype", ["uint8", "float32", "float64"])
@pytest.mark.parametrize("shape", [(40, 61), (9, 17, 25)])
def test_rescale(dtype, shape):
    ndimage = pytest.importorskip("scipy.ndimage")
    rescale = rix.rescale_2d if len(shape) == 2 else rix.rescale_3d
    image = random_array(dtype, shape)
    exact = image.astype(np.float64)
    largest = np.abs(exact).max()
    bound = {"u": 0.5 + 1e-3, "f": 4e-6 * largest}[image.dtype.kind]
    for sizes in [(61, 92, 30)[-len(shape):], (7, 13, 20)[-len(shape):]]:
        size = {f"size_{axis}": n for axis, n in zip("xyz", reversed(sizes))}
        factors = [m / n for n, m in zip(shape, sizes)]
        deviations = [max(0.0, (1 / f - 1) / 2) for f in factors]
        for anti_aliasing in ("YES", "NO"):
            smooth = ndimage.gaussian_filter(exact, deviations, mode="reflect") if anti_aliasing == "YES" else exact
            for interpolation, order in {"LINEAR": 1, "CUBIC_BSPLINE": 3}.items():
                expected = ndimage.zoom(smooth, factors, order=order, mode="reflect", grid_mode=True)
                result = rescale(image, **size, interpolation=interpolation, anti_aliasing=anti_aliasing)
                if image.dtype.kind == "u":
                    expected = expected.clip(0, 255)
                assert np.abs(result - expected).max() <= bound, (sizes, interpolation, anti_aliasing)
    # Means of whole blocks.
    blocks = exact[tuple(slice(0, n // 3 * 3) for n in shape)]
    thirds = [n // 3 for n in blocks.shape]
    expected = blocks.reshape([part for n in thirds for part in (n, 3)]).mean(tuple(range(1, 2 * len(shape), 2)))
    result = rescale(blocks.astype(dtype), **{f"size_{axis}": n for axis, n in zip("xyz", reversed(thirds))})
    np.testing.assert_allclose(result, np.rint(expected) if dtype == "uint8" else expected, rtol=0, atol=bound % 0.5)


@pytest.mark.parametrize("dtype", ["uint8", "float32", "float64"])
@pytest.mark.parametrize("shape", [(40, 61), (24, 26, 31)])
def test_affine_transform(dtype, shape):
    ndimage = pytest.importorskip("scipy.ndimage")
    image = random_array(dtype, shape)
    exact = image.astype(np.float64)
    bound = {"u": 0.5 + 3e-3, "f": 1e-5 * np.abs(exact).max()}[image.dtype.kind]
    axes = len(shape)
    transform = rix.affine_transform_2d if axes == 2 else rix.affine_transform_3d
    matrix = np.array([[0.9, -0.3, 0.1], [0.25, 1.1, -0.2], [-0.05, 0.15, 0.95]])[:axes, :axes]
    shift = np.array([3.25, -4.5, 1.0])[:axes]
    text = ";".join(",".join(map(repr, [*row, t])) for row, t in zip(matrix.tolist(), shift.tolist()))
    # SciPy's axes are in the other order, and its matrix leads backwards.
    backward = dict(matrix=matrix[::-1, ::-1], offset=shift[::-1], mode="reflect")
    names = {1: "LINEAR", 2: "QUADRATIC_BSPLINE", 3: "CUBIC_BSPLINE", 4: "QUARTIC_BSPLINE", 5: "QUINTIC_BSPLINE"}
    for order, name in names.items():
        expected = ndimage.affine_transform(exact, order=order, **backward)
        result = transform(image, matrix=text, direction="BACKWARD", interpolation=name, border_policy="MIRROR")
        if dtype == "uint8":
            expected = expected.clip(0, 255)
        assert np.abs(result - expected).max() <= bound, name
        if dtype == "float64":
            inverse = np.linalg.inv(matrix)
            forward = ";".join(",".join(map(repr, [*row, t]))
                               for row, t in zip(inverse.tolist(), (-inverse @ shift).tolist()))
            np.testing.assert_allclose(
                transform(image, matrix=forward, interpolation=name, border_policy="MIRROR"), expected,
                rtol=0, atol=1e-6)


@pytest.mark.parametrize("dtype", ["uint8", "float32", "float64"])
def test_spline_coefficients(dtype):
    ndimage = pytest.importorskip("scipy.ndimage")
    for shape, coefficients in [((31, 40), rix.b_spline_coefficients_2d), ((30, 28, 33), rix.b_spline_coefficients_3d)]:
        image = random_array(dtype, shape)
        for degree in (2, 3, 4, 5):
            expected = ndimage.spline_filter(image.astype(np.float64), degree, mode="reflect")
            result = coefficients(image, degree=degree)
            # On lines much shorter than these SciPy's own begin with less than the exact sums.
            np.testing.assert_allclose(result, expected, atol=np.abs(expected).max() * (1e-8 if dtype == "float64" else 2e-6))
