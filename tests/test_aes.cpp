// RVX::Crypt::CAES: AES-256-GCM text encryption with the "ENC1(" form.
#include <PI/Property.h>
#include <RVX/AES.h>
#include <RVX/Module.h>
#include <RVX/TestHooks.h>
#include <RVX/Trace.h>

#include "ScratchDirectory.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstdlib>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

using RVX::Crypt::CAES;
using RVX::Strings::CStringRef;
using RVX::Strings::CStringVar;

namespace {

const unsigned char kKeyA[32] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15, 16,
                                 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32};
const unsigned char kKeyB[32] = {0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0xA8, 0xA9, 0xAA,
                                 0xAB, 0xAC, 0xAD, 0xAE, 0xAF, 0xB0, 0xB1, 0xB2, 0xB3, 0xB4, 0xB5,
                                 0xB6, 0xB7, 0xB8, 0xB9, 0xBA, 0xBB, 0xBC, 0xBD, 0xBE, 0xBF};

// Every test keeps the machine key file and the machine identity in its own
// scratch directory: nothing outside it is read or created.
class AESTest : public ScratchDirectoryTest {
protected:
    void SetUp() override {
        ScratchDirectoryTest::SetUp();
        if (!RVX::Test::HooksAvailable())
            GTEST_SKIP() << "needs the hook that moves the machine key and identity into a scratch "
                            "directory: a build with -DPI_TEST_HOOKS=ON";
        m_KeyFile = m_Dir + "/state/aes.key";
        m_MachineId = m_Dir + "/machine-id";
        WriteBytes(m_MachineId, "0123456789abcdef0123456789abcdef\n");
        RVX::Crypt::Internals::SetKeyPlaces(m_KeyFile.c_str(), m_MachineId.c_str());
        ::unsetenv("RVX_AES_KEY_FILE");
        ASSERT_TRUE(CAES::SetKey(kKeyA, sizeof kKeyA));
    }
    void TearDown() override {
        ::unsetenv("RVX_AES_KEY_FILE");
        CAES::ClearKey();
        RVX::Crypt::Internals::SetKeyPlaces(nullptr, nullptr);
        ScratchDirectoryTest::TearDown();
    }
    // Unless `usable`, the machine key file cannot be made: its directory's
    // parent is missing.
    void UseKeyFile(bool usable) {
        m_KeyFile = m_Dir + (usable ? "" : "/missing") + "/state/aes.key";
        RVX::Crypt::Internals::SetKeyPlaces(m_KeyFile.c_str(), m_MachineId.c_str());
    }
    void NoMachineIdentity() {
        m_MachineId = m_Dir + "/no-machine-id";
        RVX::Crypt::Internals::SetKeyPlaces(m_KeyFile.c_str(), m_MachineId.c_str());
    }

    std::string m_KeyFile;
    std::string m_MachineId;

    static std::string Encrypt(const std::string& plain, const char* associated = "12345") {
        CAES aes;
        CStringVar out;
        EXPECT_TRUE(aes.Encrypt(CStringRef(plain), CStringRef(associated), out))
            << CAES::LastError();
        return out.Str();
    }
    // The text that `encrypted` opens to, or "<refused>" when it is refused
    // and leaves no text behind.
    static std::string Opened(const std::string& encrypted) {
        CAES aes;
        CStringVar out("stale text");
        if (aes.Decrypt(CStringRef(encrypted), out))
            return out.Str();
        return out.IsEmpty() ? "<refused>" : "<refused, leaving " + out.Str() + ">";
    }
};

// In several threads at once: each encryption is fresh and opens again.
TEST_F(AESTest, RoundTripOfVariousTextsInThreadsAtOnce) {
    const std::string texts[] = {"", "s", std::string("nul\0inside", 10), std::string(100000, 'x')};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&texts] {
            for (int i = 0; i < 20; ++i)
                for (const std::string& text : texts) {
                    const std::string encrypted = Encrypt(text);
                    EXPECT_TRUE(encrypted.compare(0, 5, "ENC1(") == 0 && encrypted.back() == ')');
                    EXPECT_TRUE(CAES::IsEncrypted(CStringRef(encrypted)));
                    EXPECT_TRUE(text.size() < 2 ||
                                encrypted.find(text.substr(0, 8)) == std::string::npos);
                    EXPECT_NE(Encrypt(text), encrypted);
                    EXPECT_EQ(Opened(encrypted), text) << CAES::LastError();
                }
        });
    for (std::thread& thread : threads)
        thread.join();
}

