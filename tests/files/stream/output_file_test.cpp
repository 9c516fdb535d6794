// Files that writers meet are never lost: what a failure may remove, what arguments spare, who writes at
// once.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <thread>

#include <qvimage/qvimage.h>

#include "tests/fault.hpp"
#include "tests/files.hpp"
#include "tests/files/formats.hpp"
#include "tests/files/tiff/saved.hpp"

namespace {

int32_t stop(int64_t, int64_t) { return -4; }

std::function<void()> in_callback;  // what happens while a file is written
int32_t call_it(int64_t step, int64_t) { return step == 1 ? in_callback(), 0 : 0; }

class Kept : public testing::Test {
 protected:
  int32_t write(const char *mode, qvimagecallback callback = nullptr, int64_t append = 0) {
    return qvimage_tiffwrite(callback, &image.image, nullptr, path.c_str(), mode, 0, append, nullptr, 0, 0,
                             0);
  }
  mode_t type_of(const std::string &name) const {
    struct stat s;
    return lstat(name.c_str(), &s) == 0 ? s.st_mode & S_IFMT : 0;
  }

  temporary_folder folder;
  const std::string path = folder / "a.tif", target = folder / "target.tif";
  const bytes old = {1, 2, 3, 4};
  frame image{40, 30, 2, 12, 1, QVIM_HINT_GREY};
};

TEST_F(Kept, FailuresRemoveOnlyWhatTheCallMade) {
  const auto is = [&](mode_t type, mode_t target_type) {
    EXPECT_EQ(type_of(path), type);
    EXPECT_EQ(type_of(target), target_type);
    EXPECT_TRUE(type != S_IFREG || file_bytes(path) == old);
  };
  struct {
    const char *what;
    std::function<void()> make;
    // What stands under the path, and under the link's target, after a failure with each mode.
    mode_t by_default, in_place, target_by_default, target_in_place;
  } const cases[] = {
      {"nothing", [] {}, 0, 0, 0, 0},
      {"file", [&] { put_file(path, old); }, S_IFREG, 0, 0, 0},
      {"link to a file", [&] { put_file(target, old), std::filesystem::create_symlink("target.tif", path); },
       S_IFLNK, S_IFLNK, S_IFREG, 0},
      {"link to nothing", [&] { std::filesystem::create_symlink(target, path); }, S_IFLNK, S_IFLNK, 0, 0},
      {"FIFO", [&] { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }, S_IFIFO, S_IFIFO, 0, 0},
      {"link to a FIFO",
       [&] {
         ASSERT_EQ(mkfifo(target.c_str(), 0600), 0);
         std::filesystem::create_symlink(target, path);
       },
       S_IFLNK, S_IFLNK, S_IFIFO, S_IFIFO},
      {"socket",
       [&] {
         sockaddr_un name{AF_UNIX, {}};
         path.copy(name.sun_path, sizeof name.sun_path - 1);
         const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
         ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr *>(&name), sizeof name), 0);
         close(fd);
       },
       S_IFSOCK, S_IFSOCK, 0, 0},
      {"device", [&] { static_cast<void>(mknod(path.c_str(), S_IFCHR | 0600, makedev(1, 3))); }, S_IFCHR,
       S_IFCHR, 0, 0},
  };
  qvimage_progress([](void *, int64_t, int64_t) { return -4; }, nullptr);
  for (const formats::format &f : formats::all)
    for (const auto &c : cases)
      for (const char *mode : {(const char *)nullptr, "w+b"}) {
        SCOPED_TRACE(testing::Message() << f.name << ", " << c.what << ", mode " << (mode ? mode : "null"));
        film picture = f.picture(40, 10);
        for (const std::string &name : {path, target}) std::remove(name.c_str());
        c.make();
        if (type_of(path) == 0 && c.by_default == S_IFCHR) continue;  // no devices can be made here
        EXPECT_LT(f.save(picture, path, {.mode = mode}), 0);
        mode ? is(c.in_place, c.target_in_place) : is(c.by_default, c.target_by_default);
        EXPECT_EQ(folder.files(), size_t(type_of(path) != 0) + size_t(type_of(target) != 0));
      }
  qvimage_progress(nullptr, nullptr);
}

// In a folder of many writers, a name may stand for another file by the time that the call fails.
TEST_F(Kept, AFileThatTookOverTheNameStays) {
  in_callback = [&] {
    put_file(target, old);
    std::filesystem::rename(target, path);
  };
  const auto fail_later = [](int64_t step, int64_t steps) -> int32_t {
    return step == steps ? -4 : call_it(step, steps);
  };
  EXPECT_EQ(write("w+b", fail_later), -4);
  EXPECT_EQ(file_bytes(path), old);
  EXPECT_EQ(folder.files(), 1u);
}

