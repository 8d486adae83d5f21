"""Writes the type stubs of what is made from the registry: ``python -m rix._stubs FOLDER``, run by the build."""

import pathlib
import sys
from typing import Any, Dict, List

from ._algorithms import (RUN_PARAMETERS, Description, describe, documentation, inputs_of, list_all,
                          property_documentation, results_of)

HEADER = '''\
# Written by the build from the registry of algorithms.
import enum
import os
from typing import Any, Callable, Dict, List, Literal, NamedTuple, Optional, Protocol, Sequence, Tuple, Union, overload

import numpy as np
import numpy.typing as npt

from ._algorithms import Description as Description
from ._algorithms import Listed as Listed
from ._algorithms import describe as describe
from ._algorithms import list_all as list
from ._disk import DiskImage as DiskImage
from ._disk import create_image as create_image
from ._disk import open_image as open_image
from ._errors import CancelledError as CancelledError
from ._errors import DataTypeError as DataTypeError
from ._errors import Error as Error
from ._errors import FileError as FileError
from ._errors import OutOfMemoryError as OutOfMemoryError
from ._errors import RuleError as RuleError
from ._errors import RunError as RunError
from ._files import imread as imread
from ._files import imwrite as imwrite
from ._files import overlay as overlay
from ._image import ColorInterpretation as ColorInterpretation
from ._image import Image as Image
from ._image import Interpretation as Interpretation
from ._image import LabelScope as LabelScope
from ._image import SpatialFrame as SpatialFrame
from ._rix import Algorithm as Algorithm
from ._table import Table as Table

__version__: str

class ArrayLike(Protocol):
    """What NumPy reads as an array, an xarray.DataArray for instance."""
    def __array__(self) -> npt.NDArray[Any]: ...

_Array = npt.NDArray[Any]
_AnyImage = Union[npt.NDArray[Any], Image, DiskImage, ArrayLike]
_Progress = Union[Callable[[float], object], bool, None]
'''

OPTIONS = ("out: Any = ..., axes: Optional[str] = ..., each: Literal[\"t\", \"c\", \"tc\", \"ct\", None] = ..., "
           "threads: Optional[int] = ..., progress: _Progress = ...")


def _value_type(item: Dict[str, Any], owner: str) -> str:
    """The type of a value that is given."""
    if item["enumeration"] is not None:
        labels = ", ".join(f'"{label}"' for label in item["enumeration"].__members__)
        return f"Union[{owner}.{item['enumeration'].__name__}, Literal[{labels}], int]"
    return str(item["annotation"])


def _input_type(item: Dict[str, Any], owner: str, image: str) -> str:
    if item["role"] != "image":
        return _value_type(item, owner)
    return image if item["required"] else f"Optional[{image}]"


def _result_type(item: Dict[str, Any], owner: str, image: str) -> str:
    if item["role"] == "table":
        return "Table"
    if item["enumeration"] is not None:
        return f"{owner}.{item['enumeration'].__name__}"
    return image if item["role"] == "image" else item["annotation"] or "Any"


def _quoted(text: str, indent: str) -> str:
    lines = text.replace("\\", "\\\\").replace('"""', "'''").strip().split("\n")
    return indent + '"""' + ("\n" + indent).join(lines).replace(f"\n{indent}\n", "\n\n") + f'\n{indent}"""\n'


def _function(facts: Description) -> str:
    name, owner, results = facts["function"], facts["name"], results_of(facts)
    several = len(results) > 1
    shown = [item for item in inputs_of(facts) if item["role"] != "unsupported"]
    follows = not several and results[0]["role"] == "image" and any(item["role"] == "image" for item in shown)
    text = ""
    # The form of the image that comes back is that of the first image given.
    forms = [("_Array", "_Array"), ("Image", "Image"), ("DiskImage", "Image"), ("ArrayLike", "Any")]
    for image, result in forms if follows else [("_AnyImage", "")]:
        parameters, first = [], True
        for item in shown:
            kind = _input_type(item, owner, image if first or item["role"] != "image" else "_AnyImage")
            first = first and item["role"] != "image"
            parameters.append(f"{item['name']}: {kind}" + ("" if item["required"] else " = ..."))
        made = result if follows else f"{owner}Result" if several else _result_type(results[0], owner, "Any")
        body = " ...\n" if follows and image != "_Array" else "\n" + _quoted(
            documentation(facts, RUN_PARAMETERS), "    ") + "    ...\n"
        text += ("@overload\n" if follows else "") + (
            f"def {name}({', '.join(parameters)}, *, {OPTIONS}) -> {made}:{body}")
    return text


def _class(facts: Description) -> str:
    owner = facts["name"]
    text = f"class {owner}(Algorithm):\n" + _quoted(documentation(facts, []), "    ")
    for item in facts["properties"]:
        if item["enumeration"] is None:
            continue
        kind = "enum.IntFlag" if item["enumeration"].__mro__[1].__name__ == "IntFlag" else "enum.IntEnum"
        text += f"    class {item['enumeration'].__name__}({kind}):\n"
        text += "".join(f"        {label} = {int(value)}\n" for label, value in item["enumeration"].__members__.items())
    keywords = [f"{item['name']}: {_input_type(item, owner, '_AnyImage')} = ..." for item in inputs_of(facts)
                if item["role"] != "unsupported"]
    keywords += [f"{item['name']}: Any = ..." for item in facts["properties"]
                 if item["direction"] == "out" and item["role"] == "image"]
    text += f"    def __init__(self, *, {', '.join(keywords)}) -> None: ...\n"
    for item in facts["properties"]:
        if item["role"] == "image":
            # What is set may be any kind of image, what is read is what was set or made.
            text += f"    {item['name']}: Any\n"
        elif item["direction"] == "out":
            text += f"    @property\n    def {item['name']}(self) -> {_result_type(item, owner, 'Any')}: ...\n"
        elif item["role"] != "unsupported":
            text += f"    @property\n    def {item['name']}(self) -> {_result_type(item, owner, 'Any')}: ...\n"
            text += f"    @{item['name']}.setter\n"
            text += f"    def {item['name']}(self, value: {_value_type(item, owner)}) -> None: ...\n"
        text += _quoted(property_documentation(item), "    ")
    results = results_of(facts)
    made = f"{owner}Result" if len(results) > 1 else _result_type(results[0], owner, "Any")
    text += f"    def run(self, *, {OPTIONS.partition(', ')[2]}) -> {made}: ...\n"
    return text


def _named_result(facts: Description) -> str:
    fields = "".join(f"    {item['name']}: {_result_type(item, facts['name'], 'Any')}\n" for item in results_of(facts))
    return f"class {facts['name']}Result(NamedTuple):\n{fields}"


def write(folder: pathlib.Path) -> None:
    """Writes `__init__.pyi`."""
    parts: List[str] = [HEADER]
    for entry in list_all():
        facts = describe(entry.name)
        if len(results_of(facts)) > 1:
            parts.append(_named_result(facts))
        parts += [_class(facts), _function(facts)]
    (folder / "__init__.pyi").write_text("\n".join(parts), encoding="utf-8")


if __name__ == "__main__":
    write(pathlib.Path(sys.argv[1]))
