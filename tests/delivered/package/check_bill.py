"""Holds a bill of materials against the files that it speaks of.

    check_bill.py BILL FOLDER      FOLDER holds what the bill's one package does, the bill included
    check_bill.py BILL ARCHIVE...  the bill has a package for each archive, by its name
"""

import hashlib
import json
import pathlib
import re
import subprocess
import sys
import tempfile

LINKED_IN = {"libgcc", "libstdc++", "winpthreads", "mingw-w64-runtime"}
PROGRAMS = ("system_search.dll", "system-search.exe", "system-search-window.exe")


def expect(condition, complaint):
    if not condition:
        sys.exit(f"{BILL.name}: {complaint}")


def checksum(element, algorithm):
    found = [c["checksumValue"] for c in element["checksums"] if c["algorithm"] == algorithm]
    expect(len(found) == 1, f"{element['SPDXID']} has {len(found)} {algorithm} checksums")
    return found[0]


def related(subject, how):
    return [r["relatedSpdxElement"] for r in bill["relationships"]
            if r["spdxElementId"] == subject and r["relationshipType"] == how]


def check_form():
    """What the format asks of every document."""
    expect(bill["spdxVersion"] == "SPDX-2.3" and bill["dataLicense"] == "CC0-1.0"
           and bill["SPDXID"] == "SPDXRef-DOCUMENT", "is no SPDX 2.3")
    expect(re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", bill["creationInfo"]["created"]),
           "has no time")
    expect(re.fullmatch(r"urn:[a-z-]+:[0-9.]+:[0-9a-f]{32}", bill["documentNamespace"]),
           "has no name of its own")
    expect(re.search("Debian", bill["creationInfo"]["comment"]), "does not tell where it was built")
    known = {bill["SPDXID"]}
    for element in bill["packages"] + bill["files"]:
        expect(re.fullmatch(r"SPDXRef-[A-Za-z0-9.-]+", element["SPDXID"]), f"{element['SPDXID']} is no name")
        expect(element["SPDXID"] not in known, f"{element['SPDXID']} is there twice")
        known.add(element["SPDXID"])
    for package in bill["packages"]:
        expect({"name", "downloadLocation", "versionInfo"} <= package.keys(),
               f"{package['SPDXID']} lacks a field")
    for relation in bill["relationships"]:
        expect({relation["spdxElementId"], relation["relatedSpdxElement"]} <= known,
               f"nothing has the name of one end of {relation}")


def check_files(package, folder, left_out):
    """Each file in the folder is in the package, with its hashes, and no others are."""
    listed = {}
    members = set(related(package["SPDXID"], "CONTAINS"))
    for file in bill["files"]:
        if file["SPDXID"] in members:
            listed[file["fileName"].removeprefix(f"./{package['name']}/")] = file
    there = {path.relative_to(folder).as_posix(): path for path in folder.rglob("*") if path.is_file()}
    for name in left_out:
        del there[name]
    expect(listed.keys() == there.keys(),
           f"{package['name']} differs in {sorted(listed.keys() ^ there.keys())}")
    digests = []
    for name, path in there.items():
        data = path.read_bytes()
        digests.append(hashlib.sha1(data).hexdigest())
        expect(checksum(listed[name], "SHA1") == digests[-1], f"the SHA-1 of {name} is another")
        expect(checksum(listed[name], "SHA256") == hashlib.sha256(data).hexdigest(),
               f"the SHA-256 of {name} is another")
    code = hashlib.sha1("".join(sorted(digests)).encode()).hexdigest()
    expect(package["packageVerificationCode"]["packageVerificationCodeValue"] == code,
           f"the verification code of {package['name']} is another")


def check_programs(wanted):
    """The DLL and the programs tell what is linked into them and what built them."""
    names = {package["SPDXID"]: package["name"] for package in bill["packages"]}
    found = set()
    for file in bill["files"]:
        base = pathlib.PurePath(file["fileName"]).name
        if base not in PROGRAMS:
            continue
        found.add(base)
        parts = {names[part] for part in related(file["SPDXID"], "STATIC_LINK")}
        expect(parts == LINKED_IN, f"{file['fileName']} has {sorted(parts)} linked in")
        tools = {names[r["spdxElementId"]] for r in bill["relationships"]
                 if r["relationshipType"] == "BUILD_TOOL_OF" and r["relatedSpdxElement"] == file["SPDXID"]}
        expect(len(tools) == 2, f"{file['fileName']} was built with {sorted(tools)}")
    expect(found >= set(wanted), f"{sorted(set(wanted) - found)} are not in it")


def main(things):
    check_form()
    described = related("SPDXRef-DOCUMENT", "DESCRIBES")
    packages = {p["name"]: p for p in bill["packages"] if p["SPDXID"] in described}
    expect(len(packages) == len(things), f"describes {sorted(packages)}")
    for thing in things:
        if thing.is_dir():
            left_out = [BILL.relative_to(thing).as_posix()]
            check_files(*packages.values(), thing, left_out)
            continue
        package = packages[thing.name]
        expect(checksum(package, "SHA256") == hashlib.sha256(thing.read_bytes()).hexdigest(),
               f"the SHA-256 of {thing.name} is another")
        with tempfile.TemporaryDirectory() as scratch:
            subprocess.run(["cmake", "-E", "tar", "xf", thing.resolve()], cwd=scratch, check=True)
            check_files(package, pathlib.Path(scratch), [])
    check_programs(PROGRAMS)


BILL = pathlib.Path(sys.argv[1])
bill = json.loads(BILL.read_text())
main([pathlib.Path(argument) for argument in sys.argv[2:]])
