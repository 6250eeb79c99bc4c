#!/usr/bin/env bash
# Builds the Debian package into build/package and tells what lintian says of it.
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/packages.sh
ensure_packages $build_packages dpkg-dev file lintian
cmake --preset package >/dev/null
cmake --build build/package -j"${JOBS:-$(nproc)}"
(cd build/package && cpack -G DEB >/dev/null)
deb=$(ls -t build/package/tallyman_*.deb | head -1)
lintian --allow-root --fail-on error,warning --tag-display-limit 0 "$deb"
echo "$deb: $(stat -c %s "$deb") bytes, installed $(dpkg-deb -f "$deb" Installed-Size) KiB"
