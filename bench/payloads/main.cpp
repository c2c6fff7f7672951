#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ZYNCommon/PayloadCheck.h"
#include "ZYNCommon/ZYN_RemoteMessaging.h"
#include "bench/Program.h"

/// Target-window requests of 1,000 records with titles of 20 units: writing and reading them, over
/// copying as many bytes.

namespace kivo::bench {
namespace {

using Record = ZYN_Driver_TargetWindowInfo;

constexpr unsigned int kRecords = 1000;
constexpr int kRounds = 2000;

std::vector<Record> MakeRecords() {
    std::vector<Record> records(kRecords);
    for (unsigned int i = 0; i < kRecords; ++i) {
        const std::string key = "kWindowTitle" + std::to_string(i);
        key.copy(records[i].titleKey, key.size());
        records[i].titleLength = 20;
        std::fill_n(records[i].titleChars, 20, static_cast<unsigned short>('a' + i % 26));
        records[i].auxValue1 = i;
    }
    return records;
}

std::size_t WrittenSize(STargetWindowRequestSpec& spec) {
    std::size_t size = 4;
    for (unsigned int i = 0; i < spec.recordCount; ++i) {
        size += spec.CalcInfoFieldSize(&spec.records[i]);
    }
    return size;
}

/// A copy between two buffers of a size, both touched before.
class Copy {
  public:
    explicit Copy(std::size_t size) : mFrom(size, 1), mTo(size, 2) {}
    void operator()() {
        std::memcpy(mTo.data(), mFrom.data(), mTo.size());
        benchmark::DoNotOptimize(mTo.data());
        benchmark::ClobberMemory();
    }

  private:
    std::vector<unsigned char> mFrom;
    std::vector<unsigned char> mTo;
};

std::vector<Comparison> Measure() {
    std::vector<Record> records = MakeRecords();
    STargetWindowRequestSpec sender(records.data(), kRecords);
    const unsigned char* const bytes = sender.Serialize();
    const std::size_t written = WrittenSize(sender);

    std::vector<Comparison> comparisons;
    comparisons.push_back(Compare(
        "encode_1000_vs_memcpy", 4, kRounds,
        [&sender] {
            benchmark::DoNotOptimize(sender.Serialize());
            benchmark::ClobberMemory();
        },
        Copy(written)));
    // As the daemon does it: the check, then a spec of its own for each request.
    comparisons.push_back(Compare(
        "decode_1000_vs_memcpy", 4, kRounds,
        [bytes, written] {
            if (!PayloadIsComplete<STargetWindowRequestSpec>(bytes, written)) std::abort();
            STargetWindowRequestSpec receiver;
            receiver.Deserialize(bytes);
            benchmark::DoNotOptimize(receiver.records.get());
            benchmark::ClobberMemory();
        },
        Copy(kRecords * sizeof(Record))));
    return comparisons;
}

}  // namespace
}  // namespace kivo::bench

int main(int argc, char** argv) {
    return kivo::bench::RunProgram(argc, argv, kivo::bench::Measure);
}
