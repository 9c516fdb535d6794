// The log: its switch, its lines to the column, and what must not happen while it is written.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <qvimage/log.h>

#include "tests/fault.hpp"
#include "tests/files.hpp"

namespace {

using std::string;

void *const end = nullptr;

class Log : public testing::Test {
 protected:
  void SetUp() override { setenv("QUORLAN_LOGGING", path.c_str(), 1); }
  void TearDown() override {
    setup(LIBLOG_DISABLE);
    setup(LIBLOG_UNREGISTER, "app", "key", "OTHER_LOG");
    unsetenv("QUORLAN_LOGGING");
    unsetenv("OTHER_LOG");
  }

  static void setup(int flags, const char *app = nullptr, const char *key = nullptr,
                    const char *variable = nullptr, uint32_t level = 0) {
    liblog_setup(int16_t(flags), app, key, variable, level);
  }
  // What the file holds, each line's digits of time left out.
  string lines(bool forget = true) const {
    const auto bytes = file_bytes(path);
    if (forget) unlink(path.c_str());
    return std::regex_replace(string(bytes.begin(), bytes.end()), std::regex("(^|\n)[0-9]{13}: "), "$1T: ");
  }
  // What a traced call writes.
  string traced(const std::function<void()> &call) const {
    unlink(path.c_str());
    call();
    return lines();
  }

