// The parts of an information record that formats have in common.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include <qvimage/alloc.h>
#include <qvimage/fileinfo.h>

namespace qvim {

inline void clear(qvimagefileinfo &info) { std::memset(static_cast<void *>(&info), 0, sizeof info); }

inline void set_page_count(qvimagefileinfo &info, uint64_t pages) {
  info.pagecount = uint32_t(std::min(pages, uint64_t{0x7FFFFFFF}));
  info.pagecount2 = uint32_t(std::min(pages, uint64_t{0xFFFFFFFF}));
}

inline bool has_type(const qvimagefileinfo &info, const char (&type)[4]) {
  return std::memcmp(info.type, type, sizeof info.type) == 0;
}

inline void free_texts(qvimagefileinfo &info) {
  for (char **text : {&info.datetime, &info.software, &info.description, &info.copyright}) qvfreep(text);
}

}  // namespace qvim
