#include "RVX/IniFiles.h"
#include "RVX/TestHooks.h"

#include "IniFileDocument.h"
#include "RVX/Exceptions.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace RVX {
namespace INI_Files {
namespace {

#if defined(PI_WITH_TEST_HOOKS)
std::atomic<Internals::WriteStageHook> g_StageHook{nullptr};

void Reached(Internals::WriteStage stage) {
    if (Internals::WriteStageHook hook = g_StageHook.load(std::memory_order_acquire))
        hook(stage);
}
#else
// Only the tests watch the steps of a write.
void Reached(Internals::WriteStage) {}
#endif

[[noreturn]] void ThrowSystem(int error, const char* what, const std::string& path) {
    throw Exceptions::CException(
        INI_ERROR_SYSTEM,
        std::string(what) + " '" + path + "': " + std::generic_category().message(error), error);
}

[[noreturn]] void ThrowErrno(const char* what, const std::string& path) {
    ThrowSystem(errno, what, path);
}

[[noreturn]] void Refuse(unsigned int code, const std::string& path, const char* why) {
    throw Exceptions::CException(code, "'" + path + "' " + why);
}

// Owns a file descriptor; closing an flock'ed descriptor releases the lock.
class CDescriptor {
public:
    explicit CDescriptor(int fd = -1) noexcept : m_Fd(fd) {}
    ~CDescriptor() { Reset(); }
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;

    int Get() const noexcept { return m_Fd; }
    int Release() noexcept { return std::exchange(m_Fd, -1); }
    void Reset(int fd = -1) noexcept {
        if (m_Fd >= 0)
            ::close(m_Fd);
        m_Fd = fd;
    }

private:
    int m_Fd;
};

// What may be read or replaced: a regular file of a sane size.
void CheckRegular(const struct stat& info, const std::string& path) {
    if (!S_ISREG(info.st_mode))
        Refuse(INI_ERROR_NOT_REGULAR, path, "is not a regular file");
    if (static_cast<unsigned long long>(info.st_size) > INI_MAX_FILE_SIZE)
        Refuse(INI_ERROR_TOO_LARGE, path, "is larger than a configuration file can be");
}

// Examines `path` (following symlinks) before anything opens it, so that no
// FIFO or device is ever opened, then opens it without blocking and checks
// that what was opened is still a regular file.
int OpenRegular(const std::string& path, int access) {
    if (path.empty())
        ThrowSystem(ENOENT, "cannot open", path);
    struct stat info;
    if (::stat(path.c_str(), &info) != 0)
        ThrowErrno("cannot examine", path);
    CheckRegular(info, path);
    CDescriptor fd(::open(path.c_str(), access | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (fd.Get() < 0) {
        if (access != O_RDONLY && errno == EROFS)
            Refuse(INI_ERROR_NOT_WRITABLE, path, "lies on a read-only file system");
        if (access != O_RDONLY && (errno == EACCES || errno == EPERM)) {
            // An update reads the file too: say which of the two is missing.
            if (::faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) != 0)
                Refuse(INI_ERROR_NOT_WRITABLE, path,
                       "may be neither read nor written by this process");
            Refuse(INI_ERROR_NOT_WRITABLE, path, "is read-only for this process");
        }
        ThrowErrno("cannot open", path);
    }
    if (::fstat(fd.Get(), &info) != 0)
        ThrowErrno("cannot examine", path);
    CheckRegular(info, path);
    return fd.Release();
}

std::string ReadAllFrom(int fd, const std::string& path) {
    std::string text;
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            ThrowErrno("cannot read", path);
        }
        if (n == 0)
            return text;
        // The file may have grown since it was examined.
        if (text.size() + static_cast<size_t>(n) > INI_MAX_FILE_SIZE)
            Refuse(INI_ERROR_TOO_LARGE, path, "is larger than a configuration file can be");
        text.append(buffer, static_cast<size_t>(n));
    }
}

std::string ReadWholeFile(const std::string& path) {
    CDescriptor fd(OpenRegular(path, O_RDONLY));
    return ReadAllFrom(fd.Get(), path);
}

void WriteAll(int fd, const char* data, size_t size, const std::string& path) {
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            ThrowErrno("cannot write", path);
        }
        data += n;
        size -= static_cast<size_t>(n);
    }
}

