"""Tables of images in chunks: partial tables, joined."""

from typing import Any, Callable, Dict, List, NamedTuple, Optional, Sequence, Tuple

import numpy as np
import numpy.typing as npt

from . import _rix
from ._dask_blocks import offsets_of
from ._errors import DataTypeError, RuleError, RunError
from ._table import Table

Columns = Dict[str, npt.NDArray[Any]]
_JOINED_AT_ONCE = 64
# Sums of doubles that the library rounded once are whole numbers below this.
_EXACT = float(1 << 53)


def _tree(graph: Dict[Any, Any], title: str, leaves: List[Any], join: Callable[[List[Any]], Any]) -> Any:
    """Joins by the dozen what all chunks gave, so that no task holds the tables of more than these."""
    level = 0
    while len(leaves) > 1:
        keys = []
        for begin in range(0, len(leaves), _JOINED_AT_ONCE):
            keys.append((f"{title}-join", level, begin))
            graph[keys[-1]] = (join, leaves[begin:begin + _JOINED_AT_ONCE])
        leaves, level = keys, level + 1
    return leaves[0]


def _delayed(graph: Dict[Any, Any], key: str, arrays: Sequence[Any]) -> Any:
    from dask.delayed import Delayed
    from dask.highlevelgraph import HighLevelGraph
    return Delayed(key, HighLevelGraph.from_collections(key, graph, dependencies=list(arrays)))


def _like(template: Table, columns: Columns) -> Table:
    """A table with the columns, types and units of another."""
    made = {name: np.asarray(columns[name], template[name].dtype) for name in template}
    return Table(made, template.units, template.descriptions)


# Reductions of a whole image ------------------------------------------------------------------------------------

# Of these, those of parts give those of the whole; means and deviations of reals don't.
STATISTICS = ("Count", "Minimum", "Maximum", "Sum", "NanCount", "InfiniteCount")


class Extrema(NamedTuple):
    minimum: float
    maximum: float
    nans: int
    infinities: int


def _extrema(call: Any, array: npt.NDArray[Any]) -> Extrema:
    import rix
    table = rix.intensity_extrema(rix.Image(array, call.axes), threads=call.threads)
    return Extrema(float(table["minimum"][0]), float(table["maximum"][0]), int(table["nanCount"][0]),
                   int(table["infiniteCount"][0]))


def _join_extrema(parts: List[Extrema]) -> Extrema:
    # NaN where no value of a part is finite.
    return Extrema(float(np.fmin.reduce([part.minimum for part in parts])),
                   float(np.fmax.reduce([part.maximum for part in parts])),
                   sum(part.nans for part in parts), sum(part.infinities for part in parts))


def _extrema_table(template: Table, extrema: Extrema) -> Table:
    return _like(template, {"minimum": np.array([extrema.minimum]), "maximum": np.array([extrema.maximum]),
                            "nanCount": np.array([extrema.nans]), "infiniteCount": np.array([extrema.infinities])})


def _counts(call: Any, array: npt.NDArray[Any], span: Tuple[float, float, int]) -> npt.NDArray[np.int64]:
    import rix
    low, high, classes = span
    if not low < high:  # one value: it lies in the last class
        counts = np.zeros(classes, np.int64)
        counts[-1] = int((array == low).sum())
        return counts
    table = rix.intensity_histogram(rix.Image(array, call.axes), classes, "OTHER", low, high, threads=call.threads)
    return np.array(table["Count"])


def _join_counts(parts: List[npt.NDArray[np.int64]]) -> npt.NDArray[np.int64]:
    return np.asarray(sum(parts[1:], parts[0]))


def _given_span(span: Tuple[float, float, int], _: Any) -> Tuple[float, float, int]:
    return span


def _span_of_classes(classes: int, extrema: Extrema) -> Tuple[float, float, int]:
    if not extrema.minimum < extrema.maximum:
        raise RunError("IntensityHistogram: the array has no two different finite values; range_mode=OTHER with a "
                       "range counts it")
    return extrema.minimum, extrema.maximum, classes


