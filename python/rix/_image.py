"""An array with what it means: axes, calibration, interpretation."""

from enum import IntEnum
from typing import Any, Dict, Mapping, NamedTuple, Optional, Sequence, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import _rix
from ._errors import DataTypeError, Error, RuleError
from ._operators import Operators

PerAxis = Union[float, Sequence[float], Mapping[str, float]]
Directions = Tuple[Tuple[float, float, float], Tuple[float, float, float], Tuple[float, float, float]]

WORLD_AXES: Directions = ((1.0, 0.0, 0.0), (0.0, 1.0, 0.0), (0.0, 0.0, 1.0))


class Interpretation(IntEnum):
    """What the values of an image mean."""

    BINARY = 0
    LABEL = 1
    VALUE = 2


class ColorInterpretation(IntEnum):
    """What the channels of an image mean."""

    UNKNOWN = 0
    RGB = 1
    HSL = 2
    YIQ = 3
    NRGB = 4


class LabelScope(IntEnum):
    """In what part of a label image equal labels are one object."""

    VOLUME = 0  #: in a frame and channel, through all planes; also where nothing is known
    PLANE = 1  #: in a plane: the same label in the next one is another object


class SpatialFrame(NamedTuple):
    """Where the samples of a spectrum lay before the transform: what the inverse cannot tell from frequencies."""

    columns: int
    origin: Tuple[float, float, float]  #: along x, y and z
    spacing: Tuple[float, float, float]


def _per_axis(name: str, values: PerAxis, axes: str, neutral: float) -> Tuple[float, ...]:
    try:
        return _numbers(name, values, axes, neutral)
    except (TypeError, ValueError) as error:
        if isinstance(error, Error):
            raise
        kind = DataTypeError if isinstance(error, TypeError) else RuleError
        raise kind(f"{name}={values!r}: a number, or a number for each axis, is accepted") from None


def _numbers(name: str, values: PerAxis, axes: str, neutral: float) -> Tuple[float, ...]:
    if isinstance(values, Mapping):
        unknown = set(values) - set(axes)
        if unknown:
            raise RuleError(f"{name}: the image has no axis {', '.join(sorted(unknown))}; its axes are {axes}")
        return tuple(float(values.get(axis, neutral)) for axis in axes)
    if np.ndim(values) == 0:
        return tuple(float(values) if axis in "xyz" else neutral for axis in axes)  # type: ignore[arg-type]
    listed = tuple(float(value) for value in values)  # type: ignore[union-attr]
    if len(listed) != len(axes):
        raise RuleError(f"{name} has {len(listed)} values; the image has {len(axes)} axes, {axes}")
    return listed


def _member(kind: Any, value: Any) -> Any:
    try:
        return kind[value.upper()] if isinstance(value, str) else kind(value)
    except (KeyError, ValueError):
        raise RuleError(f"'{value}' is none of {', '.join(kind.__members__)}") from None


