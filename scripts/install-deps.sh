#!/usr/bin/env bash
# Installs the Debian packages the build needs, only when some are missing.
# Usage: install-deps.sh [extra-package ...]
set -euo pipefail

packages=(cmake make g++ pkg-config libgtest-dev libgmock-dev libbenchmark-dev libsqlite3-dev
          libcsv-dev nlohmann-json3-dev libcli11-dev pybind11-dev python3-dev python3-pytest
          python3-pandas python3-numpy "$@")

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing missing packages: ${missing[*]}"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