def _span_of_threshold(is_integer: bool, extrema: Extrema) -> Tuple[float, float, int]:
    """The classes of `AutoThresholdingValue`."""
    low, high = extrema.minimum, extrema.maximum
    if not np.isfinite(low):
        raise RunError("AutoThresholdingValue: no value is finite")
    if is_integer:
        return low, high + 1, int(min(high + 1 - low, 65535))
    return low, high, 65535


def _histogram_table(template: Table, span: Tuple[float, float, int], counts: npt.NDArray[np.int64]) -> Table:
    low, high, classes = span
    starts = low + np.arange(classes) * ((high - low) / classes)
    return _like(template, {"ClassStart": starts, "Count": counts})


def _threshold_table(template: Table, criterion: int, span: Tuple[float, float, int],
                     counts: npt.NDArray[np.int64]) -> Table:
    threshold = _rix.threshold_of_counts(counts.tolist(), span[0], span[1], criterion)
    return _like(template, {"threshold": np.array([threshold])})


def _statistics(call: Any, array: npt.NDArray[Any]) -> Columns:
    import rix
    return dict(rix.image_statistics(rix.Image(array, call.axes), measures=call.values["measures"],
                                     threads=call.threads))


def _join_statistics(parts: List[Columns]) -> Columns:
    joins = {"Minimum": np.fmin, "Maximum": np.fmax}
    joined = dict(parts[0])
    for part in parts[1:]:
        for name, column in part.items():
            joined[name] = joins.get(name, np.add)(joined[name], column)
            if name == "Sum" and abs(joined[name][0]) >= _EXACT:
                raise RunError("ImageStatistics: the sum is beyond 2^53, where sums of parts are not exact")
    return joined


class _Graph:
    """What is reduced, and the tasks so far."""

    def __init__(self, run: Any, title: str) -> None:
        self.run, self.title, self.tasks = run, title, {}
        self.tasks[title + "-call"] = run.call()
        self.chunks = [(run.main.name, *index) for index in np.ndindex(*run.main.numblocks)]

    def reduce(self, name: str, each: Any, join: Any, *more: Any) -> Any:
        leaves = []
        for place, chunk in enumerate(self.chunks):
            leaves.append((f"{self.title}-{name}", place))
            self.tasks[leaves[-1]] = (each, self.title + "-call", chunk, *more)
        return _tree(self.tasks, f"{self.title}-{name}", leaves, join)

    def finish(self, *task: Any) -> Any:
        self.tasks[self.title] = task
        return _delayed(self.tasks, self.title, [self.run.main])


def _template(run: Any, values: Optional[Dict[str, Any]] = None) -> Table:
    """The table of a small image."""
    import rix
    sample = np.zeros((2,) * run.main.ndim, run.main.dtype)
    sample.flat[0] = 1
    made: Table = getattr(rix, run.facts["function"])(rix.Image(sample, run.letters),
                                                      **(run.values if values is None else values))
    return made


def _reduce_extrema(run: Any, graph: _Graph) -> Any:
    extrema = graph.reduce("extrema", _extrema, _join_extrema)
    return graph.finish(_extrema_table, _template(run), extrema)


def _chosen(run: Any, name: str) -> Any:
    """A value as the algorithm has it: as it was given, or its default."""
    from ._algorithms import find
    return getattr(find(run.facts["name"])(**run.values), name)


def _span(run: Any, graph: _Graph, given: Any, find_span: Any, fact: Any) -> str:
    key = graph.title + "-span"
    if given is not None:
        graph.tasks[key] = (_given_span, given, None)
    else:
        graph.tasks[key] = (find_span, fact, graph.reduce("extrema", _extrema, _join_extrema))
    return key


