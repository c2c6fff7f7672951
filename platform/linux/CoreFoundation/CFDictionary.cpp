#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CollectionValues.h>

#include <unordered_map>
#include <utility>

/// Pairs by key, handled as the callbacks say. Mutable dictionaries are the same kind of object.
struct __CFDictionary final : public kivo::CFObject {
  public:
    __CFDictionary(const CFDictionaryKeyCallBacks* keys, const CFDictionaryValueCallBacks* values)
        : mKeys(keys != nullptr ? *keys : CFDictionaryKeyCallBacks{}),
          mValues(values != nullptr ? *values : CFDictionaryValueCallBacks{}),
          mPairs(0, KeyHash{mKeys}, KeyEqual{mKeys}) {}
    ~__CFDictionary() override { Clear(); }

    CFTypeID TypeID() const override { return CFDictionaryGetTypeID(); }
    bool Equal(const CFObject& other) const override;
    CFHashCode Hash() const override { return mPairs.size(); }
    std::string Description() const override;

    /// The value's place, or null when the key is missing.
    const void* const* Find(const void* key) const;
    void Add(const void* key, const void* value);
    void Replace(const void* key, const void* value);
    void Remove(const void* key);
    void Clear();

    const auto& Pairs() const { return mPairs; }
    const CFDictionaryKeyCallBacks& KeyCallBacks() const { return mKeys; }
    const CFDictionaryValueCallBacks& ValueCallBacks() const { return mValues; }

  private:
    struct KeyHash {
        CFDictionaryKeyCallBacks callBacks;
        size_t operator()(const void* key) const {
            if (callBacks.hash != nullptr) return callBacks.hash(key);
            return std::hash<const void*>()(key);
        }
    };
    struct KeyEqual {
        CFDictionaryKeyCallBacks callBacks;
        bool operator()(const void* one, const void* other) const {
            return kivo::AreEqual(callBacks, one, other);
        }
    };
    using PairMap = std::unordered_map<const void*, const void*, KeyHash, KeyEqual>;

    void ReleasePair(const PairMap::value_type& pair) const {
        kivo::ReleaseValue(mKeys, pair.first);
        kivo::ReleaseValue(mValues, pair.second);
    }

    CFDictionaryKeyCallBacks mKeys;
    CFDictionaryValueCallBacks mValues;
    PairMap mPairs;
};

const void* const* __CFDictionary::Find(const void* key) const {
    const auto pair = mPairs.find(key);
    return pair == mPairs.end() ? nullptr : &pair->second;
}

void __CFDictionary::Add(const void* key, const void* value) {
    if (mPairs.contains(key)) return;
    mPairs.emplace(kivo::RetainValue(mKeys, key), kivo::RetainValue(mValues, value));
}

void __CFDictionary::Replace(const void* key, const void* value) {
    const auto pair = mPairs.find(key);
    if (pair == mPairs.end()) return;
    const void* old = std::exchange(pair->second, kivo::RetainValue(mValues, value));
    kivo::ReleaseValue(mValues, old);
}

void __CFDictionary::Remove(const void* key) {
    const auto pair = mPairs.find(key);
    if (pair == mPairs.end()) return;
    const PairMap::value_type removed = *pair;
    mPairs.erase(pair);
    ReleasePair(removed);
}

void __CFDictionary::Clear() {
    // Emptied first: a release may run code that looks at the dictionary.
    PairMap removed(0, mPairs.hash_function(), mPairs.key_eq());
    removed.swap(mPairs);
    for (const auto& pair : removed)
        ReleasePair(pair);
}

bool __CFDictionary::Equal(const CFObject& other) const {
    const auto& otherDictionary = static_cast<const __CFDictionary&>(other);
    if (mPairs.size() != otherDictionary.mPairs.size()) return false;
    for (const auto& [key, value] : mPairs) {
        const void* const* otherValue = otherDictionary.Find(key);
        if (otherValue == nullptr || !kivo::AreEqual(mValues, value, *otherValue)) return false;
    }
    return true;
}

std::string __CFDictionary::Description() const {
    std::string text = "{";
    for (const auto& [key, value] : mPairs) {
        text += " " + kivo::DescribeValue(mKeys, key) + " = ";
        text += kivo::DescribeValue(mValues, value) + ";";
    }
    return text + " }";
}

const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks = {
    0, kivo::RetainObject, kivo::ReleaseObject, CFCopyDescription, CFEqual, CFHash};

const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks = {
    0, kivo::RetainObject, kivo::ReleaseObject, CFCopyDescription, CFEqual};

CFTypeID CFDictionaryGetTypeID() {
    static const CFTypeID id = kivo::RegisterType("CFDictionary");
    return id;
}

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef allocator, const void** keys, const void** values,
                                   CFIndex numValues, const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks) {
    if (numValues < 0) return nullptr;
    auto* dictionary =
        CFDictionaryCreateMutable(allocator, numValues, keyCallBacks, valueCallBacks);
    for (CFIndex i = 0; i < numValues; ++i)
        dictionary->Add(keys[i], values[i]);
    return dictionary;
}

CFDictionaryRef CFDictionaryCreateCopy(CFAllocatorRef allocator, CFDictionaryRef theDict) {
    auto* copy = CFDictionaryCreateMutable(allocator, 0, &theDict->KeyCallBacks(),
                                           &theDict->ValueCallBacks());
    for (const auto& [key, value] : theDict->Pairs())
        copy->Add(key, value);
    return copy;
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef, CFIndex,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks) {
    return new __CFDictionary(keyCallBacks, valueCallBacks);
}

CFIndex CFDictionaryGetCount(CFDictionaryRef theDict) {
    return static_cast<CFIndex>(theDict->Pairs().size());
}

Boolean CFDictionaryContainsKey(CFDictionaryRef theDict, const void* key) {
    return theDict->Find(key) != nullptr;
}

const void* CFDictionaryGetValue(CFDictionaryRef theDict, const void* key) {
    const void* const* value = theDict->Find(key);
    return value != nullptr ? *value : nullptr;
}

Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef theDict, const void* key,
                                      const void** value) {
    const void* const* found = theDict->Find(key);
    if (found != nullptr && value != nullptr) *value = *found;
    return found != nullptr;
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef theDict, const void** keys, const void** values) {
    for (const auto& [key, value] : theDict->Pairs()) {
        if (keys != nullptr) *keys++ = key;
        if (values != nullptr) *values++ = value;
    }
}

void CFDictionaryAddValue(CFMutableDictionaryRef theDict, const void* key, const void* value) {
    theDict->Add(key, value);
}

void CFDictionarySetValue(CFMutableDictionaryRef theDict, const void* key, const void* value) {
    if (theDict->Find(key) != nullptr)
        theDict->Replace(key, value);
    else
        theDict->Add(key, value);
}

void CFDictionaryReplaceValue(CFMutableDictionaryRef theDict, const void* key, const void* value) {
    theDict->Replace(key, value);
}

void CFDictionaryRemoveValue(CFMutableDictionaryRef theDict, const void* key) {
    theDict->Remove(key);
}

void CFDictionaryRemoveAllValues(CFMutableDictionaryRef theDict) {
    theDict->Clear();
}
