#!/usr/bin/env bash
# Installs what a fresh Debian machine lacks to build and test the project.
# Idempotent and silent when everything is already there.
set -euo pipefail

packages=(
  cmake ninja-build g++ clang clang-format pkg-config libclang-rt-14-dev
  android-libutils-dev android-libcutils-dev android-liblog-dev
  linux-libc-dev python3 ccache
  libgtest-dev libgmock-dev libbenchmark-dev
  libsystemd-dev nlohmann-json3-dev systemd libcli11-dev chromium
)

# ./run.sh bench also builds the benchmarks' gRPC peer.
if [ "${1:-}" = bench ]; then
  packages+=(libgrpc++-dev protobuf-compiler-grpc libprotobuf-dev protobuf-compiler)
fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "installing: ${missing[*]}"
sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then sudo_cmd=(sudo); fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
