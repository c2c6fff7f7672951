#pragma once

// Inside of the layer only: the objects behind a CFMessagePortRef.

#include <CFRef.h>
#include <CoreFoundation/CFMessagePort.h>
#include <CoreFoundation/CFRuntime.h>

#include <atomic>
#include <mutex>
#include <string>

namespace kivo {

/// What local and remote ports have in common: a name, and an end of which they tell once.
class MessagePort : public CFObject {
  public:
    CFTypeID TypeID() const override;
    virtual bool IsRemote() const = 0;
    /// Asks the system, where that can tell.
    virtual bool IsValid() { return IsMarkedValid(); }
    /// As far as is known.
    bool IsMarkedValid() const { return mValid.load(std::memory_order_acquire); }
    /// From any thread; idempotent. Runs the invalidation callback on the calling thread.
    void Invalidate();

    virtual CFMessagePortContext Context() const { return {}; }
    /// Lent; null for a port without a name.
    CFStringRef Name() const;
    std::string NameBytes() const;
    CFMessagePortInvalidationCallBack InvalidationCallBack() const { return mInvalidation; }
    void SetInvalidationCallBack(CFMessagePortInvalidationCallBack callback);

  protected:
    explicit MessagePort(const std::string& name);
    /// For destructors of derived classes: the end of a port that nobody ended.
    void InvalidateAtLast();
    void SetNameBytes(const std::string& name);

    // The steps of the end, in this order, with the callback after the first.
    virtual void GiveUpName() = 0;
    virtual void ReleaseInfo() {}
    virtual void Disconnect() = 0;

    /// Guards what a port holds. Never held during a callback.
    mutable std::mutex mLock;

  private:
    std::atomic<bool> mValid{true};
    std::atomic<CFMessagePortInvalidationCallBack> mInvalidation{nullptr};
    std::string mNameBytes;
    CFRef<CFStringRef> mName;
};

/// A port's name as it travels: UTF-8, cut to 128 bytes. Empty for null, for the empty string and
/// for one with a NUL: such a port has no name.
std::string PortNameBytes(CFStringRef name);

}  // namespace kivo
