#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include "../text.hpp"
#include "audit.hpp"

namespace tool {

namespace {

constexpr int sof0 = 0xC0, sof1 = 0xC1, sof2 = 0xC2, sof15 = 0xCF, dht = 0xC4, jpg = 0xC8, dac = 0xCC,
              rst0 = 0xD0, rst7 = 0xD7, soi = 0xD8, eoi = 0xD9, sos = 0xDA, dqt = 0xDB, dri = 0xDD,
              app2 = 0xE2, tem = 0x01;
constexpr std::string_view more_pictures("MPF\0", 4);  // which stand behind the first one
constexpr unsigned block_values = 64;

// Codes of up to 16 bits, those of a length one after another.
struct huffman_table {
  std::array<uint8_t, 17> counts{};  // of codes of each length
  std::array<uint8_t, 256> symbols{};
};

template <class Table>
struct slot {
  std::optional<Table> table;
  uint64_t place = 0;  // of its segment
  bool used = false;
};
struct no_values {};  // quantisation tables: what they say makes no difference here

struct component {
  unsigned id, across, down, quantisation;  // blocks across and down in an MCU
  unsigned dc = 0, ac = 0;                  // tables of the scan
};

// The bits of a scan's data, up to the next marker.
class bits {
 public:
  bits(audited_file &file, uint64_t at) : file_(file), at_(at) {}
  // -1: the data are used up.
  int next() {
    if (left_ == 0) {
      const uint8_t byte = file_.byte(at_);
      if (at_ >= file_.size() || (byte == 0xFF && file_.byte(at_ + 1) != 0)) return -1;
      held_ = byte;
      left_ = 8;
      at_ += byte == 0xFF ? 2 : 1;
    }
    return held_ >> --left_ & 1;
  }
  bool skip(unsigned count) {
    while (count-- > 0) {
      if (next() < 0) return false;
    }
    return true;
  }
  // What fills the last byte belongs to no code.
  void leave_byte() { left_ = 0; }
  uint64_t place() const { return at_; }
  void jump(uint64_t place) { at_ = place; }

 private:
  audited_file &file_;
  uint64_t at_;
  unsigned held_ = 0, left_ = 0;
};

class auditor {
 public:
  explicit auditor(audited_file &file) : file_(file) { file_.big_endian = true; }

  void run() {
    if (file_.number(0, 2) != (0xFF00 | soi)) return;  // readers tell
    at_ = 2;
    while (!ended_ && next_marker()) segment();
    if (!ended_) file_.tell(file_.size(), "no EOI marker at the end");
    for (unsigned i = 0; i < 4; i++) {
      tell_unused(quantisation_[i], "quantisation", i);
      tell_unused(dc_[i], "DC Huffman", i);
      tell_unused(ac_[i], "AC Huffman", i);
    }
    if (ended_ && !has_more_pictures_) audit_rest();
  }

 private:
  // Goes to the byte behind the next marker.
  bool next_marker() {
    const uint64_t begin = at_;
    while (at_ < file_.size() && (file_.byte(at_) != 0xFF || file_.byte(at_ + 1) == 0)) at_++;
    if (at_ > begin && at_ < file_.size())
      file_.tell(begin, formatted("%llu bytes that belong to no segment",
                                  static_cast<unsigned long long>(at_ - begin)));
    while (file_.byte(at_) == 0xFF) at_++;
    if (at_ >= file_.size()) return false;
    marker_ = file_.byte(at_++);
    return true;
  }

  void segment() {
    const uint64_t place = at_ - 2;
    if (marker_ == eoi) {
      ended_ = true;
      return;
    }
    if (marker_ == tem) return;
    if (marker_ >= rst0 && marker_ <= soi)
      return file_.tell(place, formatted("marker FF%02X outside of a scan", marker_));
    const uint64_t length = file_.number(at_, 2);
    if (length < 2 || length > file_.size() - at_) {
      file_.tell(place, formatted("segment FF%02X of %llu bytes does not fit into the file", marker_,
                                  static_cast<unsigned long long>(length)));
      at_ = file_.size();
      return;
    }
    const uint64_t begin = at_ + 2, end = at_ + length;
    at_ = end;
    if (marker_ == dqt) return quantisation(place, begin, end);
    if (marker_ == dht) return huffman(place, begin, end);
    if (marker_ == dri) restart_ = file_.number(begin, 2);
    if (marker_ == app2 && file_.text(begin, more_pictures.size()) == more_pictures)
      has_more_pictures_ = true;
    if (marker_ == sos) return scan(place, begin, end);
    if (marker_ >= sof0 && marker_ <= sof15 && marker_ != jpg && marker_ != dac) frame(place, begin, end);
  }

