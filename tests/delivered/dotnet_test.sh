#!/usr/bin/env bash
# The package for .NET declares the functions as the header does. The rest needs the SDK, and is in
# scripts/lib/test-package.
set -euo pipefail
python3 "$SS_SOURCE/tests/delivered/package/check_bindings.py" \
    csharp "$SS_SOURCE/include/system_search.h" "$SS_SOURCE/bindings/dotnet/NativeMethods.cs"
