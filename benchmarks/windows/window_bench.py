"""The names that window_bench.sh searches, and the sum of what the window measured.

    window_bench.py files FOLDER                     makes the files
    window_bench.py cache FILE SCOPE FOLDER COPIES   writes a cache of that many times their names
    window_bench.py keys NAME FILE... < TEXTS        sums up what --measure wrote while TEXTS were typed
    window_bench.py times NAME AIM MILLISECONDS...   sums up times that were taken one by one
"""
import json
import math
import os
import random
import re
import struct
import sys

FILES = 100_000
WORDS = ["share", "doc", "lib", "python", "Report", "config", "test", "data", "README", "index",
         "image", "module", "local", "html", "icons", "Main", "util", "notes", "2024", "v1"]
EXTENSIONS = [".html", ".txt", ".png", ".so", ".py", ".h", ".gz", ""]


def tree():
    """Folders of some twelve files, up to eight deep: (path, whether it is a folder)."""
    choose = random.Random(20240607)
    folders = [""]
    for number in range(FILES):
        if choose.random() < 1 / 12:
            while len(folders) > 8 or (len(folders) > 1 and choose.random() < 0.5):
                folders.pop()
            folders.append(f"{folders[-1]}{choose.choice(WORDS)}{number % 977}-{number}/")
            yield folders[-1][:-1], True
        else:
            name = f"{choose.choice(WORDS)}-{choose.choice(WORDS)}{number}"
            yield folders[-1] + name + choose.choice(EXTENSIONS), False


def make_files(folder):
    for path, is_folder in tree():
        path = os.path.join(folder, path)
        if is_folder:
            os.mkdir(path)
        else:
            open(path, "w").close()


def write_cache(file, scope, folder, copies):
    def text(value):
        data = value.encode()
        return struct.pack("<I", len(data)) + data

    names = list(tree())
    with open(file, "wb") as out:
        out.write(text("system-search-v1") + text(scope))
        out.write(struct.pack("<III", len(names) * int(copies), 0, 0))
        for copy in range(int(copies)):
            out.write(b"".join(text(f"{folder}/copy-{copy}/{path}")
                               + struct.pack("<I", 2 if is_folder else 1)
                               for path, is_folder in names))


def share(values, percent):
    """The smallest value that this share of all values does not exceed."""
    return sorted(values)[math.ceil(len(values) * percent / 100) - 1]


def figure(name, values):
    if "SS_FIGURES" in os.environ:
        with open(os.environ["SS_FIGURES"], "a") as out:
            print(json.dumps({"figure": name, "unit": "ms", "least": min(values),
                              "median": share(values, 50), "most": max(values)}), file=out)


def line(name, values, aim):
    met = "met" if share(values, 95) <= aim else "MISSED"
    print(f"{name:44} {len(values):4} {share(values, 50):8.1f} {share(values, 95):8.1f} "
          f"{max(values):8.1f} {aim:6} {met}")
    figure(name, values)


def sum_up_keys(name, files):
    aim = 30
    pattern = re.compile(r"key ([\d.]+) ms, (\d+) of \d+ names, search ([\d.]+) ms")
    keys = []
    for file in files:
        keys += [(float(a), int(b), float(c)) for a, b, c in pattern.findall(open(file).read())]
    texts = sys.stdin.read().splitlines()
    at = 0
    for typed in texts * len(files):
        of_text = keys[at:at + len(typed)]
        at += len(typed)
        times = [taken for taken, _, _ in of_text]
        print(f"  {typed:42} {len(times):4} {share(times, 50):8.1f} {'':8} {max(times):8.1f} "
              f"{'':6} {of_text[-1][1]} matched, searched in {of_text[-1][2]:.1f}")
    assert at == len(keys), f"{at} keys were typed, {len(keys)} measured"
    line(name, [taken for taken, _, _ in keys], aim)


def main():
    command, *arguments = sys.argv[1:]
    if command == "files":
        make_files(*arguments)
    elif command == "cache":
        write_cache(*arguments)
    elif command == "keys":
        sum_up_keys(arguments[0], arguments[1:])
    elif command == "times":
        line(arguments[0], [float(value) for value in arguments[2:]], int(arguments[1]))
    else:
        sys.exit(__doc__)


main()
