#include "audit.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>

#include "text.hpp"

namespace tool {

namespace {

class bytes_of_file {
 public:
  explicit bytes_of_file(const std::string &path) : file_(path, std::ios::binary | std::ios::ate) {
    size_ = file_ ? static_cast<uint64_t>(file_.tellg()) : 0;
  }
  uint64_t size() const { return size_; }
  // Zeros behind the end.
  std::string at(uint64_t place, size_t count) {
    std::string bytes(count, '\0');
    file_.clear();
    file_.seekg(static_cast<std::streamoff>(place));
    file_.read(bytes.data(), static_cast<std::streamsize>(count));
    return bytes;
  }

 private:
  std::ifstream file_;
  uint64_t size_;
};

uint64_t little_endian(const std::string &bytes) {
  uint64_t value = 0;
  for (size_t i = bytes.size(); i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[i]);
  return value;
}

}  // namespace

// A film is one or more RIFF chunks, one behind the other to the end of the file, and says where frames are.
std::vector<std::string> audit_avi(const std::string &path) {
  constexpr uint64_t chunk_head = 8, list_head = 12;
  bytes_of_file file(path);
  std::vector<std::string> found;
  bool has_index = false;
  const auto tell = [&](uint64_t place, const char *rule) {
    found.push_back(formatted("byte %llu: ", static_cast<unsigned long long>(place)) + rule);
  };
  uint64_t riff = 0;
  while (riff + list_head <= file.size() && file.at(riff, 4) == "RIFF") {
    const uint64_t end = riff + chunk_head + little_endian(file.at(riff + 4, 4));
    if (end > file.size()) tell(riff + 4, "the RIFF chunk ends behind the end of the file");
    for (uint64_t at = riff + list_head; at + chunk_head <= std::min(end, file.size());) {
      const uint64_t size = little_endian(file.at(at + 4, 4));
      has_index |= file.at(at, 4) == "idx1";
      // The list of streams may hold an index of indexes.
      if (file.at(at, 4) == "LIST" && size < 65536)
        has_index |= file.at(at, static_cast<size_t>(size)).find("indx") != std::string::npos;
      if (at + chunk_head + size > end) tell(at + 4, "the chunk ends behind the one that holds it");
      at += chunk_head + size + size % 2;
    }
    riff = end + end % 2;
  }
  if (!has_index) tell(file.size(), "there is no index of the frames");
  return found;
}

std::vector<std::string> audit_fits(const std::string &path) {
  constexpr uint64_t block = 2880;
  const uint64_t size = bytes_of_file(path).size();
  if (size % block == 0) return {};
  return {formatted("byte %llu: the file ends within a block of 2880 bytes",
                    static_cast<unsigned long long>(size))};
}

std::vector<std::string> audit_jpeg(const std::string &path) {
  bytes_of_file file(path);
  constexpr size_t most_padding = 64;  // bytes that cameras put behind
  const uint64_t from = file.size() > most_padding ? file.size() - most_padding : 0;
  if (file.at(from, static_cast<size_t>(file.size() - from)).find("\xFF\xD9") != std::string::npos) return {};
  return {formatted("byte %llu: no EOI marker at the end", static_cast<unsigned long long>(file.size()))};
}

}  // namespace tool
