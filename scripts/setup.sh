#!/usr/bin/env bash
# Installs everything KLY needs to build, test, benchmark and fuzz (Debian packages); node and
# npm run the Khronos glTF validator on the command line's .glb files.
set -euo pipefail
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends \
  build-essential cmake git pkg-config clang libclang-rt-14-dev \
  libgtest-dev libgmock-dev libbenchmark-dev \
  libboost-dev libfreetype-dev libpolyclipping-dev libharfbuzz-dev libpugixml-dev fonts-dejavu-core fonts-dejavu-extra fonts-inter-variable \
  libcli11-dev libtinygltf-dev nlohmann-json3-dev libcgal-dev >/dev/null
# The glTF validator runs on node. A machine may already carry a node whose own npm conflicts
# with Debian's npm package, so Debian's pair is installed only where there is no npm at all.
if ! command -v npm >/dev/null 2>&1; then
  $SUDO apt-get install -y -qq --no-install-recommends nodejs npm >/dev/null
fi
