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
// value is not found or the file cannot be read; RESULT_NOT_FOUND (20000)
// from writes and removals that failed, the file then being unchanged.
// Outputs are emptied first. Keys and section names are case-sensitive.

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
    unsigned ReadSectionKeyValue(const std::string& section, const std::string& key,
                                 std::string& value);
    unsigned ReadKeyValueList(std::vector<CConfigValue>& items);

    // An empty key removes the whole section. A missing file is created;
    // when the file can then still not be locked (no such directory, no
    // permission, a bad lock file), the platform's exception
    // (RVX::Exceptions::CException) reaches the caller. A file that the
    // platform refuses to rewrite (no regular file, too large, an untrusted
    // symlink, not writable by the caller, an owner or group that cannot be
    // kept, several hard links: see RVX/IniFiles.h) gives RESULT_NOT_FOUND
    // and stays as it was. Every key and value without a NUL byte reads back
    // byte for byte.
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

    unsigned ReadScoped(const std::string& section, const std::string& key, std::string& value);
    unsigned WriteOne(const std::string& section, const std::string& key, const std::string& value,
                      Change change = Change::Write);

    boost::filesystem::path m_FilePath;
    RVX::Threading::Native_OS::CCriticalSection m_Lock;
};

} // namespace PI