TEST_F(Kept, APictureIsReplacedWithItsPermissionsAndThroughItsLinks) {
  put_file(target, old);
  ASSERT_EQ(chmod(target.c_str(), 0640), 0);
  std::filesystem::create_symlink("target.tif", path);
  in_callback = [&] { EXPECT_EQ(file_bytes(target), old) << "it is there while the new one is written"; };
  ASSERT_EQ(write(nullptr, call_it), 0);
  EXPECT_EQ(type_of(path), mode_t(S_IFLNK));
  struct stat s;
  ASSERT_EQ(stat(target.c_str(), &s), 0);
  EXPECT_EQ(s.st_mode & 07777, 0640u);
  EXPECT_EQ(parsed_tiff(file_bytes(target)).pages.size(), 1u);
  const mode_t mask = umask(027);
  std::remove(path.c_str());
  EXPECT_EQ(write(nullptr), 0);
  umask(mask);
  ASSERT_EQ(stat(path.c_str(), &s), 0);
  EXPECT_EQ(s.st_mode & 07777, 0640u) << "a new file has a new file's permissions";
}

TEST_F(Kept, ModesKeepTheirLettersAndTheDefaultClosesInOtherPrograms) {
  bool closes = false;
  in_callback = [&] {
    int found = 0;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code gone;
      if (std::filesystem::read_symlink(entry, gone).parent_path() !=
          std::filesystem::canonical(folder.path()))
        continue;
      closes = fcntl(std::stoi(entry.path().filename()), F_GETFD) & FD_CLOEXEC;
      found++;
    }
    EXPECT_EQ(found, 1);
  };
  const struct {
    const char *mode;
    int64_t append;
    bool new_only, closes;
  } cases[] = {{nullptr, 0, false, true}, {"w", 0, false, false},  {"we", 0, false, true},
               {"wbx", 0, true, false},   {"wxe", 0, true, true},  {nullptr, 1, false, true},
               {"r+", 1, false, false},   {"rb+e", 1, false, true}};
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << (c.mode ? c.mode : "null") << ", append " << c.append);
    std::remove(path.c_str());
    ASSERT_EQ(c.append ? write(nullptr) : 0, 0);
    EXPECT_EQ(write(c.mode, call_it, c.append), 0);
    EXPECT_EQ(closes, c.closes);
    if (!c.new_only) continue;
    put_file(path, old);
    EXPECT_EQ(write(c.mode), -14);
    EXPECT_EQ(file_bytes(path), old);
  }
}

