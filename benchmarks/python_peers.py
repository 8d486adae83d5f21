#!/usr/bin/python3
"""How fast the Python package is beside NumPy, SciPy, scikit-image and OpenCV, in one process, and what a call costs
beside C++.

    PYTHONPATH=build/release/python benchmarks/python_peers.py [--calls build/bench/bin/bench_small_runs] [FAMILY...]

A line for each operation: milliseconds (the least of some runs) of ours with one thread and with all, of the peer, and
peer / ours for both. Both make new results every time. With --calls also a line for each small operation: microseconds of
a call on 64x64 in Python and of the run in C++.
"""

import argparse
import importlib.util
import json
import subprocess
import time

import numpy as np

import rix


def best(function, seconds):
    """The least time of a call, in seconds: at least three calls after one that warms up; one alone if it takes long."""
    start = time.perf_counter()
    function()
    first = time.perf_counter() - start
    if first > 3.0:
        return first
    times = []
    end = time.perf_counter() + seconds
    while len(times) < 3 or time.perf_counter() < end:
        start = time.perf_counter()
        function()
        times.append(time.perf_counter() - start)
    return min(times)


def blobs(shape):
    """Smooth noise above its median: objects of all sizes. As bool, and the noise as uint8."""
    noise = np.random.default_rng(1).integers(0, 255, shape, dtype=np.uint8)
    box = rix.box_filter_2d if len(shape) == 2 else rix.box_filter_3d
    smooth = box(noise, *(9,) * len(shape), auto_scale=True)
    return smooth > np.median(smooth) + 4, noise


def hills(shape):
    """Hills some 200 pixels apart with noise of 32 levels, as uint8."""
    grid = np.indices(shape, sparse=True)
    hill = 120 + 60 * np.sin(grid[-1] / 37 + (grid[0] / 29 if len(shape) == 3 else 0)) * np.cos(grid[-2] / 53)
    return (hill + np.random.default_rng(4).integers(0, 32, shape)).astype(np.uint8)


