// Images and chains as values: pixels arrive and leave, set-ups stay with their copy, refusals say why.
#include <gtest/gtest.h>

#include <numeric>
#include <thread>

#include <qvimage/qvimage.hpp>

namespace {

constexpr int width = 7, height = 5;

class Values : public testing::Test {
 protected:
  Values() {
    for (int i = 0; i < width * height; i++) frame_[i] = static_cast<uint16_t>(100 * i);
  }
  static uint16_t at(int x, int y) { return static_cast<uint16_t>(100 * (y * width + x)); }

  uint16_t frame_[width * height];
  qv::image image_ = qv::over(frame_, {width, height}, 1, 12).value();
};

// A view is found by its place in its chain, and a file has one owner: neither is copied by mistake.
static_assert(!std::is_copy_constructible_v<qv::view> && !std::is_constructible_v<qv::image, qv::view &>);
static_assert(!std::is_assignable_v<qv::image &, qv::view &> && !std::is_copy_constructible_v<qv::file>);
static_assert(std::is_nothrow_move_constructible_v<qv::tiff> &&
              std::is_nothrow_move_constructible_v<qv::series>);

TEST_F(Values, ImagesDescribeTheMemoryThatTheyAreOver) {
  EXPECT_EQ(image_.width(), width);
  EXPECT_EQ(image_.height(), height);
  EXPECT_EQ(image_.bits(), 12);
  EXPECT_EQ(image_.type(), QVIM_UINT16);
  EXPECT_EQ(image_.hint(), QVIM_HINT_GREY);
  EXPECT_EQ(image_.pixels<uint16_t>().value(), std::vector<uint16_t>(frame_, frame_ + width * height));

  std::vector<float> rgb(2 * 3 * 4);
  const auto colours = qv::over(rgb, {2, 4}, 3).value();
  EXPECT_EQ(colours.hint(), QVIM_HINT_RGB);
  EXPECT_EQ(colours.bits(), 32);
  uint8_t padded[3][8] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
  auto pitched = qv::over(padded, {3, 3}, 1, 0, 8).value();
  EXPECT_EQ(pitched.pixels<uint8_t>().value(), (std::vector<uint8_t>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST_F(Values, WhatCannotBeAnImageIsRefused) {
  std::vector<uint8_t> few(11);
  EXPECT_EQ(qv::over(few, {4, 3}).error().code(), QVERR_USAGE);
  EXPECT_EQ(qv::over(few, {0, 3}).error().code(), QVERR_USAGE);
  EXPECT_EQ(qv::over(few, {2, 3}, 1, 9).error().code(), QVERR_USAGE);
  EXPECT_EQ(qv::over(few, {1, 1}, 33).error().code(), QVERR_USAGE);
  EXPECT_EQ(qv::over(few, {2, 3, 2}).error().code(), QVERR_USAGE);
  EXPECT_TRUE(qv::over(few.data(), {4, 3}));  // a pointer is trusted
}

TEST_F(Values, RunsAnswerWhatTheyFilled) {
  auto rows = image_.access<uint16_t>().value();
  uint16_t line[10] = {};
  const auto end_of_row = rows.read(line, 5, 2);
  ASSERT_EQ(end_of_row.size(), 2u);
  EXPECT_EQ(end_of_row.data(), line);
  EXPECT_EQ(end_of_row[1], at(6, 2));
  EXPECT_TRUE(rows.read(line, 0, height).empty());
  EXPECT_TRUE(rows.read({}, 0, 0).empty());

  auto columns = image_.access<uint16_t>(qv::low_end, qv::all_components, QVIM_YSCAN).value();
  EXPECT_EQ(columns.read(line, 3, 1).size(), 4u);
  EXPECT_EQ(line[3], at(3, 4));
  line[0] = 7;
  EXPECT_EQ(columns.write({line, 1}, 3, 1), 1u);
  EXPECT_EQ(frame_[width + 3], 7);

  EXPECT_EQ(image_.access<uint8_t>().error().code(), QVERR_DATATYPE);
  EXPECT_EQ(image_.access<uint16_t>(qv::low_end, 2).error().code(), QVERR_COLOUR);
  EXPECT_EQ(image_.access<uint16_t>(qv::low_end, 1, QVIM_ZSCAN).error().code(), QVERR_UNSUPPORTED);
}

TEST_F(Values, ComponentsAreCountedByTheMask) {
  uint8_t rgb[4 * 3];
  std::iota(rgb, rgb + 12, uint8_t{0});
  auto image = qv::over(rgb, {2, 2}, 3).value();
  auto two = image.access<uint8_t>(qv::low_end, 6).value();
  uint8_t line[5];  // room for two pixels and a half
  EXPECT_EQ(two.read(line, 0, 1).size(), 4u);
  EXPECT_EQ(line[3], 11);
  EXPECT_EQ(image.pixels<uint8_t>(qv::low_end, 2).value(), (std::vector<uint8_t>{1, 4, 7, 10}));
}

TEST_F(Values, SignificantBitsComeWhereTheyAreAskedFor) {
  EXPECT_EQ(image_.pixels<uint16_t>(qv::high_end).value()[3], at(3, 0) << 4);
  image_.d.i_bitsxsb = 0x100;  // in the memory they are at the high end now
  EXPECT_EQ(image_.pixels<uint16_t>().value()[3], at(3, 0) >> 4);
  EXPECT_EQ(image_.pixels<uint16_t>(qv::as_stored).value()[3], at(3, 0));
}

TEST_F(Values, RegionsAreRelativeToTheWindow) {
  auto part = image_.crop({2, 1, 4, 3});
  auto inner = part.crop({1, 1, 2, 1});
  EXPECT_EQ(inner.pixels<uint16_t>().value(), (std::vector<uint16_t>{at(3, 2), at(4, 2)}));
  EXPECT_EQ(image_.width(), width);  // the original is what it was

  EXPECT_EQ(part.set_window({-1, 0, 2, 2}).code(),
            QVERR_USAGE);  // inside of the image, but not of the window
  EXPECT_TRUE(part.reset_window());
  for (const qv::region outside :
       {qv::region{5, 0, 3, 1}, {-1, 0, 2, 2}, {0, 0, 3, 6}, {3, 3, -1, 1}, {3, 0, INT32_MAX, 1}}) {
    auto none = image_.crop(outside);
    EXPECT_EQ(none.access<uint16_t>().error().code(), QVERR_USAGE);
    EXPECT_EQ(none.pixels<uint16_t>().error().code(), QVERR_USAGE);
    EXPECT_EQ(image_.copy().set_window(outside).code(), QVERR_USAGE);
  }
  EXPECT_TRUE(part.reset_window());
  EXPECT_EQ(part.pixels<uint16_t>().value().size(), size_t{width * height});
}

TEST_F(Values, WholeWindowsMoveToAndFromMemoryThatIsThere) {
  const std::vector<uint16_t> ones(6, 1);
  EXPECT_TRUE(image_.crop({1, 1, 3, 2}).write(ones));
  EXPECT_EQ(std::accumulate(frame_ + 8, frame_ + 11, 0), 3);
  EXPECT_EQ(frame_[11], at(4, 1));
  uint16_t small[5];
  EXPECT_EQ(image_.crop({1, 1, 3, 2}).read(small).code(), QVERR_USAGE);
}

TEST_F(Values, ScatteredPixelsAndPixelsInPlace) {
  auto points = image_.scattered<uint16_t>().value();
  uint16_t values[2] = {5, 6};
  qvxyzcoord list[2] = {{6, 4, 0}, {0, 1, 0}};
  EXPECT_EQ(points.write(values, list), 2u);
  EXPECT_EQ(frame_[width * height - 1], 5);
  EXPECT_EQ(frame_[width], 6);

  const auto column = image_.map<uint16_t>(QVIM_YSCAN, 2, 1).value();
  ASSERT_EQ(column.size(), size_t{height - 1});
  EXPECT_EQ(column[3], &frame_[4 * width + 2]);
  EXPECT_EQ((image_ | qv::convert{8}).value().map<uint8_t>(QVIM_XSCAN, 0, 0).error().code(), QVERR_DATATYPE);
}

TEST_F(Values, VolumesAreTheSameWithOneAxisMore) {
  uint8_t cube[24];
  for (int i = 0; i < 24; i++) cube[i] = static_cast<uint8_t>(i);
  auto volume = qv::over(cube, {4, 3, 2}).value();
  EXPECT_EQ(volume.depth(), 2);
  EXPECT_EQ(volume.crop({1, 1, 1, 2, 1, 1}).pixels<uint8_t>().value(), (std::vector<uint8_t>{17, 18}));
  auto through = volume.access<uint8_t>(qv::low_end, 1, QVIM_ZSCAN).value();
  uint8_t line[2];
  EXPECT_EQ(through.read(line, 3, 2, 0).size(), 2u);
  EXPECT_EQ(line[1], 23);
  auto plane = (volume | qv::plane{1}).value();
  EXPECT_EQ(plane.pixels<uint8_t>().value()[4], 16);
  EXPECT_EQ((volume | qv::mean{}).value().pixels<uint8_t>().value()[0], 6);
}

TEST_F(Values, EveryViewIsAStepOfAChain) {
  uint8_t rgb[4 * 3] = {255, 0, 0, 0, 255, 0, 0, 0, 255, 9, 9, 9}, negative[256];
  for (int i = 0; i < 256; i++) negative[i] = static_cast<uint8_t>(255 - i);
  const auto colours = qv::over(rgb, {2, 2}, 3).value();
  const auto first = [](auto chain) { return chain.value().template pixels<uint8_t>().value()[0]; };
  EXPECT_EQ(first(colours | qv::component{0}), 255);
  EXPECT_EQ(first(colours | qv::recolour{QVIM_HINT_BGR}), 0);
  EXPECT_EQ(first(colours | qv::component{1} | qv::rotate{4}), 255);
  EXPECT_EQ(first(colours | qv::component{0} | qv::decimate{2, 2, 1, 1}), 9);
  EXPECT_EQ(first(colours | qv::component{2} | qv::field{true}), 255);
  EXPECT_EQ(first(colours | qv::component{0} | qv::bayer{0}), 255);
  EXPECT_EQ(first(colours | qv::component{0} | qv::lookup{{negative}, {negative}}), 0);
  EXPECT_EQ(first(colours | qv::component{0} | qv::monitor{}), 255);
  EXPECT_EQ(first(colours.crop({0, 0, 2, 1}) | qv::component{0} | qv::resample{1}), 255);
  EXPECT_EQ(first(colours | qv::volume{} | qv::renumber{0} | qv::joined{} | qv::component{0}), 255);
  EXPECT_EQ(first(colours | qv::volume{} | qv::mean{}), 255);
  EXPECT_EQ((image_ | qv::convert{8, true}).value().pixels<float>().value()[1], 100 / 65535.f);
}

TEST_F(Values, AConvertersDescriptionIsWhatTheNextViewGoesBy) {
  auto view = (image_ | qv::convert{8} | qv::rotate{1}).value();
  EXPECT_EQ(view.bits(), 8);
  EXPECT_EQ(view.width(), height);
  const auto bytes = view.top().pixels<uint8_t>(QVIM_LSB).value();
  EXPECT_EQ(bytes[1], at(0, 1) >> 4);
}

// The views name each other by their places, so nothing of the first chain is used by the second.
TEST_F(Values, ChainsAreCopiedAsBytes) {
  auto view = (image_ | qv::convert{8} | qv::rotate{4}).value();
  auto cut = view.crop({0, 1, 2, 1});
  auto copy = view;
  memset(static_cast<void *>(&view), 0xA5, sizeof view);
  EXPECT_EQ(copy.pixels<uint8_t>().value()[0], at(6, 0) >> 4);
  EXPECT_EQ(cut.pixels<uint8_t>().value(),
            (std::vector<uint8_t>{uint8_t(at(6, 1) >> 4), uint8_t(at(5, 1) >> 4)}));
}

TEST_F(Values, AFailureGoesThroughTheRestOfTheChain) {
  const auto failed = image_ | qv::decimate{0, 1} | qv::rotate{1} | qv::convert{8};
  ASSERT_FALSE(failed);
  EXPECT_EQ(failed.error().code(), QVERR_USAGE);
  EXPECT_FALSE(failed.error().reason().empty());
  EXPECT_EQ((image_ | qv::convert{33}).error().code(), QVERR_USAGE);
}

TEST_F(Values, NullImagesAreSafe) {
  qv::image none;
  EXPECT_TRUE(none.is_null());
  EXPECT_EQ(none.access<uint8_t>().error().code(), QVERR_USAGE);
  EXPECT_EQ(none.scattered<uint8_t>().error().code(), QVERR_USAGE);
  EXPECT_EQ(none.pixels<uint8_t>().error().code(), QVERR_USAGE);
  EXPECT_FALSE(none.crop({0, 0, 1, 1}).pixels<uint8_t>());
  qv::chain<2> empty;
  EXPECT_FALSE(empty.access<uint8_t>());
}

TEST_F(Values, ThreadsHaveACopyOfTheChainEach) {
  const auto view = (image_ | qv::convert{8} | qv::rotate{5}).value();
  const auto expected = view.copy().pixels<uint8_t>().value();
  bool same[2] = {true, true};
  std::thread threads[2];
  for (int i = 0; i < 2; i++) {
    threads[i] = std::thread([view = view.copy(), &expected, &good = same[i]]() mutable {
      for (int n = 0; n < 200; n++) good &= view.pixels<uint8_t>().value() == expected;
    });
  }
  for (auto &thread : threads) thread.join();
  EXPECT_TRUE(same[0] && same[1]);
}

TEST(Results, CarryAValueOrTheReason) {
  const qv::status refused(QVERR_FORMAT, "a.tif", "no reason");
  EXPECT_STREQ(refused.text(), "Invalid file format: a.tif: no reason");
  qv::result<std::unique_ptr<int>> some(std::make_unique<int>(3)), none(refused);
  EXPECT_TRUE(some.error());
  EXPECT_EQ(**some, 3);
  EXPECT_EQ(none.error().code(), QVERR_FORMAT);
  some = std::move(none);
  EXPECT_FALSE(some);
  EXPECT_EQ(qv::result<int>(refused).value_or(4), 4);
  EXPECT_EQ(qv::result<int>(5).transform([](int i) { return 2 * i; }).value(), 10);
  EXPECT_EQ(qv::result<int>(refused).and_then([](int i) { return qv::result<int>(i); }).error().path(),
            "a.tif");
  EXPECT_THROW(qv::result<int>(refused).value(), qv::error);
  EXPECT_NO_THROW(qv::status().value());

  // Of a path that is too long the end is kept.
  const qv::status longest(QVERR_IO, std::string(5000, 'x') + "/name", std::string(5000, 'y'));
  EXPECT_EQ(longest.path().size(), 256u);
  EXPECT_TRUE(longest.path().ends_with("x/name"));
  EXPECT_TRUE(longest.reason().starts_with("yyy") && longest.reason().size() >= 200);
  EXPECT_EQ(std::string_view(longest.text()).size(), strlen(longest.text()));
}

}  // namespace
