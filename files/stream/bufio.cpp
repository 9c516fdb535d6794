// Buffered byte stream over a file or a memory store.
#include "files/stream/bufio.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <qvimage/alloc.h>
#include <qvimage/error.h>

#include "core/reason.hpp"
#include "files/stream/aligned.hpp"
#include "files/stream/memory_store.hpp"
#include "files/stream/system_io.hpp"

namespace qvim {
namespace {

constexpr uint64_t default_shift = 16, highest_shift = 47;
constexpr uint64_t highest_bufsize = uint64_t{1} << 30;
constexpr uint64_t highest_position = INT64_MAX;  // what the kernel takes

// In front of the block in its allocation: how far the file on disk reaches.
struct file_state {
  uint64_t disk_length;
};

struct queued_write {
  queued_write *next;
  uint64_t position, count;
  uint8_t *bytes() { return reinterpret_cast<uint8_t *>(this + 1); }
};

bool in_memory(const bufio &b) { return b.modeflags & BUFIO_MEMORY; }

uint64_t &disk_length(bufio &b) { return static_cast<file_state *>(b.bufmem)->disk_length; }

// A transfer of the system's that moved fewer bytes than it was to; errno says why if it failed.
void fail_transfer(bufio &b, const char *what, uint64_t count, uint64_t position, bool by_system) {
  b.ioerr = 1;
  because(QVERR_IO, {what, count, " bytes at byte ", position, ": ",
                     by_system ? strerrordesc_np(errno) : "the file has become shorter"});
}

uint64_t block_of(const bufio &b, uint64_t position) { return position & ~(b.bufsize - 1); }

uint64_t room_in_block(const bufio &b) { return b.bufsize - (b.pos & (b.bufsize - 1)); }

void advance(bufio &b, uint64_t count) {
  if (__builtin_add_overflow(b.pos, count, &b.pos)) b.ioerr = 1;
}

void raise_length(bufio &b) {
  b.filelen = std::max(b.filelen, b.pos);
  check_limit(b);
}

// Writes block bytes or a caller's bytes to the file.
void put(bufio &b, const uint8_t *data, uint64_t count, uint64_t position) {
  const uint64_t written = write_at(b.fd, data, count, position);
  if (written < count) fail_transfer(b, "writing ", count, position, true);
  if (written) disk_length(b) = std::max(disk_length(b), position + written);
}

void flush_block(bufio &b) {
  if (in_memory(b) || !b.dirty) return;
  b.dirty = 0;
  if (b.filelen > b.bufpos) put(b, b.bufp, std::min(b.bufsize, b.filelen - b.bufpos), b.bufpos);
}

// How many of these bytes the file holds. What lies beyond, below the length, is a gap that no write has
// reached yet: zeros.
uint64_t on_disk(bufio &b, uint64_t position, uint64_t count) {
  const uint64_t length = disk_length(b);
  return length > position ? std::min(length - position, count) : 0;
}

// Gives the file the length of the data: shorter after a truncation, longer when a gap ends it.
void set_file_length(bufio &b) {
  if (disk_length(b) == b.filelen) return;
  int result;
  do result = ftruncate(b.fd, off_t(b.filelen));
  while (result < 0 && errno == EINTR);
  if (result < 0)
    b.ioerr = 1;
  else
    disk_length(b) = b.filelen;
}

// Fills the resident block from the file. After a read that failed or fell short nothing is resident: bytes
// that never came from the file must not go back to it, nor be taken for its own by the next read.
bool load_from_file(bufio &b, uint64_t block) {
  flush_block(b);
  b.valid = 0;
  if (!b.bufp || block > highest_position) return b.ioerr = 1, false;
  const uint64_t inside = b.filelen > block ? std::min(b.filelen - block, b.bufsize) : 0;
  const uint64_t wanted = on_disk(b, block, inside);
  const int64_t have = wanted ? read_at(b.fd, b.bufp, wanted, block) : 0;
  if (have < int64_t(wanted)) {
    fail_transfer(b, "reading ", wanted, block, have < 0);
    return false;
  }
  const bool zero_all = !(b.modeflags & BUFIO_NOZERO);
  const uint64_t end = zero_all ? b.bufsize : std::max(inside, b.pos - block);
  std::memset(b.bufp + have, 0, end - uint64_t(have));
  b.bufpos = block;
  b.valid = 1;
  return true;
}

bool load_from_store(bufio &b, uint64_t block) {
  b.valid = 0;
  uint8_t *data = find_in_store(b, block);
  if (!data) return false;
  b.bufp = data;
  b.bufpos = block;
  b.valid = 1;
  return true;
}

bool make_resident(bufio &b) {
  const uint64_t block = block_of(b, b.pos);
  if (b.valid && b.bufpos == block) return true;
  return in_memory(b) ? load_from_store(b, block) : load_from_file(b, block);
}

// Makes a memory store hold what is asked for: all that a write covers, no more than its length for a read.
bool grow_for(bufio &b, uint64_t count, bool writing) {
  uint64_t end = b.pos + count;  // checked by the callers
  if (!writing) {
    if (b.pos >= b.filelen) return true;
    end = std::min(b.filelen, std::max(end, b.pos + 1));
  }
  if (grow_store(b, end)) return true;
  b.memerr = 1;
  return false;
}

// Everything between the end of the data and `pos`, where a write is about to begin, becomes zero.
void close_gap(bufio &b) {
  if (b.pos <= b.filelen) return;
  if (in_memory(b)) return zero_store(b, b.filelen, b.pos);
  if (b.bufp && disk_length(b) > b.filelen) set_file_length(b);
  if (!b.valid || b.filelen >= b.bufpos + b.bufsize) return;
  const uint64_t begin = std::max(b.filelen, b.bufpos), end = std::min(b.pos, b.bufpos + b.bufsize);
  if (begin < end) std::memset(b.bufp + (begin - b.bufpos), 0, end - begin);
}

// Whole blocks at a block's boundary need no copy through the resident one.
uint64_t whole_blocks(const bufio &b, uint64_t count) {
  return in_memory(b) || !b.bufp || (b.pos & (b.bufsize - 1)) ? 0 : block_of(b, count);
}

void read_from_file(bufio &b, uint8_t *data, uint64_t count) {
  flush_block(b);
  const uint64_t wanted = on_disk(b, b.pos, count);
  const int64_t got = wanted ? read_at(b.fd, data, wanted, b.pos) : 0;
  if (got < int64_t(wanted)) fail_transfer(b, "reading ", wanted, b.pos, got < 0);
  const uint64_t have = uint64_t(std::max<int64_t>(got, 0));
  std::memset(data + have, 0, count - have);
}

void write_whole_blocks(bufio &b, const uint8_t *data, uint64_t count) {
  if (b.valid && b.bufpos - b.pos < count) b.valid = b.dirty = 0;  // all of it is replaced
  flush_block(b);  // writes reach the file in the order in which they were made
  put(b, data, count, b.pos);
}

void read_from_block(bufio &b, uint8_t *data, uint64_t count) {
  if (in_memory(b) && !grow_for(b, count, false)) {
    std::memset(data, 0, count);
  } else if (make_resident(b)) {
    copy_bytes(data, b.bufp + (b.pos - b.bufpos), count);
  } else {
    if (in_memory(b)) b.chainerr = 1;
    std::memset(data, 0, count);
  }
}

// Bytes that end in the resident block and begin before it, as they are asked for on a way through the file
// backwards: the end is copied before its block goes. Returns how many that were.
uint64_t read_resident_end(const bufio &b, uint8_t *data, uint64_t count) {
  if (in_memory(b) || !b.valid || b.pos >= b.bufpos) return 0;
  const uint64_t before = b.bufpos - b.pos;
  if (count <= before || count - before > b.bufsize) return 0;
  copy_bytes(data + before, b.bufp, count - before);
  return count - before;
}

void read_any(bufio &b, uint8_t *data, uint64_t count) {
  const uint64_t inside = b.bufsize && b.pos < b.filelen ? std::min(count, b.filelen - b.pos) : 0;
  if (inside < count) fail_beyond_end(b, b.pos, count);
  const uint64_t end = read_resident_end(b, data, inside);
  for (uint64_t left = inside - end; left;) {
    uint64_t n = whole_blocks(b, left);
    if (n) {
      read_from_file(b, data, n);
    } else {
      n = std::min(left, room_in_block(b));
      read_from_block(b, data, n);
    }
    b.pos += n;
    data += n;
    left -= n;
  }
  b.pos += end;
  data += end;
  if (inside < count) std::memset(data, 0, count - inside);
  advance(b, count - inside);
  check_limit(b);
}

// Can a write of so many bytes at `pos` be represented at all?
bool writable_range(const bufio &b, uint64_t count) {
  uint64_t end;
  return b.bufsize && !__builtin_add_overflow(b.pos, count, &end) &&
         (in_memory(b) || end <= highest_position);
}

void write_any(bufio &b, const uint8_t *data, uint64_t count) {
  if (!writable_range(b, count)) {
    b.ioerr = 1;
    return advance(b, count);
  }
  if (in_memory(b) && !grow_for(b, count, true)) return;
  close_gap(b);
  while (count) {
    uint64_t n = whole_blocks(b, count);
    bool taken = true;
    if (n) {
      write_whole_blocks(b, data, n);
    } else {
      n = std::min(count, room_in_block(b));
      taken = make_resident(b);
      if (taken) copy_bytes(b.bufp + (b.pos - b.bufpos), data, n);
      if (taken) b.dirty = 1;
      if (!taken && in_memory(b)) b.chainerr = 1;
    }
    b.pos += n;
    if (taken) raise_length(b);
    data += n;
    count -= n;
  }
}

// Only makes the block of `pos` resident, and a memory store large enough.
bool prepare(bufio &b, uint64_t count, bool writing) {
  if (writing && !writable_range(b, count)) {
    b.ioerr = 1;
    return false;
  }
  if (in_memory(b) && !grow_for(b, count, writing)) return false;
  if (make_resident(b)) return true;
  if (in_memory(b) && b.pos < b.filelen) b.chainerr = 1;
  return false;
}

// Hands out bytes of the resident block for the caller to fill.
uint8_t *take_for_writing(bufio &b, uint64_t count) {
  close_gap(b);
  uint8_t *bytes = b.bufp + (b.pos - b.bufpos);
  b.dirty = 1;
  b.pos += count;
  raise_length(b);
  return bytes;
}

uint8_t *take_for_reading(bufio &b, uint64_t count) {
  uint8_t *bytes = b.bufp + (b.pos - b.bufpos);
  b.pos += count;
  return bytes;
}

int32_t choose_block_size(bufio &b, uint64_t size, uint32_t flags) {
  b.bufshift = size;
  if (size == 0) {
    b.bufshift = default_shift;
    flags &= ~BUFIO_NOZERO;
  } else if (flags & BUFIO_NOZERO) {
    b.bufshift = uint64_t(std::bit_width(size - 1));
  }
  if (b.bufshift > highest_shift) return QVERR_USAGE;
  b.bufsize = uint64_t{1} << b.bufshift;
  b.modeflags = flags;
  return 0;
}

// Zeros, so that bytes of a block that nobody fills are never those of former memory.
int32_t reserve_block(bufio &b) {
  b.bufmem = qvmallocz(sizeof(file_state) + b.bufsize + page_bytes);
  if (!b.bufmem) return QVERR_MEMORY;
  b.bufp = page_aligned(static_cast<file_state *>(b.bufmem) + 1);
  return 0;
}

int32_t open_file(bufio &b, const char *path, const char *fopenmode) {
  const bool creates = fopenmode[0] == 'w';
  FILE *const fp = fopen(path, fopenmode);
  struct stat info;
  if (fp && fstat(fileno(fp), &info) == 0) {
    attach(b, fp, uint64_t(std::max<off_t>(info.st_size, 0)));
    return 0;
  }
  const int32_t code = cannot_open(creates);
  if (fp) {
    fclose(fp);
    if (creates) remove_regular(path);
  }
  return code;
}

int32_t open_block_and_file(bufio &b, const char *path, const char *fopenmode) {
  if (!path || !fopenmode) return QVERR_USAGE;
  int32_t code = reserve_block(b);
  if (code == 0) code = open_file(b, path, fopenmode);
  if (code < 0) {
    qvfreep(&b.bufmem);
    b.bufp = nullptr;
  }
  return code;
}

void clear(bufio &b) {
  std::memset(static_cast<void *>(&b), 0, sizeof b);
  b.fd = -1;
}

int32_t open(bufio *b, const char *path, const char *fopenmode, uint64_t size, uint32_t flags) {
  if (!b) return QVERR_USAGE;
  clear(*b);
  int32_t code = choose_block_size(*b, size, flags);
  if (code == 0 && !in_memory(*b)) code = open_block_and_file(*b, path, fopenmode);
  if (code < 0) return code;
  if (flags & BUFIO_LOCKED) {
    b->mutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
    b->locking = 1;
  }
  return 0;
}

// The queue is a ring; the record points to its newest node, whose successor is the oldest.
queued_write *newest(const bufio &b) { return static_cast<queued_write *>(b.wqueue); }

}  // namespace

void fail_beyond_end(bufio &b, uint64_t position, uint64_t count) {
  b.eoferr = 1;
  because(QVERR_FORMAT, {count, " bytes at byte ", position, " lie beyond the file's ", b.filelen, " bytes"});
}

namespace {

// bufio_init's size argument for a size as the formats' functions take it.
uint64_t block_size(int64_t bufsize, uint32_t flags) {
  const uint64_t bytes =
      bufsize ? std::min(uint64_t(bufsize), highest_bufsize) : uint64_t{1} << default_shift;
  // A shift of 0 would mean the default.
  const uint64_t shift = std::max<uint64_t>(uint64_t(std::bit_width(bytes - 1)), 1);
  return flags & BUFIO_NOZERO ? bytes : shift;
}

}  // namespace

int32_t open_bufio(bufio *b, const char *path, const char *fopenmode, int64_t bufsize, uint32_t flags) {
  if (bufsize < 0) return because(QVERR_USAGE, {"bufsize ", bufsize, " is below 0"});
  return bufio_init(b, path, fopenmode, block_size(bufsize, flags), flags);
}

void remove_regular(const char *path) {
  struct stat named;
  if (lstat(path, &named) == 0 && S_ISREG(named.st_mode)) unlink(path);
}

int32_t cannot_open(bool creates) {
  return because(creates ? QVERR_NOTCREATED : QVERR_NOTFOUND, {"cannot be opened: ", strerrordesc_np(errno)});
}

int32_t reserve_bufio(bufio *b, int64_t bufsize, uint32_t flags) {
  clear(*b);
  if (bufsize < 0) return because(QVERR_USAGE, {"bufsize ", bufsize, " is below 0"});
  const int32_t code = choose_block_size(*b, block_size(bufsize, flags), flags);
  return code < 0 ? code : reserve_block(*b);
}

void attach(bufio &b, FILE *fp, uint64_t length) {
  b.fp = fp;
  b.fd = fileno(fp);
  b.ownsfp = 1;
  b.filelen = disk_length(b) = length;
}

void read_past_block(bufio &b, uint8_t *data, uint64_t count) {
  if (in_memory(b) || b.pos > b.filelen || count > b.filelen - b.pos) return read_bytes(b, data, count);
  const transfer_call transfer;
  read_from_file(b, data, count);
  b.pos += count;
  check_limit(b);
}

uint64_t extend(bufio &file, uint64_t count) {
  flush_block(file);
  file.valid = 0;
  const uint64_t begin = file.filelen;
  if (__builtin_add_overflow(begin, count, &file.filelen)) file.ioerr = 1;
  disk_length(file) = std::max(disk_length(file), file.filelen);
  check_limit(file);
  return begin;
}

int32_t write_out_at(bufio &memory, const bufio &file, uint64_t position) {
  memory.pos = 0;
  while (memory.pos < memory.filelen) {
    const uint64_t at = position + memory.pos;
    uint8_t *bytes;
    const uint64_t count = bufio_ptr2(&memory, memory.filelen - memory.pos, 'r', &bytes);
    if (count == 0) break;
    if (write_at(file.fd, bytes, count, at) == count) continue;
    fail_transfer(memory, "writing ", count, at, true);
    break;
  }
  return bufio_err(&memory);
}

}  // namespace qvim

