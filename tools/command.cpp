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

// Names as Americans spell them, and as other programs call them.
constexpr std::pair<std::string_view, std::string_view> spellings[] = {
    {"--color", "--colour"}, {"--normalize", "--normalise"}, {"--fps", "--rate"}};

const option &find(const command &command, std::span<const option> known, std::string_view name) {
  for (const auto &[other, ours] : spellings) {
    if (name == other) name = ours;
  }
  const auto found = std::ranges::find(known, name, &option::name);
  if (found == known.end()) complain(command, "unknown option " + printable(name));
  return *found;
}

bool is_option(std::string_view word) { return word.size() > 1 && word[0] == '-'; }

}  // namespace

arguments::arguments(const command &command, std::span<char *const> line) {
  const std::vector<option> known = command.options();
  bool options_ended = false;
  while (!line.empty()) {
    const std::string_view word = line[0];
    line = line.subspan(1);
    if (!options_ended && word == "--") {
      options_ended = true;
    } else if (!options_ended && is_option(word)) {
      take_option(command, known, word, line);
    } else {
      operands_.emplace_back(word);
    }
  }
  if (operands_.size() < command.fewest_operands) complain(command, "a file name is missing");
  if (operands_.size() > command.most_operands)
    complain(command, "too many file names: " + printable(operands_[command.most_operands]));
}

void arguments::take_option(const command &command, std::span<const option> known, std::string_view word,
                            std::span<char *const> &rest) {
  const size_t equals = word.find('=');
  const option &option = find(command, known, word.substr(0, equals));
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
  constexpr size_t column = 22;  // where the options' words begin
  std::string text = "usage: qvimage " + std::string(command.name) + " [OPTIONS] " +
                     std::string(command.operands) + "\n\n" + wrapped(command.details, 0) + "\nOptions:\n";
  std::vector<option> options = command.options();
  options.push_back({"--help", "", "show this"});
  for (const option &option : options) {
    std::string left = "  " + std::string(option.name) + " " + std::string(option.argument);
    left += left.size() < column ? std::string(column - left.size(), ' ') : "\n" + std::string(column, ' ');
    text += left + wrapped(option.help, column).substr(column);
  }
  return text;
}

size_t chosen(const option &option, std::string_view text) {
  std::string_view words = option.argument;
  for (size_t i = 0;; i++) {
    const size_t end = words.find('|');
    if (words.substr(0, end) == text) return i;
    if (end == words.npos) break;
    words.remove_prefix(end + 1);
  }
  throw usage_error(std::string(option.name) + " takes " + std::string(option.argument) + ", not " +
                    printable(text));
}

}  // namespace tool
