// SPDX-License-Identifier: Apache-2.0
#ifndef UTILS_BASE_REFBASE_H
#define UTILS_BASE_REFBASE_H

// Standard headers the platform's own header brings in: device code uses what they declare after including
// only this one, so the host header brings at least the same.
#include <memory>
#include <mutex>

#include <atomic>
#include <functional>
#include <utility>

namespace OHOS {

// A strong count that was never taken reads as this value, so "never held" and "released" differ.
constexpr int INITIAL_PRIMARY_VALUE = 1 << 28;

class RefBase;
class WeakRefCounter;

// The counts of one RefBase object. It outlives the object while weak references still point at it, so a wptr
// can always ask whether its object is alive without touching the object itself. Its own lifetime: the object
// holds one reference and every WeakRefCounter one more (GetRefCount()).
class RefCounter {
public:
    // Destroys the object in place of RefBase::RefPtrCallback when set.
    using RefPtrCallback = std::function<void()>;

    RefCounter();
    RefCounter(const RefCounter &) = delete;
    RefCounter &operator=(const RefCounter &) = delete;
    virtual ~RefCounter();

    void SetCallback(const RefPtrCallback &callback);
    void RemoveCallback();
    bool IsRefPtrValid();

    int GetRefCount();
    void IncRefCount();
    // The last release deletes the counter.
    void DecRefCount();

    // Both return the count before the change.
    int IncStrongRefCount(const void *objectId);
    int DecStrongRefCount(const void *objectId);
    int GetStrongRefCount();

    // Strong holders count as weak holders too. The last weak release destroys an object whose lifetime was
    // extended, or one that was never strongly held.
    int IncWeakRefCount(const void *objectId);
    int DecWeakRefCount(const void *objectId);
    int GetWeakRefCount();

    // Set by a successful RefBase::AttemptAcquire until CheckIsAttemptAcquireSet hands the reference back.
    void SetAttemptAcquire();
    bool IsAttemptAcquireSet();
    void ClearAttemptAcquire();

    // Takes a strong (and weak) reference unless the object is already gone; `outCount` is the strong count
    // before. Safe against the release of the last strong reference on another thread: one of the two wins.
    bool AttemptIncStrongRef(const void *objectId, int &outCount);

    void ExtendObjectLifetime();
    bool IsLifeTimeExtended();

    // Reference tracking is not kept on the host; the switches are accepted and do nothing.
    void EnableTracker();
    bool IsTrackerEnabled();

private:
    friend class RefBase;
    template <typename T>
    friend class wptr;

    // Keeps the object of a lineage alive for a moment (to convert its address). False if it is gone;
    // `tookStrong` tells whether a strong reference was taken that the caller drops again.
    static bool PinLineage(WeakRefCounter *lineage, const void *objectId, bool &tookStrong);
    // Runs the callback once; nothing of the counter may be touched afterwards (it may be gone with the object).
    void DestroyObject();

    std::atomic<int> atomicStrong_{INITIAL_PRIMARY_VALUE};
    std::atomic<int> atomicWeak_{0};
    std::atomic<int> atomicRefCount_;
    std::atomic<bool> extended_{false};
    std::atomic<int> attemptAcquire_{0};
    RefPtrCallback callback_;
    // The object, for its destruction and the hooks a promotion runs; null once it is gone.
    std::atomic<RefBase *> owner_{nullptr};
};

// One lineage of weak pointers: a wptr and all its copies share one WeakRefCounter, which holds a single weak
// reference on the object's RefCounter while any of them exists.
class WeakRefCounter {
public:
    WeakRefCounter(RefCounter *base, void *cookie);
    virtual ~WeakRefCounter();

    void *GetRefPtr();
    void IncWeakRefCount(const void *objectId);
    // The last release of the lineage drops its weak reference on the object and deletes this counter.
    void DecWeakRefCount(const void *objectId);
    int GetWeakRefCount() const;
    bool AttemptIncStrongRef(const void *objectId);

private:
    friend class RefCounter;

    std::atomic<int> atomicWeak_{0};
    RefCounter *refCounter_;
    void *cookie_;
};

// Intrusive strong and weak counts. Derive from it virtually: a class may reach it through several bases.
class RefBase {
public:
    RefBase();
    // A copy is a new object with its own counts; assigning one leaves the counts alone.
    RefBase(const RefBase &);
    RefBase &operator=(const RefBase &);
    // A move hands the counts to the new object; the moved-from one has none (GetRefCounter() is null) and every
    // count operation on it does nothing.
    RefBase(RefBase &&other) noexcept;
    RefBase &operator=(RefBase &&other) noexcept;
    virtual ~RefBase();

