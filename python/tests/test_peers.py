"""The same answers as SciPy and scikit-image where conventions differ; filters have references of their own."""

import numpy as np
import pytest

import rix
from support import EXAMPLES, blobs, random_array

IMAGES = sorted((EXAMPLES / "images").glob("*.png"))


def test_otsu():
    filters = pytest.importorskip("skimage.filters")
    pictures = [random_array(np.uint8, (50, 50), seed) for seed in range(3)]
    pictures += [image.array for image in map(rix.imread, IMAGES) if image.ndim == 2 and image.dtype == np.uint8]
    for picture in pictures:
        threshold = rix.auto_thresholding_value(picture, threshold_criterion="FACTORISATION")["threshold"][0]
        # By convention ours is the first value of the bright class, theirs the last of the dark one.
        np.testing.assert_array_equal(picture >= threshold, picture > filters.threshold_otsu(picture))


@pytest.mark.parametrize("dtype", ["uint8", "int16", "uint32", "float32", "float64"])
def test_statistics(dtype):
    stats = pytest.importorskip("scipy.stats")
    image = random_array(dtype, (90, 70))
    mask = random_array(bool, image.shape, seed=9)
    quantiles = [0.05, 0.5, 0.9]
    for inside in (None, mask):
        values = (image if inside is None else image[inside]).astype(np.float64).ravel()
        table = rix.image_statistics(image, inside, quantiles="0.05, 0.5, 0.9")
        expected = {"Count": values.size, "Minimum": values.min(), "Maximum": values.max(), "Mean": values.mean(),
                    "StandardDeviation": values.std(), "Skewness": stats.skew(values), "Kurtosis": stats.kurtosis(values),
                    **{f"Quantile({q})": np.quantile(values, q) for q in quantiles}}
        for column, value in expected.items():
            np.testing.assert_allclose(table[column][0], value, rtol=1e-10, err_msg=column)
        alone = rix.image_statistics(image, inside, measures="Mean, StandardDeviation")
        assert list(alone) == ["Mean", "StandardDeviation"]
        for column in alone:
            np.testing.assert_allclose(alone[column][0], expected[column], rtol=1e-10, err_msg=column)


@pytest.mark.parametrize("dtype", ["uint8", "int16", "float32", "float64"])
@pytest.mark.parametrize("shape,deviations", [((90, 70), (1.3, 3)), ((200, 61), (12, 6)), ((14, 40, 17), (0.7, 5, 1.1))])
def test_gaussian(dtype, shape, deviations):
    ndimage = pytest.importorskip("scipy.ndimage")
    gaussian = rix.gaussian_filter_2d if len(shape) == 2 else rix.gaussian_filter_3d
    image = random_array(dtype, shape)
    widths = {f"standard_deviation_{axis}": value for axis, value in zip("xyz", reversed(deviations))}
    exact = image.astype(np.float64)
    largest = np.abs(exact).max()
    for policy, mode in [("MIRROR", "reflect"), ("CONTINUE", "nearest")]:
        expected = ndimage.gaussian_filter(exact, deviations, mode=mode, truncate=6)
        result = gaussian(image, **widths, border_policy=policy)
        assert result.dtype == image.dtype
        rounding = 0.5 if image.dtype.kind in "iu" else 0
        assert np.abs(result - expected).max() <= rounding + 2 * 2e-5 * largest


@pytest.mark.parametrize("dtype", ["uint8", "int16", "float32", "float64"])
@pytest.mark.parametrize("shape,kernel", [((50, 41), (3, 4)), ((50, 41), (16, 15)), ((9, 20, 17), (2, 3, 5))])
def test_convolution(dtype, shape, kernel):
    ndimage = pytest.importorskip("scipy.ndimage")
    ours = rix.convolution_2d if len(shape) == 2 else rix.convolution_3d
    image = random_array(dtype, shape)
    weights = random_array(np.float64, kernel)
    for mode, theirs in [("CONVOLUTION", ndimage.convolve), ("CORRELATION", ndimage.correlate)]:
        for policy, border in [("MIRROR", "reflect"), ("CONTINUE", "nearest")]:
            expected = theirs(image.astype(np.float64), weights, mode=border)
            bound = (6e-6 if dtype != "float64" else 1e-7) * np.abs(image).max() * np.abs(weights).sum()
            options = dict(mode=mode, border_policy=policy)
            np.testing.assert_allclose(ours(image, weights, **options), expected, rtol=0, atol=bound)
            if len(shape) == 2:
                np.testing.assert_array_equal(ours(image, input_kernel_image=weights, **options),
                                              ours(image, weights, **options))


