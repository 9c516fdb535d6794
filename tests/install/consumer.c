/* A program of a user of the installed library: builds only if headers, library and flags are all found. */
#include <stdio.h>
#include <string.h>

#include <qvimage/qvimage.h>

int main(void) {
  const int32_t size[2] = {640, 480};
  qvimagedata data;
  qvimage image;
  if (!qviminitdata(&data, QVIM_UINT16, 12, 1, QVIM_HINT_GREY)) return 1;
  if (qvimage_defnop(&image, size, &data, NULL) != 0) return 1;
  if (qvimchkimage(&image) != 1 || image.f.pixelsize != 2) return 1;
  puts(qverrnomesg(QVERR_FORMAT));
  return strcmp(qverrnomesg(QVERR_FORMAT), "Invalid file format") != 0;
}
