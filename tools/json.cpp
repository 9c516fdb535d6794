#include "json.hpp"

#include <cmath>

#include "text.hpp"

namespace tool {

namespace {

std::string quoted(std::string_view text) {
  std::string out = "\"";
  while (!text.empty()) {
    const size_t length = utf8_length(text);
    const auto byte = static_cast<unsigned char>(text[0]);
    if (length == 0) {
      out += "\\ufffd";
    } else if (byte < 0x20 || byte == 0x7F) {
      out += formatted("\\u%04x", byte);
    } else {
      if (byte == '"' || byte == '\\') out += '\\';
      out += text.substr(0, length);
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return out + '"';
}

}  // namespace

void json::next(std::string_view key) {
  if (levels_.empty()) return;
  print(levels_.back().empty ? "\n" : ",\n");
  levels_.back().empty = false;
  print(std::string(2 * levels_.size(), ' '));
  if (!key.empty()) print(quoted(key) + ": ");
}

void json::begin(std::string_view key, char opening, char closing) {
  next(key);
  print({&opening, 1});
  levels_.push_back({closing});
}

void json::end() {
  const level ended = levels_.back();
  levels_.pop_back();
  if (!ended.empty) print(std::string("\n").append(2 * levels_.size(), ' '));
  print({&ended.closing, 1});
  if (levels_.empty()) print("\n");
}

void json::text(std::string_view key, std::string_view value) {
  next(key);
  print(quoted(value));
}

void json::number(std::string_view key, int64_t value) {
  next(key);
  print(formatted("%lld", static_cast<long long>(value)));
}

void json::number(std::string_view key, double value) {
  next(key);
  print(std::isfinite(value) ? formatted("%.17g", value) : "null");
}

void json::truth(std::string_view key, bool value) {
  next(key);
  print(value ? "true" : "false");
}

}  // namespace tool
