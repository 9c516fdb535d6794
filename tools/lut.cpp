#include "lut.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include <qvimage/data.h>
#include <qvimage/error.h>
#include <qvimage/views.h>

#include "failure.hpp"
#include "text.hpp"
#include "words.hpp"

namespace tool {

namespace {

constexpr size_t most_entries = 65536;
constexpr int64_t most_value = 65535;

// The words of a line, without its comment.
std::vector<std::string_view> words_of(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n\v\f";
  text = text.substr(0, text.find('#'));
  std::vector<std::string_view> words;
  for (size_t at = 0; (at = text.find_first_not_of(blanks, at)) != text.npos;) {
    const size_t end = std::min(text.find_first_of(blanks, at), text.size());
    words.push_back(text.substr(at, end - at));
    at = end;
  }
  return words;
}

struct closed_file {
  void operator()(std::FILE *file) const { std::fclose(file); }
};

uint64_t values_of(const qvimagedata &data) { return uint64_t{1} << data.i_bitsused; }

}  // namespace

table_file::table_file(std::string path) : path_(std::move(path)) {
  errno = 0;
  const std::unique_ptr<std::FILE, closed_file> file(std::fopen(path_.c_str(), "r"));
  if (!file) throw failure(path_, QVERR_NOTFOUND, system_detail(QVERR_NOTFOUND, "it cannot be opened"));
  char text[1024];
  while (std::fgets(text, sizeof text, file.get())) {
    line_++;
    const size_t length = std::strlen(text);
    if (length + 1 == sizeof text && text[length - 1] != '\n') complain(line_, "is too long");
    take_line(text);
  }
  if (std::ferror(file.get())) throw failure(path_, QVERR_IO, system_detail(QVERR_IO, "it cannot be read"));
  if (entries() == 0) throw failure(path_, QVERR_FORMAT, "it has no entries");
}

void table_file::complain(size_t line, const std::string &what) const {
  throw failure(path_, QVERR_FORMAT, formatted("line %zu ", line) + what);
}

void table_file::take_line(std::string_view text) {
  const std::vector<std::string_view> words = words_of(text);
  if (words.empty()) return;
  if (words.size() > 4) complain(line_, "has more than 4 numbers");
  std::vector<int64_t> values;
  for (const std::string_view word : words) {
    const auto value = numbers<int64_t>(word, ',', 0, most_value);
    if (!value || value->size() != 1)
      complain(line_, formatted("has %s where a number from 0 to %lld is expected",
                                printable(word.substr(0, 20)).c_str(), static_cast<long long>(most_value)));
    values.push_back(value->front());
  }
  if (entries() == most_entries) complain(line_, formatted("is one more than %zu entries", most_entries));
  if (values.size() % 2 == 0) {
    if (values.front() != static_cast<int64_t>(entries()))
      complain(line_, formatted("is entry %zu by its place and %lld by its number", entries(),
                                static_cast<long long>(values.front())));
    values.erase(values.begin());
  }
  if (entries() == 0) columns_.resize(values.size());
  if (values.size() != columns())
    complain(line_, formatted("has %zu values, the lines before it %zu", values.size(), columns()));
  for (size_t i = 0; i < columns(); i++) columns_[i].push_back(static_cast<uint32_t>(values[i]));
  lines_.push_back(line_);
}

void table_file::check_length(const qvimagedata &data) const {
  if (entries() == values_of(data)) return;
  const bool eight_would_do = entries() == 256 && data.i_bitsused > 8;
  throw failure(path_, QVERR_UNSUPPORTED,
                formatted("it has %zu entries, %s pixels need %llu%s", entries(), describe_type(data).c_str(),
                          static_cast<unsigned long long>(values_of(data)),
                          eight_would_do ? " (after --bits 8: 256)" : ""));
}

void table_file::check_values(const qvimagedata &data) const {
  for (size_t entry = 0; entry < entries(); entry++) {
    for (const std::vector<uint32_t> &column : columns_) {
      if (column[entry] >= values_of(data))
        complain(lines_[entry],
                 formatted("has %u, %s pixels end at %llu", column[entry], describe_type(data).c_str(),
                           static_cast<unsigned long long>(values_of(data) - 1)));
    }
  }
}

std::vector<std::byte> table_file::table(size_t column, const qvimagedata &data) const {
  check_length(data);
  check_values(data);
  const size_t size = static_cast<size_t>(qvimdatasize(static_cast<uint32_t>(data.pixietype)));
  std::vector<std::byte> table(size * entries());
  for (size_t entry = 0; entry < entries(); entry++) {
    const uint32_t value = columns_[column][entry];
    const auto narrow = static_cast<uint8_t>(value);
    const auto wide = static_cast<uint16_t>(value);
    const void *const from = size == 1 ? static_cast<const void *>(&narrow) : &wide;
    std::memcpy(&table[size * entry], from, size);
  }
  return table;
}

namespace {

using table_set = std::vector<std::vector<std::byte>>;

// A view whose components go through the tables, the last of which serves all that have none of their own.
void put_tables(chain &chain, table_set tables, int32_t pseudo_colours, const std::string &reason) {
  const auto kept = std::make_shared<const table_set>(std::move(tables));
  const void *places[4];
  for (size_t i = 0; i < 4; i++) places[i] = (*kept)[std::min(i, kept->size() - 1)].data();
  chain.keep(kept);
  chain.put(
      [&](qvimage *view, qvimage *source) {
        return qvimage_lut2(view, source, 0, places, places, pseudo_colours,
                            pseudo_colours ? QVIM_HINT_RGB : 0, 0, 0);
      },
      reason);
}

void look_up(chain &chain, const table_file &file) {
  const qvimagedata data = chain.top()->d;
  if (data.pixietype != QVIM_UINT8 && data.pixietype != QVIM_UINT16)
    chain.refuse(QVERR_DATATYPE,
                 describe_type(data) + " pixels have no tables, only integers of up to 16 bits");
  if (file.columns() == 3 && data.pixies != 1 && data.pixies != 3)
    chain.refuse(QVERR_UNSUPPORTED,
                 formatted("three tables for pixels of %d components, not 1 or 3", data.pixies));
  table_set tables;
  for (size_t i = 0; i < file.columns(); i++) tables.push_back(file.table(i, data));
  put_tables(chain, std::move(tables), data.pixies == 1 && file.columns() == 3 ? 3 : 0,
             formatted("pixels of %d components have no tables", data.pixies));
}

}  // namespace

step lut(const std::string &path) {
  const auto file = std::make_shared<const table_file>(path);
  return {[file](chain &chain) { look_up(chain, *file); }, false};
}

void fill_32_bits(chain &chain) {
  const int32_t bits = chain.top()->d.i_bitsused;
  put_converter(chain, QVIM_UINT32, bits, same_numbers);
  const uint64_t entries = uint64_t{1} << bits;
  std::vector<std::byte> table(4 * entries);
  for (uint64_t i = 0; i < entries; i++) {
    const auto value = static_cast<uint32_t>((i * UINT32_MAX + (entries - 1) / 2) / (entries - 1));
    std::memcpy(&table[4 * i], &value, 4);
  }
  const qvimagedata narrow = chain.top()->d;
  put_tables(chain, {std::move(table)}, 0, describe_type(narrow) + " pixels have no tables");
  qviminitdata(&chain.top()->d, QVIM_UINT32, 0, narrow.pixies, narrow.pixelhint);
}

}  // namespace tool
