#!/usr/bin/env bash
# install_consumer.sh <build dir> <consumer source dir> <scratch dir> <generator> install|deb
# Installs the build tree into a fresh prefix (cmake --install), or builds the
# Debian packages and unpacks them into a fresh root (dpkg -x). Then builds
# the consumer against it with CMake (nothing but CMAKE_PREFIX_PATH) and with
# pkg-config, and runs it and its mock-based test.
set -euo pipefail
build_dir=$1
consumer_src=$2
work=$3
generator=$4
mode=$5

rm -rf "$work"
mkdir -p "$work"

case "$mode" in
  install)
    prefix=$work/prefix
    cmake --install "$build_dir" --prefix "$prefix" >"$work/install.log"
    ;;
  deb)
    cpack --config "$build_dir/CPackConfig.cmake" -G DEB -B "$work/debs" >"$work/cpack.log"
    for deb in "$work"/debs/*.deb; do dpkg -x "$deb" "$work/root"; done
    prefix=$work/root/usr
    # The runtime package names Debian's Android runtime libraries.
    runtime_deb=$(ls "$work"/debs/libzuv-fingerprint1_*.deb)
    depends=$(dpkg-deb --field "$runtime_deb" Depends)
    for p in android-libutils android-libcutils android-liblog; do
      if ! grep -Eq "(^|, )$p( |,|$)" <<<"$depends"; then
        echo "$runtime_deb: Depends lacks $p: $depends" >&2
        exit 1
      fi
    done
    test -x "$prefix/bin/zuv_hidl"
    test -f "$prefix/lib/systemd/user/zuv-hwservicemanager.socket"
    grep -qx "ExecStart=/usr/bin/zuv_hwservicemanager .*" \
      "$prefix/lib/systemd/user/zuv-hwservicemanager.service"
    ;;
  *)
    echo "unknown mode $mode" >&2
    exit 2
    ;;
esac

# Repeated runs compile the same consumer again; ccache keeps that quick.
launcher=()
if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
cmake -S "$consumer_src" -B "$work/build" -G "$generator" "${launcher[@]}" \
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=RelWithDebInfo >"$work/configure.log"
cmake --build "$work/build" -j 2 >"$work/build.log"

# The installed library must find the Android libraries on its own.
lib=$(find "$prefix" -name 'libhidlbase.so.*' -type f | head -n1)
if ! readelf -d "$lib" | grep -Eq 'R(UN)?PATH.*/android'; then
  echo "installed $lib carries no rpath to the Android libraries:" >&2
  readelf -d "$lib" | grep -E 'R(UN)?PATH' >&2 || true
  exit 1
fi

# pkg-config alone, as a Makefile would use it.
pcdir=$(dirname "$(find "$prefix" -name zuv-fingerprint.pc | head -n1)")
# An unpacked package says /usr; pkg-config takes the prefix from the file's place.
pc=(pkg-config)
if [[ $mode == deb ]]; then pc+=(--define-prefix); fi
libs=$(PKG_CONFIG_PATH=$pcdir "${pc[@]}" --libs zuv-fingerprint)
if [[ $libs == *..* || $libs != *"-Wl,-rpath,$prefix/lib "* ]]; then
  echo "pkg-config paths are not plain $prefix/lib: $libs" >&2
  exit 1
fi
PKG_CONFIG_PATH=$pcdir "${pc[@]}" --exists --print-errors zuv-describe
# shellcheck disable=SC2046,SC2086
${launcher:+ccache} ${CXX:-c++} -std=c++17 ${CXXFLAGS:-} "$consumer_src/main.cpp" -o "$work/consumer-pc" ${LDFLAGS:-} \
  $(PKG_CONFIG_PATH=$pcdir "${pc[@]}" --cflags --libs zuv-fingerprint)
# shellcheck disable=SC2046,SC2086
${launcher:+ccache} ${CXX:-c++} -std=c++17 ${CXXFLAGS:-} "$consumer_src/default_service.cpp" -o "$work/default-service-pc" ${LDFLAGS:-} \
  $(PKG_CONFIG_PATH=$pcdir "${pc[@]}" --cflags --libs zuv-fingerprint)

# No help from the environment: the rpaths must do.
env -u LD_LIBRARY_PATH "$work/build/consumer"
env -u LD_LIBRARY_PATH "$work/consumer-pc"
env -u LD_LIBRARY_PATH "$work/build/default_service"
env -u LD_LIBRARY_PATH "$work/default-service-pc"
env -u LD_LIBRARY_PATH "$work/build/sensor_test" --gtest_brief=1
