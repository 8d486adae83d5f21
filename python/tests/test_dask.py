"""Arrays in chunks give what arrays in memory give, bit for bit."""

import subprocess
import sys
import textwrap

import numpy as np
import pytest

import rix
from support import NAMES, example_inputs, run_script

pytest.importorskip("dask.array")
import dask
import dask.array as da

import rix.dask

# Chunks of one voxel, of prime sizes, smaller than most reaches, and larger.
ODD = {2: ((1, 2, 7, 1, 13, 37), (3, 20, 1, 7, 43)), 3: ((5, 1, 4, 3), (7, 1, 10), (3, 12, 6))}


@pytest.fixture(autouse=True)
def one_thread():
    with dask.config.set(scheduler="sync"):
        yield


def values(dtype, dimensions, seed=1):
    shape = tuple(sum(sizes) for sizes in ODD[dimensions])
    random = np.random.default_rng(seed).random(shape) * 200
    return (random - (0 if np.dtype(dtype).kind == "u" else 90)).astype(dtype) if dtype != bool else random > 110


def chunked(array, chunks=None):
    return da.from_array(np.asarray(array), chunks=chunks or ODD[array.ndim])


def assert_same(made, expected):
    """The same results: images, or tables of the same columns."""
    made, expected = (result if isinstance(result, tuple) else (result,) for result in (made, expected))
    assert len(made) == len(expected)
    for ours, theirs in zip(dask.compute(*made), expected):
        if isinstance(theirs, rix.Table):
            assert list(ours) == list(theirs) and ours.units == theirs.units
            pairs = [(ours[name], theirs[name]) for name in theirs]
        else:
            pairs = [(ours, np.asarray(theirs))]
        for one, other in pairs:
            assert (one.dtype, one.shape) == (other.dtype, other.shape)
            assert np.ascontiguousarray(one).tobytes() == np.ascontiguousarray(other).tobytes()


def compare(name, image, chunks=None, **properties):
    """Compares a call on chunks with that in memory."""
    expected = getattr(rix, rix.describe(name)["function"])(image, **properties)
    assert_same(rix.dask.apply(name, chunked(image, chunks), **properties), expected)


WINDOWS = [
    ("gaussian_filter_2d", {"standard_deviation_x": 1.5, "standard_deviation_y": 0.7}),
    ("gaussian_filter_2d", {"standard_deviation_x": 3, "standard_deviation_y": 3}),
    ("gaussian_filter_2d", {"standard_deviation_x": 1, "standard_deviation_y": 9}),
    ("box_filter_2d", {"kernel_size_x": 5, "kernel_size_y": 32, "auto_scale": True}),
    ("box_filter_2d", {"kernel_size_x": 67, "kernel_size_y": 3, "auto_scale": True}),
    ("local_statistics_2d", {"kernel_size_x": 9, "kernel_size_y": 13, "statistic": "VARIANCE"}),
    ("local_normalization_2d", {"standard_deviation": 2.5}),
    ("unsharp_mask_2d", {"standard_deviation": 4}),
    ("median_filter_2d", {"kernel_size_x": 5, "kernel_size_y": 9, "border_policy": "CONTINUE"}),
    ("bilateral_filter_2d", {"kernel_radius": 4, "border_policy": "FIXED", "border_value": 7}),
    ("anisotropic_diffusion_2d", {"number_of_iterations": 6}),
    ("erosion_2d", {"structuring_element": "DISK", "radius": 4}),
    ("closing_2d", {"kernel_size_x": 11, "kernel_size_y": 4, "border_policy": "MIRROR"}),
    ("black_top_hat_2d", {"structuring_element": "LINE", "line_x": 9, "line_y": 4}),
    ("background_correction_2d", {"radius": 12}),
    ("local_thresholding_2d", {"method": "SAUVOLA"}),
    ("local_thresholding_2d", {"method": "BERNSEN"}),
    ("gaussian_derivative_2d", {}),
    ("structure_tensor_2d", {}),
    ("ridge_filter_2d", {}),
    ("recursive_filter", {"axis": "ROWS"}),
    ("gaussian_filter_3d", {"standard_deviation_x": 1, "standard_deviation_y": 2, "standard_deviation_z": 0.5}),
    ("box_filter_3d", {"kernel_size_x": 3, "kernel_size_y": 5, "kernel_size_z": 4, "auto_scale": True}),
    ("dilation_3d", {"structuring_element": "BALL", "radius": 2}),
    ("median_filter_3d", {"kernel_size_x": 3, "kernel_size_y": 3, "kernel_size_z": 3}),
    ("hessian_analysis_3d", {}),
]


