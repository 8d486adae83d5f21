"""NumPy's and SciPy's ways to move and resample images beside ours, where both define the same."""

import numpy as np
import pytest

import rix
from support import EXAMPLES, random_array


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


def grid_of(shape):
    return np.meshgrid(*(np.arange(n, dtype=np.float64) for n in shape), indexing="ij")


@pytest.mark.parametrize("dtype", ["uint8", "float64"])
@pytest.mark.parametrize("shape", [(30, 41), (14, 20, 17)])
def test_warp_by_displacement(dtype, shape):
    ndimage = pytest.importorskip("scipy.ndimage")
    image = random_array(dtype, shape)
    random = np.random.default_rng(3)
    field = random.uniform(-4, 4, (len(shape), *shape))  # x, y, z: SciPy's axes are in the other order
    warp = rix.warp_by_displacement_2d if len(shape) == 2 else rix.warp_by_displacement_3d
    places = [axis + d for axis, d in zip(grid_of(shape), field[::-1])]
    for order, name in {1: "LINEAR", 3: "CUBIC_BSPLINE"}.items():
        expected = ndimage.map_coordinates(image.astype(np.float64), places, order=order, mode="reflect")
        result = warp(image, rix.Image(field, axes="cyx" if len(shape) == 2 else "czyx"), name, "MIRROR")
        if dtype == "uint8":
            expected = expected.clip(0, 255)
        bound = 0.5 + 3e-3 if dtype == "uint8" else 1e-6 * np.abs(expected).max()
        assert np.abs(np.asarray(result) - expected).max() <= bound


def test_sample_at_points_and_profiles():
    ndimage = pytest.importorskip("scipy.ndimage")
    measure = pytest.importorskip("skimage.measure")
    volume = random_array("float64", (9, 17, 25))
    random = np.random.default_rng(4)
    points = random.uniform(-2, 25, (200, 3))
    for order, name in {1: "LINEAR", 3: "CUBIC_BSPLINE"}.items():
        table = rix.sample_at_points(volume, points, name, "MIRROR")
        expected = ndimage.map_coordinates(volume, points.T[::-1], order=order, mode="reflect")
        np.testing.assert_allclose(table["Value"], expected, rtol=0, atol=1e-6 * np.abs(expected).max())
    image = random_array("float64", (60, 80))
    for (x1, y1, x2, y2), width in [((10, 12, 50, 42), 1), ((60, 50, 20, 15), 4), ((30, 10, 30, 45), 5)]:
        table = rix.profile_along_line(image, x_1=x1, y_1=y1, x_2=x2, y_2=y2, width=width)
        expected = measure.profile_line(image, (y1, x1), (y2, x2), linewidth=width, order=1, mode="reflect")
        np.testing.assert_allclose(table["Value"], expected, rtol=0, atol=1e-9 * np.abs(expected).max())


def test_polar_transform():
    transform = pytest.importorskip("skimage.transform")
    y, x = grid_of((61, 81))
    image = np.sin(0.2 * x) * np.cos(0.17 * y)
    for scale, scaling in {"LINEAR": "linear", "LOGARITHMIC": "log"}.items():
        result = rix.polar_transform_2d(image, radial_scale=scale, radius=28, size_x=40, size_y=180)
        expected = transform.warp_polar(image, (30, 40), radius=28, output_shape=(180, 40), scaling=scaling, order=1)
        np.testing.assert_allclose(np.asarray(result), expected, rtol=0, atol=1e-9)


def test_contours_and_surfaces():
    measure = pytest.importorskip("skimage.measure")
    ndimage = pytest.importorskip("scipy.ndimage")
    image = ndimage.gaussian_filter(random_array("float64", (70, 90)), 3)
    level = float(image.mean())
    table = rix.contour_lines_2d(image, level)
    ours = np.unique(np.round(np.stack([table["Y"], table["X"]], 1), 6), axis=0)
    theirs = np.unique(np.round(np.concatenate(measure.find_contours(image, level)), 6), axis=0)
    np.testing.assert_allclose(ours, theirs, atol=2e-6)  # the same points, in whatever order
    z, y, x = grid_of((40, 44, 48))
    ball = 15 - np.sqrt((x - 23.3) ** 2 + (y - 21.8) ** 2 + (z - 19.6) ** 2)
    table = rix.iso_surface_3d(ball, 0.0)
    vertices = np.stack([np.stack([table[f"{axis}{i}"] for axis in "XYZ"], 1) for i in (1, 2, 3)], 1)
    area = np.linalg.norm(np.cross(vertices[:, 1] - vertices[:, 0], vertices[:, 2] - vertices[:, 0]), axis=1).sum() / 2
    corners, faces, _, _ = measure.marching_cubes(ball, 0.0)
    assert abs(area / measure.mesh_surface_area(corners, faces) - 1) < 5e-3


