"""The quick start: the script runs, and the pictures of the page are those that it makes."""

import runpy
import sys
import types

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


def test_tour(tmp_path, monkeypatch, capsys):
    pytest.importorskip("matplotlib")
    monkeypatch.setattr(sys, "argv", ["tour.py", str(tmp_path)])
    scope = runpy.run_path(str(EXAMPLES / "python" / "tour.py"), run_name="__main__")
    assert "1 object(s); the cell: 131.4 um^2" in capsys.readouterr().out
    assert (np.diff(scope["profile"][:7]) > 0).all(), "a ball is the thicker the farther from its edge"
    assert rix.imread(tmp_path / "tour.png").shape == rix.imread(PAGE / "images" / "python-tour.png").shape


class Layers:
    """What a viewer of napari is to the functions of the page."""

    def add(self, kind, data, name, scale, translate, **others):
        layer = type(kind, (types.SimpleNamespace,), {})(data=data, scale=scale, translate=translate, **others)
        assert len(layer.scale) == data.ndim - (others.get("channel_axis") is not None)
        return layer

    def add_image(self, data, **facts):
        return self.add("Image", data, **facts)

    def add_labels(self, data, **facts):
        return self.add("Labels", data, **facts)


def test_layers_go_to_napari_and_back():
    scope = {}
    exec((PAGE / "napari.md").read_text().split("```python\n")[1].split("```")[0], scope)
    samples = np.arange(24, dtype=np.uint16).reshape(2, 3, 4)
    volume = rix.Image(samples, axes="zyx", spacing=[0.5, 0.75, 2], origin=[1, 2, 3])
    layer = scope["show"](Layers(), volume, "nuclei")
    assert (type(layer).__name__, layer.scale, layer.translate) == ("Image", [0.5, 0.75, 2], [1, 2, 3])
    again = scope["image_of"](layer)
    assert (again.array == samples).all()
    assert tuple(again.spacing) == tuple(volume.spacing) and tuple(again.origin) == tuple(volume.origin)
    labels = scope["show"](Layers(), rix.Image(samples, axes="zyx", interpretation="label"), "labels")
    assert labels.data.dtype == np.int32 and len(rix.label_analysis(scope["image_of"](labels), measures="Volume")["Volume"]) == 23
    colours = scope["show"](Layers(), rix.Image(np.zeros((3, 5, 6), np.uint8), axes="cyx", spacing=2), "colours")
    assert (colours.channel_axis, colours.scale) == (0, [2, 2])


def test_code_of_the_page(monkeypatch):
    pytest.importorskip("pandas")
    code = (PAGE / "python.md").read_text().split("```python\n")[1].split("```")[0]
    monkeypatch.chdir(EXAMPLES.parent)
    scope = {}
    exec(code, scope)
    assert scope["labels"].array.max() == 24
