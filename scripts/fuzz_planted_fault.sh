#!/usr/bin/env bash
# Installs build/default, builds scripts/planted_fault against the
# installation with clang, and runs two libFuzzer targets over the same
# implementation with a planted fault (a typed two-call sequence) for at most
# ZUV_FUZZ_SECONDS (default 120) each: fuzzService, and raw bytes to the stub.
# Prints how long each took to find the fault, or that it did not.
# ZUV_PLANTED_DIR (default build/planted-fault) holds the installation, the
# builds, the logs and the crash files.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${ZUV_FUZZ_SECONDS:-120}
work=${ZUV_PLANTED_DIR:-build/planted-fault}
rm -rf "$work" && mkdir -p "$work"
work=$(cd "$work" && pwd)  # absolute, whether given relative or not
cmake --install build/default --prefix "$work/prefix" >"$work/install.log"
CC=clang CXX=clang++ cmake -S scripts/planted_fault -B "$work/build" -G Ninja \
  -DCMAKE_PREFIX_PATH="$work/prefix" -DZUV_SOURCE_DIR="$PWD" \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo >"$work/configure.log"
cmake --build "$work/build" -j 2 >"$work/build.log"
found=0
for f in planted_service_fuzzer planted_raw_fuzzer; do
  mkdir -p "$work/$f/corpus" "$work/$f/artifacts"
  start=$(date +%s.%N)
  # Value profile: a comparison's distance is feedback, so a string or size
  # the implementation compares against is approached, not guessed.
  if "$work/build/$f" -max_total_time="$seconds" -seed=1 -timeout=10 -use_value_profile=1 \
      -artifact_prefix="$work/$f/artifacts/" "$work/$f/corpus" >"$work/$f.log" 2>&1; then
    echo "$f: not found in ${seconds}s ($(ls "$work/$f/corpus" | wc -l) corpus inputs)"
  else
    end=$(date +%s.%N)
    printf '%s: found after %.1fs, see %s\n' "$f" "$(echo "$end - $start" | bc)" "$work/$f.log"
    [ "$f" = planted_service_fuzzer ] && found=1
  fi
done
[ "$found" = 1 ]
