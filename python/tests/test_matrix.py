"""Every file of the matrix is read as it was written, and the page about it is what the matrix gives."""

import pathlib

import pytest

for program in ("imageio", "nibabel", "skimage", "tifffile"):
    pytest.importorskip(program)
import matrix

PAGE = pathlib.Path(__file__).parents[2] / "docs" / "format-matrix.md"


def test_files_are_equal_there_and_here():
    there, here = matrix.run_all(matrix.READ_THERE), matrix.run_all(matrix.READ_HERE)
    assert matrix.problems(there) == [] and matrix.problems(here) == []
    text = PAGE.read_text(encoding="utf-8")
    if matrix.versions() not in text:
        pytest.skip("the page was made with other versions of these programs")
    assert text == matrix.page(there, here), "scripts/matrix writes it anew"
