// Random operations on a stream, in a file and in memory, against an array of bytes.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <qvimage/bufio.h>

#include "fuzz/input.hpp"
#include "fuzz/scratch_file.hpp"

namespace {

using bytes = std::vector<uint8_t>;
constexpr uint64_t longest = 20000;

// What the stream should be.
struct model {
  bytes data;
  uint64_t pos = 0, tare = 0;
  bool past_end = false;
  struct queued {
    uint64_t at;
    bytes data;
  };
  std::vector<queued> queue;

  void write(uint64_t at, const bytes &b) {
    if (b.empty()) return;
    data.resize(std::max(data.size(), at + b.size()));
    std::copy(b.begin(), b.end(), data.begin() + long(at));
  }
  bytes read(uint64_t at, uint64_t count) const {
    bytes b(count);
    for (uint64_t i = 0; i < count && at + i < data.size(); i++) b[i] = data[at + i];
    return b;
  }
  uint64_t left() const { return pos < data.size() ? data.size() - pos : 0; }
  void flush_queue() {
    for (const queued &q : queue) write(q.at, q.data);
    queue.clear();
  }
};

class session {
 public:
  session(bufio &b, fuzz_input &input, const bytes &start) : b_(b), input_(input) { m_.data = start; }

  void step() {
    switch (input_.byte() % 18) {
      case 0:
      case 1: m_.pos = b_.pos = input_.up_to(uint32_t(std::min(longest, b_.filelen + 300))); break;
      case 2:
      case 3: read(count()); break;
      case 4:
      case 5: write(count()); break;
      case 6: put_byte(); break;
      case 7: get_byte(); break;
      case 8: step_back(); break;
      case 9: point_for_reading(); break;
      case 10: point_for_writing(); break;
      case 11: take_for_reading(); break;
      case 12: take_for_writing(); break;
      case 13: truncate(); break;
      case 14: queue(); break;
      case 15: bufio_queueflush(&b_), m_.flush_queue(); break;
      case 16: move_tare(); break;
      case 17: make_resident(); break;
    }
    compare();
  }
  const bytes &finish() {
    m_.flush_queue();
    return m_.data;
  }

 private:
  uint64_t count() { return input_.up_to(input_.byte() % 2 ? 3000 : 20); }
  bytes fresh(uint64_t n) {
    bytes b(n);
    for (uint8_t &v : b) v = uint8_t(++stamp_ * 37 | 1);  // never 0, so that gaps stand out
    return b;
  }
  void compare() {
    require(b_.pos == m_.pos && b_.tare == m_.tare && b_.filelen == m_.data.size());
    require(bufio_err(&b_) == (m_.past_end ? -10 : 0));
    if (input_.byte() % 4) return;
    bufio_errclear(&b_);
    m_.past_end = false;
  }