  temporary_folder folder;
  string path = folder / "log";
};

TEST_F(Log, IsOffUntilTheEnvironmentNamesAFileThatCanBeWritten) {
  unsetenv("QUORLAN_LOGGING");
  setup(LIBLOG_ENABLE | LIBLOG_HEADER);
  EXPECT_EQ(liblog_active, 0);
  setenv("QUORLAN_LOGGING", "", 1);
  setup(LIBLOG_ENABLE);
  EXPECT_EQ(liblog_active, 0);
  for (const string &bad : {folder.path(), folder / "none/log"}) {
    setenv("QUORLAN_LOGGING", bad.c_str(), 1);
    setup(LIBLOG_ENABLE);
    EXPECT_EQ(liblog_active, 0) << bad;
  }
  QVIMAGE_TRACE("f", "l", "D", &liblog_active, 4, end);
  EXPECT_TRUE(folder.empty());
  setenv("QUORLAN_LOGGING", path.c_str(), 1);  // the failures are forgotten
  setup(LIBLOG_ENABLE, nullptr, nullptr, nullptr, 2);
  EXPECT_EQ(liblog_active, 3);
  setup(LIBLOG_ENABLE, nullptr, nullptr, nullptr, 7);
  EXPECT_EQ(liblog_active, 3) << "a second time";
  EXPECT_EQ(lines(), "");
  setup(LIBLOG_DISABLE);
  EXPECT_EQ(liblog_active, 0);
  setup(LIBLOG_ENABLE, nullptr, nullptr, nullptr, UINT32_MAX);
  EXPECT_EQ(liblog_active, INT32_MAX);
}

TEST_F(Log, RegisteredNamesChooseTheVariableAndKeepTheLogOn) {
  const string other = folder / "other";
  setup(LIBLOG_REGISTER | LIBLOG_ENABLE, "app", nullptr, "OTHER_LOG");
  EXPECT_EQ(liblog_active, 0) << "the usual variable is not asked";
  setenv("OTHER_LOG", other.c_str(), 1);
  setup(LIBLOG_REGISTER | LIBLOG_ENABLE, "second", "key", "SECOND_LOG");
  EXPECT_EQ(liblog_active, 1);
  EXPECT_TRUE(file_exists(other));
  EXPECT_FALSE(file_exists(path));
  setup(LIBLOG_UNREGISTER, "second", "key", "SECOND_LOG");  // the first two names were there already
  EXPECT_EQ(liblog_active, 1);
  setup(LIBLOG_UNREGISTER, "app", nullptr, nullptr);
  EXPECT_EQ(liblog_active, 1);
  setup(LIBLOG_UNREGISTER, nullptr, nullptr, "OTHER_LOG");
  EXPECT_EQ(liblog_active, 0);
}

TEST_F(Log, HeaderSaysWhenItWasBuiltAndWhatTimeItIs) {
  setup(LIBLOG_HEADER);
  EXPECT_FALSE(file_exists(path)) << "off";
  setup(LIBLOG_ENABLE | LIBLOG_HEADER);
  const string month = "(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec)", text = lines();
  EXPECT_TRUE(std::regex_match(
      text, std::regex("\n\nT: Date/Time {16}Build {21}: " + month +
                       " [ 1-3][0-9] 20[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\n"
                       "T: Date/Time {16}Current {19}: "
                       " [01][0-9]/[0-3][0-9]/20[0-9]{2} [0-2][0-9]\\.[0-5][0-9]\\.[0-6][0-9]\n")))
      << text;
}

TEST_F(Log, LinesAreRightToTheColumn) {
  setup(LIBLOG_ENABLE);
  const auto grab = [](auto... rest) { liblog_aasrbz("grab", nullptr, rest...); };
  const string name = "T: grab                               ", gap = "                : ";
  const int16_t minus_two = -2;
  const int32_t number = 1234, large = -2147483647 - 1;
  const int64_t least = INT64_MIN;
  const float half = 0.5f;
  const double tenth = -0.1, two = 2, huge = 1.5e300;
  const uint8_t bytes[] = {0x01, 0x41, 0x0A, 0xFE};
  const uint8_t power[] = {0, 0, 0, 0, 0, 0, 0, 0, 1}, minus_power[] = {0, 0, 0, 0, 0, 0, 0, 0, 0xFF};
  const uint8_t all_ones[16] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F};
  const char word[] = "word";
  struct row {
    std::function<void()> call;
    string expected;
  };
  const row rows[] = {
      // names
      {[&] { grab(liblog_null, end); }, name + "\n"},
      {[&] { liblog_aasrbz(nullptr, "", nullptr, end); }, "T: " + string(35, ' ') + "\n"},
      {[&] { liblog_aasrbz("grab", "entry", "A", end); }, "T: grab                     entry     \n"},
      {[&] { liblog_aasrbz("grab", "entry", "+A", end); }, "T: grab                          entry\n"},
      {[&] { liblog_aasrbz("abcdefghijklmnopqrstuvwxyz", "0123456789", "", end); },
       "T: abcdefghijklmnopqrstuvwx 0123456789\n"},
      {[&] { liblog_aasrbz("abcdefghijklmnopqrstuvwxyz", "0123456789abc", "", end); },
       "T: abcdefghijklmnopqrstuvwx0123456789a\n"},
      {[&] { liblog_aasrbz("abcdefghijklmnopqrstuvwxyz0123456789", nullptr, "", end); },
       "T: abcdefghijklmnopqrstuvwxyz012345678\n"},
      // return values
      {[&] { grab("ArRD", -14, &number, 4, end); }, name + " ret=        -14:         1234\n"},
      {[&] { grab("rR", 7, end); }, name + " ret=          7: \n"},
      {[&] { grab("ARD", &number, 4, end); }, name + gap + "        1234\n"},
      {[&] { grab("rD", &number, 4, end); }, name + gap + "ret=        1234           : \n"},
      // numbers
      {[&] { grab("DJ", &minus_two, 2, &minus_two, 2, end); }, name + gap + "          -2       FFFEh\n"},
      {[&] { grab("D**", bytes, 1, &large, 4, &least, 8, end); },
       name + gap + "           1 -2147483648 -9223372036854775808\n"},
      {[&] { grab("DzDJzJ", bytes, 4, bytes, 4, bytes, 4, bytes, 4, end); },
       name + gap + "   -32882431    21039870   FE0A4101h    1410AFEh\n"},
      {[&] { grab("D**", power, 9, minus_power, 9, all_ones, 16, end); },
       name + gap +
           "    18446744073709551616   -18446744073709551616"
           " 170141183460469231731687303715884105727\n"},
      {[&] { grab("J*", power, 9, all_ones, 16, end); },
       name + gap + "      10000000000000000h 7FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFh\n"},
      {[&] { grab("F***", &half, 4, &tenth, 8, &two, 8, &huge, 8, end); },
       name + gap + "         0.5        -0.1           2    1.5e+300\n"},
      // bytes and strings
      {[&] { grab("BzBF", bytes, 4, bytes, 4, bytes, 2, end); }, name + gap + " 01410AFE FE0A4101 0141\n"},
      {[&] { grab("kBlkSSzS", bytes, 2, word, 0, word, 2, word, 4, end); },
       name + gap + "      2 bytes:  0141      4 bytes:  word wo drow\n"},
      {[&] { grab("Q", bytes, 2, bytes, 0, bytes, 1, end); }, name + gap + " 0141      (NULL) 01\n"},
      {[&] { grab("DBS", end); }, name + "\n"},
      // two lines
      {[&] { grab("DbSD", &number, 4, bytes, 4, &number, 4, end, &number, 4, bytes, 4, &number, 4, end); },
       name + gap + "        1234 01410AFE        1234\n" + string(13, ' ') + ": " +
           string(35 + 18 + 12 + 1, ' ') + "??A^????            \n"},
      {[&] { grab("rRksB", 1, word, 4, end, word, 4, end); },
       name + " ret=          1:       4 bytes:  776F7264\n" + string(13, ' ') + ": " +
           string(35 + 18 + 15 + 1, ' ') + "w^o^r^d^\n"},
      // the wrapper
      {[&] { liblog_aabzso("grab", nullptr, bytes, 4, "no", 0); }, name + gap + " 01410AFE\n"},
      {[&] { liblog_aabzso("grab", nullptr, nullptr, 77, "word", 9); }, name + gap + "          77 word\n"},
      {[&] { liblog_aabzso("grab", "x", nullptr, 77, nullptr, 8); },
       "T: grab                     x         \n"},
      // not written
      {[&] { grab("XD", &number, 4, end); }, ""},
      {[&] { grab("XX{D}", &number, 4, end); }, ""},
      // free text
      {[&] { liblog_printf("%s %d\n", "five", 5); }, "T: five 5\n"},
      {[&] { liblog_printf("no end"); }, "T: no end"},
  };
  for (size_t i = 0; i < std::size(rows); i++)
    EXPECT_EQ(traced(rows[i].call), rows[i].expected) << "row " << i;
}

