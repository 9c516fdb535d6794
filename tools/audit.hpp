// What readers pass over and qvimage check tells: rules that a file breaks although its pixels can be read.
#pragma once

#include <string>
#include <vector>

namespace tool {

std::vector<std::string> audit_avi(const std::string &path);
std::vector<std::string> audit_fits(const std::string &path);
std::vector<std::string> audit_jpeg(const std::string &path);

}  // namespace tool
