"""The bar of ``progress=True``."""

import sys
from types import TracebackType
from typing import Any, Optional, Type


class Bar:
    """Draws progress on standard error: with tqdm when it is installed, else as a line of its own."""

    def __init__(self, title: str) -> None:
        self._title = title
        self._drawn = -1
        try:
            from tqdm.auto import tqdm
        except ImportError:
            self._bar: Any = None
        else:
            self._bar = tqdm(total=100, desc=title, unit="%", bar_format="{l_bar}{bar}| {elapsed}<{remaining}")

    def __call__(self, fraction: float) -> None:
        percent = int(100 * fraction)
        if percent <= self._drawn:
            return
        if self._bar is not None:
            self._bar.update(percent - max(self._drawn, 0))
        else:
            filled = percent * 40 // 100
            print(f"\r{self._title}: {percent:3}% |{'#' * filled}{' ' * (40 - filled)}|", end="", file=sys.stderr,
                  flush=True)
        self._drawn = percent

    def __enter__(self) -> "Bar":
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        if self._bar is not None:
            self._bar.close()
        elif self._drawn >= 0:
            print(file=sys.stderr)