using namespace qvim;

extern "C" {

int32_t bufio_init(bufio *b, const char *path, const char *fopenmode, uint64_t size, uint32_t flags) {
  return public_call().result(open(b, path, fopenmode, size, flags));
}

void bufio_io(bufio *b, void *data, uint64_t count, int32_t dir) {
  if (!b) return;
  const transfer_call transfer;
  const bool writing = dir == 'w';
  if (!data) {
    if (!writing && (b->pos > b->filelen || count > b->filelen - b->pos)) fail_beyond_end(*b, b->pos, count);
    static_cast<void>(prepare(*b, count, writing));
  } else if (count) {
    if (writing)
      write_any(*b, static_cast<const uint8_t *>(data), count);
    else
      read_any(*b, static_cast<uint8_t *>(data), count);
  }
}

void bufio_flush(bufio *b) {
  if (b) flush_block(*b);
}

void bufio_seekplus(bufio *b, uint64_t delta) {
  if (b) advance(*b, delta);
}

int32_t bufio_getc(bufio *b) {
  if (!b || b->pos >= b->filelen) return -1;
  uint8_t byte;
  read_bytes(*b, &byte, 1);
  return byte;
}

int32_t bufio_ungetc(bufio *b) {
  if (!b || b->pos == 0) return -1;
  b->pos--;
  return 0;
}

void bufio_putc(bufio *b, uint8_t c) {
  if (b) write_bytes(*b, &c, 1);
}

uint8_t *bufio_ptr(bufio *b, uint64_t count, int32_t dir) {
  if (!b || !is_resident(*b, count)) return nullptr;
  if (dir == 'w') return take_for_writing(*b, count);
  if (b->pos > b->filelen || count > b->filelen - b->pos) return nullptr;
  return take_for_reading(*b, count);
}

uint64_t bufio_ptr2(bufio *b, uint64_t count, int32_t dir, uint8_t **out) {
  if (!b) return 0;
  const bool writing = dir == 'w';
  if (!writing && b->pos >= b->filelen) return 0;
  const uint64_t n = std::min(writing ? count : b->filelen - b->pos, room_in_block(*b));
  if (!prepare(*b, writing ? n : 0, writing)) return 0;
  *out = writing ? take_for_writing(*b, n) : take_for_reading(*b, n);
  return n;
}

void bufio_ptr2truncate(bufio *b, uint64_t len) {
  b->pos = len;
  close_gap(*b);
  b->filelen = len;
}

void bufio_tareset(bufio *b, uint64_t t) { b->pos = b->tare = t; }
void bufio_tareclr(bufio *b) { b->tare = 0; }
void bufio_inctare(bufio *b, uint64_t d) { b->pos = b->tare += d; }
void bufio_dectare(bufio *b, uint64_t d) { b->pos = b->tare -= d; }

int32_t bufio_queuewrite(bufio *b, uint64_t relpos, const void *data, uint64_t count) {
  if (!b || (!data && count)) return QVERR_USAGE;
  uint64_t position, bytes;
  if (__builtin_add_overflow(b->tare, relpos, &position)) {
    b->ioerr = 1;
    return QVERR_USAGE;
  }
  if (__builtin_add_overflow(count, uint64_t{sizeof(queued_write)}, &bytes)) return QVERR_MEMORY;
  auto *node = static_cast<queued_write *>(qvmalloc(bytes));
  if (!node) return QVERR_MEMORY;
  *node = {node, position, count};
  if (count) std::memcpy(node->bytes(), data, count);
  if (queued_write *last = newest(*b)) {
    node->next = last->next;
    last->next = node;
  }
  b->wqueue = node;
  return 0;
}

void bufio_queueflush(bufio *b) {
  queued_write *last = newest(*b);
  if (!last) return;
  const uint64_t pos = b->pos;
  queued_write *node = last->next;
  last->next = nullptr;
  b->wqueue = nullptr;
  while (node) {
    b->pos = node->position;
    bufio_io(b, node->bytes(), node->count, 'w');
    queued_write *next = node->next;
    qvfree(node);
    node = next;
  }
  b->pos = pos;
}

int32_t bufio_err(bufio *b) {
  if (!b) return QVERR_USAGE;
  if (b->ioerr) return QVERR_IO;
  if (b->eoferr) return QVERR_FORMAT;
  if (b->memerr) return QVERR_MEMORY;
  return b->chainerr ? QVERR_LOGIC : 0;
}

void bufio_errclear(bufio *b) {
  if (b) b->ioerr = b->eoferr = 0;
}

void bufio_EnterCritical(bufio *b) {
  if (b && b->locking) pthread_mutex_lock(&b->mutex);
}

void bufio_LeaveCritical(bufio *b) {
  if (b && b->locking) pthread_mutex_unlock(&b->mutex);
}

void bufio_done(bufio *b) {
  if (!b) return;
  bufio_queueflush(b);
  flush_block(*b);
  if (b->bufmem && (disk_length(*b) > b->filelen || !b->ioerr)) set_file_length(*b);
  if (b->fp && b->ownsfp && fclose(b->fp) != 0) b->ioerr = 1;
  b->fp = nullptr;
  b->fd = -1;
  b->ownsfp = 0;
  qvfreep(&b->bufmem);
  free_store(*b);
  b->bufp = nullptr;
  b->valid = 0;
  if (b->locking) pthread_mutex_destroy(&b->mutex);
  b->locking = 0;
}

}  // extern "C"
