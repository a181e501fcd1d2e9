#!/usr/bin/env bash
# Makes sure the Debian packages that tools/packages.txt lists for a purpose are installed.
# Usage: tools/ensure-packages.sh demo|test|ci
# Installs the missing ones through apt-get when run as root, or through sudo when it is there;
# otherwise names them and exits 1. Installs nothing when all are present.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
purpose=${1:?usage: tools/ensure-packages.sh demo|test|ci}
case $purpose in
  demo) wanted="demo" ;;
  test) wanted="demo test" ;;
  ci) wanted="demo test ci" ;;
  *) echo "ensure-packages: unknown purpose '$purpose' (demo, test or ci)" >&2; exit 2 ;;
esac

missing=()
while read -r name who _; do
  case $name in '' | '#'*) continue ;; esac
  case " $wanted " in *" $who "*) ;; *) continue ;; esac
  status=$(dpkg-query -W -f='${db:Status-Status}' "$name" 2>/dev/null || true)
  [ "$status" = installed ] || missing+=("$name")
done < "$here/packages.txt"
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Missing Debian packages: ${missing[*]}"
if [ "$(id -u)" -eq 0 ]; then
  as_root=()
elif command -v sudo >/dev/null 2>&1; then
  as_root=(sudo)
else
  echo "Install them as root:  apt-get install ${missing[*]}" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update
"${as_root[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
