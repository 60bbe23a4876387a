"""system_search.dll for Python, through ctypes.

What each function promises is written in system_search.h.
"""

import ctypes
import enum
from ctypes import POINTER, c_char_p, c_int32, c_int64, c_uint32, c_uint64, c_void_p
from dataclasses import dataclass
from typing import Iterator, Optional

MAX_RESULTS = 1000
METADATA_SIZE = 1
METADATA_MODIFIED = 2


class EngineState(enum.IntEnum):
    IDLE, RUNNING, READY, CANCELLED, FAILED = range(5)


class QueryState(enum.IntEnum):
    RUNNING, DONE, CANCELLED, FAILED = range(4)


class Kind(enum.IntEnum):
    ANY, FILE, FOLDER = range(3)


class EngineStatus(ctypes.Structure):
    _fields_ = [
        ("state", c_uint32),
        ("entries", c_uint32),
        ("skipped", c_uint32),
        ("limited", c_uint32),
        ("from_cache", c_uint32),
    ]


class QueryStatus(ctypes.Structure):
    _fields_ = [
        ("state", c_uint32),
        ("matched", c_uint32),
        ("count", c_uint32),
        ("index_entries", c_uint32),
        ("index_incomplete", c_uint32),
    ]


class ResultMetadata(ctypes.Structure):
    _fields_ = [
        ("size", c_uint64),
        ("modified", c_int64),
        ("flags", c_uint32),
        ("reserved", c_uint32),
    ]


_FUNCTIONS = {
    "ss_create": (c_void_p, []),
    "ss_start": (c_int32, [c_void_p, c_char_p, c_char_p, c_int32]),
    "ss_cancel": (None, [c_void_p]),
    "ss_status": (None, [c_void_p, POINTER(EngineStatus)]),
    "ss_error": (c_char_p, [c_void_p]),
    "ss_destroy": (None, [c_void_p]),
    "ss_query": (c_void_p, [c_void_p, c_char_p, c_uint32, c_uint32, c_int32]),
    "ss_query_directory": (c_void_p, [c_char_p, c_char_p, c_uint32, c_uint32, c_uint32]),
    "ss_query_poll": (None, [c_void_p, POINTER(QueryStatus)]),
    "ss_query_path": (c_char_p, [c_void_p, c_uint32]),
    "ss_query_kind": (c_uint32, [c_void_p, c_uint32]),
    "ss_query_metadata": (c_int32, [c_void_p, c_uint32, POINTER(ResultMetadata)]),
    "ss_query_destroy": (None, [c_void_p]),
}


@dataclass(frozen=True)
class Result:
    path: str
    kind: Kind
    size: Optional[int]
    modified: Optional[int]  # seconds since 1970; beyond what datetime can hold in odd files


class Library:
    """The DLL; a full path is safest, because Python does not look beside the script."""

    def __init__(self, path: str) -> None:
        self.c = ctypes.CDLL(path)
        for name, (result, arguments) in _FUNCTIONS.items():
            function = getattr(self.c, name)
            function.restype = result
            function.argtypes = arguments

    def engine(self) -> "Engine":
        return Engine(self.c)

    def list_folder(self, folder: str, text: str = "", flags: int = 0, kind: Kind = Kind.ANY,
                    limit: int = MAX_RESULTS) -> "Query":
        return Query(self.c, self.c.ss_query_directory(folder.encode(), text.encode(), flags,
                                                       kind, limit))


class Engine:
    """An index and the build that fills it. Leaving the `with` block cancels the build."""

    def __init__(self, c: ctypes.CDLL) -> None:
        self._c = c
        self._handle = c.ss_create()
        if not self._handle:
            raise MemoryError

    def __enter__(self) -> "Engine":
        return self

    def __exit__(self, *_: object) -> None:
        self._c.ss_destroy(self._handle)
        self._handle = None

    def start(self, scope: str, cache_path: str = "", force: bool = False) -> bool:
        return bool(self._c.ss_start(self._handle, scope.encode(), cache_path.encode(), force))

    def cancel(self) -> None:
        self._c.ss_cancel(self._handle)

    def status(self) -> EngineStatus:
        status = EngineStatus()
        self._c.ss_status(self._handle, status)
        return status

    def error(self) -> str:
        return self._c.ss_error(self._handle).decode()

    def search(self, text: str, flags: int = 0, kind: Kind = Kind.ANY,
               limit: int = MAX_RESULTS) -> "Query":
        return Query(self._c, self._c.ss_query(self._handle, text.encode(), flags, kind, limit))


class Query:
    """A running or finished search. Leaving the `with` block cancels it."""

    def __init__(self, c: ctypes.CDLL, handle: Optional[int]) -> None:
        if not handle:
            raise RuntimeError("The query did not start.")
        self._c = c
        self._handle = handle

    def __enter__(self) -> "Query":
        return self

    def __exit__(self, *_: object) -> None:
        self._c.ss_query_destroy(self._handle)
        self._handle = None

    def poll(self) -> QueryStatus:
        status = QueryStatus()
        self._c.ss_query_poll(self._handle, status)
        return status

    def results(self) -> Iterator[Result]:
        """The results in order; none before the query is done."""
        metadata = ResultMetadata()
        for index in range(self.poll().count):
            self._c.ss_query_metadata(self._handle, index, metadata)
            yield Result(
                path=self._c.ss_query_path(self._handle, index).decode(),
                kind=Kind(self._c.ss_query_kind(self._handle, index)),
                size=metadata.size if metadata.flags & METADATA_SIZE else None,
                modified=metadata.modified if metadata.flags & METADATA_MODIFIED else None,
            )
