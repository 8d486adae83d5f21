"""The same answers as SciPy and scikit-image where conventions differ; filters have references of their own."""

import numpy as np
import pytest

import rix
from support import EXAMPLES, blobs, random_array

IMAGES = sorted((EXAMPLES / "images").glob("*.png"))


def same_up_to_numbers(a, b):
    """Two label images part the same sets when each number of one is one number of the other."""
    pairs = np.unique(np.stack([a.ravel(), b.ravel()]).astype(np.int64), axis=1)
    return len(set(pairs[0])) == len(set(pairs[1])) == pairs.shape[1] and np.array_equal(*(pairs == 0))


def objects(dimensions):
    shape = (60, 70) if dimensions == 2 else (20, 30, 40)
    yield blobs(shape)
    for density in (0.1, 0.5, 0.6):
        yield np.random.default_rng(int(10 * density)).random(shape) < density
    if dimensions == 2:
        for path in IMAGES:
            grey = rix.imread(path)
            if grey.ndim == 2:
                yield grey.array > np.median(grey.array)


@pytest.mark.parametrize("dimensions,neighborhood,rank",
                         [(2, 4, 1), (2, 8, 2), (3, 6, 1), (3, 18, 2), (3, 26, 3)])
def test_labels(dimensions, neighborhood, rank):
    ndimage = pytest.importorskip("scipy.ndimage")
    label = rix.labeling_2d if dimensions == 2 else rix.labeling_3d
    for mask in objects(dimensions):
        expected, count = ndimage.label(mask, ndimage.generate_binary_structure(dimensions, rank))
        labels = label(mask, neighborhood=f"CONNECTIVITY_{neighborhood}")
        assert labels.max() == count and same_up_to_numbers(labels, expected)


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


@pytest.mark.parametrize("shape,window", [((90, 70), (4, 7)), ((30, 41), (45, 12)), ((14, 20, 17), (3, 4, 6))])
def test_convolution(shape, window):
    ndimage = pytest.importorskip("scipy.ndimage")
    convolve = rix.fourier_convolution_2d if len(shape) == 2 else rix.fourier_convolution_3d
    image = random_array(np.float64, shape)
    kernel = random_array(np.float64, window)
    for policy, mode in [("MIRROR", "reflect"), ("CONTINUE", "nearest")]:
        expected = ndimage.convolve(image, kernel, mode=mode)
        result = convolve(image, kernel, border_policy=policy)
        assert np.abs(result - expected).max() <= 1e-14 * np.abs(image).max() * np.abs(kernel).sum()


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


def test_grey_levels():
    exposure = pytest.importorskip("skimage.exposure")
    image = random_array(np.uint8, (90, 70))
    reference = random_array(np.uint8, (50, 40), seed=3) // 2 + 40
    matched = exposure.match_histograms(image, reference)
    assert np.abs(rix.histogram_matching(image, reference) - matched).max() <= 0.5 + 1e-9
    stretched = exposure.rescale_intensity(image, in_range=(20, 200), out_range=(0.0, 1.0))
    ours = rix.intensity_rescale(image, range_mode="OTHER", input_minimum=20, input_maximum=200, output_maximum=1,
                                 output_type="FLOAT_64_BIT")
    np.testing.assert_allclose(ours, stretched, rtol=1e-12)
    bent = exposure.adjust_gamma(image, 0.7)  # theirs is truncated
    assert np.abs(rix.gamma_correction(image, gamma=0.7) - bent.astype(np.int16)).max() <= 1


def test_formula():
    a = random_array(np.float32, (40, 30))
    b = random_array(np.float32, (40, 30), seed=5)
    np.testing.assert_array_equal(rix.image_formula(a, b, formula="(a - b) / (a + b + 1)"),
                                  (a - b) / (a + b + 1))
    np.testing.assert_array_equal(rix.image_formula(a, b, formula="a > b and not b < 0"), (a > b) & ~(b < 0))


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


def test_colour(tmp_path):
    color = pytest.importorskip("skimage.color")
    steps = np.arange(0, 256, 17, dtype=np.uint8)
    cube = np.stack(np.meshgrid(steps, steps, steps), axis=-1).reshape(1, -1, 3)

    def ours(space):
        image = rix.Image(np.moveaxis(cube, -1, 0), axes="cyx", color_interpretation="rgb")
        return np.moveaxis(rix.convert_color_space(image, to_space=space).array, 0, -1)

    hsv = color.rgb2hsv(cube) * (360, 1, 1)
    # Theirs has six digits of the matrix and rounded constants: greys are off neutral by nearly 0.005.
    for space, expected, off in [("HSV", hsv, 1e-3), ("LAB", color.rgb2lab(cube), 5e-3), ("XYZ", color.rgb2xyz(cube), 1e-4),
                                 ("YIQ", color.rgb2yiq(cube), 2e-6)]:
        np.testing.assert_allclose(ours(space), expected, atol=off, rtol=0, err_msg=space)
    rix.imwrite(tmp_path / "cube.png", cube, axes="yxc", color_interpretation="rgb")
    grey = rix.imread(tmp_path / "cube.png", grey=True)
    assert grey.shape == cube.shape[:2] and grey.dtype == np.uint8
    np.testing.assert_allclose(grey.array, cube @ (0.299, 0.587, 0.114), atol=0.5001, rtol=0)


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
