"""The quick start: the script runs, and the pictures of the page are those that it makes."""

import runpy
import sys

import numpy as np
import pytest

import rix
from support import EXAMPLES

PAGE = EXAMPLES.parent / "docs"


def test_coins(tmp_path, monkeypatch, capsys):
    monkeypatch.setattr(sys, "argv", ["coins.py", str(tmp_path)])
    runpy.run_path(str(EXAMPLES / "python" / "coins.py"), run_name="__main__")
    assert "coins: 24" in capsys.readouterr().out
    pictures = sorted(tmp_path.glob("*.png"))
    assert len(pictures) == 2
    for picture in pictures:
        made, shown = rix.imread(picture).array, rix.imread(PAGE / "images" / picture.name).array
        # The same picture but for the edges of letters, which versions of the drawing library smooth in their own way.
        assert made.shape == shown.shape
        assert (made != shown).mean() < (0.01 if made.ndim == 3 else 1e-9)
        assert f"(images/{picture.name})" in (PAGE / "python.md").read_text()


def test_code_of_the_page(monkeypatch):
    pytest.importorskip("pandas")
    code = (PAGE / "python.md").read_text().split("```python\n")[1].split("```")[0]
    monkeypatch.chdir(EXAMPLES.parent)
    scope = {}
    exec(code, scope)
    assert scope["labels"].array.max() == 24
