#include "ZYNCommon/DesignedRetention.h"

#ifdef KIVO_COUNT_RETENTIONS
#include <array>
#include <vector>
#endif

namespace kivo {

#ifdef KIVO_COUNT_RETENTIONS

namespace {

using Retained = std::array<std::vector<const void*>, kDesignedRetentionKinds>;

/// On the heap and never destroyed: the leak checker looks after the last static destructor.
Retained& AllRetained() {
    static auto* const retained = new Retained;
    return *retained;
}

}  // namespace

void RetainByDesign(DesignedRetention kind, const void* object) {
    if (object != nullptr) AllRetained().at(static_cast<std::size_t>(kind)).push_back(object);
}

std::size_t CountDesignedRetentions(DesignedRetention kind) {
    return AllRetained().at(static_cast<std::size_t>(kind)).size();
}

#else

void RetainByDesign(DesignedRetention, const void*) {}

std::size_t CountDesignedRetentions(DesignedRetention) {
    return 0;
}

#endif

}  // namespace kivo