// Every changed character (to another of the base64 alphabet, so that only
// the check can refuse it), every cut, and forms of the marker around
// nothing sealed.
TEST_F(AESTest, ChangedCutAndForeignTextsAreRefused) {
    const std::string encrypted = Encrypt("some text");
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::vector<std::string> refused = {
        encrypted + " ",
        " " + encrypted,
        encrypted.substr(0, encrypted.size() - 5) + ")",
        "ENC1(====)",
        "ENC1(AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA)", // 30 zero bytes
        "ENC1(AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA)",    // 28 bytes
        "ENC1(AAAA AAAA)",
        "enc1(AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA)"};
    for (size_t i = 0; i < encrypted.size(); ++i) {
        refused.push_back(encrypted.substr(0, i));
        std::string changed = encrypted;
        const size_t at = alphabet.find(changed[i]);
        changed[i] = at == std::string::npos ? 'Q' : alphabet[(at + 1) % alphabet.size()];
        refused.push_back(changed);
    }
    for (const std::string& text : refused) {
        EXPECT_EQ(Opened(text), "<refused>") << text;
        EXPECT_STRNE(CAES::LastError(), "");
    }
}

TEST_F(AESTest, SetKeyNeedsThirtyTwoBytesAndDecryptMayReadItsOwnOutput) {
    EXPECT_FALSE(CAES::SetKey(kKeyB, 31) || CAES::SetKey(kKeyB, 33) || CAES::SetKey(nullptr, 32));
    // The refused calls left key A in place; key B cannot open its texts.
    const std::string encrypted = Encrypt("still A");
    ASSERT_TRUE(CAES::SetKey(kKeyB, sizeof kKeyB));
    EXPECT_EQ(Opened(encrypted), "<refused>");
    ASSERT_TRUE(CAES::SetKey(kKeyA, sizeof kKeyA));
    CAES aes;
    CStringVar text(encrypted.c_str());
    ASSERT_TRUE(aes.Decrypt(CStringRef(text), text));
    EXPECT_EQ(text.Str(), "still A");
}

// A key file holds the raw key or its hex text (either case, a line end
// after it). Anything else is an error, never a fallback, whose text never
// shows the file's content.
TEST_F(AESTest, KeyFileHoldsARawOrHexKeyAndAnythingElseIsAnError) {
    const std::string hex = "a0a1a2a3a4a5a6a7a8a9aaabacadaeafb0b1b2b3b4b5b6b7b8b9babbbcbdbebf";
    std::string upper = hex;
    std::transform(hex.begin(), hex.end(), upper.begin(), ::toupper);
    const std::pair<std::string, bool> contents[] = {
        {std::string(reinterpret_cast<const char*>(kKeyB), sizeof kKeyB), true},
        {hex + "\n", true},
        {upper, true},
        {std::string(31, 'k'), false},
        {std::string(64, 'g'), false},
        {std::string(4096, 'a'), false},
        {"", false},
        {hex.substr(0, 62) + "ZZ", false}};
    const std::string path = m_Dir + "/file.key";
    ::setenv("RVX_AES_KEY_FILE", path.c_str(), 1);
    for (const auto& [content, good] : contents) {
        WriteBytes(path, content);
        CAES::ClearKey();
        CAES aes;
        CStringVar out("stale");
        ASSERT_EQ(aes.Encrypt(CStringRef("file key"), CStringRef("1"), out), good) << content;
        EXPECT_EQ(out.IsEmpty(), !good);
        EXPECT_EQ(*CAES::LastError() == '\0', good);
        EXPECT_EQ(std::string(CAES::LastError()).find(hex.substr(0, 8)), std::string::npos);
        ASSERT_TRUE(CAES::SetKey(kKeyB, sizeof kKeyB));
        EXPECT_TRUE(!good || Opened(out.Str()) == "file key") << content;
    }
    boost::filesystem::remove(path); // now missing
    CAES::ClearKey();
    CStringVar out;
    EXPECT_FALSE(CAES().Encrypt(CStringRef("x"), CStringRef("1"), out) || !out.IsEmpty());
}

