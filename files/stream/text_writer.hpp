// Text into a stream, at its position. Numbers look the same in every locale.
#pragma once

#include <charconv>
#include <cstdint>
#include <string_view>

#include "files/stream/bufio.hpp"

namespace qvim {

class text_writer {
 public:
  explicit text_writer(bufio &stream) : stream_(stream) {}

  text_writer &put(std::string_view text) {
    write_bytes(stream_, text.data(), text.size());
    return *this;
  }
  text_writer &put(uint64_t number) {
    char text[20];
    return put({text, std::to_chars(text, text + sizeof text, number).ptr});
  }
  // With so many digits behind the point, at most 16. The number is finite.
  text_writer &put(double number, int decimals) {
    char text[328];  // the largest has 309 digits before it
    return put(
        {text, std::to_chars(text, text + sizeof text, number, std::chars_format::fixed, decimals).ptr});
  }

 private:
  bufio &stream_;
};

}  // namespace qvim