@pytest.mark.parametrize("dtype", [np.uint8, np.uint16, np.float32, np.float64])
@pytest.mark.parametrize("name, properties", WINDOWS, ids=[f"{name}-{i}" for i, (name, _) in enumerate(WINDOWS)])
def test_windows(name, properties, dtype):
    compare(name, values(dtype, 3 if name.endswith("3d") else 2), **properties)


@pytest.mark.parametrize("dtype", [np.uint8, np.float32])
def test_every_algorithm_is_equal_or_refused(dtype):
    equal = []
    for name in NAMES:
        dimensions = 3 if name.endswith("3d") else 2
        facts = rix.describe(name)
        function = getattr(rix, facts["function"])
        images = [item["name"] for item in facts["properties"] if item["role"] == "image" and
                  item["direction"] != "out" and "kernel" not in item["name"] and "element" not in item["name"]]
        try:
            inputs = example_inputs(name, tuple(sum(sizes) for sizes in ODD[dimensions]))
            if isinstance(inputs[images[0]], rix.Image):
                continue
            for place, image in enumerate(images):
                if image in inputs and dtype != np.uint8:
                    inputs[image] = values(dtype, dimensions, place)
            expected = function(**inputs)
        except (rix.Error, IndexError):
            continue
        try:
            made = rix.dask.apply(name, chunked(inputs.pop(images[0])), **inputs)
        except rix.RuleError as error:
            assert facts["name"] in str(error) and "rechunk" in str(error) or "not for chunks" in str(error)
            continue
        assert_same(made, expected)
        equal.append(name)
    assert len(equal) > 65


def test_what_lies_beside_a_filter():
    image, mask, other = values(np.uint8, 2), values(bool, 2), values(np.uint8, 2, 5)
    compare("mask_image", image, input_binary_image=mask)
    compare("median_filter_2d", image, input_mask_image=mask.astype(np.uint8))
    compare("image_formula", image, input_image_2=other, formula="(a - b) / (a + b)")
    compare("thresholding_by_criterion", image, comparison_criterion="LESS_THAN", comparison_value=40)
    compare("convolution_2d", image, kernel=[[1, 2, 3, 4], [5, 0, 0, 1], [0, 1, 0, 0]], auto_scale=True)
    # Every chunk by itself would find a range of its own, and so would an image without these values.
    holes = values(np.float32, 2)
    holes[3, 40], holes[22, 21] = np.nan, np.inf
    compare("gaussian_filter_2d", holes, standard_deviation_x=2, standard_deviation_y=2)
    compare("erosion_2d", holes, kernel_size_x=5)
    # Lengths in units of the world, and axes beyond three.
    made = rix.dask.apply("gaussian_filter_2d", chunked(image), length_unit="WORLD", standard_deviation_x=2,
                          standard_deviation_y=2, spacing=(2, 0.5), spatial_unit="um")
    expected = rix.gaussian_filter_2d(rix.Image(image, spacing=(2, 0.5), spatial_unit="um"), 2, 2, "WORLD")
    assert_same(made, expected.array)
    frames = np.stack([image, other, image + 1])[:, None]
    made = rix.dask.apply("box_filter_2d", da.from_array(frames, chunks=(2, 1, 20, 17)), axes="tzyx", kernel_size_x=7,
                          kernel_size_y=3)
    assert_same(made, rix.box_filter_2d(frames, 7, 3, axes="tzyx"))
    picture = np.stack([image, other, image], 2)
    made = rix.dask.apply("ConvertColorSpace", da.from_array(picture, chunks=(20, 17, 1)), axes="yxc")
    assert_same(made, rix.convert_color_space(picture, axes="yxc"))


def test_reductions():
    for dtype in (np.uint8, np.int16, np.uint16, np.int32, np.float32, np.float64):
        for dimensions in (2, 3):
            image = values(dtype, dimensions)
            whole = "" if image.dtype.kind == "f" else ", Sum"
            compare("intensity_extrema", image)
            compare("intensity_histogram", image)
            compare("intensity_histogram", image, number_of_classes=7, range_mode="OTHER", range_minimum=3.5,
                    range_maximum=77)
            compare("image_statistics", image, measures="Count, Minimum, Maximum, NanCount, InfiniteCount" + whole)
            for criterion in ("ENTROPY", "FACTORISATION", "MOMENTS"):
                compare("auto_thresholding_value", image, threshold_criterion=criterion)
        compare("auto_thresholding_bright", image, threshold_criterion="FACTORISATION")
        compare("auto_thresholding_dark", image)
    image[:, 2] = np.nan
    compare("intensity_extrema", image)
    compare("intensity_extrema", np.full_like(image, np.nan))
    compare("auto_thresholding_bright", image)
    compare("auto_thresholding_value", np.full_like(image, 7))


