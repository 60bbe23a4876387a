#!/usr/bin/env bash
# run.cmd of the kit for Windows machines, under Wine, in an unpacked copy: everything is run or left
# out with a reason, failures of every kind are seen, and nothing stops it.
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
"$SS_SOURCE/scripts/windows-kit" --built "$scratch/kit.zip"
cd "$scratch"
python3 -m zipfile -e kit.zip .
cd system-search-kit

failures=0
complain() { echo "$1"; failures=1; }
run_kit() { "$SS_WINE" cmd /c run.cmd quick >../out.txt 2>&1; }
says() { grep -qE "^$1\$" report.txt || complain "the report lacks: $1"; }

for file in run.cmd compile.cmd; do
    [[ $(grep -c $'\r$' $file) -eq $(wc -l <$file) ]] || complain "$file has plain line feeds"
done

# Windows can be told to look for programs on the PATH only, as `NoDefaultCurrentDirectoryInExePath`.
if grep -nE '(^|[^.\\a-z])(run_one|call [a-z]+\.cmd)' run.cmd compile.cmd; then
    complain "a program of the kit is named without its folder"
fi

# ---- A good kit ----------------------------------------------------------------------------------

run_kit || complain "run.cmd failed"
tr -d '\r' <report.txt >report && mv report report.txt
says 'Microsoft Windows [0-9.]+'
says 'File system: .*'
for program in tests/*.exe; do
    grep -qE "^(passed  |skipped )$(basename "$program" .exe)\b" report.txt ||
        complain "$program left no trace"
done
says 'passed  engine_c_test'
says 'passed  version_test Version\.is_the_projects_version_in_numbers'
says 'passed  stack_guard_test StackGuard\.is_another_one_at_each_load_and_stops_a_text'
says 'passed  host\.(console|c|cpp)'
says 'skipped engine_test EngineTest\.denied_scope_is_one_skipped_item: needs what a shell script .*'
says 'skipped links_test Links\.a_junction_is_a_file_that_nobody_looks_into: under Wine: .*'
for program in links names volumes windows_folder; do
    says "skipped ${program}_test .*: under Wine: .*"
    ! grep -qE "^(passed|failed ) ${program}_test\b" report.txt ||
        complain "${program}_test ran where it says nothing"
done
says 'skipped load_unload_test: takes minutes, left out because of quick'
says 'skipped dll\.exports_test: a shell script, which runs on Debian'
says 'skipped host\.python: no Python on the PATH'
says 'skipped cl: no compiler of Microsoft on the PATH'
[[ $(grep -c '^skipped ' report.txt) -eq $(grep -cE '^skipped .*: [^ ].{5}' report.txt) ]] ||
    complain "something was skipped without a reason"
last=$(tail -1 report.txt)
[[ $last == "$(grep -c '^passed  ' report.txt) passed, 0 failed, $(grep -c '^skipped ' report.txt) skipped" ]] ||
    complain "the last line is: $last"
[[ $(tail -1 ../out.txt | tr -d '\r') == "$last" ]] || complain "the last line is not the screen's"
[[ $failures -eq 0 ]] || { cat ../out.txt; exit 1; }

# The host that only Microsoft's compiler can mark for shadow stacks, as it runs without the mark.
x86_64-w64-mingw32-gcc -Wall -Wextra -Werror -D_WIN32_WINNT=0x0A00 -Ipackage/include \
    compile/failing_build.c -Lpackage/lib -lsystem_search -o scratch/failing_build.exe
cp package/bin/system_search.dll scratch
"$SS_WINE" run_one.exe run failing_build 60 "contains=3 builds failed as they should" \
    'scratch\failing_build.exe' >/dev/null
tr -d '\r' <report.txt >report && mv report report.txt
says 'passed  failing_build'
says ' {8}note: user shadow stacks are .*'

# ---- A bad one -----------------------------------------------------------------------------------

mkdir kept
mv tests/* kept
cp kept/{attach,engine_c,text,version}_test.exe tests
echo "no library" >tests/system_search.dll
echo "no program" >tests/none_test.exe
rm hosts/cpp/host.exe
if run_kit; then complain "run.cmd found nothing wrong"; fi
tr -d '\r' <report.txt >report && mv report report.txt
says 'failed  attach_test Attach\.library_has_no_static_thread_local_storage: see below'
says ' {8}.*attach_test\.cpp:[0-9]+: Failure'
says 'failed  engine_c_test: returned [0-9]+ \(0xc[0-9a-f]+\)'
says 'failed  none_test: did not start, error [0-9]+'
says 'passed  text_test TextOnWindows\.every_unit_encodes_as_the_system_encodes_it'
says 'failed  version_test Version\.is_the_projects_version_in_words: see below'
says 'failed  host\.cpp: did not start, error [0-9]+'
says 'passed  host\.c'
tail -1 report.txt | grep -qE '^[0-9]+ passed, [5-9] failed, [0-9]+ skipped$' ||
    complain "the last line is: $(tail -1 report.txt)"

# ---- What else can go wrong with a program -------------------------------------------------------

judge() { "$SS_WINE" run_one.exe run "$@" >/dev/null; }
# Gives NAME LINE... for the output of a program, which returns 0.
judge_output() {
    printf '%s\n' "${@:2}" >scratch/said.txt
    judge "$1" 20 cmd.exe /c type said.txt
}
rm -f report.txt tests/*
mv kept/* tests
start='[==========] Running 2 tests from 1 test suite.'
end='[==========] 2 tests from 1 test suite ran. (3 ms total)'
judge lasting 1 tests/load_unload_test.exe
judge_output midst "$start" '[ RUN      ] S.a' '[       OK ] S.a (1 ms)' '[ RUN      ] S.b' 'last words'
judge_output early "$start" '[ RUN      ] S.a' '[       OK ] S.a (1 ms)'
judge_output whole "$start" '[ RUN      ] S.a' 'note: 7 things' '[       OK ] S.a (1 ms)' \
    '[ RUN      ] S.b' 'x.cpp:1: Skipped' 'no moon' '' '[  SKIPPED ] S.b (0 ms)' "$end" \
    '[  SKIPPED ] S.b'
judge code 20 cmd.exe /c exit 3
judge silent 20 contains=words cmd.exe /c exit 0
judge_output first 'results' '7 matches in the first 9 entries'
judge_output second 'results' '8 matches in the first 10 entries'
judge alike 20 like=first cmd.exe /c type said.txt
judge other 20 like=whole cmd.exe /c type said.txt
"$SS_WINE" run_one.exe total >/dev/null || true
tr -d '\r' <report.txt >report && mv report report.txt
says 'failed  lasting LoadUnload\..*: the program ended after 1 s, which is its limit in it'
says 'failed  midst S\.b: the program returned 0 in it'
says ' {8}last words'
says 'failed  early: returned 0 outside its tests'
says 'passed  whole S\.a'
says ' {8}note: 7 things'
says 'skipped whole S\.b: no moon'
says 'failed  code: returned 3'
says 'failed  silent: did not say "words"'
says 'passed  alike'
says 'failed  other: gave other results than whole'
[[ $failures -eq 0 ]] || cat report.txt
exit $failures
