#include <CoreFoundation/CFDate.h>
#include <CoreFoundation/CFRuntime.h>
#include <CoreFoundation/LoopClock.h>

#include <cmath>
#include <ctime>

struct __CFDate final : public kivo::CFObject {
  public:
    explicit __CFDate(CFAbsoluteTime time) : mTime(time) {}

    CFTypeID TypeID() const override { return CFDateGetTypeID(); }
    bool Equal(const CFObject& other) const override {
        return mTime == static_cast<const __CFDate&>(other).mTime;
    }
    CFHashCode Hash() const override { return std::hash<CFAbsoluteTime>()(mTime); }
    std::string Description() const override;

    CFAbsoluteTime Time() const { return mTime; }

  private:
    CFAbsoluteTime mTime;
};

const CFTimeInterval kCFAbsoluteTimeIntervalSince1970 = 978307200.0;

std::string __CFDate::Description() const {
    constexpr CFTimeInterval kPrintableSpan = 1e11;
    if (!(std::abs(mTime) < kPrintableSpan)) return CFObject::Description();
    const auto seconds =
        static_cast<std::time_t>(std::floor(mTime + kCFAbsoluteTimeIntervalSince1970));
    std::tm parts{};
    char text[64];
    if (gmtime_r(&seconds, &parts) == nullptr) return CFObject::Description();
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S +0000", &parts);
    return text;
}

CFTypeID CFDateGetTypeID() {
    static const CFTypeID id = kivo::RegisterType("CFDate");
    return id;
}

CFDateRef CFDateCreate(CFAllocatorRef, CFAbsoluteTime at) {
    return new __CFDate(at);
}

CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef theDate) {
    return theDate->Time();
}

CFAbsoluteTime CFAbsoluteTimeGetCurrent() {
    return kivo::LoopClock::Current().AbsoluteNow();
}
