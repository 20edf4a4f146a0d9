#!/usr/bin/env bash
# The demo: zuv_hwservicemanager, the simulated fingerprint service and a
# client, as three processes sharing a private runtime directory. Every
# process is stopped and the directory removed however the demo ends.
#
#   scripts/demo.sh [BUILD_DIR]      (default build/default)
#
# ZUV_DEMO_TIMEOUT (seconds, default 30) bounds each wait.
set -euo pipefail

build_dir=$(cd "${1:-build/default}" && pwd)
timeout_s=${ZUV_DEMO_TIMEOUT:-30}
manager=$build_dir/tools/servicemanager/zuv_hwservicemanager
service=$build_dir/examples/fingerprint_service/fingerprint_service
client=$build_dir/examples/fingerprint_client/fingerprint_client
for exe in "$manager" "$service" "$client"; do
  [[ -x $exe ]] || { echo "demo: $exe is missing; build first" >&2; exit 2; }
done

work=$(mktemp -d "${TMPDIR:-/tmp}/zuv-demo.XXXXXX")
export ZUV_HIDL_RUNTIME_DIR=$work/run
pids=()

cleanup() {
  local rc=$?
  for pid in "${pids[@]}"; do kill -TERM "$pid" 2>/dev/null || true; done
  for pid in "${pids[@]}"; do
    # A process that ignores SIGTERM gets SIGKILL after the timeout.
    local waited=0
    while kill -0 "$pid" 2>/dev/null && (( waited < timeout_s * 10 )); do
      sleep 0.1; waited=$((waited + 1))
    done
    kill -KILL "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
  done
  rm -rf "$work"
  exit "$rc"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

section() { printf '\n== %s ==\n' "$*"; }

# Waits until the process writes its "ready" line; fails when it exits
# first or the timeout passes.
wait_ready() {
  local name=$1 pid=$2 log=$3 deadline=$((SECONDS + timeout_s))
  until grep -qx ready "$log" 2>/dev/null; do
    if ! kill -0 "$pid" 2>/dev/null; then
      echo "demo: $name exited before it was ready:" >&2
      cat "$log" >&2
      return 1
    fi
    if (( SECONDS >= deadline )); then
      echo "demo: $name not ready after ${timeout_s}s" >&2
      return 1
    fi
    sleep 0.05
  done
}

section "starting zuv_hwservicemanager in $ZUV_HIDL_RUNTIME_DIR"
"$manager" --verbose >"$work/manager.log" 2>&1 &
pids+=($!)
wait_ready zuv_hwservicemanager "${pids[-1]}" "$work/manager.log"
echo "ready"

section "starting fingerprint_service"
"$service" >"$work/service.log" 2>&1 &
pids+=($!)
wait_ready fingerprint_service "${pids[-1]}" "$work/service.log"
echo "ready"

section "running fingerprint_client"
status=0
ZUV_HIDL_GET_SERVICE_TIMEOUT_MS=$((timeout_s * 1000)) "$client" || status=$?

section "what the service did"
grep -v '^ready$' "$work/service.log" || true

section "what the service manager saw"
grep -v '^ready$' "$work/manager.log" || true

if (( status != 0 )); then
  section "the client FAILED (exit $status)"
  exit "$status"
fi
section "demo passed"
