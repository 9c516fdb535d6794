// The lines of the log, put together as text.
#pragma once

#include <cstdarg>
#include <cstdint>

#include "log/text.hpp"

namespace qvim {

// A value of a traced call.
struct argument {
  const void *bytes;
  uint64_t size;
};

// What a traced call passes beside its texts: a return value, then values, as many as there are before a null
// pointer, once or twice.
class arguments {
 public:
  explicit arguments(const argument *fixed) : fixed_(fixed) {}
  explicit arguments(va_list list) { va_copy(list_, list); }
  arguments(const arguments &other) : fixed_(other.fixed_) {
    if (!fixed_) va_copy(list_, const_cast<arguments &>(other).list_);
  }
  arguments &operator=(const arguments &) = delete;
  ~arguments() {
    if (!fixed_) va_end(list_);
  }

  int32_t returned() { return va_arg(list_, int32_t); }
  argument next() {
    if (fixed_) return *fixed_++;
    const void *bytes = va_arg(list_, const void *);
    return {bytes, bytes ? va_arg(list_, uint32_t) : 0};
  }
  void pass_list() {
    while (next().bytes) {
    }
  }

 private:
  const argument *fixed_ = nullptr;
  va_list list_;
};

// Milliseconds since 1970.
uint64_t milliseconds();

void put_time(text &out, uint64_t ms);
// The empty line and the two that say when the library was built and what time it is.
void put_header(text &out, uint64_t ms);
// A traced call: with its second line, if there is one. `fields` begins with the fields themselves.
void put_call(text &out, uint64_t ms, const char *function, const char *label, const char *fields,
              arguments values);

}  // namespace qvim
