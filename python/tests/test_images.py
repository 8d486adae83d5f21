"""How arrays become images and images arrays: addresses, layouts, axes, types, calibration."""

import warnings

import numpy as np
import pytest

import rix
from rix import _rix
from support import EXAMPLES, random_array, run_script

DTYPES = [bool, np.uint8, np.int8, np.uint16, np.int16, np.uint32, np.int32, np.float32, np.float64, np.complex64,
          np.complex128]


def identity(array, **options):
    """The same image once more: every type passes, and each sample is read and written."""
    kind = "COMPLEX_FLOAT_64_BIT" if np.asarray(array).dtype.kind == "c" else "FLOAT_64_BIT"
    return rix.convert_image(array, kind, **options)


def is_read_in_place(array, axes="zyx"):
    return _rix.input_address(array, axes) == array.__array_interface__["data"][0]


@pytest.mark.parametrize("dtype", DTYPES)
def test_layouts(dtype):
    base = random_array(dtype, (6, 8, 10))
    in_place = {"contiguous": base, "planes and rows swapped": base.transpose(1, 0, 2), "every other row": base[:, ::2],
                "upside down": base[:, ::-1], "part": base[1:4, 2:5, 3:7], "one column": base[:, :, :1],
                "broadcast": np.broadcast_to(base[0], (3, 8, 10))}
    copied = {"transposed": base.T, "mirrored": base[:, :, ::-1], "every other column": base[:, :, ::2],
              "fortran": np.asfortranarray(base)}
    if base.itemsize > 1:
        copied["foreign byte order"] = base.astype(base.dtype.newbyteorder())
        copied["unaligned"] = np.frombuffer(b"x" + base.tobytes(), np.uint8)[1:].view(dtype).reshape(base.shape)
    for name, array in {**in_place, **copied}.items():
        array.flags.writeable = False
        assert is_read_in_place(array) == (name in in_place), name
        np.testing.assert_array_equal(identity(array), array.astype(identity(array).dtype), err_msg=name)
    assert is_read_in_place(rix.Image(base).array) and is_read_in_place(np.moveaxis(base, 2, 0), "xzy")
    assert _rix.input_address(rix.Image(base), "") == _rix.input_address(base, "")


def test_outputs_own_the_library_s_buffer():
    array = random_array(np.uint8)
    result = rix.box_filter_2d(array, 3, 3)
    assert not result.flags.owndata and type(result.base).__name__ == "PyCapsule" and result.flags.writeable
    box = rix.BoxFilter2d(input_image=array, kernel_size_x=3, kernel_size_y=3)
    address = box.run().__array_interface__["data"][0]
    assert box.run().__array_interface__["data"][0] == address  # nobody kept it: the memory is used again
    kept = box.run()
    before = kept.copy()
    box.kernel_size_x = 5
    assert box.run().__array_interface__["data"][0] != kept.__array_interface__["data"][0]
    np.testing.assert_array_equal(kept, before)


def test_out_takes_the_samples():
    array = random_array(np.uint8, (30, 40))
    expected = rix.box_filter_2d(array, 3, 3)
    frame = np.full((50, 60), 7, np.uint16)
    out = frame[10:40, 5:45]
    assert rix.box_filter_2d(array, 3, 3, out=out) is out
    np.testing.assert_array_equal(out, expected)
    frame[10:40, 5:45] = 7
    assert (frame == 7).all()  # nothing was written beside it
    mask = np.zeros((30, 40), bool)
    binary, measurement = rix.auto_thresholding_bright(array, out={"output_binary_image": mask})
    assert binary is mask and mask.any()
    assert rix.auto_thresholding_bright(array, out=(mask,)).output_binary_image is mask
    image = rix.Image(np.zeros((30, 40), np.uint16))
    given = rix.Image(array, spacing=(2, 3), spatial_unit="mm")
    assert rix.box_filter_2d(given, 3, 3, out=image) is image
    assert image.spacing == (2, 3) and image.spatial_unit == "mm"
    readonly = expected.copy()
    readonly.flags.writeable = False
    refused = [(np.zeros((30, 41), np.uint16), "41 columns"), (np.zeros((30, 40), np.uint8), "result is uint16"),
               (np.zeros((40, 30), np.uint16).T, "contiguous rows"), (readonly, "read-only")]
    for wrong, text in refused:
        with pytest.raises(rix.RuleError, match=text):
            rix.box_filter_2d(array, 3, 3, out=wrong)
    with pytest.raises(rix.RuleError, match="no result is one"):
        rix.intensity_extrema(array, out=expected)


