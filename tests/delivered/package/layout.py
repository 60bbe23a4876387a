"""The layout of the records of examples/python, in the form of layout.c."""

import ctypes

import system_search

for record in (system_search.EngineStatus, system_search.QueryStatus, system_search.ResultMetadata):
    print(record.__name__, ctypes.sizeof(record))
    for name, _ in record._fields_:
        field = getattr(record, name)
        print(f"{record.__name__}.{name} {field.offset} {field.size}")