    // Called by the counter when the object must go: deletes it.
    void RefPtrCallback();

    // After this call the object lives until its last weak reference goes, not its last strong one.
    void ExtendObjectLifetime();

    void IncStrongRef(const void *objectId);
    void DecStrongRef(const void *objectId);
    // 1<<28 until the first strong reference is taken.
    int GetSptrRefCount();

    // A new weak lineage for `cookie` (the object's address as the wptr's type sees it).
    WeakRefCounter *CreateWeakRef(void *cookie);
    void IncWeakRef(const void *objectId);
    void DecWeakRef(const void *objectId);
    // Strong holders and weak lineages, each counted once.
    int GetWptrRefCount();

    // A strong reference taken for a caller that wraps the object into an sptr right after; that sptr's
    // creator then calls CheckIsAttemptAcquireSet to hand the extra reference back.
    bool AttemptAcquire(const void *objectId);
    bool IsAttemptAcquireSet();
    void CheckIsAttemptAcquireSet(const void *objectId);
    bool AttemptIncStrongRef(const void *objectId);
    bool IsExtendLifeTimeSet();

    // Hooks, called on the thread that changes the count.
    virtual void OnFirstStrongRef(const void *objectId);
    virtual void OnLastStrongRef(const void *objectId);
    // Only for objects destroyed by their last weak reference, right before that.
    virtual void OnLastWeakRef(const void *objectId);
    // Asked before an extended-lifetime object without strong references is promoted again.
    virtual bool OnAttemptPromoted(const void *objectId);

    // Reference tracking is not kept on the host; the switches are accepted and do nothing.
    void EnableTracker();

    RefCounter *GetRefCounter() const;

private:
    void AdoptCounter(RefCounter *refs);

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
    // Promotion of a weak lineage: null unless the object could be strongly referenced.
    sptr(WeakRefCounter *p, bool force);
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
    T *refs_ = nullptr;
};

template <typename T>
class wptr {
public:
    wptr() = default;
    // Each of these starts a new lineage.
    wptr(T *other);
    template <typename O>
    wptr(O *other);
    wptr(const sptr<T> &other);
    template <typename O>
    wptr(const sptr<O> &other);
    // Copies join the lineage of `other`.
    wptr(const wptr<T> &other);
    wptr(wptr<T> &&other) noexcept;
    template <typename O>
    wptr(const wptr<O> &other);
    ~wptr();

    wptr<T> &operator=(T *other);
    template <typename O>
    wptr<T> &operator=(O *other);
    wptr<T> &operator=(const sptr<T> &other);
    template <typename O>
    wptr<T> &operator=(const sptr<O> &other);
    wptr<T> &operator=(const wptr<T> &other);
    wptr<T> &operator=(wptr<T> &&other) noexcept;
    template <typename O>
    wptr<T> &operator=(const wptr<O> &other);

    // The raw pointer may dangle once the object is gone; only promote() gives a usable one.
    T *GetRefPtr() const
    {
        return refs_ != nullptr ? static_cast<T *>(refs_->GetRefPtr()) : nullptr;
    }
    T &operator*() const
    {
        return *GetRefPtr();
    }
    T *operator->() const
    {
        return GetRefPtr();
    }

    bool operator==(const T *other) const
    {
        return GetRefPtr() == other;
    }
    bool operator!=(const T *other) const
    {
        return GetRefPtr() != other;
    }
    bool operator==(const wptr<T> &other) const
    {
        return GetRefPtr() == other.GetRefPtr();
    }
    bool operator!=(const wptr<T> &other) const
    {
        return GetRefPtr() != other.GetRefPtr();
    }
    bool operator==(const sptr<T> &other) const
    {
        return GetRefPtr() == other.GetRefPtr();
    }
    bool operator!=(const sptr<T> &other) const
    {
        return GetRefPtr() != other.GetRefPtr();
    }

    // References held through this pointer's lineage.
    int GetWeakRefCount() const;
    bool AttemptIncStrongRef(const void *objectId) const;

    // A strong pointer while the object lives, null once it has been destroyed. Thread-safe against the
    // release of the last strong reference on another thread.
    const sptr<T> promote() const;

private:
    template <typename O>
    friend class wptr;

