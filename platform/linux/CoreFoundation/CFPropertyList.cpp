#include <CFRef.h>
#include <CoreFoundation/BinaryPropertyList.h>
#include <CoreFoundation/CFDataSeams.h>
#include <CoreFoundation/CFPropertyList.h>
#include <CoreFoundation/CFStringSeams.h>
#include <CoreFoundation/OpenStepReader.h>
#include <CoreFoundation/TextEncoding.h>
#include <CoreFoundation/XMLNesting.h>
#include <plist/plist.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>

namespace {

using kivo::Adopt;
using kivo::CFRef;
using Bytes = std::span<const UInt8>;
using Object = CFRef<CFPropertyListRef>;

struct NodeDeleter {
    void operator()(void* node) const { plist_free(node); }
};
using NodeOwner = std::unique_ptr<void, NodeDeleter>;

struct CDeleter {
    void operator()(void* memory) const { std::free(memory); }
};
template <typename T>
using COwner = std::unique_ptr<T, CDeleter>;

Object Import(plist_t node);

Object ImportText(const char* bytes, size_t length) {
    return Adopt(CFPropertyListRef{
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes),
                                static_cast<CFIndex>(length), kCFStringEncodingUTF8, false)});
}

Object ImportString(plist_t node) {
    uint64_t length = 0;
    const char* bytes = plist_get_string_ptr(node, &length);
    return ImportText(bytes, length);
}

Object ImportData(plist_t node) {
    uint64_t length = 0;
    const char* bytes = plist_get_data_ptr(node, &length);
    return Adopt(CFPropertyListRef{CFDataCreate(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes), static_cast<CFIndex>(length))});
}

Object ImportInteger(plist_t node) {
    uint64_t value = 0;
    plist_get_uint_val(node, &value);
    return Adopt(
        CFPropertyListRef{CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &value)});
}

Object ImportReal(plist_t node) {
    double value = 0;
    plist_get_real_val(node, &value);
    return Adopt(
        CFPropertyListRef{CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &value)});
}

Object ImportBoolean(plist_t node) {
    uint8_t value = 0;
    plist_get_bool_val(node, &value);
    return Adopt(CFPropertyListRef{value != 0 ? kCFBooleanTrue : kCFBooleanFalse});
}

Object ImportDate(plist_t node) {
    int32_t seconds = 0;
    int32_t microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    return Adopt(
        CFPropertyListRef{CFDateCreate(kCFAllocatorDefault, seconds + microseconds / 1e6)});
}

Object ImportArray(plist_t node) {
    const auto array = Adopt(CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
    plist_array_iter next = nullptr;
    plist_array_new_iter(node, &next);
    const COwner<void> owner(next);
    plist_t item = nullptr;
    while (plist_array_next_item(node, next, &item), item != nullptr) {
        const Object value = Import(item);
        if (!value) return {};
        CFArrayAppendValue(array.Get(), value.Get());
    }
    return kivo::Retain(CFPropertyListRef{array.Get()});
}

Object ImportDictionary(plist_t node) {
    const auto dictionary = Adopt(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    plist_dict_iter next = nullptr;
    plist_dict_new_iter(node, &next);
    const COwner<void> owner(next);
    while (true) {
        char* name = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, next, &name, &item);
        const COwner<char> nameOwner(name);
        if (item == nullptr) break;
        const Object key = ImportText(name, std::strlen(name));
        const Object value = Import(item);
        if (!key || !value) return {};
        CFDictionarySetValue(dictionary.Get(), key.Get(), value.Get());
    }
    return kivo::Retain(CFPropertyListRef{dictionary.Get()});
}

/// The object of a node of libplist; none for text that is not UTF-8 and for types that a property
/// list of ours does not have.
Object Import(plist_t node) {
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN:
            return ImportBoolean(node);
        case PLIST_UINT:
            return ImportInteger(node);
        case PLIST_REAL:
            return ImportReal(node);
        case PLIST_STRING:
            return ImportString(node);
        case PLIST_ARRAY:
            return ImportArray(node);
        case PLIST_DICT:
            return ImportDictionary(node);
        case PLIST_DATE:
            return ImportDate(node);
        case PLIST_DATA:
            return ImportData(node);
        default:
            return {};
    }
}

