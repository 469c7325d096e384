// The encoding library stand-in, loaded by its file as the filter loads it: exact texts of known
// records, round trips of random and extreme records, the longest text any record can give, and a
// decoder that takes nothing but a well-formed text.
#include <dlfcn.h>

#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "morvikrecord.h"

namespace {

constexpr std::size_t kOutputSize = 512;
// A version character and 53 code words of at most 47 bits, six bits to a character.
constexpr std::size_t kLongestText = 1 + (53 * 47 + 5) / 6;
static_assert(kLongestText == 417 && kLongestText <= 511, "the longest text fits the data block's field");
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
constexpr std::int32_t kLongestWordField = static_cast<std::int32_t>(0xFFFFFFFEu);

// The library file, loaded once for the whole program.
class EncodingLibrary {
public:
    static const EncodingLibrary& Get()
    {
        static const EncodingLibrary library;
        return library;
    }

    std::int32_t (*encode)(MorvikSettingsRecord, char*) = nullptr;
    MorvikSettingsRecord (*decode)(const char*, std::uint8_t*) = nullptr;

private:
    EncodingLibrary()
    {
        void* handle = ::dlopen(QXITRN_PATH, RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr) {
            throw std::runtime_error(::dlerror());
        }
        encode = reinterpret_cast<decltype(encode)>(::dlsym(handle, "EncodeFibonacciUnmanaged"));
        decode = reinterpret_cast<decltype(decode)>(::dlsym(handle, "DecodeFibonacci"));
        if (encode == nullptr || decode == nullptr) {
            throw std::runtime_error("missing export");
        }
    }
};

const EncodingLibrary& Lib()
{
    return EncodingLibrary::Get();
}

MorvikSettingsRecord Filled(std::int32_t value)
{
    MorvikSettingsRecord record;
    for (std::int32_t& field : record.fields) {
        field = value;
    }
    return record;
}

MorvikSettingsRecord AllBytesFF()
{
    MorvikSettingsRecord record;
    std::memset(&record, 0xFF, sizeof record);
    return record;
}

bool operator==(const MorvikSettingsRecord& left, const MorvikSettingsRecord& right)
{
    return std::memcmp(&left, &right, sizeof left) == 0;
}

std::string Encode(const MorvikSettingsRecord& record)
{
    char output[kOutputSize];
    std::memset(output, 0xAA, sizeof output);
    EXPECT_EQ(0, Lib().encode(record, output));
    const std::size_t length = ::strnlen(output, sizeof output);
    EXPECT_LT(length, kOutputSize) << "no terminator";
    for (std::size_t i = length; i < kOutputSize; ++i) {
        EXPECT_EQ(0, output[i]) << "byte " << i << " after the text";
    }
    return std::string(output, length);
}

struct Decoded {
    std::uint8_t success;
    MorvikSettingsRecord record;
};

Decoded Decode(const std::string& text)
{
    Decoded decoded{1, {}};
    decoded.record = Lib().decode(text.c_str(), &decoded.success);
    return decoded;
}

void ExpectRejected(const std::string& text, const std::string& why)
{
    const Decoded decoded = Decode(text);
    EXPECT_EQ(0, decoded.success) << why << ": " << text;
    EXPECT_TRUE(decoded.record == AllBytesFF()) << why;
}

// The test's own packing of a bit string, first bit in the highest bit of the first character.
std::string TextOfBits(const std::string& bits, char version = 'F')
{
    std::string text(1, version);
    for (std::size_t start = 0; start < bits.size(); start += 6) {
        std::string group = bits.substr(start, 6);
        group.resize(6, '0');
        text += kAlphabet[std::stoi(group, nullptr, 2)];
    }
    return text;
}

std::string BitsOfText(const std::string& text)
{
    std::string bits;
    for (std::size_t i = 1; i < text.size(); ++i) {
        const auto symbol = std::strchr(kAlphabet, text[i]) - kAlphabet;
        for (int bit = 5; bit >= 0; --bit) {
            bits += ((symbol >> bit) & 1) != 0 ? '1' : '0';
        }
    }
    return bits;
}

std::string Repeat(const std::string& part, std::size_t times)
{
    std::string whole;
    for (std::size_t i = 0; i < times; ++i) {
        whole += part;
    }
    return whole;
}

// Field index 'index' holds word, every other field is unset ("11").
std::string TextWithWordAt(std::size_t index, const std::string& word, std::size_t words = 53)
{
    return TextOfBits(Repeat("11", index) + word + Repeat("11", words - 1 - index));
}

std::string FlipBit(const std::string& text, std::size_t bit)
{
    std::string bits = BitsOfText(text);
    bits[bit] = bits[bit] == '1' ? '0' : '1';
    return TextOfBits(bits, text[0]);
}

MorvikSettingsRecord RandomRecord(std::mt19937& random)
{
    static const std::int32_t extremes[] = {0, -1, 1, -2, std::numeric_limits<std::int32_t>::max(),
                                            std::numeric_limits<std::int32_t>::min(), kLongestWordField};
    std::uniform_int_distribution<std::uint32_t> any;
    std::uniform_int_distribution<int> kind(0, 3);
    std::uniform_int_distribution<std::size_t> pick(0, std::size(extremes) - 1);
    std::uniform_int_distribution<std::int32_t> small(-1, 300);
    MorvikSettingsRecord record;
    for (std::int32_t& field : record.fields) {
        switch (kind(random)) {
        case 0: field = static_cast<std::int32_t>(any(random)); break;
        case 1: field = extremes[pick(random)]; break;
        default: field = small(random); break;
        }
    }
    return record;
}

// ---------------------------------------------------------------------------------------------
// Exact texts

TEST(EncodingText, UniformRecordsAreRunsOfOneWord)
{
    // 53 words "11": 102 one bits in 17 characters, then "1111" and two fill bits.
    EXPECT_EQ("F" + std::string(17, '_') + "8", Encode(Filled(kMorvikUnset)));
    // 53 words "011": "011011" is 'b'; the last three bits "011" and three fill bits are 'Y'.
    EXPECT_EQ("F" + std::string(26, 'b') + "Y", Encode(Filled(0)));
}

struct CodeWord {
    std::int32_t field;
    const char* word;
};

// The code number is the field plus one, modulo 2^32, plus one; its Zeckendorf sum over
// 1, 2, 3, 5, 8, ... is written smallest term first and closed by a 1.
const CodeWord kCodeWords[] = {
    {-1, "11"},
    {0, "011"},
    {1, "0011"},
    {2, "1011"},
    {3, "00011"},
    {6, "000011"},
    {10, "101011"},
    {-1323752225, "000000000000000000000000000000000000000000000" "11"},  // 2971215073, the largest term
    {kLongestWordField, "1010010010001000000010001010001010100001000101" "1"},  // 2^32
};

TEST(EncodingText, EachFieldBecomesItsCodeWordInFieldOrder)
{
    for (const CodeWord& code : kCodeWords) {
        for (const std::size_t index : {std::size_t{0}, std::size_t{23}, std::size_t{52}}) {
            MorvikSettingsRecord record = Filled(kMorvikUnset);
            record.fields[index] = code.field;
            EXPECT_EQ(TextWithWordAt(index, code.word), Encode(record)) << code.field << " at " << index;
        }
    }
}

TEST(EncodingText, NoOutputBufferIsRefused)
{
    EXPECT_NE(0, Lib().encode(Filled(0), nullptr));
}

// ---------------------------------------------------------------------------------------------
// The longest text

TEST(EncodingLength, LongestWordsInEveryFieldGiveTheLongestText)
{
    // A word has one bit per term up to the largest term in the number's sum, and the closing bit.
    // Numbers reach 2^32, below the 48th term from 1, 2, 3 (4807526976): at most 46 term bits and
    // 47 in all. 0xFFFFFFFE (code number 2^32) and -1323752225 (the 46th term itself) reach it.
    EXPECT_EQ(kLongestText, Encode(Filled(kLongestWordField)).size());
    EXPECT_EQ(kLongestText, Encode(Filled(-1323752225)).size());
    EXPECT_EQ(kLongestText - 9, Encode(Filled(-1323752226)).size()) << "one term fewer: 46 bits per word";
}

TEST(EncodingLength, NoRecordIsLongerThanTheBoundOrLeavesTheAlphabet)
{
    std::mt19937 random(20240501);
    std::size_t longest = 0;
    for (int i = 0; i < 3000; ++i) {
        const std::string text = Encode(RandomRecord(random));
        ASSERT_EQ('F', text[0]);
        EXPECT_EQ(std::string::npos, text.find_first_not_of(kAlphabet, 1)) << text;
        longest = std::max(longest, text.size());
    }
    for (const std::int32_t value : {0, -1, std::numeric_limits<std::int32_t>::max(),
                                     std::numeric_limits<std::int32_t>::min(), kLongestWordField}) {
        longest = std::max(longest, Encode(Filled(value)).size());
    }
    EXPECT_LE(longest, kLongestText);
    EXPECT_LE(longest, 511u);
}

// ---------------------------------------------------------------------------------------------
// Round trips

TEST(EncodingRoundTrip, RandomAndExtremeRecords)
{
    std::mt19937 random(4711);
    std::vector<MorvikSettingsRecord> records;
    for (int i = 0; i < 2000; ++i) {
        records.push_back(RandomRecord(random));
    }
    for (const std::int64_t value : {0LL, -1LL, 1LL, 0x7FFFFFFFLL, -0x80000000LL, 0xFFFFFFFELL, 0x80000001LL}) {
        records.push_back(Filled(static_cast<std::int32_t>(static_cast<std::uint32_t>(value))));
    }
    // The extremes mixed across the fields, then each field alone away from unset.
    const std::int32_t extremes[] = {0, -1, std::numeric_limits<std::int32_t>::max(),
                                     std::numeric_limits<std::int32_t>::min(), kLongestWordField};
    for (std::size_t shift = 0; shift < std::size(extremes); ++shift) {
        MorvikSettingsRecord record;
        for (std::size_t i = 0; i < kMorvikFieldCount; ++i) {
            record.fields[i] = extremes[(i + shift) % std::size(extremes)];
        }
        records.push_back(record);
    }
    for (std::size_t index = 0; index < kMorvikFieldCount; ++index) {
        for (const std::int32_t value : {0, kLongestWordField, std::numeric_limits<std::int32_t>::min()}) {
            records.push_back(Filled(kMorvikUnset));
            records.back().fields[index] = value;
        }
    }
    for (std::size_t i = 0; i < records.size(); ++i) {
        const Decoded decoded = Decode(Encode(records[i]));
        ASSERT_EQ(1, decoded.success) << "record " << i;
        EXPECT_TRUE(decoded.record == records[i]) << "record " << i;
    }
}

// ---------------------------------------------------------------------------------------------
// Rejected texts

TEST(EncodingRejects, MalformedTexts)
{
    const std::string unset = Encode(Filled(kMorvikUnset));
    const std::string longest = Encode(Filled(kLongestWordField));
    const struct {
        std::string text;
        const char* why;
    } cases[] = {
        {"", "empty"},
        {"F", "version only"},
        {"G" + unset.substr(1), "unknown version"},
        {"f" + unset.substr(1), "version in the wrong case"},
        {unset.substr(1), "no version"},
        {"F" + std::string(17, '_') + "+", "character outside the alphabet"},
        {"F" + std::string(8, '_') + "/" + std::string(8, '_') + "8", "base64 slash"},
        {unset + "=", "base64 padding"},
        {unset.substr(0, unset.size() - 1), "truncated by a character"},
        {longest.substr(0, longest.size() - 1), "longest text truncated"},
        {unset + "A", "extended by zero bits"},
        {unset + "_", "extended by one bits"},
        {longest + "A", "longest text extended"},
        {"F" + std::string(17, '_') + "9", "fill bit set"},
        {"F" + std::string(18, '_'), "54 words"},
        {"F" + std::string(17, '_') + "w", "52 words"},
        {TextOfBits(Repeat("11", 52) + "0"), "52 words and a stray bit"},
        {TextOfBits(Repeat("11", 52) + "1"), "last word unfinished"},
        {TextWithWordAt(0, std::string(46, '0') + "11"), "48-bit word"},
        {TextWithWordAt(30, std::string(60, '0') + "11"), "word far beyond 32 bits"},
        {TextWithWordAt(10, std::string(41, '0') + "10101" "1"), "47-bit word above 2^32"},
        {"F" + std::string(511, 'A'), "512 characters"},
    };
    for (const auto& bad : cases) {
        ExpectRejected(bad.text, bad.why);
    }
}

TEST(EncodingRejects, A47BitWordBelow2To32IsAccepted)
{
    MorvikSettingsRecord expected = Filled(kMorvikUnset);
    expected.fields[10] = static_cast<std::int32_t>(4106118243u - 2);  // 1134903170 + 2971215073
    const Decoded decoded = Decode(TextWithWordAt(10, std::string(43, '0') + "1011"));
    ASSERT_EQ(1, decoded.success);
    EXPECT_TRUE(decoded.record == expected);
}

TEST(EncodingRejects, EverySingleBitFlipOfTheUnsetRecord)
{
    const std::string text = Encode(Filled(kMorvikUnset));
    for (std::size_t bit = 0; bit < 6 * (text.size() - 1); ++bit) {
        ExpectRejected(FlipBit(text, bit), "bit " + std::to_string(bit));
    }
}

TEST(EncodingRejects, NoSingleBitFlipDecodesToTheSameRecord)
{
    std::mt19937 random(5);
    for (int i = 0; i < 10; ++i) {
        const MorvikSettingsRecord record = RandomRecord(random);
        const std::string text = Encode(record);
        for (std::size_t bit = 0; bit < 6 * (text.size() - 1); ++bit) {
            const Decoded decoded = Decode(FlipBit(text, bit));
            EXPECT_FALSE(decoded.success == 1 && decoded.record == record) << "bit " << bit;
        }
    }
}

TEST(EncodingRejects, TextWithoutTerminatorIsNotReadPastItsBuffer)
{
    // 512 bytes of alphabet characters and no zero: too long, and nothing after them is read.
    std::vector<char> text(kOutputSize, 'A');
    text[0] = 'F';
    std::uint8_t success = 1;
    const MorvikSettingsRecord record = Lib().decode(text.data(), &success);
    EXPECT_EQ(0, success);
    EXPECT_TRUE(record == AllBytesFF());
}

TEST(EncodingRejects, NullPointers)
{
    std::uint8_t success = 1;
    EXPECT_TRUE(Lib().decode(nullptr, &success) == AllBytesFF());
    EXPECT_EQ(0, success);
    const std::string text = Encode(Filled(0));
    EXPECT_TRUE(Lib().decode(text.c_str(), nullptr) == AllBytesFF());
    EXPECT_TRUE(Lib().decode(nullptr, nullptr) == AllBytesFF());
}

}  // namespace
