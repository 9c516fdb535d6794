// The program that has no X in it calls the one beside it that has.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <qvimage/error.h>

#include "../failure.hpp"
#include "show.hpp"

namespace tool::show {

namespace {

constexpr const char *program = "qvimage-show";

std::vector<std::string> line_of(const arguments &arguments) {
  std::vector<std::string> line = {program, "show"};
  for (const arguments::given &given : arguments.options())
    line.push_back(std::string(given.name) + (given.value.empty() ? "" : "=" + given.value));
  line.emplace_back("--");
  line.insert(line.end(), arguments.operands().begin(), arguments.operands().end());
  return line;
}

}  // namespace

int open_window(const arguments &arguments) {
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  const std::string beside = (self.parent_path() / program).string();
  std::vector<std::string> line = line_of(arguments);
  std::vector<char *> words;
  for (std::string &word : line) words.push_back(word.data());
  words.push_back(nullptr);
  std::fflush(nullptr);
  execv(beside.c_str(), words.data());
  throw failure(
      program, QVERR_NOTINSTALLED,
      errno == ENOENT
          ? "windows are opened by this program, which is not beside qvimage; --terminal draws without it"
          : std::string("it cannot be started: ") + std::strerror(errno));
}

}  // namespace tool::show
