// SPDX-License-Identifier: Apache-2.0
#ifndef UTILS_BASE_SINGLETON_H
#define UTILS_BASE_SINGLETON_H

#include <memory>
#include <mutex>
#include <new>

#include "nocopyable.h"

namespace OHOS {

// Put inside the class: constructor and destructor become private to everyone but the singleton template.
#define DECLARE_DELAYED_SINGLETON(MyClass)                                                                             \
public:                                                                                                                \
    ~MyClass();                                                                                                        \
                                                                                                                       \
private:                                                                                                               \
    friend DelayedSingleton<MyClass>;                                                                                  \
    MyClass();

#define DECLARE_DELAYED_REF_SINGLETON(MyClass)                                                                         \
private:                                                                                                               \
    friend DelayedRefSingleton<MyClass>;                                                                               \
    ~MyClass();                                                                                                        \
    MyClass();

#define DECLARE_SINGLETON(MyClass)                                                                                     \
private:                                                                                                               \
    friend Singleton<MyClass>;                                                                                         \
    MyClass &operator=(const MyClass &) = delete;                                                                      \
    MyClass(const MyClass &) = delete;                                                                                 \
    MyClass();                                                                                                         \
    ~MyClass();

// Created on the first GetInstance, thread-safely; DestroyInstance drops the singleton's own reference, and the
// next GetInstance creates a new one. Holders of an earlier shared_ptr keep their instance alive. GetInstance
// returns null if the allocation fails.
template <typename T>
class DelayedSingleton : public NoCopyable {
public:
    static std::shared_ptr<T> GetInstance();
    static void DestroyInstance();

private:
    static std::shared_ptr<T> instance_;
    static std::mutex mutex_;
};

template <typename T>
std::shared_ptr<T> DelayedSingleton<T>::instance_ = nullptr;

template <typename T>
std::mutex DelayedSingleton<T>::mutex_;

template <typename T>
std::shared_ptr<T> DelayedSingleton<T>::GetInstance()
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (instance_ == nullptr) {
        instance_ = std::shared_ptr<T>(new (std::nothrow) T());
    }
    return instance_;
}

template <typename T>
void DelayedSingleton<T>::DestroyInstance()
{
    std::lock_guard<std::mutex> lock(mutex_);
    instance_.reset();
}

// Created on the first GetInstance, thread-safely, and never destroyed.
template <typename T>
class DelayedRefSingleton : public NoCopyable {
public:
    static T &GetInstance();

private:
    static T *instance_;
    static std::mutex mutex_;
};

template <typename T>
T *DelayedRefSingleton<T>::instance_ = nullptr;

template <typename T>
std::mutex DelayedRefSingleton<T>::mutex_;

template <typename T>
T &DelayedRefSingleton<T>::GetInstance()
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (instance_ == nullptr) {
        instance_ = new T();
    }
    return *instance_;
}

// Constructed with the program's static objects, before main.
template <typename T>
class Singleton : public NoCopyable {
public:
    static T &GetInstance()
    {
        return instance_;
    }

private:
    static T instance_;
};

template <typename T>
T Singleton<T>::instance_;

} // namespace OHOS

#endif // UTILS_BASE_SINGLETON_H
