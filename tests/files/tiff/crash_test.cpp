// A process that appends to a TIFF file may die at any moment: what was in the file stays readable, and the
// next append works. The process is killed before each of its system calls in turn.
#include <gtest/gtest.h>

#include <qvimage/tiff.h>

#include "tests/files.hpp"
#include "tests/files/killed.hpp"
#include "tests/files/tiff/frame.hpp"
#include "tests/files/tiff/parse.hpp"

namespace {

TEST(TiffCrash, OlderPagesSurviveAKillBeforeAnySystemCall) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
  frame old(40, 30, 2, 12, 1, QVIM_HINT_GREY), added(150, 60, 1, 8, 3, QVIM_HINT_RGB);
  for (uint32_t version : {42u, 43u}) {
    qvimagefileinfo options{};
    options.version = version;
    options.compression = 32773;
    auto append = [&](frame &f, int64_t page) {
      return qvimage_tiffwrite(nullptr, &f.image, nullptr, path.c_str(), nullptr, 4096, page, &options, 0, 0,
                               0);
    };
    std::remove(path.c_str());
    ASSERT_EQ(append(old, 0), 0);
    ASSERT_EQ(append(old, 1), 0);
    const std::vector<uint8_t> before = file_bytes(path);
    const parsed_tiff original(before);
    kill_everywhere([&] { put_file(path, before); }, [&] { append(added, 2); },
                    [&](bool whole) {
                      const parsed_tiff now(file_bytes(path));
                      ASSERT_GE(now.pages.size(), 2u);
                      EXPECT_TRUE(!whole || now.pages.size() == 3u);
                      for (size_t page = 0; page < 2; page++) {
                        EXPECT_EQ(now.pages[page].value(256), 40u);
                        EXPECT_EQ(now.strips(now.pages[page]), original.strips(original.pages[page]));
                      }
                      for (size_t page = 2; page < now.pages.size(); page++)
                        now.strips(now.pages[page]);  // whole, or it throws
                      EXPECT_EQ(append(old, int64_t(now.pages.size())), 0);
                      EXPECT_EQ(parsed_tiff(file_bytes(path)).pages.size(), now.pages.size() + 1);
                    });
  }
}

}  // namespace
