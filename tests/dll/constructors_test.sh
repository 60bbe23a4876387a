#!/usr/bin/env bash
# What runs while the loader attaches the DLL, before its DllMain: every constructor and start-up
# entry is known here, and none of them calls the system.
set -euo pipefail
dll=$SS_BIN/system_search.dll

python3 - "$dll" <<'PYTHON'
import re
import subprocess
import sys

DLL = sys.argv[1]
# The emergency store of the C++ runtime (malloc only) and the unwinder's registration, which is
# empty on this platform but for an entry in the DLL's own list of exit functions.
CONSTRUCTORS = {"_GLOBAL__sub_I__ZN9__gnu_cxx9__freeresEv", "register_frame_ctor"}
# From GCC 14 on also the error categories of its library, which nothing here uses but which the linker
# takes along with what throws std::length_error: two more entries in that list, for destructors that
# return at once.
CATEGORIES = "_GLOBAL__sub_I__ZSt20__throw_system_errori"
# Fills nothing in; the runtime's start code asks for it.
INITIALISERS = {"pre_c_init"}


def tool(name, *arguments):
    command = ["x86_64-w64-mingw32-" + name, *arguments]
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


functions = {}
places = {}
for line in tool("nm", "--numeric-sort", DLL + ".debug").splitlines():
    match = re.match(r"([0-9a-f]+) (\w) (\S+)$", line)
    if match is None:
        continue
    address, name = int(match[1], 16), match[3]
    places.setdefault(name, address)
    # A section's name (".text.startup.NAME") stands for a local function without one.
    name = re.sub(r"^\.(text|ctors)(\$|\.startup\.)?", "", name)
    if name and not name.isdigit() and not name.startswith("."):
        functions.setdefault(address, set()).add(name)


def contents(begin, end):
    """The bytes there, in whichever section the linker has put them."""
    text = tool("objdump", "-s", f"--start-address={begin:#x}", f"--stop-address={end:#x}", DLL)
    data = b""
    for line in text.splitlines():
        match = re.match(r" [0-9a-f]+ ((?:[0-9a-f]{2,8} )+)", line)
        if match:
            data += bytes.fromhex(match[1].replace(" ", ""))
    assert len(data) == end - begin, text
    return data


def words(begin, end):
    data = contents(begin, end)
    return [int.from_bytes(data[i:i + 8], "little") for i in range(0, len(data), 8)]


def check(what, entries, known):
    found = set()
    for address in entries:
        names = functions.get(address, {hex(address)})
        if not names & known:
            sys.exit(f"{what}: {' or '.join(sorted(names))} is not known")
        found |= names & known
    if found != known:
        sys.exit(f"{what}: {sorted(known - found)} is gone: take it off the list")


compiler = int(subprocess.run(["x86_64-w64-mingw32-g++-posix", "-dumpversion"], capture_output=True,
                              text=True, check=True).stdout.partition("-")[0])
if compiler >= 14:
    CONSTRUCTORS.add(CATEGORIES)
    start = next(address for address, names in functions.items() if CATEGORIES in names)
    registered = list(re.finditer(rb"\x48\x8d\x0d(....)", contents(start, start + 32), re.S))  # lea
    assert len(registered) == 2, registered
    for lea in registered:
        destructor = start + lea.end() + int.from_bytes(lea[1], "little", signed=True)
        if contents(destructor, destructor + 1) != b"\xc3":  # ret
            sys.exit(f"the destructor of an error category, at {destructor:#x}, does something")

constructors = words(places["__CTOR_LIST__"], places["__DTOR_LIST__"])
assert constructors[0] == 2**64 - 1 and constructors[-1] == 0, constructors
check("constructors", constructors[1:-1], CONSTRUCTORS)
for first, last, known in (("__xi_a", "__xi_z", INITIALISERS), ("__xc_a", "__xc_z", set())):
    entries = words(places[first], places[last])
    check(f"{first} to {last}", [entry for entry in entries if entry != 0], known)

# With something to relocate at run time, the start code would change the protection of pages.
if places["__RUNTIME_PSEUDO_RELOC_LIST__"] != places["__RUNTIME_PSEUDO_RELOC_LIST_END__"]:
    sys.exit("there are run-time relocations")
PYTHON

# Functions of the loader's own calling: the TLS directory is empty.
tls=$(x86_64-w64-mingw32-objdump -p "$dll" | grep -E '^Entry 9 ')
[[ $tls == "Entry 9 0000000000000000 00000000 Thread Storage Directory"* ]] ||
    { echo "there are thread callbacks: $tls"; exit 1; }