class Image(Operators):
    """An array with its axes, calibration and interpretation. The array is not copied.

    Parts by the names of axes (`image[{"z": 3}]`, `image.plane(3)`), `+ - * / & | ^ ~ < <= > >=`, `astype`, `mean`, `std`,
    `min`, `max` and `sum` give what the library's operations give. Notebooks show the image as a picture.

    Parameters
    ----------
    array
        The samples. Arrays of bool are binary images.
    axes
        A letter for each dimension: x (columns), y (rows), z (planes), t (time), c (channels). Unless given, two
        dimensions are "yx" and three are "zyx"; any other number has to be named.
    spacing, origin
        Distance of neighbouring elements and position of the first one: a value for each axis in the order of `axes`,
        or by letter, or one number for all of x, y and z.
    spatial_unit, sequence_unit
        The units of these along x, y, z and along t, such as "mm" and "s".
    directions
        Where columns, rows and planes run in the world, a vector each.
    interpretation
        "binary" (0 and 1), "label" (0 is background) or "value"; unless given, binary for bool, else value.
    color_interpretation
        What the channels are: "unknown", "rgb", "hsl", "yiq", "nrgb".
    spatial_frame
        Of a spectrum, where the samples lay before the transform.
    label_scope
        Of a label image, whether a label is one object in all planes ("volume") or in each plane another ("plane", as
        `labeling_2d` makes them).
    """

    __slots__ = ("array", "axes", "spacing", "origin", "spatial_unit", "sequence_unit", "directions",
                 "interpretation", "color_interpretation", "spatial_frame", "label_scope", "__weakref__")

    array: npt.NDArray[Any]
    axes: str
    spacing: Tuple[float, ...]
    origin: Tuple[float, ...]
    spatial_unit: str
    sequence_unit: str
    directions: Directions
    interpretation: Interpretation
    color_interpretation: ColorInterpretation
    spatial_frame: Optional[SpatialFrame]
    label_scope: LabelScope

    def __init__(self, array: npt.ArrayLike, axes: Optional[str] = None, *, spacing: PerAxis = 1.0,
                 origin: PerAxis = 0.0, spatial_unit: str = "", sequence_unit: str = "",
                 directions: Sequence[Sequence[float]] = WORLD_AXES,
                 interpretation: Union[Interpretation, str, None] = None,
                 color_interpretation: Union[ColorInterpretation, str] = ColorInterpretation.UNKNOWN,
                 spatial_frame: Optional[SpatialFrame] = None,
                 label_scope: Union[LabelScope, str] = LabelScope.VOLUME) -> None:
        self.array = np.asarray(array)
        self.axes = _rix.axes_of_array(self.array.ndim, axes or "")
        if axes is not None and len(axes) != self.array.ndim:
            raise RuleError(f'axes="{axes}" names {len(axes)} axes; the array has {self.array.ndim} dimensions')
        self.spacing = _per_axis("spacing", spacing, self.axes, 1.0)
        self.origin = _per_axis("origin", origin, self.axes, 0.0)
        self.spatial_unit = spatial_unit
        self.sequence_unit = sequence_unit
        if np.shape(directions) != (3, 3):
            raise RuleError("directions are three vectors of three components")
        self.directions = tuple(tuple(float(x) for x in vector) for vector in directions)  # type: ignore[assignment]
        if interpretation is None:
            interpretation = Interpretation.BINARY if self.array.dtype == np.bool_ else Interpretation.VALUE
        self.interpretation = _member(Interpretation, interpretation)
        self.color_interpretation = _member(ColorInterpretation, color_interpretation)
        self.spatial_frame = spatial_frame
        self.label_scope = _member(LabelScope, label_scope)

    @classmethod
    def _make(cls, array: npt.NDArray[Any], axes: str, spacing: Tuple[float, ...], origin: Tuple[float, ...],
              spatial_unit: str, sequence_unit: str, directions: Directions, interpretation: int,
              color_interpretation: int, spatial_frame: Optional[SpatialFrame], label_scope: int) -> "Image":
        """From parts that are known to be right."""
        image = cls.__new__(cls)
        image.array, image.axes, image.spacing, image.origin = array, axes, spacing, origin
        image.spatial_unit, image.sequence_unit, image.directions = spatial_unit, sequence_unit, directions
        image.interpretation = Interpretation(interpretation)
        image.color_interpretation = ColorInterpretation(color_interpretation)
        image.spatial_frame = spatial_frame
        image.label_scope = LabelScope(label_scope)
        return image

    def _take(self, other: "Image") -> None:
        """Everything but the array."""
        for name in self.__slots__[1:-1]:
            setattr(self, name, getattr(other, name))

    @property
    def shape(self) -> Tuple[int, ...]:
        return self.array.shape

    @property
    def ndim(self) -> int:
        return self.array.ndim

    @property
    def dtype(self) -> "np.dtype[Any]":
        return self.array.dtype

    @property
    def calibration(self) -> Dict[str, Any]:
        """What another image needs to lie in the same place: arguments for `Image`."""
        names = ("axes", "spacing", "origin", "spatial_unit", "sequence_unit", "directions", "spatial_frame")
        return {name: getattr(self, name) for name in names}

    def __array__(self, dtype: Any = None, copy: Optional[bool] = None) -> npt.NDArray[Any]:
        return self.array.astype(dtype or self.array.dtype, copy=bool(copy))

    def __repr__(self) -> str:
        return f"<rix.Image {describe_header(self)}>"


def describe_header(image: Image) -> str:
    """Sizes, type, meaning and spacing in a line."""
    sizes = ", ".join(f"{axis}={size}" for axis, size in zip(image.axes, image.shape))
    unit = f" {image.spatial_unit}" if image.spatial_unit else ""
    color = f", {image.color_interpretation.name}" if image.color_interpretation else ""
    return f"{sizes}, {image.dtype}, {image.interpretation.name.lower()}{color}, spacing {image.spacing}{unit}"
