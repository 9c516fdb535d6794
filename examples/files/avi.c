/* A film, written frame by frame as pictures come, and read as a volume: a frame of it is found at once.
 *
 * Prints:
 *   3 frames, 25 in 2 seconds
 *   the second
 *     10  10  10
 *     10  10  11
 */
#include "../views/show.h"

int main(void) {
  uint8_t pixels[2][3] = {{0}};
  const int32_t size[2] = {3, 2};
  qvimage picture, frame;
  if (qvimage_memory(&picture, pixels, size, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0) < 0) return 1;
  qvimagefileinfo options = {0};
  options.avi_ratenum = 25;
  options.avi_rateden = 2;
  const uint32_t expected = 3, of_any_length = 2;
  avihandle *film = NULL;
  if (qvimage_aviwriteinit(NULL, &film, "example.avi", NULL, &picture, 0, NULL, NULL, &options, 0, 0,
                           expected, of_any_length) < 0)
    return 1;
  for (int n = 0; n < 3; n++) {
    for (int i = 0; i < 6; i++) pixels[i / 3][i % 3] = (uint8_t)(10 * n + (i == 5));
    if (qvimage_aviwriteadd(NULL, &film, NULL, NULL, &picture, 0) < 0) return 1;
  }
  if (qvimage_aviwritedone(NULL, &film, NULL) < 0) return 1;

  qvimage3 frames;
  if (qvimage3_aviread(&frames, NULL, &film, "example.avi", NULL, 0, 0) < 0) return 1;
  if (qvimage_avireadinfo(film, &options) < 0) return 1;
  printf("%u frames, %u in %u seconds\n", options.pagecount, options.avi_ratenum, options.avi_rateden);
  qvimage_aviinfodone(&options);
  const uint32_t across = 0, down = 2; /* the volume's x and y */
  if (qvimage_def2from3(&frame, &frames, across, down, 1, 0) < 0) return 1;
  show("the second", &frame);
  qvimage3_avireaddone(&frames, NULL, &film);
  return remove("example.avi");
}
