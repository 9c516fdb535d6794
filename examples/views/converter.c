/* What a 12-bit camera delivers, as bytes for a display and as numbers from 0 to 1 for a computation. Both
 * views can be written through.
 *
 * Prints:
 *   bytes
 *      0   6 125 255
 *   numbers: 0.0000 0.0015 0.0305 0.0625
 *   stored: 0 100 2048 4095
 */
#include "show.h"

int main(void) {
  uint16_t frame[4] = {0, 100, 2000, 4095};
  const int32_t size[2] = {4, 1};
  qvimage image, bytes, numbers;
  if (qvimage_memory(&image, frame, size, 0, QVIM_UINT16, 12, 1, QVIM_HINT_GREY, 0) < 0) return 1;

  /* 8 bits: the upper 8 of the 12. The description says so to whoever asks the record. Requests that name an
   * end of the pixie, here QVIM_LSB, get numbers of 8 bits; others the bits as they are stored. */
  qvimagedata data;
  qviminitdata(&data, QVIM_UINT8, 8, 1, QVIM_HINT_GREY);
  if (qvimage_converter(&bytes, &image, &data, 0, 0, 8, 0) < 0) return 1;
  show("bytes", &bytes);

  /* Mode 1: 1.0 stands for the largest 16-bit number. */
  float values[4];
  if (qvimage_converter(&numbers, &image, NULL, 0, 0, 0, 1) < 0) return 1;
  if (numbers.ioset(&numbers, QVIM_XSCAN, QVIM_FLOAT32, 1) < 0) return 1;
  if (numbers.ioread(&numbers, 0, values, 4, 0, 0) != 4) return 1;
  printf("numbers: %.4f %.4f %.4f %.4f\n", values[0], values[1], values[2], values[3]);

  const uint8_t half = 128;
  if (bytes.ioset(&bytes, QVIM_XSCAN, QVIM_UINT8 | QVIM_LSB, 1) < 0) return 1;
  if (bytes.iorite(&bytes, 0, &half, 1, 2, 0) != 1) return 1;
  printf("stored: %d %d %d %d\n", frame[0], frame[1], frame[2], frame[3]);
  return 0;
}
