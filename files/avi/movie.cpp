// Finding one's way in an AVI file.
#include "files/avi/movie.hpp"

#include <algorithm>

#include <qvimage/error.h>

#include "core/reason.hpp"
#include "files/stream/bufio.hpp"
#include "files/stream/reader.hpp"

namespace qvim::avi {

namespace {

constexpr uint64_t longest_text = 1 << 20;

struct chunk {
  uint32_t code;
  uint64_t begin, end;  // of its data
  bool is_cut;          // by its parent's end
};

class finder {
 public:
  finder(bufio &file, film *f, bool lenient)
      : file_(file), in_(file, std::endian::little), film_(*f), lenient_(lenient) {}

  int32_t find() {
    const auto code = in_.get<uint32_t>();
    in_.skip(4);
    const bool is_film = code == riff && in_.get<uint32_t>() == avi_form;
    if (bufio_err(&file_) < 0) return bufio_err(&file_);
    if (!is_film) return because(QVERR_FORMAT, {"not an AVI file"});
    for (uint64_t at = 0; at + list_head <= file_.filelen && result_ == 0;) at = part(at);
    if (result_ == 0 && !has_format_) result_ = because(QVERR_FORMAT, {"no stream's format"});
    if (result_ == 0) result_ = locate_frames();
    // Nothing counts that was found in what could not be read.
    return bufio_err(&file_) < 0 ? bufio_err(&file_) : result_;
  }

 private:
  void refuse(int32_t code, words cause) {
    if (result_ == 0) result_ = because(code, cause);
  }

  // The chunk at a position. What sticks out of its parent ends with it. Lists have at least their code: a
  // length of 0 is one that a writer did not come to write, and stands for all that follows.
  chunk chunk_at(uint64_t at, uint64_t end) {
    in_.seek(at);
    const auto code = in_.get<uint32_t>();
    const uint64_t length = in_.get<uint32_t>(), begin = at + chunk_head;
    const bool unfinished = length == 0 && (code == riff || code == list);
    const bool cut = length > end - begin;
    return {code, begin, unfinished || cut ? end : begin + length, cut};
  }
  static uint64_t behind(const chunk &c) { return c.end + (c.end - c.begin) % 2; }

  // Calls f(chunk) for each chunk of a list's data.
  template <class F>
  void each(uint64_t begin, uint64_t end, F f) {
    while (begin + chunk_head <= end && result_ == 0 && in_.code() == 0) {
      const chunk c = chunk_at(begin, end);
      f(c);
      begin = behind(c);
    }
    if (in_.code() < 0 && result_ == 0) result_ = in_.code();
  }
  uint32_t list_code(const chunk &c) {
    in_.seek(c.begin);
    return c.end - c.begin >= 4 ? in_.get<uint32_t>() : 0;
  }

  // A RIFF part of the file; returns where the next one is.
  uint64_t part(uint64_t at) {
    const chunk c = chunk_at(at, file_.filelen);
    if (c.code != riff || list_code(c) != (at == 0 ? avi_form : more_form)) return file_.filelen;
    for (uint64_t inside = c.begin + 4; inside + chunk_head <= c.end && result_ == 0;) {
      const chunk child = chunk_at(inside, c.end);
      if (child.code == list && list_code(child) == movie) {
        keep_movie(child);
      } else if (child.code == list && list_code(child) == headers) {
        each(child.begin + 4, child.end, [&](const chunk &h) { header_chunk(h); });
      } else if (child.code == list && list_code(child) == texts_list) {
        each(child.begin + 4, child.end, [&](const chunk &t) { text(t); });
      } else if (child.code == old_index && old_index_.end == 0 && !child.is_cut) {
        old_index_ = child;
      }
      inside = behind(child);
      if (in_.code() < 0 && result_ == 0) result_ = in_.code();
    }
    return behind(c);
  }

  void keep_movie(const chunk &c) {
    if (movies_ == 0) first_movie_ = c.begin;
    if (movies_ == movie_of_.size() && !movie_of_.resize(std::max<uint64_t>(4, 2 * movies_)))
      return refuse(QVERR_MEMORY, {"memory for the parts of the movie"});
    movie_of_[movies_++] = {c.begin + 4, c.end};
  }

