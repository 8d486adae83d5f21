"""Files of this library in other programs and files of theirs here, as a table: program, format, axes and types.

    PYTHONPATH=build/release/python python3 python/tests/matrix.py docs/format-matrix.md

writes the page; without a name it is printed. `--imagej` does the same with ImageJ alone, for which a Java machine
and a virtual screen are needed. Ends with 1 when voxels or calibration differ anywhere.
"""

import logging
import pathlib
import subprocess
import sys
import tempfile
import warnings
from typing import Any, Callable, Dict, List, NamedTuple, Optional

import imageio
import nibabel
import numpy as np
import PIL.Image
import skimage
import skimage.io
import tifffile

import rix

TYPES = [np.dtype(t) for t in (bool, np.uint8, np.int8, np.uint16, np.int16, np.uint32, np.int32, np.float32,
                               np.float64, np.complex64, np.complex128)]
# What images don't have: read as float32, and as 32-bit integers when every value fits.
FOREIGN = [np.dtype(t) for t in (np.float16, np.uint64, np.int64)]
SIZES = {"x": 11, "y": 9, "z": 5, "t": 6, "c": 2}  # no 3 or 4, which are taken for colours
SPACING = {"x": 0.25, "y": 0.5, "z": 2.0, "t": 0.5}
AXES = ["yx", "zyx", "tyx", "cyx", "tzyx", "czyx", "tczyx"]


class Read(NamedTuple):
    """What a program finds in a file. Calibration that it doesn't tell is missing."""
    array: np.ndarray
    axes: str
    spacing: Dict[str, float]
    unit: Optional[str] = None


class Case(NamedTuple):
    program: str
    file: str
    #: Writes what is given, or raises for what it can't.
    write: Callable[[pathlib.Path, np.ndarray, str], None]
    read: Callable[[pathlib.Path], Read]
    axes: List[str]
    types: List[np.dtype]
    #: The axes whose spacing has to come over; None where the unit has not.
    spacing: str = ""
    unit: Optional[str] = None
    #: How far voxels may be off, for JPEG, which changes them.
    near: int = 0


def samples(dtype: np.dtype, axes: str) -> np.ndarray:
    shape = tuple(3 if axes == "yxc" and letter == "c" else SIZES[letter] for letter in axes)
    values = np.arange(int(np.prod(shape)), dtype=np.int64).reshape(shape)
    if dtype == bool:
        return values % 3 == 0
    if dtype.kind == "c":
        return (values - 7.5 + 1j * values).astype(dtype)
    return (values % 251 - (60 if dtype.kind in "if" else 0)).astype(dtype)


