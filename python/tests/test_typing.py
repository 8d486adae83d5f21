"""The stubs say what is there, and a type checker believes them."""

import ast
import pathlib
import subprocess
import sys

import pytest

import rix
from support import EXAMPLES, NAMES, SANITIZED

STUB = pathlib.Path(rix.__file__).with_name("__init__.pyi")


def test_stubs_name_everything():
    declared = {node.name: node for node in ast.parse(STUB.read_text()).body
                if isinstance(node, (ast.ClassDef, ast.FunctionDef))}
    for name in NAMES:
        facts = rix.describe(name)
        parameters = [arg.arg for arg in declared[facts["function"]].args.args]
        assert parameters == [item["name"] for item in facts["properties"] if item["direction"] != "out"]
        members = {getattr(node, "name", None) or getattr(getattr(node, "target", None), "id", None)
                   for node in declared[name].body}
        assert {item["name"] for item in facts["properties"]} | {"run"} <= members


def check(*arguments):
    return subprocess.run([sys.executable, "-m", "mypy", "--no-incremental", "--cache-dir=/dev/null", *arguments],
                          capture_output=True, text=True, timeout=280)


@pytest.mark.skipif("address" in SANITIZED, reason="the checker reads the stubs and runs nothing of the library")
def test_type_checker(tmp_path):
    pytest.importorskip("mypy")
    right = tmp_path / "right.py"
    right.write_text(
        "import numpy as np\nimport rix\nimport rix.dask\n"
        "a = np.zeros((3, 3), np.uint8)\n"
        "b = rix.labeling_2d(rix.thresholding_by_criterion(a, 'GREATER_THAN', 5), neighborhood='CONNECTIVITY_8')\n"
        "print(b.shape, rix.labeling_2d(rix.Image(a)).spacing, rix.auto_thresholding_bright(a).output_measurement.units)\n"
        "print(rix.dask.label(a), rix.dask.apply('box_filter_2d', a, axes='yx', kernel_size_x=3))\n"
        "with rix.open_image('a.zarr') as image, rix.create_image('b.zarr', pyramid=True) as result:\n"
        "    print(rix.invert(image).axes, rix.invert(image, out=result), image.chunks[0], image.spacing, image[3, ::2])\n"
        "box = rix.BoxFilter2d(input_image=a, kernel_size_x=3)\n"
        "box.auto_scale = rix.BoxFilter2d.AutoScaleType.YES\n"
        "print(rix.BoxFilter2d.AutoScaleType.YES.value, box.kernel_size_x + 1)\n")
    wrong = tmp_path / "wrong.py"
    wrong.write_text("import numpy as np\nimport rix\na = np.zeros((3, 3), np.uint8)\n"
                     "rix.labeling_2d(a, neighborhood='CONNECTIVITY_5')\nrix.box_filter_2d(a, 'three', 3)\n"
                     "rix.BoxFilter2d().kernel_size_q = 4\nrix.box_filter_2d(a, 3)\n")
    done = check("--strict", str(right), str(EXAMPLES / "python" / "coins.py"))
    assert done.returncode == 0, done.stdout
    done = check(str(wrong))
    for line in range(4, 8):
        assert f"wrong.py:{line}: error" in done.stdout, done.stdout
