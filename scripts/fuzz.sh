#!/usr/bin/env bash
# Builds the fuzz preset and runs every fuzzer for a bounded time.
#   scripts/fuzz.sh [fuzzer...]        all of them when none is named
# ZUV_FUZZ_SECONDS (default 60) per fuzzer, ZUV_JOBS build jobs (default 2).
# Each fuzzer keeps its corpus in build/fuzz/fuzz/corpus-<name> across runs,
# starting from the generated seeds; a crash leaves its input in
# build/fuzz/fuzz/artifacts/<name>/ and fails the script.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${ZUV_FUZZ_SECONDS:-60}
jobs=${ZUV_JOBS:-2}
all=(wire_image_fuzzer stub_dispatch_fuzzer proxy_reply_fuzzer message_fuzzer status_fuzzer
  registry_fuzzer service_fuzzer)
fuzzers=("$@")
[ ${#fuzzers[@]} -eq 0 ] && fuzzers=("${all[@]}")

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$jobs"

out=build/fuzz/fuzz
seeds=$out/seeds
rm -rf "$seeds"
"$out/fuzz_seed_corpus" "$seeds" >/dev/null

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}

failed=()
for f in "${fuzzers[@]}"; do
  corpus=$out/corpus-$f
  artifacts=$out/artifacts/$f/
  mkdir -p "$corpus" "$artifacts"
  echo "== $f for ${seconds}s"
  # The frame fuzzer's streams may hold frames larger than the read buffer.
  extra=()
  [ "$f" = message_fuzzer ] && extra=(-max_len=40000)
  if ! "$out/$f" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
      -artifact_prefix="$artifacts" "${extra[@]}" "$corpus" "$seeds/$f" \
      >"$out/$f.log" 2>&1; then
    failed+=("$f")
    echo "   FAILED, see $out/$f.log and $artifacts" >&2
  fi
  grep -E '^stat::number_of_executed_units|^stat::new_units_added' "$out/$f.log" | sed 's/^/   /' || true
done

if [ ${#failed[@]} -ne 0 ]; then
  echo "fuzzers that failed: ${failed[*]}" >&2
  exit 1
fi
