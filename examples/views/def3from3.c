/* A ring of 4 frames that a camera fills over and over: frames 0 and 1 are newer than 2 and 3. The view
 * begins with the oldest.
 *
 * Prints:
 *   as they lie in memory
 *     15  15  16  16  13  13  14  14
 *   in the order of time
 *     13  13  14  14  15  15  16  16
 */
#include "show.h"

int main(void) {
  uint8_t ring[4][2] = {{15, 15}, {16, 16}, {13, 13}, {14, 14}}; /* frames of 2 pixels that tell the time */
  const int32_t size[3] = {2, 1, 4};
  qvimage3 frames, sorted;
  qvimage sheet;
  if (qvimage3_memory(&frames, ring, size, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0) < 0) return 1;
  if (qvimage_def2from3(&sheet, &frames, 0, 0, 0, 0x40) < 0) return 1;
  show("as they lie in memory", &sheet);

  const int32_t oldest = 2;
  if (qvimage3_def3from3(&sorted, &frames, oldest, 0, 0, 0) < 0) return 1;
  if (qvimage_def2from3(&sheet, &sorted, 0, 0, 0, 0x40) < 0) return 1;
  show("in the order of time", &sheet);
  return 0;
}
