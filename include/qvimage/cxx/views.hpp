// The views that a chain is made of, each a few numbers: what is not said keeps its default. Part of
// qvimage/qvimage.hpp. The C constructors in qvimage/views.h and qvimage/colour.h, named at each, say what
// they accept and which codes they and their set-ups answer.
#pragma once

#include <qvimage/cxx/chain.hpp>

namespace qv {

namespace detail {

// The function for pictures, or the one for volumes.
template <class Record, class Two, class Three>
constexpr auto pick(Two two, Three three) noexcept {
  if constexpr (std::is_same_v<Record, ::qvimage>) {
    return two;
  } else {
    return three;
  }
}

}  // namespace detail

// Other data types and numbers of bits (qvimage_converter): values of so many bits, read and written in
// whatever type is asked for. The description names the smallest type that holds them. 0 bits: as many as
// there are. With normalised reals from 0 to 1 stand for the whole range of integers, otherwise for equal
// values. Over reals bits do not count: ask for the type you want.
struct convert {
  int32_t bits = 0;
  bool normalised = false, mask_undefined = false, share = false;

  template <class Record>
  int32_t make(Record *to, const detail::source<Record> &from) const noexcept {
    if (bits < 0 || bits > 32) return QVERR_USAGE;
    qvimagedata d = from.data();
    const bool described = bits > 0 && d.pixietype < QVIM_FLOAT32;
    if (described) qviminitdata(&d, qvimdatabittype(bits), bits, d.pixies, d.pixelhint);
    return detail::pick<Record>(qvimage_converter, qvimage3_converter)(
        to, from, described ? &d : nullptr, share, mask_undefined, static_cast<uint8_t>(bits), normalised);
  }
};

// Transposed (1), mirrored in x (4), mirrored in y (2): 5 turns by 90 degrees clockwise, 6 by 180, 3 by 270
// (qvimage_rotate_filt).
struct rotate {
  uint32_t flags = 0;
  bool share = false;

  int32_t make(::qvimage *to, const detail::source<::qvimage> &from) const noexcept {
    return qvimage_rotate_filt(to, from, share, flags);
  }
};

// Another interpretation of colours, QVIM_HINT_... (qvimage_colorconverter).
struct recolour {
  int32_t hint = QVIM_HINT_RGB;
  bool share = false;

  template <class Record>
  int32_t make(Record *to, const detail::source<Record> &from) const noexcept {
    return detail::pick<Record>(qvimage_colorconverter, qvimage3_colorconverter)(to, from, hint, share);
  }
};

// One component, counted from 0 (qvimage_colorslice).
struct component {
  uint32_t index = 0;
  bool share = false;

  template <class Record>
  int32_t make(Record *to, const detail::source<Record> &from) const noexcept {
    const uint32_t mask = index < 32 ? uint32_t{1} << index : 0;
    return detail::pick<Record>(qvimage_colorslice, qvimage3_colorslice)(to, from, share, mask, 0);
  }
};

// The four values of a cell behind a colour filter array; the phase says where red lies
// (qvimage_Beyer4_filter).
struct bayer {
  uint32_t phase = 0;
  bool share = false;

  template <class Record>
  int32_t make(Record *to, const detail::source<Record> &from) const noexcept {
    return detail::pick<Record>(qvimage_Beyer4_filter, qvimage3_Beyer4_filter)(to, from, share, phase);
  }
};

// Every x-th pixel of every y-th line, from a first one on (qvimage_decimate).
struct decimate {
  uint32_t x = 1, y = 1, first_x = 0, first_y = 0;

  int32_t make(::qvimage *to, const detail::source<::qvimage> &from) const noexcept {
    return qvimage_decimate(to, from, 0, x, y, first_x, first_y);
  }
};

// The odd lines in the place of all, or the even ones (qvimage_yodd).
struct field {
  bool odd = false, share = false;

  int32_t make(::qvimage *to, const detail::source<::qvimage> &from) const noexcept {
    return qvimage_yodd(to, from, share, odd);
  }
};

// Values through tables, a table a component (qvimage_lut2, qvimage_lut3). Tables of the caller's, which must
// outlive the chain; those of components that there are not may be null. pixies 1 to 4: one component in
// pseudo-colour of that hint. flags: of pictures only.
struct lookup {
  const void *read[4] = {}, *written[4] = {};
  int32_t pixies = 0, hint = QVIM_HINT_UNKNOWN;
  uint32_t flags = 0;
  bool share = false;

  int32_t make(::qvimage *to, const detail::source<::qvimage> &from) const noexcept {
    return qvimage_lut2(to, from, share, read, written, pixies, hint, 0, flags);
  }
  int32_t make(::qvimage3 *to, const detail::source<::qvimage3> &from) const noexcept {
    return qvimage_lut3(to, from, share, read, written, pixies, hint, 0);
  }
};

// A table, an image of one row, with another number of entries (qvimage_lutconvert).
struct resample {
  uint32_t entries = 256;
  bool decimated = false;

  int32_t make(::qvimage *to, const detail::source<::qvimage> &from) const noexcept {
    return qvimage_lutconvert(to, from, entries, decimated);
  }
};

// A plane of a volume as a picture: number z, or another cut, by the axes along its x and y, QVIM_XSCAN,
// QVIM_YSCAN, QVIM_ZSCAN (qvimage_def2from3).
struct plane {
  int32_t number = 0;
  uint32_t x_axis = QVIM_XSCAN, y_axis = QVIM_YSCAN;

  int32_t make(::qvimage *to, const detail::source<::qvimage3> &from) const noexcept {
    return qvimage_def2from3(to, from, x_axis, y_axis, number, 0);
  }
};

// All planes in one picture, one below another or side by side (qvimage_def2from3).
struct joined {
  bool side_by_side = false;

  int32_t make(::qvimage *to, const detail::source<::qvimage3> &from) const noexcept {
    constexpr uint8_t below = 0x80, beside = 0x40;
    return qvimage_def2from3(to, from, QVIM_XSCAN, QVIM_YSCAN, 0, side_by_side ? beside : below);
  }
};

// The mean of all planes (qvimage_stack).
struct mean {
  int32_t make(::qvimage *to, const detail::source<::qvimage3> &from) const noexcept {
    return qvimage_stack(to, from);
  }
};

// A picture as a volume of one plane (qvimage_def3from2).
struct volume {
  bool share = false;

  int32_t make(::qvimage3 *to, const detail::source<::qvimage> &from) const noexcept {
    return qvimage_def3from2(to, from, share);
  }
};

// The planes renumbered in a circle, beginning with that of this number (qvimage3_def3from3).
struct renumber {
  int32_t first = 0;
  bool share = false;

  int32_t make(::qvimage3 *to, const detail::source<::qvimage3> &from) const noexcept {
    return qvimage3_def3from3(to, from, first, 0, 0, share);
  }
};

// Notes whether pixels were read or written through it (qvimage_cachemonitor).
struct monitor {
  bool unmapped = false, share = false;

  int32_t make(::qvimage *to, const detail::source<::qvimage> &from) const noexcept {
    return qvimage_cachemonitor(to, from, share, unmapped);
  }
};

}  // namespace qv