def gradient(dtype: np.dtype, axes: str) -> np.ndarray:
    """What JPEG keeps nearly."""
    y, x = np.mgrid[:SIZES["y"], :SIZES["x"]]
    grey = (20 * x + 3 * y).astype(dtype)
    return grey if axes == "yx" else np.dstack([grey, 240 - grey, grey // 2])


# This library -------------------------------------------------------------------------------------------------------

def write_ours(path: pathlib.Path, array: np.ndarray, axes: str) -> None:
    holds = path.suffix not in (".npy", ".bmp")
    spacing = {letter: SPACING[letter] for letter in axes if letter in SPACING}
    rix.imwrite(path, rix.Image(array, axes, color_interpretation="rgb" if axes == "yxc" else "unknown",
                                **(dict(spacing=spacing, spatial_unit="mm", sequence_unit="s") if holds else {})))


def read_ours(path: pathlib.Path) -> Read:
    image = rix.imread(path)
    return Read(image.array, image.axes, dict(zip(image.axes, image.spacing)), image.spatial_unit)


# Others -------------------------------------------------------------------------------------------------------------

def read_tifffile(path: pathlib.Path) -> Read:
    spacing: Dict[str, float] = {}
    unit = None
    with tifffile.TiffFile(path) as file:
        series = file.series[0]
        axes = series.axes.lower().replace("s", "c")
        if file.is_ome:
            pixels = tifffile.xml2dict(file.ome_metadata)["OME"]["Image"]["Pixels"]
            names = {"x": "PhysicalSizeX", "y": "PhysicalSizeY", "z": "PhysicalSizeZ", "t": "TimeIncrement"}
            spacing = {letter: float(pixels[name]) for letter, name in names.items() if name in pixels}
            unit = pixels.get("PhysicalSizeXUnit")
        elif file.is_imagej:
            described = file.imagej_metadata
            unit = described.get("unit")
            for letter, name in (("z", "spacing"), ("t", "finterval")):
                if name in described:
                    spacing[letter] = float(described[name])
        if not file.is_ome and "XResolution" in file.pages[0].tags:
            for letter, name in (("x", "XResolution"), ("y", "YResolution")):
                count, length = file.pages[0].tags[name].value
                spacing[letter] = length / count
        return Read(series.asarray(), axes, spacing, unit)


def write_imagej(path: pathlib.Path, array: np.ndarray, axes: str) -> None:
    tifffile.imwrite(path, array, imagej=True, resolution=(1 / SPACING["x"], 1 / SPACING["y"]),
                     metadata={"axes": axes.upper(), "unit": "mm", "spacing": SPACING["z"], "finterval": SPACING["t"]})


def write_ome(path: pathlib.Path, array: np.ndarray, axes: str) -> None:
    metadata = {"axes": axes.upper()}
    for letter in "xyz":
        metadata[f"PhysicalSize{letter.upper()}"] = SPACING[letter]
        metadata[f"PhysicalSize{letter.upper()}Unit"] = "mm"
    metadata.update(TimeIncrement=SPACING["t"], TimeIncrementUnit="s")
    tifffile.imwrite(path, array, ome=True, metadata=metadata, photometric="minisblack")


def write_shaped(path: pathlib.Path, array: np.ndarray, axes: str) -> None:
    tifffile.imwrite(path, array, metadata={"axes": axes.upper(), "spacing": SPACING["z"], "unit": "mm"},
                     resolution=(10 / SPACING["x"], 10 / SPACING["y"]), resolutionunit="CENTIMETER",
                     photometric="minisblack")


def read_nibabel(path: pathlib.Path) -> Read:
    image = nibabel.load(path)
    array = np.asarray(image.dataobj)
    letters = "xyztc"[:array.ndim]
    zooms = dict(zip(letters, (float(zoom) for zoom in image.header.get_zooms())))
    return Read(array.T, letters[::-1], {letter: zooms[letter] for letter in letters if letter != "c"},
                image.header.get_xyzt_units()[0])


def write_nibabel(path: pathlib.Path, array: np.ndarray, axes: str) -> None:
    image = nibabel.Nifti1Image(array.T, np.diag([SPACING["x"], SPACING["y"], SPACING["z"], 1.0]), dtype=array.dtype)
    zooms = [SPACING.get(letter, 1.0) for letter in axes[::-1]]
    image.header.set_zooms(zooms)
    image.header.set_xyzt_units("mm", "sec")
    nibabel.save(image, path)


def read_picture(reader: Callable[..., Any]) -> Callable[[pathlib.Path], Read]:
    def read(path: pathlib.Path) -> Read:
        array = np.asarray(reader(str(path)))
        return Read(array, "yx" if array.ndim == 2 else "yxc" if array.shape[-1] in (3, 4) else "zyx", {})
    return read


def read_density(path: pathlib.Path) -> Read:
    """A picture, with the spacing of the density that JPEG tells in dots a centimetre."""
    read = read_picture(imageio.imread)(path)
    with PIL.Image.open(path) as file:
        density = file.info["jfif_density"] if file.info.get("jfif_unit") == 2 else (1, 1)
    return read._replace(spacing={"x": 10 / density[0], "y": 10 / density[1]}, unit="mm")


def write_jpeg(path: pathlib.Path, array: np.ndarray, axes: str) -> None:
    PIL.Image.fromarray(array).save(path, quality=95, subsampling=0)


def write_picture(writer: Callable[..., Any]) -> Callable[[pathlib.Path, np.ndarray, str], None]:
    return lambda path, array, axes: writer(str(path), array)


def write_npy(path: pathlib.Path, array: np.ndarray, axes: str) -> None:
    np.save(path, array)


# Without a header: how the array lies is what the words, or NumPy's arguments, tell.

def write_raw(path: pathlib.Path, array: np.ndarray, axes: str) -> None:
    rix.imwrite(path, rix.Image(array, axes, color_interpretation="rgb" if axes == "yxc" else "unknown"))
    LAYOUT[path] = (array.dtype, sorted(axes, key="ctzyx".index), dict(zip(axes, array.shape)))


def read_raw(path: pathlib.Path) -> Read:
    dtype, axes, sizes = LAYOUT[path]
    return Read(np.fromfile(path, dtype).reshape([sizes[letter] for letter in axes]), "".join(axes), {})


def write_there_raw(path: pathlib.Path, array: np.ndarray, axes: str) -> None:
    array.astype(array.dtype.newbyteorder(">")).tofile(path)
    LAYOUT[path] = (array.dtype, list(axes), dict(zip(axes, array.shape)))


def read_here_raw(path: pathlib.Path) -> Read:
    dtype, axes, sizes = LAYOUT[path]
    name = str(dtype) if dtype.kind != "c" else f"complex-float{dtype.itemsize * 4}"
    image = rix.imread(path, select=f"type={name},endian=big,axes=" + "".join(f"{a}{sizes[a]}" for a in axes))
    return Read(image.array, image.axes, {})


LAYOUT: Dict[pathlib.Path, Any] = {}


def run_imagej(macro: str) -> str:
    with tempfile.NamedTemporaryFile("w", suffix=".ijm") as file:
        file.write(macro)
        file.flush()
        # Its macros open files by the menus, which need a screen.
        command = ["xvfb-run", "-a", "java", "-jar", "/usr/share/java/ij.jar", "-batch", file.name]
        return subprocess.run(command, check=True, capture_output=True, text=True, timeout=120).stdout


def read_imagej_program(path: pathlib.Path) -> Read:
    raw = path.with_suffix(".raw")
    facts = run_imagej(f'''
        open("{path}");
        getDimensions(columns, rows, channels, slices, frames);
        getVoxelSize(width, height, depth, unit);
        print("facts", columns, rows, channels, slices, frames, width, height, depth, Stack.getFrameInterval, bitDepth,
              calibrate(0), unit);
        saveAs("Raw", "{raw}");
    ''').split("facts ")[1].split()
    columns, rows, channels, slices, frames = (int(fact) for fact in facts[:5])
    signed = float(facts[10]) != 0
    dtype = {"8": "u1", "16": ">i2" if signed else ">u2", "24": "u1", "32": ">f4"}[facts[9]]
    spacing = dict(zip("xyzt", (float(fact) for fact in facts[5:9])))
    values = np.frombuffer(raw.read_bytes(), dtype)
    if facts[9] == "24":
        return Read(values.reshape(rows, columns, 3), "yxc", spacing, facts[11])
    return Read(values.reshape(frames, slices, channels, rows, columns), "tzcyx", spacing, facts[11])


def write_imagej_program(path: pathlib.Path, array: np.ndarray, axes: str) -> None:
    kind = {"uint8": "8-bit", "uint16": "16-bit", "float32": "32-bit"}[str(array.dtype)]
    sizes = {letter: SIZES[letter] if letter in axes else 1 for letter in "xyzct"}
    # The planes of a stack run through channels, then slices, then frames.
    planes = array.transpose([axes.index(letter) for letter in "tzcyx" if letter in axes]).reshape(-1, SIZES["y"] * SIZES["x"])
    values = ", ".join(str(value) for value in planes.ravel().tolist())
    run_imagej(f'''
        values = newArray({values});
        newImage("made", "{kind} grayscale-mode black", {sizes["x"]}, {sizes["y"]}, {sizes["c"]}, {sizes["z"]}, {sizes["t"]});
        for (plane = 0; plane < nSlices; plane++) {{
            setSlice(plane + 1);
            for (i = 0; i < {planes.shape[1]}; i++)
                setPixel(i % {sizes["x"]}, floor(i / {sizes["x"]}), values[plane * {planes.shape[1]} + i]);
        }}
        setVoxelSize({SPACING["x"]}, {SPACING["y"]}, {SPACING["z"]}, "mm");
        Stack.setFrameInterval({SPACING["t"]});
        saveAs("Tiff", "{path}");
    ''')


BYTES = [np.dtype(np.uint8)]
BINARY = [np.dtype(bool), np.dtype(np.uint8)]
# RGB of 16 bits in PNG has 8 in these programs, which is theirs.
PICTURES = [("a.png", "yx", BINARY + [np.dtype(np.uint16)]), ("a.png", "yxc", BYTES), ("a.bmp", "yx", BINARY),
            ("a.bmp", "yxc", BYTES), ("a.pnm", "yx", BINARY), ("a.pnm", "yxc", BYTES)]


def save_picture(path: str, array: np.ndarray) -> None:
    skimage.io.imsave(path, array, check_contrast=False)


READ_THERE = [
    Case("tifffile", "a.tif", write_ours, read_tifffile, AXES + ["yxc"], TYPES, "xyzt", "mm"),
    Case("tifffile", "a.ome.tif", write_ours, read_tifffile, AXES, TYPES, "xyzt", "mm"),
    Case("scikit-image", "a.tif", write_ours, read_picture(skimage.io.imread), ["yx", "zyx", "yxc"], TYPES),
    *(Case("scikit-image", file, write_ours, read_picture(skimage.io.imread), [axes], types)
      for file, axes, types in PICTURES if file == "a.png"),
    *(Case("imageio", file, write_ours, read_picture(imageio.imread), [axes], types)
      for file, axes, types in PICTURES),
    Case("imageio, Pillow", "a.jpg", write_ours, read_density, ["yx", "yxc"], BYTES, "xy", "mm", near=16),
    Case("nibabel", "a.nii", write_ours, read_nibabel, ["yx", "zyx", "tzyx", "ctzyx"], TYPES[1:], "xyzt", "mm"),
    Case("nibabel", "a.nii.gz", write_ours, read_nibabel, ["yx", "zyx", "tzyx"], TYPES[1:], "xyzt", "mm"),
    Case("NumPy, fromfile", "a.raw", write_raw, read_raw, AXES + ["yxc"], TYPES),
    Case("NumPy", "a.npy", write_ours, lambda path: Read(np.load(path), "zyx"[-np.load(path).ndim:], {}),
         ["yx", "zyx"], TYPES),
]
READ_HERE = [
    Case("tifffile, as ImageJ", "a.tif", write_imagej, read_ours, ["yx", "zyx", "tyx", "cyx", "tzyx", "zcyx", "tzcyx"],
         TYPES + FOREIGN, "xyzt", "mm"),
    Case("tifffile, OME", "a.ome.tif", write_ome, read_ours, AXES, TYPES + FOREIGN, "xyzt", "mm"),
    Case("tifffile", "a.tif", write_shaped, read_ours, AXES, TYPES + FOREIGN, "xyz", "mm"),
    Case("scikit-image", "a.tif", write_picture(save_picture), read_ours, ["yx", "zyx", "yxc"], TYPES + FOREIGN),
    *(Case("scikit-image", file, write_picture(save_picture), read_ours, [axes], types)
      for file, axes, types in PICTURES if file == "a.png"),
    *(Case("imageio", file.replace("pnm", "ppm"), write_picture(imageio.imwrite), read_ours, [axes], types)
      for file, axes, types in PICTURES),
    Case("Pillow", "a.jpg", write_jpeg, read_ours, ["yx", "yxc"], BYTES, near=16),
    Case("nibabel", "a.nii", write_nibabel, read_ours, ["yx", "zyx", "tzyx", "ctzyx"], TYPES[1:] + FOREIGN, "xyzt", "mm"),
    Case("nibabel", "a.nii.gz", write_nibabel, read_ours, ["yx", "zyx", "tzyx"], TYPES[1:] + FOREIGN, "xyzt", "mm"),
    Case("NumPy, tofile", "a.raw", write_there_raw, read_here_raw, AXES + ["yxc"], TYPES[1:] + FOREIGN),
    Case("NumPy", "a.npy", write_npy, read_ours, ["yx", "zyx"], TYPES + FOREIGN),
]
IMAGEJ_TYPES = [np.dtype(t) for t in (np.uint8, np.uint16, np.float32)]
IMAGEJ_THERE = [
    Case("ImageJ", "a.tif", write_ours, read_imagej_program, AXES,
         [np.dtype(bool), *IMAGEJ_TYPES, np.dtype(np.int16)], "xyzt", "mm"),
    # RGB of 16 bits it shows rightly and dumps in another order; it has none of reals.
    Case("ImageJ", "a.tif", write_ours, read_imagej_program, ["yxc"], [np.dtype(np.uint8)], "xyzt", "mm"),
]
IMAGEJ_HERE = [
    Case("ImageJ", "a.tif", write_imagej_program, read_ours, AXES, IMAGEJ_TYPES, "xyzt", "mm"),
]


# The comparison -----------------------------------------------------------------------------------------------------

def difference(case: Case, array: np.ndarray, axes: str, found: Read) -> str:
    """What differs, in words; empty when nothing does."""
    letters = found.axes
    values = found.array
    if values.ndim != len(letters):
        return f"axes {letters} of an array of {values.ndim}"
    kept = [letter for letter, size in zip(letters, values.shape) if size != 1 or letter in axes]
    values = values.reshape([size for letter, size in zip(letters, values.shape) if letter in kept])
    if sorted(kept) != sorted(axes):
        return f"axes {''.join(kept)}"
    values = values.transpose([kept.index(letter) for letter in axes])
    if array.dtype == bool and values.dtype != bool:
        values = values > 0  # 0 and 255, as programs without a binary type show one bit
    if values.shape != array.shape or not (np.abs(values.astype(int) - array).max() <= case.near if case.near else
                                           np.array_equal(values, array)):
        return "other voxels"
    for letter in axes:
        if letter in case.spacing and not np.isclose(found.spacing.get(letter, -1), SPACING[letter], rtol=1e-6):
            return f"spacing {letter} {found.spacing.get(letter, 'missing')}"
    return "" if case.unit in (None, found.unit) else f"unit {found.unit}"


def run(case: Case, folder: pathlib.Path, axes: str, dtype: np.dtype) -> str:
    """"=", "-" where the writer has no such file, else what is wrong."""
    array = (gradient if case.near else samples)(dtype, axes)
    path = folder / case.file
    path.unlink(missing_ok=True)
    try:
        case.write(path, array, axes)
    except Exception:  # whatever a program says of what it can't write
        return "-"
    try:
        return difference(case, array, axes, case.read(path)) or "="
    except Exception as error:
        return f"{type(error).__name__}: {error}".splitlines()[0]


class Row(NamedTuple):
    case: Case
    #: By axes: types that are equal, and what was wrong with others.
    equal: Dict[str, List[np.dtype]]
    wrong: Dict[str, Dict[str, List[np.dtype]]]


def run_all(cases: List[Case]) -> List[Row]:
    rows = []
    with tempfile.TemporaryDirectory() as folder, warnings.catch_warnings():
        warnings.simplefilter("ignore")
        for case in cases:
            row = Row(case, {}, {})
            for axes in case.axes:
                for dtype in case.types:
                    outcome = run(case, pathlib.Path(folder), axes, dtype)
                    if outcome == "=":
                        row.equal.setdefault(axes, []).append(dtype)
                    elif outcome != "-":
                        row.wrong.setdefault(axes, {}).setdefault(outcome, []).append(dtype)
            rows.append(row)
    return rows


def names(types: List[np.dtype]) -> str:
    return ", ".join(str(dtype) for dtype in types)


def table(rows: List[Row], file: str) -> List[str]:
    lines = [f"| program | {file} | axes | types | calibration |", "|---|---|---|---|---|"]
    for row in rows:
        by_types: Dict[str, List[str]] = {}
        for axes, types in row.equal.items():
            everything = FOREIGN if any(dtype in row.case.types for dtype in FOREIGN) else []
            text = ("all" if types == TYPES + everything else
                    "all but bool" if types == TYPES[1:] + everything else names(types))
            by_types.setdefault(text, []).append(axes)
        for types, axes in by_types.items():
            told = [letter for letter in row.case.spacing if any(letter in each for each in axes)]
            calibration = ", ".join(told) + " and unit" if told else "none"
            lines.append(f"| {row.case.program} | {row.case.file[1:]} | {', '.join(axes)} | {types} | {calibration} |")
    return lines


def versions() -> str:
    programs = (("NumPy", np), ("tifffile", tifffile), ("scikit-image", skimage), ("imageio", imageio),
                ("nibabel", nibabel))
    return ", ".join(f"{name} {module.__version__}" for name, module in programs)


def page(there: List[Row], here: List[Row]) -> str:
    types = names(TYPES)
    return "\n".join([
        "# Files to and from other programs",
        "",
        "Made by `scripts/matrix`: every file is written by one and read by the other, and voxels, axes, spacing and unit",
        f"compared ({versions()}).",
        "What is listed is equal; what a program refuses to write is left out. Axes are written as in Python, the slowest",
        "first. Calibration is what has to come over in the fields of the format; this library notes the rest for itself. Voxels",
        "of JPEG may be off by 16, files without a header (raw) are read with words and with the arguments of NumPy.",
        "",
        f"All types are {types};",
        "images of bool are binary ones.",
        "",
        "## Written here, read there",
        "",
        *table(there, "file"),
        "",
        "## Written there, read here",
        "",
        "All types are those and float16, which is read as float32, and uint64 and int64, which are read with 32 bits when all",
        "values fit. TIFF files of one bit were written with black as 0: where a file says that 0 is white, as tifffile writes",
        "bool unless told otherwise, black becomes 0 here, which tifffile itself does not do.",
        "",
        *table(here, "file"),
        "",
    ])


def problems(rows: List[Row]) -> List[str]:
    return [f"{row.case.program} {row.case.file} {axes}: {what} ({names(types)})"
            for row in rows for axes, wrong in row.wrong.items() for what, types in wrong.items()]


def main() -> int:
    logging.disable(logging.WARNING)  # what imageio converts is no file of the kind that was asked for
    if sys.argv[1:] == ["--imagej"]:
        there, here = run_all(IMAGEJ_THERE), run_all(IMAGEJ_HERE)
        text = "\n".join([*table(there, "written here"), "", *table(here, "written there")])
    else:
        there, here = run_all(READ_THERE), run_all(READ_HERE)
        text = page(there, here)
    if len(sys.argv) > 1 and sys.argv[1] != "--imagej":
        pathlib.Path(sys.argv[1]).write_text(text, encoding="utf-8")
    else:
        print(text)
    wrong = [f"written here: {line}" for line in problems(there)] + [f"written there: {line}" for line in problems(here)]
    print("\n".join(wrong), file=sys.stderr)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
