// Patterns of numbered files: any text and number give the name of a slow model; a series over any pattern
// answers a code for each of its frames where no file is there.
#include <algorithm>
#include <memory>
#include <string>

#include <qvimage/error.h>
#include <qvimage/memory.h>
#include <qvimage/series.h>
#include <qvimage/utility.h>

#include "fuzz/input.hpp"

namespace {

int32_t number_of(fuzz_input &choices) {
  constexpr int32_t ends[] = {0, 1, 9, 10, 99, 100, INT32_MAX - 1, INT32_MAX, -1, INT32_MIN};
  const uint32_t which = choices.up_to(11);
  return which < 10 ? ends[which] : int32_t(choices.up_to(65535));
}

// What pathseq makes of a name: -1, or the name and whether all digits had a place.
int32_t model(std::string *name, int32_t n, char place) {
  if (name->empty() || n < 0) return -1;
  std::string digits = n == 0 ? "" : std::to_string(n);  // 0 needs no place
  for (size_t i = name->size(); i-- > 0;) {
    if ((*name)[i] != place) continue;
    (*name)[i] = digits.empty() ? '0' : digits.back();
    if (!digits.empty()) digits.pop_back();
  }
  return digits.empty();
}

void check_name(const std::string &text, int32_t n, char place) {
  // With nothing behind it.
  const std::unique_ptr<char[]> name(new char[text.size() + 1]);
  text.copy(name.get(), text.size());
  name[text.size()] = 0;
  std::string expected = text;
  require(pathseqcountrc(name.get(), place) == int32_t(std::count(text.begin(), text.end(), place)));
  require(pathseq(name.get(), n, place) == model(&expected, n, place));
  require(expected == name.get());
}

void check_series(const std::string &text, int32_t first, int32_t last) {
  const int32_t size[2] = {2, 2};
  uint8_t pixels[4] = {};
  qvimage frame;
  qvimage3 image;
  seqhandle *h = nullptr;
  require(qvimage_memory(&frame, pixels, size, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0) == 0);
  const std::string pattern = "/no such folder/" + text;
  const int32_t code = qvimage3_bufpgmseq(&h, &image, &frame, nullptr, pattern.c_str(), 0, first, last, 1, 0);
  if (code == 0) {
    for (const int64_t number : {int64_t{first}, int64_t{last}}) {
      const int32_t loaded = int32_t(image.aeiou(&image, 'p', int32_t(number - first), 0, nullptr));
      require(loaded == (number < 0 ? QVERR_USAGE : QVERR_NOTFOUND));
    }
    require(qvimage3_bufpgmseqdone(&h, &image) == 0);
  } else {
    require(code == QVERR_USAGE && h == nullptr);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_input choices(data, size);
  const int32_t first = number_of(choices), last = number_of(choices);
  const char place = choices.up_to(3) == 0 ? '#' : '?';
  const std::vector<uint8_t> rest = choices.rest();
  const std::string text = std::string(rest.begin(), rest.end()).c_str();
  check_name(text, first, place);
  check_series(text, first, last);
  return 0;
}
