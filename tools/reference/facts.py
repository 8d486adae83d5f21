"""What is known of the operations: the registry, as `rix describe --json` tells it, and the comments of public headers."""

import json
import pathlib
import re
import subprocess


class Header:
    """The public header of a class: where it is, in which namespace, and what its comment says."""

    def __init__(self, path, name):
        text = path.read_text()
        self.include = str(path)[str(path).rindex("/include/") + len("/include/"):]
        before = text[:re.search(rf"^class RIX_EXPORT {name}\b", text, re.MULTILINE).start()]
        self.namespace = re.findall(r"^namespace ([\w:]+) \{", before, re.MULTILINE)[-1]
        found = re.search(rf"((?:^///.*\n)+)class RIX_EXPORT {name}\b", text, re.MULTILINE)
        self.comment = "\n".join(line[3:].removeprefix(" ") for line in found.group(1).splitlines()) if found else ""
        base = re.search(rf"class RIX_EXPORT {name} : public (\w+)", text)
        self.base = base.group(1) if base else ""
        self.members = {name: " ".join(part.strip("/ \n") for part in comment.splitlines()).strip()
                        for comment, name in re.findall(r"((?: +///.*\n)+) +RIX_(?:INPUT|OUTPUT|CHOICE)\([^,]+(?:<[^>]*>)?, "
                                                        r"\w+, (\w+)", text)}


class Operation:
    def __init__(self, facts, header):
        self.facts = facts
        self.header = header
        self.name = facts["name"]

    @property
    def properties(self):
        return self.facts["properties"]

    def property(self, name):
        return next(each for each in self.properties if each["name"] == name)


def headers(root):
    """The headers of all classes of the library, by the name of the class."""
    found = {}
    for path in sorted(root.glob("*/**/include/rix/**/*.h")):
        if "build" in path.relative_to(root).parts[0]:
            continue
        for name in re.findall(r"^class RIX_EXPORT (\w+)\b(?!;)", path.read_text(), re.MULTILINE):
            found[name] = Header(path, name)
    return found


def operations(program, root, folder):
    """@param folder: that examples are to be run in."""
    def ask(*arguments):
        return json.loads(subprocess.run([program, *arguments, "--json"], check=True, capture_output=True,
                                         cwd=folder).stdout)

    known = headers(pathlib.Path(root))
    return [Operation(ask("describe", each["name"]), known[each["name"]]) for each in ask("list")], known
