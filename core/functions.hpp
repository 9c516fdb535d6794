// The library's functions by dimension, for code that is written once over it.
#pragma once

#include <cstdint>

#include <qvimage/block.h>
#include <qvimage/null.h>
#include <qvimage/window.h>

#include "core/dimension.hpp"

namespace qvim {

template <class Dim>
struct functions;
template <>
struct functions<two_d> {
  static constexpr auto bxts = qvimbxts;
  static constexpr auto bxtp = qvimbxtp;
  static constexpr auto bxta = qvimbxta;
  static constexpr auto bxtw = qvimbxtw;
  static constexpr auto check_inside = qvimchkwindsub;
  static constexpr auto xwind = qvimxwind;
  static constexpr auto null_window = qvimnullwind;
  static constexpr auto length_by_mode = qvimacclenfunc;
  static void advance(const qvywindow *w, two_d::point &at, scan s, uint32_t n) {
    (s == scan::y ? qvimnewcoordyscan : qvimnewcoordxscan)(w, &at[0], &at[1], n);
  }
};
template <>
struct functions<three_d> {
  static constexpr auto bxts = qvim3bxts;
  static constexpr auto bxtp = qvim3bxtp;
  static constexpr auto bxta = qvim3bxta;
  static constexpr auto bxtw = qvim3bxtw;
  static constexpr auto check_inside = qvim3chkwindsub;
  static constexpr auto xwind = qvim3xwind;
  static constexpr auto null_window = qvim3nullwind;
  static constexpr auto length_by_mode = qvim3acclenfunc;
  static void advance(const qvyzwindow *w, three_d::point &at, scan s, uint32_t n) {
    (s == scan::z   ? qvim3newcoordzscan
     : s == scan::y ? qvim3newcoordyscan
                    : qvim3newcoordxscan)(w, &at[0], &at[1], &at[2], n);
  }
};

}  // namespace qvim
