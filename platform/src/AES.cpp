#include "RVX/AES.h"

#if defined(PI_WITH_TEST_HOOKS)
#include "RVX/TestHooks.h"
#endif

#include "RVX/Base64.h"

#include "RVX/Module.h"
#include "RVX/Trace.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <new>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace RVX {
namespace Crypt {
namespace {

constexpr size_t kKeyLength = 32;
constexpr size_t kNonceLength = 12;
constexpr size_t kTagLength = 16;
constexpr char kPrefix[] = "ENC1(";
constexpr size_t kPrefixLength = sizeof kPrefix - 1;
// Texts longer than this are not handled (EVP counts in int).
constexpr size_t kMaxPlainLength = static_cast<size_t>(INT_MAX) - 64;

constexpr char kDefaultKeyFile[] = "/var/lib/rvx/aes.key";

std::mutex g_KeyLock;
unsigned char g_Key[kKeyLength];
bool g_KeySet = false;
// Where the machine key file and the machine identity are sought; tests move
// them into a scratch directory. Guarded by g_KeyLock.
std::string g_KeyFile = kDefaultKeyFile;
std::vector<std::string> g_MachineIdFiles = {"/etc/machine-id", "/var/lib/dbus/machine-id"};

thread_local const char* t_LastError = "";

bool Fail(const char* why) noexcept {
    t_LastError = why;
    return false;
}

// A key or key material on the stack, wiped on every way out.
template <size_t N> struct SecretBuffer {
    unsigned char Bytes[N];
    size_t Length = 0;
    SecretBuffer() noexcept { std::memset(Bytes, 0, N); }
    ~SecretBuffer() { OPENSSL_cleanse(Bytes, N); }
    SecretBuffer(const SecretBuffer&) = delete;
    SecretBuffer& operator=(const SecretBuffer&) = delete;
};

using Key = SecretBuffer<kKeyLength>;

struct CipherContext {
    EVP_CIPHER_CTX* Ctx = EVP_CIPHER_CTX_new();
    ~CipherContext() { EVP_CIPHER_CTX_free(Ctx); } // also wipes the key schedule
    CipherContext() = default;
    CipherContext(const CipherContext&) = delete;
    CipherContext& operator=(const CipherContext&) = delete;
};

// Wipes a byte vector before it goes.
struct WipedBytes {
    std::vector<unsigned char> Bytes;
    ~WipedBytes() {
        if (!Bytes.empty())
            OPENSSL_cleanse(Bytes.data(), Bytes.size());
    }
};

bool IsBlank(unsigned char c) noexcept {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}

int HexValue(unsigned char c) noexcept {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// Reads at most N - 1 bytes of a small file; false when it cannot be read or
// is larger than that.
template <size_t N> bool ReadSmallFile(const char* path, SecretBuffer<N>& content) noexcept {
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (fd < 0)
        return false;
    size_t total = 0;
    bool ok = true;
    for (;;) {
        if (total == N) { // one byte more than allowed: too large
            ok = false;
            break;
        }
        const ssize_t got = ::read(fd, content.Bytes + total, N - total);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            ok = false;
            break;
        }
        if (got == 0)
            break;
        total += static_cast<size_t>(got);
    }
    ::close(fd);
    if (!ok || total >= N)
        return false;
    content.Length = total;
    return true;
}

bool KeyFromFile(const char* path, Key& key) noexcept {
    SecretBuffer<130> content;
    if (!ReadSmallFile(path, content))
        return Fail("the key file cannot be read or is too large");
    if (content.Length == kKeyLength) {
        std::memcpy(key.Bytes, content.Bytes, kKeyLength);
        key.Length = kKeyLength;
        return true;
    }
    size_t length = content.Length;
    while (length > 0 && IsBlank(content.Bytes[length - 1]))
        --length;
    if (length != 2 * kKeyLength)
        return Fail("the key file must hold 32 raw bytes or 64 hexadecimal characters");
    for (size_t i = 0; i < kKeyLength; ++i) {
        const int high = HexValue(content.Bytes[2 * i]);
        const int low = HexValue(content.Bytes[2 * i + 1]);
        if (high < 0 || low < 0)
            return Fail("the key file must hold 32 raw bytes or 64 hexadecimal characters");
        key.Bytes[i] = static_cast<unsigned char>(high * 16 + low);
    }
    key.Length = kKeyLength;
    return true;
}

// The legacy key: SHA-256 of the machine identity. Used where no key file
// can be had, and to open values that were stored with it.
bool KeyFromMachineId(Key& key) noexcept {
    SecretBuffer<256> id;
    bool found = false;
    try {
        std::vector<std::string> files;
        {
            std::lock_guard<std::mutex> lock(g_KeyLock);
            files = g_MachineIdFiles;
        }
        for (const std::string& file : files)
            if ((found = ReadSmallFile(file.c_str(), id)))
                break;
    } catch (...) {
        return Fail("out of memory");
    }
    if (!found)
        return Fail("no key: none set, no key file could be read or created, no machine identity");
    size_t first = 0;
    size_t end = id.Length;
    while (first < end && IsBlank(id.Bytes[first]))
        ++first;
    while (end > first && IsBlank(id.Bytes[end - 1]))
        --end;
    if (first == end)
        return Fail(
            "no key: none set, no key file could be read or created, empty machine identity");
    static const char kLabel[] = "RVX::Crypt::CAES machine key v1";
    EVP_MD_CTX* md = EVP_MD_CTX_new();
    unsigned int length = 0;
    const bool ok = md != nullptr && EVP_DigestInit_ex(md, EVP_sha256(), nullptr) == 1 &&
                    EVP_DigestUpdate(md, kLabel, sizeof kLabel) == 1 &&
                    EVP_DigestUpdate(md, id.Bytes + first, end - first) == 1 &&
                    EVP_DigestFinal_ex(md, key.Bytes, &length) == 1 && length == kKeyLength;
    EVP_MD_CTX_free(md);
    if (!ok)
        return Fail("key derivation failed");
    key.Length = kKeyLength;
    return true;
}

bool WriteAllBytes(int fd, const unsigned char* data, size_t size) noexcept {
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

// Creates the key file with a fresh random key: written and synced under a
// temporary name, then linked to its own name, which fails if another
// process got there first (their key then counts). Never replaces a file.
// False when the file could not be made (no directory, no permission...).
bool CreateKeyFile(const std::string& path) noexcept {
    try {
        const size_t slash = path.rfind('/');
        const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash);
        // The directory of the default place is made here, private.
        if (::mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST)
            return false;
        std::string temp = path + ".new-XXXXXX";
        const int fd = ::mkostemp(&temp[0], O_CLOEXEC);
        if (fd < 0)
            return false;
        Key fresh;
        const bool written = ::fchmod(fd, 0600) == 0 &&
                             RAND_bytes(fresh.Bytes, static_cast<int>(kKeyLength)) == 1 &&
                             WriteAllBytes(fd, fresh.Bytes, kKeyLength) && ::fsync(fd) == 0;
        const bool closed = ::close(fd) == 0;
        const bool linked =
            written && closed && (::link(temp.c_str(), path.c_str()) == 0 || errno == EEXIST);
        ::unlink(temp.c_str());
        if (!linked)
            return false;
        const int dir = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (dir >= 0) {
            (void)::fsync(dir); // best effort: the key is in place either way
            ::close(dir);
        }
        return true;
    } catch (...) {
        return false;
    }
}

// Where the key came from, for Decrypt's fallback to the legacy key.
enum class KeySource { None, Set, NamedFile, MachineFile, MachineId };

KeySource GetKey(Key& key) noexcept {
    std::string machineFile;
    {
        std::lock_guard<std::mutex> lock(g_KeyLock);
        if (g_KeySet) {
            std::memcpy(key.Bytes, g_Key, kKeyLength);
            key.Length = kKeyLength;
            return KeySource::Set;
        }
        try {
            machineFile = g_KeyFile;
        } catch (...) {
            Fail("out of memory");
            return KeySource::None;
        }
    }
    const char* file = std::getenv("RVX_AES_KEY_FILE");
    if (file != nullptr && *file != '\0')
        return KeyFromFile(file, key) ? KeySource::NamedFile : KeySource::None;
    // The machine key file: read, or made once. A malformed one is an error,
    // not a reason to use another key.
    struct stat info;
    const bool present = ::stat(machineFile.c_str(), &info) == 0;
    if (present || CreateKeyFile(machineFile)) {
        errno = 0;
        if (KeyFromFile(machineFile.c_str(), key))
            return KeySource::MachineFile;
        // Only a key file that this process may not read (another user's)
        // leaves the legacy key to it.
        if (errno != EACCES)
            return KeySource::None;
    }
    return KeyFromMachineId(key) ? KeySource::MachineId : KeySource::None;
}

// A failure to find a key is the one failure that loses a secret: it is
// traced, whatever the caller does with the result.
void TraceNoKey() noexcept {
    try {
        const Misc::CModuleInfo& module = PlatformModuleInfo();
        const unsigned int level = 0x40000000;
        if (!module.IsTraceEnabled(level))
            return;
        RVX::Internals::CTraceStreamBuffer record(level, module, "platform/AES", __LINE__);
        record.Text() = std::string("no encryption key, nothing encrypted: ") + t_LastError;
    } catch (...) {
        // Tracing is best effort.
    }
}

// AES-256-GCM opening of `cipher` into `opened`; false when the tag does
// not match (or the cipher fails).
bool Open(const Key& key, const unsigned char* nonce, const unsigned char* cipher,
          size_t cipherLength, unsigned char* tag, WipedBytes& opened) {
    opened.Bytes.assign(cipherLength + 1, 0);
    CipherContext context;
    int length = 0;
    int finalLength = 0;
    return context.Ctx != nullptr &&
           EVP_DecryptInit_ex(context.Ctx, EVP_aes_256_gcm(), nullptr, nullptr, nullptr) == 1 &&
           EVP_CIPHER_CTX_ctrl(context.Ctx, EVP_CTRL_GCM_SET_IVLEN, static_cast<int>(kNonceLength),
                               nullptr) == 1 &&
           EVP_DecryptInit_ex(context.Ctx, nullptr, nullptr, key.Bytes, nonce) == 1 &&
           (cipherLength == 0 || EVP_DecryptUpdate(context.Ctx, opened.Bytes.data(), &length,
                                                   cipher, static_cast<int>(cipherLength)) == 1) &&
           EVP_CIPHER_CTX_ctrl(context.Ctx, EVP_CTRL_GCM_SET_TAG, static_cast<int>(kTagLength),
                               tag) == 1 &&
           EVP_DecryptFinal_ex(context.Ctx, opened.Bytes.data() + length, &finalLength) == 1 &&
           static_cast<size_t>(length + finalLength) == cipherLength;
}

} // namespace

CAES::CAES() noexcept = default;
CAES::~CAES() = default;

bool CAES::IsEncrypted(const Strings::CStringRef& text) noexcept {
    return text.Length() > kPrefixLength && std::memcmp(text.Data(), kPrefix, kPrefixLength) == 0 &&
           text[text.Length() - 1] == ')';
}

bool CAES::Encrypt(const Strings::CStringRef& plain, const Strings::CStringRef& associated,
                   Strings::CStringVar& out) noexcept {
    (void)associated; // see the header: no part of the cipher
    t_LastError = "";
    try {
        if (plain.Length() > kMaxPlainLength) {
            out.Empty();
            return Fail("text too long");
        }
        Key key;
        if (GetKey(key) == KeySource::None) {
            out.Empty();
            TraceNoKey();
            return false;
        }
        const int plainLength = static_cast<int>(plain.Length());
        WipedBytes sealed;
        sealed.Bytes.resize(kNonceLength + plain.Length() + kTagLength);
        unsigned char* nonce = sealed.Bytes.data();
        unsigned char* cipher = nonce + kNonceLength;
        unsigned char* tag = cipher + plain.Length();
        if (RAND_bytes(nonce, static_cast<int>(kNonceLength)) != 1) {
            out.Empty();
            return Fail("the random source failed");
        }
        CipherContext context;
        int length = 0;
        int finalLength = 0;
        const bool ok =
            context.Ctx != nullptr &&
            EVP_EncryptInit_ex(context.Ctx, EVP_aes_256_gcm(), nullptr, nullptr, nullptr) == 1 &&
            EVP_CIPHER_CTX_ctrl(context.Ctx, EVP_CTRL_GCM_SET_IVLEN, static_cast<int>(kNonceLength),
                                nullptr) == 1 &&
            EVP_EncryptInit_ex(context.Ctx, nullptr, nullptr, key.Bytes, nonce) == 1 &&
            (plainLength == 0 ||
             EVP_EncryptUpdate(context.Ctx, cipher, &length,
                               reinterpret_cast<const unsigned char*>(plain.Data()),
                               plainLength) == 1) &&
            EVP_EncryptFinal_ex(context.Ctx, cipher + length, &finalLength) == 1 &&
            length + finalLength == plainLength &&
            EVP_CIPHER_CTX_ctrl(context.Ctx, EVP_CTRL_GCM_GET_TAG, static_cast<int>(kTagLength),
                                tag) == 1;
        if (!ok) {
            out.Empty();
            return Fail("the cipher failed");
        }
        std::string text(kPrefix);
        RVX::Base64::Append(sealed.Bytes.data(), sealed.Bytes.size(), text);
        text.push_back(')');
        out.Str().swap(text);
        return true;
    } catch (...) {
        out.Empty();
        return Fail("out of memory");
    }
}

bool CAES::Decrypt(const Strings::CStringRef& encrypted, Strings::CStringVar& plain) noexcept {
    t_LastError = "";
    try {
        // `encrypted` may refer to `plain`: everything is read before `plain` is written.
        if (!IsEncrypted(encrypted)) {
            plain.Empty();
            return Fail("not an encrypted text");
        }
        const char* text = encrypted.Data() + kPrefixLength;
        const size_t textLength = encrypted.Length() - kPrefixLength - 1;
        WipedBytes sealed;
        sealed.Bytes.resize(RVX::Base64::MaxDecodedLength(textLength));
        size_t sealedLength = 0;
        if (textLength == 0 ||
            !RVX::Base64::Decode(text, textLength, sealed.Bytes.data(), sealedLength)) {
            plain.Empty();
            return Fail("bad base64 in the encrypted text");
        }
        if (sealedLength < kNonceLength + kTagLength ||
            sealedLength - kNonceLength - kTagLength > kMaxPlainLength) {
            plain.Empty();
            return Fail("the encrypted text is too short");
        }
        const size_t cipherLength = sealedLength - kNonceLength - kTagLength;
        const unsigned char* nonce = sealed.Bytes.data();
        const unsigned char* cipher = nonce + kNonceLength;
        unsigned char tag[kTagLength];
        std::memcpy(tag, cipher + cipherLength, kTagLength);

        Key key;
        const KeySource source = GetKey(key);
        if (source == KeySource::None) {
            plain.Empty();
            return false;
        }
        WipedBytes opened;
        bool ok = Open(key, nonce, cipher, cipherLength, tag, opened);
        // Values stored before the key file existed were sealed with the
        // key derived from the machine identity.
        Key legacy;
        if (!ok && source == KeySource::MachineFile && KeyFromMachineId(legacy))
            ok = Open(legacy, nonce, cipher, cipherLength, tag, opened);
        if (!ok) {
            plain.Empty();
            return Fail("the encrypted text fails its check (changed, or another key)");
        }
        plain.Str().assign(reinterpret_cast<const char*>(opened.Bytes.data()), cipherLength);
        return true;
    } catch (...) {
        plain.Empty();
        return Fail("out of memory");
    }
}

bool CAES::SetKey(const unsigned char* key, size_t length) noexcept {
    if (key == nullptr || length != kKeyLength)
        return false;
    std::lock_guard<std::mutex> lock(g_KeyLock);
    std::memcpy(g_Key, key, kKeyLength);
    g_KeySet = true;
    return true;
}

void CAES::ClearKey() noexcept {
    std::lock_guard<std::mutex> lock(g_KeyLock);
    OPENSSL_cleanse(g_Key, kKeyLength);
    g_KeySet = false;
}

const char* CAES::LastError() noexcept {
    return t_LastError;
}

#if defined(PI_WITH_TEST_HOOKS)
namespace Internals {

void SetKeyPlaces(const char* keyFile, const char* machineId) {
    std::lock_guard<std::mutex> lock(g_KeyLock);
    g_KeyFile = keyFile != nullptr ? keyFile : kDefaultKeyFile;
    if (machineId != nullptr)
        g_MachineIdFiles = {machineId};
    else
        g_MachineIdFiles = {"/etc/machine-id", "/var/lib/dbus/machine-id"};
}

} // namespace Internals
#endif

} // namespace Crypt
} // namespace RVX
