// The strip codecs as their descriptions say, without any haste: strings in a map, bits in a list, neighbours
// looked up in the picture.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <qvimage/codec.h>

#include "tests/files/codec/arith_model.hpp"

namespace slow {

using bytes = std::vector<uint8_t>;

// Codes as they come, most significant bit first, the last byte filled with zero bits.
class code_stream {
 public:
  void put(int code, int width) {
    for (int bit = width - 1; bit >= 0; bit--) bits_.push_back(code >> bit & 1);
  }
  bytes packed() const {
    bytes result((bits_.size() + 7) / 8);
    for (size_t i = 0; i < bits_.size(); i++) result[i / 8] |= uint8_t(bits_[i] << (7 - i % 8));
    return result;
  }

 private:
  std::vector<bool> bits_;
};

class lzw_encoder {
 public:
  bytes encode(const bytes &input) {
    start();
    for (uint8_t byte : input) {
      if (table_.count(string_ + char(byte))) {
        string_ += char(byte);
        continue;
      }
      stream_.put(table_[string_], width());
      table_[string_ + char(byte)] = next_++;
      string_ = char(byte);
      if (next_ == 4094) {
        stream_.put(byte, width());
        start();
        resets++;
      }
    }
    if (!string_.empty()) {
      stream_.put(table_[string_], width());
      next_++;  // a decoder adds a string for this code too, and reads the last one accordingly
    }
    stream_.put(257, width());
    return stream_.packed();
  }

  int resets = 0;

 private:
  int width() const { return next_ < 512 ? 9 : next_ < 1024 ? 10 : next_ < 2048 ? 11 : 12; }
  void start() {
    stream_.put(256, width());
    next_ = 258;
    string_.clear();
    table_.clear();
    for (int i = 0; i < 256; i++) table_[std::string(1, char(i))] = i;
  }

  code_stream stream_;
  std::map<std::string, int> table_;
  std::string string_;
  int next_ = 258;
};

inline void pack_row(const uint8_t *row, size_t size, bytes &code) {
  for (size_t at = 0; at < size;) {
    const uint8_t *p = row + at;
    const size_t left = size - at, most = std::min<size_t>(left, 128);
    size_t n = 1;
    if (left > 1 && p[0] == p[1]) {
      while (n < most && p[n] == p[0]) n++;
      code.push_back(uint8_t(256 - (n - 1)));
      code.push_back(p[0]);
    } else {
      while (n < most && !(n + 2 < left && p[n] == p[n + 1] && p[n] == p[n + 2])) n++;
      code.push_back(uint8_t(n - 1));
      code.insert(code.end(), p, p + n);
    }
    at += n;
  }
}

inline bytes pack(const bytes &rows, size_t row) {
  bytes code;
  for (size_t at = 0; at < rows.size(); at += row) pack_row(rows.data() + at, row, code);
  return code;
}

// The predictive coder on whole pictures.
inline bytes predict(const bytes &b, const ptifprar_params &p) {
  const auto sample = [&](int x, int y, int s) {
    const size_t i = (size_t(y) * size_t(p.width) + size_t(x)) * size_t(p.samples) + size_t(s);
    return p.bits > 8 ? b[2 * i] | b[2 * i + 1] << 8 : b[i];
  };
  const int rows = int(b.size()) / (p.width * p.samples * (p.bits > 8 ? 2 : 1)), values = 1 << p.bits;
  std::vector<slow_model> models(size_t(p.samples), slow_model(values, std::max(2 * values, 16383)));
  slow_coder coder;
  for (int y = 0; y < rows; y++)
    for (int x = 0; x < p.width; x++)
      for (int s = 0; s < p.samples; s++) {
        const int left = x ? sample(x - 1, y, s) : values / 2;
        int prediction = left;
        if (x && y) prediction = ((sample(x, y - 1, s) + left) * 9 - sample(x - 1, y - 1, s) * 8 + 5) / 10;
        coder.encode(models[size_t(s)], (sample(x, y, s) - prediction) & (values - 1));
      }
  return coder.finish();
}

}  // namespace slow
