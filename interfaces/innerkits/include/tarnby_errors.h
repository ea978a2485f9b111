// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_ERRORS_H
#define TARNBY_ERRORS_H

/**
 * @file tarnby_errors.h
 * @brief Status codes of the library's own making.
 *
 * 0 is success; any other value read from the service's reply is passed on unchanged. Platform error numbers are
 * logged where they arise and never returned.
 */
#include <cstdint>

/** @brief The Tarnby client library: its fronts, callbacks, records and status codes. */
namespace OHOS::Tarnby {
inline constexpr int32_t TRBY_OK = 0;                          ///< Success.
inline constexpr int32_t ERR_TRBY_DEATH_RECIPIENT = 12;        ///< The death recipient could not be created.
inline constexpr int32_t ERR_TRBY_RAW_DATA = 22;               ///< Raw-data length or read failure in a callback.
inline constexpr int32_t ERR_TRBY_INVALID_PARAM = 1001;        ///< Bad argument, header not written, bad callback body.
inline constexpr int32_t ERR_TRBY_UNSUPPORTED_TYPE = 1005;     ///< Unsupported sub service type of a callback.
inline constexpr int32_t ERR_TRBY_WRITE_TOKEN = 1006;          ///< Interface token not written.
inline constexpr int32_t ERR_TRBY_WRITE_PARCEL = 1007;         ///< A field not written.
inline constexpr int32_t ERR_TRBY_SEND_REQUEST = 1008;         ///< The platform's send failed.
inline constexpr int32_t ERR_TRBY_NULL_REMOTE = 1009;          ///< The proxy holds no remote object.
inline constexpr int32_t ERR_TRBY_WRONG_TOKEN = 1010;          ///< Wrong interface token on a callback.
inline constexpr int32_t ERR_TRBY_SERVICE_DEAD = 1012;         ///< No proxy to the service ("Tarnby dead").
inline constexpr int32_t ERR_TRBY_NULL_CALLBACK = 1018;        ///< Null callback.
inline constexpr int32_t ERR_TRBY_WAIT_TIMEOUT = 2010;         ///< Internal: a wait timed out.
inline constexpr int32_t ERR_TRBY_MEMCPY = 0x1B8003EC;         ///< 461374444: the bounded copy of raw data failed.
inline constexpr int32_t ERR_TRBY_SEND_FAILED = 0x1B8003F5;    ///< 461374453: a front's send returned non-zero.
inline constexpr int32_t ERR_TRBY_NOT_SUPPORTED = 0x1B8107E7;  ///< 461440999: an operation that sends nothing.
inline constexpr int32_t ERR_TRBY_DATA_TOO_LARGE = 0x1B840008; ///< 461635592: collaboration data too large.
inline constexpr int32_t ERR_TRBY_NO_ANSWER = 0x1B840011;      ///< 461635601: no answer within 20 seconds.

/** @name Result codes handed to CallbackSkeleton::ApplyResult for a completed resource application. */
///@{
inline constexpr int32_t APPLY_RESULT_FIRST = 1004720001;  ///< For the service's result 320001.
inline constexpr int32_t APPLY_RESULT_SECOND = 1004720002; ///< For the service's result 320003.
inline constexpr int32_t APPLY_RESULT_THIRD = 1004720003;  ///< For the service's result 320016.
inline constexpr int32_t APPLY_RESULT_FOURTH = 1004720004; ///< For the service's result 320017.
inline constexpr int32_t APPLY_RESULT_FIFTH = 1004720005;  ///< For the service's result 320018.
///@}

/**
 * @brief The name of a status code of this header.
 * @param code A status code.
 * @return The name ("ERR_TRBY_SERVICE_DEAD"), or nullptr for any other value.
 */
constexpr const char *TarnbyStatusName(int32_t code)
{
    switch (code) {
        case TRBY_OK:
            return "TRBY_OK";
        case ERR_TRBY_DEATH_RECIPIENT:
            return "ERR_TRBY_DEATH_RECIPIENT";
        case ERR_TRBY_RAW_DATA:
            return "ERR_TRBY_RAW_DATA";
        case ERR_TRBY_INVALID_PARAM:
            return "ERR_TRBY_INVALID_PARAM";
        case ERR_TRBY_UNSUPPORTED_TYPE:
            return "ERR_TRBY_UNSUPPORTED_TYPE";
        case ERR_TRBY_WRITE_TOKEN:
            return "ERR_TRBY_WRITE_TOKEN";
        case ERR_TRBY_WRITE_PARCEL:
            return "ERR_TRBY_WRITE_PARCEL";
        case ERR_TRBY_SEND_REQUEST:
            return "ERR_TRBY_SEND_REQUEST";
        case ERR_TRBY_NULL_REMOTE:
            return "ERR_TRBY_NULL_REMOTE";
        case ERR_TRBY_WRONG_TOKEN:
            return "ERR_TRBY_WRONG_TOKEN";
        case ERR_TRBY_SERVICE_DEAD:
            return "ERR_TRBY_SERVICE_DEAD";
        case ERR_TRBY_NULL_CALLBACK:
            return "ERR_TRBY_NULL_CALLBACK";
        case ERR_TRBY_WAIT_TIMEOUT:
            return "ERR_TRBY_WAIT_TIMEOUT";
        case ERR_TRBY_MEMCPY:
            return "ERR_TRBY_MEMCPY";
        case ERR_TRBY_SEND_FAILED:
            return "ERR_TRBY_SEND_FAILED";
        case ERR_TRBY_NOT_SUPPORTED:
            return "ERR_TRBY_NOT_SUPPORTED";
        case ERR_TRBY_DATA_TOO_LARGE:
            return "ERR_TRBY_DATA_TOO_LARGE";
        case ERR_TRBY_NO_ANSWER:
            return "ERR_TRBY_NO_ANSWER";
        case APPLY_RESULT_FIRST:
            return "APPLY_RESULT_FIRST";
        case APPLY_RESULT_SECOND:
            return "APPLY_RESULT_SECOND";
        case APPLY_RESULT_THIRD:
            return "APPLY_RESULT_THIRD";
        case APPLY_RESULT_FOURTH:
            return "APPLY_RESULT_FOURTH";
        case APPLY_RESULT_FIFTH:
            return "APPLY_RESULT_FIFTH";
        default:
            return nullptr;
    }
}
} // namespace OHOS::Tarnby

#endif // TARNBY_ERRORS_H
