/* Must a page be saved? A view that notes whether the code that was given it has read or written anything.
 *
 * Prints:
 *   nothing yet: not read, not written
 *   after a look: read, not written
 *   after a change: read, written
 */
#include <stdio.h>

#include <qvimage/qvimage.h>

static void print_notes(const char *when, qvimage *image) {
  const uint32_t notes = image->aeiou(image, 'c' << 8 | 'm', 0, 0, NULL);
  printf("%s: %s, %s\n", when, notes & 0x8000 ? "read" : "not read",
         notes & 0x4000 ? "written" : "not written");
}

int main(void) {
  uint8_t pixels[4] = {1, 2, 3, 4}, value;
  const int32_t size[2] = {4, 1};
  qvimage image, watched;
  if (qvimage_memory(&image, pixels, size, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0) < 0) return 1;
  if (qvimage_cachemonitor(&watched, &image, 0, 0) < 0) return 1;
  if (watched.ioset(&watched, QVIM_XSCAN, QVIM_UINT8, 1) < 0) return 1;
  print_notes("nothing yet", &watched);
  if (watched.ioread(&watched, 0, &value, 1, 2, 0) != 1) return 1;
  print_notes("after a look", &watched);
  if (watched.iorite(&watched, 0, &value, 1, 3, 0) != 1) return 1;
  print_notes("after a change", &watched);
  return 0;
}
