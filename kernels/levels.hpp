// The kernels of all processor levels.
#pragma once

#include <qvimage/npfbix.h>
#include <qvimage/npfclx.h>
#include <qvimage/npfpix.h>

#include "kernels/versions.hpp"

namespace qvim {

// Every kernel of the member lists in one version.
struct kernel_table {
#define QVIM_NOTHING(name, form)
#define QVIM_MEMBER(name, form) form *name;
#include <qvimage/members/npfbix.inc>
#define QVIM_PIX_NOTHING(name, form)
#define QVIM_MEMBER(name, form) form *name;
#include <qvimage/members/npfpix.inc>
#define QVIM_MEMBER(name, form) form *name;
#include <qvimage/members/npfclx.inc>
};

QVIM_VERSIONS(kernel_table, kernels)

}  // namespace qvim
