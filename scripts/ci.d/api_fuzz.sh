#!/usr/bin/env bash
# Fuzzes the public interface (tests/fuzz/api_fuzzer.cpp) for about 60
# seconds: every call must return a documented code without a crash or a
# stray read or write, and a refused call must leave its destination as it
# was. Starts from the regression seeds in tests/fuzz/api_corpus. Any finding
# fails the check; its input is kept under <build-dir>/api_fuzzer/findings.
# Usage: scripts/ci.d/api_fuzz.sh <build-dir> [seconds]
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
build="${1:-$root/build-test}"
seconds="${2:-60}"
bash "$root/tests/fuzz/run.sh" api_fuzzer "$build" "$seconds" -max_len=4096 "$root/tests/fuzz/api_corpus"
