#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

/// What the benchmark programs share: an operation is measured against its floor in one session,
/// the two in turn, so that whatever disturbs the machine disturbs both.
namespace kivo::bench {

/// The times of one operation, in microseconds.
class Samples {
  public:
    template <typename Operation>
    void Time(Operation&& operation) {
        const auto start = std::chrono::steady_clock::now();
        operation();
        const std::chrono::duration<double, std::micro> taken =
            std::chrono::steady_clock::now() - start;
        Add(taken.count());
    }
    void Add(double microseconds) { mTimes.push_back(microseconds); }

    /// What each took beyond `microseconds`.
    Samples Over(double microseconds) const {
        Samples rest;
        for (const double time : mTimes) {
            rest.Add(time - microseconds);
        }
        return rest;
    }

    std::size_t Count() const { return mTimes.size(); }

    /// The time that a share of the samples does not exceed.
    double Quantile(double share) const {
        std::vector<double> sorted = mTimes;
        const auto nth =
            static_cast<std::ptrdiff_t>(share * static_cast<double>(sorted.size() - 1));
        std::nth_element(sorted.begin(), sorted.begin() + nth, sorted.end());
        return sorted[static_cast<std::size_t>(nth)];
    }

  private:
    std::vector<double> mTimes;
};

struct Comparison {
    std::string key;
    double aim;
    Samples measured;
    Samples floor;

    double Ratio() const { return measured.Quantile(0.5) / floor.Quantile(0.5); }
};

/// Runs both operations `rounds` times in turn, after a tenth as many rounds that do not count;
/// before each of them `prepare`, which is not timed.
template <typename Preparation, typename Operation, typename Floor>
Comparison Compare(std::string key, double aim, int rounds, Preparation&& prepare,
                   Operation&& operation, Floor&& floor) {
    Comparison comparison{std::move(key), aim, {}, {}};
    for (int i = -rounds / 10; i < rounds; ++i) {
        Samples ignored;
        prepare();
        (i < 0 ? ignored : comparison.measured).Time(operation);
        prepare();
        (i < 0 ? ignored : comparison.floor).Time(floor);
    }
    return comparison;
}

/// The same where nothing is to be prepared.
template <typename Operation, typename Floor>
Comparison Compare(std::string key, double aim, int rounds, Operation&& operation, Floor&& floor) {
    return Compare(
        std::move(key), aim, rounds, [] {}, operation, floor);
}

/// Prints what bench/table.py reads: one JSON object, the comparisons by key.
inline void PrintAsJSON(const std::vector<Comparison>& comparisons) {
    const char* separator = "{";
    for (const Comparison& comparison : comparisons) {
        std::printf(
            "%s\n  \"%s\": {\"ratio\": %.4g, \"aim\": %g, \"p50_us\": %.4g, \"p99_us\": %.4g, "
            "\"floor_p50_us\": %.4g, \"floor_p99_us\": %.4g}",
            separator, comparison.key.c_str(), comparison.Ratio(), comparison.aim,
            comparison.measured.Quantile(0.5), comparison.measured.Quantile(0.99),
            comparison.floor.Quantile(0.5), comparison.floor.Quantile(0.99));
        separator = ",";
    }
    std::printf("\n}\n");
}

/// Prints a line a comparison, for people.
inline void PrintAsText(const std::vector<Comparison>& comparisons) {
    for (const Comparison& comparison : comparisons) {
        std::printf("%-28s %.2f (aim %g): %.1f us over %.1f us\n", comparison.key.c_str(),
                    comparison.Ratio(), comparison.aim, comparison.measured.Quantile(0.5),
                    comparison.floor.Quantile(0.5));
    }
}

}  // namespace kivo::bench