// Waits for the exclusive flock; false when a finite timeout ran out.
bool TakeFlock(int fd, unsigned int timeout, std::chrono::steady_clock::time_point deadline,
               const std::string& path) {
    if (timeout == INI_WAIT_FOREVER) {
        while (::flock(fd, LOCK_EX) != 0)
            if (errno != EINTR)
                ThrowErrno("cannot lock", path);
        return true;
    }
    auto pause = std::chrono::milliseconds(1);
    for (;;) {
        if (::flock(fd, LOCK_EX | LOCK_NB) == 0)
            return true;
        if (errno == EINTR)
            continue;
        if (errno != EWOULDBLOCK)
            ThrowErrno("cannot lock", path);
        const auto now = std::chrono::steady_clock::now();
        if (now >= deadline)
            return false;
        std::this_thread::sleep_for(
            std::min<std::chrono::steady_clock::duration>(pause, deadline - now));
        pause = std::min(pause * 2, std::chrono::milliseconds(20));
    }
}

void SplitPath(const std::string& path, std::string& directory, std::string& name);

// A rename replaces one name of a file: with more than one, the names would
// part into two files.
void CheckSingleName(const struct stat& info, const std::string& path) {
    if (info.st_nlink > 1)
        Refuse(INI_ERROR_HARD_LINKED, path,
               "has more than one hard link; a rewrite would split them");
}

// What a writer may replace, examined without opening it.
void CheckWriteTarget(const std::string& target) {
    struct stat info;
    if (::stat(target.c_str(), &info) != 0)
        ThrowErrno("cannot examine", target);
    CheckRegular(info, target);
    CheckSingleName(info, target);
}

std::string DirectoryOf(const std::string& path) {
    std::string directory;
    std::string name;
    SplitPath(path, directory, name);
    return directory;
}

// A symlink is followed for a write only where nobody but the caller and
// root can have put it there or can swap it.
void CheckLinkTrusted(const std::string& link, const struct stat& info) {
    if (info.st_uid != ::geteuid() && info.st_uid != 0)
        Refuse(INI_ERROR_UNTRUSTED_LINK, link, "is a symlink owned by another user");
    const std::string directory = DirectoryOf(link);
    struct stat dir;
    if (::stat(directory.c_str(), &dir) != 0)
        ThrowErrno("cannot examine", directory);
    if ((dir.st_mode & (S_IWGRP | S_IWOTH)) != 0 && (dir.st_mode & S_ISVTX) == 0)
        Refuse(INI_ERROR_UNTRUSTED_LINK, link,
               "is a symlink in a directory that others can write (no sticky bit)");
}

// The real path of the file that `path` leads to: where it is locked and
// written. Every symlink on the way to the file is checked for trust first.
std::string ResolveTarget(const std::string& path) {
    std::string current = path;
    for (int hops = 0;; ++hops) {
        struct stat info;
        if (::lstat(current.c_str(), &info) != 0)
            ThrowErrno("cannot examine", current);
        if (!S_ISLNK(info.st_mode))
            break;
        if (hops == 40)
            ThrowSystem(ELOOP, "cannot resolve", path);
        CheckLinkTrusted(current, info);
        std::string destination(static_cast<size_t>(PATH_MAX), '\0');
        const ssize_t length = ::readlink(current.c_str(), &destination[0], destination.size());
        if (length < 0)
            ThrowErrno("cannot read the symlink", current);
        if (static_cast<size_t>(length) == destination.size())
            ThrowSystem(ENAMETOOLONG, "cannot read the symlink", current);
        destination.resize(static_cast<size_t>(length));
        if (destination.empty() || destination[0] != '/')
            destination = DirectoryOf(current) + "/" + destination;
        current.swap(destination);
    }
    char* resolved = ::realpath(current.c_str(), nullptr);
    if (resolved == nullptr)
        ThrowErrno("cannot resolve", path);
    std::string target = resolved;
    std::free(resolved);
    return target;
}

