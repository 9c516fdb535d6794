/* A picture taken with the camera on its side, upright; and mirrored.
 *
 * Prints:
 *   as it was taken
 *      0   1   2   3
 *     10  11  12  13
 *     20  21  22  23
 *   a quarter clockwise
 *     20  10   0
 *     21  11   1
 *     22  12   2
 *     23  13   3
 *   left and right exchanged
 *      3   2   1   0
 *     13  12  11  10
 *     23  22  21  20
 *   the upper right pixel was written: 99
 */
#include "show.h"

int main(void) {
  uint8_t pixels[3][4] = {
      {0, 1, 2, 3}, {10, 11, 12, 13}, {20, 21, 22, 23}}; /* tens: the row, ones: the column */
  const int32_t size[2] = {4, 3};
  qvimage image, upright, mirrored;
  if (qvimage_memory(&image, pixels, size, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0) < 0) return 1;
  show("as it was taken", &image);

  /* Flags: 1 exchanges x and y, 4 mirrors the result in x, 2 in y. */
  if (qvimage_rotate_filt(&upright, &image, 0, 1 + 4) < 0) return 1;
  show("a quarter clockwise", &upright);
  if (qvimage_rotate_filt(&mirrored, &image, 0, 4) < 0) return 1;
  show("left and right exchanged", &mirrored);

  const uint8_t mark =
      99; /* the upper right pixel of the upright picture is the upper left of the stored one */
  if (upright.ioset(&upright, QVIM_XSCAN, QVIM_UINT8, 1) < 0) return 1;
  if (upright.iorite(&upright, 0, &mark, 1, 2, 0) != 1) return 1;
  printf("the upper right pixel was written: %d\n", pixels[0][0]);
  return 0;
}
