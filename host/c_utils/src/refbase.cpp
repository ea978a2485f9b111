#include "refbase.h"

namespace OHOS {

RefCounter::RefCounter(RefBase *owner) : owner_(owner) {}

void RefCounter::IncRefCount()
{
    refCount_.fetch_add(1, std::memory_order_relaxed);
}

void RefCounter::DecRefCount()
{
    if (refCount_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete this;
    }
}

int RefCounter::GetRefCount() const
{
    return refCount_.load(std::memory_order_relaxed);
}

int RefCounter::IncStrongRefCount(const void *objectId)
{
    int old = strong_.fetch_add(1, std::memory_order_relaxed);
    if (old == INITIAL_PRIMARY_VALUE) {
        strong_.fetch_sub(INITIAL_PRIMARY_VALUE, std::memory_order_relaxed);
    }
    return old;
}

int RefCounter::DecStrongRefCount(const void *objectId)
{
    return strong_.fetch_sub(1, std::memory_order_acq_rel);
}

int RefCounter::GetStrongRefCount() const
{
    return strong_.load(std::memory_order_relaxed);
}

int RefCounter::IncWeakRefCount(const void *objectId)
{
    return weak_.fetch_add(1, std::memory_order_relaxed);
}

int RefCounter::DecWeakRefCount(const void *objectId)
{
    int old = weak_.fetch_sub(1, std::memory_order_acq_rel);
    if (old == 1 && IsLifeTimeExtended()) {
        owner_->OnLastWeakRef(objectId);
        delete owner_;
    }
    return old;
}

int RefCounter::GetWeakRefCount() const
{
    return weak_.load(std::memory_order_relaxed);
}

bool RefCounter::AttemptIncStrongRef(const void *objectId)
{
    int current = strong_.load(std::memory_order_relaxed);
    for (;;) {
        if (current == 0) {
            // Only an extended-lifetime object survives its last strong reference; our weak one keeps it.
            if (!IsLifeTimeExtended() || !owner_->OnAttemptPromoted(objectId)) {
                return false;
            }
        }
        int next = (current == INITIAL_PRIMARY_VALUE) ? 1 : current + 1;
        if (strong_.compare_exchange_weak(current, next, std::memory_order_acq_rel, std::memory_order_relaxed)) {
            break;
        }
    }
    IncWeakRefCount(objectId);
    if (current == INITIAL_PRIMARY_VALUE) {
        owner_->OnFirstStrongRef(objectId);
    }
    return true;
}

bool RefCounter::AttemptPin(const void *objectId, bool &tookStrong)
{
    tookStrong = false;
    int current = strong_.load(std::memory_order_relaxed);
    for (;;) {
        // Never held, or extended and still weakly held by the caller: alive without a strong reference.
        if (current == INITIAL_PRIMARY_VALUE || (current == 0 && IsLifeTimeExtended())) {
            return true;
        }
        if (current == 0) {
            return false;
        }
        if (strong_.compare_exchange_weak(current, current + 1, std::memory_order_acq_rel, std::memory_order_relaxed)) {
            IncWeakRefCount(objectId);
            tookStrong = true;
            return true;
        }
    }
}

void RefCounter::MarkDestroyed()
{
    int neverHeld = INITIAL_PRIMARY_VALUE;
    strong_.compare_exchange_strong(neverHeld, 0, std::memory_order_acq_rel, std::memory_order_relaxed);
}

void RefCounter::ExtendObjectLifetime()
{
    extended_.store(true, std::memory_order_relaxed);
}

bool RefCounter::IsLifeTimeExtended() const
{
    return extended_.load(std::memory_order_relaxed);
}

bool RefCounter::IsObjectAlive() const
{
    return GetStrongRefCount() != 0 || IsLifeTimeExtended();
}

RefBase::RefBase() : refs_(new RefCounter(this))
{
    refs_->IncRefCount();
}

RefBase::RefBase(const RefBase &) : RefBase() {}

RefBase &RefBase::operator=(const RefBase &)
{
    return *this;
}

RefBase::RefBase(RefBase &&) noexcept : RefBase() {}

RefBase &RefBase::operator=(RefBase &&) noexcept
{
    return *this;
}

RefBase::~RefBase()
{
    // An object deleted by hand without ever being strongly held must not be promoted afterwards.
    refs_->MarkDestroyed();
    refs_->DecRefCount();
}

void RefBase::ExtendObjectLifetime()
{
    refs_->ExtendObjectLifetime();
}

void RefBase::IncStrongRef(const void *objectId)
{
    refs_->IncWeakRefCount(objectId);
    if (refs_->IncStrongRefCount(objectId) == INITIAL_PRIMARY_VALUE) {
        OnFirstStrongRef(objectId);
    }
}

void RefBase::DecStrongRef(const void *objectId)
{
    // The counter must survive `delete this` below: the weak release still needs it.
    RefCounter *refs = refs_;
    refs->IncRefCount();
    if (refs->DecStrongRefCount(objectId) == 1) {
        OnLastStrongRef(objectId);
        if (!refs->IsLifeTimeExtended()) {
            delete this;
        }
    }
    refs->DecWeakRefCount(objectId);
    refs->DecRefCount();
}

int RefBase::GetSptrRefCount()
{
    return refs_->GetStrongRefCount();
}

void RefBase::IncWeakRef(const void *objectId)
{
    refs_->IncWeakRefCount(objectId);
}

void RefBase::DecWeakRef(const void *objectId)
{
    RefCounter *refs = refs_;
    refs->IncRefCount();
    refs->DecWeakRefCount(objectId);
    refs->DecRefCount();
}

int RefBase::GetWptrRefCount()
{
    return refs_->GetWeakRefCount();
}

bool RefBase::AttemptIncStrongRef(const void *objectId)
{
    return refs_->AttemptIncStrongRef(objectId);
}

bool RefBase::AttemptAcquire(const void *objectId)
{
    return refs_->AttemptIncStrongRef(objectId);
}

bool RefBase::IsExtendLifeTimeSet()
{
    return refs_->IsLifeTimeExtended();
}

void RefBase::OnFirstStrongRef(const void *) {}

void RefBase::OnLastStrongRef(const void *) {}

void RefBase::OnLastWeakRef(const void *) {}

bool RefBase::OnAttemptPromoted(const void *)
{
    return true;
}

RefCounter *RefBase::GetRefCounter() const
{
    return refs_;
}

} // namespace OHOS