void SplitPath(const std::string& path, std::string& directory, std::string& name) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        directory = ".";
        name = path;
    } else {
        directory = slash == 0 ? "/" : path.substr(0, slash);
        name = path.substr(slash + 1);
    }
}

std::string TempPrefix(const std::string& name) {
    return "." + name + ".new-";
}

// Temporary files of writers that died before their rename. Only the lock
// holder creates them, so under the lock every one of them is stale.
void RemoveStaleTemps(const std::string& directory, const std::string& name) {
    DIR* dir = ::opendir(directory.c_str());
    if (dir == nullptr)
        return; // the write itself will report the problem
    const std::string prefix = TempPrefix(name);
    while (const dirent* entry = ::readdir(dir)) {
        const std::string entryName = entry->d_name;
        if (entryName.size() == prefix.size() + 6 &&
            entryName.compare(0, prefix.size(), prefix) == 0)
            ::unlinkat(::dirfd(dir), entry->d_name, 0);
    }
    ::closedir(dir);
}

void SyncDirectory(const std::string& directory) {
    CDescriptor fd(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.Get() < 0)
        ThrowErrno("cannot open directory", directory);
    // Some file systems cannot sync a directory; they have nothing to lose.
    if (::fsync(fd.Get()) != 0 && errno != EINVAL)
        ThrowErrno("cannot sync directory", directory);
}

// Replaces `target` with `content` in one rename.
void ReplaceFile(const std::string& target, const std::string& content) {
    std::string directory;
    std::string name;
    SplitPath(target, directory, name);

    mode_t mode = 0640;
    struct stat original;
    const bool exists = ::stat(target.c_str(), &original) == 0;
    if (exists)
        mode = original.st_mode & 07777;
    else if (errno != ENOENT)
        ThrowErrno("cannot examine", target);

    RemoveStaleTemps(directory, name);
    std::string temp = directory + "/" + TempPrefix(name) + "XXXXXX";
    CDescriptor fd(::mkostemp(&temp[0], O_CLOEXEC));
    if (fd.Get() < 0)
        ThrowErrno("cannot create a temporary file beside", target);
    // Removes the temporary file on every failure before the rename.
    struct CTempGuard {
        const std::string* Path;
        ~CTempGuard() {
            if (Path != nullptr)
                ::unlink(Path->c_str());
        }
    } guard{&temp};
    Reached(Internals::WRITE_TEMP_CREATED);

    const size_t half = content.size() / 2;
    WriteAll(fd.Get(), content.data(), half, temp);
    Reached(Internals::WRITE_HALF_WRITTEN);
    WriteAll(fd.Get(), content.data() + half, content.size() - half, temp);
    Reached(Internals::WRITE_WRITTEN);

    // The file must stay whose it was: where the process may not give the
    // new file the old owner and group, the write is refused.
    if (exists && ::fchown(fd.Get(), original.st_uid, original.st_gid) != 0) {
        if (errno != EPERM)
            ThrowErrno("cannot set the owner of", temp);
        struct stat made;
        if (::fstat(fd.Get(), &made) != 0)
            ThrowErrno("cannot examine", temp);
        if (made.st_uid != original.st_uid || made.st_gid != original.st_gid)
            Refuse(INI_ERROR_OWNER_NOT_KEPT, target,
                   "would pass to another owner or group: this process may not keep them");
    }
    // After fchown, which clears set-id bits.
    if (::fchmod(fd.Get(), mode) != 0)
        ThrowErrno("cannot set the mode of", temp);
    if (::fsync(fd.Get()) != 0)
        ThrowErrno("cannot sync", temp);
    if (::close(fd.Release()) != 0)
        ThrowErrno("cannot close", temp);
    Reached(Internals::WRITE_SYNCED);

    if (::rename(temp.c_str(), target.c_str()) != 0)
        ThrowErrno("cannot replace", target);
    guard.Path = nullptr;
    Reached(Internals::WRITE_RENAMED);

    SyncDirectory(directory);
    Reached(Internals::WRITE_DONE);
}

} // namespace