TEST_F(Log, LevelsLeaveOutLinesWithFewerMarks) {
  for (uint32_t level : {0, 1, 2}) {
    setup(LIBLOG_ENABLE, nullptr, nullptr, nullptr, level);
    string expected;
    for (const char *marks : {"", "!", "!!"}) {
      liblog_aasrbz(marks, nullptr, marks, end);
      if (string(marks).size() >= level)
        expected += "T: " + string(marks) + string(35 - string(marks).size(), ' ') + "\n";
    }
    EXPECT_EQ(lines(), expected) << level;
    setup(LIBLOG_DISABLE);
  }
}

TEST_F(Log, BracesTurnItOnForACallOrUntilItIsTurnedOff) {
  const auto count = [&](const string &what) {
    const string text = lines(false);
    size_t found = 0;
    for (size_t at = 0; (at = text.find(what, at)) != string::npos; at++) found++;
    return found;
  };
  for (const char *format : {"{}", "{A}", "{!!}"}) liblog_aasrbz("call", nullptr, format, end);
  EXPECT_EQ(liblog_active, 0);
  EXPECT_EQ(count("T: call"), 3u);
  EXPECT_LE(count("Build"), 1u) << "the header once in a process";
  liblog_aabzso("call", nullptr, nullptr, 0, nullptr, 1);
  EXPECT_EQ(liblog_active, 1) << "no closing brace";
  liblog_aasrbz("call", nullptr, "{}", end);
  EXPECT_EQ(liblog_active, 1) << "closes only what its own call opened";
  setup(LIBLOG_DISABLE);
  const size_t headers = count("Build");
  liblog_printf("text\n");
  EXPECT_EQ(liblog_active, 0);
  EXPECT_EQ(count("T: text"), 1u);
  EXPECT_EQ(count("Build"), headers + 1);
  unsetenv("QUORLAN_LOGGING");
  liblog_aasrbz("call", nullptr, "{}", end);
  EXPECT_EQ(count("T: call"), 5u);
}

