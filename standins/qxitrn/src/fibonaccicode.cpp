#include "fibonaccicode.h"

#include <array>

namespace qxitrn {

namespace {

constexpr std::array<std::uint64_t, kFibonacciTerms> MakeTerms()
{
    std::array<std::uint64_t, kFibonacciTerms> terms{};
    terms[0] = 1;
    terms[1] = 2;
    for (std::size_t i = 2; i < terms.size(); ++i) {
        terms[i] = terms[i - 1] + terms[i - 2];
    }
    return terms;
}

constexpr std::array<std::uint64_t, kFibonacciTerms> kTerms = MakeTerms();

}  // namespace

void FibonacciCode::Write(std::uint64_t number, TextBitWriter& writer)
{
    // The greedy choice from the largest term down gives the Zeckendorf sum.
    std::array<bool, kFibonacciTerms> used{};
    int highest = -1;
    for (int i = kFibonacciTerms - 1; i >= 0 && number > 0; --i) {
        if (kTerms[i] <= number) {
            used[i] = true;
            number -= kTerms[i];
            highest = highest < 0 ? i : highest;
        }
    }
    for (int i = 0; i <= highest; ++i) {
        writer.Write(used[i]);
    }
    writer.Write(true);
}

std::optional<std::uint64_t> FibonacciCode::Read(TextBitReader& reader)
{
    std::uint64_t number = 0;
    bool previous = false;
    for (int i = 0;; ++i) {
        const std::optional<bool> bit = reader.Next();
        if (!bit) {
            return std::nullopt;
        }
        if (*bit && previous) {
            return number <= kLargestCodeNumber ? std::optional<std::uint64_t>(number) : std::nullopt;
        }
        if (i >= kFibonacciTerms) {
            return std::nullopt;
        }
        number += *bit ? kTerms[i] : 0;
        previous = *bit;
    }
}

}  // namespace qxitrn