def _reduce_histogram(run: Any, graph: _Graph) -> Any:
    classes = int(_chosen(run, "number_of_classes"))
    template = _template(run)
    given = None
    if _chosen(run, "range_mode").name == "OTHER":
        given = (float(_chosen(run, "range_minimum")), float(_chosen(run, "range_maximum")), classes)
    span = _span(run, graph, given, _span_of_classes, classes)
    counts = graph.reduce("counts", _counts, _join_counts, span)
    return graph.finish(_histogram_table, template, span, counts)


def _reduce_threshold(run: Any, graph: _Graph) -> Any:
    criterion = _chosen(run, "threshold_criterion")
    if criterion.name == "ISODATA":
        raise RuleError(f"{run.facts['name']} is not for chunks with threshold_criterion=ISODATA: it takes means of "
                        "all values, which counts don't tell; ENTROPY, FACTORISATION and MOMENTS are")
    if _chosen(run, "range_mode").name == "OTHER":
        raise RuleError(f"{run.facts['name']} is not for chunks with range_mode=OTHER; range_mode=MIN_MAX is")
    if run.main.dtype.kind == "b":
        raise RuleError(f"{run.facts['name']} has nothing to part in an array of bool")
    sizes = dict(zip(run.letters, run.main.shape))
    if sizes.get("t", 1) * sizes.get("c", 1) > 1:
        raise RuleError(f"{run.facts['name']} has a threshold for each frame: take frames and channels one by one")
    template = _template(run)
    span = _span(run, graph, None, _span_of_threshold, run.main.dtype.kind in "iu")
    counts = graph.reduce("counts", _counts, _join_counts, span)
    return graph.finish(_threshold_table, template, int(criterion), span, counts)


def _reduce_statistics(run: Any, graph: _Graph) -> Any:
    names = [name.strip() for name in str(_chosen(run, "measures")).split(",")]
    known = STATISTICS if run.main.dtype.kind in "iub" else tuple(name for name in STATISTICS if name != "Sum")
    wrong = [name for name in names if name not in known]
    if wrong or run.values.get("quantiles") or _chosen(run, "group_by").name != "IMAGE" or len(run.arrays) > 1:
        what = f"measures={', '.join(wrong)}" if wrong else "quantiles, groups or masks"
        raise RuleError(f"ImageStatistics is not for chunks with {what}: their values follow from sums in the order of "
                        f"the whole image, or from all values; for {run.main.dtype} measures='{', '.join(known)}' are")
    statistics = graph.reduce("statistics", _statistics, _join_statistics)
    return graph.finish(_like, _template(run), statistics)


REDUCTIONS: Dict[str, Callable[[Any, _Graph], Any]] = {
    "AutoThresholdingValue": _reduce_threshold,
    "ImageStatistics": _reduce_statistics,
    "IntensityExtrema": _reduce_extrema,
    "IntensityHistogram": _reduce_histogram,
}


def reduce_by_chunks(run: Any) -> Any:
    from dask.base import tokenize
    token = tokenize(run.facts["name"], run.values, run.letters, run.main.name, run.threads)
    return REDUCTIONS[run.facts["name"]](run, _Graph(run, f"rix-{run.facts['function']}-{token}"))


# Objects ------------------------------------------------------------------------------------

MEASURES = ("PixelCount", "Area", "Volume", "Barycenter", "BoundingBox", "TouchesBorder", "Minimum", "Maximum", "Mean",
            "Sum")


class _Objects(NamedTuple):
    """Whole numbers of the objects of a part, a row each, by label. Sums of positions are those of indices."""

    labels: npt.NDArray[np.int64]
    counts: npt.NDArray[np.int64]
    positions: npt.NDArray[np.int64]  #: summed, a column for each axis
    lower: npt.NDArray[np.int64]
    upper: npt.NDArray[np.int64]
    minimum: npt.NDArray[np.float64]
    maximum: npt.NDArray[np.float64]
    sums: npt.NDArray[np.float64]


