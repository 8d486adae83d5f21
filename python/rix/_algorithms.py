"""Classes and functions, made of what the registry tells when they are first used."""

import collections
import re
import textwrap
from typing import Any, Callable, Dict, Iterable, List, NamedTuple, Optional, Tuple, Type, Union

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
    """The description of a property, and what its values are held to."""
    lines = [item["description"]] if item["description"] else []
    if item["required"]:
        lines.append("required")
    elif item["role"] == "value" and item["direction"] == "in":
        default = item["default"]
        lines.append("default: " + (default.name if item["enumeration"] is not None else repr(default)))
    if item["enumeration"] is not None:
        lines.append("values: " + ", ".join(item["enumeration"].__members__))
    if item["only_with"]:
        lines.append("with: " + item["only_with"])
    # Labels are told already, and results are made where none are given.
    rules = [rule for rule in item["rules"]
             if not rule.startswith("one of:") and (item["direction"] != "out" or rule != "must be set")]
    if rules:
        lines.append("rules: " + "; ".join(rules))
    return lines


def list_all() -> List[Listed]:
    """The algorithms, in the order of the library's modules."""
    return [Listed(**entry) for entry in _rix.list()]


def names() -> List[str]:
    """The names of all classes and functions."""
    return [name for entry in _rix.list() for name in (entry["name"], entry["function"])]


def _facts(name: str) -> Description:
    """What the registry tells of a class, with the names of its properties in Python's spelling also in texts."""
    facts = Description(_rix.describe(name))
    spelling = {item["registry_name"]: item["name"] for item in facts["properties"]}

    def respelled(text: str) -> str:
        return re.sub(r"\w+", lambda word: spelling.get(word[0], word[0]), text)

    for item in facts["properties"]:
        item["description"] = respelled(item["description"])
        item["rules"] = [respelled(rule) for rule in item["rules"]]
        item["only_with"] = respelled(item["only_with"])
    return facts


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
            return _facts(entry["name"])
    return _facts(name)  # hidden classes are found by name; for others it says what was meant


def find(name: str) -> Any:
    """The class, the function or the type of the results of a name."""
    entries = _rix.list()
    for entry in entries:
        title = entry["name"]
        if name == title:
            return _make_class(_facts(title))
        if name == entry["function"]:
            return _make_function(_facts(title))
        if name == title + "Result" and len(results_of(_facts(title))) > 1:
            return _result_type(_facts(title))
    similar = _rix.suggest(name, [entry["name" if name[:1].isupper() else "function"] for entry in entries])
    meant = f". Did you mean: {' or '.join(map(repr, similar))}?" if similar else ""
    raise AttributeError(f"module 'rix' has no attribute '{name}'{meant}")


def inputs_of(facts: Description) -> List[Dict[str, Any]]:
    return [item for item in facts["properties"] if item["direction"] != "out"]


def results_of(facts: Description) -> List[Dict[str, Any]]:
    return [item for item in facts["properties"] if item["direction"] != "in"]


def _result_maker(facts: Description) -> Callable[[Any], Any]:
    """Makes a named tuple of several results; one stands for itself."""
    results = results_of(facts)
    if len(results) == 1:
        return lambda values: values[0]
    return _result_type(facts)._make  # type: ignore[attr-defined, no-any-return]


_result_types: Dict[str, type] = {}


def _result_type(facts: Description) -> type:
    name = facts["name"] + "Result"
    if name not in _result_types:
        fields = [item["name"] for item in results_of(facts)]
        _result_types[name] = collections.namedtuple(name, fields, module="rix")
    return _result_types[name]


RUN_PARAMETERS = {
    "out": "An image of the result's shape and type that takes the samples, for several results a tuple in their\n"
           "order or a dict by name. An input may be given where the algorithm may work in place.\n"
           "An optional result for which it is False is not made.",
    "axes": "The axes of arrays that have other than two or three dimensions, or other axes, \"tczyx\" style; it\n"
            "speaks for arrays of as many dimensions as it has letters.",
    "each": "\"t\" to run once for each frame, \"c\" for each channel, \"tc\" for both, instead of once on all.",
    "threads": "The largest number of threads; None for no limit. The result does not depend on it.",
    "progress": "A callable that is given the progress from 0 to 1, or True for a bar.",
}


def _paragraphs(entries: Iterable[Tuple[str, str]]) -> str:
    """Names, each with its text below."""
    return "".join(f"{name}\n{textwrap.indent(text, '    ')}\n" for name, text in entries)


def documentation(facts: Description, options: Iterable[str]) -> str:
    """The docstring of a class or a function that has these options beside the inputs."""
    inputs = [(f"{item['name']} : {item['type']}", "\n".join(_details(item))) for item in inputs_of(facts)]
    results = [(f"{item['name']} : {item['type']}", item["description"]) for item in results_of(facts)]
    parameters = inputs + [(name, RUN_PARAMETERS[name]) for name in options]
    return (f"{facts['summary']}\n\nParameters\n----------\n{_paragraphs(parameters)}"
            f"\nReturns\n-------\n{_paragraphs(results)}")


def property_documentation(item: Dict[str, Any]) -> str:
    """The docstring of an attribute."""
    lines = _details(item)
    return "\n".join(lines[:1] + [f"type: {item['type']}"] + lines[1:])