  void header_chunk(const chunk &c) {
    if (c.code != list || list_code(c) != stream_list || has_format_) return;  // the first stream alone
    each(c.begin + 4, c.end, [&](const chunk &s) {
      if (s.code == stream_header) stream(s);
      if (s.code == stream_format) format(s);
      if (s.code == super_index) super_index_ = s;
    });
  }

  void stream(const chunk &c) {
    in_.seek(c.begin);
    if (in_.get<uint32_t>() != video) return refuse(QVERR_UNSUPPORTED, {"the first stream is no video"});
    film_.handler = in_.get<uint32_t>();
    in_.skip(12);
    film_.scale = in_.get<uint32_t>();
    film_.rate = in_.get<uint32_t>();
  }

  void format(const chunk &c) {
    if (film_.handler != plain_handler && film_.handler != jpeg_handler && !lenient_)
      return refuse(QVERR_UNSUPPORTED, {"a stream that is neither DIB nor MJPG"});
    in_.seek(c.begin);
    checked_reader inside = in_.chunk(c.end - c.begin);
    film_.format.read(inside);
    if (inside.code() < 0) return refuse(inside.code(), {"the stream's format"});
    has_format_ = true;
    const uint32_t compression = film_.format.compression;
    film_.is_jpeg =
        film_.handler == jpeg_handler || (film_.handler != plain_handler && compression == jpeg_handler);
    const uint16_t bits = film_.format.bits;
    if (!lenient_ && compression != (film_.is_jpeg ? jpeg_handler : 0))
      return refuse(QVERR_UNSUPPORTED, {"a compression that is not the handler's"});
    if (film_.is_jpeg ? bits != 8 && bits != 24 : bits != 1 && bits != 4 && bits != 8 && bits != 24)
      return refuse(QVERR_FORMAT, {bits, " bits a pixel"});
    if (film_.is_jpeg || !film_.format.has_palette()) return;
    film_.palette.read(inside, film_.format, false);
    if (inside.code() < 0) refuse(inside.code(), {"the stream's palette"});
  }

  void text(const chunk &c) {
    for (unsigned i = 0; i < text_count; i++) {
      const uint64_t length = c.end - c.begin;
      if (c.code != text_chunks[i].code || film_.texts[i].size() || length == 0 || length > longest_text)
        continue;
      if (!film_.texts[i].allocate(length + 1)) return refuse(QVERR_MEMORY, {"memory for a text"});
      in_.seek(c.begin);
      in_.get_bytes(film_.texts[i].data(), length);
      film_.texts[i][length] = 0;
    }
  }

  // --- frames

  static bool is_frame(uint32_t code) { return (code & 0xFFFFFF) == (plain_frame & 0xFFFFFF); }  // 00d.

  // Room for so many frames more.
  bool reserve(uint64_t more) {
    if (film_.count + more <= film_.frames.size()) return true;
    if (film_.frames.resize(std::max(film_.count + more, film_.count + film_.count / 2))) return true;
    refuse(QVERR_MEMORY, {"memory for ", film_.count + more, " frames"});
    return false;
  }
  // A frame without data shows the one before it once more.
  void add(uint64_t position, uint32_t bytes) {
    if (bytes == 0 && film_.count > 0) {
      film_.frames[film_.count] = film_.frames[film_.count - 1];
    } else {
      if (position > file_.filelen || bytes > file_.filelen - position) return;
      film_.frames[film_.count] = {position, bytes};
    }
    film_.count++;
  }

  int32_t locate_frames() {
    if (super_index_.end > super_index_.begin) read_super_index();
    if (result_ == 0 && film_.count == 0 && old_index_.end > old_index_.begin) read_old_index();
    // The parts that the writer of the index did not come to.
    const uint64_t indexed = film_.count ? film_.frames[film_.count - 1].position : 0;
    for (uint64_t i = 0; i < movies_ && result_ == 0; i++)
      if (movie_of_[i].position > indexed) walk(movie_of_[i].position, movie_of_[i].end);
    if (result_ == 0 && film_.count == 0) refuse(QVERR_FORMAT, {"the file holds no whole frame"});
    return result_;
  }

