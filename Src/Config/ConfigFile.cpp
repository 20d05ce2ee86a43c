#include "PI/ConfigFile.h"

#include "../Raise.h"
#include "PI/Identifiers.h"

#include <RVX/Application.h>
#include <RVX/Exceptions.h>
#include <RVX/IniFiles.h>

#include <boost/filesystem/operations.hpp>
#include <boost/format.hpp>
#include <boost/system/error_code.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <locale>
#include <string>
#include <utility>
#include <vector>

namespace PI {
namespace {

using RVX::INI_Files::CIniFile;
using RVX::Threading::CThrowState;

const char DEFAULT_SECTION[] = "DefaultConfig";
const unsigned int FLUSH_TIMEOUT = 2000;

RVX::Exceptions::SOURCE_INFO Here(unsigned int line) {
    return RVX::Exceptions::SOURCE_INFO{Internal::SOURCE_CONFIG, line, MODULE_NUMBER};
}

// boost::format narrows each format character through the global locale's
// ctype<char>, whose cache libstdc++ fills on first use by whichever thread
// gets there. Filled once under a thread-safe static, it is only read when
// several threads name sections at once.
void PrepareFormatting() {
    static const bool prepared = [] {
        const std::ctype<char>& ctype = std::use_facet<std::ctype<char>>(std::locale());
        for (int c = 0; c < 256; ++c)
            ctype.narrow(static_cast<char>(c), 0);
        return true;
    }();
    (void)prepared;
}

std::string NumberSection(int first, int second) {
    PrepareFormatting();
    if (second >= 0)
        return (boost::format("Config.%d.%d") % first % second).str();
    if (first >= 0)
        return (boost::format("Config.%d") % first).str();
    return DEFAULT_SECTION;
}

std::string NamedSection(const std::string& name) {
    if (name.empty())
        return DEFAULT_SECTION;
    PrepareFormatting();
    std::string section = (boost::format("Config.%s") % name).str();
    std::replace(section.begin(), section.end(), '=', '_');
    return section;
}

// True and `value` set when the section exists, holds keys and has `key`.
bool Lookup(CIniFile& ini, const std::string& section, const std::string& key, std::string& value) {
    RVX::INI_Files::CIniSection handle = ini[section];
    if (!handle.Exists() || handle.KeyCount() == 0)
        return false;
    std::string text;
    if (handle[key].GetValue(text) != 1)
        return false;
    value.swap(text);
    return true;
}

bool ReadFile(CIniFile& ini, const boost::filesystem::path& path) {
    try {
        ini.Read(path.string(), RVX::INI_Files::INI_WAIT_FOREVER);
        return true;
    } catch (...) {
        CThrowState::ContinueException(Here(__LINE__));
        return false;
    }
}

// Every key of a section with its value, in file order.
std::vector<CConfigValue> SectionValues(RVX::INI_Files::CIniSection section) {
    std::vector<CConfigValue> items;
    for (std::string& key : section.KeyNames()) {
        CConfigValue item;
        section[key].GetValue(item.Value);
        item.Key.swap(key);
        items.push_back(std::move(item));
    }
    return items;
}

// One reading of the file for a look-up: the output emptied first, what the
// look-up raises ended here. `find` says whether it found what was asked;
// when it did not, or raised, the output is emptied again.
template <class Output, class Find>
unsigned ReadOnce(const boost::filesystem::path& path, Output& output, Find&& find) {
    RVX::Threading::CThrowStateGuard state;
    output = Output();
    CIniFile ini;
    if (!ReadFile(ini, path))
        return RESULT_CONFIG_NOT_READ;
    try {
        if (find(ini))
            return RESULT_SUCCESS;
    } catch (...) {
        CThrowState::EndException(Here(__LINE__));
    }
    output = Output();
    return RESULT_CONFIG_NOT_READ;
}

// O_EXCL: a file that another process has just created and written must not
// be truncated. New configuration files are 0640 whatever the umask.
void CreateEmptyFile(const boost::filesystem::path& path) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0640);
    if (fd < 0)
        return;               // the next Lock reports why
    (void)::fchmod(fd, 0640); // best effort: the file exists either way
    ::close(fd);
}

