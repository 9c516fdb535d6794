#include "audit.hpp"

namespace tool {

void audit_fits(audited_file &file) {
  constexpr uint64_t block = 2880;
  if (file.size() % block != 0) file.tell(file.size(), "the file ends within a block of 2880 bytes");
}

}  // namespace tool
