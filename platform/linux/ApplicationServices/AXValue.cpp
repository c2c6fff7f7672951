#include <ApplicationServices/AXValue.h>

#include <ApplicationServices/AXError.h>
#include <CoreFoundation/CFCGTypes.h>
#include <CoreFoundation/CFRuntime.h>

#include <array>
#include <cstring>
#include <functional>
#include <new>
#include <string_view>

namespace kivo {
namespace {

/// How many bytes a value of each type has; 0 for what is no type.
std::size_t SizeOf(AXValueType type) {
    switch (type) {
        case kAXValueTypeCGPoint:
            return sizeof(CGPoint);
        case kAXValueTypeCGSize:
            return sizeof(CGSize);
        case kAXValueTypeCGRect:
            return sizeof(CGRect);
        case kAXValueTypeCFRange:
            return sizeof(CFRange);
        case kAXValueTypeAXError:
            return sizeof(AXError);
        default:
            return 0;
    }
}

}  // namespace
}  // namespace kivo

struct __AXValue final : public kivo::CFObject {
  public:
    __AXValue(AXValueType type, const void* value) : mType(type) {
        std::memcpy(mBytes.data(), value, kivo::SizeOf(type));
    }

    CFTypeID TypeID() const override { return AXValueGetTypeID(); }
    bool Equal(const CFObject& other) const override {
        const auto& value = static_cast<const __AXValue&>(other);
        return mType == value.mType && Bytes() == value.Bytes();
    }
    CFHashCode Hash() const override { return std::hash<std::string_view>()(Bytes()) ^ mType; }

    AXValueType Type() const { return mType; }
    std::string_view Bytes() const { return {mBytes.data(), kivo::SizeOf(mType)}; }

  private:
    AXValueType mType;
    std::array<char, sizeof(CGRect)> mBytes{};  // no value is larger
};

CFTypeID AXValueGetTypeID() {
    static const CFTypeID id = kivo::RegisterType("AXValue");
    return id;
}

AXValueRef AXValueCreate(AXValueType type, const void* value) {
    if (value == nullptr || kivo::SizeOf(type) == 0) return nullptr;
    return new (std::nothrow) __AXValue(type, value);
}

AXValueType AXValueGetType(AXValueRef object) {
    return object->Type();
}

Boolean AXValueGetValue(AXValueRef object, AXValueType type, void* value) {
    if (object == nullptr || value == nullptr || object->Type() != type) return false;
    std::memcpy(value, object->Bytes().data(), object->Bytes().size());
    return true;
}
