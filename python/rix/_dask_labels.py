"""Labels of objects across chunks."""

import itertools
from typing import Any, Dict, List, NamedTuple, Optional, Sequence, Tuple, Union

import numpy as np
import numpy.typing as npt

from ._dask_blocks import Block, Call, Cut, Reach
from ._errors import RuleError, RunError

Side = Tuple[int, ...]  #: the axes along which a voxel lies in the next chunk
_NOWHERE = np.iinfo(np.int64).max


def label(array: Any, *, neighborhood: Union[int, str, None] = None, axes: Optional[str] = None,
          threads: Optional[int] = 1) -> Any:
    """Numbers the connected sets of voxels that are not 0: 1, 2, 3, ... in the raster order of their first voxels.

    The numbers are those of `rix.labeling_2d` of a plane and of `rix.labeling_3d` of a volume in memory, whatever the
    chunks. They are always uint32, while in memory they may have 8 or 16 bits.

    Parameters
    ----------
    array
        A dask array of two or three dimensions, of a type that these functions take.
    neighborhood
        Which voxels touch, as these functions take it; by default those across edges (2D) and faces (3D).
    axes
        A letter for each dimension: "yx" or "zyx" unless given, in which x comes last.
    threads
        The largest number of threads of a task.

    Raises
    ------
    RuleError
        For an array of other dimensions, and for what the algorithm refuses.
    RunError
        When computed: for more than 4294967295 objects.
    """
    import dask.array as da
    from dask.base import tokenize
    from dask.highlevelgraph import HighLevelGraph

    from . import _rix
    image = da.asarray(array)
    letters = _rix.axes_of_array(image.ndim, axes or "")
    if letters not in ("yx", "zyx"):
        raise RuleError(f"label numbers planes with the axes yx and volumes with the axes zyx, not {letters}: "
                        "frames and channels are numbered each by itself")
    function = f"labeling_{image.ndim}d"
    values: Dict[str, Any] = {"label_type": "LABEL_32_BIT"}
    if neighborhood is not None:
        values["neighborhood"] = neighborhood
    call = Call(function, values, ("input_object_image",), letters, {}, threads)
    call([np.zeros((1,) * image.ndim, image.dtype)])  # refuses what can't be labeled before anything runs
    cut = Cut(image.chunks, [Reach(0, 1)] * image.ndim)
    block = Block(call, cut, (np.dtype(np.uint32),))
    title = f"rix-label-{tokenize(image.name, values, letters, threads)}"
    shared, parts, faces, seams, joined = (title + end for end in ("-call", "-parts", "-faces", "-seams", "-joined"))
    graph: Dict[Any, Any] = {shared: block}
    indices = list(np.ndindex(*image.numblocks))
    places = {index: place for place, index in enumerate(indices)}
    for place, index in enumerate(indices):
        sources = [(image.name, *source) for source in cut.sources_of(index)]
        graph[(parts, place)] = (label_block, shared, index, sources)
        graph[(faces, place)] = (_without_labels, (parts, place))
        nexts = [(side, places[_next(index, side)]) for side in _sides(index, image.numblocks)]
        graph[(seams, place)] = (match, (faces, place), [side for side, _ in nexts], [other for _, other in nexts],
                                 [(faces, other) for _, other in nexts])
        graph[(title, *index)] = (_renumber, (parts, place), (joined + "-part", place))
        graph[(joined + "-part", place)] = (_item, joined, place)
    graph[joined] = (join, [(seams, place) for place in range(len(indices))])
    layers = HighLevelGraph.from_collections(title, graph, dependencies=[image])
    return da.Array(layers, title, image.chunks, meta=np.empty((0,) * image.ndim, np.uint32))


def _sides(index: Tuple[int, ...], numblocks: Tuple[int, ...]) -> List[Side]:
    """The faces, edges and corners beyond which there are chunks, toward greater indices."""
    axes = [axis for axis, (i, count) in enumerate(zip(index, numblocks)) if i + 1 < count]
    return [side for count in range(1, len(axes) + 1) for side in itertools.combinations(axes, count)]


def _next(index: Tuple[int, ...], side: Side) -> Tuple[int, ...]:
    return tuple(i + 1 if axis in side else i for axis, i in enumerate(index))


class _Part(NamedTuple):
    """A chunk, labeled by itself together with the first voxels of the next ones: two voxels that touch are together in
    the chunk that has the smallest of all their coordinates."""

    labels: Optional[npt.NDArray[np.uint32]]
    number: int  #: of labels
    first: npt.NDArray[np.int64]  #: by label less 1: where its first voxel in the chunk lies in the image
    own: Dict[Side, npt.NDArray[np.uint32]]  #: by side: the chunk's own labels where the chunks before it look
    beyond: Dict[Side, npt.NDArray[np.uint32]]  #: by side: the labels that it gave to voxels of the next chunks


