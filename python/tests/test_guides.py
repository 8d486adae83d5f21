"""The guides, typed as they stand: commands and Python in the order of the page, and what commands print."""

import os
import pathlib
import re
import subprocess

import pytest

from support import EXAMPLES

GUIDES = sorted((EXAMPLES.parent / "docs" / "guides").glob("*.md"))


def blocks(page):
    """The code of a page: (language, code, what a shell prints at its end)."""
    found = re.findall(r"^```(\w+)\n(.*?)^```$", page.read_text(), re.MULTILINE | re.DOTALL)
    for (language, code), (following, text) in zip(found, [*found[1:], ("", "")]):
        if language in ("sh", "python"):
            yield language, code, text if language == "sh" and following == "text" else ""


@pytest.mark.parametrize("page", GUIDES, ids=lambda page: page.stem)
def test_typed(page, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    monkeypatch.setenv("PATH", os.environ["RIX_PROGRAMS"] + os.pathsep + os.environ["PATH"])
    (tmp_path / "examples").symlink_to(EXAMPLES)
    scope = {}
    typed = list(blocks(page))
    assert typed
    for language, code, expected in typed:
        if language == "python":
            for package in re.findall(r"^(?:from|import) (scipy|pandas)", code, re.MULTILINE):
                pytest.importorskip(package)
            exec(code, scope)
            continue
        done = subprocess.run(["bash", "-eu", "-o", "pipefail", "-c", code], capture_output=True, text=True, timeout=120)
        assert done.returncode == 0, done.stderr
        assert done.stdout.endswith(expected), f"{code}\n{done.stdout}"


def test_every_page_is_found():
    assert {page.stem for page in GUIDES} >= {"microscopist", "inspection", "data-science", "volumes-and-time", "new-filter"}
    assert pathlib.Path(os.environ["RIX_PROGRAMS"], "rix").exists()