bool IsMissing(const boost::filesystem::path& path) {
    boost::system::error_code error;
    return boost::filesystem::status(path, error).type() == boost::filesystem::file_not_found;
}

// Why this thread's last write failed, for GetLastConfigWriteFailure.
thread_local CConfigFailure t_LastWriteFailure;

void NoteFailure(unsigned int code, std::string text) {
    t_LastWriteFailure.Code = code;
    t_LastWriteFailure.Text.swap(text);
}

// The exception being handled, as the failure of this thread's write.
void NoteCurrentException() {
    try {
        throw;
    } catch (const RVX::Exceptions::CException& e) {
        NoteFailure(e.GetCode(), e.GetDetail().empty() ? e.what() : e.GetDetail());
    } catch (const std::exception& e) {
        NoteFailure(0, e.what());
    } catch (...) {
        NoteFailure(0, "an unknown failure");
    }
}

enum class Locking { Locked, NoFile };

// Takes the file lock and loads the file for the update. When the first
// attempt fails, a missing file is created (when `create` is set; otherwise
// nothing is locked, not even a lock file is left behind, and the result is
// NoFile) and the lock is tried once more. A failure of that second attempt
// is not caught: whatever the reason (no directory, no permission to read or
// write the file, a file that the platform refuses), it reaches the caller
// as the platform's exception.
Locking LockForWrite(CIniFile& ini, const boost::filesystem::path& path, bool create) {
    if (!create && IsMissing(path))
        return Locking::NoFile;
    try {
        ini.Lock(path.string(), RVX::INI_Files::INI_WAIT_FOREVER);
        return Locking::Locked;
    } catch (...) {
        CThrowState::ContinueException(Here(__LINE__));
    }
    if (IsMissing(path)) {
        if (!create)
            return Locking::NoFile; // removed by hand since the first look
        CreateEmptyFile(path);
    }
    ini.Lock(path.string(), RVX::INI_Files::INI_WAIT_FOREVER);
    return Locking::Locked;
}

// After a failed write. The lock is still held, so nobody is inside;
// whoever waits on this lock file finds it gone and takes a new one.
void RemoveLockFile(const CIniFile& ini) {
    if (ini.LockPath().empty())
        return;
    boost::system::error_code error;
    boost::filesystem::remove(ini.LockPath(), error);
}

// The changes of one write on the locked file, then the flush. When either
// fails, the lock file goes (while the lock is still held) and the write
// reports RESULT_NOT_FOUND.
template <class Edit> unsigned ChangeAndFlush(CIniFile& ini, Edit&& edit) {
    try {
        edit();
        ini.Flush(FLUSH_TIMEOUT);
        return RESULT_SUCCESS;
    } catch (...) {
        NoteCurrentException();
        CThrowState::ContinueException(Here(__LINE__));
        RemoveLockFile(ini);
        return RESULT_NOT_FOUND;
    }
}

void Apply(CIniFile& ini, const std::string& section, const std::string& key,
           const std::string& value) {
    if (key.empty())
        ini[section].Remove();
    else
        ini[section][key].SetValue(value);
}

} // namespace

CConfigFile::CConfigFile() {
    m_Lock.Init(1000);
}

void CConfigFile::SetFileName(const boost::filesystem::path& name) {
    RVX::Threading::CSyncGuard guard(m_Lock);
    std::string process;
    // Without a process path the file is sought in "bin" below the
    // current directory.
    RVX::Misc::CRvxApplication::GetProcessPath(process);
    m_FilePath = process;
    m_FilePath.remove_filename();
    m_FilePath /= "bin";
    m_FilePath /= name;
}