TEST_F(Kept, ProcessesThatAppendAtOnceLoseNoPage) {
  constexpr int writers = 4, each = 12;
  ASSERT_EQ(write(nullptr), 0);
  std::vector<pid_t> children;
  for (int i = 0; i < writers; i++) {
    children.push_back(fork());
    if (children.back() != 0) continue;
    int32_t code = 0;
    for (int page = 0; page < each && code == 0; page++) code = write(nullptr, nullptr, QVIM_TIFF_END);
    _exit(code == 0 ? 0 : 1);
  }
  for (const pid_t child : children) {
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(parsed_tiff(file_bytes(path)).pages.size(), size_t{1 + writers * each});
}

TEST_F(Kept, AnAppendDoesNotWaitForALockForEver) {
  ASSERT_EQ(write(nullptr), 0);
  const bytes before = file_bytes(path);
  const int fd = open(path.c_str(), O_RDONLY);
  ASSERT_EQ(flock(fd, LOCK_EX), 0);
  {
    fail_call no_waiting(call_wait, 0, true);
    EXPECT_EQ(write(nullptr, nullptr, 1), -14);
    EXPECT_TRUE(no_waiting.fired());
  }
  EXPECT_EQ(file_bytes(path), before);
  close(fd);
  EXPECT_EQ(write(nullptr, nullptr, 1), 0);
  EXPECT_EQ(write(nullptr, nullptr, QVIM_TIFF_END), 0);
  EXPECT_EQ(parsed_tiff(file_bytes(path)).pages.size(), 3u);
}

TEST_F(Kept, ReasonsSayWhoIsToBlame) {
  const auto expect = [&](int32_t code, const char *words) {
    EXPECT_LT(code, 0);
    EXPECT_NE(std::string(qvimage_reason()).find(words), std::string::npos)
        << qvimage_reason() << " lacks " << words;
  };
  frame real(4, 4, QVIM_FLOAT32, 0, 1, 0), five(4, 4, 1, 8, 5, 0);
  qvimagefileinfo lzw = options_for(5, 16 * 60);
  expect(save(real, path, &lzw), "without compression (1) only, not by 5");
  expect(save(five, path), "pixels of 5 pixies");
  expect(write("a+b"), "\"a+b\"");
  expect(save(image, folder / "no/folder.tif"), "No such file or directory");
  expect(write(nullptr, stop), "row 1");
  ASSERT_EQ(write(nullptr), 0);
  EXPECT_STREQ(qvimage_reason(), "");
  expect(write(nullptr, nullptr, 3), "has 1 pages, not 3");
  {
    full_disk disk(100);
    expect(write(nullptr), "No space left on device");
  }
  // A damaged source: its second strip, from row 17 on, is no LZW data.
  ASSERT_EQ(save(image, target, &lzw), 0);
  bytes damaged = file_bytes(target);
  const parsed_tiff whole(damaged);
  std::fill_n(damaged.begin() + long(whole.pages.at(0).tags.at(273).values.at(1)), 20, uint8_t(0xFF));
  put_file(target, damaged);
  qvimage source;
  tiffhandle *h = nullptr;
  ASSERT_EQ(qvimage_tiffread(&source, nullptr, &h, target.c_str(), nullptr, 0, 0, 0), 0);
  const int32_t code =
      qvimage_tiffwrite(nullptr, &source, nullptr, path.c_str(), nullptr, 0, 0, nullptr, 0, 0, 0);
  expect(code, "row 17 of the image to be written");
  expect(code, "strip 2");
  EXPECT_EQ(qvimage_tiffreaddone(&source, nullptr, &h), 0);
}

// A step that fails between a page and its link must not leave a link to nothing.
TEST_F(Kept, PagesBeforeOneWhoseLinkIsCutShortStayReachable) {
  for (const uint64_t most : {uint64_t{10}, uint64_t{3000}})
    for (int n = 0, failures = 1; failures > 0; n++) {
      tiffhandle *h = nullptr;
      ASSERT_EQ(qvimage_tiffwriteopen(&h, 1, nullptr, nullptr, path.c_str(), nullptr, 4096, 0, nullptr), 0);
      EXPECT_EQ(add_page(&h, image), 0);
      {
        fail_call fault(call_write, n, false, short_count{most, true});
        failures = add_page(&h, image) < 0;
      }
      qvimage_tifffini(&h, 1);
      EXPECT_EQ(parsed_tiff(file_bytes(path)).pages.size(), size_t(2 - failures))
          << most << " bytes of write " << n;
      ASSERT_EQ(failures, n < 2) << "the page's write, and the link's";
    }
}

TEST_F(Kept, EveryPageOfAnOpenFileCostsTheSame) {
  frame small(20, 10, 1, 8, 1, QVIM_HINT_GREY);
  tiffhandle *h = nullptr;
  ASSERT_EQ(qvimage_tiffwriteopen(&h, 1, nullptr, nullptr, path.c_str(), nullptr, 4096, 0, nullptr), 0);
  uint64_t most = 0;
  for (int page = 0; page < 2000; page++) {
    const uint64_t before = call_count();
    EXPECT_EQ(add_page(&h, small), 0);
    if (page < 100) most = std::max(most, call_count() - before);
    EXPECT_LE(call_count() - before, most) << page;
  }
  EXPECT_EQ(qvimage_tifffini(&h, 1), 0);
}

// Some sources leave bytes of their pixels alone.
TEST_F(Kept, BytesThatASourceLeavesAloneAreZeros) {
  qvimage lazy = image.image;
  lazy.ioset = [](qvimage *, uint32_t, uint32_t, uint32_t) { return 1; };
  lazy.ioread = [](qvimage *, uint32_t, void *, uint32_t count, int32_t, int32_t) { return count; };
  for (const int32_t bits : {12, 16}) {
    lazy.d.i_bitsused = bits;
    mallopt(M_PERTURB, 0x5A);  // fills what malloc returns
    EXPECT_EQ(qvimage_tiffwrite(nullptr, &lazy, nullptr, path.c_str(), nullptr, 0, 0, nullptr, 0, 0, 0), 0);
    mallopt(M_PERTURB, 0);
    const parsed_tiff file(file_bytes(path));
    for (const bytes &strip : file.strips(file.pages.at(0))) EXPECT_EQ(strip, bytes(strip.size()));
  }
}

TEST_F(Kept, TheThreadsCallbackHearsOfCallsWithoutOne) {
  int heard = 0;
  const auto hear = [](void *p, int64_t, int64_t) { return ++*static_cast<int *>(p), 0; };
  EXPECT_EQ(qvimage_progress(hear, &heard), nullptr);
  EXPECT_EQ(write(nullptr), 0);
  EXPECT_EQ(heard, 30);
  EXPECT_EQ(write(nullptr, stop), -4) << "a callback of the call's own hears instead";
  std::thread([&] { EXPECT_EQ(write(nullptr), 0); }).join();
  EXPECT_EQ(heard, 30) << "another thread's work is not heard of";
  void *beside = nullptr;
  const qvimageprogress present = qvimage_progress(QVIM_PROGRESS_ASK, &beside);
  EXPECT_EQ(beside, &heard);
  EXPECT_EQ(qvimage_progress(nullptr, nullptr), present);
}

}  // namespace
