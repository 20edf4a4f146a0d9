#!/usr/bin/env bash
# Entry point for everything: ./run.sh demo | test | build | bench | fuzz [fuzzer...] | package
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
    ./scripts/install-deps.sh bench
    build
    "build/$preset/bench/zuv_bench" "${@:2}"
    ;;
  demo)
    # Only what the demo runs, not every test and benchmark.
    setup
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$jobs" --target zuv_hwservicemanager \
      fingerprint_service fingerprint_client zuv_lshal zuv_hidl
    ./scripts/demo.sh "build/$preset"
    ;;
  package)
    build
    (cd "build/$preset" && cpack -G DEB)
    ls "build/$preset"/packages/*.deb
    ;;
  fuzz)
    setup
    ./scripts/fuzz.sh "${@:2}"
    ;;
  *)
    echo "usage: $0 demo|test|build|bench|fuzz|package" >&2
    exit 2
    ;;
esac
