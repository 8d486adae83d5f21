"""The morphology of SciPy and scikit-image beside ours, where both define the same."""

import numpy as np
import pytest

import rix
from support import blobs, random_array


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
    for name, peer in (("opening", ndimage.grey_opening), ("closing", ndimage.grey_closing),
                       ("white_top_hat", ndimage.white_tophat), ("black_top_hat", ndimage.black_tophat),
                       ("morphological_gradient", ndimage.morphological_gradient)):
        take = getattr(rix, f"{name}_{'2d' if flat else '3d'}")
        # Differences of int16 are uint16 here; theirs stay below the largest int16 in this image.
        np.testing.assert_array_equal(take(image, **element), peer(image, footprint=ball))
    draw = rix.structuring_element_2d if flat else rix.structuring_element_3d
    np.testing.assert_array_equal(np.asarray(draw(**element)) != 0, ball)


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


def test_granulometry():
    ndimage = pytest.importorskip("scipy.ndimage")
    for shape, measure in (((60, 71), rix.granulometry_2d), ((14, 20, 17), rix.granulometry_3d)):
        image = random_array("uint8", shape)
        table = measure(image, 3)
        sums = [image.sum()]
        for radius in (1, 2, 3):
            axes = np.meshgrid(*[np.arange(-radius, radius + 1)] * len(shape), indexing="ij")
            ball = sum(axis ** 2 for axis in axes) <= radius ** 2
            sums.append(ndimage.grey_opening(image, footprint=ball).sum(dtype=float))
        np.testing.assert_array_equal(np.asarray(table["Sum"]), sums)
        np.testing.assert_allclose(np.asarray(table["Share"]), -np.diff([*sums, 0]) / sums[0])


def test_hit_or_miss():
    ndimage = pytest.importorskip("scipy.ndimage")
    image = random_array(bool, (60, 71))
    foreground = np.array([[0, 1, 0], [0, 1, 1], [0, 0, 0]], np.uint8)
    background = np.array([[0, 0, 0], [1, 0, 0], [1, 1, 0]], np.uint8)
    found = np.asarray(rix.hit_or_miss_2d(image, foreground, background)).astype(bool)
    expected = ndimage.binary_hit_or_miss(image, foreground, background)
    # Beyond the edges theirs has background, ours neither.
    np.testing.assert_array_equal(found[1:-1, 1:-1], expected[1:-1, 1:-1])
    assert expected[1:-1, 1:-1].any()


def test_convex_hull():
    morphology = pytest.importorskip("skimage.morphology")
    image = np.zeros((60, 70), np.uint8)
    image[[5, 40, 52, 30, 31], [8, 3, 44, 66, 20]] = 1
    found = np.asarray(rix.convex_hull_of_objects_2d(image)) > 0
    np.testing.assert_array_equal(found, morphology.convex_hull_image(image, offset_coordinates=False))
