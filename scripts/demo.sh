#!/usr/bin/env bash
# The demo: zuv_hwservicemanager, the simulated fingerprint service and a
# client, as three processes sharing a private runtime directory. Every
# process is stopped and the directory removed however the demo ends.
# The service and the client record a trace of their calls, which is left in
# BUILD_DIR/demo-trace/ for Perfetto or chrome://tracing; the client's calls
# are recorded too, and the demo ends by replaying them against a fresh
# service.
#
#   scripts/demo.sh [BUILD_DIR]      (default build/default)
#
# ZUV_DEMO_TIMEOUT (seconds, default 30) bounds each wait. ZUV_DEMO_OUT names
# the directory the traces and their timeline go to (default BUILD_DIR/demo-trace).
set -euo pipefail

build_dir=$(cd "${1:-build/default}" && pwd)
timeout_s=${ZUV_DEMO_TIMEOUT:-30}
manager=$build_dir/tools/servicemanager/zuv_hwservicemanager
service=$build_dir/examples/fingerprint_service/fingerprint_service
client=$build_dir/examples/fingerprint_client/fingerprint_client
lshal=$build_dir/tools/lshal/zuv_lshal
hidl=$build_dir/tools/hidl/zuv_hidl
for exe in "$manager" "$service" "$client" "$lshal" "$hidl"; do
  [[ -x $exe ]] || { echo "demo: $exe is missing; build first" >&2; exit 2; }
done

work=$(mktemp -d "${TMPDIR:-/tmp}/zuv-demo.XXXXXX")
export ZUV_HIDL_RUNTIME_DIR=$work/run
trace_dir=$work/trace
mkdir -p "$trace_dir"
pids=()

cleanup() {
  local rc=$?
  for pid in "${pids[@]}"; do [[ -n $pid ]] && kill -TERM "$pid" 2>/dev/null || true; done
  for pid in "${pids[@]}"; do
    [[ -n $pid ]] || continue
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
# An interrupted demo fails, whatever the step it interrupted returned.
interrupted=0
trap 'interrupted=1; exit 130' INT TERM

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
ZUV_HIDL_TRACE_FILE=$trace_dir/fingerprint_service-%p.json "$service" >"$work/service.log" 2>&1 &
pids+=($!)
service_slot=$((${#pids[@]} - 1))
wait_ready fingerprint_service "${pids[-1]}" "$work/service.log"
echo "ready"

section "zuv_lshal --ping: what the service manager lists"
status=0
"$lshal" --ping || status=$?

section "zuv_hidl call getConfigValue sensor.model: one call by hand"
"$hidl" call getConfigValue sensor.model || status=$?

section "running fingerprint_client, its calls recorded"
ZUV_HIDL_TRACE_FILE=$trace_dir/fingerprint_client-%p.json \
  ZUV_HIDL_GET_SERVICE_TIMEOUT_MS=$((timeout_s * 1000)) \
  "$hidl" record -o "$work/session.jsonl" -- "$client" || status=$?

# The service writes its trace when SIGTERM stops it.
service_pid=${pids[$service_slot]}
kill -TERM "$service_pid" 2>/dev/null || true
waited=0
while kill -0 "$service_pid" 2>/dev/null && (( waited < timeout_s * 10 )); do
  sleep 0.1; waited=$((waited + 1))
done
if wait "$service_pid"; then pids[$service_slot]=""; else
  echo "demo: fingerprint_service did not stop cleanly" >&2
  status=1
fi

section "what the service did"
grep -v '^ready$' "$work/service.log" || true

section "what the service manager saw"
grep -v '^ready$' "$work/manager.log" || true

section "the trace"
shopt -s nullglob
traces=("$trace_dir"/*.json)
shopt -u nullglob
if (( ${#traces[@]} != 2 )); then
  echo "demo: expected a trace from the service and the client, found ${#traces[@]}" >&2
  status=1
fi
out_dir=${ZUV_DEMO_OUT:-$build_dir/demo-trace}
rm -rf "$out_dir"
mkdir -p "$out_dir"
if command -v python3 >/dev/null; then
  # Both processes stamp CLOCK_MONOTONIC, so their events share one timeline.
  if python3 - "$out_dir/demo-trace.json" "${traces[@]}" <<'PY'
import json, sys
merged = {"traceEvents": [], "displayTimeUnit": "ns", "otherData": {}}
for path in sys.argv[2:]:
    with open(path, encoding="utf-8") as f:
        doc = json.load(f)
    merged["traceEvents"] += doc["traceEvents"]
    name = path.rsplit("/", 1)[-1]
    merged["otherData"][name] = doc.get("otherData", {})
    calls = sum(1 for e in doc["traceEvents"] if e.get("ph") in ("B", "b") and e.get("cat") == "hidl")
    print(f"{name}: valid JSON, {calls} calls")
with open(sys.argv[1], "w", encoding="utf-8") as f:
    json.dump(merged, f)
PY
  then :; else
    echo "demo: a trace is not valid JSON" >&2
    status=1
  fi
else
  echo "(python3 not found: the trace files are not checked or merged)"
fi
cp "${traces[@]}" "$out_dir"/ 2>/dev/null || true
echo "trace files in $out_dir:"
ls -1 "$out_dir" | sed 's/^/  /'
echo "open one (demo-trace.json holds both processes) at https://ui.perfetto.dev"
echo "(Open trace file) or in Chrome at chrome://tracing (Load)."
if (( ${#traces[@]} > 0 )) && "$hidl" timeline "${traces[@]}" -o "$out_dir/timeline.html" >/dev/null; then
  echo "the timeline of both processes: $out_dir/timeline.html (open it in a browser)"
else
  echo "demo: cannot draw the timeline" >&2
  status=1
fi

cp "$work/session.jsonl" "$out_dir"/ 2>/dev/null || true

# The recording as a regression test: a fresh service must answer the
# client's session as the first one did.
section "zuv_hidl replay: the client's recorded session against a fresh service"
"$service" >"$work/service2.log" 2>&1 &
pids+=($!)
if wait_ready fingerprint_service "${pids[-1]}" "$work/service2.log"; then
  "$hidl" replay "$work/session.jsonl" || status=$?
  echo "the recording: $out_dir/session.jsonl"
else
  status=1
fi

if (( interrupted )); then exit 130; fi
if (( status != 0 )); then
  section "the demo FAILED (exit $status)"
  exit "$status"
fi
section "demo passed"
