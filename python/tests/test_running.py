"""Runs: other threads, Ctrl-C, progress, cancellation."""

import os
import signal
import threading
import time

import numpy as np
import pytest

import rix
from support import random_array, run_script

# Seconds of work on 256 KiB: the same volume as very many frames, which take no memory.
LONG = np.broadcast_to(random_array(np.uint8, (64, 64, 64)), (40000, 64, 64, 64))


def run_long(**options):
    return rix.intensity_extrema(LONG, axes="tzyx", **options)


def assert_usable():
    assert rix.intensity_extrema(LONG[0])["maximum"][0] == LONG[0].max()


@pytest.mark.parametrize("threads", [None, 1])
def test_interrupts(threads):
    sent = []

    def interrupt():
        sent.append(time.monotonic())
        os.kill(os.getpid(), signal.SIGINT)

    timer = threading.Timer(0.25, interrupt)
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        run_long(threads=threads)
    # Within 0.2 s on a machine of one's own; what is tested is that the run doesn't go on to its end.
    assert time.monotonic() - sent[0] < 2
    assert_usable()


def test_writing_is_interrupted(tmp_path):
    timer = threading.Timer(0.2, lambda: os.kill(os.getpid(), signal.SIGINT))
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        rix.imwrite(tmp_path / "long.nrrd", LONG, axes="tzyx", compression="none")
    assert list(tmp_path.iterdir()) == []


def test_drawing_is_interrupted():
    # Half a minute of numbers, one on each voxel.
    labels = np.arange(1, 500 * 500 + 1, dtype=np.uint32).reshape(500, 500)
    timer = threading.Timer(0.2, lambda: os.kill(os.getpid(), signal.SIGINT))
    timer.start()
    begun = time.monotonic()
    with pytest.raises(KeyboardInterrupt):
        rix.overlay(labels, labels, numbers=True)
    assert time.monotonic() - begun < 5
    assert rix.overlay(labels, labels).shape == (500, 500, 3)


def test_other_threads_run():
    ticks = []
    stop = threading.Event()

    def tick():
        while not stop.wait(0.005):
            ticks.append(time.monotonic())

    ticker = threading.Thread(target=tick)
    ticker.start()
    with pytest.raises(StopIteration):
        run_long(progress=stop_at(0.05))
    stop.set()
    ticker.join()
    assert len(ticks) >= 5


def stop_at(end):
    def progress(fraction):
        if fraction >= end:
            raise StopIteration(str(fraction))

    return progress


@pytest.mark.parametrize("threads", [None, 1])
def test_progress(threads):
    seen = []
    rix.intensity_extrema(LONG[:3000], axes="tzyx", progress=seen.append, threads=threads)
    assert seen == sorted(seen) and seen[-1] == 1.0 and all(0 <= value <= 1 for value in seen)
    # What the callable raises ends the run and comes out as it is; the object is ready to run again.
    extrema = rix.IntensityExtrema(input_image=LONG)
    with pytest.raises(StopIteration):
        extrema.run(axes="tzyx", progress=stop_at(0.001), threads=threads)
    extrema.input_image = LONG[0]
    assert extrema.run()["maximum"][0] == LONG[0].max()


@pytest.mark.parametrize("hidden", ["", "tqdm"])
def test_bar(hidden):
    if not hidden:
        pytest.importorskip("tqdm")
    text = """
        import sys
        if sys.argv[1]:
            sys.modules[sys.argv[1]] = None
        sys.stderr = sys.stdout
        import numpy as np, rix
        rix.box_filter_2d(np.ones((500, 500), np.uint8), 3, 3, progress=True)
    """
    shown = run_script(text, hidden)
    assert "BoxFilter2d" in shown and "100%" in shown


def test_an_object_runs_once_at_a_time():
    extrema = rix.IntensityExtrema(input_image=LONG)
    started = threading.Event()
    stop = threading.Event()

    def progress(_):
        started.set()
        if stop.is_set():
            raise StopIteration

    def work():
        with pytest.raises(StopIteration):
            extrema.run(axes="tzyx", progress=progress)

    thread = threading.Thread(target=work)
    thread.start()
    assert started.wait(20)
    for misuse in (extrema.run, lambda: setattr(extrema, "input_image", LONG[0])):
        with pytest.raises(rix.RunError, match="is running"):
            misuse()
    stop.set()
    thread.join()
    extrema.input_image = LONG[0]
    extrema.run()


def test_threads_do_not_change_results():
    image = random_array(np.float32, (500, 600))
    np.testing.assert_array_equal(rix.box_filter_2d(image, 5, 7, threads=1), rix.box_filter_2d(image, 5, 7))
    for wrong in (0, -1, 1.5, "2", 2**40):
        with pytest.raises(rix.RuleError, match="threads="):
            rix.box_filter_2d(image, 3, 3, threads=wrong)


def test_import_needs_nothing():
    assert run_script("import sys, rix; print('pandas' in sys.modules, 'tqdm' in sys.modules)").split() == ["False"] * 2


def test_each_frame_and_channel_by_itself():
    frames = np.array([[[10, 10, 20, 20]], [[100, 100, 200, 200]]], np.uint8)
    bright = dict(threshold_criterion="FACTORISATION", axes="tyx")
    assert rix.auto_thresholding_bright(frames, **bright).output_binary_image.sum() == 6
    result = rix.auto_thresholding_bright(frames, each="t", **bright)
    assert result.output_binary_image.tolist() == [[[0, 0, 1, 1]]] * 2
    assert result.output_measurement["threshold"].tolist() == [11, 101]
    assert result.output_measurement["Frame"].tolist() == [0, 1]
    algorithm = rix.AutoThresholdingBright(input_gray_image=frames, threshold_criterion="FACTORISATION")
    assert algorithm.run(axes="cyx", each="tc").output_measurement["Channel"].tolist() == [0, 1]
    assert "Frame" not in algorithm.run(axes="tyx").output_measurement
    for wrong in ("x", "tt"):
        with pytest.raises(rix.RuleError, match="each="):
            rix.labeling_2d(frames, each=wrong)
