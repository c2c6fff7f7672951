#include "ZYNCommon/ReceiveOnlySpecs.h"

#include <cstddef>
#include <cstring>
#include <memory>
#include <utility>

#include "ZYNCommon/DesignedRetention.h"

namespace {

/// The body of Serialize where there is no serial form.
unsigned char* SerializeToNothing() {
    return nullptr;
}

}  // namespace

unsigned char* SResetSocketSpec::Serialize() {
    return SerializeToNothing();
}

void SResetSocketSpec::Deserialize(const unsigned char* src) {
    src += DeserializeStringField(src, name);
    DeserializeField(src, &value);
}

unsigned char* SIncommingLongArraySpec::Serialize() {
    return SerializeToNothing();
}

void SIncommingLongArraySpec::Deserialize(const unsigned char* src) {
    src += DeserializeField(src, &count);
    src += DeserializeField(src, &value);
    std::unique_ptr<unsigned int[]> words(new unsigned int[count]);
    std::memcpy(words.get(), src, sizeof(unsigned int) * std::size_t{count});
    kivo::RetainByDesign(kivo::DesignedRetention::kLongsArray, longs.release());
    longs = std::move(words);
}
