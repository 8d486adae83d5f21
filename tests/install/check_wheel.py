"""Uses the package of a wheel, and looks that it loads nothing of the machine's but the C library and the C++ runtime."""

import pathlib
import re
import tempfile

import numpy as np


def loaded():
    return set(re.findall(r"/\S+\.so\S*", pathlib.Path("/proc/self/maps").read_text()))


# What the interpreter and NumPy use is theirs, whatever it is.
before = loaded()
import rix  # noqa: E402
import rix._rix  # noqa: E402

PACKAGE = str(pathlib.Path(rix.__file__).parent)
image = (np.arange(60 * 80).reshape(60, 80) % 251).astype(np.uint8)
assert rix.box_filter_2d(image, 3, 3).shape == image.shape
drawn = rix.overlay(image, image > 100, numbers=False)
with tempfile.TemporaryDirectory() as folder:
    for name, options in (("a.png", {}), ("a.tif", {"compression": "zstd"}), ("a.jpg", {"quality": 90}), ("a.nrrd", {})):
        rix.imwrite(f"{folder}/{name}", image, **options)
        back = np.asarray(rix.imread(f"{folder}/{name}")).squeeze()
        assert back.shape == image.shape and (name == "a.jpg" or np.array_equal(back, image)), name
area = rix.label_analysis(rix.labeling_2d(np.ones((50, 50), bool)), measures="Area")["Area"][0]
assert area == 2500, area
runtimes = re.compile(r".*/(ld-linux|lib(c|m|dl|pthread|rt|stdc\+\+|gcc_s)\.so)")
# Python's own modules, such as those of JSON, and NumPy's, such as its transforms, may be loaded later.
theirs = re.compile(r".*/(lib-dynload|numpy)/")
libraries = loaded() - before
strangers = {path for path in libraries
             if not (path.startswith(PACKAGE + "/") or runtimes.match(path) or theirs.match(path))}
assert not strangers, sorted(strangers)
assert sum(path.startswith(PACKAGE + "/_libraries/") for path in libraries) >= 10, sorted(libraries)
print(f"rix {rix.__version__} loads {len([p for p in libraries if p.startswith(PACKAGE)])} libraries of its own")
