// Room for pixels that are needed in another order than their file gives them.
#pragma once

#include <cstddef>
#include <string>

namespace tool {

// Memory up to this; more is a file without a name, which goes with the program, whatever ends it.
constexpr size_t most_memory = size_t{64} << 20;

class scratch {
 public:
  // `beside`: the file in whose folder a file without a name may be made.
  scratch(size_t bytes, const std::string &beside);
  ~scratch();
  scratch(const scratch &) = delete;
  scratch &operator=(const scratch &) = delete;
  std::byte *data() const { return static_cast<std::byte *>(map_); }

 private:
  void *map_;
  const size_t bytes_;
};

}  // namespace tool
