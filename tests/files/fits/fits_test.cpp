// FITS files: the header's cards, what images become in them and what they become again.
#include "tests/fault.hpp"
#include "tests/files.hpp"
#include "tests/files/pictures.hpp"

namespace {

// The cards of a header, without trailing blanks.
std::vector<std::string> cards_of(const std::string &path) {
  const bytes file = file_bytes(path);
  std::vector<std::string> cards;
  for (size_t at = 0; at + 80 <= file.size(); at += 80) {
    std::string card(file.begin() + long(at), file.begin() + long(at) + 80);
    card.erase(card.find_last_not_of(' ') + 1);
    cards.push_back(card);
    if (card == "END") break;
  }
  return cards;
}
std::string card_of(const std::string &path, const std::string &start) {
  for (const std::string &card : cards_of(path))
    if (card.rfind(start, 0) == 0) return card;
  return "";
}

void set_sizes(film &f) {
  qviminithints(&f.image.h, QVIM_UNIT_MILLIMETER, QVIM_UNIT_MILLIMETER, QVIM_UNIT_SECOND, 0.5f, 0.25f, 2.0f);
}

class Fits : public testing::Test {
 protected:
  const temporary_folder folder_;
  const std::string path_ = folder_ / "a.fits";
};

TEST_F(Fits, HeadersAreCardsAsTheyAreWrittenDown) {
  const int32_t dims[2] = {640, 480};
  bytes pixels(640 * 480, 7);
  qvimage image;
  ASSERT_EQ(qvimage_memory(&image, pixels.data(), dims, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0), 0);
  qvimagefileinfo options{};
  char day[] = "2026-11-25", observer[] = "O'Hara", lines[] = "first 'line'\nsecond";
  char history[] = "0123456789012345678901234567890123456789012345678901234567890123456789";
  options.fts_date = day, options.fts_observer = observer, options.fts_comment = lines,
  options.fts_history = history;
  ASSERT_EQ(qvimage_fitswrite(nullptr, &image, 0, path_.c_str(), nullptr, 0, &options), 0);
  const std::vector<std::string> expected = {
      "SIMPLE  =                    T",
      "BITPIX  =                    8",
      "NAXIS   =                    3",
      "NAXIS1  =                    1",
      "NAXIS2  =                  640",
      "NAXIS3  =                  480",
      "DATAMIN =                    0",
      "DATAMAX =                  255",
      "DATE    = '2026-11-25'",
      "OBSERVER= 'O''Hara'",
      "COMMENT   'first ''line'''",
      "COMMENT   'second'",
      "HISTORY   '01234567890123456789012345678901234567890123456789012345678901234567'",
      "HISTORY   '89'",
      "          AXIS1UNT= '" + std::string(qvimhinttostring(QVIM_HINT_GREY)) + "'",
      "          AXIS2UNT= 'Unknown'",
      "          AXIS3UNT= 'Unknown'",
      "END"};
  EXPECT_EQ(cards_of(path_), expected);
  const bytes file = file_bytes(path_);
  EXPECT_EQ(file.size() % 2880, 0u);
  EXPECT_EQ(bytes(file.begin() + 2880, file.begin() + 2880 + long(pixels.size())), pixels);
  EXPECT_EQ(file.size(), 2880 + (pixels.size() + 2879) / 2880 * 2880);
}

TEST_F(Fits, EveryTypeAndLayoutComesBack) {
  struct row {
    int32_t type, bits, pixies, hint;
    uint32_t layout;
    const char *bzero;
  };
  for (const row &r : {row{QVIM_UINT8, 0, 1, 1, 0, ""},
                       {QVIM_UINT8, 0, 1, 1, 2, ""},
                       {QVIM_UINT8, 3, 3, 67, 1, ""},
                       {QVIM_UINT8, 0, 3, 67, 0, ""},
                       {QVIM_UINT16, 12, 1, 1, 0, ""},
                       {QVIM_UINT16, 0, 1, 1, 0, "32768"},
                       {QVIM_UINT16, 0, 3, 3, 1, "32768"},
                       {QVIM_UINT32, 0, 3, 67, 0, "2147483648"},
                       {QVIM_UINT32, 31, 4, 36, 0, ""},
                       {QVIM_FLOAT32, 0, 1, 1, 0, ""},
                       {QVIM_FLOAT32, 0, 3, 67, 0, ""},
                       {QVIM_UINT8, 1, 2, 2, 1, ""}})
    for (int32_t depth : {1, 4}) {
      SCOPED_TRACE(testing::Message()
                   << r.type << " " << r.bits << " x " << r.pixies << " layout " << r.layout);
      film v(r.type, r.bits, r.pixies, r.hint, 37, 11, depth);
      set_sizes(v);
      qvimagefileinfo options{};
      options.fts_layout = r.layout;
      char object[] = "M 31";
      options.fts_object = object;
      qvimage first = v.frame(0);
      ASSERT_EQ(depth == 1 ? qvimage_fitswrite(nullptr, &first, 0, path_.c_str(), nullptr, 4096, &options)
                           : qvimage3_fitswriteseq(nullptr, &v.image, 0, path_.c_str(), nullptr, 0, &options),
                0)
          << qvimage_reason();
      EXPECT_EQ(card_of(path_, "BZERO"),
                *r.bzero ? "BZERO   = " + std::string(20 - std::strlen(r.bzero), ' ') + r.bzero : "");
      qvimage3 image;
      fitshandle *h = nullptr;
      ASSERT_EQ(qvimage3_fitsread(&image, nullptr, &h, path_.c_str(), nullptr, 0, 0), 0) << qvimage_reason();
      EXPECT_EQ(image.imdim.se.z, depth);
      EXPECT_EQ(image.d.pixelhint, qvimstringtohint(qvimhinttostring(r.hint)));
      EXPECT_EQ(image.d.i_bitsused, v.image.d.i_bitsused);
      EXPECT_EQ(image.h.pixelwidth, 0.5f);
      EXPECT_EQ(image.h.heightunits, QVIM_UNIT_MILLIMETER);
      EXPECT_EQ(image.h.pixeldepth, depth > 1 ? 2.0f : 0.0f);
      EXPECT_EQ(pixels_of(image), v.pixels);
      qvimagefileinfo info;
      ASSERT_EQ(qvimage_fitsreadinfo(h, &info, 0), 0);
      EXPECT_STREQ(info.fts_object, "M 31");
      qvimage_fitsinfodone(&info);
      EXPECT_EQ(info.fts_object, nullptr);
      ASSERT_EQ(qvimage3_fitsreaddone(&image, nullptr, &h), 0);
    }
}

TEST_F(Fits, SequencesEndWithTheFramesThatWereWritten) {
  film v(QVIM_UINT16, 0, 1, 1, 20, 10, 9);
  set_sizes(v);
  for (int declared : {10, 7, 2, 0}) {
    fitshandle *h = nullptr;
    qvimage first = v.frame(0);
    first.h = v.image.h;
    ASSERT_EQ(
        qvimage_fitswriteinit(&h, &first.wind, nullptr, &first, path_.c_str(), nullptr, 0, declared, nullptr),
        0);
    for (int z = 0; z < 7; z++) {
      qvimage frame = v.frame(z);
      qvimagefileinfo info{};
      std::string observed = "2026-11-25T12:00:0" + std::to_string(z);
      info.fts_date_obs = observed.data();
      ASSERT_EQ(qvimage_fitswriteadd(&h, nullptr, &frame, &info), 0);
      if (z != 3) continue;
      const auto stop = [](int64_t row, int64_t) { return row == 5 ? 9 : 0; };
      ASSERT_EQ(qvimage_fitswriteadd(&h, stop, &frame, nullptr), 9);  // no part of the file
      std::string longer(80, 'x');
      info.fts_date_obs = longer.data();
      ASSERT_EQ(qvimage_fitswriteadd(&h, nullptr, &frame, &info), QVERR_SPACE);
    }
    ASSERT_EQ(qvimage_fitswritedone(&h), 0);
    EXPECT_EQ(h, nullptr);
    EXPECT_EQ(card_of(path_, "NAXIS4"), "NAXIS4  =                    7");
    EXPECT_EQ(card_of(path_, "          AXIS4DIM"), "          AXIS4DIM=            14.000000");
    std::vector<qvimagefileinfo> infos(9);
    ASSERT_EQ(qvimage_fitsinfoN(infos.data(), 9, path_.c_str(), nullptr, 0, 0), 7);
    for (int z = 0; z < 7; z++) {
      const std::string observed = "2026-11-25T12:00:0" + std::to_string(z);
      if (z < declared)
        EXPECT_STREQ(infos[size_t(z)].fts_date_obs, observed.c_str());
      else
        EXPECT_EQ(infos[size_t(z)].fts_date_obs, nullptr);
      qvimage_fitsinfodone(&infos[size_t(z)]);
    }
    qvimage3 image;
    ASSERT_EQ(qvimage3_fitsread(&image, nullptr, &h, path_.c_str(), nullptr, 0, 0), 0) << qvimage_reason();
    EXPECT_EQ(pixels_of(image), bytes(v.pixels.begin(), v.pixels.begin() + 7 * 20 * 10 * 2));
    ASSERT_EQ(qvimage3_fitsreaddone(&image, nullptr, &h), 0);
  }
}

TEST_F(Fits, ForeignHeadersAreReadOrRefused) {
  struct row {
    std::vector<std::string> cards;  // behind SIMPLE
    int32_t strict, lenient;         // codes, or the frames
    int32_t width = 0, pixies = 0, bits = 0;
  };
  const auto card = [](const std::string &keyword, const std::string &value) {
    return keyword + std::string(8 - keyword.size(), ' ') + "= " + value;
  };
  const std::string b8 = card("BITPIX", "8"), b16 = card("BITPIX", "16 / bits"), n2 = card("NAXIS", "2");
  const std::string x = card("NAXIS1", "6"), y = card("NAXIS2", "5"), n3 = card("NAXIS", "3"),
                    n4 = card("NAXIS", "4");
  const std::string grey = "          AXIS1UNT= '" + std::string(qvimhinttostring(67)) + "'";
  const row table[] = {
      {{b8, n2, x, y}, 1, 1, 6, 1, 8},
      {{b16, n2, x, y, card("DATAMAX", "4095"), card("BZERO", "3.2768E4")}, 1, 1, 6, 1, 12},
      {{b16, n2, x, y, card("BSCALE", "2")}, QVERR_UNSUPPORTED, 1, 6, 1, 16},
      {{b16, n2, x, y, card("BZERO", "40000")}, QVERR_UNSUPPORTED, 1, 6, 1, 16},
      {{b16, n2, x, y, card("DATAMIN", "-5")}, QVERR_UNSUPPORTED, 1, 6, 1, 16},
      {{b16, n2, x, y, card("DATAMAX", "0")}, 1, 1, 6, 1, 1},
      {{b16, n2, x, y, card("DATAMAX", "/ undefined"), card("BZERO", "")}, 1, 1, 6, 1, 16},
      {{b16, n2, x, y, card("DATAMAX", "none")}, QVERR_FORMAT, QVERR_FORMAT},
      {{b16, n2, x, y, card("DATAMAX", "2.56D2")}, 1, 1, 6, 1, 9},
      {{b8, n3, x, y, card("NAXIS3", "7")}, 7, 7, 6, 1, 8},
      {{b8, n3, card("NAXIS1", "3"), card("NAXIS2", "6"), card("NAXIS3", "5"), grey}, 1, 1, 6, 3, 8},
      {{b8, n4, x, y, card("NAXIS3", "2"), card("NAXIS4", "2")}, QVERR_UNSUPPORTED, QVERR_UNSUPPORTED},
      {{b8, card("NAXIS", "5"), x, y, card("NAXIS3", "1"), card("NAXIS4", "1")},
       QVERR_UNSUPPORTED,
       QVERR_UNSUPPORTED},
      {{b8, n4, x, y, card("NAXIS3", "2"), card("NAXIS4", "1")}, 2, 2, 6, 1, 8},
      {{b8, card("NAXIS", "1"), x}, QVERR_UNSUPPORTED, 1, 6, 1, 8},
      {{card("BITPIX", "-64"), n2, x, y}, QVERR_FORMAT, QVERR_FORMAT},
      {{card("BITPIX", "-16"), n2, x, y}, QVERR_FORMAT, QVERR_FORMAT},
      {{b8, n2, card("NAXIS1", "0"), y}, QVERR_FORMAT, QVERR_FORMAT},
      {{b8, n2, card("NAXIS1", "99999999999999999999"), y}, QVERR_FORMAT, QVERR_FORMAT},
      {{b8, n2, card("NAXIS1", "2147483647"), card("NAXIS2", "2147483647")}, QVERR_FORMAT, QVERR_FORMAT},
      {{b8, n2, card("NAXIS1", "4294967302"), y}, QVERR_FORMAT, QVERR_FORMAT},
      {{b8, n2, x, card("NAXIS2", "4294967301")}, QVERR_FORMAT, QVERR_FORMAT},
      {{b8, n3, x, y, card("NAXIS3", "99")}, QVERR_FORMAT, 96, 6, 1, 8},
      {{n2, b8, x, y}, QVERR_FORMAT, QVERR_FORMAT}};
  for (const row &r : table) {
    std::string text;
    for (const auto &c : {std::vector<std::string>{card("SIMPLE", "                   T")}, r.cards, {"END"}})
      for (const std::string &one : c) text += one + std::string(80 - one.size(), ' ');
    text.resize(2880, ' ');
    SCOPED_TRACE(r.cards.back());
    text.resize(2 * 2880, '\1');
    put_file(path_, bytes(text.begin(), text.end()));
    for (uint32_t lenient : {0u, 1u}) {
      const int32_t wanted = lenient ? r.lenient : r.strict;
      qvimage3 image;
      fitshandle *h = nullptr;
      const int32_t code = qvimage3_fitsread(&image, nullptr, &h, path_.c_str(), nullptr, 0, lenient);
      EXPECT_EQ(code, std::min(wanted, 0)) << qvimage_reason();
      if (code < 0) {
        EXPECT_STREQ(std::string(image.devname, 8).c_str(), "NULL3");
        EXPECT_NE(std::string(qvimage_reason()), "");
        continue;
      }
      EXPECT_EQ(image.imdim.se.z, wanted);
      EXPECT_EQ(image.imdim.se.x, r.width);
      EXPECT_EQ(image.d.pixies, r.pixies);
      EXPECT_EQ(image.d.i_bitsused, r.bits);
      qvimage3_fitsreaddone(&image, nullptr, &h);
    }
  }
}

TEST_F(Fits, WritersRefuseWhatTheyCannotServe) {
  film v(QVIM_UINT16, 0, 3, 67, 40, 30, 2);
  qvimage plane = v.frame(0);
  fitshandle *h = nullptr;
  EXPECT_EQ(qvimage_fitswriteinit(&h, nullptr, nullptr, &plane, path_.c_str(), nullptr, 0, 1, nullptr),
            QVERR_USAGE);
  EXPECT_EQ(
      qvimage_fitswriteinit(&h, &plane.wind, &v.image.wind, &plane, path_.c_str(), nullptr, 0, 1, nullptr),
      QVERR_USAGE);
  EXPECT_EQ(qvimage_fitswriteadd(&h, nullptr, &plane, nullptr), QVERR_USAGE);
  // Frames unlike the one that was announced, whose components are stored one by one.
  ASSERT_EQ(qvimage_fitswriteinit(&h, &plane.wind, nullptr, &plane, path_.c_str(), nullptr, 0, 1, nullptr),
            0);
  for (const auto &[type, bits, pixies] :
       {std::tuple{QVIM_UINT16, 16, 1}, {QVIM_UINT16, 16, 4}, {QVIM_UINT16, 12, 3}, {QVIM_UINT8, 8, 3}}) {
    film other(type, bits, pixies, 1, 40, 30, 1);
    qvimage frame = other.frame(0);
    EXPECT_EQ(qvimage_fitswriteadd(&h, nullptr, &frame, nullptr), QVERR_USAGE) << bits << " x " << pixies;
  }
  EXPECT_EQ(qvimage_fitswriteadd(&h, nullptr, &plane, nullptr), 0);
  EXPECT_EQ(qvimage_fitswritedone(&h), 0);
  ASSERT_EQ(qvimage_fitswriteinit(&h, &plane.wind, nullptr, &plane, path_.c_str(), nullptr, 0, -1, nullptr),
            0);
  EXPECT_EQ(qvimage_fitswriteadd(&h, nullptr, &plane, nullptr), 0);
  EXPECT_EQ(qvimage_fitswriteadd(&h, nullptr, &plane, nullptr), QVERR_USAGE) << "one image alone";
  EXPECT_EQ(qvimage_fitswritedone(&h), 0);
}

// Observations wait in memory; where there is none, those that wait are written at once.
TEST_F(Fits, ObservationsComeWithoutMemoryToWaitIn) {
  constexpr int32_t frames = 3;
  film v(QVIM_UINT8, 8, 1, 1, 20, 10, frames);
  qvimage frame = v.frame(0);
  fitshandle *h = nullptr;
  ASSERT_EQ(
      qvimage_fitswriteinit(&h, &frame.wind, nullptr, &frame, path_.c_str(), nullptr, 0, frames, nullptr), 0);
  for (int32_t z = 0; z < frames; z++) {
    qvimagefileinfo info{};
    std::string observed = "frame " + std::to_string(z);
    info.fts_date_obs = observed.data();
    const fail_allocation fault(0);
    EXPECT_EQ(qvimage_fitswriteadd(&h, nullptr, &frame, &info), 0);
    EXPECT_TRUE(fault.fired());
  }
  ASSERT_EQ(qvimage_fitswritedone(&h), 0);
  for (int32_t z = 0; z < frames; z++) {
    qvimagefileinfo info;
    ASSERT_EQ(qvimage_fitsinfo(&info, path_.c_str(), nullptr, 0, uint64_t(z)), 0);
    EXPECT_STREQ(info.fts_date_obs, ("frame " + std::to_string(z)).c_str());
    qvimage_fitsinfodone(&info);
  }
}

// More of them than the header has observations for.
TEST_F(Fits, FramesWithoutAnObservationAreToldOf) {
  constexpr int32_t frames = 6000;
  const int32_t dims[3] = {1, 1, frames};
  bytes pixels(frames, 7);
  qvimage3 image;
  qvimage first;
  ASSERT_EQ(qvimage3_memory(&image, pixels.data(), dims, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0), 0);
  ASSERT_EQ(qvimage_def2from3(&first, &image, 0, 2, 0, 0), 0);
  fitshandle *h = nullptr;
  ASSERT_EQ(qvimage_fitswriteinit(&h, &first.wind, nullptr, &first, path_.c_str(), nullptr, 0, 1, nullptr),
            0);
  for (int32_t z = 0; z < frames; z++) ASSERT_EQ(qvimage_fitswriteadd(&h, nullptr, &first, nullptr), 0);
  ASSERT_EQ(qvimage_fitswritedone(&h), 0);
  qvimagefileinfo info;
  ASSERT_EQ(qvimage_fitsinfo(&info, path_.c_str(), nullptr, 0, frames - 1), 0) << qvimage_reason();
  EXPECT_EQ(info.fts_date_obs, nullptr);
  qvimage_fitsinfodone(&info);
}

}  // namespace
