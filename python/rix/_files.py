"""Image files and pictures."""

import os
from typing import Any, Dict, Optional, Union

import numpy as np
import numpy.typing as npt

from . import _rix
from ._errors import RunError
from ._image import ColorInterpretation, Image

Path = Union[str, "os.PathLike[str]"]


def imread(path: Path) -> Image:
    """Reads an image file (TIFF, PNG) with its calibration and interpretation.

    The axes of the result are rows and columns, and before them planes, time and channels where there are several.
    Raises `FileError`.
    """
    image: Image = _rix.read_image(os.fsdecode(path))
    return image


def imwrite(path: Path, image: Any, *, axes: Optional[str] = None, compression: Optional[str] = None,
            color_interpretation: Union[ColorInterpretation, str, None] = None) -> None:
    """Writes an image in the format that the extension of `path` names (.tif, .tiff, .png).

    Nothing is converted: what the format can't hold is refused. The file appears under its name when it is complete.

    Parameters
    ----------
    axes
        Names the axes of an array that has other than two or three dimensions, or other axes, "tczyx" style.
    compression
        "none", "lzw" or "deflate"; unless given, none for TIFF and deflate for PNG.
    color_interpretation
        What the channels of an array are, "rgb" for a picture of (rows, columns, 3) with axes="yxc".

    Raises `FileError`.
    """
    if color_interpretation is not None:
        given: Dict[str, Any] = {"axes": axes}
        if isinstance(image, Image):
            given = {**image.calibration, "interpretation": image.interpretation}
        image = Image(image, color_interpretation=color_interpretation, **given)
    _rix.write_image(os.fsdecode(path), image, axes or "", compression or "")


def overlay(image: Any, labels: Any, *, axes: Optional[str] = None, plane: Optional[int] = None,
            frame: Optional[int] = None, numbers: bool = False) -> npt.NDArray[np.uint8]:
    """Draws the outlines of labels, or of the objects of a binary image, over a picture.

    Grey images are shown in an automatic window, RGB as it is. Of a volume, one plane is drawn: `plane`, or the middle
    one; of a sequence, `frame` or the first. With `numbers` each label is written on its object; a picture in which they
    would not fit is enlarged a whole number of times.

    Returns an array of (rows, columns, 3) of uint8, as picture libraries want it. Needs the library cairo.
    """
    try:
        from . import _rendering
    except ImportError as error:
        raise RunError(f"overlay() needs the drawing library cairo, which can't be loaded ({error})") from None
    picture: npt.NDArray[np.uint8] = _rendering.overlay(image, labels, axes or "", plane, frame, numbers)
    return picture
