"""A wheel from the source tree: python3 -m build --wheel --no-isolation python

CMake builds and installs, setuptools packs. The libraries go into the package, where the compiled module finds them, and
so do those of the distribution (oneTBB, libtiff, ...): the wheel needs the C and C++ runtimes and NumPy.
"""

import os
import pathlib
import re
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))  # where a build without isolation does not look
from bundle_libraries import bundle  # noqa: E402

ROOT = HERE.parent
VERSION = re.search(r"VERSION (\d+\.\d+\.\d+)", (ROOT / "CMakeLists.txt").read_text()).group(1)


class CMakeBuild(build_ext):
    def run(self):
        build = pathlib.Path(os.environ.get("RIX_WHEEL_BUILD_DIR", ROOT / "build" / "wheel")).resolve()
        target = pathlib.Path(self.build_lib).resolve()
        jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", str(os.cpu_count()))
        configure = ["cmake", "-S", str(ROOT), "-B", str(build), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                     "-DRIX_BUILD_TESTS=OFF", "-DRIX_WITH_MKL=OFF", "-DRIX_WITH_HDF5=OFF",
                     "-DRIX_PYTHON_INSTALL_DIR=.", "-DCMAKE_INSTALL_LIBDIR=rix",
                     f"-DPython_EXECUTABLE={sys.executable}"]
        for command in (configure,
                        ["cmake", "--build", str(build), "--parallel", jobs, "--target", "rix_python_stubs",
                         "lumora_rix", "lumora_rix_io", "vessel"],
                        *(["cmake", "--install", str(build), "--strip", "--prefix", str(target), "--component", component]
                          for component in ("libraries", "python"))):
            subprocess.run(command, check=True)
        # A wheel has no links: each library gets the name by which it is looked for.
        for link in (target / "rix").glob("*.so.*"):
            if link.is_symlink():
                link.resolve().replace(link)
        bundle(target / "rix")


setup(
    name="lumora-rix",
    version=VERSION,
    description="2D and 3D image processing on NumPy arrays",
    long_description=(ROOT / "docs" / "python.md").read_text(),
    long_description_content_type="text/markdown",
    python_requires=">=3.9",
    install_requires=["numpy"],
    extras_require={"all": ["pandas", "tqdm", "xarray"]},
    packages=[],
    ext_modules=[Extension("rix._rix", [])],  # tells that the wheel is of this machine and this Python
    cmdclass={"build_ext": CMakeBuild},
)
