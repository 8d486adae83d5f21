"""Images on disk: opened, made, given to algorithms, and what may go wrong with them."""

import copy
import os
import pickle

import numpy as np
import pytest

import rix
from support import random_array, run_in_threads, run_script

@pytest.fixture
def volume(tmp_path):
    """An image of several chunks, on disk and in memory."""
    image = rix.Image(random_array(np.uint16, (5, 300, 1500)), spacing=(3, 0.5, 0.25), origin=(1, 2, 3),
                      spatial_unit="mm")
    rix.imwrite(tmp_path / "volume.zarr", image)
    with rix.open_image(tmp_path / "volume.zarr") as opened:
        assert np.prod(opened.chunks) < image.array.size
        yield opened, image


def test_parts_are_those_of_the_array(volume):
    opened, image = volume
    array = image.array
    assert opened.shape == array.shape and opened.ndim == 3 and opened.dtype == array.dtype and len(opened) == 5
    assert opened.calibration == image.calibration and opened.interpretation == image.interpretation
    for index in [(), 3, -1, (2, 7), (2, 7, -1), ..., (..., 5), (slice(1, 3), ..., slice(None, None, 7)),
                  (slice(None, None, -2), slice(250, 10, -3), slice(1400, None, -601)), (0, slice(40, 40)),
                  (slice(None), 299, slice(3, None, 700)), np.s_[1:, -20:-1:4, np.int64(11)]]:
        part = opened[index]
        assert part.dtype == array.dtype and isinstance(part, type(array[index]))
        np.testing.assert_array_equal(part, array[index], err_msg=str(index))
    np.testing.assert_array_equal(np.asarray(opened, np.float32), array.astype(np.float32))
    for index in (5, (0, -301), (0, 0, 0, 0), (..., ...), None, True, [1, 2], 1.5, np.zeros((5, 300, 1500), bool)):
        with pytest.raises(IndexError):
            opened[index]


@pytest.mark.parametrize("name", ["a.tif", "a.zarr"])
def test_types_axes_and_calibration(tmp_path, name):
    for array, axes in [(random_array(bool), "yx"), (random_array(np.float32, (3, 2, 4, 9, 8)), "ctzyx"),
                        (random_array(np.uint8, (9, 8, 3)), "yxc")]:
        image = rix.Image(array, axes, color_interpretation="rgb" if axes == "yxc" else "unknown")
        rix.imwrite(tmp_path / name, image)
        read = rix.imread(tmp_path / name)
        with rix.open_image(tmp_path / name) as opened:
            assert opened.axes == read.axes and opened.color_interpretation == read.color_interpretation
            assert opened.dtype == array.dtype and opened.interpretation == read.interpretation
            np.testing.assert_array_equal(np.asarray(opened), read.array)
        with rix.open_image(tmp_path / name, calibration={"spacing": {"x": 7}, "spatial_unit": "um"}) as opened:
            assert opened.spacing[-1] == 7 and opened.spatial_unit == "um"
            assert rix.invert(opened).spacing == opened.spacing
    with pytest.raises(rix.FileError, match="part"):
        rix.open_image(tmp_path / name, select="x=1:3")
    rix.imwrite(tmp_path / "a.png", random_array(np.uint8))
    with pytest.raises(rix.FileError, match="PNG"):
        rix.open_image(tmp_path / "a.png")


