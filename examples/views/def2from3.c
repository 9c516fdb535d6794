/* A volume looked at in three ways: a plane of it, a cut across its planes, all planes on one sheet.
 *
 * Prints:
 *   plane 1
 *    100 101
 *    110 111
 *   the cut at x = 1: planes from left to right
 *      1 101 201
 *     11 111 211
 *   a sheet
 *      0   1 100 101 200 201
 *     10  11 110 111 210 211
 */
#include "show.h"

int main(void) {
  uint8_t voxels[3][2][2]; /* hundreds: the plane, tens: the row, ones: the column */
  for (int z = 0; z < 3; z++)
    for (int y = 0; y < 2; y++)
      for (int x = 0; x < 2; x++) voxels[z][y][x] = (uint8_t)(100 * z + 10 * y + x);
  const int32_t size[3] = {2, 2, 3};
  qvimage3 volume;
  qvimage view;
  if (qvimage3_memory(&volume, voxels, size, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0) < 0) return 1;

  /* The volume's axes along x and y, and where on the third one. */
  if (qvimage_def2from3(&view, &volume, QVIM_XSCAN, QVIM_YSCAN, 1, 0) < 0) return 1;
  show("plane 1", &view);
  if (qvimage_def2from3(&view, &volume, QVIM_ZSCAN, QVIM_YSCAN, 1, 0) < 0) return 1;
  show("the cut at x = 1: planes from left to right", &view);
  if (qvimage_def2from3(&view, &volume, 0, 0, 0, 0x40) < 0) return 1; /* 0x80: one below another */
  show("a sheet", &view);
  return 0;
}
