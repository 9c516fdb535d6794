#include "audit.hpp"

#include "../text.hpp"

namespace tool {

void audited_file::tell(uint64_t place, const std::string &rule) {
  constexpr size_t most_told = 100;
  if (faults_.size() > most_told) return;
  faults_.push_back(faults_.size() < most_told
                        ? formatted("byte %llu: ", static_cast<unsigned long long>(place)) + rule
                        : "there is more");
}

void audited_file::tell_rest(uint64_t place, const char *behind_what) {
  if (place >= size()) return;
  tell(place, formatted("%llu bytes behind ", static_cast<unsigned long long>(size() - place)) + behind_what);
}

}  // namespace tool
