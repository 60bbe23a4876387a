"""Compares the functions that a binding declares with the header's.

    check_bindings.py python|csharp|node HEADER SOURCE
"""

import pathlib
import re
import sys

language, header, source = sys.argv[1], *(pathlib.Path(path) for path in sys.argv[2:])
header = header.read_text()

# ABI classes: what the callee finds in a register.
C_TYPES = {
    "void": "nothing",
    "const char*": "text",
    "int32_t": "int32",
    "uint32_t": "uint32",
    "SystemSearchEngine*": "engine",
    "const SystemSearchEngine*": "engine",
    "SystemSearchQuery*": "query",
    "const SystemSearchQuery*": "query",
    "EngineStatus*": "EngineStatus",
    "QueryStatus*": "QueryStatus",
    "ResultMetadata*": "ResultMetadata",
}


def header_functions():
    code = re.sub(r"/\*.*?\*/", "", header, flags=re.S)
    for result, name, arguments in re.findall(r"SS_API\s+([\w\s*]+?)\b(ss_\w+)\s*\(([^)]*)\)", code):
        types = [re.sub(r"\s*\w+$", "", " ".join(argument.split())).replace(" *", "*")
                 for argument in arguments.split(",") if argument.strip() != "void"]
        yield name, (C_TYPES[" ".join(result.split()).replace(" *", "*")],
                     [C_TYPES[type_] for type_ in types])


def python_functions():
    import ctypes

    sys.path.insert(0, str(source.parent))
    import system_search
    names = {
        None: "nothing",
        ctypes.c_char_p: "text",
        ctypes.c_int32: "int32",
        ctypes.c_uint32: "uint32",
        ctypes.c_void_p: "handle",
    }
    for record in ("EngineStatus", "QueryStatus", "ResultMetadata"):
        names[ctypes.POINTER(getattr(system_search, record))] = record
    for name, (result, arguments) in system_search._FUNCTIONS.items():
        yield name, (names[result], [names[argument] for argument in arguments])


def csharp_functions():
    code = source.read_text()
    names = {"void": "nothing", "byte[]": "text", "int": "int32", "uint": "uint32",
             "EngineHandle": "engine", "QueryHandle": "query"}
    for result, name, arguments in re.findall(
            r"static extern\s+(\S+)\s+(ss_\w+)\(([^)]*)\)", code):
        types = []
        for argument in filter(None, (part.split() for part in arguments.split(","))):
            if argument[0] == "out":
                types.append(argument[1])
            elif argument[0] == "IntPtr":
                types.append(argument[1])  # ss_destroy(IntPtr engine) while the handle is released
            else:
                types.append(names[argument[0]])
        yield name, ("text" if result == "IntPtr" else names[result], types)


def node_functions():
    names = {"'void'": "nothing", "'str'": "text", "'int32_t'": "int32", "'uint32_t'": "uint32",
             "engine": "engine", "query": "query", "engineStatus": "EngineStatus",
             "queryStatus": "QueryStatus", "resultMetadata": "ResultMetadata"}
    for key, name, result, arguments in re.findall(
            r"(ss_\w+): library\.func\(\s*'(ss_\w+)', ([\w']+), \[([^]]*)\]\)", source.read_text()):
        assert key == name, (key, name)
        yield name, (names[result], [names[part.strip()] for part in arguments.split(",") if part])


expected = dict(header_functions())
assert len(expected) == 13, sorted(expected)
if language == "python":
    declared = dict(python_functions())
    for name, (result, arguments) in expected.items():
        plain = lambda type_: "handle" if type_ in ("engine", "query") else type_
        expected[name] = (plain(result), [plain(argument) for argument in arguments])
else:
    declared = dict({"csharp": csharp_functions, "node": node_functions}[language]())

different = [name for name in sorted(expected.keys() | declared.keys())
             if expected.get(name) != declared.get(name)]
for name in different:
    print(f"{name}: the header has {expected.get(name)}, {language} {declared.get(name)}")
sys.exit(bool(different))
