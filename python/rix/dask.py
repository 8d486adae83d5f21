"""The algorithms on dask arrays: images larger than a memory, on one machine or on many.

``rix.dask.apply("gaussian_filter_2d", array, standard_deviation_x=2)`` gives a dask array of what the function of that
name would give for the whole array, bit for bit, whatever the chunks. ``label`` numbers objects across chunks,
``measure`` measures them. Needs the package dask.
"""

from typing import Any, Dict, List, NamedTuple, Optional, Sequence, Tuple

import numpy as np
import numpy.typing as npt

try:
    import dask.array as da
    from dask.base import tokenize
    from dask.highlevelgraph import HighLevelGraph
except ImportError as error:
    raise ImportError("rix.dask needs the package dask with its arrays, which is not installed (Debian: python3-dask, "
                      "elsewhere: dask[array]); the rest of rix works without it") from error

from . import _rix
from ._algorithms import Description, describe, find, inputs_of, results_of
from ._dask_blocks import Block, Call, Cut, Reach, compare, run_block, run_whole
from ._dask_labels import label as label
from ._dask_tables import REDUCTIONS, measure as measure, reduce_by_chunks
from ._errors import DataTypeError, Error, RuleError
from ._image import Image

__all__ = ["apply", "label", "measure"]

SPATIAL = "xyz"
# Sums of reals go on from window to window, in groups that begin at fixed places of the image.
SUMS = ("BoxFilter", "LocalStatistics", "LocalThresholding", "BackgroundCorrection")
GROUP = 8
# Of more products a voxel a convolution is one of spectra, which are of tiles of the whole image.
MOST_PRODUCTS = {"Convolution2d": 180, "Convolution3d": 125}
# The side of its threshold that an algorithm keeps.
SIDES = {"AutoThresholdingBright": "GREATER_THAN_OR_EQUAL_TO", "AutoThresholdingDark": "LESS_THAN"}
NEEDS = {
    "reduction": "its result depends on all voxels",
    "labeling": "it follows what is connected, however far",
    "geometry": "its voxels come from elsewhere in the image",
    "composite": "some of its steps need all voxels",
}


class _Run(NamedTuple):
    """A call as it was asked for."""

    facts: Description
    arrays: Dict[str, Any]  #: dask arrays by the names of image inputs, of the same chunks
    values: Dict[str, Any]  #: all else
    letters: str
    calibration: Dict[str, Any]
    threads: Optional[int]

    @property
    def main(self) -> Any:
        return next(iter(self.arrays.values()))

    def call(self) -> Call:
        return Call(self.facts["function"], self.values, tuple(self.arrays), self.letters, self.calibration,
                    self.threads)


def apply(name: str, array: Any, *, axes: Optional[str] = None, spacing: Any = None, spatial_unit: str = "",
          threads: Optional[int] = 1, **properties: Any) -> Any:
    """What the algorithm of this name gives for a dask array, as a dask array, computed chunk by chunk.

    How far a chunk looks into its neighbours follows from the algorithm's description; the edges of chunks leave no
    trace. Along axes on which results depend on whole lines the array is rechunked first.

    Parameters
    ----------
    name
        The name of the class or of the function.
    array
        The first image: a dask array, or what `dask.array.asarray` makes one of.
    axes
        A letter for each dimension, where they are not "yx" or "zyx"; x comes last but for c.
    spacing, spatial_unit
        The calibration, as `rix.Image` takes it, for algorithms that are told lengths in units.
    threads
        The largest number of threads of a task; by default one, as dask runs as many tasks as the machine has
        processors.
    properties
        All other properties by name. Images of the size of the first one are cut with it; kernels are NumPy arrays.

    Returns
    -------
    A dask array, or a named tuple of several. Tables (of reductions that are joined: `ImageStatistics`,
    `IntensityExtrema`, `IntensityHistogram`, `AutoThresholdingValue`) are `dask.delayed.Delayed`, and so is all that
    an algorithm that needs the whole image gives for an array of one chunk.

    Raises
    ------
    RuleError
        For what the algorithm refuses; where it needs the whole image and the array has several chunks.
    """
    run = _prepare(describe(name), array, axes, spacing, spatial_unit, threads, properties)
    if run.facts["name"] in REDUCTIONS and run.main.npartitions > 1:
        return reduce_by_chunks(run)
    if run.facts["name"] in SIDES and run.main.npartitions > 1:
        return _part_by_threshold(run)
    announced = _announced(run)
    reason = _reason_for_whole(run, announced)
    if reason is not None:
        if run.main.npartitions > 1:
            raise RuleError(
                f"{run.facts['name']} is not for chunks: {reason}. Where {_bytes(run.main.nbytes)} fit into the memory "
                f"of a worker, array.rechunk(-1) makes one chunk of the {run.main.npartitions}, which is one task")
        return _run_whole(run)
    reaches = _reaches(run, announced["border_influence"])
    run = _with_whole_lines(run, reaches)
    return _run_chunks(run, reaches, announced)


