/* A camera's file of 16-bit numbers behind a header, the higher byte first: pixels are read, and one is
 * changed, where they lie.
 *
 * Prints:
 *   1 258 772
 *   the file: CAM! 00 01 01 02 0f ff
 */
#include <stdio.h>

#include <qvimage/qvimage.h>

int main(void) {
  static const uint8_t content[] = {'C', 'A', 'M', '!', 0, 1, 1, 2, 3, 4};
  const int header = 4;
  FILE *file = fopen("example.raw", "wb");
  if (!file || fwrite(content, 1, sizeof content, file) != sizeof content || fclose(file) != 0) return 1;

  qvimagedata form;
  qviminitdata(&form, QVIM_UINT16, 12, 1, QVIM_HINT_GREY);
  const uint16_t one = 1;
  form.i_endian = *(const uint8_t *)&one == 1 ? 0x800 : 0; /* foreign where the lower byte comes first */
  const uint32_t size[2] = {3, 1};
  bufio stream;
  qvimage image;
  if (bufio_init(&stream, "example.raw", "r+b", 0, 0) < 0) return 1;
  bufio_tareset(&stream, (uint64_t)header); /* where pixels begin */
  if (qvimage_filebufio(&image, &stream, size, &form) < 0) return 1;

  uint16_t pixels[3];
  if (image.ioset(&image, QVIM_XSCAN, QVIM_UINT16 | QVIM_LSB, 1) < 0) return 1;
  if (image.ioread(&image, 0, pixels, 3, 0, 0) != 3) return 1;
  printf("%u %u %u\n", pixels[0], pixels[1], pixels[2]);
  const uint16_t white = 4095;
  image.iorite(&image, 0, &white, 1, 2, 0);
  bufio_done(&stream);
  if (bufio_err(&stream) < 0) return 1; /* a full disk, perhaps */

  uint8_t bytes[sizeof content];
  file = fopen("example.raw", "rb");
  if (!file || fread(bytes, 1, sizeof bytes, file) != sizeof bytes || fclose(file) != 0) return 1;
  printf("the file: %.4s", (const char *)bytes);
  for (size_t i = 4; i < sizeof bytes; i++) printf(" %02x", bytes[i]);
  printf("\n");
  return remove("example.raw");
}
