// The cards of a FITS header.
#include "files/fits/card.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace qvim::fits {

namespace {

// Columns, from 0.
constexpr size_t equals_column = 8, value_column = 10, value_end = 30;
constexpr size_t annotation_column = 10, annotation_value = 20, annotation_end = 40;
constexpr size_t most_value = value_end - value_column;    // characters
constexpr size_t most_string = card_bytes - value_column;  // with quotes
constexpr size_t most_annotation = card_bytes - annotation_value;
constexpr size_t most_dimension = annotation_end - annotation_value;

std::string_view without_blanks(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

// The whole text as a number, with the exponents of FORTRAN.
bool parse_real(std::string_view text, double *result) {
  char digits[card_bytes];
  if (text.empty() || text.size() > sizeof digits) return false;
  if (text.front() == '+') text.remove_prefix(1);
  std::transform(text.begin(), text.end(), digits, [](char c) { return c == 'D' || c == 'd' ? 'E' : c; });
  const auto [end, error] = std::from_chars(digits, digits + text.size(), *result);
  return error == std::errc() && end == digits + text.size() && std::isfinite(*result);
}

}  // namespace

number_text::number_text(uint64_t number) {
  length_ = size_t(std::to_chars(text_, text_ + sizeof text_, number).ptr - text_);
}

number_text::number_text(double number, int decimals) {
  if (!std::isfinite(number)) return;
  length_ = size_t(
      std::to_chars(text_, text_ + sizeof text_, number, std::chars_format::fixed, decimals).ptr - text_);
}

void card::put(size_t column, std::string_view text) { std::copy(text.begin(), text.end(), &text_[column]); }

void card::put_keyword(size_t column, keyword k) {
  put(column, k.text);
  std::replace(&text_[column], &text_[column] + k.text.size(), '?', char('0' + k.axis));
}

bool card::put_quoted(size_t column, std::string_view value, size_t most) {
  const size_t quotes = size_t(std::count(value.begin(), value.end(), '\''));
  if (value.size() + quotes + 2 > most) return false;
  text_[column++] = '\'';
  for (char c : value) {
    if (c == '\'') text_[column++] = c;
    text_[column++] = c >= ' ' && c <= '~' ? c : '?';  // headers hold nothing else
  }
  text_[column] = '\'';
  return true;
}

bool card::set_value(keyword k, std::string_view value) {
  put_keyword(0, k);
  text_[equals_column] = '=';
  if (value.empty() || value.size() > most_value) return false;
  put(value_end - value.size(), value);
  return true;
}

bool card::set_string(keyword k, std::string_view value) {
  put_keyword(0, k);
  text_[equals_column] = '=';
  return put_quoted(value_column, value, most_string);
}

bool card::set_annotation(keyword k, std::string_view value) {
  put_keyword(annotation_column, k);
  text_[annotation_column + k.text.size()] = '=';
  return put_quoted(annotation_value, value, most_annotation);
}

bool card::set_dimension(keyword k, std::string_view value) {
  put_keyword(annotation_column, k);
  text_[annotation_column + k.text.size()] = '=';
  if (value.empty() || value.size() > most_dimension) return false;
  put(annotation_end - value.size(), value);
  return true;
}

void card::set_end() { put(0, "END"); }

void card::set_comment(keyword k, std::string_view &text) {
  put_keyword(0, k);
  size_t taken = 0, room = most_string - 2;
  while (taken < text.size()) {
    const size_t needs = text[taken] == '\'' ? 2 : 1;
    if (needs > room) break;
    room -= needs;
    taken++;
  }
  put_quoted(value_column, text.substr(0, taken), most_string);
  text.remove_prefix(taken);
}

std::string_view card_view::keyword() const { return without_blanks(text_.substr(0, equals_column)); }

std::string_view card_view::value() const {
  const std::string_view rest = text_.substr(equals_column + 1);
  return without_blanks(rest.substr(0, rest.find('/')));
}

bool card_view::get_unsigned(uint64_t *result) const {
  const std::string_view text = value();
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *result);
  return !text.empty() && error == std::errc() && end == text.data() + text.size();
}

bool card_view::get_real(double *result) const { return parse_real(value(), result); }

int32_t card_view::unquote(std::string_view quoted, char *to) {
  quoted = without_blanks(quoted);
  if (quoted.empty() || quoted.front() != '\'') return -1;
  size_t length = 0;
  for (size_t i = 1; i < quoted.size(); i++) {
    if (quoted[i] == '\'' && (++i == quoted.size() || quoted[i] != '\'')) break;
    to[length++] = quoted[i];
  }
  while (length > 0 && to[length - 1] == ' ') length--;
  to[length] = 0;
  return int32_t(length);
}

int32_t card_view::get_string(char *to) const {
  return has_value() ? unquote(text_.substr(equals_column + 1), to) : -1;
}

// In quotes from our writer, without from others.
int32_t card_view::get_comment(char *to) const {
  if (const int32_t length = unquote(text_.substr(equals_column), to); length >= 0) return length;
  const std::string_view text = without_blanks(text_.substr(equals_column));
  text.copy(to, text.size());
  to[text.size()] = 0;
  return int32_t(text.size());
}

unsigned card_view::annotated_axis() const {
  const bool names_axis =
      keyword().empty() && text_.substr(annotation_column, 4) == "AXIS" && text_[18] == '=';
  const char digit = text_[annotation_column + 4];
  return names_axis && digit >= '1' && digit <= '9' ? unsigned(digit - '0') : 0;
}

bool card_view::get_dimension(double *result) const {
  const std::string_view rest = text_.substr(annotation_value - 1);
  return parse_real(without_blanks(rest.substr(0, rest.find('/'))), result);
}

}  // namespace qvim::fits
