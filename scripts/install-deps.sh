#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the tools need, and only
# those that are missing. Safe to run again: with everything present it only checks.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config clang-format
  libgtest-dev libgmock-dev libbenchmark-dev
  libfftw3-dev libeigen3-dev libsndfile1-dev libcli11-dev
  libopenblas-dev
  puredata-dev puredata-core
  python3-numpy python3-scipy python3-h5py libmysofa1 libmysofa-dev
  libjack-jackd2-dev liblo-dev jackd2
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg -s "$p" >/dev/null 2>&1 || ! dpkg -s "$p" 2>/dev/null | grep -q '^Status: install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "install-deps: installing ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then
  sudo="sudo"
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update
$sudo apt-get install -y --no-install-recommends "${missing[@]}"