def discs(side, cell):
    """Labelled discs of several sizes, one in each square."""
    at = np.arange(side)
    distance = ((at % cell + 0.5 - cell / 2) ** 2)
    number = at[:, None] // cell * (side // cell + 1) + at[None, :] // cell + 1
    radius = cell * (0.3 + 0.02 * (number * 7 % 11))
    whole = (at // cell < side // cell)[:, None] & (at // cell < side // cell)[None, :]
    return np.where((distance[:, None] + distance[None, :] < radius**2) & whole, number, 0).astype(np.int32)


# The 2D measures that both have. The last ones are made of the values of each object.
ALL_MEASURES = ("Area, BoundingBox, Barycenter, Perimeter, EquivalentDiameter, SecondMoments, PrincipalAxes, Orientation, "
                "FeretMaximum, ConvexArea, Solidity, EulerNumber, Extent, Minimum, Maximum, Mean, WeightedBarycenter, Sum, "
                "StandardDeviation, Median, Percentile(5), Percentile(95)")
ALL_PROPERTIES = ("label", "area", "bbox", "centroid", "perimeter_crofton", "equivalent_diameter_area", "inertia_tensor",
                  "axis_major_length", "axis_minor_length", "orientation", "feret_diameter_max", "area_convex", "solidity",
                  "euler_number", "extent", "intensity_min", "intensity_max", "intensity_mean", "centroid_weighted")


def made_of_values(region, grey):
    values = grey[region]
    return np.array((values.sum(), values.std(), *np.percentile(values, (50, 5, 95))))


def select_regions(labels):
    """What is large and round, as labels."""
    from skimage import measure, util
    table = measure.regionprops_table(labels, properties=("label", "area", "perimeter_crofton"))
    with np.errstate(divide="ignore"):
        stays = (table["area"] > 100) & (4 * np.pi * table["area"] / table["perimeter_crofton"] ** 2 > 0.5)
    return util.map_array(labels, table["label"], np.where(stays, table["label"], 0))


def paint_areas(labels):
    from skimage import measure, util
    table = measure.regionprops_table(labels, properties=("label", "area"))
    return util.map_array(labels, table["label"], table["area"].astype(np.float32))


def overlap_by_unique(first, second):
    """Pairs and their counts, and the sizes of both."""
    both = (first.ravel().astype(np.int64) << 32) | second.ravel()
    return [np.unique(values, return_counts=True) for values in (both, first, second)]


def families():
    from scipy import ndimage
    from skimage import feature, filters, measure, morphology, restoration, segmentation

    objects, bytes_ = discs(4096, 40), np.random.default_rng(2).integers(1, 255, (4096, 4096), dtype=np.uint8)
    yield "measures", "4096x4096, 10404", "skimage.measure.regionprops_table, the same list", (
        lambda threads: rix.label_analysis(objects.view(np.uint32), bytes_, ALL_MEASURES, threads=threads),
        lambda: measure.regionprops_table(objects, bytes_, ALL_PROPERTIES, extra_properties=(made_of_values,)))

    for image in (bytes_, bytes_.astype(np.float32)):
        moved = {
            "numpy.transpose, copied": (rix.permute_axes, lambda a: np.ascontiguousarray(a.T), {}),
            "numpy.flip, copied": (rix.flip, lambda a: np.ascontiguousarray(np.flip(a, 1)), {}),
            "numpy.roll": (rix.shift, lambda a: np.roll(a, (-700, 1000), (0, 1)), dict(offset_x=1000, offset_y=-700)),
            "numpy.pad, symmetric": (rix.pad, lambda a: np.pad(a, ((64, 0), (64, 0)), "symmetric"),
                                     dict(before_columns=64, before_rows=64, border_policy="MIRROR")),
        }
        for peer, (ours, theirs, options) in moved.items():
            yield "geometry", f"{image.dtype} 4096", peer, (
                lambda threads, image=image, ours=ours, options=options: ours(image, **options, threads=threads),
                lambda image=image, theirs=theirs: theirs(image))

    plane, volume = bytes_[:2048, :2048].astype(np.float32), np.resize(bytes_, (128, 128, 128)).astype(np.float32)
    for image, suffix in ((plane, "2d"), (volume, "3d")):
        turn = np.eye(image.ndim)
        turn[-2:, -2:] = [[np.cos(0.2), np.sin(0.2)], [-np.sin(0.2), np.cos(0.2)]]
        text = ";".join(",".join(map(repr, [*row, 0.0])) for row in turn[::-1, ::-1].tolist())
        factors = {f"factor_{axis}": 1.5 for axis in "xyz"[:image.ndim]}
        for order, name in ((1, "LINEAR"), (3, "CUBIC_BSPLINE")):
            rows = {
                f"scipy.ndimage.zoom 1.5, order {order}": (
                    f"rescale_{suffix}", dict(mode="FACTORS", **factors, interpolation=name),
                    lambda a, order=order: ndimage.zoom(a, 1.5, order=order, mode="reflect", grid_mode=True)),
                f"scipy.ndimage.affine_transform, order {order}": (
                    f"affine_transform_{suffix}", dict(matrix=text, direction="BACKWARD", interpolation=name),
                    lambda a, order=order, turn=turn: ndimage.affine_transform(a, turn, order=order)),
            }
            for peer, (ours, options, theirs) in rows.items():
                yield "resampling", f"float32 {image.shape[0]}^{image.ndim}", peer, (
                    lambda threads, image=image, ours=ours, options=options:
                        getattr(rix, ours)(image, **options, threads=threads),
                    lambda image=image, theirs=theirs: theirs(image))
        yield "resampling", f"float32 {image.shape[0]}^{image.ndim}", "scipy.ndimage.spline_filter", (
            lambda threads, image=image, suffix=suffix:
                getattr(rix, f"b_spline_coefficients_{suffix}")(image, threads=threads),
            lambda image=image: ndimage.spline_filter(image, 3, np.float32, "reflect"))

    cube = np.random.default_rng(4).random((256, 256, 256), dtype=np.float32)
    derived = {
        "scipy.ndimage.gaussian_gradient_magnitude": (
            lambda image, threads: rix.gradient_operator_3d(image, method="GAUSSIAN", standard_deviation=2, threads=threads,
                                                            out={"output_image_x": False, "output_image_y": False,
                                                                 "output_image_z": False}),
            lambda image: ndimage.gaussian_gradient_magnitude(image, 2)),
        "scipy.ndimage.gaussian_laplace": (
            lambda image, threads: rix.laplacian_of_gaussian_3d(image, standard_deviation=2, threads=threads),
            lambda image: ndimage.gaussian_laplace(image, 2)),
        "skimage.feature.hessian_matrix_eigvals, 64 planes": (
            lambda image, threads: rix.hessian_analysis_3d(image[:64], out={"output_eigenvectors_image": False},
                                                           threads=threads),
            lambda image: feature.hessian_matrix_eigvals(feature.hessian_matrix(image[:64], 1, order="xy"))),
    }
    for peer, (ours, theirs) in derived.items():
        yield "edges", "float32 256^3", peer, (lambda threads, ours=ours: ours(cube, threads),
                                               lambda theirs=theirs: theirs(cube))
    flat = bytes_.astype(np.float32)
    yield "edges", "float32 4096^2", "scipy.ndimage.gaussian_gradient_magnitude", (
        lambda threads: rix.gradient_operator_2d(flat, method="GAUSSIAN", standard_deviation=2, threads=threads,
                                                 out={"output_image_x": False, "output_image_y": False,
                                                      "output_orientation_image": False}),
        lambda: ndimage.gaussian_gradient_magnitude(flat, 2))
    yield "edges", "float32 4096^2", "skimage.feature.structure_tensor, eigenvalues", (
        lambda threads: rix.structure_tensor_2d(flat, threads=threads, out={
            "output_eigenvectors_image": False, "output_coherence_image": False, "output_orientation_image": False}),
        lambda: feature.structure_tensor_eigenvalues(feature.structure_tensor(flat, 3, order="xy")))

    words = np.random.default_rng(3).integers(0, 65536, (2048, 2048), dtype=np.uint16)
    for image, side in ((bytes_, 21), (bytes_, 101), (words, 5), (words, 21), (words, 101)):
        window = np.ones((side, side), np.uint8)
        yield "ranks", f"{image.dtype} {side}x{side}", "skimage.filters.rank.median", (
            lambda threads, image=image, side=side: rix.median_filter_2d(image, "RECTANGLE", side, side, threads=threads),
            lambda image=image, window=window: filters.rank.median(image, window))

    for shape, cell in (((2048, 2048), 40), ((160, 160, 160), 16)):
        relief = (ndimage.gaussian_filter(np.random.default_rng(5).standard_normal(shape), 4) * 400 + 128)
        markers = np.zeros(shape, np.int32)
        centres = (slice(cell // 2, None, cell),) * len(shape)
        markers[centres] = 1 + np.arange(markers[centres].size).reshape(markers[centres].shape)
        flat = len(shape) == 2
        flood = rix.marker_based_watershed_2d if flat else rix.marker_based_watershed_3d
        near = {} if flat else {"neighborhood": "CONNECTIVITY_6"}
        for dtype in ((np.uint8, np.uint16, np.float32) if flat else (np.uint8,)):
            image = (relief.clip(0, 255) * (200 if dtype == np.uint16 else 1)).astype(dtype)
            yield "watershed", f"{image.dtype} {'x'.join(map(str, shape))}", "skimage.segmentation.watershed", (
                lambda threads, image=image, flood=flood, markers=markers, near=near: flood(
                    image, markers, threads=threads, **near),
                lambda image=image, markers=markers, flat=flat: segmentation.watershed(
                    image, markers, connectivity=2 if flat else 1))
    touching = discs(2048, 40) > 0
    for _ in range(4):
        touching = ndimage.binary_dilation(touching, np.ones((3, 3)))

    def chain():
        distance = ndimage.distance_transform_edt(touching)
        seeds = measure.label(morphology.h_maxima(distance, 1))
        return segmentation.watershed(-distance, seeds, connectivity=2, mask=touching)

    yield "splitting", "discs 2048x2048", "edt, h_maxima, label, watershed", (
        lambda threads: rix.split_touching_objects_2d(touching, threads=threads), chain)
    yield "hysteresis", "uint8 2048x2048", "skimage.filters.apply_hysteresis_threshold", (
        lambda threads: rix.hysteresis_thresholding_2d(hills((2048, 2048)), 140, 190, "CONNECTIVITY_4", threads=threads),
        lambda: filters.apply_hysteresis_threshold(hills((2048, 2048)), 139, 189))

    page = hills((2048, 2048))
    local = {
        ("cv2.adaptiveThreshold", "MEAN"): None,
        ("skimage.filters.threshold_niblack", "NIBLACK"): lambda: page > filters.threshold_niblack(page, 15, 0.2),
        ("skimage.filters.threshold_sauvola", "SAUVOLA"): lambda: page > filters.threshold_sauvola(page, 15, 0.2),
        ("skimage.filters.threshold_local, gaussian", "GAUSSIAN"): lambda: page > filters.threshold_local(page, 15),
        ("skimage.filters.threshold_local, median", "MEDIAN"): lambda: page > filters.threshold_local(page, 15, "median"),
        ("rix.box_filter_2d", "PHANSALKAR"): lambda: rix.box_filter_2d(page, 15, 15, auto_scale=True, threads=1),
        ("rix.box_filter_2d", "BERNSEN"): lambda: rix.box_filter_2d(page, 15, 15, auto_scale=True, threads=1),
    }
    if importlib.util.find_spec("cv2"):
        cv2 = importlib.import_module("cv2")
        local["cv2.adaptiveThreshold", "MEAN"] = lambda: cv2.adaptiveThreshold(
            page, 1, cv2.ADAPTIVE_THRESH_MEAN_C, cv2.THRESH_BINARY, 15, 0)
    for (peer, method), theirs in local.items():
        if theirs is not None:
            yield "local", f"uint8 2048 {method.lower()}", peer, (
                lambda threads, method=method: rix.local_thresholding_2d(page, method, threads=threads), theirs)
    yield "multi", "uint8 2048 4", "skimage.filters.threshold_multiotsu", (
        lambda threads: rix.multi_level_thresholding(page, 4, threads=threads),
        lambda: np.digitize(page, filters.threshold_multiotsu(page, 4)))
    for shape, channels in (((1024, 1024), 1), ((1024, 1024), 3), ((100, 100, 100), 1)):
        grey = hills(shape)
        colours = np.stack([np.roll(grey, 40 * i, 0) for i in range(channels)], -1) if channels > 1 else grey
        ours = colours if channels == 1 else rix.Image(np.ascontiguousarray(np.moveaxis(colours, -1, 0)), axes="cyx")
        divide = rix.superpixels_2d if len(shape) == 2 else rix.superpixels_3d
        yield "slic", "x".join(map(str, shape)) + f" c{channels}", "skimage.segmentation.slic", (
            lambda threads, ours=ours, divide=divide: divide(ours, 500, threads=threads),
            lambda colours=colours, channels=channels: segmentation.slic(
                colours.astype(np.float32), 500, 10, 10, channel_axis=-1 if channels > 1 else None, convert2lab=False,
                start_label=1))

    specks = ndimage.label(ndimage.gaussian_filter(np.random.default_rng(5).standard_normal((2048, 2048)), 4) > 0.15)[0]
    specks = specks.astype(np.int32) * 3
    tools = {
        "skimage.segmentation.expand_labels": (lambda threads: rix.expand_labels_2d(specks, 10, threads=threads),
                                               lambda: segmentation.expand_labels(specks, 10)),
        "skimage.segmentation.find_boundaries": (lambda threads: rix.label_boundaries_2d(specks, threads=threads),
                                                 lambda: segmentation.find_boundaries(specks, 2, "inner")),
        "skimage.segmentation.relabel_sequential": (lambda threads: rix.relabel_sequential(specks, threads=threads),
                                                    lambda: segmentation.relabel_sequential(specks)),
    }
    others = np.roll(specks, (5, 9), (0, 1))
    whole = specks.view(np.uint32)
    tools |= {
        "skimage.morphology.remove_small_objects": (
            lambda threads: rix.remove_small_objects_2d(specks, 100, threads=threads),
            lambda: morphology.remove_small_objects(specks, 100)),
        "regions of regionprops that are large and round, by map_array": (
            lambda threads: rix.select_objects(whole, formula="Area > 100 and Circularity > 0.5", threads=threads),
            lambda: select_regions(specks)),
        "regionprops_table, map_array": (lambda threads: rix.measure_to_image(whole, threads=threads),
                                         lambda: paint_areas(specks)),
        "contingency by unique": (lambda threads: rix.label_overlap(specks, others, threads=threads),
                                  lambda: overlap_by_unique(specks, others)),
    }
    for peer, calls in tools.items():
        yield "labels", "int32 2048x2048", peer, calls
    yield "labels", "binary 2048x2048", "skimage.morphology.remove_small_objects", (
        lambda threads: rix.remove_small_objects_2d(specks > 0, 100, threads=threads),
        lambda: morphology.remove_small_objects(specks > 0, 100, 2))

    for shape in ((2048, 2048), (160, 160, 160)):
        bumps = ndimage.gaussian_filter(np.random.default_rng(5).standard_normal(shape), 3).astype(np.float32)
        suffix = "2d" if len(shape) == 2 else "3d"
        text = "x".join(map(str, shape))
        yield "detection", f"float32 {text}", "skimage.feature.peak_local_max", (
            lambda threads, bumps=bumps, suffix=suffix: getattr(rix, f"local_peaks_{suffix}")(
                bumps, minimum_distance=5, threads=threads),
            lambda bumps=bumps: feature.peak_local_max(bumps, min_distance=5, threshold_abs=0, exclude_border=False))
        part = bumps[:1024, :1024] if len(shape) == 2 else bumps[:80, :80, :80]
        yield "detection", "float32 " + "x".join(map(str, part.shape)), "skimage.feature.blob_log, 5 scales", (
            lambda threads, part=part, suffix=suffix: getattr(rix, f"blob_detector_{suffix}")(
                part, threshold=0.1, minimum_scale=2, maximum_scale=8, number_of_scales=5, threads=threads),
            lambda part=part: feature.blob_log(part, 2, 8, 5, threshold=0.1, overlap=1, log_scale=True))

    for picture, text in ((hills((512, 512)), "hills"), (bytes_[:512, :512], "noise")):
        for radius in (10, 50):
            yield "background", f"512^2 {text} {radius}", "skimage.restoration.rolling_ball, half of the work", (
                lambda threads, picture=picture, radius=radius: rix.background_correction_2d(
                    picture, radius=radius, threads=threads),
                lambda picture=picture, radius=radius: restoration.rolling_ball(picture, radius=radius, num_threads=1))

    for shape in ((2048, 2048), (256, 256, 256)):
        dimensions = len(shape)
        mask, grey = blobs(shape)
        text = "x".join(map(str, shape))
        label = rix.labeling_2d if dimensions == 2 else rix.labeling_3d
        box = rix.box_filter_2d if dimensions == 2 else rix.box_filter_3d
        full = "CONNECTIVITY_8" if dimensions == 2 else "CONNECTIVITY_26"
        labels = label(mask, "LABEL_32_BIT", full).view(np.int32)
        measures = "Area, Barycenter, Mean" if dimensions == 2 else "Volume, Barycenter, Mean"

        def by_index(labels, grey):
            index = np.arange(1, labels.max() + 1)
            return (ndimage.sum(labels > 0, labels, index), ndimage.center_of_mass(labels > 0, labels, index),
                    ndimage.mean(grey, labels, index))

        def regions(labels, grey):
            return measure.regionprops_table(labels, grey, properties=("area", "centroid", "intensity_mean"))

        ones = np.ones((3,) * dimensions)
        yield "labeling", text, "scipy.ndimage.label", (
            lambda threads: label(mask, "LABEL_32_BIT", full, threads=threads), lambda: ndimage.label(mask, ones))
        yield "labeling", text, "skimage.measure.label", (
            lambda threads: label(mask, "LABEL_32_BIT", full, threads=threads), lambda: measure.label(mask))
        sizes = (7,) * dimensions
        yield "uniform", text, "scipy.ndimage.uniform_filter", (
            lambda threads: box(grey, *sizes, auto_scale=True, threads=threads),
            lambda: ndimage.uniform_filter(grey, sizes))
        median = rix.median_filter_2d if dimensions == 2 else rix.median_filter_3d
        extents = {f"kernel_size_{axis}": 3 for axis in "xyz"[:dimensions]}
        yield "median", text + " 3", "scipy.ndimage.median_filter", (
            lambda threads: median(grey, **extents, threads=threads), lambda: ndimage.median_filter(grey, 3))
        yield "otsu", text, "skimage.filters.threshold_otsu", (
            lambda threads: rix.auto_thresholding_value(grey, threshold_criterion="FACTORISATION", threads=threads),
            lambda: filters.threshold_otsu(grey))
        maxima = rix.regional_maxima_2d if dimensions == 2 else rix.regional_maxima_3d
        yield "maxima", text, "skimage.morphology.local_maxima", (
            lambda threads: maxima(grey, threads=threads), lambda: morphology.local_maxima(grey))
        lower = hills(shape)
        flatten = rix.h_maxima_2d if dimensions == 2 else rix.h_maxima_3d
        yield "flood", text, "skimage.morphology.reconstruction", (
            lambda threads: flatten(lower, 20, threads=threads),
            lambda: morphology.reconstruction(lower - 20, lower, footprint=ones))
        fill = rix.fill_holes_2d if dimensions == 2 else rix.fill_holes_3d
        yield "holes", text, "scipy.ndimage.binary_fill_holes", (
            lambda threads: fill(mask, threads=threads), lambda: ndimage.binary_fill_holes(mask))
        thin, peer = ((rix.skeleton_2d, morphology.skeletonize) if dimensions == 2
                      else (rix.skeleton_3d, morphology.skeletonize_3d))
        yield "skeletons", text, f"skimage.morphology.{peer.__name__}", (
            lambda threads: thin(mask, threads=threads), lambda: peer(mask))
        measure_distances = rix.distance_map_2d if dimensions == 2 else rix.distance_map_3d
        spaced = rix.Image(mask, spacing=dict(zip("xyz"[:dimensions], (0.7, 0.8, 2.5))))
        sizes_of = rix.granulometry_2d if dimensions == 2 else rix.granulometry_3d
        balls = [sum(axis ** 2 for axis in np.meshgrid(*[np.arange(-r, r + 1)] * dimensions)) <= r * r for r in (1, 2, 3)]
        yield "shapes", text + " sizes", "scipy.ndimage.grey_opening, 3 times", (
            lambda threads: sizes_of(grey, 3, threads=threads),
            lambda: [ndimage.grey_opening(grey, footprint=ball).sum() for ball in balls])
        if dimensions == 2:
            corner = np.array([[0, 0, 0], [0, 1, 1], [0, 1, 1]], np.uint8)
            outside = np.array([[1, 1, 0], [1, 0, 0], [0, 0, 0]], np.uint8)
            yield "shapes", text + " hit", "scipy.ndimage.binary_hit_or_miss", (
                lambda threads: rix.hit_or_miss_2d(mask, corner, outside, threads=threads),
                lambda: ndimage.binary_hit_or_miss(mask, corner, outside))
            yield "shapes", text + " hull", "skimage.morphology.convex_hull_image", (
                lambda threads: rix.convex_hull_of_objects_2d(mask, threads=threads),
                lambda: morphology.convex_hull_image(mask, offset_coordinates=False))
        far = {"out": {"output_nearest_image": False}}
        yield "distances", text, "scipy.ndimage.distance_transform_edt", (
            lambda threads: measure_distances(mask, threads=threads, **far),
            lambda: ndimage.distance_transform_edt(mask))
        yield "distances", text + " world", "scipy.ndimage.distance_transform_edt", (
            lambda threads: measure_distances(spaced, length_unit="WORLD", threads=threads, **far),
            lambda: ndimage.distance_transform_edt(mask, (2.5, 0.8, 0.7)[-dimensions:]))
        yield "distances", text + " cdt", "scipy.ndimage.distance_transform_cdt", (
            lambda threads: measure_distances(mask, "CHESSBOARD", threads=threads, **far),
            lambda: ndimage.distance_transform_cdt(mask))
        yield "distances", text + " nearest", "scipy.ndimage.distance_transform_edt, indices", (
            lambda threads: measure_distances(mask, threads=threads),
            lambda: ndimage.distance_transform_edt(mask, return_indices=True))
        if dimensions == 2 and importlib.util.find_spec("cv2"):
            cv2 = importlib.import_module("cv2")
            bytes_of_mask = mask.astype(np.uint8)
            for kind, metric, size in (("EUCLIDEAN", cv2.DIST_L2, cv2.DIST_MASK_PRECISE), ("CHAMFER", cv2.DIST_L2, 5),
                                       ("CITY_BLOCK", cv2.DIST_L1, 3)):
                yield "distances", text + " " + kind.lower(), "cv2.distanceTransform", (
                    lambda threads, kind=kind: measure_distances(mask, kind, threads=threads, **far),
                    lambda metric=metric, size=size: cv2.distanceTransform(bytes_of_mask, metric, size))
        yield "regions", text, "skimage.measure.regionprops_table", (
            lambda threads: rix.label_analysis(labels.view(np.uint32), grey, measures, threads=threads),
            lambda: regions(labels, grey))
        yield "regions", text, "scipy.ndimage (three functions)", (
            lambda threads: rix.label_analysis(labels.view(np.uint32), grey, measures, threads=threads),
            lambda: by_index(labels, grey))


def print_peers(wanted, seconds):
    print(f"{'operation':11}{'image':16}{'ours 1T':>10}{'ours':>10}{'peer':>10}{'peer/1T':>9}{'peer/ours':>10}  peer (ms)")
    for family, text, peer, (ours, theirs) in families():
        if wanted and family not in wanted:
            continue
        one, many, other = (1e3 * best(call, seconds) for call in (lambda: ours(1), lambda: ours(None), theirs))
        print(f"{family:11}{text:16}{one:10.2f}{many:10.2f}{other:10.1f}{other / one:9.1f}{other / many:10.1f}  {peer}",
              flush=True)


def print_calls(program):
    report = json.loads(subprocess.run([program, "--benchmark_format=json", "--benchmark_min_time=0.1"],
                                       capture_output=True, check=True).stdout)
    image = np.random.default_rng(1).integers(0, 255, (64, 64), dtype=np.uint8)
    mask = image > 128
    calls = {"thresholding_by_criterion": lambda: rix.thresholding_by_criterion(image, "GREATER_THAN", 128),
             "box_filter_2d": lambda: rix.box_filter_2d(image, 5, 5), "labeling_2d": lambda: rix.labeling_2d(mask)}
    print(f"{'call on 64x64':30}{'Python':>10}{'C++':>10}{'more':>10}  (us)")
    for run in report["benchmarks"]:
        call = calls[run["name"]]

        def hundred():
            for _ in range(100):
                call()

        python = 1e4 * best(hundred, 0.3)
        print(f"{run['name']:30}{python:10.2f}{run['real_time']:10.2f}{python - run['real_time']:10.2f}")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("families", nargs="*", metavar="FAMILY",
                        help="measures, geometry, resampling, ranks, local, multi, slic, background, labeling, uniform, "
                             "median, otsu, maxima, flood, holes, skeletons, shapes, distances, ways, regions; unless "
                             "given, all")
    parser.add_argument("--calls", metavar="PROGRAM", help="also compare calls on 64x64 with this program's runs")
    parser.add_argument("--seconds", type=float, default=0.2, help="for each time, at least")
    options = parser.parse_args()
    if options.calls:
        print_calls(options.calls)
    if options.families or not options.calls:
        print_peers(options.families, options.seconds)


if __name__ == "__main__":
    main()
