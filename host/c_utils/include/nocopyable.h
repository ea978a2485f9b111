// SPDX-License-Identifier: Apache-2.0
#ifndef UTILS_BASE_NOCOPYABLE_H
#define UTILS_BASE_NOCOPYABLE_H

namespace OHOS {

#define DISALLOW_COPY_AND_MOVE(className)                                                                              \
    DISALLOW_COPY(className);                                                                                          \
    DISALLOW_MOVE(className)

#define DISALLOW_COPY_AND_ASSIGN(className) DISALLOW_COPY(className)

#define DISALLOW_COPY(className)                                                                                       \
    className(const className &) = delete;                                                                             \
    className &operator=(const className &) = delete

#define DISALLOW_MOVE(className)                                                                                       \
    className(className &&) = delete;                                                                                  \
    className &operator=(className &&) = delete

// Base for classes whose instances are identities (services, registries) rather than values.
class NoCopyable {
protected:
    NoCopyable() = default;
    virtual ~NoCopyable() = default;

private:
    DISALLOW_COPY_AND_MOVE(NoCopyable);
};

} // namespace OHOS

#endif // UTILS_BASE_NOCOPYABLE_H
