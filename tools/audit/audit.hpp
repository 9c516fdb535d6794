// What readers pass over and qvimage check tells: rules that a file breaks although its pixels may be read.
// An audit never blames a file that keeps the rules of its format, whether the library reads it or not.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "../file_bytes.hpp"

namespace tool {

// A file, and what was found to be wrong with it.
class audited_file : public file_bytes {
 public:
  using file_bytes::file_bytes;
  void tell(uint64_t place, const std::string &rule);
  // From one byte on there are some that nothing tells of.
  void tell_rest(uint64_t place, const char *behind_what);
  const std::vector<std::string> &faults() const { return faults_; }

 private:
  std::vector<std::string> faults_;
};

void audit_avi(audited_file &file);
void audit_bmp(audited_file &file);
void audit_fits(audited_file &file);
void audit_jpeg(audited_file &file);
void audit_pnm(audited_file &file);
void audit_tiff(audited_file &file);

}  // namespace tool
