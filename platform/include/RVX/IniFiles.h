#pragma once

// INI files shared between processes.
//
// Format: "[Section]" headers, "key=value" lines, comment lines starting with
// ";" or "#". Section and key names are case-sensitive and compared byte for
// byte. Reading tolerates blanks around names, "=" and values, CRLF line
// ends, a UTF-8 byte order mark and a comment after a value (";" or "#"
// preceded by a blank).
//
// Quoting, the same for keys and values: a text that would not survive that
// reading is written in double quotes with the escapes \\ \" \n \r \t;
// every other text is written as it is and read literally. A value is quoted
// when it has blanks at either end, ";", "#", a double quote or a line break;
// a key when it is empty or has blanks at either end, "=", a double quote, a
// line break, or starts with ";", "#", "[" or a byte order mark. A quoted key
// is read as such only when its closing quote is followed by blanks and "=";
// any other key text reads literally, as it always did (so a hand-written
// key in quotes, "a"=1, is the key a, just as the value "a" is a). Inside
// quotes, a backslash before any other character stays as typed.
//
// A rewrite keeps every line it did not change: comments, blank lines,
// unknown lines, the order of sections and keys, the line ends and the byte
// order mark.
//
// Writers serialise on an flock of "<file>.lck", which stays in place after
// use. The new content is written to a temporary file beside the file,
// synced, and renamed over it, so a reader sees the old or the new file and
// never a part of one.
//
// One file, one lock: a path is resolved (symlinks, also of directories, and
// "." and "..") before the lock file and the temporary file are named, so
// every path that leads to one file locks "<real path>.lck" and writes beside
// the real file; the symlink itself survives the rewrite. A file with more
// than one hard link is refused for writing: the rename would split its
// names into two files, whatever the lock.
//
// What is refused (nothing is changed, nothing waited for):
//  - anything but a regular file, for reading and writing: a FIFO, a device,
//    a socket or a directory, also behind a symlink. Files are opened
//    without blocking and examined before they are read;
//  - a file larger than INI_MAX_FILE_SIZE, for reading and writing;
//  - for writing, a symlink in place of the file (or any further link that
//    it leads to in place of the file) that is owned neither by the caller
//    nor by root, or that sits in a directory that others than its owner can
//    write without the sticky bit: whoever can plant or swap such a link
//    could aim a privileged writer at any file. Symlinked directories on the
//    way to the file are followed as the administrator laid them out;
//  - for writing, a file that the caller could not open for writing;
//  - a rewrite that cannot keep the file's owner and group (a caller that
//    may not give files away, writing another user's file). The mode is
//    always kept; a new file gets the mode the caller creates it with.
//
// Failures are thrown as RVX::Exceptions::CException with one of the
// INI_ERROR_* codes below, codes of the platform module (RVX/Module.h). A
// failed system call gives INI_ERROR_SYSTEM, and what() names the call, the
// path and the system's error text.

#include "RVX/Export.h"
#include "RVX/Module.h"

#include <memory>
#include <string>
#include <vector>

