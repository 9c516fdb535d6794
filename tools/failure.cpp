#include "failure.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include <qvimage/error.h>

#include "text.hpp"

namespace tool {

failure::failure(std::string subject, int32_t error, std::string what_exactly)
    : std::runtime_error(what_exactly),
      file(std::move(subject)),
      code(error),
      detail(std::move(what_exactly)) {}

void check(int32_t code, const std::string &file, const std::string &detail) {
  if (code < 0) throw failure(file, code, detail);
}

std::string system_detail(int32_t code, const std::string &otherwise) {
  const bool from_system = code == QVERR_IO || code == QVERR_NOTFOUND || code == QVERR_NOTCREATED;
  return from_system && errno != 0 ? otherwise + ": " + std::strerror(errno) : otherwise;
}

std::string reason(int32_t code, const std::string &otherwise) {
  const std::string words = qvimage_reason();
  return words.empty() ? system_detail(code, otherwise) : words;
}

void report(const failure &failure) {
  std::fflush(stdout);
  std::fprintf(stderr, "qvimage: %s: %s (code %d)%s%s\n", printable(failure.file).c_str(),
               qverrnomesg(failure.code), failure.code, failure.detail.empty() ? "" : ": ",
               printable(failure.detail).c_str());
}

}  // namespace tool
