// The table of one level's kernels.
#include "kernels/level.hpp"
#include "kernels/levels.hpp"

extern "C" {
#define QVIM_NOTHING(name, form)
#define QVIM_MEMBER(name, form) form QVIM_KERNEL(name);
#include <qvimage/members/npfbix.inc>
#define QVIM_PIX_NOTHING(name, form)
#define QVIM_MEMBER(name, form) form QVIM_KERNEL(name);
#include <qvimage/members/npfpix.inc>
#define QVIM_MEMBER(name, form) form QVIM_KERNEL(name);
#include <qvimage/members/npfclx.inc>
}

namespace qvim {

const kernel_table QVIM_KERNEL(kernels) = {
#define QVIM_NOTHING(name, form)
#define QVIM_MEMBER(name, form) QVIM_KERNEL(name),
#include <qvimage/members/npfbix.inc>
#define QVIM_PIX_NOTHING(name, form)
#define QVIM_MEMBER(name, form) QVIM_KERNEL(name),
#include <qvimage/members/npfpix.inc>
#define QVIM_MEMBER(name, form) QVIM_KERNEL(name),
#include <qvimage/members/npfclx.inc>
};

}  // namespace qvim