def _make_function(facts: Description) -> Any:
    """A function with a signature of its own, so that editors and help() show it."""
    shown, parameters, values, missing = [], [], [], ""
    scope: Dict[str, Any] = {"_call": _rix.call, "_Bar": _progress.Bar, "_result": _result_maker(facts),
                             "_refuse": _refuse_arguments, "_required": object()}
    for item in inputs_of(facts):
        values.append(item["name"] if item["role"] != "unsupported" else "None")
        if item["role"] == "unsupported":
            continue
        if item["required"]:
            shown.append(item["name"])
            parameters.append(f"{item['name']}=_required")
            missing += f" or {item['name']} is _required"
        else:
            scope["_default_" + item["name"]] = item["default"]
            shown.append(f"{item['name']}=_default_{item['name']}")
            parameters.append(shown[-1])
    name, title = facts["function"], facts["name"]
    inputs = "".join(value + ", " for value in values)
    several = len(results_of(facts)) > 1
    call = f"_call({title!r}, ({inputs}), out, progress, threads, axes or '', each or '')"
    call = f"_result({call})" if several else call
    options = "*, out=None, axes=None, each=None, threads=None, progress=None"
    # It takes whatever it is given, to say what was meant by a wrong name; a second one shows what it accepts. One that
    # calls another would be where warnings point to.
    source = (
        f"def {name}({', '.join(parameters)}, {options}, **_other):\n"
        f"    if _other{missing}:\n"
        f"        _refuse(_shown, _other)\n"
        f"    if progress is True:\n"
        f"        with _Bar({title!r}) as progress:\n"
        f"            return {call}\n"
        f"    return {call}\n"
        f"def _shown({', '.join(shown)}, {options}): ...\n")
    exec(compile(source, f"<rix.{name}>", "exec"), scope)
    function = scope[name]
    function.__module__ = "rix"
    function.__doc__ = documentation(facts, RUN_PARAMETERS)
    function.__wrapped__ = scope["_shown"]
    scope["_shown"].__name__ = name
    return function


def _refuse_arguments(shown: Any, other: Dict[str, Any]) -> None:
    """Refuses names that a function does not have, or the lack of what it needs."""
    known = shown.__code__.co_varnames[:shown.__code__.co_argcount + shown.__code__.co_kwonlyargcount]
    for word in other:
        raise TypeError(f"{shown.__name__}() has no argument '{word}'{_meant(word, list(known))}")
    required = known[:shown.__code__.co_argcount - len(shown.__defaults__ or ())]
    raise TypeError(f"{shown.__name__}() needs {' and '.join(required)}")


def _meant(word: str, known: List[str]) -> str:
    """What a wrong name may have meant, or all there are: the end of a sentence."""
    similar = _rix.suggest(word, known)
    return f"; did you mean {' or '.join(map(repr, similar))}?" if similar else f"; it has {', '.join(known)}"


def _is_settable(item: Dict[str, Any]) -> bool:
    return bool(item["role"] == "image" or (item["direction"] != "out" and item["role"] != "unsupported"))


def _make_property(item: Dict[str, Any], place: int) -> property:
    def read(self: Any) -> Any:
        return self._get(place)

    def write(self: Any, value: Any) -> None:
        self._set(place, value)

    return property(read, write if _is_settable(item) else None, doc=property_documentation(item))


def _make_class(facts: Description) -> Any:
    result, title = _result_maker(facts), facts["name"]
    fields = [item["name"] for item in facts["properties"]]

    def __init__(self: Any, **values: Any) -> None:
        _rix.Algorithm.__init__(self, title)
        for name, value in values.items():
            if name not in fields:
                raise RuleError(f"{title} has no property '{name}'{_meant(name, fields)}")
            setattr(self, name, value)

    def __getattr__(self: Any, name: str) -> Any:
        raise AttributeError(f"{title} has no property '{name}'" + ("" if name[:1] == "_" else _meant(name, fields)))

    def __setattr__(self: Any, name: str, value: Any) -> None:
        try:
            object.__setattr__(self, name, value)
        except AttributeError:
            if name in fields or name[:1] == "_":
                raise
            text = f"{title} has no property '{name}'{_meant(name, fields)}"
        else:
            return
        raise AttributeError(text)

    def run(self: Any, *, axes: Optional[str] = None, each: Optional[str] = None, threads: Optional[int] = None,
            progress: Any = None) -> Any:
        if progress is True:
            with _progress.Bar(title) as bar:
                return result(self._run(bar, threads, axes or "", each or ""))
        return result(self._run(progress or None, threads, axes or "", each or ""))

    options = [(name, RUN_PARAMETERS[name]) for name in ("axes", "each", "threads", "progress")]
    run.__doc__ = ("Runs with the present values and gives the results, which are also attributes afterwards.\n\n"
                   f"Parameters\n----------\n{_paragraphs(options)}")

    def __repr__(self: Any) -> str:
        names = [item["name"] for item in inputs_of(facts) if item["role"] == "value"]
        values = [f"{name}={getattr(self, name)!r}" for name in names]
        return f"rix.{title}({', '.join(values)})"

    import inspect  # a tenth of the time of importing the package

    # Every property may be given to the constructor, and none must.
    signature = inspect.Signature([
        inspect.Parameter(item["name"], inspect.Parameter.KEYWORD_ONLY, default=item["default"])
        for item in facts["properties"] if _is_settable(item)])
    scope: Dict[str, Any] = {"__init__": __init__, "run": run, "__repr__": __repr__, "__slots__": (),
                             "__getattr__": __getattr__, "__setattr__": __setattr__,
                             "__signature__": signature, "__doc__": documentation(facts, []), "__module__": "rix"}
    for place, item in enumerate(facts["properties"]):
        scope[item["name"]] = _make_property(item, place)
        if item["enumeration"] is not None:
            scope[item["enumeration"].__name__] = item["enumeration"]
    made: Type[Any] = type(title, (Algorithm,), scope)
    return made