  // --- tables

  template <class Table>
  void put(slot<Table> &place, const Table &table, uint64_t at) {
    place = {table, at, false};
  }
  template <class Table>
  void tell_unused(const slot<Table> &one, const char *kind, unsigned number) {
    if (one.table && !one.used)
      file_.tell(one.place, formatted("no scan uses the %s table %u", kind, number));
  }
  template <class Table>
  void use(slot<Table> &one, const char *kind, unsigned number, uint64_t at) {
    one.used = true;
    if (!one.table) file_.tell(at, formatted("the scan's %s table %u is not there", kind, number));
  }

  void quantisation(uint64_t place, uint64_t at, uint64_t end) {
    while (at < end) {
      const unsigned which = file_.byte(at);
      at += 1 + block_values * (which >> 4 != 0 ? 2 : 1);
      if (at > end || (which & 15) > 3) return file_.tell(place, "a quantisation table that is none");
      put(quantisation_[which & 15], {}, place);
    }
  }

  void huffman(uint64_t place, uint64_t at, uint64_t end) {
    while (at < end) {
      const unsigned which = file_.byte(at++);
      huffman_table table;
      unsigned codes = 0;
      for (unsigned length = 1; length <= 16; length++) codes += table.counts[length] = file_.byte(at++);
      if (codes > table.symbols.size() || at + codes > end || which >> 4 > 1 || (which & 15) > 3)
        return file_.tell(place, "a Huffman table that is none");
      for (unsigned i = 0; i < codes; i++) table.symbols[i] = file_.byte(at++);
      put((which >> 4 != 0 ? ac_ : dc_)[which & 15], table, place);
    }
  }

  // --- frame and scan

  void frame(uint64_t place, uint64_t at, uint64_t end) {
    process_ = marker_;
    height_ = file_.number(at + 1, 2);
    width_ = file_.number(at + 3, 2);
    const unsigned count = file_.byte(at + 5);
    if (end - at != 6 + 3 * count)
      return file_.tell(place, "the frame's segment has another length than it tells");
    count_ = count > parts_.size() ? 0 : count;
    for (unsigned i = 0; i < count_; i++) {
      const uint64_t part = at + 6 + 3 * i;
      const unsigned sampling = file_.byte(part + 1);
      parts_[i] = {file_.byte(part), sampling >> 4, sampling & 15, file_.byte(part + 2) & 3U};
      if (sampling >> 4 == 0 || (sampling & 15) == 0) count_ = 0;
    }
  }

  void scan(uint64_t place, uint64_t at, uint64_t end) {
    const unsigned count = file_.byte(at);
    const uint64_t first = file_.number(at + 1 + 2 * count, 1), last = file_.number(at + 2 + 2 * count, 1);
    if (end - at != 4 + 2 * count)
      return file_.tell(place, "the scan's segment has another length than it tells");
    std::vector<component> parts;
    for (unsigned i = 0; i < count; i++) {
      const unsigned id = file_.byte(at + 1 + 2 * i), tables = file_.byte(at + 2 + 2 * i);
      for (component &part : parts_) {
        if (&part >= &parts_[count_] || part.id != id) continue;
        part.dc = tables >> 4 & 3;
        part.ac = tables & 3;
        parts.push_back(part);
        use(quantisation_[part.quantisation], "quantisation", part.quantisation, place);
      }
    }
    const bool coded_by_huffman = process_ >= sof0 && process_ <= sof2;
    for (const component &part : parts) {
      if (coded_by_huffman && first == 0) use(dc_[part.dc], "DC Huffman", part.dc, place);
      if (coded_by_huffman && last > 0) use(ac_[part.ac], "AC Huffman", part.ac, place);
    }
    if (parts.size() != count || parts.empty()) return skip_scan();
    const bool sequential = process_ == sof0 || process_ == sof1;
    if (!sequential || width_ == 0 || height_ == 0 || !count_units(parts)) return skip_scan();
  }

  // To the next marker that ends it.
  void skip_scan() {
    while (at_ < file_.size() && (file_.byte(at_) != 0xFF || file_.byte(at_ + 1) == 0 ||
                                  (file_.byte(at_ + 1) >= rst0 && file_.byte(at_ + 1) <= rst7)))
      at_++;
  }

