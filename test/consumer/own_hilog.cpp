// SPDX-License-Identifier: Apache-2.0
// Platform code often has a logging macro of its own named HILOGI. The library's public headers must leave it alone:
// neither redefine it (an error under -Werror) nor replace it after an #undef (the static_assert below).
#define HILOGI(...) 42

#include "all_public_headers.h"

static_assert(HILOGI("still ours") == 42, "a public header of the library replaced HILOGI");
