#include <CoreFoundation/CFArray.h>
#include <CoreFoundation/CollectionValues.h>

#include <algorithm>
#include <utility>
#include <vector>

/// Pointers in order, handled as the callbacks say. Mutable arrays are the same kind of object.
struct __CFArray final : public kivo::CFObject {
  public:
    explicit __CFArray(const CFArrayCallBacks* callBacks)
        : mCallBacks(callBacks != nullptr ? *callBacks : CFArrayCallBacks{}) {}
    ~__CFArray() override { Clear(); }

    CFTypeID TypeID() const override { return CFArrayGetTypeID(); }
    bool Equal(const CFObject& other) const override;
    CFHashCode Hash() const override { return mValues.size(); }
    std::string Description() const override;

    const std::vector<const void*>& Values() const { return mValues; }
    const CFArrayCallBacks& CallBacks() const { return mCallBacks; }
    bool AreEqual(const void* one, const void* other) const {
        return kivo::AreEqual(mCallBacks, one, other);
    }

    void Insert(CFIndex index, const void* value) {
        mValues.insert(mValues.begin() + index, kivo::RetainValue(mCallBacks, value));
    }
    void Remove(CFIndex index) {
        const void* value = mValues[static_cast<size_t>(index)];
        mValues.erase(mValues.begin() + index);
        kivo::ReleaseValue(mCallBacks, value);
    }
    void Clear() {
        // Emptied first: a release may run code that looks at the array.
        for (const void* value : std::exchange(mValues, {}))
            kivo::ReleaseValue(mCallBacks, value);
    }

  private:
    std::vector<const void*> mValues;
    CFArrayCallBacks mCallBacks;
};

bool __CFArray::Equal(const CFObject& other) const {
    const auto& otherArray = static_cast<const __CFArray&>(other);
    return std::ranges::equal(mValues, otherArray.mValues,
                              [this](const void* a, const void* b) { return AreEqual(a, b); });
}

std::string __CFArray::Description() const {
    std::string text = "(";
    for (const void* value : mValues)
        text += (text.size() > 1 ? ", " : "") + kivo::DescribeValue(mCallBacks, value);
    return text + ")";
}

namespace {

/// As on the platform there is no way on from an index or a range outside.
void RequireRange(CFArrayRef array, CFRange range) {
    const CFIndex count = CFArrayGetCount(array);
    if (range.location < 0 || range.length < 0 || range.location > count - range.length)
        __builtin_trap();
}

const void* const* ValuesAt(CFArrayRef array, CFIndex index) {
    return array->Values().data() + index;
}

}  // namespace

const CFArrayCallBacks kCFTypeArrayCallBacks = {0, kivo::RetainObject, kivo::ReleaseObject,
                                                CFCopyDescription, CFEqual};

CFTypeID CFArrayGetTypeID() {
    static const CFTypeID id = kivo::RegisterType("CFArray");
    return id;
}

CFArrayRef CFArrayCreate(CFAllocatorRef allocator, const void** values, CFIndex numValues,
                         const CFArrayCallBacks* callBacks) {
    if (numValues < 0) return nullptr;
    auto* array = CFArrayCreateMutable(allocator, numValues, callBacks);
    for (CFIndex i = 0; i < numValues; ++i)
        array->Insert(i, values[i]);
    return array;
}

CFArrayRef CFArrayCreateCopy(CFAllocatorRef allocator, CFArrayRef theArray) {
    auto* copy = CFArrayCreateMutable(allocator, 0, &theArray->CallBacks());
    for (const void* value : theArray->Values())
        CFArrayAppendValue(copy, value);
    return copy;
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef, CFIndex, const CFArrayCallBacks* callBacks) {
    return new __CFArray(callBacks);
}

CFIndex CFArrayGetCount(CFArrayRef theArray) {
    return static_cast<CFIndex>(theArray->Values().size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef theArray, CFIndex idx) {
    RequireRange(theArray, CFRangeMake(idx, 1));
    return *ValuesAt(theArray, idx);
}

void CFArrayGetValues(CFArrayRef theArray, CFRange range, const void** values) {
    RequireRange(theArray, range);
    std::copy_n(ValuesAt(theArray, range.location), range.length, values);
}

Boolean CFArrayContainsValue(CFArrayRef theArray, CFRange range, const void* value) {
    return CFArrayGetFirstIndexOfValue(theArray, range, value) != kCFNotFound;
}

CFIndex CFArrayGetFirstIndexOfValue(CFArrayRef theArray, CFRange range, const void* value) {
    RequireRange(theArray, range);
    const auto* first = ValuesAt(theArray, range.location);
    const auto* last = first + range.length;
    const auto* found = std::find_if(
        first, last, [&](const void* candidate) { return theArray->AreEqual(value, candidate); });
    return found == last ? CFIndex{kCFNotFound} : range.location + (found - first);
}

void CFArrayAppendValue(CFMutableArrayRef theArray, const void* value) {
    theArray->Insert(CFArrayGetCount(theArray), value);
}

void CFArrayInsertValueAtIndex(CFMutableArrayRef theArray, CFIndex idx, const void* value) {
    RequireRange(theArray, CFRangeMake(idx, 0));
    theArray->Insert(idx, value);
}

void CFArrayRemoveValueAtIndex(CFMutableArrayRef theArray, CFIndex idx) {
    RequireRange(theArray, CFRangeMake(idx, 1));
    theArray->Remove(idx);
}

void CFArrayRemoveAllValues(CFMutableArrayRef theArray) {
    theArray->Clear();
}
