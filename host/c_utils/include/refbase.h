#ifndef UTILS_BASE_REFBASE_H
#define UTILS_BASE_REFBASE_H

#include <atomic>
#include <utility>

namespace OHOS {

// A strong count that was never taken reads as this value, so "never held" and "released" differ.
constexpr int INITIAL_PRIMARY_VALUE = 1 << 28;

class RefBase;

// The counts of one RefBase object. It outlives the object while weak pointers still refer to it, so a
// wptr can always ask whether its object is alive without touching the object itself.
class RefCounter {
public:
    explicit RefCounter(RefBase *owner);
    RefCounter(const RefCounter &) = delete;
    RefCounter &operator=(const RefCounter &) = delete;

    // Lifetime of this counter: the object holds one reference, every wptr holds one more.
    void IncRefCount();
    void DecRefCount();
    int GetRefCount() const;

    // Both return the count before the change.
    int IncStrongRefCount(const void *objectId);
    int DecStrongRefCount(const void *objectId);
    int GetStrongRefCount() const;

    int IncWeakRefCount(const void *objectId);
    // The last weak release of an object whose lifetime was extended destroys the object.
    int DecWeakRefCount(const void *objectId);
    int GetWeakRefCount() const;

    // Takes a strong (and weak) reference unless the object is already gone. Safe to call from any thread,
    // also while another thread drops the last strong reference: exactly one of the two wins.
    bool AttemptIncStrongRef(const void *objectId);

    // Keeps a live object alive for a moment (used to upcast a weak pointer). Returns false if the object is
    // gone. `tookStrong` tells whether a strong reference was taken that the caller must drop again.
    bool AttemptPin(const void *objectId, bool &tookStrong);

    void ExtendObjectLifetime();
    bool IsLifeTimeExtended() const;
    bool IsObjectAlive() const;
    // Called by the object's destructor.
    void MarkDestroyed();

private:
    ~RefCounter() = default;

    std::atomic<int> strong_{INITIAL_PRIMARY_VALUE};
    std::atomic<int> weak_{0};
    std::atomic<int> refCount_{0};
    std::atomic<bool> extended_{false};
    RefBase *const owner_;
};

// Intrusive strong and weak counts. Derive from it virtually: a class may reach it through several bases.
class RefBase {
public:
    RefBase();
    // A copy is a new object with its own counts.
    RefBase(const RefBase &);
    RefBase &operator=(const RefBase &);
    RefBase(RefBase &&other) noexcept;
    RefBase &operator=(RefBase &&other) noexcept;
    virtual ~RefBase();

    // After this call the object lives until its last weak reference goes, not its last strong one.
    void ExtendObjectLifetime();

    void IncStrongRef(const void *objectId);
    void DecStrongRef(const void *objectId);
    // 1<<28 until the first strong reference is taken.
    int GetSptrRefCount();

    void IncWeakRef(const void *objectId);
    void DecWeakRef(const void *objectId);
    // Strong holders count as weak holders too.
    int GetWptrRefCount();

    bool AttemptIncStrongRef(const void *objectId);
    bool AttemptAcquire(const void *objectId);
    bool IsExtendLifeTimeSet();

    // Hooks, called on the thread that changes the count.
    virtual void OnFirstStrongRef(const void *objectId);
    virtual void OnLastStrongRef(const void *objectId);
    // Only for objects with an extended lifetime, right before they are destroyed.
    virtual void OnLastWeakRef(const void *objectId);
    // Asked before an extended-lifetime object without strong references is promoted again.
    virtual bool OnAttemptPromoted(const void *objectId);

    RefCounter *GetRefCounter() const;

private:
    RefCounter *refs_ = nullptr;
};

template <typename T>
class wptr;

template <typename T>
class sptr {
public:
    sptr() = default;
    sptr(T *other);
    sptr(const sptr<T> &other);
    sptr(sptr<T> &&other) noexcept;
    template <typename O>
    sptr(const sptr<O> &other);
    ~sptr();

    template <typename... Args>
    static sptr<T> MakeSptr(Args &&...args);

    sptr<T> &operator=(T *other);
    sptr<T> &operator=(const sptr<T> &other);
    sptr<T> &operator=(sptr<T> &&other) noexcept;
    sptr<T> &operator=(const wptr<T> &other);
    template <typename O>
    sptr<T> &operator=(const sptr<O> &other);

    void ForceSetRefPtr(T *other);
    void clear();

    T *GetRefPtr() const
    {
        return refs_;
    }
    operator T *() const
    {
        return refs_;
    }
    explicit operator bool() const
    {
        return refs_ != nullptr;
    }
    T &operator*() const
    {
        return *refs_;
    }
    T *operator->() const
    {
        return refs_;
    }

