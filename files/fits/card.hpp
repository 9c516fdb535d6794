// The cards of a FITS header: 80 characters each.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include <qvimage/bufio.h>

namespace qvim::fits {

inline constexpr uint64_t card_bytes = 80, block_bytes = 2880;

// To the end of the block that a position lies in; positions between blocks stay.
constexpr uint64_t block_end(uint64_t position) {
  return (position + block_bytes - 1) / block_bytes * block_bytes;
}

// A number as text, the same in every locale.
class number_text {
 public:
  explicit number_text(uint64_t number);
  number_text(double number, int decimals);  // empty unless finite
  operator std::string_view() const { return {text_, length_}; }

 private:
  char text_[328];  // the largest double has 309 digits before the point
  size_t length_ = 0;
};

// Keywords of axes have the axis's number, from 1 to 9, in place of a '?'.
struct keyword {
  std::string_view text;
  unsigned axis = 0;
};

// One card to be written. Those whose value does not fit are left out of the header: false.
class card {
 public:
  card() { text_.fill(' '); }

  bool set_value(keyword k, std::string_view value);   // ends in column 30
  bool set_string(keyword k, std::string_view value);  // in quotes from column 11
  // Behind a blank keyword: a name in quotes, and a number that ends in column 40.
  bool set_annotation(keyword k, std::string_view value);
  bool set_dimension(keyword k, std::string_view value);
  void set_end();
  // As much of a comment as fits, in quotes; what is left of it stays in the view.
  void set_comment(keyword k, std::string_view &text);

  std::string_view text() const { return {text_.data(), text_.size()}; }

 private:
  void put(size_t column, std::string_view text);
  void put_keyword(size_t column, keyword k);
  bool put_quoted(size_t column, std::string_view value, size_t most);

  std::array<char, card_bytes> text_;
};

// One card that was read.
class card_view {
 public:
  explicit card_view(const char (&text)[card_bytes]) : text_(text, card_bytes) {}

  std::string_view keyword() const;  // without trailing blanks
  bool has_value() const { return text_[8] == '='; }
  // A number, or a word as T: without blanks and comment.
  std::string_view value() const;
  // A whole number that is not negative; false for anything else.
  bool get_unsigned(uint64_t *result) const;
  bool get_real(double *result) const;
  // A string with its quotes undone goes to a place of card_bytes, and ends with a zero: its length, or -1
  // for a card without one.
  int32_t get_string(char *to) const;
  int32_t get_comment(char *to) const;

  // Annotations of axes: the number of the axis, 0 for other cards; which; their value.
  unsigned annotated_axis() const;
  std::string_view annotation() const { return text_.substr(15, 3); }
  int32_t get_annotation_string(char *to) const { return unquote(text_.substr(20), to); }
  bool get_dimension(double *result) const;

 private:
  static int32_t unquote(std::string_view quoted, char *to);

  std::string_view text_;
};

}  // namespace qvim::fits