  static uint64_t divided(uint64_t value, uint64_t by) { return (value + by - 1) / by; }

  // Whether a scan has as many MCUs as the frame tells of, and nothing else. False where it cannot be known,
  // or something else was wrong.
  bool count_units(const std::vector<component> &parts) {
    unsigned across = 1, down = 1;
    for (unsigned i = 0; i < count_; i++) {
      across = std::max(across, parts_[i].across);
      down = std::max(down, parts_[i].down);
    }
    for (const component &part : parts) {
      if (!dc_[part.dc].table || !ac_[part.ac].table) return false;
    }
    const bool alone = parts.size() == 1;
    const component &one = parts.front();
    const uint64_t columns =
        alone ? divided(divided(width_ * one.across, across), 8) : divided(width_, 8 * across);
    const uint64_t rows = alone ? divided(divided(height_ * one.down, down), 8) : divided(height_, 8 * down);
    const uint64_t units = columns * rows;
    bits data(file_, at_);
    for (uint64_t unit = 0; unit < units; unit++) {
      if (restart_ != 0 && unit != 0 && unit % restart_ == 0 && !restarted(data, unit, units)) return false;
      for (const component &part : parts) {
        for (unsigned i = alone ? 1 : part.across * part.down; i > 0; i--) {
          if (block(data, part)) continue;
          file_.tell(data.place(), formatted("MCU %llu of %llu is broken or missing",
                                             static_cast<unsigned long long>(unit + 1),
                                             static_cast<unsigned long long>(units)));
          return false;
        }
      }
    }
    const uint64_t end = data.place();
    at_ = end;
    skip_scan();
    if (at_ > end)
      file_.tell(
          end, formatted("%llu bytes behind the last of %llu MCUs",
                         static_cast<unsigned long long>(at_ - end), static_cast<unsigned long long>(units)));
    return true;
  }

  bool restarted(bits &data, uint64_t unit, uint64_t units) {
    data.leave_byte();
    const uint64_t expected = 0xFF00 | (static_cast<uint64_t>(rst0) + (unit / restart_ - 1) % 8);
    if (file_.number(data.place(), 2) != expected) {
      file_.tell(data.place(), formatted("no restart marker FF%02llX before MCU %llu of %llu",
                                         static_cast<unsigned long long>(expected & 0xFF),
                                         static_cast<unsigned long long>(unit + 1),
                                         static_cast<unsigned long long>(units)));
      return false;
    }
    data.jump(data.place() + 2);
    return true;
  }

  static int symbol(bits &data, const huffman_table &table) {
    unsigned code = 0, first = 0, index = 0;
    for (unsigned length = 1; length <= 16; length++) {
      const int bit = data.next();
      if (bit < 0) return -1;
      code |= static_cast<unsigned>(bit);
      const unsigned count = table.counts[length];
      if (code - first < count) return table.symbols[index + code - first];
      index += count;
      first = (first + count) << 1;
      code <<= 1;
    }
    return -1;
  }

  bool block(bits &data, const component &part) {
    const int dc = symbol(data, *dc_[part.dc].table);
    if (dc < 0 || dc > 16 || !data.skip(static_cast<unsigned>(dc))) return false;
    for (unsigned k = 1; k < block_values; k++) {
      const int ac = symbol(data, *ac_[part.ac].table);
      if (ac < 0) return false;
      const auto zeros = static_cast<unsigned>(ac) >> 4, length = static_cast<unsigned>(ac) & 15;
      if (length == 0 && zeros != 15) return true;
      k += zeros;
      if (k >= block_values || !data.skip(length)) return false;
    }
    return true;
  }

  // Cameras fill files up.
  void audit_rest() {
    const uint8_t filler = file_.byte(at_);
    uint64_t at = at_;
    if (filler == 0 || filler == 0xFF)
      while (at < file_.size() && file_.byte(at) == filler) at++;
    if (at < file_.size()) file_.tell_rest(at_, "the EOI marker");
  }

  audited_file &file_;
  uint64_t at_ = 0;
  int marker_ = 0, process_ = 0;
  bool ended_ = false, has_more_pictures_ = false;
  uint64_t width_ = 0, height_ = 0, restart_ = 0;
  unsigned count_ = 0;
  std::array<component, 4> parts_{};
  std::array<slot<no_values>, 4> quantisation_;
  std::array<slot<huffman_table>, 4> dc_, ac_;
};

}  // namespace

void audit_jpeg(audited_file &file) { auditor(file).run(); }

}  // namespace tool
