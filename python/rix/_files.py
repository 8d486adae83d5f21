"""Image files and pictures."""

import os
from typing import Any, Dict, Mapping, Optional, Tuple, Union

from . import _rix
from ._errors import RuleError, RunError
from ._image import ColorInterpretation, Image, PerAxis

Path = Union[str, "os.PathLike[str]"]


def calibration_source(calibration: Union[str, PerAxis, Mapping[str, Any], None]) -> Tuple[str, Dict[str, Any]]:
    """What to take from the file, and arguments of `Image` to take instead."""
    if isinstance(calibration, str) or calibration is None:
        return calibration or "none", {}
    names = ("spacing", "origin", "spatial_unit", "sequence_unit", "directions")
    instead = dict(calibration) if isinstance(calibration, Mapping) and set(calibration) & set(names) else \
        {"spacing": calibration}
    unknown = set(instead) - set(names)
    if unknown:
        raise RuleError(f"calibration: there is no {', '.join(sorted(unknown))}; there are {', '.join(names)}")
    return "file", instead


def with_calibration(image: Image, instead: Dict[str, Any]) -> Image:
    """The samples and the meaning of an image, with some of its calibration replaced."""
    return Image(image.array, **{**image.calibration, **instead}, interpretation=image.interpretation,
                 color_interpretation=image.color_interpretation, label_scope=image.label_scope)


def checked_quality(quality: Optional[int]) -> int:
    """The quality of JPEG, 0 for the usual one."""
    if quality is not None and not 1 <= quality <= 100:
        raise RuleError(f"quality={quality}: it is a number from 1 to 100")
    return quality or 0


def imread(path: Path, *, calibration: Union[str, PerAxis, Mapping[str, Any], None] = "file",
           maximum_size: Optional[int] = None, select: Optional[str] = None,
           grey: bool = False) -> Image:
    """Reads an image file with its calibration and interpretation; docs/formats.md lists the formats.

    The axes of the result are rows and columns, and before them planes, time and channels where there are several.
    What a file says that is not understood is told by `warnings`.

    Parameters
    ----------
    calibration
        "file": as the file tells it, but for the dots an inch that programs note for print (72, 96, 300 ...); "all":
        these, too; "none" or None: spacing 1 and no unit. Or what to take instead: a spacing as `Image` takes it, or a
        dict of `spacing`, `origin`, `spatial_unit`, `sequence_unit`, `directions`.
    maximum_size
        The most bytes that the image may take in memory; unless given, the setting RIX_MAXIMUM_IMAGE_SIZE.
    select
        The part to read, such as "c=0,z=10:20,x=100:300": letters of axes with an index or a range (first:last, without
        the last; negative ones count from the end). "series=1" is an image among several of the file, "level=2" a
        smaller copy of its pyramid, "axes=tyx" says what its axes are. Only that is read, and the origin moves with it.
        Brackets behind the path do the same: "stack.tif[z=3]". A file without a header is read with words:
        "type=uint16,size=512x512x20,offset=128". docs/selections.md tells more.
    grey
        Read an RGB image as the grey one that `ConvertColorSpace` makes of it, of the same type and without opacity.

    Raises `FileError`, and `RuleError` for a wrong `select`.
    """
    source, instead = calibration_source(calibration)
    image: Image = _rix.read_image(os.fsdecode(path), source, maximum_size or 0, select or "", grey)
    return with_calibration(image, instead) if instead else image


def imwrite(path: Path, image: Any, *, axes: Optional[str] = None, compression: Optional[str] = None,
            color_interpretation: Union[ColorInterpretation, str, None] = None, drop_metadata: bool = False,
            quality: Optional[int] = None, pyramid: bool = False) -> Optional[str]:
    """Writes an image in the format that the extension of `path` names; docs/formats.md lists the formats.

    Nothing is converted: what the format can't hold is refused; JPEG alone changes samples. The file appears under its
    name when it is complete.

    Parameters
    ----------
    axes
        Names the axes of an array that has other than two or three dimensions, or other axes, "tczyx" style.
    compression
        "none", "deflate", "lzw" or "zstd", where the format has it; unless given, none for TIFF and deflate for PNG.
    color_interpretation
        What the channels of an array are, "rgb" for a picture of (rows, columns, 3) with axes="yxc".
    drop_metadata
        Write an image also in a format that can't hold its calibration or meaning, without them.
    quality
        Of JPEG, from 1 to 100: less makes smaller files that differ more; unless given, 90.
    pyramid
        Write OME-Zarr with smaller copies of the picture, each of half its size.

    Returns None; for a .raw file, which has no header, what `imread` needs as `select` to read it.

    Raises `FileError`.
    """
    if color_interpretation is not None:
        given: Dict[str, Any] = {"axes": axes}
        if hasattr(image, "calibration"):  # an Image, or one on disk
            given = {**image.calibration, "interpretation": image.interpretation, "label_scope": image.label_scope}
        image = Image(image, color_interpretation=color_interpretation, **given)
    needed: str = _rix.write_image(os.fsdecode(path), image, axes or "", compression or "", drop_metadata,
                                   checked_quality(quality), pyramid)
    return needed or None


def overlay(image: Any, labels: Any, *, axes: Optional[str] = None, plane: Optional[int] = None,
            frame: Optional[int] = None, numbers: bool = False) -> Image:
    """Draws the outlines of labels, or of the objects of a binary image, over a picture.

    Grey images are shown in an automatic window, RGB as it is. Of a volume, one plane is drawn: `plane`, or the middle
    one; of a sequence, `frame` or the first. With `numbers` each label is written on its object; a picture in which they
    would not fit is enlarged a whole number of times.

    Returns an RGB image with the axes "yxc", of uint8: `imwrite`, notebooks and matplotlib's `imshow` take it as it is.
    Needs the library cairo.
    """
    try:
        from . import _rendering
    except ImportError as error:
        raise RunError(f"overlay() needs the drawing library cairo, which can't be loaded ({error})") from None
    return Image(_rendering.overlay(image, labels, axes or "", plane, frame, numbers), "yxc",
                 color_interpretation=ColorInterpretation.RGB)
