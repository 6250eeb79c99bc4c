#!/usr/bin/env bash
# Draws the icons of all sizes from tallyman.svg; needs rsvg-convert (librsvg2-bin).
set -euo pipefail
cd "$(dirname "$0")"
for size in 16 22 24 32 48 64 128 256; do
  rsvg-convert -w $size -h $size tallyman.svg -o tallyman-$size.png
done
