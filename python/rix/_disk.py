"""Images on disk, larger than the memory."""

import operator
import os
from types import TracebackType
from typing import Any, Dict, List, Mapping, Optional, Tuple, Type, Union

import numpy as np
import numpy.typing as npt

from . import _rix
from ._errors import DataTypeError, RuleError
from ._files import Path, calibration_source, checked_quality, with_calibration
from ._image import (ColorInterpretation, Directions, Interpretation, LabelScope, PerAxis, SpatialFrame,
                     describe_header)


class DiskImage(_rix.OpenImage):
    """An image whose samples lie on disk in chunks; `open_image` and `create_image` make it.

    Algorithms take it where they take images, and one of `create_image` for a result (`out=`). Indices and slices as
    NumPy has them give arrays, for which the chunks of that part are read: `image[3, 100:200, ::2]`. It has the axes,
    the calibration and the meaning of a `rix.Image`.

    Several threads may read it at once. A run writes it alone: to read, write or close it meanwhile is refused with
    `RunError`, as is what is asked of a closed one.
    """

    __slots__ = ()

    @property
    def shape(self) -> Tuple[int, ...]:
        """The number of elements along each axis."""
        return self._header().shape

    @property
    def ndim(self) -> int:
        return len(self.shape)

    @property
    def dtype(self) -> "np.dtype[Any]":
        return self._header().dtype

    @property
    def chunks(self) -> Tuple[int, ...]:
        """The number of elements of a chunk along each axis; those at the end may have fewer."""
        return tuple(self._chunks())

    @property
    def axes(self) -> str:
        """A letter for each dimension: x (columns), y (rows), z (planes), t (time), c (channels)."""
        return self._header().axes

    @property
    def spacing(self) -> Tuple[float, ...]:
        """The distance of neighbouring elements along each axis."""
        return self._header().spacing

    @property
    def origin(self) -> Tuple[float, ...]:
        """The position of the first element along each axis."""
        return self._header().origin

    @property
    def spatial_unit(self) -> str:
        """The unit of spacing and origin along x, y and z."""
        return self._header().spatial_unit

    @property
    def sequence_unit(self) -> str:
        """The unit of spacing and origin along t."""
        return self._header().sequence_unit

    @property
    def directions(self) -> Directions:
        """Where columns, rows and planes run in the world, a vector each."""
        return self._header().directions

    @property
    def interpretation(self) -> Interpretation:
        """Whether the values are those of a binary image, labels, or just values."""
        return self._header().interpretation

    @property
    def color_interpretation(self) -> ColorInterpretation:
        """What the channels are."""
        return self._header().color_interpretation

    @property
    def spatial_frame(self) -> Optional[SpatialFrame]:
        """Of a spectrum, where the samples lay before the transform."""
        return self._header().spatial_frame

    @property
    def label_scope(self) -> LabelScope:
        """Of a label image, whether a label is one object in all planes."""
        return self._header().label_scope

    @property
    def calibration(self) -> Dict[str, Any]:
        """What another image needs to lie in the same place: arguments for `Image`."""
        return self._header().calibration

    @property
    def closed(self) -> bool:
        return self._closed

    def __len__(self) -> int:
        return self.shape[0]

    def __getitem__(self, index: Any) -> Any:
        ranges: List[Tuple[int, int, int]] = []
        after: List[Union[int, slice]] = []
        shape = self.shape[:len(self.axes)]
        for place, size in zip(_places(index, len(shape)), shape):
            if isinstance(place, slice):
                within = range(size)[place]
                backwards = within.step < 0
                within = within[::-1] if backwards else within
                ranges.append((within.start if within else 0, len(within), within.step))
                after.append(slice(None, None, -1) if backwards else slice(None))
            else:
                if not -size <= place < size:
                    raise IndexError(f"index {place} is out of bounds for axis {len(ranges)} with size {size}")
                ranges.append((place % size, 1, 1))
                after.append(0)
        return self._read(ranges)[tuple(after)]

    def __array__(self, dtype: Any = None, copy: Optional[bool] = None) -> npt.NDArray[Any]:
        if copy is False:
            raise ValueError("an image on disk has no memory that an array could share: its samples are read")
        read: npt.NDArray[Any] = self[...]
        return read.astype(dtype or read.dtype, copy=False)

    def close(self) -> None:
        """Ends the use of the image. A created one is completed and appears under its name; temporary data is given up.

        Where that fails (the disk is full) or Ctrl-C ends it, it may be tried again. On a closed image nothing happens.

        Raises `FileError`, and `RunError` while it is in use, and for a created image that no run has completed.
        """
        self._close()

    def __enter__(self) -> "DiskImage":
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        if kind is None:
            self._close()
        else:
            self._give_up()

    def __reduce__(self) -> Any:
        raise DataTypeError("an image on disk can't be copied or pickled; other processes open it by its path")

    def __repr__(self) -> str:
        name = f"'{self._path}'" if self._path else "temporary data"
        if self._closed:
            return f"<rix.DiskImage {name}, closed>"
        if not self._has_samples:
            return f"<rix.DiskImage {name}, without samples>"
        return f"<rix.DiskImage {name}, {describe_header(self._header())}, chunks {self.chunks}>"