    static WeakRefCounter *NewLineage(T *object, const void *objectId);
    void Reset(WeakRefCounter *refs);

    WeakRefCounter *refs_ = nullptr;
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
sptr<T>::sptr(WeakRefCounter *p, bool)
{
    if (p != nullptr && p->AttemptIncStrongRef(this)) {
        refs_ = static_cast<T *>(p->GetRefPtr());
    }
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
WeakRefCounter *wptr<T>::NewLineage(T *object, const void *objectId)
{
    WeakRefCounter *refs = object != nullptr ? object->CreateWeakRef(object) : nullptr;
    if (refs != nullptr) {
        refs->IncWeakRefCount(objectId);
    }
    return refs;
}

// Takes `refs` (already counted for this pointer) and releases the lineage held before.
template <typename T>
void wptr<T>::Reset(WeakRefCounter *refs)
{
    WeakRefCounter *old = refs_;
    refs_ = refs;
    if (old != nullptr) {
        old->DecWeakRefCount(this);
    }
}

template <typename T>
wptr<T>::wptr(T *other) : refs_(NewLineage(other, this))
{
}

template <typename T>
template <typename O>
wptr<T>::wptr(O *other) : wptr(static_cast<T *>(other))
{
}

template <typename T>
wptr<T>::wptr(const sptr<T> &other) : wptr(other.GetRefPtr())
{
}

template <typename T>
template <typename O>
wptr<T>::wptr(const sptr<O> &other) : wptr(static_cast<T *>(other.GetRefPtr()))
{
}

template <typename T>
wptr<T>::wptr(const wptr<T> &other) : refs_(other.refs_)
{
    if (refs_ != nullptr) {
        refs_->IncWeakRefCount(this);
    }
}

template <typename T>
wptr<T>::wptr(wptr<T> &&other) noexcept : refs_(other.refs_)
{
    other.refs_ = nullptr;
}

template <typename T>
template <typename O>
wptr<T>::wptr(const wptr<O> &other)
{
    operator=(other);
}

template <typename T>
wptr<T>::~wptr()
{
    Reset(nullptr);
}

template <typename T>
wptr<T> &wptr<T>::operator=(T *other)
{
    Reset(NewLineage(other, this));
    return *this;
}

template <typename T>
template <typename O>
wptr<T> &wptr<T>::operator=(O *other)
{
    return operator=(static_cast<T *>(other));
}

template <typename T>
wptr<T> &wptr<T>::operator=(const sptr<T> &other)
{
    return operator=(other.GetRefPtr());
}

template <typename T>
template <typename O>
wptr<T> &wptr<T>::operator=(const sptr<O> &other)
{
    return operator=(static_cast<T *>(other.GetRefPtr()));
}

template <typename T>
wptr<T> &wptr<T>::operator=(const wptr<T> &other)
{
    if (other.refs_ != nullptr) {
        other.refs_->IncWeakRefCount(this);
    }
    Reset(other.refs_);
    return *this;
}

template <typename T>
wptr<T> &wptr<T>::operator=(wptr<T> &&other) noexcept
{
    if (this != &other) {
        Reset(other.refs_);
        other.refs_ = nullptr;
    }
    return *this;
}

// A lineage of another type is joined when the object's address is the same under both types. Otherwise (a
// second base) the address is converted while the object is pinned, and a lineage for that address is started;
// a dead object cannot be converted, and its lineage is joined as it is.
template <typename T>
template <typename O>
wptr<T> &wptr<T>::operator=(const wptr<O> &other)
{
    WeakRefCounter *source = other.refs_;
    if (source == nullptr) {
        Reset(nullptr);
        return *this;
    }
    auto *original = static_cast<O *>(source->GetRefPtr());
    bool tookStrong = false;
    if (!RefCounter::PinLineage(source, this, tookStrong)) {
        source->IncWeakRefCount(this);
        Reset(source);
        return *this;
    }
    T *converted = original;
    if (static_cast<void *>(converted) != static_cast<void *>(original)) {
        Reset(NewLineage(converted, this));
    } else {
        source->IncWeakRefCount(this);
        Reset(source);
    }
    if (tookStrong) {
        converted->DecStrongRef(this);
    }
    return *this;
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
    return sptr<T>(refs_, true);
}

} // namespace OHOS

#endif // UTILS_BASE_REFBASE_H
