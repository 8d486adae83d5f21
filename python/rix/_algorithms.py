"""Classes and functions, made of what the registry tells when they are first used."""

import collections
import difflib
from typing import Any, Callable, Dict, List, NamedTuple, Optional, Type, Union

from . import _progress, _rix
from ._errors import RuleError

Algorithm = _rix.Algorithm


class Listed(NamedTuple):
    """An algorithm in short."""

    name: str
    function: str
    area: str
    summary: str


class Description(Dict[str, Any]):
    """All that is known of an algorithm; prints as a text."""

    def __str__(self) -> str:
        lines = [self["name"], "  " + self["summary"], "",
                 f"  area: {self['area']}, kind: {self['kind']}" + (", may work in place" if self["in_place"] else ""),
                 f"  function: rix.{self['function']}, class: rix.{self['name']}", "", "Properties:"]
        for item in self["properties"]:
            lines.append(f"  {item['name']}  ({item['direction']}, {item['type']})")
            lines += ["      " + line for line in _details(item)]
        return "\n".join(lines)

    __repr__ = __str__


def _details(item: Dict[str, Any]) -> List[str]:
    lines = [item["description"]] if item["description"] else []
    if item["role"] == "value" and item["direction"] == "in" and not item["required"]:
        default = item["default"]
        lines.append("default: " + (default.name if item["enumeration"] is not None else repr(default)))
    if item["enumeration"] is not None:
        lines.append("values: " + ", ".join(item["enumeration"].__members__))
    rules = [rule for rule in item["rules"] if not rule.startswith("one of:")]
    if rules:
        lines.append("rules: " + "; ".join(rules))
    return lines


def list_all() -> List[Listed]:
    """The algorithms, in the order of the library's modules."""
    return [Listed(**entry) for entry in _rix.list()]


def names() -> List[str]:
    """The names of all classes and functions."""
    return [name for entry in _rix.list() for name in (entry["name"], entry["function"])]


def describe(algorithm: Union[str, type, Callable[..., Any]]) -> Description:
    """What an algorithm does and takes: a dict that prints as a text.

    Parameters
    ----------
    algorithm
        The name of its class or function, or one of these.
    """
    name = algorithm if isinstance(algorithm, str) else algorithm.__name__
    for entry in _rix.list():
        if name in (entry["name"], entry["function"]):
            return Description(_rix.describe(entry["name"]))
    return Description(_rix.describe(name))  # hidden classes are found by name; for others it says what was meant


def find(name: str) -> Any:
    """The class or the function of a name."""
    for entry in _rix.list():
        if name == entry["name"]:
            return _make_class(Description(_rix.describe(name)))
        if name == entry["function"]:
            return _make_function(Description(_rix.describe(entry["name"])))
    similar = difflib.get_close_matches(name, names(), 1)
    raise AttributeError(f"module 'rix' has no attribute '{name}'" + (f". Did you mean: '{similar[0]}'?" if similar else ""))


def _inputs(facts: Description) -> List[Dict[str, Any]]:
    return [item for item in facts["properties"] if item["direction"] != "out"]


def _results(facts: Description) -> List[Dict[str, Any]]:
    return [item for item in facts["properties"] if item["direction"] != "in"]


def _result_maker(facts: Description) -> Callable[[Any], Any]:
    """Makes a named tuple of several results; one stands for itself."""
    results = _results(facts)
    if len(results) == 1:
        return lambda values: values[0]
    return _result_type(facts)._make  # type: ignore[attr-defined, no-any-return]


_result_types: Dict[str, type] = {}


def _result_type(facts: Description) -> type:
    name = facts["name"] + "Result"
    if name not in _result_types:
        made = collections.namedtuple(name, [item["name"] for item in _results(facts)], module="rix")  # type: ignore[misc]
        _result_types[name] = made
    return _result_types[name]


RUN_PARAMETERS = {
    "out": "An image of the result's shape and type that takes the samples, for several results a tuple in their order\n"
           "    or a dict by name. An input may be given where the algorithm may work in place.",
    "axes": "The axes of arrays that have other than two or three dimensions, or other axes, \"tczyx\" style; it speaks\n"
            "    for arrays of as many dimensions as it has letters.",
    "threads": "The largest number of threads; None for no limit. The result does not depend on it.",
    "progress": "A callable that is given the progress from 0 to 1, or True for a bar.",
}