CIniKey::CIniKey(CIniFile& file, std::string section, std::string key)
    : m_File(&file), m_Section(std::move(section)), m_Key(std::move(key)) {}

int CIniKey::GetValue(std::string& value) const {
    const CIniFile::Document::Line* line = m_File->m_Document->FindKey(m_Section, m_Key);
    if (line == nullptr) {
        value.clear();
        return 0;
    }
    value = line->Value;
    return 1;
}

void CIniKey::SetValue(const std::string& value) {
    m_File->m_Document->SetKey(m_Section, m_Key, value);
}

void CIniKey::Remove() {
    m_File->m_Document->RemoveKey(m_Section, m_Key);
}

CIniSection::CIniSection(CIniFile& file, std::string name)
    : m_File(&file), m_Name(std::move(name)) {}

bool CIniSection::Exists() const {
    return m_File->m_Document->HasSection(m_Name);
}

unsigned int CIniSection::KeyCount() const {
    return m_File->m_Document->KeyCount(m_Name);
}

std::vector<std::string> CIniSection::KeyNames() const {
    return m_File->m_Document->KeyNames(m_Name);
}

void CIniSection::Remove() {
    m_File->m_Document->RemoveSection(m_Name);
}

CIniKey CIniSection::operator[](const std::string& key) {
    return CIniKey(*m_File, m_Name, key);
}

CIniFile::CIniFile() : m_Document(new Document) {}

CIniFile::~CIniFile() {
    Unlock();
}

CIniSection CIniFile::operator[](const std::string& section) {
    return CIniSection(*this, section);
}

std::vector<std::string> CIniFile::SectionNames() const {
    return m_Document->SectionNames();
}

void CIniFile::Read(const std::string& path, unsigned int /*timeout*/) {
    if (m_LockFd >= 0)
        throw Exceptions::CException(INI_ERROR_LOCKED);
    std::unique_ptr<Document> document(new Document);
    document->Parse(ReadWholeFile(path));
    m_Document.swap(document);
}

