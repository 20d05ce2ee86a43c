// The Base64 text of encrypted values and interchange bytes: one spelling
// per byte sequence, so that texts compare as their bytes do.
#include "RVX/Base64.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::string Encode(const std::string& bytes) {
    std::string text = "prefix:";
    RVX::Base64::Append(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), text);
    return text.substr(7);
}

// Decodes into a buffer with a guard byte after the room the text may use.
bool Decode(const std::string& text, std::string& bytes) {
    const size_t room = RVX::Base64::MaxDecodedLength(text.size());
    std::vector<unsigned char> buffer(room + 1, 0xA5);
    size_t written = 99;
    const bool ok = RVX::Base64::Decode(text.data(), text.size(), buffer.data(), written);
    EXPECT_EQ(buffer[room], 0xA5) << "wrote past the room for \"" << text << "\"";
    if (ok) {
        EXPECT_LE(written, room);
        bytes.assign(reinterpret_cast<const char*>(buffer.data()), written);
    }
    return ok;
}

TEST(Base64, KnownTextsAndEveryByteAndLengthRoundTrip) {
    const std::pair<std::string, std::string> known[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
        {std::string("\xFB\xFF\x00", 3), "+/8A"},
    };
    for (const auto& [bytes, text] : known) {
        EXPECT_EQ(Encode(bytes), text);
        std::string back;
        ASSERT_TRUE(Decode(text, back)) << text;
        EXPECT_EQ(back, bytes) << text;
    }
    // Every byte and length.
    std::string bytes;
    for (int i = 0; i < 256 + 5; ++i) {
        std::string back;
        const std::string text = Encode(bytes);
        ASSERT_EQ(text.size(), RVX::Base64::EncodedLength(bytes.size()));
        ASSERT_TRUE(Decode(text, back)) << text;
        ASSERT_EQ(back, bytes);
        bytes.push_back(static_cast<char>(255 - i % 256));
    }
}

TEST(Base64, RefusesEveryOtherSpelling) {
    const char* refused[] = {
        "Zg",       "Zg=",   "Zm9vY",            // not a multiple of four
        "Zh==",     "Zm9=",  "Zm9vYh==",         // bits that padding drops are not zero
        "Zg==Zm8=", "=Zg=",  "Z===",     "Zm=v", // padding not only at the end
        "Zm9v\n",   "Zm 9v", "Zm9-",     "Zm9_", "Zm\xC3\xA9", // outside the alphabet
        "====",
    };
    for (const char* text : refused) {
        std::string bytes;
        EXPECT_FALSE(Decode(text, bytes)) << text;
    }
}

} // namespace