std::string_view AsText(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

Object ReadBinary(Bytes bytes, std::string& error) {
    error = "Reading a binary property list: the data is damaged or nested too deeply.";
    return kivo::ReadBinaryPropertyList(bytes);
}

Object ReadXML(std::string_view xml, std::string& error) {
    error = "Reading a property list in XML: the text is malformed or nested too deeply.";
    if (!kivo::IsXMLNestedWithinLimit(xml)) return {};
    plist_t root = nullptr;
    plist_from_xml(xml.data(), static_cast<uint32_t>(xml.size()), &root);
    const NodeOwner owner(root);
    return root != nullptr ? Import(root) : Object();
}

/// Whether text is meant as XML; data of the old style also begins with "<".
bool LooksLikeXML(std::u16string_view text) {
    constexpr std::array<std::u16string_view, 13> kBeginnings = {
        u"?",    u"!",    u"plist",   u"dict", u"array", u"string", u"data",
        u"date", u"true", u"integer", u"real", u"false", u"key"};
    const size_t begin = text.find_first_not_of(u" \t\r\n");
    if (begin == text.npos || text[begin] != u'<') return false;
    const std::u16string_view rest = text.substr(begin + 1);
    return std::ranges::any_of(kBeginnings,
                               [rest](auto beginning) { return rest.starts_with(beginning); });
}

/// The text of data that is UTF-8, or UTF-16 with a byte order mark.
std::optional<std::u16string> DecodeMarkedText(Bytes bytes) {
    const bool isUtf16 = bytes.size() >= 2 && ((bytes[0] == 0xFE && bytes[1] == 0xFF) ||
                                               (bytes[0] == 0xFF && bytes[1] == 0xFE));
    return kivo::DecodeText(bytes, isUtf16 ? kCFStringEncodingUTF16 : kCFStringEncodingUTF8, true);
}

struct Reading {
    Object object;
    CFPropertyListFormat format{};
};

Reading ReadText(Bytes bytes, std::string& error) {
    const std::optional<std::u16string> text = DecodeMarkedText(bytes);
    if (!text) {
        error = "Reading a property list: the data is neither binary nor text in UTF-8 or UTF-16.";
        return {{}, kCFPropertyListOpenStepFormat};
    }
    if (LooksLikeXML(*text))
        return {ReadXML(kivo::EncodeUtf8Leniently(*text), error), kCFPropertyListXMLFormat_v1_0};
    return {kivo::ReadOpenStep(*text, error), kCFPropertyListOpenStepFormat};
}

Reading ReadPropertyList(CFDataRef data, std::string& error) {
    const Bytes bytes = data != nullptr ? kivo::BytesOf(data) : Bytes();
    error = "Reading a property list: there is no data, or more than fits in 4 GiB.";
    if (bytes.empty() || bytes.size() > std::numeric_limits<uint32_t>::max()) return {};
    if (AsText(bytes).starts_with("bplist"))
        return {ReadBinary(bytes, error), kCFPropertyListBinaryFormat_v1_0};
    return ReadText(bytes, error);
}

}  // namespace

CFPropertyListRef CFPropertyListCreateFromXMLData(CFAllocatorRef, CFDataRef xmlData, CFOptionFlags,
                                                  CFStringRef* errorString) {
    std::string error;
    Reading reading = ReadPropertyList(xmlData, error);
    if (errorString != nullptr)
        *errorString = reading.object ? nullptr : kivo::CreateStringFromUtf8(error);
    return reading.object.Release();
}

CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef, CFDataRef data, CFOptionFlags,
                                               CFPropertyListFormat* format, CFErrorRef* error) {
    std::string text;
    Reading reading = ReadPropertyList(data, text);
    if (format != nullptr && reading.object) *format = reading.format;
    if (error != nullptr) *error = nullptr;
    return reading.object.Release();
}
