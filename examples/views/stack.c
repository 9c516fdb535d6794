/* The mean of frames that show the same thing, each with noise of its own; then of the last two only.
 *
 * Prints:
 *   all three
 *     50 100 150
 *   the last two
 *     51  98 151
 */
#include "show.h"

int main(void) {
  uint8_t film[3][3] = {{48, 104, 148}, {51, 99, 150}, {51, 97, 152}};
  const int32_t size[3] = {3, 1, 3};
  qvimage3 frames;
  qvimage mean;
  if (qvimage3_memory(&frames, film, size, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0) < 0) return 1;
  if (qvimage_stack(&mean, &frames) < 0) return 1;
  show("all three", &mean);

  /* The mean is that of the window's frames. */
  qvyzwindow part = {{0, 0, 1}, {3, 1, 3}};
  if (!frames.xwind(&frames, &part, 's')) return 1;
  if (qvimage_stack(&mean, &frames) < 0) return 1;
  show("the last two", &mean);
  return 0;
}
