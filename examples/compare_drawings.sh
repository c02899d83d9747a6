#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Draws the streets and compares the pictures with those of the documentation.
# Usage: compare_drawings.sh DRAW_STREETS FOLDER
set -eu
drawn=$(mktemp -d)
trap 'rm -rf "$drawn"' EXIT
"$1" "$drawn"
for picture in "$drawn"/*.svg; do
  cmp "$picture" "$2/$(basename "$picture")"
done
echo "the documented ones"
