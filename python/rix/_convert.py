"""Images that are neither arrays nor rix.Image: xarray.DataArray, and whatever NumPy reads as an array."""

import sys
from typing import Any, Callable, Dict, Optional, Tuple, Union

import numpy as np
import numpy.typing as npt

from ._errors import DataTypeError, RuleError
from ._image import WORLD_AXES, Image, Interpretation, LabelScope

# What people call the axes.
AXES_BY_NAME = {
    "x": "x", "col": "x", "cols": "x", "column": "x", "columns": "x",
    "y": "y", "row": "y", "rows": "y",
    "z": "z", "plane": "z", "planes": "z", "slice": "z", "slices": "z", "depth": "z",
    "t": "t", "time": "t", "frame": "t", "frames": "t",
    "c": "c", "channel": "c", "channels": "c", "band": "c", "bands": "c", "wavelength": "c",
}


def open_foreign(value: Any, axes: str) -> Tuple[Union[Image, npt.NDArray[Any]], Optional[Callable[[Image], Any]]]:
    """An array or a rix.Image without a copy, and what makes a result the same kind of object (None for an array)."""
    xarray = sys.modules.get("xarray")  # who has a DataArray has imported it
    if xarray is not None and isinstance(value, xarray.DataArray):
        return _open_data_array(value, axes)
    if hasattr(value, "__array__") or hasattr(value, "__array_interface__"):
        return np.asarray(value), None
    try:
        return np.asarray(memoryview(value)), None
    except TypeError:
        pass
    raise DataTypeError(f"a {type(value).__name__} can't be an image: NumPy arrays, rix.Image, xarray.DataArray and "
                        "what NumPy reads without a copy can")


def _letters_of(array: Any, axes: str) -> str:
    if axes and len(axes) == array.ndim:
        return axes.lower()
    unknown = [str(dim) for dim in array.dims if str(dim).lower() not in AXES_BY_NAME]
    if unknown:
        raise RuleError(f"the dimension {unknown[0]!r} of a DataArray is none of the axes that are known by name "
                        f"({', '.join(AXES_BY_NAME)}); name all with axes=, \"tczyx\" style")
    return "".join(AXES_BY_NAME[str(dim).lower()] for dim in array.dims)


def _calibrate(array: Any, letters: str, arguments: Dict[str, Any]) -> None:
    """Spacing, origin and units from evenly spaced coordinates."""
    directions = [list(vector) for vector in WORLD_AXES]
    spacing, origin = {}, {}
    for dim, letter in zip(array.dims, letters):
        if dim not in array.coords or array.coords[dim].dtype.kind not in "iuf":
            continue
        places = np.asarray(array.coords[dim].values, dtype=float)
        steps = np.diff(places)
        if len(steps) and not np.allclose(steps, steps[0], rtol=1e-4, atol=0):
            if letter in "xyz":
                raise RuleError(f"the coordinates of the dimension {dim!r} are not evenly spaced, which pixels are; "
                                "drop or interpolate them first")
            continue
        if len(places):
            origin[letter] = float(places[0])
        if len(steps):
            spacing[letter] = abs(float(np.mean(steps)))
            if steps[0] < 0 and letter in "xyz":
                directions["xyz".index(letter)] = [-x for x in directions["xyz".index(letter)]]
        unit = array.coords[dim].attrs.get("units", "")
        if unit and letter in "xyzt":
            arguments["sequence_unit" if letter == "t" else "spatial_unit"] = str(unit)
    arguments.update(spacing=spacing, origin=origin, directions=directions)


def _open_data_array(array: Any, axes: str) -> Tuple[Image, Callable[[Image], Any]]:
    letters = _letters_of(array, axes)
    arguments: Dict[str, Any] = {}
    _calibrate(array, letters, arguments)
    meaning = str(array.attrs.get("interpretation", ""))
    scope = str(array.attrs.get("label_scope", ""))
    image = Image(np.asarray(array.data), letters,
                  interpretation=meaning if meaning.upper() in Interpretation.__members__ else None,
                  label_scope=scope if scope.upper() in LabelScope.__members__ else LabelScope.VOLUME, **arguments)

    def wrap(result: Image) -> Any:
        names = dict(zip(letters, array.dims))
        dims = [names.get(letter, letter) for letter in result.axes]
        sizes = dict(zip(dims, result.shape))
        coords = {name: coord for name, coord in array.coords.items()
                  if all(sizes.get(dim) == array.sizes[dim] for dim in coord.dims)}
        attrs = {key: value for key, value in array.attrs.items() if key not in ("interpretation", "label_scope")}
        if result.interpretation != Interpretation.VALUE:
            attrs["interpretation"] = result.interpretation.name.lower()
        if result.label_scope != LabelScope.VOLUME:
            attrs["label_scope"] = result.label_scope.name.lower()
        return type(array)(result.array, dims=dims, coords=coords, attrs=attrs, name=array.name)

    return image, wrap
