#!/usr/bin/env bash
# Installs the benchmark's peers, only what is missing: Debian's pandas and
# Node.js, and DuckDB's npm package into FOLDER (the build's bench/peers,
# where CMake copied package.json and the scripts; never committed).
# Usage: install.sh FOLDER
set -euo pipefail

folder=${1:?usage: install.sh FOLDER}
[ -f "$folder/package.json" ] || { echo "install.sh: no package.json in $folder (configure the bench first)" >&2; exit 1; }

missing=()
dpkg-query -W -f='${Status}' python3-pandas 2>/dev/null | grep -q 'install ok installed' ||
  missing+=(python3-pandas)
# Any Node.js with npm will do; Debian's when there is none.
command -v node >/dev/null || missing+=(nodejs)
command -v npm >/dev/null || missing+=(npm)
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing missing packages: ${missing[*]}"
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

# package.json pins the version: fetch it only when another one (or none)
# is installed.
installed=$(cd "$folder" && node -p "require('./node_modules/@duckdb/node-api/package.json').version" 2>/dev/null || true)
wanted=$(cd "$folder" && node -p "require('./package.json').dependencies['@duckdb/node-api']")
if [ "$installed" != "$wanted" ]; then
  (cd "$folder" && npm install --no-audit --no-fund --no-package-lock --loglevel=error)
fi
