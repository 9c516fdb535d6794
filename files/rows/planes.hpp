// Images as what writers of pages and frames take: 2-D images, one a plane.
#pragma once

#include <cstdint>

#include <qvimage/error.h>
#include <qvimage/views.h>

#include "core/progress.hpp"
#include "core/reason.hpp"

namespace qvim {

// The first plane to the function: 0, or what it answers; -1 for an image without planes.
template <class Function>
int32_t with_first_plane(qvimage &image, Function f) {
  return f(image);
}
template <class Function>
int32_t with_first_plane(qvimage3 &image, Function f) {
  if (image.wind.nw.z < 0 || image.wind.se.z <= image.wind.nw.z)
    return because(QVERR_USAGE, {"the image's window has no planes"});
  qvimage plane;
  const int32_t code = qvimage_def2from3(&plane, &image, 0, 2, 0, 0);
  return code < 0 ? code : f(plane);
}

// Each plane to the function, until one answers other than 0. Whoever wants to know hears of the rows of a
// 2-D image, which the function tells, and of the planes of a 3-D image.
template <class Function>
int32_t for_each_plane(qvimage &image, const progress &told, Function f) {
  return f(image, told, 0);
}
template <class Function>
int32_t for_each_plane(qvimage3 &image, const progress &told, Function f) {
  const int32_t depth = image.wind.se.z - image.wind.nw.z;
  int32_t code = 0;
  for (int32_t z = 0; z < depth && code == 0; z++) {
    if (code = told(z + 1, depth); code != 0)
      return code < 0 ? because(code, {"stopped by the callback at plane ", z + 1}) : code;
    qvimage plane;
    code = qvimage_def2from3(&plane, &image, 0, 2, z, 0);
    if (code == 0) code = f(plane, progress(), z);
    if (code < 0) code = within({"plane ", z + 1}, code);
  }
  return code;
}

}  // namespace qvim