@pytest.mark.parametrize("dimensions", [2, 3])
def test_labels(dimensions):
    random = np.random.default_rng(dimensions)

    def odd(size):
        cuts = np.unique(random.integers(1, size, 5)) if size > 1 else []
        return tuple(int(piece) for piece in np.diff([0, *cuts, size]))

    for share in (0.05, 0.3, 0.5, 0.6, 0.9):
        size = 24 if dimensions == 2 else 12
        for shape in (random.integers(4, size, dimensions), (*random.integers(1, 9, dimensions - 1), 1)):
            image = random.random(shape) < share
            for neighborhood in range(dimensions):
                expected = getattr(rix, f"labeling_{dimensions}d")(image, neighborhood=neighborhood,
                                                                   axes="zyx"[-dimensions:])
                for chunks in (tuple(map(odd, image.shape)), 3 if dimensions == 3 else 1):
                    made = rix.dask.label(da.from_array(image, chunks=chunks), neighborhood=neighborhood)
                    assert_same(made, expected.astype(np.uint32))


def test_a_spiral_is_one_object():
    """One object whose parts meet in the last chunk, and those before it in none."""
    spiral = np.zeros((41, 41), np.uint8)
    for ring in range(0, 20, 2):
        spiral[ring, max(ring - 1, 0):41 - ring] = spiral[40 - ring, ring:41 - ring] = 1
        spiral[ring:41 - ring, 40 - ring] = spiral[ring + 2:41 - ring, ring] = 1
    assert rix.labeling_2d(spiral).max() == 1
    for size in (1, 2, 5, 40):
        assert_same(rix.dask.label(da.from_array(spiral, chunks=size)), spiral.astype(np.uint32))


@pytest.mark.parametrize("dtype", [np.uint8, np.int16, np.float32])
def test_measures(dtype):
    for dimensions, spacing in ((2, 1.0), (2, (0.7, 0.31)), (3, 0.3)):
        image = values(dtype, dimensions)
        binary = np.random.default_rng(4).random(image.shape) < 0.4
        labels = getattr(rix, f"labeling_{dimensions}d")(binary, label_type="LABEL_32_BIT")
        size = "Area" if dimensions == 2 else "Volume"
        names = f"PixelCount, {size}, Barycenter, BoundingBox, TouchesBorder, Minimum, Maximum"
        names += ", Mean, Sum" if image.dtype.kind != "f" else ""

        def calibrated(array, **meaning):
            return rix.Image(array, spacing=spacing, spatial_unit="um", **meaning)

        expected = rix.label_analysis(calibrated(labels, interpretation="label"), calibrated(image), names)
        made = rix.dask.measure(chunked(labels), chunked(image, -1), spacing=spacing, spatial_unit="um")
        assert_same(made, expected)
    flat = labels[5:6]
    assert_same(rix.dask.measure(chunked(flat, (1, 9, 5)), flat), rix.label_analysis(
        flat, flat, "PixelCount, Area, Barycenter, BoundingBox, TouchesBorder, Minimum, Maximum, Mean, Sum"))
    assert_same(rix.dask.measure(chunked(labels), measures="PixelCount"),
                rix.label_analysis(labels, None, "PixelCount"))


def test_refusals():
    image = chunked(values(np.uint8, 2))
    for name, properties, text in (
            ("distance_map_2d", {}, "DistanceMap2d is not for chunks: it follows what is connected.*rechunk"),
            ("fourier_transform_2d", {}, "all voxels"), ("add_noise", {}, "place in the image"),
            ("rotate_90", {}, "elsewhere"), ("histogram_equalization", {}, "steps need all voxels"),
            ("convolution_2d", {"kernel": np.ones((15, 15))}, "more than 180"),
            ("image_statistics", {}, "sums in the order"), ("checkerboard_image", {}, "no image"),
            ("box_filter_2d", {"kernel_size_q": 3}, "no property 'kernel_size_q'; did you mean"),
            ("box_filter_2d", {"kernel_size_x": -3, "kernel_size_y": 3}, "kernelSizeX|kernel_size_x"),
            ("mask_image", {"input_binary_image": np.ones((3, 3), bool)}, "shape"),
            ("auto_thresholding_value", {"threshold_criterion": "ISODATA"}, "means of all")):
        with pytest.raises(rix.RuleError, match=text):
            rix.dask.apply(name, image, **properties)
    with pytest.raises(rix.RuleError, match="does not join Feret"):
        rix.dask.measure(image, measures="PixelCount, Feret")
    with pytest.raises(rix.RuleError, match="axes yx"):
        rix.dask.label(image, axes="xt")
    # One chunk is no chunking: one task.
    whole = rix.dask.apply("fill_holes_2d", image.rechunk(-1) > 100)
    assert_same(whole, rix.fill_holes_2d(values(np.uint8, 2) > 100))


