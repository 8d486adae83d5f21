"""Tables of measures."""

from typing import TYPE_CHECKING, Any, Dict

import numpy as np
import numpy.typing as npt

from ._errors import RunError

if TYPE_CHECKING:
    import pandas


class Table(Dict[str, npt.NDArray[Any]]):
    """Measures by name, an array each: a dict that also knows units and descriptions.

    The arrays show the memory of the result and keep it alive.
    """

    units: Dict[str, str]
    """The unit of each array; empty for a number without unit and for texts."""
    descriptions: Dict[str, str]
    """What each array holds."""

    def __init__(self, columns: Dict[str, npt.NDArray[Any]], units: Dict[str, str],
                 descriptions: Dict[str, str]) -> None:
        super().__init__(columns)
        self.units = units
        self.descriptions = descriptions

    def to_pandas(self) -> "pandas.DataFrame":
        """A pandas.DataFrame, with ``attrs["units"]`` and ``attrs["descriptions"]``. Needs pandas."""
        try:
            import pandas
        except ImportError:
            raise RunError("to_pandas() needs the package pandas, which is not installed") from None
        if len({len(values) for values in self.values()}) > 1:
            raise RunError("the arrays differ in length and so make no data frame: " +
                           ", ".join(f"{name} {len(values)}" for name, values in self.items()))
        frame = pandas.DataFrame(dict(self))
        frame.attrs["units"] = dict(self.units)
        frame.attrs["descriptions"] = dict(self.descriptions)
        return frame

    def __repr__(self) -> str:
        lines = []
        for name, values in self.items():
            unit = f" [{self.units[name]}]" if self.units.get(name) else ""
            shown = np.array2string(values, threshold=6, edgeitems=2, precision=6, separator=", ")
            lines.append(f"  {name}{unit}: {shown}")
        return "<rix.Table\n" + "\n".join(lines) + ">"
