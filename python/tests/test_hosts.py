"""What processes do around the library: forks under load, exits, subinterpreters, many first uses at once."""

import numpy as np
import pytest

import rix
from support import SANITIZED, random_array, run_python, run_script


@pytest.mark.skipif("address" in SANITIZED, reason="a fork of a sanitized interpreter hangs")
def test_forks_beside_runs_compute():
    text = """
        import os, signal, threading, numpy as np, rix
        image = (np.arange(300 * 300) % 251).astype(np.uint8).reshape(300, 300)
        def total(threads):
            return int(rix.box_filter_2d(image, 5, 5, threads=threads).sum())
        expected = total(2)
        over = threading.Event()
        def work(threads):
            while not over.is_set():
                assert total(threads) == expected
        workers = [threading.Thread(target=work, args=(n,)) for n in (None, 2, 3)]
        for worker in workers:
            worker.start()
        states = []
        for _ in range(300):
            child = os.fork()
            if child == 0:
                signal.alarm(20)  # one that hangs is ended
                os._exit(0 if total(2) == total(None) == expected else 1)
            states.append(os.waitpid(child, 0)[1])
        over.set()
        for worker in workers:
            worker.join()
        print(states == [0] * 300)
    """
    assert run_script(text).strip() == "True"


@pytest.mark.parametrize("callback", ["None", "lambda done: None", "lambda done: time.sleep(0.03)"])
def test_interpreters_end_beside_runs_of_daemons(callback):
    text = f"""
        import threading, time, numpy as np, rix
        images = np.broadcast_to(np.arange(64 * 64 * 64, dtype=np.uint32).reshape(64, 64, 64), (40000, 64, 64, 64))
        started = threading.Event()
        def run():
            started.set()
            rix.intensity_extrema(images, axes="tzyx", progress={callback})
        for _ in range(2):
            threading.Thread(target=run, daemon=True).start()
        started.wait()
        time.sleep(0.2)
        print("end")
    """
    for _ in range(3):
        done = run_python(text)
        assert (done.returncode, done.stdout, done.stderr) == (0, "end\n", "")


def test_subinterpreters_are_refused():
    text = """
        import sys
        try:
            import _interpreters as interpreters
        except ImportError:
            import _xxsubinterpreters as interpreters
        sys.path  # the first import of all is in the other interpreter
        other = interpreters.create()
        interpreters.run_string(other, '''if True:
            try:
                import rix
            except ImportError as error:
                print("subinterpreters" in str(error))
        ''')
        import rix
        print(rix.box_filter_2d(__import__("numpy").ones((9, 9)), 3, 3).sum() > 0)
    """
    assert run_script(text).split() == ["True", "True"]


def test_first_uses_from_many_threads_make_one_enumeration():
    text = """
        import sys, threading, rix
        sys.setswitchinterval(1e-6)
        names = [entry.name for entry in rix.list()]
        for name in names[::STEP]:
            barrier = threading.Barrier(6)
            found = []
            def use():
                barrier.wait()
                algorithm = getattr(rix, name)()
                found.append([type(getattr(algorithm, p["name"])) for p in rix.describe(name)["properties"]
                              if p["direction"] == "in" and p["role"] != "image"])
            threads = [threading.Thread(target=use) for _ in range(6)]
            for thread in threads:
                thread.start()
            for thread in threads:
                thread.join()
            assert all(kinds == found[0] for kinds in found) and len(found) == 6, name
        print("one each")
    """
    # Under the sanitizers a class takes most of a second.
    assert run_script(text.replace("STEP", "6" if SANITIZED else "1")).strip() == "one each"


def test_shortage_of_memory_is_told_as_such():
    text = """
        import resource, numpy as np, rix
        image = np.zeros((60, 1000, 1000), np.uint8)
        wide = np.zeros((60, 1000, 2000), np.float32)
        rix.convert_image(image[:1], "UNSIGNED_INTEGER_8_BIT")
        used = int(open("/proc/self/statm").read().split()[0]) * resource.getpagesize()
        resource.setrlimit(resource.RLIMIT_AS, (used + (200 << 20), resource.RLIM_INFINITY))
        for kind in ("FLOAT_64_BIT", "COMPLEX_FLOAT_64_BIT"):
            try:
                rix.convert_image(image, kind)
            except MemoryError as error:
                bytes = image.size * (8 if kind == "FLOAT_64_BIT" else 16)
                print(type(error).__name__, str(bytes) in str(error), any("cannot be" in s for s in error.levels))
        try:
            rix.convert_image(wide[:, :, ::2], "FLOAT_64_BIT")  # NumPy has no memory for the copy
        except MemoryError as error:
            print(isinstance(error, rix.Error))
    """
    if SANITIZED:
        pytest.skip("sanitizers reserve more memory than the limit of the test leaves")
    assert run_script(text).split() == ["OutOfMemoryError", "True", "True"] * 2 + ["True"]


@pytest.mark.parametrize("wrong", [dict(spacing="mm"), dict(origin=[1, None]), dict(spacing=object()),
                                   dict(spacing={"x": "wide"})])
def test_bad_calibrations_are_of_the_family(wrong):
    with pytest.raises(rix.Error, match=next(iter(wrong))):
        rix.Image(random_array(np.uint8), **wrong)


def test_calibrations_spoiled_later_are_of_the_family():
    image = rix.Image(random_array(np.uint8))
    image.spacing = ("wide", 1)
    with pytest.raises(rix.Error):
        rix.box_filter_2d(image, 3, 3)


def test_results_with_overlapping_elements_are_refused():
    memory = np.zeros(400, np.uint16)
    image = random_array(np.uint8, (10, 20))
    for strides in ((20, 2), (0, 2), (38, 2)):
        out = np.lib.stride_tricks.as_strided(memory, (10, 20), strides)
        with pytest.raises(rix.RuleError, match="overlap"):
            rix.box_filter_2d(image, 3, 3, out=out)
    whole = np.zeros((20, 20), np.uint16)
    for out in (whole[::2], whole[:10], whole[10:], whole[9::-1], memory[:200].reshape(10, 20)):
        rix.box_filter_2d(image, 3, 3, out=out)
        np.testing.assert_array_equal(out, rix.box_filter_2d(image, 3, 3))