void CConfigFile::SetFilePath(const boost::filesystem::path& path) {
    RVX::Threading::CSyncGuard guard(m_Lock);
    m_FilePath = path;
}

boost::filesystem::path CConfigFile::GetFilePath() {
    RVX::Threading::CSyncGuard guard(m_Lock);
    return m_FilePath;
}

unsigned CConfigFile::ReadKeyValue(const std::string& key, std::string& value, int first,
                                   int second) {
    std::string from;
    return ReadKeyValue(key, value, first, second, from);
}

unsigned CConfigFile::ReadKeyValue(const std::string& key, std::string& value,
                                   const std::string& name) {
    std::string from;
    return ReadKeyValue(key, value, name, from);
}

unsigned CConfigFile::ReadKeyValue(const std::string& key, std::string& value, int first,
                                   int second, std::string& from) {
    RVX::Threading::CSyncGuard guard(m_Lock);
    value.clear();
    from.clear();
    return ReadScoped(NumberSection(first, second), key, value, from);
}

unsigned CConfigFile::ReadKeyValue(const std::string& key, std::string& value,
                                   const std::string& name, std::string& from) {
    RVX::Threading::CSyncGuard guard(m_Lock);
    value.clear();
    from.clear();
    return ReadScoped(NamedSection(name), key, value, from);
}

unsigned CConfigFile::ReadScoped(const std::string& section, const std::string& key,
                                 std::string& value, std::string& from) {
    RVX::Threading::CThrowStateGuard state;
    CIniFile ini;
    if (!ReadFile(ini, m_FilePath))
        return RESULT_CONFIG_NOT_READ;
    if (section != DEFAULT_SECTION) {
        try {
            if (Lookup(ini, section, key, value)) {
                from = section;
                return RESULT_SUCCESS;
            }
        } catch (...) {
            CThrowState::ContinueException(Here(__LINE__));
        }
    }
    try {
        if (Lookup(ini, DEFAULT_SECTION, key, value)) {
            from = DEFAULT_SECTION;
            return RESULT_SUCCESS;
        }
    } catch (...) {
        CThrowState::EndException(Here(__LINE__));
    }
    value.clear();
    return RESULT_CONFIG_NOT_READ;
}

unsigned CConfigFile::ReadSectionKeyValue(const std::string& section, const std::string& key,
                                          std::string& value) {
    RVX::Threading::CSyncGuard guard(m_Lock);
    return ReadOnce(m_FilePath, value,
                    [&](CIniFile& ini) { return Lookup(ini, section, key, value); });
}

unsigned CConfigFile::ReadKeyValueList(std::vector<CConfigValue>& items) {
    RVX::Threading::CSyncGuard guard(m_Lock);
    RVX::Threading::CThrowStateGuard state;
    for (CConfigValue& item : items)
        item.Value.clear();
    CIniFile ini;
    if (!ReadFile(ini, m_FilePath))
        return RESULT_CONFIG_NOT_READ;
    for (CConfigValue& item : items) {
        if (item.Name.empty())
            continue;
        try {
            if (!Lookup(ini, NamedSection(item.Name), item.Key, item.Value))
                item.Value.clear();
        } catch (...) {
            CThrowState::EndException(Here(__LINE__));
            item.Value.clear();
        }
    }
    return RESULT_SUCCESS;
}

unsigned CConfigFile::WriteKeyValue(const std::string& key, const std::string& value, int first,
                                    int second) {
    RVX::Threading::CSyncGuard guard(m_Lock);
    return WriteOne(NumberSection(first, second), key, value);
}

unsigned CConfigFile::WriteKeyValue(const std::string& key, const std::string& value,
                                    const std::string& name) {
    RVX::Threading::CSyncGuard guard(m_Lock);
    return WriteOne(NamedSection(name), key, value);
}