def test_huge_arrays_are_planned_without_their_samples():
    image = da.zeros((3200 * 64, 2000 * 64), chunks=(1024, 1024 // 2), dtype=np.uint8)
    smooth = rix.dask.apply("gaussian_filter_2d", image, standard_deviation_x=1, standard_deviation_y=1)
    assert (smooth.shape, smooth.dtype, smooth.npartitions) == (image.shape, np.uint8, 50000)
    assert_same(smooth[100000:100010, 7:9], np.zeros((10, 2), np.uint8))
    # Whole lines make no larger chunks of it.
    lines = rix.dask.apply("recursive_filter", image[:8192], axis="COLUMNS")
    assert max(lines.chunks[1]) == 128000 and np.prod(lines.chunksize) <= 1 << 25


def test_without_dask():
    text = run_script("""
        import sys
        sys.modules["dask"] = None
        import rix
        try:
            rix.dask
        except ImportError as error:
            print(error)
        """)
    assert "rix.dask needs the package dask" in text


CLUSTER = """
    import os, signal, sys, time
    import dask, numpy as np, dask.array as da
    import rix, rix.dask
    from dask.distributed import Client, LocalCluster

    def watched(block, folder, block_info=None):
        # The first worker that has done something ends without a word, once.
        place = block_info[0]["chunk-location"]
        time.sleep(0.01)
        if place == (3, 3):
            try:
                os.close(os.open(os.path.join(folder, "killed"), os.O_CREAT | os.O_EXCL))
            except FileExistsError:
                return block
            os.kill(os.getpid(), signal.SIGKILL)
        return block

    if __name__ == "__main__":
        dask.config.set({"distributed.worker.multiprocessing-method": "spawn"})
        random = np.random.default_rng(3)
        image = (random.random((300, 310)) * 255).astype(np.uint8)
        with LocalCluster(n_workers=2, threads_per_worker=1, processes=True, host="127.0.0.1", dashboard_address=None,
                          local_directory=sys.argv[1]) as cluster, Client(cluster) as client:
            array = da.from_array(image, chunks=(47, 53)).map_blocks(watched, sys.argv[1], dtype=np.uint8)
            smooth = rix.dask.apply("gaussian_filter_2d", array, standard_deviation_x=2, standard_deviation_y=2)
            binary, threshold = rix.dask.apply("auto_thresholding_bright", smooth, threshold_criterion="FACTORISATION")
            labels = rix.dask.label(binary, neighborhood="CONNECTIVITY_8")
            table = rix.dask.measure(labels, array)
            made = dask.compute(smooth, binary, labels, table)
        assert os.path.exists(os.path.join(sys.argv[1], "killed"))
        expected = rix.gaussian_filter_2d(image, 2, 2)
        assert np.array_equal(made[0], expected)
        expected = rix.auto_thresholding_bright(expected, threshold_criterion="FACTORISATION").output_binary_image
        assert np.array_equal(made[1], expected)
        expected = rix.labeling_2d(expected, neighborhood="CONNECTIVITY_8", label_type="LABEL_32_BIT")
        assert np.array_equal(made[2], expected)
        names = "PixelCount, Area, Barycenter, BoundingBox, TouchesBorder, Minimum, Maximum, Mean, Sum"
        expected = rix.label_analysis(expected, image, names)
        assert all(made[3][name].tobytes() == expected[name].tobytes() for name in expected)
        print("equal", expected["Label"].size)
    """


def test_a_cluster_that_loses_a_worker(tmp_path):
    pytest.importorskip("distributed")
    script = tmp_path / "cluster.py"
    script.write_text(textwrap.dedent(CLUSTER))
    done = subprocess.run([sys.executable, str(script), str(tmp_path)], capture_output=True, text=True, timeout=120)
    assert done.returncode == 0, done.stdout + done.stderr
    assert done.stdout.startswith("equal")