namespace RVX {
namespace INI_Files {

// Timeouts are in milliseconds; this one waits without limit.
constexpr unsigned int INI_WAIT_FOREVER = 0xFFFFFFFFu;

// Files larger than this are no configuration files; they are refused.
constexpr unsigned long long INI_MAX_FILE_SIZE = 32ull * 1024 * 1024;

// The exception codes of the INI files, in the platform module.
constexpr unsigned int INI_MODULE_NUMBER = PLATFORM_MODULE_NUMBER;
constexpr unsigned int INI_ERROR_NOT_REPRESENTABLE =
    PlatformCode(1);                                              // name or value cannot be written
constexpr unsigned int INI_ERROR_LOCK_TIMEOUT = PlatformCode(2);  // another writer kept the lock
constexpr unsigned int INI_ERROR_NOT_LOCKED = PlatformCode(3);    // Flush without a Lock
constexpr unsigned int INI_ERROR_LOCKED = PlatformCode(4);        // Read or Lock while locked
constexpr unsigned int INI_ERROR_BAD_LOCK_FILE = PlatformCode(5); // lock file is no regular file
constexpr unsigned int INI_ERROR_SYSTEM = PlatformCode(6);        // a system call failed
constexpr unsigned int INI_ERROR_NOT_REGULAR = PlatformCode(7);   // FIFO, device, directory...
constexpr unsigned int INI_ERROR_TOO_LARGE = PlatformCode(8);     // beyond INI_MAX_FILE_SIZE
constexpr unsigned int INI_ERROR_UNTRUSTED_LINK = PlatformCode(9);  // symlink others control
constexpr unsigned int INI_ERROR_NOT_WRITABLE = PlatformCode(10);   // caller may not write it
constexpr unsigned int INI_ERROR_OWNER_NOT_KEPT = PlatformCode(11); // owner or group would change
constexpr unsigned int INI_ERROR_HARD_LINKED = PlatformCode(12);    // more than one name

// True for the codes by which Lock or Flush refuse the file itself (as
// opposed to failing to lock or to write it).
RVX_API bool IsRefusedFile(unsigned int code) noexcept;
// The rule behind a refusal, in a few words for a message: "read-only"
// (INI_ERROR_NOT_WRITABLE), "not a regular file", "too large", "more than
// one link", "untrusted symlink", "owner or group cannot be kept"; null for
// a code that IsRefusedFile does not accept. The exception's GetDetail()
// says why, naming the path.
RVX_API const char* RefusalName(unsigned int code) noexcept;

class CIniFile;
class CIniSection;

// A key of one section. The handle stays valid as long as its CIniFile.
class RVX_API CIniKey {
public:
    // Returns 1 and the key's text when the key exists; otherwise returns 0
    // and empties `value`.
    int GetValue(std::string& value) const;
    // Creates or replaces the key, creating the section if needed. Every key
    // and value without a NUL byte reads back byte for byte. Throws
    // INI_ERROR_NOT_REPRESENTABLE, changing nothing, for a NUL byte anywhere
    // and for a section name with "]", a line break or blanks at either end.
    void SetValue(const std::string& value);
    // Deletes the key; a missing key is no error.
    void Remove();

private:
    friend class CIniSection;
    CIniKey(CIniFile& file, std::string section, std::string key);

    CIniFile* m_File;
    std::string m_Section;
    std::string m_Key;
};

// A section of the document, existing or not. The handle stays valid as long
// as its CIniFile.
class RVX_API CIniSection {
public:
    bool Exists() const;
    // The number of distinct keys in the section.
    unsigned int KeyCount() const;
    // The distinct keys of the section in file order; a key repeated later,
    // also in a repeated header, stands where it first occurs.
    std::vector<std::string> KeyNames() const;
    // Deletes the section with all its keys. Comments and blank lines after
    // its last key stay: they usually introduce what follows.
    void Remove();
    CIniKey operator[](const std::string& key);

private:
    friend class CIniFile;
    CIniSection(CIniFile& file, std::string name);

    CIniFile* m_File;
    std::string m_Name;
};

// One INI document in memory, and at most one held file lock.
class RVX_API CIniFile {
public:
    CIniFile();
    ~CIniFile(); // releases a lock still held, without writing
    CIniFile(const CIniFile&) = delete;
    CIniFile& operator=(const CIniFile&) = delete;

    // Replaces the document with the file's content. Takes no lock: writers
    // replace the file in one step, so the timeout is never waited for.
    // Refuses what is no regular file or is too large (see above).
    void Read(const std::string& path, unsigned int timeout);
    // Takes the writers' lock on "<path>.lck" and loads the file for an
    // update. With a finite timeout, gives up with INI_ERROR_LOCK_TIMEOUT.
    // The file must exist (INI_ERROR_SYSTEM naming ENOENT otherwise); a file
    // that may not be read and written is refused (IsRefusedFile) with the
    // lock released. A lock file that this call created is removed again
    // when the file cannot be loaded.
    void Lock(const std::string& path, unsigned int timeout);
    // Writes the document back if it changed and releases the lock. The lock
    // is already held, so nothing is waited for. On failure the file is
    // unchanged and the lock is kept until the next Flush or destruction.
    // INI_ERROR_OWNER_NOT_KEPT when the owner or group could not be kept.
    void Flush(unsigned int timeout);

    // The lock file held since Lock ("<real path>.lck"), or "" when unlocked.
    const std::string& LockPath() const noexcept { return m_LockPath; }

    CIniSection operator[](const std::string& section);
    // The distinct section names in file order, empty sections included; a
    // repeated header adds no name.
    std::vector<std::string> SectionNames() const;

    struct Document;

private:
    friend class CIniSection;
    friend class CIniKey;
    void Unlock() noexcept;

    std::unique_ptr<Document> m_Document;
    std::string m_Target;   // the locked file, symlinks resolved: where it is written
    std::string m_LockPath; // its lock file
    int m_LockFd = -1;
};

// A value or a key as the file holds it: as it is, or in double quotes with
// the escapes \\ \" \n \r \t when plain text would not read back the same.
RVX_API std::string EncodeValue(const std::string& value);
RVX_API std::string EncodeKey(const std::string& key);

} // namespace INI_Files
} // namespace RVX
