#include "ZYNCommon/DesignedRetention.h"

#ifdef KIVO_COUNT_RETENTIONS
#include <array>
#include <vector>
#endif

namespace kivo {

#ifdef KIVO_COUNT_RETENTIONS

namespace {

struct Retentions {
    std::vector<const void*> objects;
    std::vector<std::uint32_t> references;
};
using Retained = std::array<Retentions, kDesignedRetentionKinds>;

/// On the heap and never destroyed: the leak checker looks after the last static destructor.
Retained& AllRetained() {
    static auto* const retained = new Retained;
    return *retained;
}

Retentions& RetainedAs(DesignedRetention kind) {
    return AllRetained().at(static_cast<std::size_t>(kind));
}

}  // namespace

void RetainByDesign(DesignedRetention kind, const void* object) {
    if (object != nullptr) RetainedAs(kind).objects.push_back(object);
}

void RetainByDesign(DesignedRetention kind, std::uint32_t reference) {
    if (reference != 0) RetainedAs(kind).references.push_back(reference);
}

std::size_t CountDesignedRetentions(DesignedRetention kind) {
    return RetainedAs(kind).objects.size() + RetainedAs(kind).references.size();
}

#else

void RetainByDesign(DesignedRetention, const void*) {}

void RetainByDesign(DesignedRetention, std::uint32_t) {}

std::size_t CountDesignedRetentions(DesignedRetention) {
    return 0;
}

#endif

}  // namespace kivo
