"""Runs every example of the reference, in Python and in C++, against a build or an installation.

usage: check_examples.py RIX FOLDER COMPILER FLAG...

Works in FOLDER; FLAGs are what the compiler needs to find and link the library. The `rix` module has to be importable, or
RIX_SKIP_PYTHON set. The examples for a shell are run by the tests of the command line. Pages are made, too,
but for their pictures.
"""

import os
import pathlib
import subprocess
import sys

from examples import Example
from facts import operations
from make_site import Writer

ROOT = pathlib.Path(__file__).resolve().parents[2]


def program_of(examples):
    """All examples as one program: a function each."""
    includes = sorted({include for example in examples for include in example.cpp_includes()})
    functions = "".join(f"void {example.operation.name}() {{\n{example.cpp_body()}\n}}\n" for example in examples)
    calls = "".join(f'    std::cerr << "{example.operation.name}\\n", examples::{example.operation.name}();\n'
                    for example in examples)
    return ("#include <iostream>\n" + "".join(f"#include <{include}>\n" for include in includes) +
            f"namespace examples {{\n{functions}}}\nint main() {{\n{calls}}}\n")


def main():
    program, folder, compiler, *flags = sys.argv[1:]
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    found, headers = operations(program, ROOT, folder)
    writer = Writer(found, headers)
    for operation in found:
        assert operation.header.comment and writer.page(operation, None), f"{operation.name} has no documentation"
    examples = [Example(operation, headers) for operation in found if operation.facts["example"]]

    (folder / "examples.cpp").write_text(program_of(examples))
    subprocess.run([compiler, "-std=c++20", str(folder / "examples.cpp"), *flags, "-o", str(folder / "program")], check=True)
    done = subprocess.run(["./program"], cwd=folder, capture_output=True, text=True)
    if done.returncode:
        sys.exit(f"C++: the example of {done.stderr.splitlines()[0 if not done.stderr else -2]} fails:\n{done.stderr[-1500:]}")

    if not os.environ.get("RIX_SKIP_PYTHON"):
        import rix
        os.chdir(folder)
        for example in examples:
            try:
                exec(example.python(), {})
            except Exception as error:
                sys.exit(f"Python: the example of {example.operation.name} fails: {error}\n{example.python()}")
        assert rix
    print(f"{len(examples)} examples of {len(found)} operations run in both languages")


if __name__ == "__main__":
    main()