def _part_by_threshold(run: _Run) -> Any:
    """A binary image by a threshold that is found first, and the threshold."""
    chosen = find(run.facts["name"])(**run.values)
    names = ("range_mode", "threshold_criterion")
    threshold = reduce_by_chunks(run._replace(facts=describe("AutoThresholdingValue"),
                                              values={name: getattr(chosen, name) for name in names}))
    binary = run.main.map_blocks(compare, SIDES[run.facts["name"]], run.letters, run.threads, threshold, dtype=bool,
                                 meta=np.empty((0,) * run.main.ndim, bool))
    return find(run.facts["name"] + "Result")(binary, threshold)


def _prepare(facts: Description, array: Any, axes: Optional[str], spacing: Any, spatial_unit: str,
             threads: Optional[int], properties: Dict[str, Any]) -> _Run:
    inputs = {item["name"]: item for item in inputs_of(facts)}
    images = [name for name, item in inputs.items() if item["role"] == "image" and not _is_kernel(name)]
    if not images:
        raise RuleError(f"{facts['name']} makes its result from no image: there is nothing to cut into chunks")
    main = da.asarray(array)
    if any(np.isnan(size) for sizes in main.chunks for size in sizes):
        raise RuleError("the chunks of the array have unknown sizes; array.compute_chunk_sizes() finds them")
    letters = _rix.axes_of_array(main.ndim, axes or "")
    arrays, values = {images[0]: main}, {}
    for key, value in properties.items():
        if key not in inputs:
            meant = _rix.suggest(key, list(inputs))
            raise RuleError(f"{facts['name']} has no property '{key}'" +
                            (f"; did you mean {' or '.join(map(repr, meant))}?" if meant else ""))
        if key == images[0]:
            raise RuleError(f"{facts['name']}: {key} is the array, and was given twice")
        if key in images and value is not None:
            other = da.asarray(value)
            if other.shape != main.shape:
                raise RuleError(f"{facts['name']}.{key}: it has the shape {other.shape}, and the array has "
                                f"{main.shape}")
            arrays[key] = other.rechunk(main.chunks)
        elif value is not None:
            if isinstance(value, da.Array):
                raise DataTypeError(f"{facts['name']}.{key}: a dask array was given; it takes what is in memory")
            values[key] = value
    ordered = {name: arrays[name] for name in images if name in arrays}
    calibration = {"spacing": 1.0 if spacing is None else spacing, "spatial_unit": spatial_unit}
    return _Run(facts, ordered, values, letters, calibration, threads)


def _is_kernel(name: str) -> bool:
    return "kernel" in name or "element" in name


def _stand_in(array: Any, letters: str, is_label: bool, sizes: Optional[Dict[str, int]] = None) -> npt.NDArray[Any]:
    """Zeros with the shape of an array, or with other sizes: one row in memory, all others are the same."""
    dtype = np.dtype(np.uint32) if is_label and array.dtype.kind in "iu" and array.dtype.itemsize == 8 else array.dtype
    shape = array.shape if sizes is None else tuple(sizes[letter] for letter in letters)
    row = np.zeros(tuple(size if letter == "x" else 1 for letter, size in zip(letters, shape)), dtype)
    return np.broadcast_to(row, shape)


