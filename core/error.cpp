// Error codes and their messages.
#include <cstdint>
#include <iterator>

#include <qvimage/error.h>

namespace {

constexpr const char *messages[] = {
#define QVIM_ERROR(number, name, text) text,
#include <qvimage/errors.inc>
#undef QVIM_ERROR
};
static_assert(std::size(messages) == 64);

constexpr int32_t codes[] = {
#define QVIM_ERROR(number, name, text) number,
#include <qvimage/errors.inc>
#undef QVIM_ERROR
};
constexpr bool in_order() {
  for (int32_t i = 0; i < int32_t(std::size(codes)); i++)
    if (codes[i] != -i - 1) return false;
  return true;
}
static_assert(in_order());

// A magnitude with this bit is that of the code below it.
constexpr uint32_t mark_bit = 0x4000;

}  // namespace

extern "C" const char *qverrnomesg(int32_t code) {
  if (code >= 0) return nullptr;
  uint32_t magnitude = 0u - uint32_t(code);
  if (magnitude & mark_bit) magnitude &= mark_bit - 1;
  const char *message = magnitude - 1 < std::size(messages) ? messages[magnitude - 1] : nullptr;
  return message ? message : "Unknown error";
}