def test_results_over_their_inputs():
    array = random_array(np.uint8, (64, 64))
    expected = rix.thresholding_by_criterion(array, "GREATER_THAN", 50)
    memory = array.copy()
    rix.thresholding_by_criterion(memory, "GREATER_THAN", 50, out=memory)
    np.testing.assert_array_equal(memory, expected)
    # An output that lies over a part of an input must not be read while it is written.
    for target, source in [(slice(1, None), slice(None, -1)), (slice(None, -1), slice(1, None))]:
        memory = random_array(np.uint16, (300, 200))
        expected = rix.convert_image(memory[source].copy(), "SIGNED_INTEGER_16_BIT")
        rix.convert_image(memory[source], "SIGNED_INTEGER_16_BIT", out=memory.view(np.int16)[target])
        np.testing.assert_array_equal(memory.view(np.int16)[target], expected)


def test_no_copies_in_memory():
    """A run on 64 MiB with its result given costs next to nothing beside; without one, the result."""
    text = """
        import numpy as np, rix
        def peak():
            return int([line for line in open('/proc/self/status') if line.startswith('VmHWM')][0].split()[1]) / 1024
        def reset():
            open('/proc/self/clear_refs', 'w').write('5')
        small = np.ones((200, 200), np.uint8)
        image = np.full((8192, 8192), 3, np.uint8)
        out = np.empty(image.shape, bool)
        out[:] = True
        def cost(array, **options):
            rix.thresholding_by_criterion(small, 'GREATER_THAN', 2, threads=2)
            reset()
            before = peak()
            kept = rix.thresholding_by_criterion(array, 'GREATER_THAN', 2, **options)
            return peak() - before
        print(cost(image, out=out), cost(image[::-1], out=out), cost(image), cost(rix.Image(image), out=out))
    """
    in_place, flipped, made, wrapped = map(float, run_script(text).split())
    assert max(in_place, flipped, wrapped) < 16
    assert 56 < made < 80


def test_axes():
    movie = random_array(np.uint8, (3, 2, 4, 5, 6))
    expected = np.stack([[rix.box_filter_2d(movie[t, c], 3, 3) for c in range(2)] for t in range(3)])
    np.testing.assert_array_equal(rix.box_filter_2d(movie, 3, 3, axes="tczyx"), expected)
    # The result has the order of the input, whatever that is, also where the input had to be copied.
    for order in [(1, 0, 2, 3, 4), (2, 3, 4, 0, 1), (4, 3, 2, 1, 0)]:
        axes = "".join("tczyx"[axis] for axis in order)
        np.testing.assert_array_equal(rix.box_filter_2d(movie.transpose(order), 3, 3, axes=axes),
                                      expected.transpose(order))
    # Frames are thresholded each on its own, planes are one volume: an axis is what it is said to be.
    stack = random_array(np.uint8, (4, 20, 20))
    assert len(rix.auto_thresholding_value(stack)["threshold"]) == 1
    assert len(rix.auto_thresholding_value(stack, axes="tyx")["threshold"]) == 4
    assert rix.labeling_3d(stack[:1]).shape == (1, 20, 20)
    # Named axes speak for arrays of as many dimensions.
    assert rix.mask_image(stack, stack, axes="tyx").shape == stack.shape
    for wrong, axes, text in [(movie, None, "5 dimensions"), (stack[0, 0], None, "1 dimensions"),
                              (movie, "zyx", "names 3"), (stack, "zyq", "'q'"), (stack, "yyx", "twice")]:
        with pytest.raises(rix.RuleError, match=text):
            rix.box_filter_2d(wrong, 3, 3, axes=axes)


@pytest.mark.parametrize("dtype,advice", [(np.int64, "int32"), (np.uint64, "uint32"), (np.float16, "float32"),
                                          (np.longdouble, "float64"), (object, ""), ("U3", ""), ("M8[s]", "")])
def test_types_that_images_do_not_have(dtype, advice):
    with pytest.raises(rix.DataTypeError, match=f"can't be an image.*{advice}"):
        rix.box_filter_2d(np.zeros((3, 3), dtype), 3, 3)


