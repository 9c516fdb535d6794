// Writing TIFF files: the file, from its opening to its end.
#include <algorithm>

#include <qvimage/error.h>
#include <qvimage/tiff.h>

#include "core/reason.hpp"
#include "core/result.hpp"
#include "files/stream/number_writer.hpp"
#include "files/stream/reader.hpp"
#include "files/tiff/chain.hpp"
#include "files/tiff/writer.hpp"

namespace qvim::tiff {

int32_t writer::make_bands(uint32_t count, uint64_t block) {
  return bands_.make(count, block) ? 0 : int32_t{QVERR_MEMORY};
}

int32_t writer::open(const char *path, const char *mode, int64_t bufsize, uint64_t after, bool bigtiff,
                     output_file::way how) {
  format.bigtiff = bigtiff;
  int32_t code = output_.open(path, mode, bufsize, how);
  if (code < 0) return code;
  code = after ? find_end(after) : begin_file();
  if (code < 0) output_.drop();
  return code;
}

int32_t writer::begin_file() {
  bufio_ptr2truncate(&file, 0);  // a file opened for update is written anew
  number_writer out(file, format.order());
  out.put('I' | 'I' << 8, 2);
  out.put(format.version(), 2);
  if (format.bigtiff) {
    out.put(uint64_t(format.offset_size()), 2);
    out.zeros(2);
  }
  link_ = file.pos;
  out.zeros(uint64_t(format.offset_size()));
  complete_ = file.filelen;
  return bufio_err(&file);
}

namespace {

// Moves on to that page: 1, or what stopped it on the way.
int32_t walk_to(chain &walk, uint64_t page) {
  int32_t moved = 1;
  while (moved > 0 && walk.passed() < page) moved = walk.next();
  return moved;
}

}  // namespace

// Directories that lie side by side come many in one block; for others a large block is read in vain.
int32_t writer::find_end(uint64_t pages) {
  if (const int32_t code = read_header(&file, &format); code < 0) return code;
  chain walk(&file, format);
  int32_t moved = walk_to(walk, std::min<uint64_t>(pages, 1));
  const uint64_t first = walk.directory();
  if (moved > 0) moved = walk_to(walk, std::min<uint64_t>(pages, 2));
  const small_blocks steps(file, walk.directory() - first > file.bufsize / 4);
  if (moved > 0) moved = walk_to(walk, pages);
  if (moved < 0) return moved;
  if (walk.code() < 0) return within({"pages of the file to append to"}, walk.code());
  if (moved == 0 && pages != QVIM_TIFF_END)
    return because(QVERR_FORMAT, {"the file to append to has ", walk.passed(), " pages, not ", pages});
  checked_reader in(file, format.order());
  in.seek(walk.link());
  appends_ = true;
  former_length_ = complete_ = file.filelen;
  former_link_ = link_ = walk.link();
  former_link_value_ = link_value_ = in.get_unsigned(uint32_t(format.offset_size()));
  return in.code();
}

void writer::put_link(uint64_t position, uint64_t value) {
  file.pos = position;
  number_writer(file, format.order()).put(value, format.offset_size());
  bufio_flush(&file);
}

// What is in the file stays reachable and whole at every step: the link goes back first, whatever of the new
// one came to stand there, and the file is only shortened once nothing points beyond.
void writer::drop_page() {
  bufio_flush(&file);
  bufio_errclear(&file);
  file.valid = 0;  // the file is to tell, not what should be in it
  checked_reader in(file, format.order());
  in.seek(link_);
  const uint64_t found = in.get_unsigned(uint32_t(format.offset_size()));
  if (in.code() < 0 || found != link_value_) {
    bufio_errclear(&file);
    put_link(link_, link_value_);
  }
  if (bufio_err(&file) < 0) return;
  bufio_ptr2truncate(&file, complete_);
}

int32_t writer::close() {
  if (output_.is_open() && step_ == step::directory) drop_page();
  step_ = step::closed;
  return output_.close();
}

int32_t writer::end(int32_t code) {
  step_ = step::closed;
  if (code == 0) return output_.keep();
  if (appends_ && output_.is_open()) {
    link_ = former_link_;
    link_value_ = former_link_value_;
    complete_ = former_length_;
    drop_page();
  }
  const int32_t closed = output_.close();
  output_.drop();
  return worst(code, closed);
}

}  // namespace qvim::tiff
