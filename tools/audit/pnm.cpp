#include <array>
#include <optional>

#include "../text.hpp"
#include "audit.hpp"

namespace tool {

namespace {

struct header {
  char kind;
  uint64_t width, height, maximum;
  uint64_t end;  // where the pixels begin

  uint64_t sample_bytes() const { return maximum > 255 ? 2 : 1; }
  uint64_t frame_bytes() const {
    if (kind == '4') return (width + 7) / 8 * height;
    uint64_t bytes;  // sides have 31 bits
    return __builtin_mul_overflow(width * height, (kind == '6' ? 3 : 1) * sample_bytes(), &bytes) ? UINT64_MAX
                                                                                                  : bytes;
  }
};

class header_reader {
 public:
  header_reader(audited_file &file, uint64_t at) : file_(file), begin_(at), at_(at) {}
  uint64_t bytes_read() const { return at_ - begin_; }

  std::optional<header> read() {
    const char kind = static_cast<char>(file_.byte(at_ + 1));
    if (file_.byte(at_) != 'P' || kind < '4' || kind > '6') return std::nullopt;
    at_ += 2;
    std::array<uint64_t, 3> numbers = {0, 0, kind == '4' ? 1U : 0U};  // of bits the maximum is 1
    for (size_t i = 0; i < (kind == '4' ? 2U : 3U); i++) {
      if (!pass_blanks() || !take_number(numbers[i])) return std::nullopt;
    }
    if (!is_blank()) return std::nullopt;
    const auto [width, height, maximum] = numbers;
    if (width == 0 || height == 0 || maximum == 0 || maximum > UINT16_MAX) return std::nullopt;
    return header{kind, width, height, maximum, at_ + 1};
  }

 private:
  bool is_blank() {
    const uint8_t byte = file_.byte(at_);
    return at_ < file_.size() && (byte == ' ' || (byte >= '\t' && byte <= '\r'));
  }
  // At least one, and comments.
  bool pass_blanks() {
    const uint64_t begin = at_;
    for (;;) {
      if (file_.byte(at_) == '#') {
        while (at_ < file_.size() && file_.byte(at_) != '\n' && file_.byte(at_) != '\r') at_++;
      } else if (is_blank()) {
        at_++;
      } else {
        return at_ > begin;
      }
    }
  }
  bool take_number(uint64_t &number) {
    const uint64_t begin = at_;
    while (file_.byte(at_) >= '0' && file_.byte(at_) <= '9' && number <= INT32_MAX)
      number = 10 * number + (file_.byte(at_++) - '0');
    return at_ > begin && number <= INT32_MAX;
  }

  audited_file &file_;
  const uint64_t begin_;
  uint64_t at_;
};

// The first of a frame's values that no header allows.
void audit_values(audited_file &file, const header &head, uint64_t begin, uint64_t bytes) {
  const auto width = static_cast<unsigned>(head.sample_bytes());
  const bool all_allowed = head.kind == '4' || head.maximum == UINT8_MAX || head.maximum == UINT16_MAX;
  for (uint64_t at = begin; !all_allowed && at < begin + bytes; at += width) {
    const uint64_t value = file.number(at, width);
    if (value <= head.maximum) continue;
    file.tell(at,
              formatted("the value %llu is above the maximum %llu", static_cast<unsigned long long>(value),
                        static_cast<unsigned long long>(head.maximum)));
    return;
  }
}

}  // namespace

// Frames follow each other behind one header, or, from other programs, each behind a header of its own.
void audit_pnm(audited_file &file) {
  file.big_endian = true;
  auto head = header_reader(file, 0).read();
  if (!head) return;  // readers tell why
  uint64_t at = head->end;
  uint64_t mistaken = 0;  // bytes that began like a header: not looked at again and again for ever
  do {
    const uint64_t frame = head->frame_bytes(), left = file.size() - at;
    if (frame > left) {
      file.tell(file.size(), "the frame that begins at byte " + std::to_string(at) + " ends after " +
                                 std::to_string(left) + " of " + std::to_string(frame) + " bytes");
      return;
    }
    audit_values(file, *head, at, frame);
    at += frame;
    if (mistaken > file.size()) continue;
    header_reader reader(file, at);
    if (const auto next = reader.read()) {
      head = next;
      at = next->end;
    } else {
      mistaken += reader.bytes_read();
    }
  } while (at < file.size());
}

}  // namespace tool
