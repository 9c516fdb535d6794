// Reasons: what a call says about its failure, and when it says nothing.
#include "core/reason.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <thread>

#include <qvimage/qvimage.h>

namespace {

using namespace qvim;

template <class... Results>
int32_t door(Results... steps) {
  const public_call call;
  int32_t code = 0;
  (void)std::initializer_list<int>{(code = steps(), 0)...};
  return call.result(code);
}

int32_t quiet(int32_t code) {
  const quiet_reason quiet;
  return within({"nowhere"}, because(code, {"got over"}));
}

TEST(Reason, StatesCausesWithTheirPlaces) {
  struct row {
    int32_t (*work)();
    std::string said;
  };
  const std::string longest(QVIM_REASON_SIZE - 1, 'x');
  static const std::string too_long(1000, 'x');
  const row table[] = {
      {[] {
         return because(-10, {"code ", 413, " before ", int64_t{-7}, " of ", uint64_t(-1)});
       },
       "code 413 before -7 of 18446744073709551615"},
      {[] { return because(-10, {std::numeric_limits<int64_t>::min()}); }, "-9223372036854775808"},
      {[] {
         return within({"page ", 3}, within({"strip ", 12}, because(-10, {"cut off"})));
       },
       "page 3, strip 12: cut off"},
      {[] { return within({"page 3"}, -11); }, "page 3: Option/Feature/Operation not (currently) supported"},
      {[] { return because(-10, {"cause"}), because(-10, {"consequence"}); }, "cause"},
      {[] { return because(-10, {"worse"}), because(-7, {"better"}), -10; }, "worse"},
      {[] { return because(-7, {"better"}), because(-10, {"worse"}); }, "worse"},
      {[] { return quiet(-10), because(-7, {"left"}); }, "left"},
      {[] { return because(-10, {"of another code"}), -2; }, qverrnomesg(-2)},
      {[] { return because(-10, {"of another code"}), within({"here"}, -2); },
       std::string("here: ") + qverrnomesg(-2)},
      {[] { return -19; }, qverrnomesg(-19)},
      {[] {
         return because(-10, {too_long.c_str(), 7});
       },
       longest},
      {[] { return within({too_long.c_str()}, because(-10, {"lost"})); }, longest},
      {[] { return because(-10, {"got over"}), 5; }, ""},
      {[] { return door([] { return because(-10, {"inside"}); }); }, "inside"},
      {[] { return door([] { return because(-10, {"inside"}); }), door([] { return 0; }), -10; }, "inside"},
  };
  for (const row &r : table) {
    const int32_t code = door(r.work);
    EXPECT_EQ(qvimage_reason(), r.said) << code;
    EXPECT_EQ(code < 0, *qvimage_reason() != 0);
  }
}

TEST(Reason, IsKeptByTransfersThatSucceedAndReplacedByOthers) {
  const auto transfer = [](int32_t code, const char *cause) {
    const transfer_call call;
    if (code < 0) because(code, {cause});
  };
  door([] { return because(-10, {"opening"}); });
  transfer(0, nullptr);
  EXPECT_STREQ(qvimage_reason(), "opening");
  transfer(-7, "reading");
  EXPECT_STREQ(qvimage_reason(), "reading");
  door([&] { return transfer(-10, "inside a call"), transfer(-10, "later"), -10; });
  EXPECT_STREQ(qvimage_reason(), "inside a call");
}

TEST(Reason, BelongsToTheThread) {
  door([] { return because(-10, {"here"}); });
  std::thread([] {
    EXPECT_STREQ(qvimage_reason(), "");
    door([] { return because(-10, {"there"}); });
    EXPECT_STREQ(qvimage_reason(), "there");
  }).join();
  EXPECT_STREQ(qvimage_reason(), "here");
}

TEST(Reason, ConstructorsSetAndClearIt) {
  uint8_t pixels[16];
  const int32_t size[] = {4, 4};
  qvimage image, view;
  EXPECT_LT(qvimage_memory(&image, nullptr, size, 0, QVIM_UINT8, 8, 1, 0, 0), 0);
  EXPECT_STREQ(qvimage_reason(), qverrnomesg(QVERR_USAGE));
  EXPECT_EQ(qvimage_memory(&image, pixels, size, 0, QVIM_UINT8, 8, 1, 0, 0), 0);
  EXPECT_STREQ(qvimage_reason(), "");
  EXPECT_LT(qvimage_yodd(&view, nullptr, 0, 0), 0);
  EXPECT_STREQ(qvimage_reason(), "no source");
  EXPECT_EQ(qvimage_yodd(&view, &image, 0, 0), 0);
  EXPECT_STREQ(qvimage_reason(), "");
}

}  // namespace
