#pragma once

// The configuration store: a key/value INI file shared by the management
// programs, serialised between threads by each object's critical section and
// between processes by the file's lock file.
//
// Sections: "Config.<first>.<second>" and "Config.<first>" per adapter and
// logical unit, "Config.<name>" per named scope (each "=" becomes "_"),
// "DefaultConfig" for common values and as the fallback of scoped reads.
//
// Results: 0 success; RESULT_CONFIG_NOT_READ (20014) from reads when the
// value is not found or the file cannot be read. Outputs are emptied first.
// Keys and section names are case-sensitive.
//
// Writes and removals (WriteKeyValue, WriteSectionKeyValue,
// WriteKeyValueList, DeleteKeyValue, DeleteSectionKeyValue) fail in one of
// two ways, and the file is unchanged after either:
//
//  - They raise the platform's exception (RVX::Exceptions::CException, its
//    code one of RVX::INI_Files' INI_ERROR_*) when the file cannot be locked
//    and loaded for the update. The lock is tried twice (a missing file is
//    created in between) and the second failure is not caught: a missing
//    directory, a file that cannot be created, a file the caller may not
//    read or may not write ("read-only"), no regular file (a FIFO, device or
//    directory), a file beyond the size limit, a file with more than one
//    hard link, a symlink that others control, a lock file that cannot be
//    made or is no regular file. RVX::INI_Files::RefusalName(code) names
//    the rule of a refusal; GetDetail() says why, naming the path. A lock
//    file that the failed attempt created is gone again.
//
//  - They return RESULT_NOT_FOUND (20000) when the update itself fails after
//    the file was locked: a key, value or section name that the file cannot
//    hold (a NUL byte; a section name with "]" or a line break, or blanks at
//    either end), a rewrite that would grow the file beyond the size limit,
//    a rewrite that cannot keep the file's owner and group, or a system
//    call failing while the new file is written; the lock file is removed.
//    Also without touching the file: no file was named (SetFileName or
//    SetFilePath never called), or a removal names no key.
//    GetLastConfigWriteFailure tells which.

#include "PI/Export.h"

#include <RVX/Sync.h>

#include <boost/filesystem/path.hpp>

#include <string>
#include <vector>

namespace PI {

// One item of a list read or write; the section is "Config." + Name.
struct PI_API CConfigValue {
    std::string Key;
    std::string Value;
    std::string Name;
};

// One section of the file with its keys, as ReadAll gives them.
struct PI_API CConfigSection {
    std::string Name;
    std::vector<CConfigValue> Values;
};

// Why a write or removal returned RESULT_NOT_FOUND: the code of the
// platform's exception behind it (RVX::INI_Files' INI_ERROR_*, 0 when no
// exception was behind it) and what went wrong, in words.
struct PI_API CConfigFailure {
    unsigned int Code = 0;
    std::string Text;
};

// The failure of the last write or removal made by this thread, through any
// CConfigFile; Code 0 and an empty Text after one that did not fail this way.
PI_API CConfigFailure GetLastConfigWriteFailure();

class PI_API CConfigFile {
public:
    CConfigFile();
    CConfigFile(const CConfigFile&) = delete;
    CConfigFile& operator=(const CConfigFile&) = delete;

    // The file `name` in the directory "bin" inside the directory of the
    // running program. Nothing is opened or created here.
    void SetFileName(const boost::filesystem::path& name);
    // The file at `path`, as given.
    void SetFilePath(const boost::filesystem::path& path);
    boost::filesystem::path GetFilePath();

    unsigned ReadKeyValue(const std::string& key, std::string& value, int first, int second);
    unsigned ReadKeyValue(const std::string& key, std::string& value, const std::string& name);
    // The same, and `from` names the section the value was read from: the
    // scope's own, or "DefaultConfig" when the read fell back to it; empty
    // when nothing was found.
    unsigned ReadKeyValue(const std::string& key, std::string& value, int first, int second,
                          std::string& from);
    unsigned ReadKeyValue(const std::string& key, std::string& value, const std::string& name,
                          std::string& from);
    unsigned ReadSectionKeyValue(const std::string& section, const std::string& key,
                                 std::string& value);
    unsigned ReadKeyValueList(std::vector<CConfigValue>& items);

    // An empty key removes the whole section. A missing file is created.
    // Failures: see the top of this header. Every key and value without a
    // NUL byte reads back byte for byte.
    unsigned WriteKeyValue(const std::string& key, const std::string& value, int first, int second);
    unsigned WriteKeyValue(const std::string& key, const std::string& value,
                           const std::string& name);
    unsigned WriteSectionKeyValue(const std::string& section, const std::string& key,
                                  const std::string& value);
    // Items with an empty Name are skipped; all others are written at once.
    unsigned WriteKeyValueList(const std::vector<CConfigValue>& items);

    // Remove one key of the scope, leaving the rest of the section (its other
    // keys and comments, and the section itself when it becomes empty). A
    // missing key or file is no error and a missing file is not created. An
    // empty key is refused: clearing a scope is the write with an empty key.
    unsigned DeleteKeyValue(const std::string& key, int first, int second);
    unsigned DeleteKeyValue(const std::string& key, const std::string& name);
    unsigned DeleteSectionKeyValue(const std::string& section, const std::string& key);

    // Every key of the section, named verbatim, with its value, in file
    // order; Name stays empty. RESULT_CONFIG_NOT_READ when the file cannot be
    // read or has no such section; an existing section without keys gives 0
    // and no items.
    unsigned ReadSection(const std::string& section, std::vector<CConfigValue>& items);
    // The names of all sections in file order; RESULT_CONFIG_NOT_READ when
    // the file cannot be read.
    unsigned ReadSectionNames(std::vector<std::string>& sections);
    // Every section with its keys, as ReadSectionNames and ReadSection give
    // them, from one reading of the file: a consistent picture even while
    // other processes write. RESULT_CONFIG_NOT_READ when the file cannot be
    // read.
    unsigned ReadAll(std::vector<CConfigSection>& sections);

private:
    // What WriteOne does with the key: a write sets it (an empty key removes
    // the section, a missing file is created first); a removal deletes just
    // the key and leaves a missing file missing.
    enum class Change { Write, RemoveKey };

    unsigned ReadScoped(const std::string& section, const std::string& key, std::string& value,
                        std::string& from);
    unsigned WriteOne(const std::string& section, const std::string& key, const std::string& value,
                      Change change = Change::Write);

    boost::filesystem::path m_FilePath;
    RVX::Threading::Native_OS::CCriticalSection m_Lock;
};

} // namespace PI