def _objects(call: Any, begins: Sequence[int], labels: npt.NDArray[Any],
             array: Optional[npt.NDArray[Any]] = None) -> _Objects:
    import rix
    axes = call.axes
    measures = "PixelCount, Barycenter, BoundingBox" + (", Minimum, Maximum, Sum" if array is not None else "")
    image = None if array is None else rix.Image(array, axes)
    table = rix.label_analysis(rix.Image(labels, axes, interpretation="label"), image, measures, threads=call.threads)
    counts = np.array(table["PixelCount"], np.int64)
    named = [letter.upper() for letter in axes]  # of a single plane there are no columns for z
    # A mean of places, rounded once, times their number is the sum of these, which is whole, to within a half.
    inside = [np.rint(np.array(table[f"Barycenter{axis}"]) * counts) if f"Barycenter{axis}" in table else
              np.zeros(len(counts)) for axis in named]
    if any(np.any(sums >= _EXACT / 4) for sums in inside):
        raise RunError("measure: a chunk is too large for exact sums of places; smaller chunks are measured")
    none = np.zeros(len(counts))
    lower, upper = ([np.array(table[f"BoundingBox{end}{axis}"], np.int64) if f"BoundingBox{end}{axis}" in table else
                     none.astype(np.int64) for axis in named] for end in ("Min", "Max"))
    return _Objects(
        np.array(table["Label"], np.int64), counts,
        np.stack([sums.astype(np.int64) + begin * counts for sums, begin in zip(inside, begins)], 1),
        np.stack([places + begin for places, begin in zip(lower, begins)], 1),
        np.stack([places + begin for places, begin in zip(upper, begins)], 1),
        *[np.array(table[name]) if array is not None else none for name in ("Minimum", "Maximum", "Sum")])


def _join_objects(parts: List[_Objects]) -> _Objects:
    labels, rows = np.unique(np.concatenate([part.labels for part in parts]), return_inverse=True)

    def joined(field: str, operation: Any, start: Any) -> Any:
        values = np.concatenate([getattr(part, field) for part in parts])
        result = np.full((len(labels), *values.shape[1:]), start, values.dtype)
        operation.at(result, rows, values)
        return result

    most = np.iinfo(np.int64).max
    return _Objects(labels, joined("counts", np.add, 0), joined("positions", np.add, 0),
                    joined("lower", np.minimum, most), joined("upper", np.maximum, -1),
                    joined("minimum", np.fmin, np.inf), joined("maximum", np.fmax, -np.inf), joined("sums", np.add, 0))


def _objects_table(template: Table, axes: str, shape: Tuple[int, ...], spacing: Tuple[float, ...],
                   objects: _Objects) -> Table:
    if np.any(np.abs(objects.sums) >= _EXACT):
        raise RunError("measure: a sum is beyond 2^53, where sums of parts are not exact")
    columns: Columns = {"Frame": np.zeros(len(objects.labels)), "Label": objects.labels, "PixelCount": objects.counts}
    size = 1.0
    for step in reversed(spacing):
        size *= step
    columns["Area"] = columns["Volume"] = objects.counts * size
    for place, (letter, step) in enumerate(zip(axes, spacing)):
        lower, upper = objects.lower[:, place], objects.upper[:, place]
        axis = letter.upper()
        columns[f"Barycenter{axis}"] = objects.positions[:, place] / objects.counts * step
        columns[f"BoundingBoxMin{axis}"], columns[f"BoundingBoxMax{axis}"] = lower, upper
        columns[f"BoundingBoxSize{axis}"] = (upper - lower + 1) * step
    # A single plane has no border above and below.
    edges = [place for place, size in enumerate(shape) if axes[place] != "z" or size > 1]
    columns["TouchesBorder"] = ((objects.lower == 0) | (objects.upper == np.array(shape) - 1))[:, edges].any(axis=1)
    columns["Minimum"], columns["Maximum"], columns["Sum"] = objects.minimum, objects.maximum, objects.sums
    columns["Mean"] = objects.sums / np.maximum(objects.counts, 1)
    return _like(template, columns)


