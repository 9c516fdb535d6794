// The sides of an image's window.
#pragma once

#include <cstdint>

#include <qvimage/types.h>

namespace tool {

inline int32_t width_of(const qvywindow &window) { return window.se.x - window.nw.x; }
inline int32_t height_of(const qvywindow &window) { return window.se.y - window.nw.y; }

}  // namespace tool
