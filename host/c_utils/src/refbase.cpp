// SPDX-License-Identifier: Apache-2.0
#include "refbase.h"

namespace OHOS {

// The object that creates a counter holds its first reference.
RefCounter::RefCounter() : atomicRefCount_(1) {}

RefCounter::~RefCounter() = default;

void RefCounter::SetCallback(const RefPtrCallback &callback)
{
    callback_ = callback;
}

// After this the counter no longer refers to its object: nothing destroys it or calls its hooks.
void RefCounter::RemoveCallback()
{
    if (callback_) {
        callback_ = nullptr;
    }
    owner_.store(nullptr, std::memory_order_release);
}

bool RefCounter::IsRefPtrValid()
{
    return callback_ != nullptr || owner_.load(std::memory_order_acquire) != nullptr;
}

int RefCounter::GetRefCount()
{
    return atomicRefCount_.load(std::memory_order_relaxed);
}

void RefCounter::IncRefCount()
{
    atomicRefCount_.fetch_add(1, std::memory_order_relaxed);
}

// A sole holder cannot race anyone (only a live object creates lineages), so it frees without a locked step.
void RefCounter::DecRefCount()
{
    if (atomicRefCount_.load(std::memory_order_acquire) == 1 ||
        atomicRefCount_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete this;
    }
}

// The first strong reference replaces the "never held" mark in one step, so two first holders cannot both see it.
int RefCounter::IncStrongRefCount(const void *)
{
    int current = atomicStrong_.load(std::memory_order_relaxed);
    if (current == INITIAL_PRIMARY_VALUE &&
        atomicStrong_.compare_exchange_strong(current, 1, std::memory_order_relaxed)) {
        return INITIAL_PRIMARY_VALUE;
    }
    return atomicStrong_.fetch_add(1, std::memory_order_relaxed);
}

int RefCounter::DecStrongRefCount(const void *)
{
    // acq_rel rather than release plus an acquire fence on the last one: ThreadSanitizer does not model fences.
    return atomicStrong_.fetch_sub(1, std::memory_order_acq_rel);
}

int RefCounter::GetStrongRefCount()
{
    return atomicStrong_.load(std::memory_order_relaxed);
}

int RefCounter::IncWeakRefCount(const void *)
{
    return atomicWeak_.fetch_add(1, std::memory_order_relaxed);
}

int RefCounter::DecWeakRefCount(const void *objectId)
{
    int old = atomicWeak_.fetch_sub(1, std::memory_order_acq_rel); // no fence: see DecStrongRefCount
    if (old != 1) {
        return old;
    }
    // A strong-lifetime object that was strongly held died with its last strong reference.
    if (IsLifeTimeExtended() || GetStrongRefCount() == INITIAL_PRIMARY_VALUE) {
        RefBase *owner = owner_.load(std::memory_order_acquire);
        if (owner != nullptr) {
            owner->OnLastWeakRef(objectId);
        }
        DestroyObject();
    }
    return old;
}

int RefCounter::GetWeakRefCount()
{
    return atomicWeak_.load(std::memory_order_relaxed);
}

void RefCounter::SetAttemptAcquire()
{
    attemptAcquire_.fetch_add(1, std::memory_order_relaxed);
}

bool RefCounter::IsAttemptAcquireSet()
{
    return attemptAcquire_.load(std::memory_order_relaxed) > 0;
}

void RefCounter::ClearAttemptAcquire()
{
    int current = attemptAcquire_.load(std::memory_order_relaxed);
    while (current > 0 && !attemptAcquire_.compare_exchange_weak(current, current - 1, std::memory_order_relaxed)) {
    }
}

bool RefCounter::AttemptIncStrongRef(const void *objectId, int &outCount)
{
    int current = atomicStrong_.load(std::memory_order_relaxed);
    RefBase *owner = nullptr;
    for (;;) {
        if (current <= 0) {
            // Only an extended-lifetime object survives its last strong reference; the caller's weak one keeps it.
            owner = owner_.load(std::memory_order_acquire);
            if (!IsLifeTimeExtended() || owner == nullptr || !owner->OnAttemptPromoted(objectId)) {
                return false;
            }
        }
        int next = (current == INITIAL_PRIMARY_VALUE) ? 1 : current + 1;
        if (atomicStrong_.compare_exchange_weak(current, next, std::memory_order_acq_rel, std::memory_order_relaxed)) {
            break;
        }
    }
    IncWeakRefCount(objectId);
    outCount = current;
    if (current == INITIAL_PRIMARY_VALUE) {
        owner = owner_.load(std::memory_order_acquire);
        if (owner != nullptr) {
            owner->OnFirstStrongRef(objectId);
        }
    }
    return true;
}

bool RefCounter::PinLineage(WeakRefCounter *lineage, const void *objectId, bool &tookStrong)
{
    RefCounter *refs = lineage->refCounter_;
    tookStrong = false;
    int current = refs->atomicStrong_.load(std::memory_order_relaxed);
    for (;;) {
        // Never held, or extended and without strong holders: alive as long as the caller's weak reference.
        if (current == INITIAL_PRIMARY_VALUE || (current == 0 && refs->IsLifeTimeExtended())) {
            return true;
        }
        if (current <= 0) {
            return false;
        }
        if (refs->atomicStrong_.compare_exchange_weak(current, current + 1, std::memory_order_acq_rel,
                                                      std::memory_order_relaxed)) {
            refs->IncWeakRefCount(objectId);
            tookStrong = true;
            return true;
        }
    }
}

// Without a callback set through SetCallback the object deletes itself (RefBase::RefPtrCallback); that default
// needs no std::function per object.
void RefCounter::DestroyObject()
{
    RefBase *owner = owner_.load(std::memory_order_acquire);
    owner_.store(nullptr, std::memory_order_release);
    if (callback_) {
        RefPtrCallback callback = std::move(callback_);
        callback_ = nullptr;
        callback();
    } else if (owner != nullptr) {
        owner->RefPtrCallback();
    }
}

void RefCounter::ExtendObjectLifetime()
{
    extended_.store(true, std::memory_order_relaxed);
}

bool RefCounter::IsLifeTimeExtended()
{
    return extended_.load(std::memory_order_relaxed);
}

void RefCounter::EnableTracker() {}

bool RefCounter::IsTrackerEnabled()
{
    return false;
}

WeakRefCounter::WeakRefCounter(RefCounter *base, void *cookie) : refCounter_(base), cookie_(cookie)
{
    if (refCounter_ != nullptr) {
        refCounter_->IncRefCount();
    }
}

WeakRefCounter::~WeakRefCounter()
{
    if (refCounter_ != nullptr) {
        refCounter_->DecRefCount();
    }
}

void *WeakRefCounter::GetRefPtr()
{
    return cookie_;
}

// The lineage holds one weak reference on the object for all its pointers.
void WeakRefCounter::IncWeakRefCount(const void *objectId)
{
    if (atomicWeak_.fetch_add(1, std::memory_order_relaxed) == 0) {
        refCounter_->IncWeakRefCount(objectId);
    }
}

void WeakRefCounter::DecWeakRefCount(const void *objectId)
{
    if (atomicWeak_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        refCounter_->DecWeakRefCount(objectId);
        delete this;
    }
}

int WeakRefCounter::GetWeakRefCount() const
{
    return atomicWeak_.load(std::memory_order_relaxed);
}

bool WeakRefCounter::AttemptIncStrongRef(const void *objectId)
{
    int before = 0;
    return refCounter_->AttemptIncStrongRef(objectId, before);
}

RefBase::RefBase()
{
    AdoptCounter(new RefCounter());
}

RefBase::RefBase(const RefBase &) : RefBase() {}

RefBase &RefBase::operator=(const RefBase &)
{
    return *this;
}

RefBase::RefBase(RefBase &&other) noexcept
{
    RefCounter *refs = other.refs_;
    other.refs_ = nullptr;
    AdoptCounter(refs);
}

RefBase &RefBase::operator=(RefBase &&other) noexcept
{
    if (this == &other || refs_ == other.refs_) {
        return *this;
    }
    RefCounter *old = refs_;
    RefCounter *refs = other.refs_;
    other.refs_ = nullptr;
    AdoptCounter(refs);
    if (old != nullptr) {
        old->RemoveCallback();
        old->DecRefCount();
    }
    return *this;
}

void RefBase::AdoptCounter(RefCounter *refs)
{
    refs_ = refs;
    if (refs_ != nullptr) {
        refs_->owner_.store(this, std::memory_order_release);
    }
}

RefBase::~RefBase()
{
    RefCounter *refs = refs_;
    if (refs == nullptr) {
        return;
    }
    refs_ = nullptr;
    // Whatever happens to the counts later, this object is not destroyed a second time or promoted.
    refs->RemoveCallback();
    int neverHeld = INITIAL_PRIMARY_VALUE;
    if (refs->GetStrongRefCount() == neverHeld) {
        refs->atomicStrong_.compare_exchange_strong(neverHeld, 0, std::memory_order_acq_rel, std::memory_order_relaxed);
    }
    refs->DecRefCount();
}

void RefBase::RefPtrCallback()
{
    delete this;
}

void RefBase::ExtendObjectLifetime()
{
    if (refs_ != nullptr) {
        refs_->ExtendObjectLifetime();
    }
}

void RefBase::IncStrongRef(const void *objectId)
{
    if (refs_ == nullptr) {
        return;
    }
    refs_->IncWeakRefCount(objectId);
    if (refs_->IncStrongRefCount(objectId) == INITIAL_PRIMARY_VALUE) {
        OnFirstStrongRef(objectId);
    }
}

void RefBase::DecStrongRef(const void *objectId)
{
    RefCounter *refs = refs_;
    if (refs == nullptr) {
        return;
    }
    // Another holder may destroy the object, and with it the counter, as soon as this one's strong count is gone:
    // the counter stays pinned until this holder's weak part is released too.
    refs->IncRefCount();
    if (refs->DecStrongRefCount(objectId) == 1) {
        OnLastStrongRef(objectId);
        if (!refs->IsLifeTimeExtended()) {
            // This holder's weak reference goes first: the object, and with it possibly the counter, goes next.
            // Alone, it cannot race anyone: promotions fail from now on and only lineages hold the rest.
            if (refs->atomicWeak_.load(std::memory_order_acquire) == 1) {
                refs->atomicWeak_.store(0, std::memory_order_release);
            } else {
                refs->atomicWeak_.fetch_sub(1, std::memory_order_acq_rel);
            }
            refs->DestroyObject();
            refs->DecRefCount();
            return;
        }
    }
    refs->DecWeakRefCount(objectId);
    refs->DecRefCount();
}

int RefBase::GetSptrRefCount()
{
    return refs_ != nullptr ? refs_->GetStrongRefCount() : 0;
}

WeakRefCounter *RefBase::CreateWeakRef(void *cookie)
{
    return refs_ != nullptr ? new WeakRefCounter(refs_, cookie) : nullptr;
}

void RefBase::IncWeakRef(const void *objectId)
{
    if (refs_ != nullptr) {
        refs_->IncWeakRefCount(objectId);
    }
}

void RefBase::DecWeakRef(const void *objectId)
{
    if (refs_ != nullptr) {
        refs_->DecWeakRefCount(objectId);
    }
}

int RefBase::GetWptrRefCount()
{
    return refs_ != nullptr ? refs_->GetWeakRefCount() : 0;
}

bool RefBase::AttemptAcquire(const void *objectId)
{
    if (!AttemptIncStrongRef(objectId)) {
        return false;
    }
    refs_->SetAttemptAcquire();
    return true;
}

bool RefBase::IsAttemptAcquireSet()
{
    return refs_ != nullptr && refs_->IsAttemptAcquireSet();
}

// Gives back only the counts an earlier AttemptAcquire took (a strong one and the weak one that came with it): no
// last-strong hook, no destruction. So "AttemptAcquire on a new object, then this, then an sptr" leaves the object
// held by that sptr alone, which frees it when it goes.
void RefBase::CheckIsAttemptAcquireSet(const void *objectId)
{
    if (IsAttemptAcquireSet()) {
        refs_->ClearAttemptAcquire();
        refs_->DecStrongRefCount(objectId);
        refs_->DecWeakRefCount(objectId);
    }
}

bool RefBase::AttemptIncStrongRef(const void *objectId)
{
    int before = 0;
    return refs_ != nullptr && refs_->AttemptIncStrongRef(objectId, before);
}

bool RefBase::IsExtendLifeTimeSet()
{
    return refs_ != nullptr && refs_->IsLifeTimeExtended();
}

void RefBase::OnFirstStrongRef(const void *) {}

void RefBase::OnLastStrongRef(const void *) {}

void RefBase::OnLastWeakRef(const void *) {}

bool RefBase::OnAttemptPromoted(const void *)
{
    return true;
}

void RefBase::EnableTracker() {}

RefCounter *RefBase::GetRefCounter() const
{
    return refs_;
}

} // namespace OHOS
