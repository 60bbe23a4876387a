#!/usr/bin/env bash
# The rules of system/interrupt_rules.cpp, each in a process of its own.
set -euo pipefail

program=$SS_BIN/interrupt_rules.exe
failures=0
rules=0
while read -r rule; do
    rules=$((rules + 1))
    expected=0
    [[ $rule != *_with_130 ]] || expected=130
    status=0
    "$SS_WINE" "$program" --gtest_brief=1 --gtest_filter="*.$rule" </dev/null || status=$?
    [[ $status == "$expected" ]] && continue
    failures=$((failures + 1))
    echo "FAILED: $rule: exit status $status, expected $expected"
done < <("$SS_WINE" "$program" --gtest_list_tests | tr -d '\r' | sed -n 's/^  //p')

[[ $rules -ge 5 && $failures == 0 ]] || exit 1
echo "$rules rules hold."
