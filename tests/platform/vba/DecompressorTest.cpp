#include "platform/vba/Decompressor.h"
#include "tests/platform/vba/TestImages.h"

#include <gtest/gtest.h>

namespace ql::vba {
namespace {

std::string bytes(std::initializer_list<int> values) {
    std::string out;
    for (int v : values) out.push_back(static_cast<char>(v));
    return out;
}

// The two worked examples of the published format description.
const std::string kLiteralsOnly =
    bytes({0x01, 0x19, 0xB0, 0x00, 0x61, 0x62, 0x63, 0x64, 0x65, 0x66, 0x67, 0x68, 0x00, 0x69, 0x6A, 0x6B, 0x6C,
           0x6D, 0x6E, 0x6F, 0x70, 0x00, 0x71, 0x72, 0x73, 0x74, 0x75, 0x76, 0x2E});
const std::string kWithCopies =
    bytes({0x01, 0x2F, 0xB0, 0x00, 0x23, 0x61, 0x61, 0x61, 0x62, 0x63, 0x64, 0x65, 0x82, 0x66, 0x00, 0x70, 0x61,
           0x67, 0x68, 0x69, 0x6A, 0x01, 0x38, 0x08, 0x61, 0x6B, 0x6C, 0x00, 0x30, 0x6D, 0x6E, 0x6F, 0x70, 0x06,
           0x71, 0x02, 0x70, 0x04, 0x10, 0x72, 0x73, 0x74, 0x75, 0x76, 0x10, 0x77, 0x78, 0x79, 0x7A, 0x00, 0x3C});

TEST(Decompressor, DecodesThePublishedExamples) {
    EXPECT_EQ(decompressContainer(kLiteralsOnly), "abcdefghijklmnopqrstuv.");
    EXPECT_EQ(decompressContainer(kWithCopies), "#aaabcdefaaaaghijaaaaaklaaamnopqaaaaaaaaaaaarstuvwxyzaaa");
}

TEST(Decompressor, StartsAtTheGivenOffsetAndSpansChunks) {
    EXPECT_EQ(decompressContainer("compiled" + kWithCopies, 8),
              "#aaabcdefaaaaghijaaaaaklaaamnopqaaaaaaaaaaaarstuvwxyzaaa");
    std::string text;
    for (int i = 0; i < 1000; ++i) text += "Line " + std::to_string(i) + "\r\n";
    EXPECT_EQ(decompressContainer(test::compressLiterals(text)), text);

    // A raw chunk carries 4096 bytes as they are; copy offsets restart per chunk.
    const std::string raw(4096, 'r');
    EXPECT_EQ(decompressContainer("\x01" + test::le16(0x3FFF) + raw + kWithCopies.substr(1)),
              raw + "#aaabcdefaaaaghijaaaaaklaaamnopqaaaaaaaaaaaarstuvwxyzaaa");
}

TEST(Decompressor, RejectsDamagedContainers) {
    auto rejects = [](const std::string& data, const char* why) {
        EXPECT_THROW(decompressContainer(data), VbaError) << why;
    };
    rejects(kWithCopies.substr(1), "signature byte missing");
    rejects(kWithCopies.substr(0, kWithCopies.size() - 1), "container cut short");
    rejects(kWithCopies + "\x3F", "half a chunk header after the last chunk");
    std::string wrongBits = kWithCopies;
    wrongBits[2] = static_cast<char>(0xA0);
    rejects(wrongBits, "chunk signature bits");
    rejects("\x01" + test::le16(0x3FFF) + std::string(100, 'r'), "raw chunk shorter than 4096 bytes");
    rejects("\x01" + test::le16(0x3000 | 30) + std::string(31, 'r'), "raw chunk of the wrong size");
    // Flag byte announces a copy token first: nothing to copy from yet.
    rejects(bytes({0x01, 0x02, 0xB0, 0x01, 0x00, 0x00}), "copy before any literal");
    // Literal 'a', then a copy reaching two bytes back.
    rejects(bytes({0x01, 0x03, 0xB0, 0x02, 0x61, 0x00, 0x10}), "copy before the chunk start");
    // Literal 'a', then only one byte of a copy token.
    rejects(bytes({0x01, 0x02, 0xB0, 0x02, 0x61, 0x00}), "copy token cut short");
    rejects("", "empty input");
}

// Damage is Corrupt and says where; a container that would decode past the
// cap (each copy token repeats up to 4098 bytes from three) is TooLarge.
TEST(Decompressor, DamageHasItsPlaceAndTheOutputHasACap) {
    auto kindAndText = [](const std::string& data, std::size_t cap) -> std::pair<VbaErrorKind, std::string> {
        try {
            decompressContainer(data, 0, cap);
        } catch (const VbaError& error) {
            return {error.kind(), error.what()};
        }
        ADD_FAILURE() << "decoded";
        return {};
    };
    const auto [corrupt, where] = kindAndText(kWithCopies.substr(0, 20), 1 << 20);
    EXPECT_EQ(corrupt, VbaErrorKind::Corrupt);
    EXPECT_NE(where.find("byte 1"), std::string::npos) << where;
    EXPECT_EQ(kindAndText(kWithCopies, 10).first, VbaErrorKind::TooLarge);
}

TEST(Decompressor, FindsTheSourceContainerBehindCompiledCode) {
    const std::string source = "Attribute VB_Name = \"Module1\"\r\nOption Compare Database\r\n";
    const auto stream = test::moduleStream(source, std::string("\x01\x02\xB0\x00") + "junk" + "\x01\x10\xB0\x00Attribut");
    const auto found = findSourceContainer(stream.bytes);
    ASSERT_TRUE(found);
    EXPECT_EQ(*found, stream.sourceOffset);  // the false start before it does not decompress
    EXPECT_EQ(decompressContainer(stream.bytes, *found), source);

    EXPECT_FALSE(findSourceContainer("compiled code only, no Attribut text"));
    EXPECT_FALSE(findSourceContainer(""));
}

}  // namespace
}  // namespace ql::vba
