// JSON, printed as it is made.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

class json {
 public:
  explicit json(std::FILE *out) : out_(out) {}

  void begin_array(std::string_view key = {}) { begin(key, '[', ']'); }
  void begin_object(std::string_view key = {}) { begin(key, '{', '}'); }
  void end();

  void text(std::string_view key, std::string_view value);  // bytes that are not UTF-8 become U+FFFD
  void number(std::string_view key, int64_t value);
  void number(std::string_view key, double value);
  void truth(std::string_view key, bool value);

 private:
  void begin(std::string_view key, char opening, char closing);
  void next(std::string_view key);  // comma, new line, key
  void print(std::string_view raw) { std::fwrite(raw.data(), 1, raw.size(), out_); }

  struct level {
    char closing;
    bool empty = true;
  };
  std::FILE *const out_;
  std::vector<level> levels_;
};

}  // namespace tool
