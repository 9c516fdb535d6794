// The parts of an information record that formats have in common.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include <qvimage/alloc.h>
#include <qvimage/error.h>
#include <qvimage/fileinfo.h>

#include "core/owned.hpp"
#include "files/rows/row_image.hpp"

namespace qvim {

inline void clear(qvimagefileinfo &info) { std::memset(static_cast<void *>(&info), 0, sizeof info); }

inline void set_page_count(qvimagefileinfo &info, uint64_t pages) {
  info.pagecount = uint32_t(std::min(pages, uint64_t{0x7FFFFFFF}));
  info.pagecount2 = uint32_t(std::min(pages, uint64_t{0xFFFFFFFF}));
}

// The head of the record: an image of so many planes in a file of that type.
inline void describe(qvimagefileinfo &info, const char (&type)[4], const row_image &form) {
  clear(info);
  std::memcpy(info.type, type, sizeof info.type);
  info.width = form.width;
  info.height = form.height;
  info.wind.se = {int32_t(form.width), int32_t(form.height)};
  set_page_count(info, form.planes);
  info.data = form.data;
  info.hints = form.hints;
}

// A copy of a text for the record; no text stays none. False when memory is short.
[[nodiscard]] inline bool copy_text(const array<char> &text, char **copy) {
  if (!text.size()) return true;
  *copy = static_cast<char *>(qvmalloc(text.size()));
  if (*copy) std::memcpy(*copy, text.data(), text.size());
  return *copy != nullptr;
}

// Copies of some texts, each for the member that place(i) points to. Without memory for all of them the
// record is cleared.
template <class Texts, class Place>
[[nodiscard]] int32_t copy_texts(qvimagefileinfo &info, const Texts &texts, Place place) {
  size_t copied = 0;
  for (const array<char> &text : texts)
    if (!copy_text(text, place(copied++))) {
      while (copied > 0) qvfreep(place(--copied));
      return clear(info), QVERR_MEMORY;
    }
  return 0;
}

inline bool has_type(const qvimagefileinfo &info, const char (&type)[4]) {
  return std::memcmp(info.type, type, sizeof info.type) == 0;
}

inline void free_texts(qvimagefileinfo &info) {
  for (char **text : {&info.datetime, &info.software, &info.description, &info.copyright}) qvfreep(text);
}

}  // namespace qvim
