"""Writes the sources of the reference site: a page an operation, the guides, and the settings of MkDocs.

usage: make_site.py RIX FOLDER

Pictures of operations are made by running their examples. What the pages say comes from the registry, from the comments of
the public headers and from docs/; nothing is written here.
"""

import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile

from examples import Example, snake
from facts import operations

ROOT = pathlib.Path(__file__).resolve().parents[2]
AREAS = {"point_operations": "Point operations", "manipulation": "Grey levels", "smoothing": "Smoothing", "rank": "Rank",
         "frequency": "Frequency", "linear": "Linear filters", "color": "Colour", "morphology": "Morphology",
         "geometry": "Geometry", "edge_detection": "Edges", "analysis": "Analysis", "segmentation": "Segmentation",
         "synthesis": "Synthesis", "individual_analysis": "Individual analysis"}
GUIDES = [("Tutorial", "tutorial.md"), ("Command line", "command-line.md"), ("Recipes", "recipes.md"),
          ("Python", "python.md"), ("With napari", "napari.md"), ("Your own buffers in C++", "own-buffers.md"),
          ("Image files", "formats.md"), ("Parts of image files", "selections.md"), ("Measures", "measures.md"),
          ("Result objects", "result-objects.md"), ("Types of results", "result-types.md"), ("Borders", "borders.md")]
USERS = [("Microscopist", "guides/microscopist.md"), ("Inspection engineer", "guides/inspection.md"),
         ("Data scientist", "guides/data-science.md"), ("Volumes and time", "guides/volumes-and-time.md"),
         ("New filter", "guides/new-filter.md")]
FAMILIES = [("Point operations", "point-operations.md"), ("Grey levels", "grey-levels.md"), ("Box filters", "box-filters.md"),
            ("Smoothing", "smoothing.md"), ("Linear filters", "linear-filters.md"), ("Frequency", "frequency.md"),
            ("Colour", "colour.md"), ("Morphology", "morphology.md"), ("Geometry", "geometry.md"),
            ("Edges", "edge-detection.md"), ("Segmentation", "segmentation.md"), ("Labeling", "labeling.md"),
            ("Statistics", "statistics.md"), ("Synthesis", "synthesis.md")]


def area_title(area):
    return AREAS.get(area, area.replace("_", " ").capitalize())


def cell(text):
    return str(text).replace("|", "\\|").replace("\n", " ").replace("<", "&lt;")


def property_table(operation):
    lines = ["| property | type | default | what | accepted |", "|---|---|---|---|---|"]
    for each in operation.properties:
        labels = ": " + ", ".join(f"`{label}`" for label in each["labels"]) if each["labels"] else ""
        default = "required" if each["required"] and each["direction"] == "in" else "" if each["default"] is None else \
            f"`{each['default']}`"
        rules = "; ".join(rule for rule in each["rules"] if not rule.startswith("one of"))
        lines.append(f"| `{each['name']}` | {cell(each['type'])} ({each['direction']}){labels} | {cell(default)} | "
                     f"{cell(each['description'])} | {cell(rules)} |")
    return "\n".join(lines)


class Writer:
    def __init__(self, operations_, headers):
        self.headers = headers
        self.known = {operation.name for operation in operations_}

    def markdown(self, comment, own=""):
        """A comment of a header as a page has it: names of operations are links, tags are words."""
        comment = re.sub(r"@throws ", "\n\n**Throws** ", comment)
        comment = re.sub(r"@(param|tparam) (\w+)", r"\n\n`\2`:", comment)
        comment = re.sub(r"@return ", "\n\n**Returns** ", comment)
        comment = re.sub(r"(?m)^(Cost:|Memory:|Method:)", r"\n**\1**", comment)
        comment = re.sub(r"(?m)^(?=\*\*)", "\n", comment)
        comment = re.sub(r"(?m)^( *)>", r"\1\>", comment)  # a comparison that was wrapped, no quotation
        comment = re.sub(r"(`[^`]*`|\*\*|(?m:^)\* |(?<!\w)\*\w[\w ]*\*(?!\w))|\*", lambda found: found[1] or r"\*", comment)

        def link(match):
            name = match.group(1)
            return f"[`{name}`]({name}.md)" if name in self.known and name != own else match.group(0)
        return re.sub(r"`(\w+)`", link, comment)

    def page(self, operation, picture):
        header, facts = operation.header, operation.facts
        lines = [f"# {operation.name}", "", facts["summary"], ""]
        if picture:
            lines += [f"![The example's result](images/{picture})", ""]
        runs = "may work in place" if facts["inPlace"] else "not in place"
        lines += [f"{area_title(facts['area'])} · {facts['kind']} · {runs} · `rix run {operation.name}` · "
                  f"`rix.{snake(operation.name)}` · `#include <{header.include}>`", ""]
        comments = [self.markdown(header.comment, operation.name)]
        if header.base in self.headers and header.base != "BaseAlgorithm":
            comments.append(self.markdown(self.headers[header.base].comment, operation.name))
        if any(comments):
            lines += ["## What it does", "", "\n\n".join(comments), ""]
        lines += ["## Properties", "", property_table(operation), ""]
        if facts["example"]:
            example = Example(operation, self.headers)
            lines += ["## Example", "", "On the command line:", "", "```sh", example.shell(), "```", "", "In Python:", "",
                      "```python", example.python(), "```", "", "In C++:", "", "```cpp", example.cpp(), "```", ""]
        return "\n".join(lines)


