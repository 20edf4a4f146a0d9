#!/usr/bin/env bash
# Runs the demo programs from a build directory.
set -euo pipefail
build_dir=${1:-build/default}
"$build_dir/examples/parcel_roundtrip/parcel_roundtrip"
