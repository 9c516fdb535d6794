#include "log/values.hpp"

#include <bit>
#include <charconv>
#include <cstring>
#include <iterator>

static_assert(std::endian::native == std::endian::little);

namespace qvim {

namespace {

// A number has 12 columns for each 8 bytes, begun ones included: a blank, and the digits to the right.
constexpr uint64_t column = 12;
uint64_t columns(const value &v) { return column * std::max<uint64_t>(1, (v.size + 7) / 8); }

constexpr uint64_t short_number = 8, most_decimal = 1024;  // bytes
constexpr char digits[] = "0123456789ABCDEF";

template <class T, class... Format>
void put_number(text &out, T number, uint64_t width, Format... format) {
  char s[32];
  const char *end = std::to_chars(s, std::end(s), number, format...).ptr;
  out.put_right({s, size_t(end - s)}, width);
}

void put_size(text &out, const value &v) {
  out.put(" ");
  put_number(out, v.size, 6);
  out.put(" bytes: ");
}

void put_hexadecimal(text &out, const value &v) {
  out.put(" ");
  char *to = v.size <= UINT64_MAX / 4 ? out.extend(2 * v.size) : nullptr;
  for (uint64_t i = 0; to && i < v.size; i++) {
    *to++ = digits[v[i] >> 4];
    *to++ = digits[v[i] & 15];
  }
}

void put_string(text &out, const value &v) {
  out.put(" ");
  char *to = out.extend(v.size);
  for (uint64_t i = 0; to && i < v.size; i++) *to++ = char(v[i]);
}

uint64_t number_in(const value &v) {
  uint64_t number = 0;
  for (uint64_t i = 0; i < v.size; i++) number |= uint64_t{v[i]} << 8 * i;
  return number;
}

// Divides the number, its highest word first, by 10^9 until nothing is left: nine digits each time.
void put_long_decimal(text &out, const value &v) {
  constexpr uint32_t billion = 1000000000;
  constexpr int digits_each = 9;
  uint32_t words[most_decimal / 4] = {};
  char s[digits_each * (most_decimal / 4 + 30) + 1], *first = std::end(s);
  const uint64_t count = (v.size + 3) / 4;
  const bool negative = v[v.size - 1] & 0x80;
  uint32_t carry = negative;  // of the two's complement
  for (uint64_t i = 0; i < count; i++) {
    uint32_t word = 0;
    for (uint64_t j = 4 * i; j < 4 * i + 4; j++) {
      const uint8_t byte = j < v.size ? v[j] : negative ? 0xFF : 0;
      word |= uint32_t{byte} << 8 * (j % 4);
    }
    words[count - 1 - i] = (negative ? ~word : word) + carry;
    carry = carry && words[count - 1 - i] == 0;
  }
  for (uint64_t begin = 0; begin < count;) {
    uint64_t rest = 0;
    for (uint64_t i = begin; i < count; i++) {
      rest = rest << 32 | words[i];
      words[i] = uint32_t(rest / billion);
      rest %= billion;
    }
    for (int i = 0; i < digits_each; i++, rest /= 10) *--first = digits[rest % 10];
    while (begin < count && words[begin] == 0) begin++;
  }
  while (first < std::end(s) - 1 && *first == '0') first++;
  if (negative) *--first = '-';
  out.put_right({first, size_t(std::end(s) - first)}, columns(v) - 1);
}

void put_decimal(text &out, const value &v) {
  if (v.size > most_decimal) return put_hexadecimal(out, v);
  out.put(" ");
  if (v.size > short_number) return put_long_decimal(out, v);
  const uint64_t unused = 64 - 8 * v.size;
  put_number(out, v.size ? int64_t(number_in(v) << unused) >> unused : 0, columns(v) - 1);
}

void put_unsigned(text &out, const value &v) {
  uint64_t nibbles = 2 * v.size;
  const auto nibble = [&](uint64_t i) { return v[i / 2] >> 4 * (i % 2) & 15; };
  while (nibbles > 1 && nibble(nibbles - 1) == 0) nibbles--;
  nibbles = std::max<uint64_t>(nibbles, 1);
  out.put(" ");
  out.blanks(columns(v) - 2 - std::min(columns(v) - 2, nibbles));
  for (uint64_t i = nibbles; i-- > 0;) out.fill(v.size ? digits[nibble(i)] : '0', 1);
  out.put("h");
}

template <class T>
void put_real(text &out, const value &v) {
  T number;
  const uint64_t bits = number_in(v);
  std::memcpy(&number, &bits, sizeof number);
  out.put(" ");
  put_number(out, double(number), column - 1, std::chars_format::general, 6);
}

void put_floating(text &out, const value &v) {
  if (v.size == sizeof(float)) return put_real<float>(out, v);
  if (v.size == sizeof(double)) return put_real<double>(out, v);
  put_hexadecimal(out, v);
}

void put_bytes(text &out, const value &v) {
  if (v.size) return put_hexadecimal(out, v);
  out.put(" ");
  out.put_right("(NULL)", column - 1);
}

uint64_t string_length(const value &v) { return std::strlen(reinterpret_cast<const char *>(v.bytes)); }

}  // namespace

uint64_t put_value(text &out, const field &how, value v) {
  const uint64_t begin = out.size();
  const bool returned = how.has('r'), characters_below = how.has_characters();
  uint64_t dump = 0;
  bool shown = false;
  const auto show = [&](void (*put)(text &, const value &)) {
    put(out, v);
    shown = true;
  };
  v.reversed = how.has('z');
  if (returned) out.put("ret=");
  for (const char letter : how.letters) switch (small(letter)) {
      case 'l': v.size = string_length(v); break;
      case 'k': put_size(out, v); break;
      case 'd': show(put_decimal); break;
      case 'j': show(put_unsigned); break;
      case 'f': show(put_floating); break;
      case 'b':
        dump = out.size() + 1 - begin;  // behind a blank
        show(put_hexadecimal);
        break;
      case 's':
        if (!characters_below) show(put_string);
        break;
      default: break;
    }
  if (!shown) put_bytes(out, v);
  if (returned) {
    out.blanks(column - 1);
    out.put(": ");
  }
  return dump;
}

void put_characters(text &out, const field &how, value v) {
  v.reversed = how.has('z');
  if (how.has('l')) v.size = string_length(v);
  for (uint64_t i = 0; i < v.size; i++) {
    const char c = char(v[i]);
    const bool printable = c >= 0x20 && c <= 0x7E;
    const char pair[] = {printable ? c : '?', printable ? '^' : '?'};
    out.put({pair, sizeof pair});
  }
}

}  // namespace qvim
