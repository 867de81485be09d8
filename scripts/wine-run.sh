#!/usr/bin/env bash
# Runs a program built for Windows under Wine, quietly, in a private Wine
# prefix, with the MinGW-w64 runtime DLLs on the search path.
# Usage: wine-run.sh WINE_PREFIX_DIR PROGRAM [ARG ...]
set -euo pipefail

prefix="$1"
shift

wine=""
for candidate in /usr/lib/wine/wine64 "$(command -v wine64 || true)" "$(command -v wine || true)"; do
  if [ -n "$candidate" ] && [ -x "$candidate" ]; then
    wine="$candidate"
    break
  fi
done
if [ -z "$wine" ]; then
  echo "wine-run.sh: Wine not found (bash scripts/install-windows-deps.sh)" >&2
  exit 127
fi

# Wine builds a new prefix on first use; several of them at once would race
# on the same folder, so the first run holds a lock until the prefix stands.
mkdir -p "$prefix"
export WINEPREFIX="$prefix"
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
booted="$prefix/.booted"
if [ ! -f "$booted" ]; then
  (
    flock 9
    if [ ! -f "$booted" ]; then
      "$wine" wineboot --init >/dev/null 2>&1 || true
      "$(dirname "$wine")/wineserver" -w 2>/dev/null || wineserver -w 2>/dev/null || true
      touch "$booted"
    fi
  ) 9>"$prefix.lock"
fi

runtime=()
for dll in libstdc++-6.dll libwinpthread-1.dll; do
  path="$(x86_64-w64-mingw32-g++-posix -print-file-name="$dll")"
  [ -f "$path" ] && runtime+=("Z:$(dirname "$path")")
done
WINEPATH="$(IFS=';'; echo "${runtime[*]}")"
export WINEPATH

exec "$wine" "$@"
