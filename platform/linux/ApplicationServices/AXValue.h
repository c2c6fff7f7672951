#pragma once

#include <CoreFoundation/CFBase.h>

/// A point, size, rectangle, range or error number as an object, so that an attribute can have it
/// for a value. Immutable; two of one type and with equal contents are equal.
typedef const struct __AXValue* AXValueRef;

typedef CF_ENUM(UInt32, AXValueType) {
    kAXValueTypeIllegal = 0,
    kAXValueTypeCGPoint = 1,
    kAXValueTypeCGSize = 2,
    kAXValueTypeCGRect = 3,
    kAXValueTypeCFRange = 4,
    kAXValueTypeAXError = 5
};

#ifdef __cplusplus
extern "C" {
#endif

CFTypeID AXValueGetTypeID(void);

/// Copies the CGPoint, CGSize, CGRect, CFRange or AXError, as `type` says, that `value` points at.
/// Null for another type or for no value. Create rule.
AXValueRef AXValueCreate(AXValueType type, const void* value);

AXValueType AXValueGetType(AXValueRef object);

/// Writes the contents to `value`. False, and nothing written, unless the object is of `type`.
Boolean AXValueGetValue(AXValueRef object, AXValueType type, void* value);

#ifdef __cplusplus
}
#endif
