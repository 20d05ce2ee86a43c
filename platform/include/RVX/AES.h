#pragma once

#include "RVX/Export.h"
#include "RVX/Strings.h"

#include <cstddef>

namespace RVX {
namespace Crypt {

// Encryption of short secret texts (passwords and the like kept in property
// values) with AES-256-GCM from OpenSSL libcrypto.
//
// Text form: "ENC1(" + base64(nonce[12] || ciphertext || tag[16]) + ")",
// standard base64 alphabet with "=" padding, no line breaks. Every Encrypt
// draws a fresh random nonce (RAND_bytes), so two encryptions of the same text
// differ. The tag authenticates the nonce and the ciphertext: Decrypt refuses
// a text that was changed, cut short, or not made by Encrypt.
//
// The associated text of Encrypt (the property passes the current time as
// text) is accepted for compatibility and takes no part in the cipher: it is
// neither the nonce nor additional authenticated data, so a stored value can
// be decrypted later from its own text alone. The random nonce already makes
// every encryption unique.
//
// The key (32 bytes), first match wins:
//  1. the key that the application gave to SetKey;
//  2. the file named by the environment variable RVX_AES_KEY_FILE, holding
//     either exactly 32 raw bytes or 64 hexadecimal characters (trailing
//     white space allowed). When the variable is set and the file is missing,
//     unreadable or malformed, Encrypt and Decrypt fail: there is no silent
//     fallback to the next source, and nothing is created there;
//  3. the machine key file /var/lib/rvx/aes.key, in the same form. When it
//     is missing it is created once with 32 random bytes: mode 0600, its
//     directory made 0700 if missing, written and synced under a temporary
//     name and then linked to its name, so it is never seen half written and
//     two processes creating it at once agree on one key (the later one
//     reads the earlier one's). A key file that is there but malformed is an
//     error, not a reason to fall back;
//  4. only when the machine key file can neither be created nor read by this
//     process (a read-only root, another user's file): SHA-256 of the machine
//     identity (/etc/machine-id, else /var/lib/dbus/machine-id). NOTE:
//     anybody who can read that file can compute this key, so it only hides
//     the text from casual readers; it is no protection against a local user.
// Values stored before the machine key file existed were sealed with the key
// of source 4: where the key comes from source 3, Decrypt tries that key too.
//
// Where no source gives a key, Encrypt returns false and leaves an empty
// text: a secret is never stored in plain text. That failure is also written
// as a trace record of the platform module (level 0x40000000, on by
// default), since callers that store the result without looking at it lose
// the secret.
//
// The key is read afresh on every call (no cached copy of a file key), never
// written to any output or trace, and temporary copies are wiped.
//
// Thread-safe: objects keep no state; SetKey/ClearKey are serialised with the
// calls that read the key.
class RVX_API CAES {
public:
    CAES() noexcept;
    ~CAES();
    CAES(const CAES&) = delete;
    CAES& operator=(const CAES&) = delete;

    // Encrypts `plain` into `out` (replacing its content). Returns false, with
    // `out` empty, when no key is available or the cipher fails.
    bool Encrypt(const Strings::CStringRef& plain, const Strings::CStringRef& associated,
                 Strings::CStringVar& out) noexcept;

    // Decrypts a text made by Encrypt into `plain`. Returns false, with
    // `plain` empty, for a text that is not "ENC1(...)", has bad base64, is
    // too short, fails the tag check (tampered, or another key), or when no
    // key is available.
    bool Decrypt(const Strings::CStringRef& encrypted, Strings::CStringVar& plain) noexcept;

    // True when `text` has the form of an encrypted text ("ENC1(" ... ")").
    static bool IsEncrypted(const Strings::CStringRef& text) noexcept;

    // Sets the process-wide key; false (and no change) unless `length` is 32.
    static bool SetKey(const unsigned char* key, size_t length) noexcept;
    // Forgets the key set with SetKey; the key file or machine identity rule again.
    static void ClearKey() noexcept;

    // Why the last Encrypt/Decrypt on this thread failed ("" after success):
    // a short constant text that never contains key material.
    static const char* LastError() noexcept;
};

} // namespace Crypt
} // namespace RVX