def label_block(block: Block, index: Tuple[int, ...], sources: Sequence[npt.NDArray[Any]]) -> _Part:
    labels = block.call([block.cut.assemble(index, sources)]).array
    offsets = block.cut.offsets
    begins = [int(axis[i]) for axis, i in zip(offsets, index)]
    sizes = [int(axis[i + 1]) - begin for axis, i, begin in zip(offsets, index, begins)]
    count = int(labels.max(initial=0))
    inside = tuple(slice(0, size) for size in sizes)
    own = np.ascontiguousarray(labels[inside])
    # Of those with equal labels the first comes last, and stays.
    places = np.flatnonzero(own)[::-1]
    first = np.full(count, _NOWHERE, np.int64)
    image = tuple(int(axis[-1]) for axis in offsets)
    within = np.unravel_index(places, own.shape)
    first[own.reshape(-1)[places].astype(np.int64) - 1] = np.ravel_multi_index(
        tuple(axis + begin for axis, begin in zip(within, begins)), image)
    lower, upper = {}, {}
    numblocks = tuple(len(axis) - 1 for axis in offsets)
    for side in _sides((0,) * len(index), tuple(i + 1 for i in index)):
        lower[side] = own[tuple(0 if axis in side else slice(None) for axis in range(own.ndim))].copy()
    for side in _sides(index, numblocks):
        upper[side] = labels[tuple(size if axis in side else slice(0, size) for axis, size in enumerate(sizes))].copy()
    return _Part(own, count, first, lower, upper)


def _without_labels(part: _Part) -> _Part:
    return part._replace(labels=None)


class _Seam(NamedTuple):
    number: int  #: of labels
    first: npt.NDArray[np.int64]
    pairs: List[Tuple[int, npt.NDArray[np.int64]]]  #: the place of another chunk; pairs of labels here and there


def match(part: _Part, sides: Sequence[Side], places: Sequence[int], others: Sequence[_Part]) -> _Seam:
    """Which labels of a chunk and of those next to it are of the same voxels."""
    pairs = []
    for side, place, other in zip(sides, places, others):
        side = tuple(side)
        here = part.beyond[side].reshape(-1).astype(np.int64)
        there = other.own[side].reshape(-1).astype(np.int64)
        both = np.flatnonzero(here)
        if len(both) > 0:
            pairs.append((place, np.unique(np.stack([here[both], there[both]], 1), axis=0)))
    return _Seam(part.number, part.first, pairs)


def join(seams: Sequence[_Seam]) -> List[npt.NDArray[np.uint32]]:
    """The number of each label of each chunk, by label less 1."""
    offsets = np.concatenate([[0], np.cumsum([seam.number for seam in seams])]).astype(np.int64)
    first = np.concatenate([seam.first for seam in seams]) if len(offsets) > 1 else np.zeros(0, np.int64)
    left = [np.zeros(0, np.int64)]
    right = [np.zeros(0, np.int64)]
    for place, seam in enumerate(seams):
        for other, pairs in seam.pairs:
            left.append(pairs[:, 0] - 1 + offsets[place])
            right.append(pairs[:, 1] - 1 + offsets[other])
    root = _roots(int(offsets[-1]), np.concatenate(left), np.concatenate(right))
    np.minimum.at(first, root, first.copy())
    objects = np.flatnonzero(root == np.arange(len(root)))
    if len(objects) > np.iinfo(np.uint32).max:
        raise RunError(f"label: {len(objects)} objects have no numbers of 32 bits")
    numbers = np.zeros(len(root), np.uint32)
    numbers[objects[np.argsort(first[objects], kind="stable")]] = np.arange(1, len(objects) + 1, dtype=np.uint32)
    numbers = numbers[root]
    return [numbers[begin:end] for begin, end in zip(offsets[:-1], offsets[1:])]


def _roots(count: int, left: npt.NDArray[np.int64], right: npt.NDArray[np.int64]) -> npt.NDArray[np.int64]:
    """The smallest of all that are connected by pairs, for each."""
    parent = np.arange(count, dtype=np.int64)
    while True:
        a, b = parent[left], parent[right]
        apart = a != b
        if not apart.any():
            return parent
        left, right, a, b = left[apart], right[apart], a[apart], b[apart]
        least = np.minimum(a, b)
        np.minimum.at(parent, np.maximum(a, b), least)
        while True:
            grandparent = parent[parent]
            if np.array_equal(grandparent, parent):
                break
            parent = grandparent


def _item(numbers: List[npt.NDArray[np.uint32]], place: int) -> npt.NDArray[np.uint32]:
    return numbers[place]


def _renumber(part: _Part, numbers: npt.NDArray[np.uint32]) -> npt.NDArray[np.uint32]:
    assert part.labels is not None
    return np.concatenate([np.zeros(1, np.uint32), numbers])[part.labels]
