#!/usr/bin/env bash
# install_consumer.sh <build dir> <consumer source dir> <scratch dir> [generator]
# Installs the build tree into a fresh prefix, configures and builds the
# consumer against it with nothing but CMAKE_PREFIX_PATH, and runs it.
set -euo pipefail
build_dir=$1
consumer_src=$2
work=$3
generator=${4:-Ninja}

rm -rf "$work"
mkdir -p "$work"
prefix=$work/prefix

cmake --install "$build_dir" --prefix "$prefix" >"$work/install.log"
cmake -S "$consumer_src" -B "$work/build" -G "$generator" \
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=RelWithDebInfo >"$work/configure.log"
cmake --build "$work/build" -j 2 >"$work/build.log"

# The installed library must find the Android libraries on its own.
lib=$(find "$prefix" -name 'libhidlbase.so.*' -type f | head -n1)
if ! readelf -d "$lib" | grep -Eq 'R(UN)?PATH.*/android'; then
  echo "installed $lib carries no rpath to the Android libraries:" >&2
  readelf -d "$lib" | grep -E 'R(UN)?PATH' >&2 || true
  exit 1
fi

# No help from the environment: the rpaths must do.
env -u LD_LIBRARY_PATH "$work/build/consumer"
