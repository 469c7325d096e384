// Fibonacci code words of the numbers 1 to 2^32. A number is written as its Zeckendorf sum of the
// Fibonacci numbers 1, 2, 3, 5, 8, ..., one bit per term from the smallest up, and a closing 1 bit;
// no sum uses two neighbouring terms, so "11" occurs only at the end of a word. Small numbers get
// short words: 1 is "11", 2 is "011", 3 is "0011", 4 is "1011".
#pragma once

#include <cstdint>
#include <optional>

#include "textbitreader.h"
#include "textbitwriter.h"

namespace qxitrn {

inline constexpr std::uint64_t kLargestCodeNumber = std::uint64_t{1} << 32;

constexpr int FibonacciTermsUpTo(std::uint64_t limit)
{
    int terms = 0;
    for (std::uint64_t term = 1, next = 2; term <= limit; ++terms) {
        const std::uint64_t sum = term + next;
        term = next;
        next = sum;
    }
    return terms;
}

// The terms 1, 2, 3, ..., 2971215073 that numbers up to 2^32 use, and the longest word: one bit per
// term and the closing bit.
inline constexpr int kFibonacciTerms = FibonacciTermsUpTo(kLargestCodeNumber);
inline constexpr int kMaxCodeWordBits = kFibonacciTerms + 1;
static_assert(kMaxCodeWordBits == 47, "2^32 lies between the 46th and 47th term from 1, 2, 3");

class FibonacciCode {
public:
    // number in 1..2^32.
    static void Write(std::uint64_t number, TextBitWriter& writer);
    // Nothing when the bits end inside a word, the word is longer than the longest word, or its
    // number exceeds 2^32.
    static std::optional<std::uint64_t> Read(TextBitReader& reader);
};

}  // namespace qxitrn