def test_reslice():
    ndimage = pytest.importorskip("scipy.ndimage")
    volume = random_array("float32", (20, 24, 28))
    u, v = np.array([1, 0.5, 0.25]), np.array([-0.25, 0.5, 1])
    u, v = u / np.linalg.norm(u), v / np.linalg.norm(v)
    origin = np.array([4, 3, 5.0])
    result = rix.reslice_3d(volume, *origin, *u, *v, spacing=0.75, columns=20, rows=15, border_policy="MIRROR")
    j, i = grid_of((15, 20))
    places = [origin[k] + 0.75 * (i * u[k] + j * v[k]) for k in (2, 1, 0)]
    expected = ndimage.map_coordinates(volume.astype(np.float64), places, order=1, mode="reflect")
    np.testing.assert_allclose(np.asarray(result).reshape(15, 20), expected, rtol=0, atol=1e-5 * np.abs(expected).max())


def photographs():
    """What cameras and microscopes see, and a volume of it: a photograph that loses its details plane by plane."""
    ndimage = pytest.importorskip("scipy.ndimage")
    images = {name: np.asarray(rix.imread(EXAMPLES / "images" / f"{name}.png")) for name in ("coins", "cell", "gravel")}
    images["volume"] = np.stack([ndimage.gaussian_filter(images["coins"][40:120, 60:160], 0.3 * z) for z in range(30)])
    return images


@pytest.mark.parametrize("name", ["coins", "cell", "gravel", "volume"])
@pytest.mark.parametrize("dtype", ["uint8", "float32"])
def test_photographs_and_a_volume(name, dtype):
    ndimage = pytest.importorskip("scipy.ndimage")
    image = photographs()[name].astype(dtype)
    exact = image.astype(np.float64)
    axes = image.ndim
    suffix = f"{axes}d"

    def compare(result, expected):
        expected = expected.clip(0, 255) if dtype == "uint8" else expected
        assert np.abs(np.asarray(result) - expected).max() <= (0.5 + 3e-3 if dtype == "uint8" else 1e-5 * 255)

    turn = np.eye(3)[:axes, :axes]
    c, s = np.cos(np.radians(10)), np.sin(np.radians(10))
    turn[:2, :2] = [[c, -s], [s, c]]  # x to y
    middle = (np.array(image.shape[::-1]) - 1) / 2
    offset = middle - turn.T @ middle
    places = grid_of(image.shape)
    field = np.stack([3 * np.sin(0.05 * places[(i + 1) % axes]) for i in range(axes)])  # x, y, z
    for order, interpolation in {1: "LINEAR", 3: "CUBIC_BSPLINE"}.items():
        factors = {f"factor_{axis}": f for axis, f in zip("xyz", (1.5, 1.5, 2.0)[:axes])}
        result = getattr(rix, f"rescale_{suffix}")(image, mode="FACTORS", **factors, interpolation=interpolation)
        zooms = [m / n for m, n in zip(result.shape, image.shape)]
        compare(result, ndimage.zoom(exact, zooms, order=order, mode="reflect", grid_mode=True))
        angle = {"angle" if axes == 2 else "angle_z": 10}
        result = getattr(rix, f"affine_transform_{suffix}")(image, **angle, interpolation=interpolation,
                                                            border_policy="MIRROR")
        compare(result, ndimage.affine_transform(exact, turn.T[::-1, ::-1], offset[::-1], order=order, mode="reflect"))
        result = getattr(rix, f"warp_by_displacement_{suffix}")(
            image, rix.Image(field, axes="cyx" if axes == 2 else "czyx"), interpolation, "MIRROR")
        moved = [place + d for place, d in zip(places, field[::-1])]
        compare(result, ndimage.map_coordinates(exact, moved, order=order, mode="reflect"))
