#!/usr/bin/env bash
# Builds everything (programs, tests, benchmarks) with warnings as errors and runs every test;
# prints ctest's summary and exits with its status. Missing Debian packages are installed first
# (see tools/ensure-packages.sh). FM_BUILD_DIR chooses the build folder (default: build).
set -euo pipefail
cd "$(dirname "$0")/.."
tools/ensure-packages.sh test

build=${FM_BUILD_DIR:-build}
jobs=$(nproc)
launcher=()
if command -v ccache >/dev/null 2>&1; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
cmake -S . -B "$build" -G Ninja -DFM_WERROR=ON "${launcher[@]}" >/dev/null
cmake --build "$build" -j "$jobs"
ctest --test-dir "$build" --output-on-failure -j "$jobs"