    bool operator==(const T *other) const
    {
        return refs_ == other;
    }
    bool operator!=(const T *other) const
    {
        return refs_ != other;
    }
    bool operator==(const sptr<T> &other) const
    {
        return refs_ == other.refs_;
    }
    bool operator!=(const sptr<T> &other) const
    {
        return refs_ != other.refs_;
    }
    bool operator==(const wptr<T> &other) const
    {
        return refs_ == other.GetRefPtr();
    }
    bool operator!=(const wptr<T> &other) const
    {
        return refs_ != other.GetRefPtr();
    }

private:
    template <typename O>
    friend class wptr;

    // Takes over a strong reference that was already counted (a successful promotion).
    static sptr<T> Adopt(T *counted);

    T *refs_ = nullptr;
};

template <typename T>
class wptr {
public:
    wptr() = default;
    wptr(T *other);
    wptr(const sptr<T> &other);
    wptr(const wptr<T> &other);
    wptr(wptr<T> &&other) noexcept;
    template <typename O>
    wptr(const wptr<O> &other);
    template <typename O>
    wptr(const sptr<O> &other);
    ~wptr();

    wptr<T> &operator=(T *other);
    wptr<T> &operator=(const sptr<T> &other);
    wptr<T> &operator=(const wptr<T> &other);
    wptr<T> &operator=(wptr<T> &&other) noexcept;
    template <typename O>
    wptr<T> &operator=(const wptr<O> &other);
    template <typename O>
    wptr<T> &operator=(const sptr<O> &other);

    // The raw pointer may dangle once the object is gone; only promote() gives a usable one.
    T *GetRefPtr() const
    {
        return ptr_;
    }
    T &operator*() const
    {
        return *ptr_;
    }
    T *operator->() const
    {
        return ptr_;
    }

    bool operator==(const T *other) const
    {
        return ptr_ == other;
    }
    bool operator!=(const T *other) const
    {
        return ptr_ != other;
    }
    bool operator==(const wptr<T> &other) const
    {
        return ptr_ == other.ptr_;
    }
    bool operator!=(const wptr<T> &other) const
    {
        return ptr_ != other.ptr_;
    }
    bool operator==(const sptr<T> &other) const
    {
        return ptr_ == other.GetRefPtr();
    }
    bool operator!=(const sptr<T> &other) const
    {
        return ptr_ != other.GetRefPtr();
    }

    int GetWeakRefCount() const;
    bool AttemptIncStrongRef(const void *objectId) const;

    // A strong pointer while the object lives, null once it has been destroyed. Thread-safe against the
    // release of the last strong reference on another thread.
    const sptr<T> promote() const;

private:
    template <typename O>
    friend class wptr;

    void Attach(T *object, RefCounter *refs);
    void Release();