  void read(uint64_t n) {
    bytes got(n, 0xEE);
    got.reserve(1);  // null data would mean something else
    bufio_io(&b_, got.data(), n, 'r');
    require(got == m_.read(m_.pos, n));
    m_.past_end |= n > m_.left();
    m_.pos += n;
  }
  void write(uint64_t n) {
    bytes b = fresh(n);
    b.reserve(1);
    bufio_io(&b_, b.data(), n, 'w');
    wrote(b);
  }
  void wrote(const bytes &b) {
    m_.write(m_.pos, b);
    m_.pos += b.size();
  }
  void put_byte() {
    const bytes b = fresh(1);
    bufio_putc(&b_, b[0]);
    wrote(b);
  }
  void get_byte() {
    const bool inside = m_.left() > 0;
    require(bufio_getc(&b_) == (inside ? m_.data[m_.pos] : -1));
    m_.pos += inside;
  }
  void step_back() {
    require(bufio_ungetc(&b_) == (m_.pos ? 0 : -1));
    m_.pos -= m_.pos > 0;
  }
  void point_for_reading() {
    const uint64_t n = count();
    const uint8_t *p = bufio_ptr(&b_, n, 'r');
    if (!p) return;
    require(n <= m_.left() || n == 0);
    require(bytes(p, p + n) == m_.read(m_.pos, n));
    m_.pos += n;
  }
  void point_for_writing() {
    const bytes b = fresh(count());
    uint8_t *p = bufio_ptr(&b_, b.size(), 'w');
    if (!p) return;
    std::copy(b.begin(), b.end(), p);
    if (b.empty()) m_.data.resize(std::max<size_t>(m_.data.size(), m_.pos));
    wrote(b);
  }
  void take_for_reading() {
    uint8_t *p = nullptr;
    const uint64_t n = bufio_ptr2(&b_, count(), 'r', &p);
    require(n == std::min(m_.left(), room()));
    require(bytes(p, p + n) == m_.read(m_.pos, n));
    m_.pos += n;
  }
  void take_for_writing() {
    uint8_t *p = nullptr;
    const uint64_t wanted = count() + 1, n = std::min(wanted, room());
    require(bufio_ptr2(&b_, wanted, 'w', &p) == n);
    const bytes b = fresh(n);
    std::copy(b.begin(), b.end(), p);
    wrote(b);
  }
  uint64_t room() const { return b_.bufsize - m_.pos % b_.bufsize; }
  void truncate() {
    m_.pos = input_.up_to(uint32_t(m_.data.size()));
    bufio_ptr2truncate(&b_, m_.pos);
    m_.data.resize(m_.pos);
  }
  void queue() {
    const uint64_t at = input_.up_to(1000);
    const bytes b = fresh(count());
    require(bufio_queuewrite(&b_, at, b.data(), b.size()) == 0);
    m_.queue.push_back({m_.tare + at, b});
  }
  void move_tare() {
    const uint64_t by = input_.up_to(2000);
    switch (input_.byte() % 4) {
      case 0:
        bufio_tareset(&b_, by);
        m_.pos = m_.tare = by;
        break;
      case 1:
        bufio_tareclr(&b_);
        m_.tare = 0;
        break;
      case 2:
        if (m_.tare + by > longest) break;
        bufio_inctare(&b_, by);
        m_.pos = m_.tare += by;
        break;
      case 3:
        bufio_dectare(&b_, std::min(by, m_.tare));
        m_.pos = m_.tare -= std::min(by, m_.tare);
        break;
    }
  }
  void make_resident() {
    const uint64_t n = count();
    if (input_.byte() % 2) {
      bufio_io(&b_, nullptr, n, 'w');
    } else {
      bufio_io(&b_, nullptr, n, 'r');
      m_.past_end |= m_.pos + n > m_.data.size();
    }
    bufio_flush(&b_);
  }

  bufio &b_;
  fuzz_input &input_;
  model m_;
  uint32_t stamp_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const scratch_file file;
  fuzz_input input(data, size);
  const uint8_t mode = input.byte();
  const bool in_memory = mode & 1, zeros = mode & 2, bytes_count = mode & 4;
  const uint64_t shift = input.up_to(12) + 1;
  bytes start(in_memory ? 0 : input.up_to(6000));
  for (size_t i = 0; i < start.size(); i++) start[i] = uint8_t(i * 7 | 1);
  file.fill(start);

  const uint32_t flags = (in_memory ? BUFIO_MEMORY : 0) | (zeros ? 0 : BUFIO_NOZERO);
  const uint64_t block = zeros ? shift : bytes_count ? (uint64_t{1} << shift) - 1 : uint64_t{1} << shift;
  bufio b;
  require(bufio_init(&b, file.path().c_str(), "r+b", block, flags) == 0);
  session s(b, input, start);
  while (!input.empty()) s.step();
  bufio_errclear(&b);
  bufio_done(&b);
  require(bufio_err(&b) == 0);
  require(in_memory || file.content() == s.finish());
  return 0;
}
