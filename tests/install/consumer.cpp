// The same from C++.
#include <cstdio>
#include <cstring>

#include <qvimage/qvimage.hpp>

int main() {
  const int32_t size[2] = {640, 480};
  qvimagedata data;
  qvimage image;
  if (!qviminitdata(&data, QVIM_UINT16, 12, 1, QVIM_HINT_GREY)) return 1;
  if (qvimage_defnop(&image, size, &data, nullptr) != 0) return 1;
  if (qvimchkimage(&image) != 1 || image.f.pixelsize != 2) return 1;
  std::puts(qverrnomesg(QVERR_FORMAT));
  return std::strcmp(qverrnomesg(QVERR_FORMAT), "Invalid file format") != 0;
}