unsigned CConfigFile::WriteSectionKeyValue(const std::string& section, const std::string& key,
                                           const std::string& value) {
    RVX::Threading::CSyncGuard guard(m_Lock);
    return WriteOne(section, key, value);
}

unsigned CConfigFile::WriteOne(const std::string& section, const std::string& key,
                               const std::string& value, Change change) {
    RVX::Threading::CThrowStateGuard state;
    NoteFailure(0, std::string());
    if (m_FilePath.empty()) {
        NoteFailure(0, "no configuration file was named");
        return RESULT_NOT_FOUND; // SetFileName was never called
    }
    const bool removal = change == Change::RemoveKey;
    if (removal && key.empty()) {
        NoteFailure(0, "no key was named");
        return RESULT_NOT_FOUND; // never taken for the whole section
    }
    // Declared outside the try: the lock must still be held while a failed
    // write removes the lock file.
    CIniFile ini;
    if (LockForWrite(ini, m_FilePath, !removal) == Locking::NoFile)
        return RESULT_SUCCESS; // no file, so no key to remove
    return ChangeAndFlush(ini, [&] {
        if (removal)
            ini[section][key].Remove();
        else
            Apply(ini, section, key, value);
    });
}

unsigned CConfigFile::WriteKeyValueList(const std::vector<CConfigValue>& items) {
    RVX::Threading::CSyncGuard guard(m_Lock);
    RVX::Threading::CThrowStateGuard state;
    NoteFailure(0, std::string());
    if (m_FilePath.empty()) {
        NoteFailure(0, "no configuration file was named");
        return RESULT_NOT_FOUND;
    }
    CIniFile ini;
    (void)LockForWrite(ini, m_FilePath, true); // Locked, or it raised
    return ChangeAndFlush(ini, [&] {
        for (const CConfigValue& item : items)
            if (!item.Name.empty())
                Apply(ini, NamedSection(item.Name), item.Key, item.Value);
    });
}

unsigned CConfigFile::DeleteKeyValue(const std::string& key, int first, int second) {
    RVX::Threading::CSyncGuard guard(m_Lock);
    return WriteOne(NumberSection(first, second), key, std::string(), Change::RemoveKey);
}

unsigned CConfigFile::DeleteKeyValue(const std::string& key, const std::string& name) {
    RVX::Threading::CSyncGuard guard(m_Lock);
    return WriteOne(NamedSection(name), key, std::string(), Change::RemoveKey);
}

unsigned CConfigFile::DeleteSectionKeyValue(const std::string& section, const std::string& key) {
    RVX::Threading::CSyncGuard guard(m_Lock);
    return WriteOne(section, key, std::string(), Change::RemoveKey);
}

CConfigFailure GetLastConfigWriteFailure() {
    return t_LastWriteFailure;
}

unsigned CConfigFile::ReadSection(const std::string& section, std::vector<CConfigValue>& items) {
    RVX::Threading::CSyncGuard guard(m_Lock);
    return ReadOnce(m_FilePath, items, [&](CIniFile& ini) {
        RVX::INI_Files::CIniSection handle = ini[section];
        if (!handle.Exists())
            return false;
        items = SectionValues(handle);
        return true;
    });
}

unsigned CConfigFile::ReadSectionNames(std::vector<std::string>& sections) {
    RVX::Threading::CSyncGuard guard(m_Lock);
    return ReadOnce(m_FilePath, sections, [&](CIniFile& ini) {
        sections = ini.SectionNames();
        return true;
    });
}

unsigned CConfigFile::ReadAll(std::vector<CConfigSection>& sections) {
    RVX::Threading::CSyncGuard guard(m_Lock);
    return ReadOnce(m_FilePath, sections, [&](CIniFile& ini) {
        for (std::string& name : ini.SectionNames()) {
            sections.push_back(CConfigSection{std::string(), SectionValues(ini[name])});
            sections.back().Name.swap(name);
        }
        return true;
    });
}

} // namespace PI
