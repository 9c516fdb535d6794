// The fields of a traced line, one after the other; what stands before them, too. include/qvimage/log.h has
// the language.
#pragma once

#include <cstdint>
#include <string_view>

namespace qvim {

inline bool is_capital(char c) { return c >= 'A' && c <= 'Z'; }
inline char small(char c) { return is_capital(c) ? char(c - 'A' + 'a') : c; }

// The letters of a value.
struct field {
  std::string_view letters;

  bool has(char letter) const {
    for (const char c : letters)
      if (small(c) == letter) return true;
    return false;
  }
  bool has_characters() const { return has('b') && has('s'); }
  // Is it that capital, with nothing but `marks` before it?
  bool is(char capital, char mark) const {
    return !letters.empty() && letters.back() == capital &&
           letters.find_first_not_of(mark) == letters.size() - 1;
  }
};

class field_reader {
 public:
  explicit field_reader(const char *fields) : next_(fields) {}

  bool at_end() const { return *next_ == '\0' || *next_ == '}'; }
  // Without letters at the end.
  field take() {
    if (at_end()) return {};
    if (*next_ == '*') return next_++, last_;
    const char *begin = next_;
    while (!at_end() && !is_capital(*next_)) next_++;
    if (!at_end()) next_++;
    return last_ = {{begin, size_t(next_ - begin)}};
  }
  // Takes the next field if it is this one, which is none of a value.
  field take_if(char capital, char mark) {
    field_reader ahead = *this;
    const field next = ahead.take();
    if (!next.is(capital, mark)) return {};
    next_ = ahead.next_;
    return next;
  }

 private:
  const char *next_;
  field last_;
};

// What stands before the fields, and the end.
struct call_format {
  bool suppressed = false, opens = false, closes = false;
  int64_t level = 1;
  const char *fields;

  explicit call_format(const char *format) : fields(format ? format : "") {
    for (; *fields == 'X'; fields++) suppressed = true;
    if (*fields == '{') opens = true, fields++;
    for (; *fields == '!'; fields++) level++;
    closes = opens && std::string_view(fields).ends_with('}');
  }
};

}  // namespace qvim
