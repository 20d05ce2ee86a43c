#pragma once

// INI files shared between processes.
//
// Format: "[Section]" headers, "key=value" lines, comment lines starting with
// ";" or "#". Section and key names are case-sensitive and compared byte for
// byte. Reading tolerates blanks around names, "=" and values, CRLF line
// ends, a UTF-8 byte order mark and a comment after a value (";" or "#"
// preceded by a blank). A value that would not survive that reading (blanks
// at either end, ";", "#", a double quote, a line break) is written in double
// quotes with the escapes \\ \" \n \r \t; every other value is written as it
// is and read literally. A rewrite keeps every line it did not change:
// comments, blank lines, unknown lines, the order of sections and keys, the
// line ends and the byte order mark.
//
// Writers serialise on an flock of "<file>.lck", which stays in place after
// use. The new content is written to a temporary file beside the file,
// synced, and renamed over it, so a reader sees the old or the new file and
// never a part of one; the file's mode is kept.
//
// Failures are thrown: operating system errors as std::system_error (with the
// errno and the path in what()), everything else as
// RVX::Exceptions::CException with one of the INI_ERROR_* codes below.

#include "RVX/Export.h"

#include <memory>
#include <string>
#include <vector>

namespace RVX {
namespace INI_Files {

// Timeouts are in milliseconds; this one waits without limit.
constexpr unsigned int INI_WAIT_FOREVER = 0xFFFFFFFFu;

// The error module of the INI files, and its exception codes
// (0x20000000 + (module << 16) + local number).
constexpr unsigned int INI_MODULE_NUMBER = 254;
constexpr unsigned int INI_ERROR_NOT_REPRESENTABLE = 0x20FE0001; // name or value cannot be written
constexpr unsigned int INI_ERROR_LOCK_TIMEOUT = 0x20FE0002;      // another writer kept the lock
constexpr unsigned int INI_ERROR_NOT_LOCKED = 0x20FE0003;        // Flush without a Lock
constexpr unsigned int INI_ERROR_LOCKED = 0x20FE0004;            // Read or Lock while locked
constexpr unsigned int INI_ERROR_BAD_LOCK_FILE = 0x20FE0005;     // lock file is no regular file

class CIniFile;
class CIniSection;

// A key of one section. The handle stays valid as long as its CIniFile.
class RVX_API CIniKey {
public:
    // Returns 1 and the key's text when the key exists; otherwise returns 0
    // and empties `value`.
    int GetValue(std::string& value) const;
    // Creates or replaces the key, creating the section if needed. Throws
    // INI_ERROR_NOT_REPRESENTABLE, changing nothing, for an empty key, a key
    // with "=", "[", "]", a line break, a leading ";" or "#" or blanks at
    // either end, a section name with "]", a line break or blanks at either
    // end, and for a NUL byte anywhere.
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
    void Read(const std::string& path, unsigned int timeout);
    // Takes the writers' lock on "<path>.lck" and loads the file for an
    // update. With a finite timeout, gives up with INI_ERROR_LOCK_TIMEOUT.
    // The file must exist (std::system_error with ENOENT otherwise).
    void Lock(const std::string& path, unsigned int timeout);
    // Writes the document back if it changed and releases the lock. The lock
    // is already held, so nothing is waited for. On failure the file is
    // unchanged and the lock is kept until the next Flush or destruction.
    void Flush(unsigned int timeout);

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
    std::string m_Target; // the locked file, symlinks resolved: where it is written
    int m_LockFd = -1;
};

// A value as the file holds it: as it is, or in double quotes with the
// escapes \\ \" \n \r \t when plain text would not read back the same
// (blanks at either end, ";", "#", a quote or a line break).
RVX_API std::string EncodeValue(const std::string& value);

namespace Internals {

// Steps of a write, reported to the test hook in this order.
enum WriteStage : int {
    WRITE_LOCKED = 1,       // lock taken, file loaded
    WRITE_TEMP_CREATED = 2, // temporary file exists, empty
    WRITE_HALF_WRITTEN = 3, // half of the new content written
    WRITE_WRITTEN = 4,      // all written, not yet synced
    WRITE_SYNCED = 5,       // synced, not yet renamed
    WRITE_RENAMED = 6,      // renamed over the file, directory not yet synced
    WRITE_DONE = 7,         // directory synced, lock still held
};

// Called at every step of every write in the process, for tests that stop or
// kill a writer part way. Null (the default) calls nothing.
using WriteStageHook = void (*)(WriteStage stage);
RVX_API void SetWriteStageHook(WriteStageHook hook) noexcept;

} // namespace Internals
} // namespace INI_Files
} // namespace RVX
