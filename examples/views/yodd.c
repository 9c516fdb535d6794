/* The two fields of an interlaced frame: a moving bar was seen in even rows first, in odd ones a moment
 * later.
 *
 * Prints:
 *   the frame
 *      9   0   0
 *      0   9   0
 *      9   0   0
 *      0   9   0
 *   first field
 *      9   0   0
 *      9   0   0
 *      9   0   0
 *      9   0   0
 *   second field
 *      0   9   0
 *      0   9   0
 *      0   9   0
 *      0   9   0
 */
#include "show.h"

int main(void) {
  uint8_t frame[4][3] = {{9, 0, 0}, {0, 9, 0}, {9, 0, 0}, {0, 9, 0}};
  const int32_t size[2] = {3, 4};
  qvimage image, field;
  if (qvimage_memory(&image, frame, size, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0) < 0) return 1;
  show("the frame", &image);
  if (qvimage_yodd(&field, &image, 0, 0) < 0) return 1; /* even rows, each also in the place of the odd one */
  show("first field", &field);
  if (qvimage_yodd(&field, &image, 0, 1) < 0) return 1;
  show("second field", &field);
  return 0;
}