def test_recursive_filter():
    signal = pytest.importorskip("scipy.signal")
    image = random_array(np.float64, (13, 40))
    causal, anticausal, feedback = [0.5, -0.25, 0.1], [0.3, 0.2], [-1.2, 0.45]
    pole = [1, *feedback]
    for axis, lines in [("COLUMNS", image), ("ROWS", image.T)]:
        expected = np.zeros_like(lines)
        for weights, way in [(causal, 1), ([0, *anticausal], -1)]:
            state = signal.lfilter_zi(weights, pole)
            for line, result in zip(lines[:, ::way], expected[:, ::way]):
                result += signal.lfilter(weights, pole, line, zi=state * line[0])[0]
        kernel = {"causal": causal, "anticausal": anticausal, "feedback": feedback}
        result = rix.recursive_filter(image, kernel, axis=axis)
        np.testing.assert_allclose(result if axis == "COLUMNS" else result.T, expected, rtol=0, atol=1e-12 * 100)


@pytest.mark.parametrize("dtype", ["uint8", "int16", "uint32", "float32", "float64"])
@pytest.mark.parametrize("shape,sizes", [((50, 41), (3, 8)), ((9, 20, 17), (5, 3, 4))])
def test_local_statistics(dtype, shape, sizes):
    ndimage = pytest.importorskip("scipy.ndimage")
    ours = rix.local_statistics_2d if len(shape) == 2 else rix.local_statistics_3d
    image = random_array(dtype, shape)
    exact = image.astype(np.longdouble)
    window = {f"kernel_size_{axis}": size for axis, size in zip("xyz", reversed(sizes))}
    for policy, border in [("MIRROR", "reflect"), ("CONTINUE", "nearest")]:
        mean = ndimage.uniform_filter(exact.astype(np.float64), sizes, mode=border)
        square = ndimage.uniform_filter((exact ** 2).astype(np.float64), sizes, mode=border)
        for statistic, expected in [("MEAN", mean), ("VARIANCE", square - mean ** 2),
                                    ("STANDARD_DEVIATION", np.sqrt(square - mean ** 2))]:
            result = ours(image, statistic=statistic, border_policy=policy, **window)
            np.testing.assert_allclose(result, expected, rtol=1e-6 if dtype != "float64" else 1e-9,
                                       atol=1e-6 * np.abs(mean).max())


def test_local_contrast():
    ndimage = pytest.importorskip("scipy.ndimage")
    image = random_array(np.float64, (60, 45))
    mean = ndimage.gaussian_filter(image, 2, truncate=6)
    sharp = rix.unsharp_mask_2d(image, standard_deviation=2, amount=0.7)
    np.testing.assert_allclose(sharp, image + 0.7 * (image - mean), atol=2e-5 * np.abs(image).max())
    deviation = np.sqrt(ndimage.gaussian_filter(image**2, 2, truncate=6) - mean**2)
    np.testing.assert_allclose(rix.local_normalization_2d(image), (image - mean) / deviation, atol=1e-4)


@pytest.mark.parametrize("shape", [(60, 45), (14, 20, 17)])
def test_rolling_ball(shape):
    restoration = pytest.importorskip("skimage.restoration")
    correct = rix.background_correction_2d if len(shape) == 2 else rix.background_correction_3d
    image = random_array(np.float64, shape)
    for sign, side in [(1, "DARK"), (-1, "BRIGHT")]:
        # Theirs is where the top of the ball gets to; the same from above gives what its surface touches.
        tops = restoration.rolling_ball(sign * image, radius=6)
        expected = np.minimum(-restoration.rolling_ball(-tops, radius=6), sign * image)
        result = correct(image, radius=6, background=side)
        np.testing.assert_allclose(result.output_image, sign * image - expected, atol=1e-10)


