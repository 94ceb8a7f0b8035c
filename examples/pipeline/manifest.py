"""What became of each input: a file of JSON lines that survives being killed at any moment."""

from __future__ import annotations

import fcntl
import json
import os
from collections.abc import Iterator
from dataclasses import asdict, dataclass
from types import TracebackType

from tree import Texture, result_path


class Busy(Exception):
    """Another run writes this manifest."""


@dataclass(frozen=True)
class Result:
    """One line. Size and time are the input's from before it was read, so that a change during the
    conversion shows."""

    path: str  #: the input, relative to the source folder
    size: int | None  #: bytes; None when the input was not there
    mtime_ns: int | None
    result: str  #: the picture, relative to the target folder
    status: str  #: "ok" or "failed"
    reason: str  #: why it failed
    seconds: float

    def to_line(self) -> str:
        # ASCII with escapes: lone surrogates, and with them names that are not UTF-8, come back.
        return json.dumps(asdict(self)) + "\n"

    @staticmethod
    def from_line(line: str | bytes) -> Result:
        """Raises ValueError for anything but a whole line."""
        fields = json.loads(line)
        try:
            result = Result(**fields)
        except TypeError as error:
            raise ValueError(str(error)) from None
        texts = (result.path, result.result, result.reason)
        if not all(isinstance(text, str) for text in texts):
            raise ValueError("not a result")
        if result.status not in ("ok", "failed"):
            raise ValueError("not a result")
        if not (_stays_inside(result.path) and _stays_inside(result.result)):
            raise ValueError("leads out of the folder")
        return result


def _stays_inside(path: str) -> bool:
    """Whether `path` is one below a folder, as those of a walk are."""
    return not os.path.isabs(path) and ".." not in path.split(os.sep) and "\0" not in path


class Manifest:
    """The results so far: the last line about a path counts. Close it after use."""

    def __init__(self, file_name: str) -> None:
        """Opens or makes the file. Raises Busy while another process has it open."""
        self._file = open(file_name, "ab+")
        try:
            fcntl.flock(self._file, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            self._file.close()
            raise Busy(file_name) from None
        self._results: dict[str, Result] = {}
        self._file.seek(0)
        line = b"\n"
        for line in self._file:
            try:
                result = Result.from_line(line)
            except (ValueError, RecursionError):
                continue  # torn by a kill, or not ours
            self._results[result.path] = result
        if not line.endswith(b"\n"):
            self._file.write(b"\n")  # the next line must not grow onto the torn one

    def append(self, result: Result) -> None:
        self._file.write(result.to_line().encode("ascii"))
        self._file.flush()
        self._results[result.path] = result

    def __iter__(self) -> Iterator[Result]:
        return iter(self._results.values())

    def find(self, texture: Texture, target: str) -> Result | None:
        """What an earlier run made of this very input; None if that must be done (again)."""
        result = self._results.get(texture.path)
        if result is None or texture.size is None:
            return None
        if (result.size, result.mtime_ns) != (texture.size, texture.mtime_ns):
            return None
        if result.result != result_path(texture.path):
            return None
        if result.status == "ok" and not os.path.isfile(os.path.join(target, result.result)):
            return None
        return result

    def __enter__(self) -> Manifest:
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        trace: TracebackType | None,
    ) -> None:
        self._file.close()
