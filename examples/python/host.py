"""Indexes a folder, searches it while the index grows, and lists the folder.

    python host.py FOLDER TEXT
"""

import pathlib
import sys
import time

from system_search import Engine, EngineState, Kind, Library, Query, QueryState, QueryStatus


def finish(query: Query) -> QueryStatus:
    """Waits for the query's end. A program with a window would poll from a timer instead."""
    outcome = query.poll()
    while outcome.state == QueryState.RUNNING:
        time.sleep(0.001)
        outcome = query.poll()
    if outcome.state != QueryState.DONE:
        raise RuntimeError("The query failed.")
    return outcome


def print_results(title: str, query: Query, outcome: QueryStatus) -> None:
    """One line for each result: kind, size, seconds since 1970, path; "-" for what is not known."""
    incomplete = ", incomplete" if outcome.index_incomplete else ""
    print(f"{title}: {outcome.count} of {outcome.matched} in {outcome.index_entries}{incomplete}")
    for result in query.results():
        print("folder" if result.kind == Kind.FOLDER else "file",
              "-" if result.size is None else result.size,
              "-" if result.modified is None else result.modified,
              result.path, sep="\t")


def search_while_indexing(engine: Engine, text: str) -> None:
    """Searches until a search has seen the finished index, and prints what that one found."""
    while True:
        build = engine.status()
        if build.state == EngineState.FAILED:
            raise RuntimeError(engine.error())
        with engine.search(text) as query:
            outcome = finish(query)
            if build.state != EngineState.RUNNING:
                print(f"indexed {build.entries}, skipped {build.skipped}")
                print_results("search", query, outcome)
                return
            print(f"{outcome.matched} matches in the first {outcome.index_entries} entries",
                  file=sys.stderr)
        time.sleep(0.02)


def main() -> int:
    if len(sys.argv) != 3:
        print("usage: python host.py FOLDER TEXT", file=sys.stderr)
        return 2
    folder, text = sys.argv[1:]
    sys.stdout.reconfigure(encoding="utf-8")
    library = Library(str(pathlib.Path(__file__).with_name("system_search.dll")))
    try:
        with library.engine() as engine:
            if not engine.start(folder):
                raise RuntimeError("The build did not start.")
            search_while_indexing(engine, text)
        with library.list_folder(folder) as listing:
            print_results("list", listing, finish(listing))
    except RuntimeError as failure:
        print(failure, file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