@pytest.mark.parametrize("shape", [(24, 31), (17, 22, 9)])
def test_transforms(shape):
    ways = (rix.fourier_transform_2d, rix.inverse_fourier_transform_2d) if len(shape) == 2 else \
        (rix.fourier_transform_3d, rix.inverse_fourier_transform_3d)
    real = random_array(np.float64, shape)
    image = rix.Image(real, spacing=0.3, origin=[5.5] * len(shape), spatial_unit="mm")
    for scaling, norm in [("BACKWARD", "backward"), ("ORTHONORMAL", "ortho"), ("FORWARD", "forward")]:
        half = ways[0](image, scaling=scaling)
        expected = np.fft.rfftn(real, norm=norm)
        assert np.abs(half.array - expected).max() <= 1e-14 * np.abs(expected).max()
        assert half.spatial_unit == "1/mm" and half.spatial_frame.columns == shape[-1]
        back = ways[1](half, scaling=scaling)
        np.testing.assert_allclose(back.array, real, atol=1e-13 * np.abs(real).max())
        assert back.calibration == image.calibration
        complex_image = real + 1j * real[::-1]
        full = ways[0](complex_image, scaling=scaling, layout="FULL", origin="CENTER")
        expected = np.fft.fftshift(np.fft.fftn(complex_image, norm=norm))
        assert np.abs(full - expected).max() <= 1e-14 * np.abs(expected).max()


def test_region_properties():
    measure = pytest.importorskip("skimage.measure")
    labels = rix.labeling_2d(blobs((120, 150)))
    grey = random_array(np.uint8, labels.shape)
    expected = measure.regionprops_table(labels.astype(np.int32), grey, properties=(
        "label", "area", "centroid", "intensity_mean", "intensity_max", "eccentricity"))
    table = rix.label_analysis(labels, grey, measures="Area, Barycenter, Mean, Maximum")
    for ours, theirs in [("Label", "label"), ("Area", "area"), ("BarycenterX", "centroid-1"),
                         ("BarycenterY", "centroid-0"), ("Mean", "intensity_mean"), ("Maximum", "intensity_max")]:
        np.testing.assert_allclose(table[ours], expected[theirs], rtol=1e-12, err_msg=ours)


@pytest.mark.parametrize("dtype", ["uint8", "int16", "float32"])
@pytest.mark.parametrize("shape", [(60, 70), (14, 20, 17)])
def test_erosion_and_dilation(shape, dtype):
    ndimage = pytest.importorskip("scipy.ndimage")
    flat = len(shape) == 2
    image = random_array(dtype, shape)
    axes = np.meshgrid(*[np.arange(-3, 4)] * len(shape), indexing="ij")
    ball = sum(axis ** 2 for axis in axes) <= 3.2 ** 2
    element = {"structuring_element": "DISK" if flat else "BALL", "radius": 3.2}
    # What is reflected at the edges lies inside a round element already.
    erode, dilate = (rix.erosion_2d, rix.dilation_2d) if flat else (rix.erosion_3d, rix.dilation_3d)
    np.testing.assert_array_equal(erode(image, **element), ndimage.minimum_filter(image, footprint=ball))
    np.testing.assert_array_equal(dilate(image, **element), ndimage.maximum_filter(image, footprint=ball))


