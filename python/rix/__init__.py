"""2D and 3D image processing on NumPy arrays.

Every algorithm of the library is here as a function, ``rix.box_filter_2d(image, 5, 5)``, and as a class,
``rix.BoxFilter2d``. ``rix.list()`` names all, ``rix.describe(name)`` explains one.
"""

import atexit as _atexit
import os as _os
from typing import Any as _Any


def _is_main_interpreter() -> bool:
    try:
        import _interpreters as interpreters  # type: ignore[import-not-found, unused-ignore]
    except ImportError:
        try:
            import _xxsubinterpreters as interpreters  # type: ignore[import-not-found, unused-ignore]
        except ImportError:
            return True
    return bool(interpreters.get_current() == interpreters.get_main())


if not _is_main_interpreter():
    # The compiled part has one state for the process; its first import elsewhere would wait for ever.
    raise ImportError("rix works in the main interpreter of a process only, not in subinterpreters")

from . import _rix
from ._algorithms import Algorithm, Description, Listed, describe, find as _find, list_all as list, names as _names
from ._disk import DiskImage, create_image, open_image
from ._errors import CancelledError, DataTypeError, Error, FileError, OutOfMemoryError, RuleError, RunError
from ._files import imread, imwrite, overlay
from ._image import ColorInterpretation, Image, Interpretation, LabelScope, SpatialFrame
from ._table import Table

__version__: str = _rix.version()

_atexit.register(_rix.end_runs)
_os.register_at_fork(after_in_child=_rix.stay_in_callers_thread)


def __getattr__(name: str) -> _Any:
    # Classes and functions are made when they are first used: importing the package stays quick.
    if name == "dask":  # needs a package of that name, which the rest does without
        import importlib
        return importlib.import_module("rix.dask")
    if name.startswith("_"):
        raise AttributeError(f"module 'rix' has no attribute '{name}'")
    globals()[name] = found = _find(name)
    return found


def __dir__() -> _Any:
    return sorted({name for name in globals() if not name.startswith("_")} | set(_names()))
