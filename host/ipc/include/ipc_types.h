// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_IPC_IPC_TYPES_H
#define OHOS_IPC_IPC_TYPES_H

#include <cerrno>
#include <cstdint>

#include "errors.h"

namespace OHOS {
#define ZIPC_PACK_CHARS(c1, c2, c3, c4) ((((c1) << 24)) | (((c2) << 16)) | (((c3) << 8)) | (c4))

// Request codes: user codes live in FIRST..LAST; the packed ones are reserved for the framework.
enum {
    FIRST_CALL_TRANSACTION = 0x00000001,
    LAST_CALL_TRANSACTION = 0x00ffffff,
    PING_TRANSACTION = ZIPC_PACK_CHARS('_', 'P', 'N', 'G'),
    DUMP_TRANSACTION = ZIPC_PACK_CHARS('_', 'D', 'M', 'P'),
    SHELL_COMMAND_TRANSACTION = ZIPC_PACK_CHARS('_', 'C', 'M', 'D'),
    INTERFACE_TRANSACTION = ZIPC_PACK_CHARS('_', 'N', 'T', 'F'),
    SYSPROPS_TRANSACTION = ZIPC_PACK_CHARS('_', 'S', 'P', 'R'),
    SYNCHRONIZE_REFERENCE = ZIPC_PACK_CHARS('_', 'S', 'Y', 'C'),
    INVOKE_LISTEN_THREAD = ZIPC_PACK_CHARS('_', 'I', 'L', 'T'),
    GET_PID_UID = ZIPC_PACK_CHARS('_', 'G', 'P', 'U'),
    GET_PROTO_INFO = ZIPC_PACK_CHARS('_', 'G', 'R', 'I'),
    GET_SESSION_NAME = ZIPC_PACK_CHARS('_', 'G', 'S', 'N'),
    GET_SESSION_NAME_PID_UID = ZIPC_PACK_CHARS('_', 'G', 'S', 'P'),
    DBINDER_OBITUARY_TRANSACTION = ZIPC_PACK_CHARS('_', 'D', 'O', 'T'),
    DBINDER_INCREFS_TRANSACTION = ZIPC_PACK_CHARS('_', 'D', 'I', 'T'),
    DBINDER_DECREFS_TRANSACTION = ZIPC_PACK_CHARS('_', 'D', 'D', 'T'),
    DBINDER_ADD_COMMAUTH = ZIPC_PACK_CHARS('_', 'D', 'A', 'C'),
};

// Legacy status values.
enum {
    NO_ERROR = 0,
    TRANSACTION_ERR = 1,
    FLATTEN_ERR = 3,
    UNKNOWN_TRANSACTION = 4,
    INVALID_DATA = 5,
    OBJECT_NULL = 7,
    INVALID_OPERATION = 8,
    DEAD_OBJECT = -EPIPE,
};

enum {
    ERR_NONE = 0,
    ERR_TRANSACTION_FAILED = 1,
    ERR_UNKNOWN_OBJECT = 2,
    ERR_FLATTEN_OBJECT = 3,
    ERR_UNKNOWN_TRANSACTION = 4,
    ERR_INVALID_DATA = 5,
    ERR_NULL_OBJECT = 7,
    ERR_UNKNOWN_REASON = 8,
    ERR_INVALID_REPLY = 9,
    ERR_INVALID_STATE = 10,
    IPC_PROXY_ERR = 200,
    IPC_PROXY_DEAD_OBJECT_ERR = 201,
    IPC_PROXY_NULL_INVOKER_ERR = 202,
    IPC_PROXY_TRANSACTION_ERR = 203,
    IPC_PROXY_INVALID_CODE_ERR = 204,
    IPC_STUB_ERR = 300,
    IPC_STUB_WRITE_PARCEL_ERR = 301,
    IPC_STUB_INVOKE_THREAD_ERR = 302,
    IPC_STUB_INVALID_DATA_ERR = 303,
    IPC_STUB_CURRENT_NULL_ERR = 304,
    IPC_STUB_UNKNOW_TRANS_ERR = 305,
};

// A synchronous request whose wait time (MessageOption::GetWaitTime, seconds) ran out before the reply came:
// the common time-out code of the platform's utilities, errno ETIMEDOUT on top of the zero offset.
constexpr int ERR_TIMED_OUT = BASE_ERR_OFFSET + ETIMEDOUT;
} // namespace OHOS

#endif // OHOS_IPC_IPC_TYPES_H