def picture_of(operation, program, folder, work):
    """Runs the example and renders the first image that it writes. None where it writes none that can be drawn."""
    words = shlex.split(operation.facts["example"] or "")
    outputs = [each["name"] for each in operation.properties if each["image"] and each["direction"] == "out"]
    written = [word.split("=", 1) for word in words[3:] if word.split("=", 1)[0] in outputs]
    if not written:
        return None
    target = {name: str(work / pathlib.Path(path).name) for name, path in written}
    words = [f"{word.split('=', 1)[0]}={target[word.split('=', 1)[0]]}" if word.split("=", 1)[0] in target else word
             for word in words]
    subprocess.run([program, *words[1:]], check=True, capture_output=True, cwd=ROOT)
    drawn = subprocess.run([program, "render", target[written[0][0]], str(folder / f"{operation.name}.png")],
                           capture_output=True, cwd=ROOT)
    return f"{operation.name}.png" if drawn.returncode == 0 else None


def copy_guides(source):
    shutil.copytree(ROOT / "docs", source, dirs_exist_ok=True)
    shutil.copytree(ROOT / "examples", source / "examples", dirs_exist_ok=True)
    (source / "index.md").write_text((ROOT / "README.md").read_text().replace("](docs/", "]("))
    for page in source.glob("*.md"):
        text = page.read_text().replace("](../examples/", "](examples/")
        # What lies in the source tree alone is named, not linked.
        page.write_text(re.sub(r"\[([^\]]+)\]\(\.\./[^)]*\)", r"\1", text))


def reference_index(found):
    lines = ["# Operations", ""]
    for area in dict.fromkeys(operation.facts["area"] for operation in found):
        lines += [f"## {area_title(area)}", "", "| operation | what |", "|---|---|"]
        lines += [f"| [`{each.name}`]({each.name}.md) | {cell(each.facts['summary'])} |" for each in found
                  if each.facts["area"] == area]
        lines.append("")
    return "\n".join(lines)


def navigation(found, source):
    def entries(pairs):
        return [f'      - "{title}": {page}' for title, page in pairs if (source / page).exists()]
    lines = ['  - "Overview": index.md', '  - "For whom":', *entries(USERS), '  - "Guides":', *entries(GUIDES), '  - "Families":', *entries(FAMILIES),
             '  - "Reference":', '      - "All operations": reference/index.md']
    for area in dict.fromkeys(operation.facts["area"] for operation in found):
        lines.append(f'      - "{area_title(area)}":')
        lines += [f"          - {each.name}: reference/{each.name}.md" for each in found if each.facts["area"] == area]
    listed = {page for _, page in GUIDES + FAMILIES} | {"index.md"}
    rest = [page.name for page in sorted(source.glob("*.md")) if page.name not in listed]
    lines += ['  - "For developers and hosts":', *[f"      - {name}" for name in rest]]
    return "\n".join(lines)


def main():
    program, folder = sys.argv[1], pathlib.Path(sys.argv[2]).resolve()
    program = str(pathlib.Path(program).resolve())
    found, headers = operations(program, ROOT, ROOT)
    source = folder / "pages"
    shutil.rmtree(folder, ignore_errors=True)
    pictures = source / "reference" / "images"
    pictures.mkdir(parents=True)
    copy_guides(source)
    writer = Writer(found, headers)
    with tempfile.TemporaryDirectory() as work:
        for operation in found:
            picture = picture_of(operation, program, pictures, pathlib.Path(work))
            (source / "reference" / f"{operation.name}.md").write_text(writer.page(operation, picture))
    (source / "reference" / "index.md").write_text(reference_index(found))
    shutil.copy(pathlib.Path(__file__).parent / "extra.css", source)
    (folder / "mkdocs.yml").write_text(f"""site_name: lumora_rix
docs_dir: pages
use_directory_urls: false
theme:
  name: readthedocs
  custom_dir: {pathlib.Path(__file__).resolve().parent / "theme"}
  highlightjs: false
  include_homepage_in_sidebar: false
  navigation_depth: 3
extra_css: [extra.css]
plugins: [search]
nav:
{navigation(found, source)}
""")
    print(f"{len(found)} operations, {len(list(pictures.glob('*.png')))} pictures")


if __name__ == "__main__":
    main()
