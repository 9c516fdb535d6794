#!/bin/sh
# Runs the example (the arguments: what runs it, if anything, and the program) over a small 12-bit frame:
# digits of counted numbers, as bytes 0 to 10.
set -e
{
  printf 'P6 64 48 4095\n'
  seq 1 10000 | tr '0-9\n' '\000-\012' | head -c 18432
} >frame_to_tiff.ppm
"$@" frame_to_tiff.ppm frame_to_tiff.tif
