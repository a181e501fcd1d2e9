#!/usr/bin/env bash
# Builds fmHistorydb, creates a demo farm root once (./demo-root, or $FM_DEMO_ROOT), installs the
# program into <root>/bin/lx/ and starts it there, so that it finds the root from its own location.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build -G Ninja >/dev/null
cmake --build build
root=${FM_DEMO_ROOT:-$PWD/demo-root}
if [ ! -d "$root/sub/cfg_global" ]; then
  if [ -x build/bin/lx/fmHistorydbconsole ]; then
    build/bin/lx/fmHistorydbconsole demo-root "$root"
  else
    mkdir -p "$root/sub/cfg_global" "$root/sub/history_db" "$root/sub/log"
  fi
fi
mkdir -p "$root/bin/lx"
for exe in build/bin/lx/*; do cp -f "$exe" "$root/bin/lx/"; done
exec "$root/bin/lx/fmHistorydb" "$@"
