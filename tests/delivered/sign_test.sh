#!/usr/bin/env bash
# scripts/sign leaves programs alone where there is no certificate, and says so. With one, made here,
# the signature holds until a byte changes, and the signed programs still run.
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
sign=$SS_SOURCE/scripts/sign
unset SS_SIGN_CERTIFICATE SS_SIGN_PASSWORD SS_SIGN_TIME_SERVER
export SOURCE_DATE_EPOCH=1234567890
fail() { echo "$1"; exit 1; }

fresh() { cp "$SS_BIN"/{system_search.dll,system-search.exe} .; }
fresh
said=$("$sign" system_search.dll system-search.exe)
[[ $said == *"not signed"*"system_search.dll system-search.exe" ]] || fail "it says: $said"
cmp "$SS_BIN/system_search.dll" system_search.dll

openssl req -x509 -newkey rsa:2048 -nodes -keyout key.pem -out certificate.pem -days 2 \
    -subj "/CN=System Search test" -addext "extendedKeyUsage=codeSigning" 2>log || { cat log; exit 1; }
printf 'a password' >password
printf 'another one' >wrong_password
openssl pkcs12 -export -inkey key.pem -in certificate.pem -passout file:password -out certificate.p12

export SS_SIGN_CERTIFICATE=$scratch/certificate.p12
if SS_SIGN_PASSWORD=$scratch/wrong_password "$sign" system_search.dll >log 2>&1; then
    fail "it signs with a wrong password"
fi
if SS_SIGN_CERTIFICATE=$scratch/none.p12 "$sign" system_search.dll >log 2>&1; then
    fail "it signs without the certificate that was named"
fi
cmp "$SS_BIN/system_search.dll" system_search.dll

export SS_SIGN_PASSWORD=$scratch/password
"$sign" system_search.dll system-search.exe
verify() { osslsigncode verify -CAfile certificate.pem -in "$1" >log 2>&1; }
for file in system_search.dll system-search.exe; do
    verify "$file" || { cat log; fail "the signature of $file does not hold"; }
done
cp system_search.dll first.dll
fresh
"$sign" system_search.dll system-search.exe
cmp first.dll system_search.dll

# A byte of the code, far behind the headers.
cp system_search.dll changed.dll
byte=$(od -An -tu1 -j 8192 -N 1 changed.dll)
printf '%b' "$(printf '\\x%02x' $((byte ^ 1)))" | dd of=changed.dll bs=1 seek=8192 conv=notrunc status=none
! verify changed.dll || fail "the signature holds for changed bytes"

mkdir folder
touch folder/report.txt
"$SS_WINE" system-search.exe list "Z:$scratch/folder" | grep -q 'report\.txt' ||
    fail "the signed programs do not run"
