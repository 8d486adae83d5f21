"""The example of an operation in three languages, made from the one that `rix describe` prints, which is tested."""

import json
import re
import shlex


def snake(name):
    """The spelling of the Python package: BoxFilter2d is box_filter_2d."""
    return re.sub(r"(?<=[a-z0-9])(?=[A-Z])|(?<=[A-Z])(?=[A-Z][a-z])|(?<=[a-zA-Z])(?=[0-9])", "_", name).lower()


class Example:
    def __init__(self, operation, headers):
        self.operation = operation
        self.headers = headers
        words = shlex.split(operation.facts["example"] or f"rix run {operation.name}")
        self.values = dict(word.split("=", 1) for word in words[3:])

    def _given(self):
        """Properties with the values of the example, but for those that it leaves as they are anyway."""
        for name, text in self.values.items():
            each = self.operation.property(name)
            if each["type"].endswith("kernel"):
                continue  # the default
            if each["image"] or each["required"] or self._value(each, text) != each["default"]:
                yield each, text

    @staticmethod
    def _value(each, text):
        if each["type"] in ("choice", "text"):
            return text
        if each["type"].startswith(("vector", "list")) and not text.startswith("["):
            if text.startswith("@"):  # the archive form of a list, which examples take from defaults
                return each["default"]
            return [json.loads(part) for part in re.split("[, ]+", text)]
        return json.loads(text)

    def shell(self):
        words = [f"rix run {self.operation.name}"]
        words += [shlex.quote(f"{each['name']}={text}") for each, text in self._given()]
        return wrapped(words, " ", " \\\n    ")

    def python(self):
        arguments = []
        for each, text in self._given():
            if each["image"]:
                if each["direction"] == "in":
                    arguments.append(f'{snake(each["name"])}=rix.imread("{text}")')
            else:
                arguments.append(f'{snake(each["name"])}={self._value(each, text)!r}')
        call = f"rix.{snake(self.operation.name)}("
        return "import rix\n\nresult = " + wrapped([call + arguments[0] if arguments else call] + arguments[1:], ", ",
                                                   ",\n    " ) + ")"

    def _type(self):
        return self.operation.header.namespace + "::" + self.operation.name

    def cpp_includes(self):
        includes = {self.operation.header.include, "rix/image/MemoryImage.h", "rix/io/ImageFile.h"}
        if self._result():
            includes |= {self.headers[self._result()].include, "rix/measurement/TableText.h"}
        return sorted(includes)

    def _result(self):
        return next((each["type"].removeprefix("result object ") for each in self.operation.properties
                     if each["type"].startswith("result object")), None)

    def _cpp_value(self, each, text):
        value = self._value(each, text)
        if each["type"] == "choice":
            return f"{self._type()}::{value}"
        if isinstance(value, bool):
            return "true" if value else "false"
        return json.dumps(value).replace("[", "{").replace("]", "}") if isinstance(value, list) else json.dumps(value)

    def cpp_body(self):
        lines, written = [], []
        setters = []
        for each, text in self._given():
            name = each["name"]
            setter = f"operation.set{name[0].upper()}{name[1:]}"
            if each["image"] and each["direction"] == "in":
                lines.append(f'const auto {name} = rix::io::readImage("{text}");')
                setters.append(f"{setter}({name}.get());")
            elif each["image"]:
                lines.append(f"rix::io::MemoryImage {name};")
                setters.append(f"{setter}(&{name});")
                written.append(f'rix::io::writeImage("{text}", {name});')
            else:
                setters.append(f"{setter}({self._cpp_value(each, text)});")
        if self._result():
            namespace = self.headers[self._result()].namespace
            lines.append(f"{namespace}::{self._result()} result;")
            slot = next(each["name"] for each in self.operation.properties if each["type"].startswith("result object"))
            setters.append(f"operation.set{slot[0].upper()}{slot[1:]}(&result);")
            written.append("std::cout << rix::measurement::tableToCsv(result.toDataFrame());")
        return "\n".join([*lines, f"{self._type()} operation;", *setters, "operation.run();", *written])

    def cpp(self):
        includes = "".join(f"#include <{path}>\n" for path in self.cpp_includes())
        standard = "#include <iostream>\n\n" if self._result() else ""
        body = "".join(f"    {line}\n" for line in self.cpp_body().splitlines())
        return f"{standard}{includes}\nint main() {{\n{body}}}"


def wrapped(words, space, newline, limit=96):
    """Words one after the other; a new line where one would end beyond the limit."""
    text, column = "", 0
    for i, word in enumerate(words):
        separator = "" if i == 0 else space if column + len(word) <= limit else newline
        column = len(word) + (column if separator in ("", space) else 4)
        text += separator + word
    return text