def test_labels_of_others():
    labels = np.array([[0, 70000, 70000], [2, 0, 0]])
    wanted = rix.label_analysis(labels.astype(np.uint32), measures="PixelCount")
    for dtype in (np.int32, np.int64, np.uint64):
        assert rix.label_analysis(labels.astype(dtype), measures="PixelCount")["PixelCount"].tolist() == [1, 2]
    np.testing.assert_array_equal(rix.label_analysis(labels, measures="PixelCount")["Label"], wanted["Label"])
    for wrong in (-labels, labels + 2**32, np.array([[2**64 - 1]], np.uint64)):
        with pytest.raises(rix.DataTypeError, match="input_label_image: labels are whole numbers from 0 to 4294967295"):
            rix.label_analysis(wrong, measures="PixelCount")


def test_what_is_no_image():
    masked = np.ma.masked_equal(random_array(np.uint8), 3)
    for wrong, text in [(masked, "mask"), ("coins.png", "str"), (3, "int")]:
        with pytest.raises(rix.DataTypeError, match=text):
            rix.box_filter_2d(wrong, 3, 3)
    # Whatever has the buffer protocol can be one.
    array = random_array(np.uint8)
    np.testing.assert_array_equal(rix.box_filter_2d(memoryview(array), 3, 3), rix.box_filter_2d(array, 3, 3))


def test_image_carries_calibration():
    array = random_array(np.uint8, (5, 6, 7))
    image = rix.Image(array, spacing={"z": 3, "x": 0.5}, origin=(1, 2, 3), spatial_unit="mm",
                      directions=[[0, 1, 0], [1, 0, 0], [0, 0, 1]])
    assert image.array is array and np.asarray(image) is array and image.spacing == (3, 1, 0.5)
    result = rix.thresholding_by_criterion(image, "GREATER_THAN", 50)
    assert isinstance(result, rix.Image) and result.calibration == image.calibration
    assert result.interpretation == rix.Interpretation.BINARY and result.dtype == bool
    labels = rix.labeling_3d(result)
    assert labels.interpretation == rix.Interpretation.LABEL and labels.calibration == image.calibration
    table = rix.label_analysis(labels, measures="Volume")
    np.testing.assert_allclose(table["Volume"], np.bincount(labels.array.ravel())[1:] * 1.5)
    assert table.units["Volume"] == "mm^3"
    for arguments, text in [({"axes": "yx"}, "names 2"), ({"spacing": (1, 2)}, "2 values"),
                            ({"spacing": {"t": 1}}, "no axis t"), ({"interpretation": "labels"}, "LABEL"),
                            ({"directions": [1, 2, 3]}, "three vectors")]:
        with pytest.raises(rix.RuleError, match=text):
            rix.Image(array, **arguments)


def test_xarray():
    xarray = pytest.importorskip("xarray")
    array = random_array(np.uint8, (3, 20, 30))
    given = xarray.DataArray(array, dims=("time", "row", "column"), name="cells",
                             coords={"time": [0.0, 1.0, 5.0], "row": ("row", np.arange(20) * 0.5, {"units": "um"}),
                                     "column": np.arange(30) * 0.25 + 7, "stain": ("time", ["a", "b", "c"])},
                             attrs={"microscope": "M1"})
    result = rix.thresholding_by_criterion(given, "GREATER_THAN", 50)
    assert result.dims == given.dims and result.attrs == {"microscope": "M1", "interpretation": "binary"}
    xarray.testing.assert_identical(result.coords.to_dataset(), given.coords.to_dataset())
    np.testing.assert_array_equal(result.data, array > 50)
    assert result.name == "cells"
    labels = rix.labeling_2d(result)
    table = rix.label_analysis(labels, measures="Area")
    np.testing.assert_allclose(table["Area"], np.concatenate(
        [np.bincount(plane.ravel())[1:] for plane in labels.data]) * 0.125)
    assert table.units["Area"] == "um^2" and set(table["Frame"]) == {0, 1, 2}
    with pytest.raises(rix.RuleError, match="'weight'"):
        rix.box_filter_2d(xarray.DataArray(array, dims=("weight", "y", "x")), 3, 3)
    uneven = xarray.DataArray(array[0], dims=("y", "x"), coords={"x": np.arange(30) ** 2})
    with pytest.raises(rix.RuleError, match="evenly spaced"):
        rix.box_filter_2d(uneven, 3, 3)