void CIniFile::Lock(const std::string& path, unsigned int timeout) {
    if (m_LockFd >= 0)
        throw Exceptions::CException(INI_ERROR_LOCKED);
    if (path.empty())
        ThrowSystem(ENOENT, "cannot lock", path);
    const auto deadline = std::chrono::steady_clock::now() +
                          std::chrono::milliseconds(timeout == INI_WAIT_FOREVER ? 0 : timeout);

    CDescriptor fd;
    std::string target;
    std::string lockPath;
    bool created = false; // the lock file is this call's: a failure removes it again
    for (;;) {
        // Named after the real file, so every path to it shares one lock.
        target = ResolveTarget(path);
        // Refused before anything is created beside it: a link to a
        // device must not even leave a lock file in /dev.
        CheckWriteTarget(target);
        lockPath = target + ".lck";
        // O_NOFOLLOW: a planted symlink must not make us create or lock
        // some other file. O_NONBLOCK: nor may a FIFO put there hold us.
        // O_EXCL first, to know whether this call made the lock file.
        const int flags = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
        fd.Reset(::open(lockPath.c_str(), flags | O_CREAT | O_EXCL, 0640));
        created = fd.Get() >= 0;
        if (!created && errno == EEXIST) {
            fd.Reset(::open(lockPath.c_str(), flags));
            if (fd.Get() < 0 && errno == ENOENT)
                continue; // removed in between: make it anew
        }
        if (fd.Get() < 0) {
            if (errno == ELOOP)
                Refuse(INI_ERROR_BAD_LOCK_FILE, lockPath, "is a symlink");
            if (errno == EISDIR)
                Refuse(INI_ERROR_BAD_LOCK_FILE, lockPath, "is a directory");
            ThrowErrno("cannot open lock file", lockPath);
        }
        struct stat locked;
        if (::fstat(fd.Get(), &locked) != 0)
            ThrowErrno("cannot examine lock file", lockPath);
        if (!S_ISREG(locked.st_mode))
            Refuse(INI_ERROR_BAD_LOCK_FILE, lockPath, "is not a regular file");
        if (!TakeFlock(fd.Get(), timeout, deadline, lockPath))
            throw Exceptions::CException(INI_ERROR_LOCK_TIMEOUT, "'" + lockPath + "' is held");
        // The lock file may have been deleted or replaced while we waited;
        // a lock on a file that is no longer at the path excludes nobody.
        struct stat onDisk;
        if (::lstat(lockPath.c_str(), &onDisk) == 0) {
            if (onDisk.st_dev != locked.st_dev || onDisk.st_ino != locked.st_ino)
                continue;
        } else if (errno == ENOENT) {
            continue;
        } else {
            ThrowErrno("cannot examine lock file", lockPath);
        }
        // And a symlink may now lead elsewhere.
        if (ResolveTarget(path) == target)
            break;
    }

    std::unique_ptr<Document> document(new Document);
    try {
        CDescriptor file(OpenRegular(target, O_RDWR));
        struct stat info;
        if (::fstat(file.Get(), &info) != 0)
            ThrowErrno("cannot examine", target);
        CheckSingleName(info, target);
        document->Parse(ReadAllFrom(file.Get(), target));
    } catch (...) {
        // A refused update leaves no lock file of its own behind. The lock
        // is still held, so whoever opened this lock file meanwhile finds it
        // gone once it gets the lock, and makes a new one.
        if (created)
            ::unlink(lockPath.c_str());
        throw;
    }
    m_Document.swap(document);
    m_Target = target;
    m_LockPath = lockPath;
    m_LockFd = fd.Release();
    Reached(Internals::WRITE_LOCKED);
}

void CIniFile::Flush(unsigned int /*timeout*/) {
    if (m_LockFd < 0)
        throw Exceptions::CException(INI_ERROR_NOT_LOCKED);
    if (m_Document->Dirty) {
        const std::string content = m_Document->Serialize();
        // What could not be read back is not written.
        if (content.size() > INI_MAX_FILE_SIZE)
            Refuse(INI_ERROR_TOO_LARGE, m_Target,
                   "would grow larger than a configuration file can be");
        ReplaceFile(m_Target, content);
        m_Document->Dirty = false;
    }
    Unlock();
}

void CIniFile::Unlock() noexcept {
    if (m_LockFd >= 0)
        ::close(m_LockFd);
    m_LockFd = -1;
    m_Target.clear();
    m_LockPath.clear();
}

const char* RefusalName(unsigned int code) noexcept {
    switch (code) {
    case INI_ERROR_NOT_REGULAR:
        return "not a regular file";
    case INI_ERROR_TOO_LARGE:
        return "too large";
    case INI_ERROR_UNTRUSTED_LINK:
        return "untrusted symlink";
    case INI_ERROR_NOT_WRITABLE:
        return "read-only";
    case INI_ERROR_OWNER_NOT_KEPT:
        return "owner or group cannot be kept";
    case INI_ERROR_HARD_LINKED:
        return "more than one link";
    default:
        return nullptr;
    }
}

bool IsRefusedFile(unsigned int code) noexcept {
    switch (code) {
    case INI_ERROR_NOT_REGULAR:
    case INI_ERROR_TOO_LARGE:
    case INI_ERROR_UNTRUSTED_LINK:
    case INI_ERROR_NOT_WRITABLE:
    case INI_ERROR_OWNER_NOT_KEPT:
    case INI_ERROR_HARD_LINKED:
        return true;
    default:
        return false;
    }
}

#if defined(PI_WITH_TEST_HOOKS)
namespace Internals {

void SetWriteStageHook(WriteStageHook hook) noexcept {
    g_StageHook.store(hook, std::memory_order_release);
}

} // namespace Internals
#endif
} // namespace INI_Files
} // namespace RVX
