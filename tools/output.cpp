#include "output.hpp"

#include <unistd.h>

#include <vector>

#include <qvimage/error.h>

#include "failure.hpp"
#include "interrupt.hpp"
#include "nameless_file.hpp"
#include "target.hpp"
#include "terminal.hpp"
#include "text.hpp"

namespace tool {

namespace {

void end_if_interrupted() {
  if (const int signal = noted_interrupt(); signal != 0) throw interrupted{signal};
}

class whole_file : public writer {
 public:
  whole_file(const operand &out, const file_format &format, int64_t pages)
      : target_(out.path), writer_(format.create(target_.temporary(), out.word(out.path), false, pages)) {}

  void add(pixels &page, qvimage *palette, qvimagefileinfo &options, bool computed) override {
    writer_->add(page, palette, options, computed);
  }
  void finish() override {
    writer_->finish();
    end_if_interrupted();
    target_.keep();
  }

 private:
  target target_;
  std::unique_ptr<writer> writer_;
};

// A page a file, all of which take their names at the end.
class numbered_files : public writer {
 public:
  numbered_files(const operand &out, const file_format &format, int64_t pages)
      : out_(out), format_(format), next_(out.first) {
    // All names are known to be good before the first file is written.
    const int64_t last = out.first + pages - 1;
    numbered_name(out, last);
    if (out.last >= 0 && out.last != last)
      throw failure(out.path, QVERR_USAGE,
                    formatted("%lld pages are not the files from %lld to %lld", static_cast<long long>(pages),
                              static_cast<long long>(out.first), static_cast<long long>(out.last)));
  }

  void add(pixels &page, qvimage *palette, qvimagefileinfo &options, bool computed) override {
    const std::string name = numbered_name(out_, next_++);
    target &file = *targets_.emplace_back(std::make_unique<target>(name));
    const auto one = format_.create(file.temporary(), out_.word(name), false, 1);
    one->add(page, palette, options, computed);
    one->finish();
  }
  void finish() override {
    end_if_interrupted();
    for (const auto &file : targets_) file->keep();
  }

 private:
  const operand out_;
  const file_format &format_;
  int64_t next_;
  std::vector<std::unique_ptr<target>> targets_;
};

// Formats say at their beginning what is known at the end: the file is written elsewhere and copied.
class standard_output : public writer {
 public:
  standard_output(const operand &out, const file_format &format, int64_t pages)
      : file_(shown),
        writer_(format.create(file_.path(), out.before.empty() ? shown : out.word(out.path), false, pages)) {}

  void add(pixels &page, qvimage *palette, qvimagefileinfo &options, bool computed) override {
    writer_->add(page, palette, options, computed);
  }
  void finish() override {
    writer_->finish();
    file_.copy_to(STDOUT_FILENO, shown);
  }

 private:
  static constexpr char shown[] = "standard output";
  nameless_file file_;
  std::unique_ptr<writer> writer_;
};

}  // namespace

std::unique_ptr<writer> open_output(const operand &out, const file_format &format, int64_t pages) {
  if (format.create == nullptr)
    throw failure(out.path, QVERR_UNSUPPORTED,
                  std::string(format.sign.name) + " files are read, not written");
  if (out.standard()) {
    if (is_terminal(STDOUT_FILENO)) throw usage_error("an image is not written to a terminal");
    return std::make_unique<standard_output>(out, format, pages);
  }
  if (out.numbered) return std::make_unique<numbered_files>(out, format, pages);
  return std::make_unique<whole_file>(out, format, pages);
}

std::unique_ptr<writer> open_append(const operand &out, const file_format &format, int64_t pages) {
  return format.create(out.path, out.path, true, pages);
}

}  // namespace tool