def test_files(tmp_path):
    coins = rix.imread(EXAMPLES / "images" / "coins.png")
    assert coins.axes == "yx" and coins.dtype == np.uint8
    labels = rix.Image(random_array(np.uint16, (2, 3, 4)), "tyx", spacing=(1, 0.5, 0.25), spatial_unit="mm",
                       interpretation="label")
    rix.imwrite(tmp_path / "labels.tif", labels, compression="deflate")
    back = rix.imread(tmp_path / "labels.tif")
    np.testing.assert_array_equal(back, labels)
    assert back.axes == "tyx" and back.interpretation == labels.interpretation and back.spacing[1:] == (0.5, 0.25)
    mask = random_array(bool)
    rix.imwrite(str(tmp_path / "mask.png"), mask)
    again = rix.imread(tmp_path / "mask.png")
    assert again.dtype == bool and (again.array == mask).all()
    for call in (lambda: rix.imwrite(tmp_path / "a.jpg", mask), lambda: rix.imwrite(tmp_path / "no" / "a.png", mask),
                 lambda: rix.imwrite(tmp_path / "a.png", random_array(np.float32)), lambda: rix.imread(tmp_path)):
        with pytest.raises(rix.FileError, match=str(tmp_path)):
            call()
    with pytest.raises(rix.RuleError, match="lzw"):
        rix.imwrite(tmp_path / "a.tif", mask, compression="zip")


def test_overlay(tmp_path):
    grey = np.full((40, 50), 90, np.uint8)
    labels = np.zeros((40, 50), np.int32)
    labels[10:20, 10:30] = 1
    drawn = rix.overlay(grey, labels)
    picture = drawn.array
    rix.imwrite(tmp_path / "drawn.png", drawn)
    np.testing.assert_array_equal(rix.imread(tmp_path / "drawn.png").transpose("yxc"), picture)
    assert picture.shape == (40, 50, 3) and picture.dtype == np.uint8
    drawn = (picture != picture[0, 0]).any(axis=2)
    outline = labels == 1
    outline[11:19, 11:29] = False
    np.testing.assert_array_equal(drawn, outline)
    np.testing.assert_array_equal((rix.overlay(grey, labels > 0).array != picture[0, 0]).any(axis=2), outline)
    colour = np.dstack([grey, grey, grey])
    assert rix.overlay(rix.Image(colour, "yxc", color_interpretation="rgb"), labels).shape == picture.shape
    rix.imwrite(tmp_path / "o.png", picture, axes="yxc", color_interpretation="rgb")
    back = rix.imread(tmp_path / "o.png")
    np.testing.assert_array_equal(back.array.transpose(1, 2, 0), picture)
    with pytest.raises(rix.RuleError, match="50"):
        rix.overlay(grey, labels[:5])
    # Numbers have room in an object of 20 x 10 pixels, and get it where there is less.
    assert rix.overlay(grey, labels, numbers=True).shape == picture.shape
    rows, columns, _ = rix.overlay(grey[:8, :8], np.ones((8, 8), np.uint8), numbers=True).shape
    assert rows == columns > 8 and rows % 8 == 0


def test_only_drawing_needs_the_drawing_library():
    code = """
import numpy as np, rix
def loaded(): return "libcairo" in open("/proc/self/maps").read()
image = np.ones((9, 9), np.uint8)
rix.box_filter_2d(image, 3, 3)
assert not loaded()
rix.overlay(image, image)
assert loaded()
"""
    run_script(code)


def test_labels_of_planes_are_no_bodies(tmp_path):
    stack = rix.Image(np.array([[[1, 0, 1]], [[0, 1, 1]]], dtype=bool), axes="zyx")
    labels = rix.labeling_2d(stack)
    assert labels.label_scope == rix.LabelScope.PLANE
    rix.imwrite(tmp_path / "labels.tif", labels)
    read = rix.imread(tmp_path / "labels.tif", calibration=0.5)
    with pytest.warns(UserWarning, match="LabelAnalysis.*plane by plane") as told:
        rix.label_analysis(read)
    assert told[0].filename == __file__
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        rix.label_analysis(rix.labeling_3d(stack))
        with pytest.raises(UserWarning):
            rix.label_analysis(read)
    assert rix.labeling_3d(stack, out=read).label_scope == rix.LabelScope.VOLUME


def test_what_may_be_a_colour_picture_is_warned_of():
    picture = random_array(np.uint8, (6, 8, 3))
    with pytest.warns(UserWarning, match='only 3 columns.*axes="yxc"') as told:
        identity(picture)
    assert told[0].filename == __file__
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        identity(picture, axes="yxc")
        identity(picture, axes="zyx")
        identity(rix.Image(picture))
        identity(picture.transpose(2, 0, 1).copy())
