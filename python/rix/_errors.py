"""What the library raises. Each is also what Python itself would raise in such a case."""

from typing import Tuple


class Error(Exception):
    """Base of all errors of the library."""

    levels: Tuple[str, ...] = ()
    """The text, from what was being done to the cause."""


class RuleError(Error, ValueError):
    """A value, a name or an image was refused: the text says what was given and what is accepted."""


class DataTypeError(Error, TypeError):
    """Something of a type that isn't accepted was given."""


class FileError(Error, OSError):
    """A file can't be read or written, or is damaged."""


class OutOfMemoryError(Error, MemoryError):
    """There is not enough memory."""


class CancelledError(Error):
    """The run was cancelled."""


class RunError(Error, RuntimeError):
    """The run failed, or an object was used in a way that it does not allow."""


for _error in (Error, RuleError, DataTypeError, FileError, OutOfMemoryError, CancelledError, RunError):
    _error.__module__ = "rix"  # where users find them
