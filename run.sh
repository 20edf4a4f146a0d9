#!/usr/bin/env bash
# Entry point for everything: ./run.sh demo | test | build | bench | fuzz
set -euo pipefail
cd "$(dirname "$0")"

preset=${ZUV_PRESET:-default}
jobs=${ZUV_JOBS:-$(nproc)}

setup() {
  ./scripts/install-deps.sh
}

build() {
  setup
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$jobs"
}

case "${1:-}" in
  build)
    build
    ;;
  test)
    build
    ctest --preset "$preset" -j "$jobs"
    ;;
  bench)
    build
    "build/$preset/bench/transport_bench"
    ;;
  demo)
    # Only what the demo runs, not every test and benchmark.
    setup
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$jobs" --target zuv_hwservicemanager \
      fingerprint_service fingerprint_client zuv_lshal zuv_hidl
    ./scripts/demo.sh "build/$preset"
    ;;
  fuzz)
    setup
    ./scripts/fuzz.sh
    ;;
  *)
    echo "usage: $0 demo|test|build|bench|fuzz" >&2
    exit 2
    ;;
esac