    T *ptr_ = nullptr;
    RefCounter *refs_ = nullptr;
};

// ---- sptr ----

template <typename T>
sptr<T>::sptr(T *other) : refs_(other)
{
    if (refs_ != nullptr) {
        refs_->IncStrongRef(this);
    }
}

template <typename T>
sptr<T>::sptr(const sptr<T> &other) : sptr(other.refs_)
{
}

template <typename T>
sptr<T>::sptr(sptr<T> &&other) noexcept : refs_(other.refs_)
{
    other.refs_ = nullptr;
}

template <typename T>
template <typename O>
sptr<T>::sptr(const sptr<O> &other) : sptr(other.GetRefPtr())
{
}

template <typename T>
sptr<T>::~sptr()
{
    if (refs_ != nullptr) {
        refs_->DecStrongRef(this);
    }
}

template <typename T>
template <typename... Args>
sptr<T> sptr<T>::MakeSptr(Args &&...args)
{
    return sptr<T>(new T(std::forward<Args>(args)...));
}

template <typename T>
sptr<T> sptr<T>::Adopt(T *counted)
{
    sptr<T> result;
    result.refs_ = counted;
    return result;
}

template <typename T>
sptr<T> &sptr<T>::operator=(T *other)
{
    // Take the new reference first: assigning the object to itself must not destroy it.
    if (other != nullptr) {
        other->IncStrongRef(this);
    }
    T *old = refs_;
    refs_ = other;
    if (old != nullptr) {
        old->DecStrongRef(this);
    }
    return *this;
}

template <typename T>
sptr<T> &sptr<T>::operator=(const sptr<T> &other)
{
    return operator=(other.refs_);
}

template <typename T>
sptr<T> &sptr<T>::operator=(sptr<T> &&other) noexcept
{
    if (this != &other) {
        T *old = refs_;
        refs_ = other.refs_;
        other.refs_ = nullptr;
        if (old != nullptr) {
            old->DecStrongRef(this);
        }
    }
    return *this;
}

template <typename T>
sptr<T> &sptr<T>::operator=(const wptr<T> &other)
{
    return operator=(other.promote());
}

template <typename T>
template <typename O>
sptr<T> &sptr<T>::operator=(const sptr<O> &other)
{
    return operator=(other.GetRefPtr());
}

template <typename T>
void sptr<T>::ForceSetRefPtr(T *other)
{
    refs_ = other;
}

template <typename T>
void sptr<T>::clear()
{
    T *old = refs_;
    refs_ = nullptr;
    if (old != nullptr) {
        old->DecStrongRef(this);
    }
}

// ---- wptr ----

template <typename T>
void wptr<T>::Attach(T *object, RefCounter *refs)
{
    ptr_ = object;
    refs_ = refs;
    if (refs_ != nullptr) {
        refs_->IncRefCount();
        refs_->IncWeakRefCount(this);
    }
}

template <typename T>
void wptr<T>::Release()
{
    RefCounter *refs = refs_;
    ptr_ = nullptr;
    refs_ = nullptr;
    if (refs != nullptr) {
        refs->DecWeakRefCount(this);
        refs->DecRefCount();
    }
}

template <typename T>
wptr<T>::wptr(T *other)
{
    Attach(other, other != nullptr ? other->GetRefCounter() : nullptr);
}

template <typename T>
wptr<T>::wptr(const sptr<T> &other) : wptr(other.GetRefPtr())
{
}

template <typename T>
wptr<T>::wptr(const wptr<T> &other)
{
    Attach(other.ptr_, other.refs_);
}

template <typename T>
wptr<T>::wptr(wptr<T> &&other) noexcept : ptr_(other.ptr_), refs_(other.refs_)
{
    other.ptr_ = nullptr;
    other.refs_ = nullptr;
}

template <typename T>
template <typename O>
wptr<T>::wptr(const wptr<O> &other)
{
    operator=(other);
}

template <typename T>
template <typename O>
wptr<T>::wptr(const sptr<O> &other) : wptr(other.GetRefPtr())
{
}

template <typename T>
wptr<T>::~wptr()
{
    Release();
}

template <typename T>
wptr<T> &wptr<T>::operator=(T *other)
{
    wptr<T> fresh(other);
    return operator=(std::move(fresh));
}

template <typename T>
wptr<T> &wptr<T>::operator=(const sptr<T> &other)
{
    return operator=(other.GetRefPtr());
}

template <typename T>
wptr<T> &wptr<T>::operator=(const wptr<T> &other)
{
    if (this != &other) {
        wptr<T> copy(other);
        operator=(std::move(copy));
    }
    return *this;
}

template <typename T>
wptr<T> &wptr<T>::operator=(wptr<T> &&other) noexcept
{
    if (this != &other) {
        Release();
        ptr_ = other.ptr_;
        refs_ = other.refs_;
        other.ptr_ = nullptr;
        other.refs_ = nullptr;
    }
    return *this;
}

template <typename T>
template <typename O>
wptr<T> &wptr<T>::operator=(const wptr<O> &other)
{
    // Converting O* to T* may read the object (virtual bases), so it is done only while the object is held.
    RefCounter *refs = other.refs_;
    bool tookStrong = false;
    T *converted = nullptr;
    if (refs != nullptr && refs->AttemptPin(this, tookStrong)) {
        converted = other.ptr_;
    }
    wptr<T> fresh;
    fresh.Attach(converted, refs);
    if (tookStrong) {
        other.ptr_->DecStrongRef(this);
    }
    return operator=(std::move(fresh));
}

template <typename T>
template <typename O>
wptr<T> &wptr<T>::operator=(const sptr<O> &other)
{
    return operator=(other.GetRefPtr());
}

template <typename T>
int wptr<T>::GetWeakRefCount() const
{
    return refs_ != nullptr ? refs_->GetWeakRefCount() : 0;
}

template <typename T>
bool wptr<T>::AttemptIncStrongRef(const void *objectId) const
{
    return refs_ != nullptr && refs_->AttemptIncStrongRef(objectId);
}

template <typename T>
const sptr<T> wptr<T>::promote() const
{
    if (ptr_ == nullptr || !AttemptIncStrongRef(this)) {
        return sptr<T>();
    }
    return sptr<T>::Adopt(ptr_);
}

} // namespace OHOS

#endif // UTILS_BASE_REFBASE_H