  struct index_head {
    uint8_t type;
    uint64_t entries, base;
  };
  // Of an index of either kind; its entries, of so many bytes, lie inside the chunk.
  index_head read_index_head(const chunk &c, uint32_t entry_bytes) {
    in_.seek(c.begin);
    in_.skip(3);
    index_head h{};
    h.type = in_.get<uint8_t>();
    h.entries = in_.get<uint32_t>();
    in_.skip(4);
    h.base = in_.get<uint64_t>();
    in_.skip(4);
    h.entries = std::min(h.entries, (c.end - std::min(in_.position(), c.end)) / entry_bytes);
    return h;
  }

  void read_super_index() {
    constexpr uint32_t entry_bytes = 16;
    const index_head h = read_index_head(super_index_, entry_bytes);
    if (h.type == index_of_chunks) return read_chunk_index(super_index_);
    const uint64_t entries = in_.position();
    for (uint64_t i = 0; i < h.entries && result_ == 0; i++) {
      in_.seek(entries + i * entry_bytes);
      const auto offset = in_.get<uint64_t>();
      if (offset == 0 || offset > file_.filelen - std::min<uint64_t>(file_.filelen, chunk_head)) continue;
      read_chunk_index(chunk_at(offset, file_.filelen));
    }
  }

  void read_chunk_index(const chunk &c) {
    if (c.is_cut) return;  // its frames are found by walking
    constexpr uint32_t entry_bytes = 8;
    const index_head h = read_index_head(c, entry_bytes);
    if (h.type != index_of_chunks) return;
    // Entries are read once: an index that is pointed to from many places could be longer than any file.
    indexed_ += h.entries;
    if (indexed_ > file_.filelen / entry_bytes)
      return refuse(QVERR_FORMAT, {"indexes of more frames than the file has room for"});
    if (!reserve(h.entries)) return;
    for (uint64_t i = 0; i < h.entries; i++) {
      const auto offset = in_.get<uint32_t>(), bytes = in_.get<uint32_t>();
      add(h.base + offset, bytes & ~delta_frame);
    }
  }

  // Offsets count from the movie list's code, or, in the files of some writers, from the file's beginning.
  void read_old_index() {
    constexpr uint32_t entry_bytes = 16;
    const uint64_t entries = (old_index_.end - old_index_.begin) / entry_bytes;
    if (!reserve(entries)) return;
    uint64_t base = first_movie_;
    bool is_first = true;
    for (uint64_t i = 0; i < entries; i++) {
      in_.seek(old_index_.begin + i * entry_bytes);
      const auto code = in_.get<uint32_t>();
      in_.skip(4);
      const auto offset = in_.get<uint32_t>(), bytes = in_.get<uint32_t>();
      if (!is_frame(code)) continue;
      if (is_first) {
        is_first = false;
        in_.seek(std::min(base + offset, file_.filelen));
        if (in_.left() < 4 || in_.get<uint32_t>() != code) base = 0;
      }
      add(base + offset + chunk_head, bytes);
    }
  }

  void walk(uint64_t begin, uint64_t end) {
    while (begin + chunk_head <= end && result_ == 0) {
      in_.seek(begin);
      const auto code = in_.get<uint32_t>();
      const auto bytes = in_.get<uint32_t>();
      if (in_.code() < 0) return refuse(in_.code(), {"the movie"});
      if (code == list) {  // of frames that belong together
        begin += list_head;
        continue;
      }
      begin += chunk_head;
      if (is_frame(code) && bytes > 0 && bytes <= end - begin && reserve(1)) add(begin, bytes);
      begin += uint64_t(bytes) + bytes % 2;
    }
  }

  struct span {
    uint64_t position, end;
  };

  bufio &file_;
  checked_reader in_;
  film &film_;
  const bool lenient_;
  int32_t result_ = 0;
  bool has_format_ = false;
  chunk super_index_{}, old_index_{};
  uint64_t first_movie_ = 0, movies_ = 0;
  uint64_t indexed_ = 0;  // entries of chunk indexes so far
  array<span> movie_of_;
};

}  // namespace

int32_t film::read(bufio &file, bool lenient) {
  const small_blocks blocks(file);
  return finder(file, this, lenient).find();
}

}  // namespace qvim::avi
