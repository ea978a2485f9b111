// SPDX-License-Identifier: Apache-2.0
#ifndef SECUREC_H
#define SECUREC_H

#include <errno.h>
#include <stddef.h>

#ifndef EOK
#define EOK 0
#endif
// The *_AND_RESET codes tell that the destination was also wiped (or filled) before failing.
#define EINVAL_AND_RESET (22 | 128)
#define ERANGE_AND_RESET (34 | 128)
#define EOVERLAP_AND_RESET (54 | 128)
#define SECUREC_MEM_MAX_LEN 0x7fffffffUL

typedef int errno_t;

#ifdef __cplusplus
extern "C" {
#endif

// Checks in this order: destMax (ERANGE), dest (EINVAL), src (EINVAL_AND_RESET), count > destMax
// (ERANGE_AND_RESET), overlap (EOVERLAP_AND_RESET); every *_AND_RESET zeroes dest[0, destMax).
errno_t memcpy_s(void *dest, size_t destMax, const void *src, size_t count);

// destMax (ERANGE), dest (EINVAL); count > destMax fills destMax bytes and returns ERANGE_AND_RESET.
errno_t memset_s(void *dest, size_t destMax, int c, size_t count);

#ifdef __cplusplus
}
#endif

#endif // SECUREC_H
