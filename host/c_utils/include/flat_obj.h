// SPDX-License-Identifier: Apache-2.0
#ifndef UTILS_BASE_FLAT_OBJ_H
#define UTILS_BASE_FLAT_OBJ_H

// A binder object inside a parcel's data, in the platform's public layout: a remote object or a descriptor, written
// by WriteBuffer and recorded by WriteObjectOffset, then read back by ReadObject / ReadBuffer.
#include <linux/types.h>

#ifdef BINDER_IPC_32BIT
typedef __u32 binder_size_t;
typedef __u32 binder_uintptr_t;
#else
typedef __u64 binder_size_t;
typedef __u64 binder_uintptr_t;
#endif

// The binder driver's type words: the three ASCII letters of a kind, then the "large" mark.
#if !defined(_UAPI_LINUX_BINDER_H) && !defined(_LINUX_BINDER_H)
#define B_PACK_CHARS(c1, c2, c3, c4) ((((c1) << 24)) | (((c2) << 16)) | (((c3) << 8)) | (c4))
#define B_TYPE_LARGE 0x85
enum {
    BINDER_TYPE_BINDER = B_PACK_CHARS('s', 'b', '*', B_TYPE_LARGE),
    BINDER_TYPE_WEAK_BINDER = B_PACK_CHARS('w', 'b', '*', B_TYPE_LARGE),
    BINDER_TYPE_HANDLE = B_PACK_CHARS('s', 'h', '*', B_TYPE_LARGE),
    BINDER_TYPE_WEAK_HANDLE = B_PACK_CHARS('w', 'h', '*', B_TYPE_LARGE),
    BINDER_TYPE_FD = B_PACK_CHARS('f', 'd', '*', B_TYPE_LARGE),
};
#endif

struct parcel_binder_object_header {
    __u32 type;
};

struct parcel_flat_binder_object {
    struct parcel_binder_object_header hdr;
    __u32 flags;
    union {
        binder_uintptr_t binder; // a local object
        __u32 handle;            // a remote object, or a descriptor
    };
    binder_uintptr_t cookie;
};

#ifdef __cplusplus
static_assert(sizeof(parcel_flat_binder_object) == 24, "a flat object is 24 bytes on the wire");
static_assert(__builtin_offsetof(parcel_flat_binder_object, flags) == 4, "flags follow the header");
static_assert(__builtin_offsetof(parcel_flat_binder_object, binder) == 8, "the object follows the flags");
static_assert(__builtin_offsetof(parcel_flat_binder_object, handle) == 8, "the handle shares the object's place");
static_assert(__builtin_offsetof(parcel_flat_binder_object, cookie) == 16, "the cookie comes last");
#endif

#endif // UTILS_BASE_FLAT_OBJ_H