def test_only_the_chunks_of_a_part_are_read(tmp_path):
    path = tmp_path / "a.zarr"
    array = random_array(np.uint8, (1000, 3000))
    rix.imwrite(path, array)
    with rix.open_image(path) as opened:
        rows, columns = opened.chunks
    files = [chunk for chunk in (path / "0").rglob("*") if chunk.is_file() and chunk.name[0] != "."]
    kept = [path / "0" / "1" / "0", path / "0" / "1" / "2"]
    assert set(kept) < set(files) and len(files) == -(-1000 // rows) * 3
    for chunk in set(files) - set(kept):
        chunk.write_bytes(b"no chunk")
    with rix.open_image(path) as opened:  # whatever touches another chunk fails
        part = np.s_[rows:2 * rows, :columns]
        np.testing.assert_array_equal(opened[part], array[part])
        far = np.s_[rows:2 * rows:3, 1::2 * columns]
        np.testing.assert_array_equal(opened[far], array[far])
        with pytest.raises(rix.FileError, match="a.zarr"):
            opened[part[0], :columns + 1]
        with pytest.raises(rix.Error):
            rix.invert(opened)
        np.testing.assert_array_equal(opened[part], array[part])


def steps(image, make):
    """A filter along all axes, a threshold, labels, a projection, and what is measured; `make` gives where they go."""
    smooth = rix.gaussian_filter_3d(image, 1, 1, 1, out=make())
    binary = rix.thresholding_by_criterion(smooth, "GREATER_THAN", 50, out=make())
    labels = rix.labeling_3d(binary, out=make())
    mean = rix.projection(image, statistic="MEAN", out=make())
    tables = (rix.label_analysis(labels, image, measures="Volume, Mean"),
              rix.image_statistics(image, measures="Mean, StandardDeviation"))
    return [smooth, binary, labels, mean], tables


def test_runs_give_the_bits_of_memory(volume, tmp_path):
    opened, image = volume
    expected, tables = steps(image, lambda: None)
    for make in (rix.create_image, lambda: None):
        got, measured = steps(opened, make)
        for ours, wanted in zip(got, expected, strict=True):
            assert isinstance(ours, rix.DiskImage if make is rix.create_image else rix.Image)
            assert ours.dtype == wanted.dtype and ours.interpretation == wanted.interpretation
            assert ours.calibration == wanted.calibration
            np.testing.assert_array_equal(np.asarray(ours), wanted.array)
        for ours, wanted in zip(measured, tables, strict=True):
            assert ours.units == wanted.units
            for name in wanted:
                np.testing.assert_array_equal(ours[name], wanted[name])
    np.testing.assert_array_equal(np.asarray(rix.box_filter_2d(image.array, 3, 3, out=rix.create_image())),
                                  rix.box_filter_2d(image.array, 3, 3))
    box = rix.BoxFilter2d(input_image=opened, kernel_size_x=3, kernel_size_y=5)
    for name, options in [("a.zarr", {"pyramid": True}), ("a.tif", {"compression": "deflate"})]:
        with rix.create_image(tmp_path / name, **options) as result:
            box.output_image = result
            assert box.run() is result and not (tmp_path / name).exists()
        read = rix.imread(tmp_path / name)
        np.testing.assert_array_equal(read.array, rix.box_filter_2d(image.array, 3, 5))
        assert read.spacing == image.spacing
    assert rix.imread(tmp_path / "a.zarr", select="level=1").shape == (5, 150, 750)
    picture = rix.Image(random_array(np.uint8, (20, 30, 3)), "yxc")
    assert rix.invert(picture, out=rix.create_image()).axes == "yxc"
    rix.imwrite(tmp_path / "copy.tif", opened)
    np.testing.assert_array_equal(rix.imread(tmp_path / "copy.tif").array, image.array)


def test_what_is_not_completed_leaves_nothing(volume, tmp_path):
    opened, image = volume
    before = os.listdir(tmp_path)
    for name in ("a.zarr", "a.tif"):
        with pytest.raises(ZeroDivisionError), rix.create_image(tmp_path / name) as result:
            rix.invert(opened, out=result)
            1 / 0
        assert result.closed
        result = rix.create_image(tmp_path / name)

        def stop(progress):
            raise ZeroDivisionError

        rix.invert(opened, out=result)
        with pytest.raises(ZeroDivisionError):  # half of what is there may be that of the second run
            rix.invert(opened, out=result, progress=stop)
        with pytest.raises(rix.RunError, match="no operation completed it"):
            result.close()
        result = rix.create_image(tmp_path / name)
        rix.invert(opened, out=result)
        del result
        assert os.listdir(tmp_path) == before
    with pytest.raises(rix.RuleError, match="PNG cannot hold"):
        rix.invert(opened, out=rix.create_image(tmp_path / "a.png"))
    with pytest.raises(rix.FileError, match="no format"):
        rix.create_image(tmp_path / "a.unknown")
    with pytest.raises(rix.RuleError, match="temporary"):
        rix.create_image(compression="zstd")


def test_what_is_closed_in_use_or_for_reading_is_refused(volume, tmp_path):
    opened, image = volume
    invert = rix.Invert(input_image=opened, output_image=rix.create_image())
    with pytest.raises(rix.RunError, match="no samples"):
        np.asarray(invert.output_image)
    for what in (pickle.dumps, copy.copy):
        with pytest.raises(rix.DataTypeError, match="path"):
            what(opened)
    with pytest.raises(rix.RuleError, match="for reading"):
        rix.invert(image, out=opened)
    invert.run()
    with pytest.raises(rix.RunError, match="in use"):
        rix.invert(invert.output_image, out=invert.output_image)
    refused = []

    def meddle(progress):
        for action in (opened.close, invert.output_image.close, lambda: invert.output_image[0]):
            with pytest.raises(rix.RunError) as refusal:
                action()
            refused.append(str(refusal.value))
        opened[0, 0]  # readers don't mind each other

    invert.run(progress=meddle)
    assert refused and all("in use" in text or "being written" in text for text in refused)
    assert "volume.zarr" in repr(opened) and "x=1500" in repr(opened)
    opened.close()
    opened.close()
    assert opened.closed and "closed" in repr(opened)
    for action in (invert.run, lambda: opened[0], lambda: opened.shape, lambda: rix.invert(image, out=opened)):
        with pytest.raises(rix.RunError, match="closed"):
            action()
    with pytest.raises(rix.FileError, match="no.such"):
        rix.open_image(tmp_path / "no.such.zarr")


def test_threads_share_an_image(volume):
    opened, image = volume
    expected = rix.invert(image).array

    def work(number):
        for turn in range(10):
            plane = (number + turn) % 5
            np.testing.assert_array_equal(opened[plane, ::3], image.array[plane, ::3])
            np.testing.assert_array_equal(rix.invert(opened).array, expected)

    run_in_threads(6, work)


def test_ctrl_c_ends_the_completion_which_can_be_repeated(tmp_path):
    path = tmp_path / "a.tif"
    told = run_script("""
        import os, signal, sys, numpy as np, rix
        array = np.random.default_rng(1).integers(0, 255, (3000, 3000)).astype(np.uint8)
        result = rix.create_image(sys.argv[1], compression="deflate")
        rix.invert(array, out=result)
        signal.signal(signal.SIGALRM, signal.default_int_handler)
        signal.setitimer(signal.ITIMER_REAL, 1e-3)
        try:
            result.close()
        except KeyboardInterrupt:
            print(os.path.exists(sys.argv[1]), result.closed)
        result.close()
        print(np.array_equal(rix.imread(sys.argv[1]).array, rix.invert(array)))
    """, str(path))
    assert told.split() == ["False", "False", "True"]
    assert os.listdir(tmp_path) == ["a.tif"]


def test_the_interpreter_ends_with_open_images(volume, tmp_path):
    path = tmp_path / "volume.zarr"
    before = os.listdir(tmp_path)
    told = run_script("""
        import sys, rix
        opened = rix.open_image(sys.argv[1])
        results = [rix.create_image(sys.argv[1] + name) for name in (".zarr", ".tif")] + [rix.create_image()]
        for result in results:
            rix.invert(opened, out=result)
        cycle = [opened, results]
        cycle.append(cycle)
        rix.kept = cycle
        print(opened[0, 0, 0])
    """, str(path))
    assert int(told) == volume[1].array[0, 0, 0]
    assert os.listdir(tmp_path) == before
