"""Calls into the shared library: one at a time, whatever the thread.

ctypes lets other threads run during a call, and the library keeps state without locks.
"""

from __future__ import annotations

import collections
import contextlib
import ctypes
import os
import threading
from typing import TYPE_CHECKING, Any, Callable, Final, Iterator, NamedTuple, Optional

from ._finding import find_library
from ._record import Record

if TYPE_CHECKING:
    RecordPointer = ctypes._Pointer[Record]

FAMILIES: Final = ("ASTC", "KTX", "PVR")
"""As the functions' names say them."""

_lock: Final = threading.RLock()


class LoadResult(NamedTuple):
    """What a loader gave."""

    record: Optional[RecordPointer]
    error: int
    """errno after the call; 0 if nothing set it."""


class Library:
    """The functions of korutex.h, serialised. Paths are in UTF-16 and end with two zero bytes."""

    def __init__(self, handle: ctypes.CDLL) -> None:
        self._dead: collections.deque[int] = collections.deque()
        record = ctypes.POINTER(Record)
        address, number = ctypes.c_void_p, ctypes.c_uint32

        def declare(name: str, result: Any, *arguments: Any) -> Callable[..., Any]:
            function = handle[name]
            function.restype = result
            function.argtypes = arguments
            return function

        self._load_file, self._load_memory, self._write = {}, {}, {}
        for family in FAMILIES:
            name = f"KORU_Load_{family}_From_"
            self._load_file[family] = declare(name + "File", record, address, number)
            self._load_memory[family] = declare(name + "Memory", record, address, number, number)
            name = f"KORU_Write_{family}_To_File"
            self._write[family] = declare(name, ctypes.c_int32, address, record)
        self._delete = declare("KORU_Delete_Image", None, address)

    def load_file(self, family: str, path: bytes, flags: int) -> LoadResult:
        return self._load(self._load_file[family], path, flags)

    def load_memory(self, family: str, address: int, size: int, flags: int) -> LoadResult:
        return self._load(self._load_memory[family], address, size, flags)

    def _load(self, function: Callable[..., Any], *arguments: object) -> LoadResult:
        with self._one_at_a_time():
            ctypes.set_errno(0)
            record = function(*arguments)
            return LoadResult(record or None, ctypes.get_errno())

    def write(self, family: str, path: bytes, record: Record) -> tuple[bool, int]:
        """Whether it worked, and errno."""
        with self._one_at_a_time():
            ctypes.set_errno(0)
            is_written = self._write[family](path, record)
            return bool(is_written), ctypes.get_errno()

    def delete(self, address: int) -> None:
        """Frees the record there, now or as soon as the call that is running has ended.

        Never waits: the garbage collector may call this at any point of any thread, and a thread
        that holds other locks must not stand still here.
        """
        self._dead.append(address)
        self._delete_dead()

    @contextlib.contextmanager
    def _one_at_a_time(self) -> Iterator[None]:
        try:
            with _lock:
                yield
        finally:
            self._delete_dead()

    def _delete_dead(self) -> None:
        # Whoever comes between the end of this loop and the release finds the lock taken, so the
        # queue is looked at once more.
        while self._dead and _lock.acquire(blocking=False):
            try:
                while self._dead:
                    # The collector may run here and empty the queue, in this very thread.
                    with contextlib.suppress(IndexError):
                        self._delete(self._dead.popleft())
            finally:
                _lock.release()


_library: Optional[Library] = None


def get_library() -> Library:
    """The library, which is looked for at the first use. Raises LibraryNotFoundError."""
    global _library
    with _lock:
        if _library is None:
            _library = Library(find_library())
        return _library


# A child of fork has this thread alone: nobody else may be amid a call then.
if hasattr(os, "register_at_fork"):
    os.register_at_fork(
        before=_lock.acquire, after_in_parent=_lock.release, after_in_child=_lock.release
    )
