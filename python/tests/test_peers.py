"""The same answers as SciPy and scikit-image where conventions differ; filters have references of their own."""

import numpy as np
import pytest

import rix
from support import random_array


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
