#include <algorithm>

#include "audit.hpp"

namespace tool {

// A film is one or more RIFF chunks, one behind the other to the end of the file, and says where frames are.
void audit_avi(audited_file &file) {
  constexpr uint64_t chunk_head = 8, list_head = 12, most_header_bytes = 65536;
  bool has_index = false;
  uint64_t riff = 0;
  while (riff + list_head <= file.size() && file.text(riff, 4) == "RIFF") {
    const uint64_t end = riff + chunk_head + file.number(riff + 4, 4);
    if (end > file.size()) file.tell(riff + 4, "the RIFF chunk ends behind the end of the file");
    for (uint64_t at = riff + list_head; at + chunk_head <= std::min(end, file.size());) {
      const uint64_t size = file.number(at + 4, 4);
      has_index |= file.text(at, 4) == "idx1";
      // The list of streams may hold an index of indexes.
      if (file.text(at, 4) == "LIST" && size < most_header_bytes)
        has_index |= file.text(at, size).find("indx") != std::string::npos;
      if (at + chunk_head + size > end) file.tell(at + 4, "the chunk ends behind the one that holds it");
      at += chunk_head + size + size % 2;
    }
    riff = end + end % 2;
  }
  if (!has_index) file.tell(file.size(), "there is no index of the frames");
}

}  // namespace tool
