#!/usr/bin/env bash
# Installs the Debian packages that the build, the tests, the benchmarks and the demo need.
# Idempotent: packages already installed are skipped; nothing is downloaded but packages.
set -euo pipefail

packages=(
  build-essential cmake pkg-config git
  libgtest-dev libgmock-dev libbenchmark-dev
  libhwy-dev
  libcairo2-dev libpango1.0-dev libharfbuzz-dev libfontconfig-dev libfreetype-dev fonts-liberation
  libpng-dev
  libpixman-1-dev
  binutils
)
# Benchmark-only peers; the library never links them.
optional=(libopencv-dev)

missing=()
for p in "${packages[@]}" "${optional[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "bootstrap: all packages present"
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
echo "bootstrap: installing ${missing[*]}"
$SUDO apt-get update -qq
# Optional peers may be unavailable on some mirrors; the required set must install.
required_missing=()
for p in "${missing[@]}"; do
  [[ " ${optional[*]} " == *" $p "* ]] || required_missing+=("$p")
done
if [ ${#required_missing[@]} -gt 0 ]; then
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${required_missing[@]}"
fi
for p in "${optional[@]}"; do
  if [[ " ${missing[*]} " == *" $p "* ]]; then
    DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "$p" ||
      echo "bootstrap: optional $p not installed; benchmarks run without that peer"
  fi
done
