#include "model/help.hpp"

#ifndef SYSTEM_SEARCH_VERSION
#error "The build defines SYSTEM_SEARCH_VERSION, the one version of the project."
#endif

namespace console {
namespace {

constexpr const char* kProgramPage =
    R"(system-search - find files and folders by name while the disk is being read

USAGE
  system-search index  [FOLDER] [OPTIONS]
  system-search search FOLDER [TEXT] [OPTIONS]
  system-search search --all-drives [TEXT] [OPTIONS]
  system-search list   FOLDER [TEXT] [OPTIONS]
  system-search COMMAND --help
  system-search --version

COMMANDS
  index     index a folder, or every local drive, and say how it went
  search    find names below a folder, or on every local drive
  list      find names directly in one folder, without an index

A folder may be relative to the current one. "Every local drive" means the
fixed and the removable ones, not network, optical or RAM drives.

EXIT STATUS
  0    something was found; for index: the index was made
  1    nothing was found
  2    trouble; one sentence on standard error says which
  130  stopped with Ctrl+C

EXAMPLES
  system-search search C:\Users report
  system-search search . *.h --kind file --limit 20
  system-search index --cache %TEMP%\drives.idx
  system-search search --all-drives --cache %TEMP%\drives.idx
  system-search list C:\Windows *.exe
)";

constexpr const char* kIndexPage = R"(system-search index - index a folder, or every local drive

USAGE
  system-search index [FOLDER] [--cache FILE] [--rebuild] [--json] [--quiet]

Reads the names of all files and folders below FOLDER, or on every local drive
when no FOLDER is given, and says how many there are and how long that took.
On a terminal one line shows the progress. Ctrl+C stops it cleanly.

"Skipped" counts what could not be read or is not entered: folders that deny
access or are a reparse point of another kind than a link or a junction, paths
of more than 32,768 bytes. Links and junctions are indexed as files.

OPTIONS
      --cache FILE   load the index from FILE when it holds one of this folder
                     (or of all drives), else write it there
      --rebuild      read the disk even when FILE could be loaded
  -a, --all-drives   the same as giving no FOLDER
  -j, --json         print the outcome as one JSON object
  -q, --quiet        no progress and no summary; trouble is still told
  -h, --help         this page

EXIT STATUS
  0    the index was made or loaded (and saved, when --cache asked for it)
  2    trouble; one sentence on standard error says which
  130  stopped with Ctrl+C; no cache is written
)";

constexpr const char* kSearchPage =
    R"(system-search search - find names below a folder, or on every local drive

USAGE
  system-search search FOLDER [TEXT] [OPTIONS]
  system-search search --all-drives [TEXT] [OPTIONS]

With TEXT: waits for the index, prints what matches, and ends.
Without TEXT: reads texts from standard input, one a line, and answers each. On
a terminal there is a prompt, and answers come at once, also while the index is
still being made; lines from a pipe or a file wait for the index, unless --now
is given. An empty line is passed over. Ctrl+Z and Enter, or Ctrl+C, end it.

TEXT
  A plain text matches names that contain it. With "*" (any run of characters)
  or "?" (any one character) it is a pattern for the whole name: "*.txt",
  "IMG_????.*". The letters A-Z and a-z are the same unless --case is given.
  "\" in TEXT is read as "/". Put -- before a TEXT that begins with "-".

MATCHING
  -p, --whole-path   match the whole path, not the last name only
  -c, --case         tell upper from lower case
  -t, --kind KIND    only "file" (f), only "folder" (d), or "any"
  -n, --limit N      show at most N results, 1 to 1000
                     (without it 1000, at the prompt 20)

INDEX
      --cache FILE   load the index from FILE when it holds one of this folder
                     (or of all drives), else write it there
      --rebuild      read the disk even when FILE could be loaded
      --now          answer lines from a pipe or a file at once, while the
                     index is still being made

OUTPUT
  A table of path, kind, size and local time, ordered by path, then how many of
  how many matches are shown, the search's milliseconds, and a note when the
  index was not complete. Instead of it:
  -1, --paths        only the paths, one a line
  -0, --null         only the paths, each ended by a NUL byte
  -j, --json         one JSON object for each text, on a line of its own
  -q, --quiet        no progress and no notes; trouble is still told
  -h, --help         this page

EXIT STATUS
  0    something was found
  1    nothing was found
  2    trouble; one sentence on standard error says which
  130  stopped with Ctrl+C
)";

constexpr const char* kListPage =
    R"(system-search list - find names directly in one folder, without an index

USAGE
  system-search list FOLDER [TEXT] [OPTIONS]

Reads the folder now and prints those of its files and folders that match TEXT,
or all of them. Links (to files as well), junctions and other folders that are
reparse points are left out.

TEXT
  A plain text matches names that contain it. With "*" (any run of characters)
  or "?" (any one character) it is a pattern for the whole name: "*.txt",
  "IMG_????.*". The letters A-Z and a-z are the same unless --case is given.
  "\" in TEXT is read as "/". Put -- before a TEXT that begins with "-".

MATCHING
  -p, --whole-path   match the whole path, not the last name only
  -c, --case         tell upper from lower case
  -t, --kind KIND    only "file" (f), only "folder" (d), or "any"
  -n, --limit N      show at most N results, 1 to 1000 (without it 1000)

OUTPUT
  A table of path, kind, size and local time, ordered by path, then how many of
  how many matches are shown and the listing's milliseconds. Instead of it:
  -1, --paths        only the paths, one a line
  -0, --null         only the paths, each ended by a NUL byte
  -j, --json         one JSON object
  -q, --quiet        no notes; trouble is still told
  -h, --help         this page

EXIT STATUS
  0    something was found
  1    nothing was found
  2    trouble; one sentence on standard error says which
  130  stopped with Ctrl+C
)";

}  // namespace

std::string help_text(Command command) {
    switch (command) {
        case Command::kIndex:
            return kIndexPage;
        case Command::kSearch:
            return kSearchPage;
        case Command::kList:
            return kListPage;
        default:
            return kProgramPage;
    }
}

std::string version_text() {
    return "system-search " SYSTEM_SEARCH_VERSION "\n";
}

}  // namespace console