def _places(index: Any, count: int) -> List[Union[int, slice]]:
    """An index for each of `count` axes."""
    given = index if isinstance(index, tuple) else (index,)
    named = sum(place is not Ellipsis for place in given)
    if len(given) - named > 1 or named > count:
        raise IndexError(f"{index!r}: an index for each of {count} axes is accepted, and one '...'")
    places: List[Union[int, slice]] = []
    for place in given:
        if place is Ellipsis:
            places += [slice(None)] * (count - named)
        elif isinstance(place, slice):
            places.append(place)
        elif isinstance(place, (bool, np.bool_)) or not hasattr(place, "__index__") or np.ndim(place) != 0:
            raise IndexError(f"{place!r}: an image on disk takes whole numbers, slices and '...'; numpy.asarray(image) "
                             "reads all of it into memory")
        else:
            places.append(operator.index(place))
    return places + [slice(None)] * (count - len(places))


def open_image(path: Path, *, calibration: Union[str, PerAxis, Mapping[str, Any], None] = "file",
               maximum_size: Optional[int] = None, select: Optional[str] = None) -> DiskImage:
    """Opens an OME-Zarr or TIFF image on disk: no sample is read, and later the chunks that are asked for.

    Algorithms take it as they take images; it need not fit the memory. Chunks stay in a cache for the process
    (docs/settings.md, RIX_DISK_CACHE_SIZE).

    Parameters
    ----------
    calibration
        As `imread` has it.
    maximum_size
        The most bytes that a chunk may take in memory; unless given, the setting RIX_MAXIMUM_IMAGE_SIZE.
    select
        "series=1", "level=2" or "axes=tyx", as `imread` has them; ranges are refused: indices of what is opened take
        parts.

    Raises `FileError`, also for formats without chunks, and `RuleError` for a wrong `select`.
    """
    source, instead = calibration_source(calibration)
    image = DiskImage(os.fsdecode(path), source, maximum_size or 0, select or "")
    if instead:
        image._calibrate(with_calibration(image._header(), instead))
    return image


def create_image(path: Optional[Path] = None, *, compression: Optional[str] = None, drop_metadata: bool = False,
                 quality: Optional[int] = None, pyramid: bool = False) -> DiskImage:
    """An image on disk that takes the result of an algorithm as `out=`; its shape and type come with that.

    `close` completes the file, which then has its name, and `with` does so unless an exception ends it: then nothing
    appears, as for an image that is never closed. OME-Zarr is written chunk by chunk meanwhile, other formats by
    `close` from a temporary file beside.

    Parameters
    ----------
    path
        Its extension names the format. Unless given, temporary data in the folder RIX_TEMPORARY_DATA_DIRECTORY, which
        is gone with the image.
    compression, drop_metadata, quality, pyramid
        As `imwrite` has them.

    Raises `FileError` for a name of no format; `RuleError` for options of temporary data.
    """
    if path is None and (compression or drop_metadata or quality is not None or pyramid):
        raise RuleError("temporary data has no format, and no compression, drop_metadata, quality or pyramid")
    return DiskImage(os.fsdecode(path) if path is not None else "", compression or "", drop_metadata,
                     checked_quality(quality), pyramid)