def _documentation(facts: Description, options: List[str]) -> str:
    text = facts["summary"] + "\n\nParameters\n----------\n"
    for item in _inputs(facts):
        text += f"{item['name']} : {item['type']}\n" + "".join(f"    {line}\n" for line in _details(item))
    for name in options:
        text += f"{name}\n    {RUN_PARAMETERS[name]}\n"
    text += "\nReturns\n-------\n"
    for item in _results(facts):
        text += f"{item['name']} : {item['type']}\n    {item['description']}\n"
    return text


def _make_function(facts: Description) -> Any:
    """A function with a signature of its own, so that editors and help() show it."""
    parameters, values = [], []
    scope: Dict[str, Any] = {"_call": _rix.call, "_Bar": _progress.Bar, "_result": _result_maker(facts)}
    for item in _inputs(facts):
        values.append(item["name"] if item["role"] != "unsupported" else "None")
        if item["role"] == "unsupported":
            continue
        if item["required"]:
            parameters.append(item["name"])
        else:
            scope["_default_" + item["name"]] = item["default"]
            parameters.append(f"{item['name']}=_default_{item['name']}")
    name, title = facts["function"], facts["name"]
    inputs = "".join(value + ", " for value in values)
    several = len(_results(facts)) > 1
    call = f"_call({title!r}, ({inputs}), out, progress, threads, axes or '')"
    call = f"_result({call})" if several else call
    source = (
        f"def {name}({', '.join(parameters)}, *, out=None, axes=None, threads=None, progress=None):\n"
        f"    if progress is True:\n"
        f"        with _Bar({title!r}) as progress:\n"
        f"            return {call}\n"
        f"    return {call}\n")
    exec(compile(source, f"<rix.{name}>", "exec"), scope)
    function = scope[name]
    function.__module__ = "rix"
    function.__doc__ = _documentation(facts, ["out", "axes", "threads", "progress"])
    return function


def _make_property(item: Dict[str, Any], place: int) -> property:
    def read(self: Any) -> Any:
        return self._get(place)

    def write(self: Any, value: Any) -> None:
        self._set(place, value)

    settable = item["role"] == "image" or item["direction"] != "out"
    return property(read, write if settable else None, doc="\n".join([f"{item['type']}: "] + _details(item)))


def _make_class(facts: Description) -> Any:
    result = _result_maker(facts)
    title = facts["name"]
    fields = [item["name"] for item in facts["properties"]]

    def __init__(self: Any, **values: Any) -> None:
        _rix.Algorithm.__init__(self, title)
        for name, value in values.items():
            if name not in fields:
                similar = difflib.get_close_matches(name, fields, 1)
                raise RuleError(f"{title} has no property '{name}'" +
                                (f"; did you mean '{similar[0]}'?" if similar else f"; it has {', '.join(fields)}"))
            setattr(self, name, value)

    def run(self: Any, *, axes: Optional[str] = None, threads: Optional[int] = None, progress: Any = None) -> Any:
        """Runs with the present values and gives the results, which are also attributes afterwards.

        Parameters
        ----------
        """
        if progress is True:
            with _progress.Bar(title) as bar:
                return result(self._run(bar, threads, axes or ""))
        return result(self._run(progress or None, threads, axes or ""))

    run.__doc__ = (run.__doc__ or "") + "".join(
        f"        {name}\n        {RUN_PARAMETERS[name]}\n" for name in ("axes", "threads", "progress"))

    def __repr__(self: Any) -> str:
        values = [f"{item['name']}={getattr(self, item['name'])!r}" for item in _inputs(facts) if item["role"] == "value"]
        return f"rix.{title}({', '.join(values)})"

    scope: Dict[str, Any] = {"__init__": __init__, "run": run, "__repr__": __repr__, "__slots__": (),
                             "__doc__": _documentation(facts, []), "__module__": "rix"}
    for place, item in enumerate(facts["properties"]):
        scope[item["name"]] = _make_property(item, place)
        if item["enumeration"] is not None:
            scope[item["enumeration"].__name__] = item["enumeration"]
    made: Type[Any] = type(title, (Algorithm,), scope)
    return made
