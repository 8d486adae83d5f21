#!/usr/bin/python3
"""How fast `rix.dask.apply` is with one worker and with two, beside SciPy through dask's `map_overlap`, and how long
arrays of many chunks take to plan.

    PYTHONPATH=build/release/python benchmarks/python_dask.py

A Gaussian of 3 voxels of 64 chunks of 2048 x 2048 that lie in the memories of the workers, which are processes of one
thread. Results stay there, too. The least of five runs, in seconds.
"""

import time
import tracemalloc

import dask
import dask.array as da
import numpy as np
import scipy.ndimage
from dask.distributed import Client, LocalCluster, wait

import rix.dask

CHUNK = 2048


def noise(block_info=None):
    place = block_info[None]["chunk-location"]
    return np.random.default_rng(place).integers(0, 255, (CHUNK, CHUNK), dtype=np.uint8)


def ours(array):
    return rix.dask.apply("gaussian_filter_2d", array, standard_deviation_x=3, standard_deviation_y=3)


def scipy_overlapping(array):
    return array.map_overlap(scipy.ndimage.gaussian_filter, depth=12, boundary="reflect", sigma=3, dtype=array.dtype)


def seconds(array, smooth):
    times = []
    for _ in range(6):  # of which the first loads libraries
        planned = smooth(array)
        start = time.perf_counter()
        results = planned.persist()
        wait(results)
        times.append(time.perf_counter() - start)
        del results
    return min(times[1:])


def measure(workers):
    with LocalCluster(n_workers=workers, threads_per_worker=1, processes=True, host="127.0.0.1",
                      dashboard_address=None) as cluster, Client(cluster):
        array = da.map_blocks(noise, chunks=((CHUNK,) * 8, (CHUNK,) * 8), dtype=np.uint8).persist()
        wait(array)
        return {function.__name__: seconds(array, function) for function in (ours, scipy_overlapping)}


def plan():
    for count in (100, 316):
        array = da.zeros((count * CHUNK, count * CHUNK), chunks=CHUNK, dtype=np.uint8)
        for name, function in (("gaussian", ours), ("label", rix.dask.label)):
            start = time.perf_counter()
            function(array)
            spent = time.perf_counter() - start
            tracemalloc.start()
            planned = function(array)
            size = tracemalloc.get_traced_memory()[0] / 2 ** 20
            tracemalloc.stop()
            print(f"plan of {name}, {planned.npartitions} chunks: {spent:.2f} s, {size:.0f} MiB", flush=True)


if __name__ == "__main__":
    dask.config.set({"distributed.worker.multiprocessing-method": "spawn"})
    one, two = measure(1), measure(2)
    for name in one:
        print(f"{name}: one worker {one[name]:.3f} s, two {two[name]:.3f} s, ratio {one[name] / two[name]:.2f}")
    print(f"SciPy / ours: one worker {one['scipy_overlapping'] / one['ours']:.1f}, "
          f"two {two['scipy_overlapping'] / two['ours']:.1f}")
    plan()
