// Why a call failed, in words.
#include "core/reason.hpp"

#include <algorithm>
#include <charconv>
#include <cstring>

#include <qvimage/error.h>

namespace qvim {

namespace {

constexpr uint64_t room = QVIM_REASON_SIZE;
thread_local constinit char text[room];

// Both end with a zero at the latest in the last byte.
char *put(words of, char *to) {
  for (const word &w : of) to = w.put(to, text + room - 1);
  return to;
}

void state_cause(int32_t code, words cause) {
  *put(cause, text) = 0;
  reason::current.code = code;
  reason::current.is_placed = false;
  reason::current.is_outdated = false;
}

bool is_heard() { return reason::current.doors > 0 && !reason::current.is_quiet; }

bool stands() { return reason::current.code != 0 && !reason::current.is_outdated; }

}  // namespace

namespace reason {

thread_local constinit state current{};

void settle(int32_t code) {
  if (code >= 0)
    current.code = 0;
  else if (current.code != code)
    state_cause(code, {qverrnomesg(code)});
}

}  // namespace reason

char *word::put(char *to, const char *end) const {
  const uint64_t left = uint64_t(end - to);
  if (text_) {
    const uint64_t size = std::min<uint64_t>(std::strlen(text_), left);
    std::memcpy(to, text_, size);
    return to + size;
  }
  char digits[24];
  digits[0] = '-';
  const char *const digits_end = std::to_chars(digits + 1, digits + sizeof digits, magnitude_).ptr;
  const char *const begin = digits + !negative_;
  const uint64_t size = std::min<uint64_t>(uint64_t(digits_end - begin), left);
  std::memcpy(to, begin, size);
  return to + size;
}

int32_t because(int32_t code, words cause) {
  if (is_heard() && (!stands() || code < reason::current.code)) state_cause(code, cause);
  return code;
}

int32_t within(words place, int32_t code) {
  if (code >= 0 || !is_heard()) return code;
  if (!stands() || reason::current.code != code) state_cause(code, {qverrnomesg(code)});
  char inner[room];
  std::memcpy(inner, text, room);
  *put({reason::current.is_placed ? ", " : ": ", inner}, put(place, text)) = 0;
  reason::current.is_placed = true;
  return code;
}

}  // namespace qvim

extern "C" const char *qvimage_reason(void) { return qvim::reason::current.code ? qvim::text : ""; }