@pytest.mark.parametrize("dtype", ["uint8", "int16", "uint16", "float32", "float64"])
@pytest.mark.parametrize("shape,sizes", [((90, 70), (5, 3)), ((61, 80), (21, 33)), ((14, 20, 17), (3, 5, 3))])
def test_ranks(dtype, shape, sizes):
    ndimage = pytest.importorskip("scipy.ndimage")
    flat = len(shape) == 2
    median, rank = (rix.median_filter_2d, rix.rank_filter_2d) if flat else (rix.median_filter_3d, rix.rank_filter_3d)
    image = random_array(dtype, shape)
    extents = {f"kernel_size_{axis}": size for axis, size in zip("xyz", reversed(sizes))}
    count = np.prod(sizes)
    for policy, mode in [("MIRROR", "reflect"), ("CONTINUE", "nearest")]:
        np.testing.assert_array_equal(median(image, **extents, border_policy=policy),
                                      ndimage.median_filter(image, sizes, mode=mode))
        for k in (0, count // 3, count - 1):
            np.testing.assert_array_equal(rank(image, **extents, rank=k / (count - 1), border_policy=policy),
                                          ndimage.rank_filter(image, k, sizes, mode=mode))
    disc = sum(axis ** 2 for axis in np.meshgrid(*[np.arange(-4, 5)] * len(shape), indexing="ij")) <= 16
    np.testing.assert_array_equal(median(image, window_shape="DISK" if flat else "BALL", radius=4),
                                  ndimage.median_filter(image, footprint=disc))


def offsets(reach, dimensions):
    """Of the voxels of a box from its middle."""
    for offset in np.ndindex(*(2 * reach + 1,) * dimensions):
        yield np.array(offset) - reach


def moved(padded, margin, offset, shape):
    return padded[tuple(slice(margin + o, margin + o + n) for o, n in zip(offset, shape))]


# The formulas in NumPy: the bilateral filter of scikit-image reads its spatial weights from a table of other width, and
# its non-local means weigh the voxels of a patch, or take patches of an even width.
@pytest.mark.parametrize("shape", [(40, 31), (15, 16, 14)])
def test_bilateral_filter(shape):
    bilateral = rix.bilateral_filter_2d if len(shape) == 2 else rix.bilateral_filter_3d
    image = random_array(np.float64, shape) / 100
    deviation = image.std()
    padded = np.pad(image, 4, mode="symmetric")
    total, weights = np.zeros(shape), np.zeros(shape)
    for offset in offsets(4, len(shape)):
        if (squares := offset @ offset) <= 16:
            there = moved(padded, 4, offset, shape)
            weight = np.exp(-squares / (2 * 1.7**2) - (there - image) ** 2 / (2 * deviation**2))
            total, weights = total + weight * there, weights + weight
    result = bilateral(image, kernel_radius=4, spatial_standard_deviation=1.7, intensity_standard_deviation=deviation)
    np.testing.assert_allclose(result, total / weights, rtol=0, atol=1e-6 * np.abs(image).max())


@pytest.mark.parametrize("shape", [(30, 21), (11, 10, 12)])
def test_non_local_means(shape):
    means = rix.non_local_means_filter_2d if len(shape) == 2 else rix.non_local_means_filter_3d
    image = random_array(np.float64, shape) / 100
    strength = image.std()
    padded = np.pad(image, 4, mode="symmetric")
    total, weights = np.zeros(shape), np.zeros(shape)
    for offset in offsets(3, len(shape)):
        patches = [(moved(padded, 4, p, shape) - moved(padded, 4, p + offset, shape)) ** 2
                   for p in offsets(1, len(shape))]
        weight = np.exp(-np.mean(patches, axis=0) / strength**2)
        total, weights = total + weight * moved(padded, 4, offset, shape), weights + weight
    result = means(image, patch_radius=1, search_radius=3, strength=strength)
    np.testing.assert_allclose(result, total / weights, rtol=0, atol=1e-6 * np.abs(image).max())


@pytest.mark.parametrize("dtype", ["uint16", "float64"])
@pytest.mark.parametrize("shape", [(40, 50), (13, 20, 17)])
def test_guided_filter(shape, dtype):
    ndimage = pytest.importorskip("scipy.ndimage")
    image = random_array(dtype, shape)
    sharp = random_array(dtype, shape, seed=4)
    contrast = 0.3 * np.abs(sharp.astype(np.float64)).max()
    guided = rix.guided_filter_2d if len(shape) == 2 else rix.guided_filter_3d

    def mean(values):
        return ndimage.uniform_filter(values, 5)  # mirrors as ours does

    for guide in (None, sharp):
        v = image.astype(np.float64)
        g = v if guide is None else guide.astype(np.float64)
        slope = (mean(g * v) - mean(g) * mean(v)) / (mean(g * g) - mean(g) ** 2 + contrast ** 2)
        expected = mean(slope) * g + mean(mean(v) - slope * mean(g))
        result = guided(image, guide, kernel_radius=2, contrast=contrast)
        off = 0.5001 if image.dtype.kind == "u" else 1e-9 * np.abs(v).max()
        np.testing.assert_allclose(result, expected, rtol=0, atol=off)


@pytest.mark.parametrize("dtype", ["uint8", "int16", "float32"])
@pytest.mark.parametrize("shape", [(60, 70), (14, 20, 17)])
def test_reconstruction(shape, dtype):
    morphology = pytest.importorskip("skimage.morphology")
    ndimage = pytest.importorskip("scipy.ndimage")
    flat = len(shape) == 2
    family = {name: getattr(rix, f"{name}_{'2d' if flat else '3d'}") for name in (
        "reconstruction_by_dilation", "reconstruction_by_erosion", "h_maxima", "regional_maxima", "regional_minima",
        "fill_holes")}
    image = random_array(dtype, shape)
    seed = np.minimum(random_array(dtype, shape, seed=2), image)
    for few, touching in [(1, "CONNECTIVITY_4" if flat else "CONNECTIVITY_6"),
                          (len(shape), "CONNECTIVITY_8" if flat else "CONNECTIVITY_26")]:
        ones = ndimage.generate_binary_structure(len(shape), few)
        near = {"neighborhood": touching}
        grown = family["reconstruction_by_dilation"](seed, image, **near)
        np.testing.assert_array_equal(grown, morphology.reconstruction(seed, image, footprint=ones))
        shrunk = family["reconstruction_by_erosion"](100 - seed, 100 - image, **near)
        np.testing.assert_array_equal(shrunk, morphology.reconstruction(100 - seed, 100 - image, "erosion", ones))
        # Their h_maxima is a mask with a rounding of its own; the definition is the reconstruction.
        expected = morphology.reconstruction(image.astype(np.float64) - 20, image, footprint=ones)
        expected = np.maximum(expected, 0) if dtype == "uint8" else expected
        np.testing.assert_array_equal(family["h_maxima"](image, 20, **near), expected)
        coarse = (image // 25).astype(dtype)
        np.testing.assert_array_equal(family["regional_maxima"](coarse, **near), morphology.local_maxima(coarse, ones))
        np.testing.assert_array_equal(family["regional_minima"](coarse, **near), morphology.local_minima(coarse, ones))
        holes = ndimage.generate_binary_structure(len(shape), len(shape) if few == 1 else 1)
        objects = image > 40
        np.testing.assert_array_equal(family["fill_holes"](objects, **near),
                                      ndimage.binary_fill_holes(objects, holes))


@pytest.mark.parametrize("dtype", ["uint8", "int16", "float32"])
@pytest.mark.parametrize("shape", [(60, 70), (14, 20, 17)])
def test_area_openings(shape, dtype):
    morphology = pytest.importorskip("skimage.morphology")
    flat = len(shape) == 2
    opening, closing = (getattr(rix, f"area_{name}_{'2d' if flat else '3d'}") for name in ("opening", "closing"))
    image = random_array(dtype, shape)
    coarse = (image // 25).astype(dtype)
    objects = image > 70
    for few, touching in [(1, "CONNECTIVITY_4" if flat else "CONNECTIVITY_6"),
                          (len(shape), "CONNECTIVITY_8" if flat else "CONNECTIVITY_26")]:
        near = {"neighborhood": touching}
        for size in (2, 12, 200):
            for grey in (image, coarse):
                np.testing.assert_array_equal(opening(grey, size, **near), morphology.area_opening(grey, size, few))
                np.testing.assert_array_equal(closing(grey, size, **near), morphology.area_closing(grey, size, few))
            np.testing.assert_array_equal(opening(objects, size, **near),
                                          morphology.remove_small_objects(objects, size, few))


@pytest.mark.parametrize("shape", [(60, 70), (14, 20, 17)])
def test_objects_at_the_border(shape):
    segmentation = pytest.importorskip("skimage.segmentation")
    remove = rix.remove_border_objects_2d if len(shape) == 2 else rix.remove_border_objects_3d
    objects = blobs(shape)
    np.testing.assert_array_equal(remove(objects), segmentation.clear_border(objects))


@pytest.mark.parametrize("shape", [(60, 70), (14, 20, 17)])
def test_distances(shape):
    ndimage = pytest.importorskip("scipy.ndimage")
    flat = len(shape) == 2
    function = rix.distance_map_2d if flat else rix.distance_map_3d
    objects = blobs(shape)

    def measure(image, **values):
        found = function(image, out={"output_nearest_image": False}, **values)
        assert found.output_nearest_image is None
        return np.asarray(found.output_distance_image)

    exact = ndimage.distance_transform_edt(objects)
    np.testing.assert_array_equal(measure(objects), exact.astype(np.float32))
    signed = measure(objects, side="SIGNED")
    np.testing.assert_array_equal(signed, (exact - ndimage.distance_transform_edt(~objects)).astype(np.float32))
    for metric, theirs in (("CITY_BLOCK", "taxicab"), ("CHESSBOARD", "chessboard")):
        np.testing.assert_array_equal(measure(objects, metric=metric),
                                      ndimage.distance_transform_cdt(objects, theirs))
    spacing = (2.5, 0.4, 1.1)[-len(shape):]
    calibrated = rix.Image(objects, spacing=dict(zip("zyx"[-len(shape):], spacing)))
    np.testing.assert_array_max_ulp(measure(calibrated, length_unit="WORLD"),
                                    ndimage.distance_transform_edt(objects, spacing).astype(np.float32), 1)
    # What lies beyond the edges is background where the image has a frame of it.
    framed = ndimage.distance_transform_edt(np.pad(objects, 1))[(slice(1, -1),) * len(shape)]
    np.testing.assert_array_equal(measure(objects, border_is_background="YES"),
                                  framed.astype(np.float32))


@pytest.mark.parametrize("shape", [(60, 70), (14, 20, 17)])
def test_distances_of_labels(shape):
    ndimage = pytest.importorskip("scipy.ndimage")
    flat = len(shape) == 2
    measure = rix.distance_map_2d if flat else rix.distance_map_3d
    labels = ndimage.label(blobs(shape))[0].astype(np.uint16)
    marked = rix.Image(labels, interpretation="label")
    # Where each voxel is the nearest one, all of them are labels: zones that touch.
    found = measure(marked, side="OUTSIDE")
    zones = np.asarray(found.output_nearest_image)
    assert np.array_equal(zones[labels != 0], labels[labels != 0]) and zones.all()
    each = np.stack([ndimage.distance_transform_edt(labels != label) for label in range(1, labels.max() + 1)])
    np.testing.assert_array_equal(np.take_along_axis(each, zones[None].astype(int) - 1, 0)[0], each.min(0))
    np.testing.assert_array_equal(np.asarray(found.output_distance_image), each.min(0).astype(np.float32))
    own = np.asarray(measure(rix.Image(zones, interpretation="label")).output_distance_image)
    for label in np.unique(zones):
        alone = ndimage.distance_transform_edt(zones == label)
        np.testing.assert_array_equal(own[zones == label], alone[zones == label].astype(np.float32))


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


@pytest.mark.parametrize("shape", [(60, 70), (14, 20, 17)])
def test_ways(shape):
    graph = pytest.importorskip("skimage.graph")
    flat = len(shape) == 2
    measure = rix.geodesic_distance_map_2d if flat else rix.geodesic_distance_map_3d
    mask = ~blobs(shape)
    starts = np.argwhere(mask)[[0, 40, -1]]
    marker = np.zeros(shape, np.uint8)
    marker[tuple(starts.T)] = 1
    spacing = (2.5, 0.4, 1.1)[-len(shape):]
    calibrated = rix.Image(mask, spacing=dict(zip("zyx"[-len(shape):], spacing)))
    for length_unit, sampling in (("VOXEL", None), ("WORLD", spacing)):
        theirs = graph.MCP_Geometric(np.where(mask, 1.0, np.inf), sampling=sampling).find_costs(starts)[0]
        ours = np.asarray(measure(marker, calibrated, length_unit=length_unit))
        np.testing.assert_allclose(ours, np.where(mask, theirs, np.inf), rtol=1e-6)


@pytest.mark.parametrize("shape", [(60, 70), (14, 20, 17)])
def test_watershed(shape):
    segmentation = pytest.importorskip("skimage.segmentation")
    flat = len(shape) == 2
    flood = rix.marker_based_watershed_2d if flat else rix.marker_based_watershed_3d
    random = np.random.default_rng(11)
    markers = np.where(random.random(shape) < 0.02, random.integers(1, 9, shape), 0).astype(np.int32)
    mask = random.random(shape) < 0.9
    order = random.permutation(markers.size).reshape(shape)
    # Where no two values are equal both definitions are one.
    for relief in (order.astype(np.uint16), order.astype(np.float32), -order.astype(np.float64)):
        for neighborhood, connectivity in ([("CONNECTIVITY_4", 1), ("CONNECTIVITY_8", 2)] if flat else
                                           [("CONNECTIVITY_6", 1), ("CONNECTIVITY_18", 2), ("CONNECTIVITY_26", 3)]):
            for within in (None, mask):
                theirs = segmentation.watershed(relief, markers, connectivity=connectivity, mask=within)
                seen = markers if within is None else np.where(within, markers, 0)
                ours = flood(relief, seen, within, neighborhood=neighborhood)
                np.testing.assert_array_equal(np.asarray(ours), theirs)
    # Of equal values theirs takes them by their own level alone; ours by that from which they are reached, too.
    coarse = (order * 40 // order.size).astype(np.uint8)
    theirs = segmentation.watershed(coarse, markers, connectivity=len(shape))
    assert (np.asarray(flood(coarse, markers)) != theirs).mean() < 0.25


@pytest.mark.parametrize("shape", [(60, 70), (14, 20, 17)])
def test_connected_thresholds(shape):
    filters = pytest.importorskip("skimage.filters")
    segmentation = pytest.importorskip("skimage.segmentation")
    flat = len(shape) == 2
    hysteresis = rix.hysteresis_thresholding_2d if flat else rix.hysteresis_thresholding_3d
    connected = rix.connected_threshold_2d if flat else rix.connected_threshold_3d
    image = np.random.default_rng(12).integers(0, 256, shape, dtype=np.uint8)
    nearest = "CONNECTIVITY_4" if flat else "CONNECTIVITY_6"
    theirs = filters.apply_hysteresis_threshold(image, 149, 249)  # above, not from
    np.testing.assert_array_equal(np.asarray(hysteresis(image, 150, 250, nearest)) != 0, theirs)
    seed = tuple(extent // 2 for extent in shape)
    marker = np.zeros(shape, np.uint8)
    marker[seed] = 1
    for tolerance in (20, 80, 120):
        low, high = int(image[seed]) - tolerance, int(image[seed]) + tolerance
        np.testing.assert_array_equal(np.asarray(connected(image, marker, low, high)) != 0,
                                      segmentation.flood(image, seed, tolerance=tolerance))


def test_splitting():
    """Discs that overlap by a third of their radius are told apart."""
    ndimage = pytest.importorskip("scipy.ndimage")
    centres = [(y, x) for y in range(20, 180, 34) for x in range(20, 180, 34)]
    at = np.indices((190, 190))
    discs = np.zeros((190, 190), bool)
    for y, x in centres:
        discs |= np.hypot(at[0] - y, at[1] - x) <= 20
    assert ndimage.label(discs)[1] == 1
    labels = np.asarray(rix.split_touching_objects_2d(discs, contrast=1.5))
    assert labels.max() == len(centres) == len({labels[centre] for centre in centres})
    assert ((labels != 0) == discs).all()


@pytest.mark.parametrize("shape", [(60, 70), (14, 20, 17)])
def test_label_tools(shape):
    segmentation = pytest.importorskip("skimage.segmentation")
    ndimage = pytest.importorskip("scipy.ndimage")
    flat = len(shape) == 2
    boundaries = rix.label_boundaries_2d if flat else rix.label_boundaries_3d
    expand = rix.expand_labels_2d if flat else rix.expand_labels_3d
    labels = ndimage.label(blobs(shape))[0].astype(np.uint16) * 7
    np.testing.assert_array_equal(np.asarray(rix.relabel_sequential(labels)), segmentation.relabel_sequential(labels)[0])
    full = "CONNECTIVITY_8" if flat else "CONNECTIVITY_26"
    np.testing.assert_array_equal(np.asarray(boundaries(labels, "INNER", full)) != 0,
                                  segmentation.find_boundaries(labels, connectivity=len(shape), mode="inner"))
    grown = np.asarray(expand(labels, distance=2.5))
    np.testing.assert_array_equal(grown != 0, segmentation.expand_labels(labels, 2.5) != 0)
    np.testing.assert_array_equal(grown[labels != 0], labels[labels != 0])


@pytest.mark.parametrize("dtype", ["uint8", "int16", "float32", "float64"])
def test_derivatives(dtype):
    ndimage = pytest.importorskip("scipy.ndimage")
    plane, volume = random_array(dtype, (60, 45)), random_array(dtype, (23, 20, 17))
    for image, suffix in ((plane, "2d"), (volume, "3d")):
        exact = image.astype(np.float64)
        bound = 2e-5 * np.abs(exact).max()
        gradient, laplacian = getattr(rix, f"gradient_operator_{suffix}"), getattr(rix, f"laplacian_{suffix}")
        for policy, mode in [("MIRROR", "reflect"), ("CONTINUE", "nearest")]:
            result = gradient(image, method="GAUSSIAN", standard_deviation=2, border_policy=policy)
            expected = ndimage.gaussian_gradient_magnitude(exact, 2, mode=mode, truncate=6)
            np.testing.assert_allclose(result.output_magnitude_image, expected, rtol=0, atol=bound)
            expected = ndimage.gaussian_filter(exact, 2, order=1, mode=mode, truncate=6)
            orders = {f"order_{axis}": 1 for axis in "xyz"[:image.ndim]}
            widths = {f"standard_deviation_{axis}": 2 for axis in "xyz"[:image.ndim]}
            result = getattr(rix, f"gaussian_derivative_{suffix}")(image, **widths, **orders, border_policy=policy)
            np.testing.assert_allclose(result, expected, rtol=0, atol=bound)
            result = getattr(rix, f"laplacian_of_gaussian_{suffix}")(image, standard_deviation=2, border_policy=policy)
            expected = ndimage.gaussian_laplace(exact, 2, mode=mode, truncate=6)
            np.testing.assert_allclose(result, expected, rtol=0, atol=bound)
            np.testing.assert_allclose(laplacian(image, border_policy=policy), ndimage.laplace(exact, mode=mode),
                                       rtol=1e-6, atol=1e-6 * np.abs(exact).max())
            for method, theirs in [("SOBEL", ndimage.sobel), ("PREWITT", ndimage.prewitt)]:
                result = gradient(image, method=method, border_policy=policy).output_image_x
                np.testing.assert_allclose(result, theirs(exact, axis=-1, mode=mode), rtol=1e-6,
                                           atol=1e-5 * np.abs(exact).max())


def test_canny():
    feature = pytest.importorskip("skimage.feature")
    for path in IMAGES:
        picture = rix.imread(path).array
        if picture.ndim == 2 and picture.dtype == np.uint8:
            ours = rix.canny_edge_detector_2d(picture, standard_deviation=2, lower_threshold=3,
                                              upper_threshold=8).output_binary_image != 0
            # Their weights of Sobel add up to 8 times the gradient.
            theirs = feature.canny(picture.astype(np.float64), sigma=2, low_threshold=24, high_threshold=64)
            # They compare where the gradient leaves the square of neighbours, we one voxel away; of two that are equal
            # both are theirs.
            assert np.mean(ours[3:-3, 3:-3] == theirs[3:-3, 3:-3]) > 0.99


def test_second_order():
    ndimage = pytest.importorskip("scipy.ndimage")
    image = ndimage.gaussian_filter(random_array(np.float64, (60, 45)), 1.5)

    def derived(order, width):
        return ndimage.gaussian_filter(image, width, order=order, mode="reflect", truncate=6)

    hessian = np.moveaxis(np.array([[derived((0, 2), 2), derived((1, 1), 2)], [derived((1, 1), 2), derived((2, 0), 2)]]),
                          (0, 1), (2, 3))
    values = np.linalg.eigvalsh(hessian)
    values = np.take_along_axis(values, np.argsort(np.abs(values), axis=-1), axis=-1)
    result = rix.hessian_analysis_2d(image, standard_deviation=2).output_eigenvalues_image
    np.testing.assert_allclose(np.moveaxis(result, 0, -1) if result.shape[0] == 2 else result, values, rtol=0,
                               atol=1e-4 * np.abs(values).max())
    x, y = derived((0, 1), 1), derived((1, 0), 1)
    entries = [ndimage.gaussian_filter(each, 3, mode="reflect", truncate=6) for each in (x * x, x * y, y * y)]
    tensor = rix.structure_tensor_2d(image)
    expected = 0.5 * np.arctan2(2 * entries[1], entries[0] - entries[2])
    difference = np.angle(np.exp(2j * (tensor.output_orientation_image - expected))) / 2
    sure = tensor.output_coherence_image > 0.01
    assert np.abs(difference[sure]).max() < 1e-2
    ridges = rix.ridge_filter_2d(image, method="SATO", minimum_scale=2, number_of_scales=1)
    np.testing.assert_allclose(ridges, 4 * np.maximum(-np.linalg.eigvalsh(hessian)[..., 0], 0), rtol=0,
                               atol=1e-3 * np.abs(values).max())


def test_skeletons():
    morphology = pytest.importorskip("skimage.morphology")
    measure = pytest.importorskip("skimage.measure")
    ndimage = pytest.importorskip("scipy.ndimage")
    for shape, thin in (((150, 190), rix.skeleton_2d), ((40, 44, 52), rix.skeleton_3d)):
        full = np.ones((3,) * len(shape))
        noise = ndimage.gaussian_filter(np.random.default_rng(2).standard_normal(shape), 3)
        objects = noise > 0
        skeleton = np.asarray(thin(objects)).astype(bool)
        # Pixels depend on the rule; what every skeleton keeps does not.
        peer = (morphology.skeletonize if len(shape) == 2 else morphology.skeletonize_3d)(objects)
        assert not (skeleton & ~objects).any()
        # The Euler number of the peer takes what lies beyond the edges as it comes.
        before, after = (measure.euler_number(np.pad(image, 1), len(shape)) for image in (objects, skeleton))
        assert before == after
        assert ndimage.label(skeleton, full)[1] == ndimage.label(objects, full)[1]
        assert skeleton.sum() < 1.3 * (peer > 0).sum()
