// SPDX-License-Identifier: Apache-2.0
#include "securec.h"

#include <cstdint>
#include <cstring>

namespace {
bool DestMaxInvalid(size_t destMax)
{
    return destMax == 0 || destMax > SECUREC_MEM_MAX_LEN;
}

bool RangesOverlap(const void *dest, const void *src, size_t count)
{
    auto d = reinterpret_cast<uintptr_t>(dest);
    auto s = reinterpret_cast<uintptr_t>(src);
    return (d < s && d + count > s) || (s < d && s + count > d);
}
} // namespace

extern "C" errno_t memcpy_s(void *dest, size_t destMax, const void *src, size_t count)
{
    if (DestMaxInvalid(destMax)) {
        return ERANGE;
    }
    if (dest == nullptr) {
        return EINVAL;
    }
    if (src == nullptr) {
        memset(dest, 0, destMax);
        return EINVAL_AND_RESET;
    }
    if (count > destMax) {
        memset(dest, 0, destMax);
        return ERANGE_AND_RESET;
    }
    if (RangesOverlap(dest, src, count)) {
        memset(dest, 0, destMax);
        return EOVERLAP_AND_RESET;
    }
    if (dest != src && count != 0) {
        memcpy(dest, src, count);
    }
    return EOK;
}

extern "C" errno_t memset_s(void *dest, size_t destMax, int c, size_t count)
{
    if (DestMaxInvalid(destMax)) {
        return ERANGE;
    }
    if (dest == nullptr) {
        return EINVAL;
    }
    if (count > destMax) {
        memset(dest, c, destMax);
        return ERANGE_AND_RESET;
    }
    memset(dest, c, count);
    return EOK;
}
