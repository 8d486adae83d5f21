"""What can be done with a rix.Image itself: parts by the names of axes, arithmetic, comparisons, statistics, pictures."""

import os
import sys
import tempfile
from typing import TYPE_CHECKING, Any, Dict, Mapping, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import _rix
from ._errors import DataTypeError, RuleError

if TYPE_CHECKING:
    from ._image import Image

Place = Union[int, slice]
SPATIAL = "xyz"


def _function(name: str) -> Any:
    """A function of the package, which makes each at its first use and keeps it."""
    return getattr(sys.modules[__package__], name)


def _shifted(image: "Image", begins: Mapping[str, int]) -> Dict[str, float]:
    """The position, by letter, of what begins that many elements further along the axes."""
    places = dict(zip(image.axes, image.origin))
    spacing = dict(zip(image.axes, image.spacing))
    for axis, begin in begins.items():
        if axis not in SPATIAL:
            places[axis] += begin * spacing[axis]
            continue
        for towards, part in zip(SPATIAL, image.directions[SPATIAL.index(axis)]):
            if part != 0.0 and towards in places:
                places[towards] += begin * spacing[axis] * part
    return places


class Operators:
    """The part of rix.Image that computes. What comes out of arithmetic and comparisons is the library's: types are
    promoted so that nothing overflows, divisions by zero and NaN are as its operations document them."""

    __slots__ = ()

    def isel(self: Any, **places: Place) -> "Image":
        """The part at places along axes, which keeps its place in the world: `image.isel(z=3, x=slice(10, 50))`.

        An index takes its axis away, a slice with a positive step keeps it. Nothing is copied.
        """
        begins: Dict[str, int] = {}
        steps: Dict[str, int] = {}
        index: Dict[str, Place] = {}
        for axis, place in places.items():
            if axis not in self.axes:
                raise RuleError(f"the image has no axis '{axis}'; its axes are {self.axes}")
            size = self.shape[self.axes.index(axis)]
            if isinstance(place, slice):
                begin, end, step = place.indices(size)
                if step < 1 or begin >= end:
                    raise RuleError(f"{axis}={place}: a slice with a positive step that is not empty is accepted; the "
                                    f"image has {size} elements along {axis}")
                begins[axis], steps[axis], index[axis] = begin, step, slice(begin, end, step)
            else:
                number = place.__index__()
                if not -size <= number < size:
                    raise RuleError(f"{axis}={number}: the image has {size} elements along {axis}")
                begins[axis] = index[axis] = number % size
        kept = "".join(axis for axis in self.axes if not isinstance(index.get(axis), int))
        if not kept:
            raise RuleError("an image keeps one axis at least; single samples are those of its array")
        origin = _shifted(self, begins)
        spacing = dict(zip(self.axes, self.spacing))
        calibration = dict(self.calibration, axes=kept, origin=tuple(origin[axis] for axis in kept),
                           spacing=tuple(spacing[axis] * steps.get(axis, 1) for axis in kept), spatial_frame=None)
        part = self.array[tuple(index.get(axis, slice(None)) for axis in self.axes)]
        colour = 0 if "c" in index else self.color_interpretation
        made: "Image" = type(self)(part, **calibration, interpretation=self.interpretation, color_interpretation=colour,
                                   label_scope=self.label_scope)
        return made

    def __getitem__(self: Any, key: Any) -> "Image":
        """`image[{"z": 3, "x": slice(10, 50)}]`, or indices and slices in the order of the axes."""
        if isinstance(key, Mapping):
            return self.isel(**key)  # type: ignore[no-any-return]
        keys: Tuple[Any, ...] = key if isinstance(key, tuple) else (key,)
        if Ellipsis in keys:
            place = keys.index(Ellipsis)
            keys = keys[:place] + (slice(None),) * (self.ndim - len(keys) + 1) + keys[place + 1:]
        if len(keys) > self.ndim or not all(isinstance(one, slice) or hasattr(one, "__index__") for one in keys):
            raise RuleError(f"an image takes at most an index or a slice for each of its axes {self.axes}, or these by "
                            "the letters of axes; masks and lists of indices are for its array")
        return self.isel(**dict(zip(self.axes, keys)))  # type: ignore[no-any-return]

    def plane(self, index: int) -> "Image":
        """One plane: `isel(z=index)`."""
        return self.isel(z=index)

    def channel(self, index: int) -> "Image":
        """One channel: `isel(c=index)`."""
        return self.isel(c=index)

    def frame(self, index: int) -> "Image":
        """One point in time: `isel(t=index)`."""
        return self.isel(t=index)

    def transpose(self: Any, axes: str) -> "Image":
        """The same memory with its dimensions in another order: `picture.transpose("yxc")` is what picture libraries
        expect of colours."""
        if sorted(axes) != sorted(self.axes):
            raise RuleError(f'axes="{axes}": the axes of the image, {self.axes}, are accepted in any order')
        order = [self.axes.index(axis) for axis in axes]
        calibration = dict(self.calibration, axes=axes, spacing=tuple(self.spacing[i] for i in order),
                           origin=tuple(self.origin[i] for i in order))
        made: "Image" = type(self)(self.array.transpose(order), **calibration, interpretation=self.interpretation,
                                   color_interpretation=self.color_interpretation, label_scope=self.label_scope)
        return made

    def astype(self: Any, dtype: npt.DTypeLike) -> "Image":
        """Another type of samples, as `convert_image` makes it: what an integer type does not hold wraps. bool makes a
        binary image, 1 where there was no 0."""
        wanted = np.dtype(dtype)
        if wanted == self.dtype:
            return self.isel()  # type: ignore[no-any-return]
        labels = {"b": "BINARY", "u": "UNSIGNED_INTEGER", "i": "SIGNED_INTEGER", "f": "FLOAT", "c": "COMPLEX_FLOAT"}
        if wanted.kind not in labels:
            raise DataTypeError(f"images hold no {wanted}")
        bits = wanted.itemsize * (4 if wanted.kind == "c" else 8)
        label = labels[wanted.kind] + (f"_{bits}_BIT" if wanted.kind != "b" else "")
        if self.interpretation == 1 and wanted.kind == "u" and bits <= 32:
            label = f"LABEL_{bits}_BIT"
        return _function("convert_image")(self, output_type=label)  # type: ignore[no-any-return]

    # Arithmetic ------------------------------------------------------------------------------------------------------

    def _combine(self, other: Any, kind: str, operator: str) -> Any:
        if np.ndim(other) == 0 and isinstance(other, (int, float, np.number)):
            return _function(f"{kind}_operation_with_value")(self, float(other), operator)
        if isinstance(other, (Operators, np.ndarray)):
            return _function(f"{kind}_operation_with_image")(self, other, operator)
        return NotImplemented

    def _formula(self, other: Any, formula: str) -> Any:
        """A formula of this image, a, and another one or a number, b."""
        if np.ndim(other) == 0 and isinstance(other, (int, float, np.number)):
            return _function("image_formula")(self, formula=formula.replace("b", f"({float(other)!r})"))
        if isinstance(other, (Operators, np.ndarray)):
            return _function("image_formula")(self, other, formula=formula)
        return NotImplemented

    def __add__(self, other: Any) -> Any:
        return self._combine(other, "arithmetic", "ADD")

    __radd__ = __add__

    def __sub__(self, other: Any) -> Any:
        return self._combine(other, "arithmetic", "SUBTRACT")

    def __rsub__(self, other: Any) -> Any:
        return self._formula(other, "b - a")

    def __mul__(self, other: Any) -> Any:
        return self._combine(other, "arithmetic", "MULTIPLY")

    __rmul__ = __mul__

    def __truediv__(self, other: Any) -> Any:
        return self._combine(other, "arithmetic", "DIVIDE")

    def __rtruediv__(self, other: Any) -> Any:
        return self._formula(other, "b / a")

    def __and__(self, other: Any) -> Any:
        return self._combine(other, "logical", "AND")

    def __or__(self, other: Any) -> Any:
        return self._combine(other, "logical", "OR")

    def __xor__(self, other: Any) -> Any:
        return self._combine(other, "logical", "XOR")

    def __invert__(self) -> Any:
        return _function("invert")(self)

    # Comparisons. == stays that of objects: an image is one among others in lists, sets and dictionaries -----------------

    def _compare(self, other: Any, criterion: str, formula: str) -> Any:
        if np.ndim(other) == 0 and isinstance(other, (int, float, np.number)):
            return _function("thresholding_by_criterion")(self, criterion, float(other))
        return self._formula(other, formula)

    def __lt__(self, other: Any) -> Any:
        return self._compare(other, "LESS_THAN", "a < b")

    def __le__(self, other: Any) -> Any:
        return self._compare(other, "LESS_THAN_OR_EQUAL_TO", "a <= b")

    def __gt__(self, other: Any) -> Any:
        return self._compare(other, "GREATER_THAN", "a > b")

    def __ge__(self, other: Any) -> Any:
        return self._compare(other, "GREATER_THAN_OR_EQUAL_TO", "a >= b")

    # Statistics ------------------------------------------------------------------------------------------------------

    def _statistic(self, name: str) -> float:
        return float(_function("image_statistics")(self, measures=name)[name][0])

    def mean(self) -> float:
        """The mean of all finite samples."""
        return self._statistic("Mean")

    def std(self) -> float:
        """The standard deviation of all finite samples, divided by their number."""
        return self._statistic("StandardDeviation")

    def sum(self) -> float:
        """The sum of all finite samples."""
        return self._statistic("Sum")

    def min(self) -> float:
        """The smallest finite sample."""
        return self._statistic("Minimum")

    def max(self) -> float:
        """The greatest finite sample."""
        return self._statistic("Maximum")

    # Elsewhere -------------------------------------------------------------------------------------------------------

    def _repr_png_(self: Any) -> bytes:
        """A picture for notebooks: the middle plane of a volume, the first of a sequence, as `rix render` draws it."""
        from . import _rendering  # needs a drawing library, which what only computes does without
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "picture.png")
            picture = type(self)(_rendering.view(self), "yxc", color_interpretation="rgb")
            _rix.write_image(path, picture, "", "", True, 0, False)
            with open(path, "rb") as file:
                return file.read()

    def to_xarray(self: Any) -> Any:
        """An xarray.DataArray of the same memory, with coordinates from the calibration; algorithms take it, too."""
        import xarray
        names = {"x": "x", "y": "y", "z": "z", "t": "time", "c": "channel"}
        coords = {}
        for axis, size, spacing, origin in zip(self.axes, self.shape, self.spacing, self.origin):
            if axis == "c":
                continue
            sign = self.directions[SPATIAL.index(axis)][SPATIAL.index(axis)] if axis in SPATIAL else 1.0
            if abs(sign) != 1.0:
                raise RuleError("coordinates along x, y and z tell no oblique directions: the image has "
                                f"{self.directions}")
            unit = self.sequence_unit if axis == "t" else self.spatial_unit
            coords[names[axis]] = (names[axis], origin + sign * spacing * np.arange(size), {"units": unit} if unit else {})
        attrs = {}
        if self.interpretation != 2:
            attrs["interpretation"] = self.interpretation.name.lower()
        if self.label_scope != 0:
            attrs["label_scope"] = self.label_scope.name.lower()
        return xarray.DataArray(self.array, dims=[names[axis] for axis in self.axes], coords=coords, attrs=attrs)