// Processes that find no key file make it at once and agree on one key,
// kept private and never replaced afterwards.
TEST_F(AESTest, ProcessesMakingTheKeyFileAtOnceAgreeOnOneKeyThatIsKept) {
    CAES::ClearKey();
    NoMachineIdentity(); // a minimal root: only the key file can serve
    const int children = 6;
    std::vector<pid_t> pids;
    for (int i = 0; i < children; ++i) {
        const pid_t pid = ::fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            WriteBytes(m_Dir + "/out" + std::to_string(i), Encrypt("child " + std::to_string(i)));
            ::_exit(0);
        }
        pids.push_back(pid);
    }
    for (pid_t pid : pids) {
        int status = 0;
        ASSERT_EQ(::waitpid(pid, &status, 0), pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    EXPECT_EQ(Stat(m_KeyFile).st_mode & 07777, 0600u);
    EXPECT_EQ(Stat(m_KeyFile).st_size, 32);
    EXPECT_EQ(Stat(m_Dir + "/state").st_mode & 07777, 0700u);
    EXPECT_EQ(Entries(m_Dir + "/state"), 1); // no temporary file left
    const std::string key = ReadBytes(m_KeyFile);
    const std::string parent = Encrypt("parent");
    EXPECT_EQ(ReadBytes(m_KeyFile), key) << "the key file is never replaced";
    // Every text was sealed with the file's key.
    ASSERT_TRUE(CAES::SetKey(reinterpret_cast<const unsigned char*>(key.data()), key.size()));
    EXPECT_EQ(Opened(parent), "parent");
    for (int i = 0; i < children; ++i)
        EXPECT_EQ(Opened(ReadBytes(m_Dir + "/out" + std::to_string(i))),
                  "child " + std::to_string(i));
}

TEST_F(AESTest, ValuesOfTheMachineIdentityKeyStillOpenOnceTheKeyFileExists) {
    CAES::ClearKey();
    UseKeyFile(false);
    const std::string old = Encrypt("stored long ago");
    EXPECT_FALSE(boost::filesystem::exists(m_KeyFile));
    ASSERT_TRUE(CAES::SetKey(kKeyA, sizeof kKeyA));
    // The machine identity's key, not the application key.
    EXPECT_EQ(Opened(old), "<refused>");
    CAES::ClearKey();
    // Now the key file can be made: new values use it, old ones still open.
    UseKeyFile(true);
    const std::string fresh = Encrypt("stored today");
    ASSERT_TRUE(boost::filesystem::exists(m_KeyFile));
    EXPECT_EQ(Opened(old), "stored long ago") << CAES::LastError();
    EXPECT_EQ(Opened(fresh), "stored today");
    // The new value is sealed with the file's key, not the identity's.
    UseKeyFile(false);
    EXPECT_EQ(Opened(fresh), "<refused>");
}

TEST_F(AESTest, WithoutAnyKeyNothingIsStoredAndATraceRecordSaysSo) {
    CAES::ClearKey();
    UseKeyFile(false);
    NoMachineIdentity();
    std::vector<RVX::Internals::TraceRecord> records;
    RVX::Internals::TraceSink previous = RVX::Internals::SetTraceSink(
        [&](const RVX::Internals::TraceRecord& record) { records.push_back(record); });
    CAES aes;
    CStringVar out("stale");
    const bool ok = aes.Encrypt(CStringRef("secret"), CStringRef("1"), out);
    PI::CProperty property(static_cast<PI::_PROPERTY_ID>(23001), false);
    property.SubType = PI::PROPERTY_SUBTYPE_ENCRYPTED;
    const unsigned int result = property.SetValue(CStringRef("secret"));
    RVX::Internals::SetTraceSink(previous);

    EXPECT_FALSE(ok);
    EXPECT_TRUE(out.IsEmpty());
    // The property keeps what the cipher left: an empty text, never the secret.
    EXPECT_EQ(result, 0u);
    ASSERT_NE(property.Data, nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(property.Data)), "");
    ASSERT_EQ(records.size(), 2u) << "one record per lost secret";
    for (const auto& record : records) {
        EXPECT_EQ(record.Module, RVX::PLATFORM_MODULE_NUMBER);
        EXPECT_EQ(record.Level, 0x40000000u);
        EXPECT_NE(record.Text.find("no encryption key"), std::string::npos) << record.Text;
        EXPECT_EQ(record.Text.find("secret"), std::string::npos) << "never the text itself";
    }
}

} // namespace
