"""What the tests share: pictures, and examples of every algorithm made from its description."""

import os
import pathlib
import subprocess
import sys
import textwrap
import threading
from typing import Any, Callable, Dict

import numpy as np

import rix

EXAMPLES = pathlib.Path(os.environ["RIX_EXAMPLES"])
SANITIZED = os.environ.get("RIX_SANITIZE", "")
NAMES = [entry.name for entry in rix.list()]


def random_array(dtype, shape=(17, 23), seed=1):
    values = np.random.default_rng(seed).integers(0, 100, shape)
    return values > 50 if dtype == bool else values.astype(dtype)


def blobs(shape=(60, 70), seed=3):
    """Round objects of several sizes, as bool."""
    random = np.random.default_rng(seed)
    grid = np.indices(shape)
    mask = np.zeros(shape, bool)
    for _ in range(12):
        centre = [random.integers(0, size) for size in shape]
        square = sum((axis - c) ** 2 for axis, c in zip(grid, centre))
        mask |= square < random.integers(2, 7) ** 2
    return mask


def example_inputs(name: str, shape=(17, 23)) -> Dict[str, Any]:
    """Inputs with which an algorithm runs; no algorithm is named here."""
    grey = _example_inputs(name, lambda seed: random_array(np.uint8, shape, seed))
    try:
        getattr(rix, rix.describe(name)["function"])(**grey)
        return grey
    except rix.RuleError:  # it may be for colours alone
        return _example_inputs(name, lambda seed: rix.Image(random_array(np.uint8, (*shape, 3), seed), axes="yxc"))


def _example_inputs(name: str, image: Callable[[int], Any]) -> Dict[str, Any]:
    inputs: Dict[str, Any] = {}
    for item in rix.describe(name)["properties"]:
        # A kernel may be given in two ways, of which none is required by itself.
        is_kernel = item["role"] == "image" and "kernel" in item["name"]
        if item["direction"] == "out" or not (item["required"] or is_kernel):
            continue
        # Other values are sizes, mostly: zero was refused.
        inputs[item["name"]] = image(len(inputs)) if item["role"] == "image" else 3
    return inputs


def run_in_threads(count: int, work: Callable[[int], None]) -> None:
    """Calls `work` with the number of each thread, and raises here what one of them raised."""
    failures = []

    def guarded(number):
        try:
            work(number)
        except BaseException as failure:  # told by the main thread
            failures.append(failure)

    threads = [threading.Thread(target=guarded, args=(number,)) for number in range(count)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not failures


def run_python(text: str, *arguments: str) -> "subprocess.CompletedProcess[str]":
    """Runs a script in a fresh interpreter."""
    return subprocess.run([sys.executable, "-c", textwrap.dedent(text), *arguments], capture_output=True, text=True,
                          timeout=120)


def run_script(text: str, *arguments: str) -> str:
    """The same for a script that succeeds; gives what it prints."""
    done = run_python(text, *arguments)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


def as_arrays(results: Any) -> list:
    """The samples and columns of whatever a call gave, to be compared."""
    flat = []
    for result in results if isinstance(results, tuple) else (results,):
        flat += list(result.values()) if isinstance(result, rix.Table) else [np.asarray(result)]
    return flat