def _announced(run: _Run) -> Dict[str, Any]:
    """What the algorithm tells of a run on the whole images, of which it sees no sample."""
    algorithm = find(run.facts["name"])(**run.values)
    for name, array in run.arrays.items():
        stand_in = _stand_in(array, run.letters, "label" in name)
        setattr(algorithm, name, Image(stand_in, run.letters, **run.calibration))
    told: Dict[str, Any] = algorithm._describe(run.letters)
    return told


def _reason_for_whole(run: _Run, announced: Dict[str, Any]) -> Optional[str]:
    """Why chunks can't be computed by themselves; None where they can."""
    name, kind = run.facts["name"], run.facts["kind"]
    if name in ("AddNoise", "NoiseImage"):
        return "the noise of a voxel follows from its place in the image"
    if name.startswith(("FourierConvolution", "TensorVoting")):
        return "it works on spectra, in tiles that are laid out on the whole image"
    if name in MOST_PRODUCTS:
        kernels = [np.size(value) for key, value in run.values.items() if _is_kernel(key)]
        if max(kernels, default=0) > MOST_PRODUCTS[name]:
            return f"with more than {MOST_PRODUCTS[name]} values in the kernel it works on spectra of the whole image"
    if name.startswith("GuidedFilter"):
        return "sums of reals run on from one window to the next"
    if name.startswith("NonLocalMeansFilter") and run.main.dtype.kind == "f":
        return "sums of reals run on in tiles that are laid out on the whole image"
    if name.startswith("BSplineCoefficients"):
        return "its recursions run along all axes"
    if name.startswith("LocalThresholding"):
        method = find(name)(**{key: value for key, value in run.values.items() if key == "method"}).method
        if method.name == "GAUSSIAN":
            return "with method=GAUSSIAN its thresholds come from recursions along whole lines"
    influence = announced["border_influence"]
    if kind not in ("point", "neighbourhood") and not any(map(any, influence)):
        return NEEDS[kind]
    if any(item["role"] != "image" for item in results_of(run.facts)):
        return "one of its results is a table"
    extents = [run.main.shape[run.letters.index(letter)] if letter in run.letters else 1 for letter in "xyztc"]
    for output, sizes in announced["outputs"].items():
        if list(sizes[:4]) != extents[:4]:
            return f"{output} has another size than the image"
    return None


def _reaches(run: _Run, influence: Any) -> List[Reach]:
    group = GROUP if run.facts["name"].startswith(SUMS) else 1
    before, after = influence
    reaches = []
    for letter in run.letters:
        place = SPATIAL.find(letter)
        if place < 0 or before[place] + after[place] == 0:
            reaches.append(Reach(0, 0))
        else:
            reaches.append(Reach(before[place], after[place], group))
    return reaches


