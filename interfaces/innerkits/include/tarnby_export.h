// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_EXPORT_H
#define TARNBY_EXPORT_H

/**
 * @file tarnby_export.h
 * @brief The export mark of the library's public classes.
 */

/** @brief The library is built with hidden visibility; the public classes carry this mark. */
#define TARNBY_EXPORT __attribute__((visibility("default")))

#endif // TARNBY_EXPORT_H
