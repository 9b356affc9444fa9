#!/usr/bin/env bash
# Installs the Debian packages that building and testing need: asks dpkg which are missing and fetches only those, through
# sudo when not run as root. Nothing is asked and nothing is touched when all are there. With --fuzz: what the fuzz targets need
# besides.
set -euo pipefail

needed=(g++ cmake ninja-build pkg-config libhwy-dev libcli11-dev libgtest-dev libbenchmark-dev libpng-dev
        libjpeg62-turbo-dev libwebp-dev libtiff-dev libgif-dev zlib1g-dev libfreetype-dev libfontconfig-dev fonts-dejavu-core imagemagick
        libsdl2-dev xvfb xdotool)
fuzzing=(clang libclang-rt-dev)
welcome=(ccache) # makes rebuilds faster; a build without it is the same
[ "${1:-}" != --fuzz ] || needed+=("${fuzzing[@]}")

have_dpkg() { command -v dpkg-query >/dev/null && command -v apt-get >/dev/null; }

missing() { # package...
  local package
  for package in "$@"; do
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)" = installed ] || echo "$package"
  done
}

if ! have_dpkg; then
  echo "packages: no apt-get here; taking it that the tools are installed (${needed[*]})"
  exit 0
fi

mapfile -t absent < <(missing "${needed[@]}")
if [ ${#absent[@]} -eq 0 ]; then
  exit 0
fi
mapfile -t -O ${#absent[@]} absent < <(missing "${welcome[@]}")

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo >/dev/null; then
    echo "packages: need root or sudo to install: ${absent[*]}" >&2
    exit 1
  fi
  as_root=(sudo)
fi

log=$(mktemp)
trap 'rm -f "$log"' EXIT
apt() { "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get "$@" </dev/null >>"$log" 2>&1; }

echo "packages: installing ${absent[*]}"
# Old lists point at files that the mirrors have dropped, so they are fetched anew; the ones here may do when that fails.
apt update || true
if ! apt install -y --no-install-recommends "${absent[@]}"; then
  cat "$log" >&2
  echo "packages: apt-get could not install ${absent[*]}" >&2
  exit 1
fi