// Whole lines of threads and of processes, forked while others write; none is lost.
TEST_F(Log, LinesOfThreadsAndForkedProcessesAreWhole) {
  setup(LIBLOG_ENABLE);
  constexpr int threads = 4, each = 50;
  const auto write = [](int number) {
    const std::vector<uint8_t> bytes(3000, uint8_t(number));
    for (int i = 0; i < each; i++) liblog_aabzso("f", "l", bytes.data(), bytes.size(), nullptr, 0);
  };
  std::vector<std::thread> running;
  for (int i = 0; i < threads; i++) running.emplace_back(write, i);
  std::vector<pid_t> children;
  for (int i = 0; i < threads; i++) {
    const pid_t child = fork();
    if (child == 0) {
      write(threads + i);
      syscall(SYS_exit_group, 0);  // past ThreadSanitizer, which would miss the joins of the parent's threads
    }
    children.push_back(child);
  }
  for (std::thread &t : running) t.join();
  for (const pid_t child : children) {
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  std::multiset<char> found;
  const string text = lines(), head = "T: f                        l                         :  ";
  ASSERT_EQ(text.size(), 2 * threads * each * (head.size() + 6001));
  for (size_t at = 0; at < text.size(); at += head.size() + 6001) {
    ASSERT_EQ(text.substr(at, head.size()), head);
    const string digits = text.substr(at + head.size(), 6001);
    string expected;
    for (int i = 0; i < 3000; i++) expected += digits.substr(0, 2);
    ASSERT_EQ(digits, expected + "\n");
    found.insert(digits[1]);
  }
  for (int i = 0; i < 2 * threads; i++) EXPECT_EQ(found.count(char('0' + i)), size_t(each));
}

TEST_F(Log, FailuresCostTheirLinesOnly) {
  const auto everything = [] {
    setup(LIBLOG_REGISTER | LIBLOG_ENABLE | LIBLOG_HEADER, "app", "key", nullptr);
    errno = 1234;
    liblog_aasrbz("f", "l", "D", &liblog_active, 4, end);
    liblog_printf("%s\n", "text");
    liblog_aabzso("f", "l", nullptr, 0, "s", 9);
    EXPECT_EQ(errno, 1234);
    setup(LIBLOG_DISABLE | LIBLOG_UNREGISTER, "app", "key", nullptr);
    EXPECT_EQ(liblog_active, 0);
  };
  const int64_t live = live_allocations();
  const int open = open_files();
  for (bool for_ever : {false, true}) {
    for (int n = 0;; n++) {
      fail_allocation fault(n, for_ever);
      everything();
      if (!fault.fired()) break;
    }
    for (int n = 0;; n++) {
      fail_call fault(call_write, n, for_ever, ENOSPC);
      everything();
      if (!fault.fired()) break;
    }
  }
  EXPECT_EQ(live_allocations(), live);
  EXPECT_EQ(open_files(), open);

  unlink(path.c_str());
  setup(LIBLOG_ENABLE);
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  const string gone = folder / "gone";
  ASSERT_EQ(rename(path.c_str(), gone.c_str()), 0);
  liblog_aasrbz("f", nullptr, "", end);
  EXPECT_TRUE(file_exists(path)) << "made anew";
  unlink(path.c_str());
  ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
  liblog_aasrbz("f", nullptr, "", end);  // cannot be written
  rmdir(path.c_str());
  liblog_aasrbz("f", nullptr, "", end);
  EXPECT_EQ(lines(), "T: f" + string(34, ' ') + "\n");
  setup(LIBLOG_DISABLE);
  setenv("QUORLAN_LOGGING", (folder / "pipe").c_str(), 1);
  setup(LIBLOG_ENABLE);
  EXPECT_EQ(liblog_active, 0) << "a pipe that nobody reads is not waited for";
}

}  // namespace
