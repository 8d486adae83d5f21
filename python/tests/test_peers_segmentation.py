"""Objects, floods, edges and what is measured of them: scikit-image and SciPy beside ours, where both define the same."""

import heapq

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


def plain_flood(relief, markers, reach, lines=False, by_own_value=False):
    """The hierarchical queue as it is defined, one voxel after another; or one that takes voxels by their values alone."""
    rows, columns = relief.shape
    steps = [(y, x) for y in (-1, 0, 1) for x in (-1, 0, 1) if 0 < y * y + x * x <= reach]
    values, labels = relief.tolist(), markers.tolist()
    queue, waits = [], markers != 0
    for y, x in zip(*np.nonzero(markers)):
        heapq.heappush(queue, (values[y][x], len(queue), int(y), int(x)))
    time = len(queue)
    while queue:
        level, _, y, x = heapq.heappop(queue)
        around = [(y + dy, x + dx) for dy, dx in steps if 0 <= y + dy < rows and 0 <= x + dx < columns]
        if labels[y][x] == 0:  # only where lines are wanted
            found = {labels[v][u] for v, u in around} - {0}
            if len(found) > 1:
                continue
            labels[y][x] = found.pop()
        for v, u in around:
            if not waits[v, u]:
                waits[v, u] = True
                labels[v][u] = 0 if lines else labels[y][x]
                heapq.heappush(queue, (values[v][u] if by_own_value else max(level, values[v][u]), time, v, u))
                time += 1
    return np.array(labels)


def test_watershed_of_photographs(capsys):
    """The same as the plain queue; of 8 bits some pixels are not the same as scikit-image's, and that many."""
    segmentation = pytest.importorskip("skimage.segmentation")
    pictures = [rix.imread(path).array for path in IMAGES]
    for picture in [picture for picture in pictures if picture.ndim == 2][:3]:
        gradient = np.asarray(rix.morphological_gradient_2d(picture))[:200, :240]
        markers = np.zeros(gradient.shape, np.int32)
        markers[10::25, 10::25] = 1 + np.arange(markers[10::25, 10::25].size).reshape(markers[10::25, 10::25].shape)
        for neighborhood, reach in (("CONNECTIVITY_4", 1), ("CONNECTIVITY_8", 2)):
            for lines in ("NONE", "LINES"):
                ours = np.asarray(rix.marker_based_watershed_2d(gradient, markers, neighborhood=neighborhood,
                                                                watershed_lines=lines))
                np.testing.assert_array_equal(ours, plain_flood(gradient, markers, reach, lines == "LINES"))
        ours = np.asarray(rix.marker_based_watershed_2d(gradient, markers))
        theirs = segmentation.watershed(gradient, markers, connectivity=2)
        with capsys.disabled():
            print(f" {(ours != theirs).mean():.1%} of the pixels differ from scikit-image's", end="")
        # And this is why. Markers of one value come out of their heap in any order, which shows where values are few.
        same = (plain_flood(gradient, markers, 2, by_own_value=True) == theirs).mean()
        assert (ours != theirs).any() and (same == 1 or (same > 0.9 and len(np.unique(gradient)) < 20))


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


def test_local_thresholds():
    filters = pytest.importorskip("skimage.filters")
    image = (random_array(np.uint8, (60, 80)) * 2.5).astype(np.uint8)
    inside = (slice(10, -10), slice(10, -10))  # borders are mirrored without the edge voxel there
    for method, threshold in (("NIBLACK", filters.threshold_niblack(image, 15, 0.2)),
                              ("SAUVOLA", filters.threshold_sauvola(image, 15, 0.2)),
                              ("MEAN", filters.threshold_local(image, 15, "mean")),
                              ("MEDIAN", filters.threshold_local(image, 15, "median")),
                              ("GAUSSIAN", filters.threshold_local(image, 15, "gaussian"))):
        bright = np.asarray(rix.local_thresholding_2d(image, method))
        sure = np.abs(image - threshold) > (0.01 if method == "GAUSSIAN" else 1e-3)
        if method == "SAUVOLA":  # half of 255 there, too
            sure &= np.abs(image - threshold) > 0.5
        assert sure[inside].mean() > 0.9
        assert (bright == (image > threshold))[inside][sure[inside]].all(), method


def test_multi_level_thresholds():
    filters = pytest.importorskip("skimage.filters")
    image = random_array(np.uint8, (90, 70)) + np.arange(70, dtype=np.uint8)
    for classes in (2, 3, 4):
        theirs = filters.threshold_multiotsu(image, classes)
        labels, table = rix.multi_level_thresholding(image, classes)
        # What is equal to a threshold belongs to the class below it there, and the next value is ours.
        assert np.array_equal(np.asarray(table["Threshold"]), theirs + 1)
        assert np.array_equal(np.asarray(labels), np.digitize(image, theirs, right=True))


