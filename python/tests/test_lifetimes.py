"""Owners, views and threads that come and go in unkind orders. Meant for the address sanitizer as well."""

import gc
import sys
import weakref

import numpy as np
import pytest

import rix
from support import NAMES, SANITIZED, as_arrays, example_inputs, random_array, run_in_threads, run_python


@pytest.mark.skipif("address" not in SANITIZED, reason="not built with the address sanitizer")
def test_the_sanitizer_is_awake():
    done = run_python("""
        import ctypes, rix
        c = ctypes.CDLL(None)
        c.malloc.restype = ctypes.c_void_p
        memory = ctypes.c_void_p(c.malloc(1000))
        c.free(memory)
        c.memset(memory, 1, 1000)
    """)
    assert done.returncode != 0 and "heap-use-after-free" in done.stderr


def test_views_keep_their_owner():
    box = rix.BoxFilter2d(input_image=random_array(np.uint8, (400, 500)), kernel_size_x=3, kernel_size_y=3)
    result = box.run()
    expected = result.copy()
    corner = result[10:20, 30:40]
    del box, result
    gc.collect()
    rix.box_filter_2d(np.zeros((400, 500), np.uint8), 3, 3)  # whoever takes freed memory finds it
    np.testing.assert_array_equal(corner, expected[10:20, 30:40])
    table = rix.label_analysis(random_array(bool, (50, 50)).view(np.uint8), measures="Area, Barycenter")
    columns = dict(table)
    area = columns["Area"].copy()
    del table
    gc.collect()
    np.testing.assert_array_equal(columns["Area"], area)


def test_inputs_are_kept_and_released():
    class Watched(np.ndarray):
        pass

    array = random_array(np.uint8).view(Watched)
    seen = weakref.ref(array)
    box = rix.BoxFilter2d(input_image=array, kernel_size_x=3, kernel_size_y=3)
    del array
    gc.collect()
    first = box.run()
    assert seen() is not None
    box.input_image = None
    gc.collect()
    assert seen() is None
    with pytest.raises(rix.RuleError, match="must be set"):
        box.run()
    assert first.any()
    image = random_array(np.uint8)
    count = sys.getrefcount(image)
    for _ in range(50):
        rix.box_filter_2d(image, 3, 3)
        with pytest.raises(rix.RuleError):
            rix.box_filter_2d(image, 0, 3)
    assert sys.getrefcount(image) == count


def test_arrays_that_are_resized():
    array = np.ones((100, 100), np.uint8)
    box = rix.BoxFilter2d(input_image=array, kernel_size_x=3, kernel_size_y=3, auto_scale=True)
    assert box.run().shape == (100, 100)
    array.resize((300, 200), refcheck=False)  # its memory has moved
    assert box.run().shape == (300, 200)
    array.resize((5, 4), refcheck=False)
    assert box.run().shape == (5, 4)


def test_results_outlive_exceptions():
    box = rix.BoxFilter2d(input_image=random_array(np.uint8), kernel_size_x=3, kernel_size_y=3)
    kept = box.run()
    before = kept.copy()
    box.kernel_size_x = 0
    for _ in range(3):
        with pytest.raises(rix.RuleError):
            box.run()
    box.kernel_size_x = 3
    np.testing.assert_array_equal(box.run(), before)
    np.testing.assert_array_equal(kept, before)


def test_different_algorithms_in_sixteen_threads():
    names = NAMES[::4] if SANITIZED else NAMES
    expected = {}
    inputs = {}
    for name in names:
        inputs[name] = example_inputs(name, (150, 170))
        expected[name] = as_arrays(getattr(rix, rix.describe(name)["function"])(**inputs[name]))
    functions = {name: getattr(rix, rix.describe(name)["function"]) for name in names}

    def work(number):
        for turn in range(4 * len(names)):
            name = names[(number + turn) % len(names)]
            for got, wanted in zip(as_arrays(functions[name](**inputs[name])), expected[name], strict=True):
                np.testing.assert_array_equal(got, wanted)

    run_in_threads(16, work)
