"""What the workers of `rix.dask` run, and how the arrays that they are given are cut."""

import itertools
from typing import Any, Dict, List, NamedTuple, Optional, Sequence, Tuple

import numpy as np
import numpy.typing as npt

from ._errors import RunError

Interval = Tuple[int, int]
Chunks = Tuple[Tuple[int, ...], ...]


def offsets_of(chunks: Chunks) -> Tuple[npt.NDArray[np.int64], ...]:
    """Where the chunks of each axis begin, and where the last one ends."""
    return tuple(np.concatenate([[0], np.cumsum(sizes, dtype=np.int64)]).astype(np.int64) for sizes in chunks)


class Reach(NamedTuple):
    """What a chunk needs of the image around it, along one axis."""

    before: int
    after: int
    group: int = 1  #: what is read begins at a multiple of this, with room for as much beside the reach

    def around(self, begin: int, end: int, size: int) -> Interval:
        if self.group > 1:
            begin = begin // self.group * self.group - self.before - self.group
            end = -(-end // self.group) * self.group + self.after + self.group
            return max(begin // self.group * self.group, 0), min(end, size)
        return max(begin - self.before, 0), min(end + self.after, size)


class Cut:
    """The chunks of an image, and what each needs of it."""

    def __init__(self, chunks: Chunks, reaches: Sequence[Reach]) -> None:
        self.offsets = offsets_of(chunks)
        self.reaches = tuple(reaches)
        # By axis and chunk: what it reads, and the chunks that have it.
        self.reads: List[List[Interval]] = []
        self.sources: List[List[range]] = []
        for offsets, reach in zip(self.offsets, self.reaches):
            size = int(offsets[-1])
            reads = [reach.around(int(begin), int(end), size) for begin, end in zip(offsets[:-1], offsets[1:])]
            first = np.searchsorted(offsets, [begin for begin, _ in reads], side="right") - 1
            last = np.searchsorted(offsets, [end for _, end in reads], side="left")
            self.reads.append(reads)
            self.sources.append([range(int(a), int(b)) for a, b in zip(first, last)])

    def sources_of(self, index: Tuple[int, ...]) -> "itertools.product[Tuple[int, ...]]":
        """The chunks that one reads from, in storage order."""
        return itertools.product(*(sources[i] for sources, i in zip(self.sources, index)))

    def region(self, index: Tuple[int, ...]) -> List[Interval]:
        return [reads[i] for reads, i in zip(self.reads, index)]

    def assemble(self, index: Tuple[int, ...], parts: Sequence[npt.NDArray[Any]]) -> npt.NDArray[Any]:
        """What a chunk reads, from the chunks that have it."""
        region = self.region(index)
        shape = tuple(end - begin for begin, end in region)
        if len(parts) == 1 and parts[0].shape == shape:
            return parts[0]
        whole = np.empty(shape, parts[0].dtype)
        for source, part in zip(self.sources_of(index), parts):
            into, out = [], []
            for (begin, end), offsets, i in zip(region, self.offsets, source):
                first, last = max(begin, int(offsets[i])), min(end, int(offsets[i + 1]))
                into.append(slice(first - begin, last - begin))
                out.append(slice(first - int(offsets[i]), last - int(offsets[i])))
            whole[tuple(into)] = part[tuple(out)]
        return whole

    def trim(self, index: Tuple[int, ...], letters: str, result: npt.NDArray[Any], axes: str) -> npt.NDArray[Any]:
        """The chunk, of what was computed of all that it read; a result may have axes that the image has not."""
        inner = dict.fromkeys(axes, slice(None))
        for letter, (begin, _), offsets, i in zip(letters, self.region(index), self.offsets, index):
            if letter != "c":
                inner[letter] = slice(int(offsets[i]) - begin, int(offsets[i + 1]) - begin)
        trimmed = result[tuple(inner[letter] for letter in axes)]
        return trimmed if trimmed.shape == result.shape else np.ascontiguousarray(trimmed)


class Call:
    """One algorithm with its values, ready for the images of one part.

    `images` are the names of the images that are cut, in the order in which parts come; `calibration` is what a
    `rix.Image` of one takes. (No tuple: dask would take it for a task.)
    """

    def __init__(self, function: str, values: Dict[str, Any], images: Tuple[str, ...], axes: str,
                 calibration: Dict[str, Any], threads: Optional[int]) -> None:
        self.function = function
        self.values = values
        self.images = images
        self.axes = axes
        self.calibration = calibration
        self.threads = threads

    def __call__(self, arrays: Sequence[npt.NDArray[Any]]) -> Any:
        import rix
        given = [rix.Image(array, self.axes, **self.calibration) for array in arrays]
        return getattr(rix, self.function)(**dict(zip(self.images, given)), **self.values, axes=self.axes,
                                           threads=self.threads)


class Block:
    """What all chunks of one call share; it goes to each worker once."""

    def __init__(self, call: Call, cut: Cut, dtypes: Tuple[Any, ...]) -> None:
        self.call = call
        self.cut = cut
        self.dtypes = dtypes


def run_block(block: Block, index: Tuple[int, ...], *parts: List[npt.NDArray[Any]]) -> Any:
    """The results of one chunk: an array, or a tuple of several."""
    results = block.call([block.cut.assemble(index, part) for part in parts])
    results = results if isinstance(results, tuple) else (results,)
    made = tuple(block.cut.trim(index, block.call.axes, result.array, result.axes) for result in results)
    for array, dtype in zip(made, block.dtypes):
        if array.dtype != dtype:
            raise RunError(f"{block.call.function}: a chunk has {array.dtype}, where {dtype} was announced")
    return made if len(made) > 1 else made[0]


def run_whole(call: Call, arrays: Sequence[npt.NDArray[Any]]) -> Any:
    """What a call gives, with arrays for images."""
    results = call(arrays)
    if not isinstance(results, tuple):
        return getattr(results, "array", results)
    return type(results)(*[getattr(result, "array", result) for result in results])


def compare(array: npt.NDArray[Any], criterion: str, letters: str, threads: Optional[int],
            threshold: Any) -> npt.NDArray[Any]:
    """Which voxels lie on a side of the threshold of a table."""
    import rix
    image: Any = rix.thresholding_by_criterion(rix.Image(array, letters), criterion, float(threshold["threshold"][0]),
                                               threads=threads)
    return np.asarray(image.array)