def _with_whole_lines(run: _Run, reaches: Sequence[Reach]) -> _Run:
    """Chunks without cuts along channels, which belong together, and along axes whose lines are needed as a whole."""
    whole = [axis for axis, (letter, size, reach) in enumerate(zip(run.letters, run.main.shape, reaches))
             if len(run.main.chunks[axis]) > 1 and
             (letter == "c" or (max(reach.before, reach.after) >= size - 1 and size > 1))]
    if not whole:
        return run
    limit = max(max(np.prod([max(sizes) for sizes in array.chunks], dtype=np.int64) * array.dtype.itemsize
                    for array in run.arrays.values()), 1 << 25)
    # The other axes may be cut, never joined: chunks would grow.
    sizes = [list(chunks) for chunks in run.main.chunks]
    for axis in whole:
        sizes[axis] = [run.main.shape[axis]]
    item = max(array.dtype.itemsize for array in run.arrays.values())
    for axis in range(run.main.ndim):
        bytes_now = int(np.prod([max(chunks) for chunks in sizes], dtype=np.int64)) * item
        if axis not in whole and bytes_now > limit:
            most = max(max(sizes[axis]) * limit // bytes_now, 1)
            sizes[axis] = [piece for chunk in sizes[axis] for piece in _pieces(chunk, most)]
    chunks = tuple(map(tuple, sizes))
    return run._replace(arrays={name: array.rechunk(chunks) for name, array in run.arrays.items()})


def _pieces(size: int, most: int) -> List[int]:
    count = -(-size // most)
    return [size // count + (1 if i < size % count else 0) for i in range(count)]


def _sample_results(run: _Run, call: Call) -> Tuple[Image, ...]:
    """The results for an image that is as small as the algorithm takes: what tells their types."""
    refusal: Optional[Error] = None
    for most in (1, 8, 64):
        sizes = {letter: size if letter == "c" else min(size, most)
                 for letter, size in zip(run.letters, run.main.shape)}
        try:
            results = call([np.array(_stand_in(array, run.letters, "label" in name, sizes))
                            for name, array in run.arrays.items()])
            return results if isinstance(results, tuple) else (results,)
        except Error as error:
            refusal = error
    assert refusal is not None
    raise refusal


def _run_chunks(run: _Run, reaches: Sequence[Reach], announced: Dict[str, Any]) -> Any:
    call = run.call()
    samples = _sample_results(run, call)
    if any(item["name"] not in announced["outputs"] for item in results_of(run.facts)):
        # The inputs as they are were refused, of which a small image does not tell.
        raise RuleError(f"{run.facts['name']} does not take these inputs: run on one chunk, it says why")
    cut = Cut(run.main.chunks, reaches)
    block = Block(call, cut, tuple(sample.array.dtype for sample in samples))
    token = tokenize(run.facts["name"], run.values, run.letters, run.calibration, run.threads,
                     *[array.name for array in run.arrays.values()])
    title = f"rix-{run.facts['function']}-{token}"
    shared = f"{title}-call"
    graph: Dict[Any, Any] = {shared: block}
    names = [array.name for array in run.arrays.values()]
    for index in np.ndindex(*run.main.numblocks):
        sources = list(cut.sources_of(index))
        graph[(title, *index)] = (run_block, shared, index, *[[(name, *source) for source in sources]
                                                              for name in names])
    layers = HighLevelGraph.from_collections(title, graph, dependencies=list(run.arrays.values()))
    if len(samples) == 1 and samples[0].axes == run.letters:
        return _array_of_layer(layers, title, run, samples[0])
    made = []
    for place, sample in enumerate(samples):
        part = f"{title}-{place}"
        picked = {}
        for index in np.ndindex(*run.main.numblocks):
            places = dict(zip(run.letters, index))
            picked[(part, *[places.get(letter, 0) for letter in sample.axes])] = (
                _pick, (title, *index), place if len(samples) > 1 else None)
        joined = HighLevelGraph({**layers.layers, part: picked}, {**layers.dependencies, part: {title}})
        made.append(_array_of_layer(joined, part, run, sample))
    return made[0] if len(made) == 1 else find(run.facts["name"] + "Result")(*made)


def _pick(results: Any, place: Optional[int]) -> Any:
    return results if place is None else results[place]


def _array_of_layer(graph: Any, title: str, run: _Run, sample: Image) -> Any:
    sizes = {**dict(zip(sample.axes, ((size,) for size in sample.shape))), **dict(zip(run.letters, run.main.chunks))}
    if "c" in sample.axes:
        sizes["c"] = (sample.shape[sample.axes.index("c")],)
    return da.Array(graph, title, tuple(sizes[letter] for letter in sample.axes),
                    meta=np.empty((0,) * len(sample.axes), sample.array.dtype))


def _run_whole(run: _Run) -> Any:
    """One task on one chunk."""
    from dask.delayed import delayed
    return delayed(run_whole, pure=True)(delayed(run.call(), traverse=False),
                                         [array.to_delayed().ravel()[0] for array in run.arrays.values()])


def _bytes(count: float) -> str:
    for unit in ("bytes", "KiB", "MiB", "GiB"):
        if count < 1024:
            return f"{count:.0f} {unit}"
        count /= 1024
    return f"{count:.1f} TiB"
