#!/usr/bin/env bash
# Prints every include that points up the layers (none expected) and exits 1 if there is one.
# Layers, bottom to top: foundation farm jobs app browser widgets historydb tools/console.
# widgets/ stands beside the window-free part: it may include foundation/ only.
cd "$(dirname "$0")/.."
rank() { case "$1" in foundation) echo 0;; farm) echo 1;; jobs) echo 2;; app) echo 3;; browser) echo 4;;
  widgets) echo 5;; historydb) echo 6;; sql) echo 6;; tools) echo 7;; *) echo 99;; esac; }
bad=0
for dir in foundation farm jobs app browser widgets historydb sql tools/console; do
  [ -d "$dir" ] || continue
  from=${dir%%/*}
  while IFS=: read -r file inc; do
    to=$(echo "$inc" | sed -E 's/.*#include "([a-z]+)\/.*/\1/')
    [ "$to" = "$from" ] && continue
    r_from=$(rank "$from"); r_to=$(rank "$to")
    [ "$r_to" = 99 ] && continue
    if [ "$r_to" -gt "$r_from" ] || { [ "$from" = widgets ] && [ "$to" != foundation ]; }; then
      echo "$file: $inc"; bad=1
    fi
  done < <(grep -H '#include "[a-z]*/' "$dir"/*.h "$dir"/*.cpp 2>/dev/null)
done
exit $bad
