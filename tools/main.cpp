// The command qvimage: image files from the shell, through the library's public interface only.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <new>

#include <qvimage/error.h>

#include "command.hpp"
#include "failure.hpp"
#include "interrupt.hpp"
#include "kernels/processor.hpp"
#include "terminal.hpp"
#include "text.hpp"

namespace tool {

namespace {

const command *const commands[] = {&info_command, &check_command, &convert_command,
                                   &diff_command, &stat_command,  &show_command};

std::string overall_help() {
  std::string text = "usage: qvimage COMMAND [OPTIONS] FILE...\n\nCommands:\n";
  for (const command *command : commands)
    text +=
        formatted("  %-8s %s\n", std::string(command->name).c_str(), std::string(command->summary).c_str());
  return text +
         "\nPages, rows and components are counted from 1.\n"
         "qvimage COMMAND --help tells more, qvimage --version the version.\n"
         "Exit status: 0 fine, 1 failed or different, 2 wrong usage.\n";
}

bool asks_for_help(std::span<char *const> line) {
  for (const char *word : line) {
    if (std::strcmp(word, "--") == 0) return false;
    if (std::strcmp(word, "--help") == 0 || std::strcmp(word, "-h") == 0) return true;
  }
  return false;
}

std::string version() {
  return formatted("qvimage %s, processor level %s\n", QVIMAGE_VERSION,
                   qvim::level_names[qvim::level_in_use()]);
}

int show(const std::string &text) {
  std::fputs(text.c_str(), stdout);
  return fine;
}

int run(std::span<char *const> line) {
  if (line.empty()) throw usage_error("a command is missing (see qvimage --help)");
  const std::string_view name = line[0];
  if (name == "--help" || name == "-h" || name == "help") return show(overall_help());
  if (name == "--version") return show(version());
  const auto found = std::ranges::find(commands, name, &command::name);
  if (found == std::end(commands))
    throw usage_error("unknown command " + printable(name) + " (see qvimage --help)");
  line = line.subspan(1);
  if (asks_for_help(line)) return show(help(**found));
  return (*found)->run(arguments(**found, line));
}

// Standard streams that the caller has closed fail when they are used. Were they left closed, the next file
// to be opened would take their place, and messages would go into it.
void guard_standard_streams() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) < 0) open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

// What was printed may have gone nowhere: a full disk behind the standard output is a failure too.
int flushed(int status) {
  errno = 0;
  if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return status;
  report(failure("standard output", QVERR_IO, system_detail(QVERR_IO, "not everything could be printed")));
  return failed;
}

int guarded(std::span<char *const> line) {
  try {
    return flushed(run(line));
  } catch (const usage_error &error) {
    std::fprintf(stderr, "qvimage: %s\n", error.what());
    return wrong_usage;
  } catch (const failure &failure) {
    report(failure);
  } catch (const std::bad_alloc &) {
    report(failure("memory", QVERR_MEMORY, "too little of it"));
  } catch (const interrupted &interrupt) {
    end_by_signal(interrupt.signal);
  } catch (const std::exception &error) {
    std::fprintf(stderr, "qvimage: %s\n", error.what());
  }
  return failed;
}

}  // namespace

}  // namespace tool

int main(int count, char **words) {
  tool::guard_standard_streams();
  tool::set_up_terminal();
  return tool::guarded(std::span<char *const>(words + 1, words + std::max(count, 1)));
}
