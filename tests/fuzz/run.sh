#!/usr/bin/env bash
# Builds a fuzzer of this folder (build.sh) and runs it for a bounded time.
# New inputs go to <build-dir>/<name>/corpus; a finding fails the run and its
# input is kept under <build-dir>/<name>/findings, replayed once with
# KRO_FUZZ_TRACE set so the log shows the calls that led to it.
# Usage: tests/fuzz/run.sh <name> <build-dir> <seconds> [libFuzzer flags and seed folders...]
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
name="$1"
build="$2"
seconds="$3"
shift 3
out="$build/$name"
mkdir -p "$out/corpus" "$out/findings"
fuzzer="$(bash "$here/build.sh" "$build" "$name")"
log="$out/fuzz.log"
if ! "$fuzzer" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -artifact_prefix="$out/findings/" \
  -print_final_stats=1 "$out/corpus" "$@" >"$log" 2>&1; then
  tail -60 "$log" >&2
  for finding in "$out"/findings/*; do
    [ -f "$finding" ] || continue
    echo "== replay of $finding" >&2
    KRO_FUZZ_TRACE=1 "$fuzzer" "$finding" 2>&1 | grep -v '^INFO:' | head -80 >&2 || true
  done
  echo "$name: finding kept under $out/findings (make it a regression seed once fixed)" >&2
  exit 1
fi
runs="$(awk '/stat::number_of_executed_units/ {print $2}' "$log")"
rate="$(awk '/stat::average_exec_per_sec/ {print $2}' "$log")"
echo "$name: $runs inputs in $seconds s, $rate inputs per second, $(find "$out/corpus" -type f | wc -l) in the corpus"
