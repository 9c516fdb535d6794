#include "command.hpp"

#include <algorithm>
#include <cstdint>

#include "failure.hpp"
#include "text.hpp"

namespace tool {

namespace {

[[noreturn]] void complain(const command &command, const std::string &what) {
  throw usage_error(what + " (see qvimage " + std::string(command.name) + " --help)");
}

const option &find(const command &command, std::string_view name) {
  const auto found = std::ranges::find(command.options, name, &option::name);
  if (found == command.options.end()) complain(command, "unknown option " + printable(name));
  return *found;
}

bool is_option(std::string_view word) { return word.size() > 1 && word[0] == '-'; }

}  // namespace

arguments::arguments(const command &command, std::span<char *const> line) {
  bool options_ended = false;
  while (!line.empty()) {
    const std::string_view word = line[0];
    line = line.subspan(1);
    if (!options_ended && word == "--") {
      options_ended = true;
    } else if (!options_ended && is_option(word)) {
      take_option(command, word, line);
    } else {
      operands_.emplace_back(word);
    }
  }
  if (operands_.size() < command.fewest_operands) complain(command, "a file name is missing");
  if (operands_.size() > command.most_operands)
    complain(command, "too many file names: " + printable(operands_[command.most_operands]));
}

void arguments::take_option(const command &command, std::string_view word, std::span<char *const> &rest) {
  const size_t equals = word.find('=');
  const option &option = find(command, word.substr(0, equals));
  if (option.argument.empty()) {
    if (equals != word.npos) complain(command, std::string(option.name) + " takes no value");
    given_.push_back({option.name, ""});
  } else if (equals != word.npos) {
    given_.push_back({option.name, std::string(word.substr(equals + 1))});
  } else {
    if (rest.empty()) complain(command, std::string(option.name) + " needs " + std::string(option.argument));
    given_.push_back({option.name, rest[0]});
    rest = rest.subspan(1);
  }
}

std::optional<std::string> arguments::value(std::string_view name) const {
  const auto last =
      std::find_if(given_.rbegin(), given_.rend(), [&](const given &g) { return g.name == name; });
  return last == given_.rend() ? std::nullopt : std::optional(last->value);
}

std::string help(const command &command) {
  std::string text = "usage: qvimage " + std::string(command.name) + " [OPTIONS] " +
                     std::string(command.operands) + "\n\n" + std::string(command.details) + "\n\nOptions:\n";
  for (const option &option : command.options) {
    const std::string left = std::string(option.name) + " " + std::string(option.argument);
    text += formatted("  %-24s ", left.c_str());
    if (left.size() > 24) text += "\n" + std::string(27, ' ');
    for (const char c : option.help) text += c == '\n' ? "\n" + std::string(27, ' ') : std::string(1, c);
    text += '\n';
  }
  return text + "  --help                   show this\n";
}

}  // namespace tool