def measure(labels: Any, array: Any = None, measures: Optional[str] = None, *, axes: Optional[str] = None,
            spacing: Any = 1.0, spatial_unit: str = "", threads: Optional[int] = 1) -> Any:
    """Measures the objects of a label image, which may lie in many chunks: the table of `rix.label_analysis`.

    Parameters
    ----------
    labels
        A dask array of labels of planes (yx) or volumes (zyx), such as `label` gives.
    array
        The grey values of the objects, of the same shape.
    measures
        Names, separated by commas: PixelCount, Area or Volume, Barycenter, BoundingBox, TouchesBorder and, of an
        array, Minimum and Maximum, of an array of integers also Mean and Sum. Unless given, all of these.
    axes, spacing, spatial_unit
        As `apply` takes them.
    threads
        The largest number of threads of a task.

    Returns
    -------
    A `dask.delayed.Delayed` of a `rix.Table`, whose values have the bits of those in memory.

    Raises
    ------
    RuleError
        For a measure of which those of the parts of an object don't give that of the whole.
    """
    import dask.array as da
    from dask.base import tokenize

    import rix

    from ._dask_blocks import Call
    image = da.asarray(labels)
    letters = _rix.axes_of_array(image.ndim, axes or "")
    if letters not in ("yx", "zyx"):
        raise RuleError(f"measure takes labels with the axes yx or zyx, not {letters}")
    flat = image.ndim == 2 or image.shape[0] == 1
    size = "Area" if flat else "Volume"
    grey = None if array is None else da.asarray(array)
    if grey is not None:
        if grey.shape != image.shape:
            raise RuleError(f"measure: the array has the shape {grey.shape}, and the labels have {image.shape}")
        grey = grey.rechunk(image.chunks)
    known = [name for name in MEASURES[:6] if name not in ("Area", "Volume") or name == size]
    if grey is not None:
        known += MEASURES[6:] if grey.dtype.kind in "iub" else MEASURES[6:8]
    names = known if measures is None else [name.strip() for name in measures.split(",")]
    wrong = [name for name in names if name not in known]
    if wrong:
        raise RuleError(f"measure does not join {', '.join(wrong)} of the parts of an object" +
                        (f" in {grey.dtype}" if grey is not None else " without an array") +
                        f"; it joins {', '.join(known)}. rix.label_analysis measures what is in memory")
    small = (2, 2, 2) if not flat else (1, 2, 2)[-image.ndim:]
    sample = rix.Image(np.ones(small, np.uint32), letters, spacing=spacing, spatial_unit=spatial_unit,
                       interpretation="label")
    template = rix.label_analysis(sample, None if grey is None else np.ones(small, grey.dtype),
                                  ", ".join(names))
    if image.dtype.kind not in "iu":
        raise DataTypeError(f"measure: labels are integers, not {image.dtype}")
    title = f"rix-measure-{tokenize(image.name, None if grey is None else grey.name, names, letters, sample.spacing)}"
    graph: Dict[Any, Any] = {title + "-call": Call("label_analysis", {}, (), letters, {}, threads)}
    offsets = offsets_of(image.chunks)
    leaves = []
    for place, index in enumerate(np.ndindex(*image.numblocks)):
        begins = [int(axis[i]) for axis, i in zip(offsets, index)]
        leaves.append((title + "-part", place))
        parts = [(part.name, *index) for part in (image, grey) if part is not None]
        graph[leaves[-1]] = (_objects, title + "-call", begins, *parts)
    joined = _tree(graph, title, leaves, _join_objects)
    graph[title] = (_objects_table, template, letters, image.shape, sample.spacing, joined)
    return _delayed(graph, title, [part for part in (image, grey) if part is not None])
