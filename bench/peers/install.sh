#!/usr/bin/env bash
# Installs the benchmark's peers, only what is missing: Debian's pandas and
# Node.js, and DuckDB's npm package into FOLDER (the build's bench/peers,
# where CMake copied package.json and the scripts; never committed).
# Usage: install.sh FOLDER
set -euo pipefail

folder=${1:?usage: install.sh FOLDER}
[ -f "$folder/package.json" ] || { echo "install.sh: no package.json in $folder (configure the bench first)" >&2; exit 1; }

# Any Node.js with npm will do; Debian's when there is none.
extra=(python3-pandas)
command -v node >/dev/null || extra+=(nodejs)
command -v npm >/dev/null || extra+=(npm)
bash "$(dirname "$0")/../../scripts/install-deps.sh" "${extra[@]}"

# package.json pins the version: fetch it only when another one (or none)
# is installed.
installed=$(cd "$folder" && node -p "require('./node_modules/@duckdb/node-api/package.json').version" 2>/dev/null || true)
wanted=$(cd "$folder" && node -p "require('./package.json').dependencies['@duckdb/node-api']")
if [ "$installed" != "$wanted" ]; then
  (cd "$folder" && npm install --no-audit --no-fund --no-package-lock --loglevel=error)
fi
