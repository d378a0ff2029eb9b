//===- Data/Properties/FileReplace.cpp - Replacing files whole ------------===//
#include "Data/Properties/FileReplace.h"
#include "Support/Io.h"

#include <atomic>
#include <cerrno>
#include <climits>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Vemlo {
namespace Data {
namespace Properties {
namespace FileReplace {

namespace {

using Vemlo::detail::FdCloser;

// Links followed at most, as the system does before it gives up (ELOOP).
constexpr int kMaxLinks = 40;

// The folder part of `path` ("." when it has none).
std::string folderOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool writeAll(int fd, const char* data, size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

// Creates a new file next to `target` under a name that no other writer, in
// this process or another, uses at the same time.
int createTemporary(const std::string& target, std::string& name) {
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        name = target + ".tmp." + std::to_string(::getpid()) + "." + std::to_string(counter++);
        const int fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EEXIST)
            return fd;
    }
    return -1;
}

// The file written where it is, as a plain open for writing does.
bool writeInPlace(const std::string& target, const char* data, size_t size) {
    const int fd = ::open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0)
        return false;
    FdCloser closer(fd);
    const bool written = writeAll(fd, data, size) && SyncFile(fd);
    return closer.close() == 0 && written;
}

} // namespace

std::string ResolveLinks(const char* path) {
    std::string current(path);
    for (int i = 0; i < kMaxLinks; ++i) {
        struct stat info;
        if (::lstat(current.c_str(), &info) != 0 || !S_ISLNK(info.st_mode))
            return current;
        char link[PATH_MAX];
        const ssize_t length = ::readlink(current.c_str(), link, sizeof link);
        if (length <= 0 || static_cast<size_t>(length) >= sizeof link)
            return path;
        const std::string next(link, static_cast<size_t>(length));
        current = next[0] == '/' ? next : folderOf(current) + "/" + next;
    }
    return path;
}

bool CopyOwnerAndMode(int fd, const std::string& target) {
    struct stat info;
    if (::stat(target.c_str(), &info) != 0 || !S_ISREG(info.st_mode))
        return true;
    // The owner first: changing it may clear set-id bits.
    const bool owned = ::fchown(fd, info.st_uid, info.st_gid) == 0;
    ::fchmod(fd, info.st_mode & 07777);
    return owned;
}

bool SyncFile(int fd) {
    return ::fsync(fd) == 0;
}

void SyncFolder(const std::string& target) {
    const int fd = ::open(folderOf(target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return;
    FdCloser closer(fd);
    ::fsync(fd);
}

bool Replace(const char* path, const char* data, size_t size) {
    const std::string target = ResolveLinks(path);
    struct stat info;
    if (::stat(target.c_str(), &info) == 0) {
        // What is no plain file (a folder, a device) is opened as it is.
        if (!S_ISREG(info.st_mode))
            return writeInPlace(target, data, size);
        // A file the process may not write stays as it is, as before.
        if (::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0)
            return false;
        // Its other names would keep the old text after a rename.
        if (info.st_nlink > 1)
            return writeInPlace(target, data, size);
    }
    std::string temporary;
    const int fd = createTemporary(target, temporary);
    if (fd < 0) {
        // A folder the process may not add to: the file itself may still be
        // writable.
        if (errno == EACCES || errno == EPERM)
            return writeInPlace(target, data, size);
        return false;
    }
    FdCloser closer(fd);
    // A new file that cannot have the old one's owner would lock others out.
    if (!CopyOwnerAndMode(fd, target)) {
        closer.close();
        ::unlink(temporary.c_str());
        return writeInPlace(target, data, size);
    }
    bool written = writeAll(fd, data, size) && SyncFile(fd);
    if (closer.close() != 0)
        written = false;
    if (!written || ::rename(temporary.c_str(), target.c_str()) != 0) {
        ::unlink(temporary.c_str());
        return false;
    }
    SyncFolder(target);
    return true;
}

} // namespace FileReplace
} // namespace Properties
} // namespace Data
} // namespace Vemlo
