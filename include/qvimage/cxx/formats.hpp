// Which format a file has, by its first bytes or by its name (qvimage/formats.inc). Part of
// qvimage/qvimage.hpp; also for programs that want nothing else of it.
//
// Nothing here keeps state or allocates: any thread may call.
#pragma once

#include <string_view>

namespace qv {

// How a format's files are opened: a picture at a time, all pictures as the planes of a volume, or either.
enum class opens { page, planes, page_or_planes };

// The formats by name, in the order of `formats`.
enum class format {
#define QVIM_FORMAT(id, stem, name, suffixes, signature, opens) id,
#include <qvimage/formats.inc>
#undef QVIM_FORMAT
};

// An entry of qvimage/formats.inc, which says what each member means.
struct format_sign {
  format id;
  std::string_view name, suffixes, signature;
  qv::opens opens;
};

inline constexpr format_sign formats[] = {
#define QVIM_FORMAT(id, stem, name, suffixes, signature, opened) \
  {format::id, name, suffixes, {signature, sizeof(signature) - 1}, opens::opened},
#include <qvimage/formats.inc>
#undef QVIM_FORMAT
};

// The entry of a format.
constexpr const format_sign &sign_of(format id) { return formats[static_cast<int>(id)]; }

// So many first bytes tell every format that there is.
inline constexpr int signature_bytes = 16;

namespace detail {

// Is the byte one of those named? The set is what stands between brackets.
constexpr bool in_set(std::string_view set, char byte) {
  for (std::string_view rest = set; !rest.empty();) {
    const bool range = rest.size() > 2 && rest[1] == '-';
    if (byte >= rest[0] && byte <= rest[range ? 2 : 0]) return true;
    rest.remove_prefix(range ? 3 : 1);
  }
  return false;
}

constexpr bool begins_with(std::string_view head, std::string_view signature) {
  for (; !signature.empty(); head.remove_prefix(1)) {
    if (head.empty()) return false;
    const std::size_t set = signature[0] == '[' ? signature.find(']') : 0;
    const bool fits = set > 0 ? in_set(signature.substr(1, set - 1), head[0])
                              : signature[0] == '?' || signature[0] == head[0];
    if (!fits) return false;
    signature.remove_prefix(set + 1);
  }
  return true;
}

}  // namespace detail

// Does a file that begins so have a format's signature?
constexpr bool has_signature(std::string_view head, const format_sign &sign) {
  for (std::string_view rest = sign.signature;;) {
    const std::size_t end = rest.find('|');
    if (detail::begins_with(head, rest.substr(0, end))) return true;
    if (end == rest.npos) return false;
    rest.remove_prefix(end + 1);
  }
}

// The format of a file that begins so, or null. `head` are its first `signature_bytes`, or all it has.
constexpr const format_sign *format_of_content(std::string_view head) {
  for (const format_sign &sign : formats) {
    if (has_signature(head, sign)) return &sign;
  }
  return nullptr;
}

// The format that the end of a path names, in small or capital letters, or null.
constexpr const format_sign *format_of_name(std::string_view path) {
  const std::size_t dot = path.find_last_of("./");
  if (dot == path.npos || path[dot] == '/' || dot + 1 == path.size()) return nullptr;
  path.remove_prefix(dot);
  for (const format_sign &sign : formats) {
    for (std::string_view rest = sign.suffixes; !rest.empty(); rest.remove_prefix(rest.find(' ') + 1)) {
      const std::string_view suffix = rest.substr(0, rest.find(' '));
      bool same = suffix.size() == path.size();
      for (std::size_t i = 0; same && i < path.size(); i++) {
        const char small = path[i] >= 'A' && path[i] <= 'Z' ? static_cast<char>(path[i] + 32) : path[i];
        same = small == suffix[i];
      }
      if (same) return &sign;
    }
  }
  return nullptr;
}

}  // namespace qv
