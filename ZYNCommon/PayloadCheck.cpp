#include "ZYNCommon/PayloadCheck.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>

#include "ZYNCommon/ZYN_RemoteMessaging.h"

namespace kivo {

namespace {

/// A stretch of a payload and what bounds it.
struct Step {
    enum Kind {
        kBytes,             // `amount` bytes
        kString,            // a string of at most `amount` bytes, its terminating 0 included
        kNumber,            // a 32-bit number of at most `amount`, remembered
        kUnits,             // as many units of `amount` bytes as the remembered number says
        kRecords,           // as many target-window records as the remembered number says
        kNumberMaybeCut,    // like kNumber, but the bytes may end within or before it
        kUnitsMaybeMissing  // like kUnits, but the bytes may end within or before them
    };
    Kind kind;
    std::size_t amount;
};

constexpr std::size_t kAny = std::numeric_limits<std::size_t>::max();

// The layouts of the records of a target-window request, after which those of whole payloads.

constexpr Step kRecordUpToFlag[] = {
    {Step::kString, kTargetWindowKeySize},
    {Step::kNumber, kTargetWindowTextUnits},
    {Step::kUnits, 2},
    {Step::kBytes, 16},    // the two doubles, the byte and the flag
    {Step::kNumber, kAny}  // whether there is an alternate part
};
constexpr Step kAlternate[] = {{Step::kString, kTargetWindowKeySize},
                               {Step::kNumber, kTargetWindowTextUnits},
                               {Step::kUnits, 2}};
constexpr Step kLastAlternate[] = {{Step::kString, kTargetWindowKeySize},
                                   {Step::kNumberMaybeCut, kTargetWindowTextUnits},
                                   {Step::kUnitsMaybeMissing, 2}};

/// Without a layout of its own a spec is a run of bytes as long as its serial buffer.
template <typename Spec>
constexpr Step kLayout[] = {{Step::kBytes, sizeof(Spec::serialBuffer)}};

template <>
constexpr Step kLayout<SServerSpec>[] = {
    {Step::kBytes, 4}, {Step::kNumber, kAny}, {Step::kUnits, 1}};
template <>
constexpr Step kLayout<SResetSocketSpec>[] = {{Step::kString, sizeof(SResetSocketSpec::name)},
                                              {Step::kBytes, 4}};
template <>
constexpr Step kLayout<SIncommingLongArraySpec>[] = {
    {Step::kNumber, kAny}, {Step::kBytes, 4}, {Step::kUnits, 4}};
template <>
constexpr Step kLayout<SWindowRequestSpec>[] = {{Step::kBytes, 4}, {Step::kString, kAny}};
template <>
constexpr Step kLayout<STargetWindowRequestSpec>[] = {{Step::kNumber, kMaxTargetWindowRecords},
                                                      {Step::kRecords, 0}};

/// Walks over received bytes step by step; each step says whether it fits.
class PayloadWalker {
  public:
    explicit PayloadWalker(std::span<const unsigned char> bytes) : mRest(bytes) {}

    bool Walk(std::span<const Step> steps) {
        return std::all_of(steps.begin(), steps.end(),
                           [this](const Step& step) { return Take(step); });
    }

  private:
    bool Take(const Step& step) {
        switch (step.kind) {
            case Step::kBytes:
                return Skip(step.amount);
            case Step::kString:
                return SkipString(step.amount);
            case Step::kNumber:
                return mRest.size() >= 4 && ReadNumber(step.amount);
            case Step::kUnits:
                return Skip(mNumber * step.amount);
            case Step::kRecords:
                return SkipRecords();
            case Step::kNumberMaybeCut:
                return ReadNumber(step.amount);
            case Step::kUnitsMaybeMissing:
                return true;
        }
        return false;
    }

    bool Skip(std::uint64_t count) {
        if (count > mRest.size()) return false;
        mRest = mRest.subspan(count);
        return true;
    }

    bool SkipString(std::size_t room) {
        const std::size_t reach = std::min(room, mRest.size());
        const auto end =
            std::find(mRest.begin(), mRest.begin() + static_cast<std::ptrdiff_t>(reach), 0);
        return static_cast<std::size_t>(end - mRest.begin()) < reach &&
               Skip(static_cast<std::size_t>(end - mRest.begin()) + 1);
    }

    /// Bytes that are missing count as 0, as they do when the payload is deserialised.
    bool ReadNumber(std::uint64_t most) {
        const std::size_t present = std::min<std::size_t>(4, mRest.size());
        mNumber = 0;
        for (std::size_t i = 0; i < present; ++i) {
            mNumber |= std::uint64_t{mRest[i]} << 8 * i;
        }
        return mNumber <= most && Skip(present);
    }

    bool SkipRecords() {
        const std::uint64_t count = mNumber;
        for (std::uint64_t i = 1; i <= count; ++i) {
            if (!Walk(kRecordUpToFlag)) return false;
            const bool hasAlternate = mNumber != 0;
            if (hasAlternate && !Walk(i == count ? kLastAlternate : kAlternate)) return false;
        }
        return true;
    }

    std::span<const unsigned char> mRest;
    std::uint64_t mNumber = 0;
};

}  // namespace

template <typename Spec>
bool PayloadIsComplete(const unsigned char* bytes, std::size_t length) {
    return PayloadWalker({bytes, length}).Walk(kLayout<Spec>);
}

#define KIVO_CHECK(Spec) template bool PayloadIsComplete<Spec>(const unsigned char*, std::size_t)
KIVO_CHECK(SPointSpec);
KIVO_CHECK(SPointSizeSpec);
KIVO_CHECK(STargetPointSizeSpec);
KIVO_CHECK(SServerSpec);
KIVO_CHECK(SServerPortSpec);
KIVO_CHECK(SControlSpec);
KIVO_CHECK(SCurrentControlInfoSpec);
KIVO_CHECK(SPortConnectDisconnectSpec);
KIVO_CHECK(SKeysetIndexSpec);
KIVO_CHECK(SBankIndexSpec);
KIVO_CHECK(SLayerIndexSpec);
KIVO_CHECK(SOneIntSpec);
KIVO_CHECK(STwoIntSpec);
KIVO_CHECK(SThreeIntSpec);
KIVO_CHECK(STrackerArmSpec);
KIVO_CHECK(SConnectStatusSpec);
KIVO_CHECK(SResetSocketSpec);
KIVO_CHECK(SIncommingLongArraySpec);
KIVO_CHECK(SWindowRequestSpec);
KIVO_CHECK(STargetWindowRequestSpec);
#undef KIVO_CHECK

}  // namespace kivo