def test_superpixels_are_connected_and_flat():
    measure = pytest.importorskip("skimage.measure")
    image = np.add.outer(np.arange(60) // 20 * 60, np.arange(90) // 15 * 20).astype(np.uint8)
    labels = np.asarray(rix.superpixels_2d(image, 54, 1))
    assert len(np.unique(labels)) == labels.max() == measure.label(labels, connectivity=1).max()
    assert all(image[labels == label].std() == 0 for label in range(1, labels.max() + 1))
    merged = np.asarray(rix.region_merging_2d(labels, image, 0))
    assert len(np.unique(merged)) == 18  # the fields



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


def test_objects_by_size_and_measure():
    morphology = pytest.importorskip("skimage.morphology")
    measure = pytest.importorskip("skimage.measure")
    for shape in ((60, 70), (14, 20, 17)):
        flat = len(shape) == 2
        remove = rix.remove_small_objects_2d if flat else rix.remove_small_objects_3d
        objects = np.random.default_rng(4).random(shape) < (0.45 if flat else 0.2)
        labels = measure.label(objects, connectivity=1)
        for least in (2, 5, 20):
            np.testing.assert_array_equal(np.asarray(remove(labels.astype(np.int32), least)),
                                          morphology.remove_small_objects(labels, least))
            for connectivity in (1, len(shape)):
                near = ("CONNECTIVITY_4" if flat else "CONNECTIVITY_6") if connectivity == 1 else (
                    "CONNECTIVITY_8" if flat else "CONNECTIVITY_26")
                np.testing.assert_array_equal(
                    np.asarray(remove(objects, least, neighborhood=near)) != 0,
                    morphology.remove_small_objects(objects, least, connectivity))
    labels = measure.label(np.random.default_rng(5).random((60, 70)) < 0.55, connectivity=1).astype(np.uint16)
    regions = measure.regionprops(labels)
    selected = np.asarray(rix.select_objects(labels, formula="Area > 4 and Extent < 0.7"))
    chosen = {region.label for region in regions if region.area > 4 and region.extent < 0.7}
    assert set(np.unique(selected)) - {0} == chosen and chosen
    extents = np.zeros(labels.shape)
    for region in regions:
        extents[labels == region.label] = region.extent
    np.testing.assert_allclose(rix.measure_to_image(labels, measure="Extent"), extents, rtol=1e-6)
    others = np.roll(labels, (1, 2), (0, 1))
    table = rix.label_overlap(labels, others)
    both = np.stack([labels, others])[:, (labels != 0) & (others != 0)]
    pairs, counts = np.unique(both, axis=1, return_counts=True)
    np.testing.assert_array_equal(table["Label1"], pairs[0])
    np.testing.assert_array_equal(table["Label2"], pairs[1])
    np.testing.assert_array_equal(table["Intersection"], counts)


@pytest.mark.parametrize("shape", [(90, 80), (24, 30, 27)])
def test_peaks_and_blobs(shape):
    ndimage = pytest.importorskip("scipy.ndimage")
    feature = pytest.importorskip("skimage.feature")
    suffix = "2d" if len(shape) == 2 else "3d"
    image = ndimage.gaussian_filter(np.random.default_rng(6).standard_normal(shape), 1.5)
    image *= 100 / image.max()
    names = ["PositionZ", "PositionY", "PositionX"][-len(shape):]
    table = getattr(rix, f"local_peaks_{suffix}")(image, threshold=1)
    ours = sorted(tuple(np.rint(place).astype(int)) for place in zip(*(table[name] for name in names)))
    theirs = feature.peak_local_max(image, min_distance=1, threshold_abs=1, exclude_border=False)
    assert ours == sorted(map(tuple, theirs)) and len(ours) > 20
    # Theirs takes a Gaussian that ends at four deviations, and leaves out what overlaps unless told not to.
    table = getattr(rix, f"blob_detector_{suffix}")(image, threshold=8, minimum_scale=1.5, maximum_scale=6,
                                                    number_of_scales=4)
    theirs = feature.blob_log(image, 1.5, 6, 4, threshold=8, overlap=1, log_scale=True)
    ours = {tuple(np.rint(place).astype(int)) for place in zip(*(table[name] for name in names))}
    theirs = {tuple(row[:len(shape)].astype(int)) for row in theirs}
    assert len(ours & theirs) >= 0.9 * max(len(ours), len(theirs)) and len(ours) > 5


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


def test_corners_and_circles():
    feature = pytest.importorskip("skimage.feature")
    transform = pytest.importorskip("skimage.transform")
    ndimage = pytest.importorskip("scipy.ndimage")
    image = ndimage.gaussian_filter(random_array(np.float64, (60, 45)), 1.5)
    # The same sums of products of derivatives; theirs are Sobel's, so ours come from SciPy.
    dy, dx = (ndimage.gaussian_filter(image, 1, order=order, truncate=6) for order in ((1, 0), (0, 1)))
    xx, xy, yy = (ndimage.gaussian_filter(a * b, 2, truncate=6) for a, b in ((dx, dx), (dx, dy), (dy, dy)))
    expected = xx * yy - xy * xy - 0.05 * (xx + yy) ** 2
    found = rix.corner_detector_2d(image, minimum_distance=4)
    scale = np.abs(expected).max()
    np.testing.assert_allclose(found.output_response_image, expected, rtol=0, atol=1e-4 * scale)
    peaks = feature.peak_local_max(expected, min_distance=4, threshold_abs=0.01 * expected.max(), exclude_border=False)
    assert len(peaks) > 3 and expected[tuple(peaks[0])] == expected.max()

    # Of a circle as they draw it both find the centre and the radius.
    draw = pytest.importorskip("skimage.draw")
    edges = np.zeros((80, 90), np.uint8)
    edges[draw.circle_perimeter(41, 37, 20)] = 1
    circles = rix.hough_circles_2d(edges, minimum_radius=15, maximum_radius=25, maximum_number=1).output_measurement
    votes, x, y, radii = transform.hough_circle_peaks(transform.hough_circle(edges, range(15, 26)), range(15, 26),
                                                      total_num_peaks=1)
    assert abs(circles["PositionX"][0] - x[0]) < 0.1 and abs(circles["PositionY"][0] - y[0]) < 0.1
    assert abs(circles["Radius"][0] - radii[0]) < 0.5
