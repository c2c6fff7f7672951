#include <CoreFoundation/RunLoop.h>

namespace kivo {

CFTypeID RunLoopSource::TypeID() const {
    return CFRunLoopSourceGetTypeID();
}

namespace {

/// A version-0 source: its owner signals it.
class SignalledSource final : public RunLoopSource {
  public:
    SignalledSource(CFIndex order, const CFRunLoopSourceContext& context)
        : RunLoopSource(order), mContext(context) {
        if (mContext.retain != nullptr) {
            mContext.info = const_cast<void*>(mContext.retain(mContext.info));
        }
    }

    ~SignalledSource() override {
        if (IsValid()) SignalledSource::WasInvalidated();
    }

    void Signal() override { mSignalled.store(true, std::memory_order_release); }
    bool IsSignalled() const override { return mSignalled.load(std::memory_order_acquire); }
    bool TakeSignal() override { return mSignalled.exchange(false, std::memory_order_acq_rel); }

    bool Perform() override {
        if (mContext.perform != nullptr) mContext.perform(mContext.info);
        return true;
    }

    void GetContext(CFRunLoopSourceContext* context) const override { *context = mContext; }

    void WasAdded(RunLoop& loop, CFStringRef mode) override {
        if (mContext.schedule != nullptr) {
            mContext.schedule(mContext.info, reinterpret_cast<CFRunLoopRef>(&loop), mode);
        }
    }

    void WasRemoved(RunLoop& loop, CFStringRef mode) override {
        if (mContext.cancel != nullptr) {
            mContext.cancel(mContext.info, reinterpret_cast<CFRunLoopRef>(&loop), mode);
        }
    }

  private:
    void WasInvalidated() override {
        if (mContext.release != nullptr) mContext.release(mContext.info);
    }

    CFRunLoopSourceContext mContext;
    std::atomic<bool> mSignalled{false};
};

/// A source of a descriptor that somebody else in the layer owns.
class BorrowedDescriptorSource final : public RunLoopSource {
  public:
    BorrowedDescriptorSource(int descriptor, const DescriptorSourceContext& context)
        : RunLoopSource(0), mDescriptor(descriptor), mContext(context) {}

    int Descriptor() const override { return mDescriptor; }
    bool HasKeptWork() override {
        return mContext.isReady != nullptr && mContext.isReady(mContext.info);
    }
    bool Perform() override {
        mContext.perform(mContext.info);
        return true;
    }

  private:
    const int mDescriptor;
    const DescriptorSourceContext mContext;
};

}  // namespace

CFRunLoopSourceRef CreateDescriptorSource(int descriptor, const DescriptorSourceContext& context) {
    return reinterpret_cast<CFRunLoopSourceRef>(new BorrowedDescriptorSource(descriptor, context));
}

}  // namespace kivo

namespace {

kivo::RunLoopSource& Source(CFRunLoopSourceRef source) {
    return *reinterpret_cast<kivo::RunLoopSource*>(source);
}

}  // namespace

CFTypeID CFRunLoopSourceGetTypeID() {
    static const CFTypeID id = kivo::RegisterType("CFRunLoopSource");
    return id;
}

CFRunLoopSourceRef CFRunLoopSourceCreate(CFAllocatorRef, CFIndex order,
                                         CFRunLoopSourceContext* context) {
    if (context == nullptr || context->version != 0) return nullptr;
    return reinterpret_cast<CFRunLoopSourceRef>(new kivo::SignalledSource(order, *context));
}

CFIndex CFRunLoopSourceGetOrder(CFRunLoopSourceRef source) {
    return Source(source).Order();
}

void CFRunLoopSourceInvalidate(CFRunLoopSourceRef source) {
    Source(source).Invalidate();
}

Boolean CFRunLoopSourceIsValid(CFRunLoopSourceRef source) {
    return Source(source).IsValid();
}

void CFRunLoopSourceGetContext(CFRunLoopSourceRef source, CFRunLoopSourceContext* context) {
    Source(source).GetContext(context);
}

void CFRunLoopSourceSignal(CFRunLoopSourceRef source) {
    Source(source).Signal();
}
