#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each for a bounded time (seconds, default 60).
# Exits non-zero when a target finds a crash.
set -euo pipefail
cd "$(dirname "$0")/.."
secs=${1:-60}
launcher=()
if command -v ccache >/dev/null 2>&1; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
cmake -S . -B build-fuzz -G Ninja -DFM_FUZZ=ON -DFM_WERROR=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_COMPILER=clang++-14 "${launcher[@]}"
cmake --build build-fuzz -j "$(nproc)" --target fuzzers
mkdir -p build-fuzz/corpus
status=0
for t in build-fuzz/fuzz/fuzz_*; do
  [ -f "$t" ] && [ -x "$t" ] || continue   # skip the automoc folders beside the executables
  name=$(basename "$t")
  mkdir -p "build-fuzz/corpus/$name"
  seeds=""
  [ -d "fuzz/seeds/$name" ] && seeds="fuzz/seeds/$name"
  echo "-- $name for ${secs}s"
  if ! ASAN_OPTIONS=detect_leaks=0 "$t" -max_total_time="$secs" -rss_limit_mb=2048 -max_len=200000 \
       -print_final_stats=1 "build-fuzz/corpus/$name" $seeds 2>"build-fuzz/$name.log"; then
    echo "!! $name failed:"; tail -40 "build-fuzz/$name.log"; status=1
  else
    grep -E "stat::number_of_executed_units|Done" "build-fuzz/$name.log" | tail -2
  fi
done
exit $status
