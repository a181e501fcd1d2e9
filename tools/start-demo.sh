#!/usr/bin/env bash
# Builds the two programs, creates a demo farm root once (./demo-root, or $FM_DEMO_ROOT), installs
# the programs into <root>/bin/lx/ and starts the window there, so that it finds the root from its
# own place. Arguments go to fmHistorydb (e.g. -darkUI). Missing Debian packages are installed
# first (see tools/ensure-packages.sh).
set -euo pipefail
cd "$(dirname "$0")/.."
tools/ensure-packages.sh demo

build=${FM_BUILD_DIR:-build}
launcher=()
if command -v ccache >/dev/null 2>&1; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
cmake -S . -B "$build" -G Ninja "${launcher[@]}" >/dev/null
cmake --build "$build" --target fmHistorydb fmHistorydbconsole

root=${FM_DEMO_ROOT:-$PWD/demo-root}
if [ ! -d "$root/sub/cfg_global" ]; then
  "$build/bin/lx/fmHistorydbconsole" demo-root "$root"
fi
# The root keeps its own recording fmSubmitter: the install only adds one where there is none.
cmake --install "$build" --prefix "$root" >/dev/null

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ]; then
  echo "The demo root is ready in '$root', but there is no display to show the window on."
  echo "Start it on a desktop with: $root/bin/lx/fmHistorydb   (or try: xvfb-run tools/start-demo.sh)"
  exit 1
fi
exec "$root/bin/lx/fmHistorydb" "$@"
