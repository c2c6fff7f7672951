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

class AXValue final : public CFObject {
  public:
    AXValue(AXValueType type, const void* value) : mType(type) {
        std::memcpy(mBytes.data(), value, SizeOf(type));
    }

    CFTypeID TypeID() const override { return AXValueGetTypeID(); }
    bool Equal(const CFObject& other) const override {
        const auto& value = static_cast<const AXValue&>(other);
        return mType == value.mType && Bytes() == value.Bytes();
    }
    CFHashCode Hash() const override { return std::hash<std::string_view>()(Bytes()) ^ mType; }

    AXValueType Type() const { return mType; }
    std::string_view Bytes() const { return {mBytes.data(), SizeOf(mType)}; }

  private:
    AXValueType mType;
    std::array<char, sizeof(CGRect)> mBytes{};  // no value is larger
};

const AXValue& ValueOf(AXValueRef object) {
    return static_cast<const AXValue&>(AsObject(object));
}

}  // namespace
}  // namespace kivo

CFTypeID AXValueGetTypeID() {
    static const CFTypeID id = kivo::RegisterType("AXValue");
    return id;
}

AXValueRef AXValueCreate(AXValueType type, const void* value) {
    if (value == nullptr || kivo::SizeOf(type) == 0) return nullptr;
    const kivo::CFObject* object = new (std::nothrow) kivo::AXValue(type, value);
    return static_cast<AXValueRef>(static_cast<const void*>(object));
}

AXValueType AXValueGetType(AXValueRef object) {
    return kivo::ValueOf(object).Type();
}

Boolean AXValueGetValue(AXValueRef object, AXValueType type, void* value) {
    if (object == nullptr || value == nullptr) return false;
    const kivo::AXValue& held = kivo::ValueOf(object);
    if (held.Type() != type) return false;
    std::memcpy(value, held.Bytes().data(), held.Bytes().size());
    return true;
}
